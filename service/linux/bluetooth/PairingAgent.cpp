#include <service/base/Log.h>
#include <service/linux/bluetooth/PairingAgent.h>
#include <service/linux/dbus/Names.h>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr const char* kAgent = "org.bluez.Agent1";
constexpr const char* kAgentManager = "org.bluez.AgentManager1";
constexpr const char* kManagerPath = "/org/bluez";
/// Always the same, as BlueZ keeps the agent when the adapter is unplugged.
constexpr const char* kPath = "/pelacon/agent";

}  // namespace

PairingAgent::PairingAgent(Stack& stack) : stack_(stack)
{
    stack_.Add(*this);
}

PairingAgent::~PairingAgent()
{
    stack_.Remove(*this);
}

void PairingAgent::AdapterChanged()
{
    if (!stack_.Adapter()) {
        call_.Reset();
        object_.reset();
    } else if (!object_) {
        Register();
    }
}

void PairingAgent::Register()
{
    object_ = std::make_unique<dbus::ObjectTree>(stack_.Bus(), kPath);
    dbus::ObjectTree::Interface interface;
    for (const char* const method :
         {"RequestAuthorization", "AuthorizeService", "Cancel", "Release"}) {
        interface.methods.emplace(method, Answer(true));
    }
    for (const char* const method : {"RequestPinCode", "DisplayPinCode", "RequestPasskey",
                                     "DisplayPasskey", "RequestConfirmation"}) {
        interface.methods.emplace(method, Answer(false));
    }
    object_->Add(kPath, kAgent, std::move(interface));
    const dbus::ObjectPath path{kPath};
    // It may be registered already: then the first call fails, and the second does not.
    call_ = stack_.Call(kManagerPath, kAgentManager, "RegisterAgent", {path, "NoInputNoOutput"},
                        [this, path](const dbus::Reply&) {
                            call_ = stack_.Call(kManagerPath, kAgentManager, "RequestDefaultAgent",
                                                {path}, [](const dbus::Reply& reply) {
                                                    if (reply.IsError()) {
                                                        log::Warning("devices cannot be paired: ",
                                                                     reply.error->name);
                                                    }
                                                });
                        });
}

dbus::ObjectTree::Handler PairingAgent::Answer(bool isPermitted) const
{
    return [this, isPermitted](const dbus::Incoming& call, dbus::Invocation invocation) {
        if (isPermitted && stack_.Adapter() && call.sender == stack_.Mirror().Owner()) {
            invocation.Return();
        } else {
            invocation.Fail({"org.bluez.Error.Rejected", "there is nobody to ask"});
        }
    };
}

}  // namespace pelacon::service::linux_radios::bluetooth
