#include <service/simulation/Wifi.h>

namespace pelacon::service::simulation {

void Wifi::Switch(bool on)
{
    if (goal_ == on) {
        return;
    }
    goal_ = on;
    switching_ = world_.After(config_.switchDelay, [this, on] { Enter(on); });
}

void Wifi::Enter(bool on)
{
    if (on_ == on) {
        return;
    }
    on_ = on;
    for (const SwitchObserver& observer : switchObservers_) {
        observer(on);
    }
    if (config_.connected) {
        TellConnection();
    }
}

void Wifi::Connect(std::optional<Connection> connection)
{
    if (connection == config_.connected) {
        return;
    }
    config_.connected = std::move(connection);
    if (on_) {
        TellConnection();
    }
}

void Wifi::TellConnection() const
{
    for (const ConnectionObserver& observer : connectionObservers_) {
        observer(CurrentConnection());
    }
}

}  // namespace pelacon::service::simulation
