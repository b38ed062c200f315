#include <protocol/ServiceStatus.h>
#include <service/families/AdapterFamily.h>
#include <service/families/RadioWait.h>

#include <functional>
#include <string>
#include <utility>

namespace pelacon::service {

AdapterFamily::AdapterFamily(const Context& context)
    : scheduler_(context.scheduler), adapter_(context.radios.GetAdapter())
{
    adapter_.Observe([this](radio::AdapterState state) {
        NotifyAll(listeners_, protocol::kBtStateChanged, {static_cast<std::int32_t>(state)});
    });

    Router& router = context.router;
    router.Serve(protocol::kRegisterBtStateChange, [this](Session& session) {
        listeners_.insert(&session);
        return protocol::kStatusDone;
    });
    router.Serve(protocol::kBtEnable, [this](Session& session) { return Switch(session, true); });
    router.Serve(protocol::kBtDisable, [this](Session& session) { return Switch(session, false); });
    router.Serve(protocol::kIsBtEnabled, [this] { return adapter_.IsOn(); });
    router.Serve(protocol::kGetBtRunningState,
                 [this] { return static_cast<std::int32_t>(adapter_.State()); });
    router.Serve(protocol::kGetBtMacAndName, std::bind_front(&AdapterFamily::MacAndName, this));
    router.Serve(protocol::kSetBtName, std::bind_front(&AdapterFamily::Rename, this));
    router.Serve(protocol::kGetBtName, [this] {
        protocol::BtNameReply reply{};
        PutText(reply.name, adapter_.Name());
        return reply;
    });
    router.Serve(protocol::kIsDeviceConnected,
                 [this](const protocol::DeviceConnectedRequest& request) {
                     const auto type = static_cast<radio::BluetoothType>(request.type);
                     const bool connected = adapter_.IsConnected(request.address, type);
                     return connected ? kDeviceConnected : kDeviceDisconnected;
                 });
}

// The library does not register again with a service that was restarted; it ignores notifications
// without a registered table.
void AdapterFamily::ClientArrived(Session& session, bool returning)
{
    if (returning) {
        listeners_.insert(&session);
    }
}

void AdapterFamily::ClientLeft(Session& session)
{
    listeners_.erase(&session);
}

std::int32_t AdapterFamily::Switch(Session& session, bool on)
{
    return AwaitRadio(scheduler_, session, PatienceOf(protocol::kBtEnable),
                      [&](radio::OutcomeDone done) { adapter_.Switch(on, std::move(done)); });
}

std::int32_t AdapterFamily::Rename(Session& session, std::string_view name)
{
    if (name.empty() || name.size() > protocol::kBtNameSize) {
        return protocol::kStatusInvalidArgument;
    }
    return AwaitRadio(
        scheduler_, session, PatienceOf(protocol::kSetBtName),
        [&](radio::OutcomeDone done) { adapter_.Rename(std::string(name), std::move(done)); });
}

protocol::MacAndNameReply AdapterFamily::MacAndName() const
{
    protocol::MacAndNameReply reply{};
    reply.mac = adapter_.Address();
    PutText(reply.name, adapter_.Name());
    return reply;
}

void AdapterFamily::Describe(json::Output& status) const
{
    constexpr const char* kStates[] = {"off", "turning on", "on", "turning off"};
    status["adapter"] = {
        {"state", kStates[static_cast<std::size_t>(adapter_.State())]},
        {"name", adapter_.Name()},
        {"listeners", listeners_.size()},
    };
}

}  // namespace pelacon::service
