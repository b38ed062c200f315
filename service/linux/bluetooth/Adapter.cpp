#include <service/linux/bluetooth/Adapter.h>

namespace pelacon::service::linux_radios::bluetooth {

using radio::AdapterState;

namespace {

/// The first `most` bytes of a UTF-8 text, or fewer, so that no character is cut.
std::string CutText(const std::string& text, std::size_t most)
{
    if (text.size() <= most) {
        return text;
    }
    const auto isInside = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
    };
    std::size_t length = most;
    while (length > 0 && isInside(text[length])) {
        --length;
    }
    return text.substr(0, length);
}

}  // namespace

Adapter::Adapter(const Host& host, const std::shared_ptr<Gate>& gate)
    : host_(host),
      state_(host.Picture().isOn ? AdapterState::kOn : AdapterState::kOff),
      upcalls_(gate, *this)
{}

void Adapter::Switch(bool on, radio::OutcomeDone done)
{
    auto& waiting = switching_.at(static_cast<std::size_t>(on));
    const bool isIdle = switching_[0].empty() && switching_[1].empty();
    if (isIdle && host_.Picture().isThere && host_.Picture().isOn == on) {
        done(radio::Outcome::kDone);
        return;
    }
    waiting.push_back(std::move(done));
    if (waiting.size() == 1) {
        host_.Post([on, switched = upcalls_.To([on](Adapter& adapter, radio::Outcome outcome) {
            adapter.Switched(on, outcome);
        })](Backend& backend) { backend.adapter.Switch(on, switched); });
    }
}

void Adapter::Switched(bool on, radio::Outcome outcome)
{
    for (const auto& done : std::exchange(switching_.at(static_cast<std::size_t>(on)), {})) {
        done(outcome);
    }
}

std::string Adapter::Name() const
{
    // BlueZ allows names of 248 bytes.
    return CutText(host_.Picture().name, kMaxName);
}

void Adapter::Rename(std::string name, radio::OutcomeDone done)
{
    host_.Post(
        [name = std::move(name),
         renamed = upcalls_.To([done = std::move(done)](const Adapter&, radio::Outcome outcome) {
             done(outcome);
         })](Backend& backend) { backend.adapter.Rename(name, renamed); });
}

bool Adapter::IsConnected(std::uint64_t address, radio::BluetoothType type) const
{
    return host_.Picture().connected.contains({address, type == radio::BluetoothType::kLe});
}

void Adapter::PictureChanged(const AdapterPicture& before)
{
    const AdapterPicture& now = host_.Picture();
    if (now.isOn != before.isOn) {
        // BlueZ shows a change when it is complete. An adapter that was removed was not switched
        // off.
        if (now.isThere) {
            Enter(now.isOn ? AdapterState::kTurningOn : AdapterState::kTurningOff);
        }
        Enter(now.isOn ? AdapterState::kOn : AdapterState::kOff);
    }
}

void Adapter::Enter(AdapterState state)
{
    state_ = state;
    stateObservers_(state);
}

}  // namespace pelacon::service::linux_radios::bluetooth
