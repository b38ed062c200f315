#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattPeer.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/Text.h>

namespace pelacon::ctl {

namespace {

BtGattClientCallbacksC& ClientTable()
{
    static BtGattClientCallbacksC table{
        [](std::int32_t, std::int32_t state, std::int32_t reason) {
            Events<GattEvent>().Post(GattConnectionChange{state, reason});
        },
        [](std::int32_t, const char*, const char*, const std::uint8_t* data, std::uint32_t dataLen,
           std::int32_t kind) {
            Events<GattEvent>().Post(GattNotified{{data, data + dataLen}, kind});
        }};
    return table;
}

std::string EndReason(const std::string& address, std::int32_t reason)
{
    switch (reason) {
        case kBleGattReasonTimeout:
            return "The connection to " + address + " was lost.";
        case kBleGattReasonRefused:
            return address + " refused the connection.";
        case kBleGattReasonPeer:
            return address + " ended the connection.";
        case kBleGattReasonLocal:
            return "The connection to " + address + " was ended on this side: is Bluetooth on?";
        case kBleGattReasonNotEstablished:
            return "No device with the address " + address + " was found.";
        default:
            return "There is no connection to " + address + " (reason " + std::to_string(reason) +
                   ").";
    }
}

}  // namespace

GattPeer::GattPeer(std::uint64_t address, double seconds) : address_(address)
{
    session_.RequireBluetooth();
    Check(BleGattClientRegister(&id_), "register a GATT client");
    Connect(After(seconds));
    Check(BleGattClientSearchServices(id_), "search the services of " + Address());
}

GattPeer::~GattPeer()
{
    BleGattClientUnRegister(id_);
}

std::string GattPeer::Address() const
{
    return protocol::AddressText(address_);
}

bool GattPeer::HasService(const protocol::Uuid& service) const
{
    const BleStatusC status =
        BleGattClient::BleGattClientGetService(id_, protocol::LongText(service));
    if (std::int32_t{status} == protocol::kStatusNotFound) {
        return false;
    }
    Check(status, "look for service " + FormatUuid(service));
    return true;
}

std::int32_t GattPeer::Mtu() const
{
    std::int32_t mtu = 0;
    Check(BleGattClientGetMtu(id_, &mtu), "read the MTU");
    return mtu;
}

void GattPeer::CheckConnection() const
{
    std::int32_t mtu = 0;
    if (std::int32_t{BleGattClientGetMtu(id_, &mtu)} == protocol::kStatusUnknownId) {
        throw Failure(ExitStatus::kNoService,
                      "PelaconService was restarted, which ended the connection.");
    }
}

void GattPeer::FailFor(const GattConnectionChange& end) const
{
    throw Failure(ExitStatus::kFailed, EndReason(Address(), end.reason));
}

void GattPeer::Connect(std::optional<Deadline> deadline)
{
    Check(BleGattClientConnect(id_, address_, &ClientTable()), "connect to " + Address());
    const auto event = Events<GattEvent>().Next(deadline);
    if (!event) {
        throw Failure(ExitStatus::kNoAnswer, Address() + " did not answer in time.");
    }
    const auto& outcome = std::get<GattConnectionChange>(*event);
    if (outcome.state != kBleGattConnected) {
        FailFor(outcome);
    }
}

}  // namespace pelacon::ctl
