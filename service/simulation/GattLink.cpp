#include <service/simulation/GattClient.h>
#include <service/simulation/GattLink.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::simulation {

using radio::GattReason;
using radio::GattStatus;
using radio::GattValue;
using radio::Uuid;

namespace {

/// How long a connection attempt to a missing device takes.
constexpr std::chrono::milliseconds kSearchTime(100);

}  // namespace

GattLink::GattLink(Scheduler& scheduler, GattClient& client, std::uint64_t address,
                   radio::GattConnectionObserver& observer)
    : scheduler_(scheduler), client_(client), address_(address), observer_(observer)
{
    client_.Add(*this);
    const GattDevice* device = client_.Find(address);
    const auto delay = device != nullptr ? device->Config().connectDelay : kSearchTime;
    establishing_ = scheduler.After(delay, [this] { Establish(); });
}

void GattLink::Establish()
{
    if (!client_.IsRadioOn()) {
        End(GattReason::kLocal);
        return;
    }
    GattDevice* const device = client_.Find(address_);
    const GattReason reason = device != nullptr ? device->Join(*this) : GattReason::kNotEstablished;
    if (reason != GattReason::kNone) {
        End(reason);
        return;
    }
    device_ = device;
    observer_.Connected();
}

void GattLink::Close()
{
    if (std::exchange(isClosed_, true)) {
        return;
    }
    client_.Remove(*this);
    establishing_.Cancel();
    if (GattDevice* const device = std::exchange(device_, nullptr)) {
        device->Leave(*this);
    }
    for (const auto& [id, request] : std::exchange(pending_, {})) {
        request.abandon();
    }
}

void GattLink::End(GattReason reason)
{
    Close();
    observer_.Ended(reason);
}

void GattLink::Notify(const Uuid& service, const Uuid& characteristic, GattValue value,
                      bool isIndication)
{
    constexpr std::size_t kHeader = 3;  // of an attribute value notification: opcode, handle
    const auto mtu = static_cast<std::size_t>(Mtu());
    value.resize(std::min(value.size(), mtu - std::min(mtu, kHeader)));
    observer_.Notified(service, characteristic, value, isIndication);
}

std::int32_t GattLink::Mtu() const
{
    return device_ != nullptr ? client_.MtuWith(*device_) : 0;
}

/// Answers a request after the device's response time.
template <typename Result>
Completion<Result> GattLink::Ask(Result whenEnded, std::function<Result()> answer)
{
    Completion<Result> completion(scheduler_);
    if (device_ == nullptr) {
        completion.Set(std::move(whenEnded));
        return completion;
    }
    const auto delay = device_->Config().responseDelay;
    if (delay.count() == 0) {
        completion.Set(answer());
        return completion;
    }
    const std::uint64_t id = ++lastRequest_;
    Pending& request = pending_[id];
    request.abandon = [completion, whenEnded = std::move(whenEnded)] { completion.Set(whenEnded); };
    request.answer = scheduler_.After(delay, [this, id, completion, answer = std::move(answer)] {
        pending_.erase(id);
        completion.Set(answer());
    });
    return completion;
}

Completion<GattStatus> GattLink::Discover()
{
    return Ask<GattStatus>(GattStatus::kNotConnected, [this] {
        isDiscovered_ = true;
        return GattStatus::kDone;
    });
}

bool GattLink::HasService(const Uuid& service) const
{
    return isDiscovered_ && device_ != nullptr && device_->HasService(service);
}

/// Whether the device has a characteristic with one of these flags.
GattStatus GattLink::Permission(const Uuid& service, const Uuid& characteristic,
                                std::int32_t flags) const
{
    const auto actual = isDiscovered_ ? device_->FlagsOf(service, characteristic) : std::nullopt;
    if (!actual) {
        return GattStatus::kNotFound;
    }
    return (*actual & flags) != 0 ? GattStatus::kDone : GattStatus::kNotPermitted;
}

Completion<GattLink::ReadResult> GattLink::Read(const Uuid& service, const Uuid& characteristic)
{
    return Ask<ReadResult>({GattStatus::kNotConnected, {}}, [=, this]() -> ReadResult {
        const GattStatus status = Permission(service, characteristic, radio::kGattRead);
        return {status, status == GattStatus::kDone ? device_->Read(*this, service, characteristic)
                                                    : GattValue()};
    });
}

Completion<GattStatus> GattLink::Write(const Uuid& service, const Uuid& characteristic,
                                       GattValue value)
{
    return Ask<GattStatus>(GattStatus::kNotConnected, [=, this, value = std::move(value)] {
        const GattStatus status = Permission(service, characteristic, radio::kGattAnyWrite);
        if (status == GattStatus::kDone) {
            device_->Write(*this, service, characteristic, value);
        }
        return status;
    });
}

Completion<GattStatus> GattLink::Subscribe(const Uuid& service, const Uuid& characteristic,
                                           bool enable)
{
    return Ask<GattStatus>(GattStatus::kNotConnected, [=, this] {
        const GattStatus status = Permission(service, characteristic, radio::kGattAnyNotify);
        if (status == GattStatus::kDone) {
            device_->Subscribe(*this, service, characteristic, enable);
        }
        return status;
    });
}

}  // namespace pelacon::service::simulation
