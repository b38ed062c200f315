#include <service/linux/ByteReader.h>
#include <service/linux/bluetooth/DuplicateFilter.h>

#include <algorithm>
#include <array>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr std::uint16_t kAddMonitor = 0x0052;
constexpr std::uint16_t kRemoveMonitor = 0x0053;

/// What the monitor looks for: manufacturer data under a company number that no device uses, so
/// that the kernel reports nothing because of it.
std::vector<std::uint8_t> EncodePattern()
{
    constexpr std::size_t kMostPattern = 31;
    constexpr std::uint8_t kManufacturerData = 0xFF;
    constexpr std::array<std::uint8_t, 9> kPattern{0xFF, 0xFF, 'p', 'e', 'l', 'a', 'c', 'o', 'n'};
    constexpr std::array<std::uint8_t, 4> kHeader{1, kManufacturerData, 0, kPattern.size()};
    std::vector<std::uint8_t> parameters(kHeader.size() + kMostPattern);
    std::copy(kPattern.begin(), kPattern.end(),
              std::copy(kHeader.begin(), kHeader.end(), parameters.begin()));
    return parameters;
}

std::vector<std::uint8_t> EncodeHandle(std::uint16_t handle)
{
    std::vector<std::uint8_t> parameters;
    AppendNumber(parameters, handle);
    return parameters;
}

}  // namespace

DuplicateFilter::DuplicateFilter(Stack& stack, KernelItems& items, ManagementLink::OpenSocket open)
    : stack_(stack),
      items_(items),
      management_(stack.GetLoop(), std::move(open),
                  [this](const ManagementEvent& event) { Received(event); })
{
    stack_.Add(*this);
}

DuplicateFilter::~DuplicateFilter()
{
    stack_.Remove(*this);
    if (monitor_ && management_.Open()) {
        management_.Send(kRemoveMonitor, monitor_->controller, EncodeHandle(monitor_->number),
                         [](ManagementStatus, std::span<const std::uint8_t>) {});
        management_.Close();  // sends it
        items_.Remove(*monitor_);
    }
}

void DuplicateFilter::SetOff(bool off)
{
    isToBeOff_ = off;
    isRefused_ = isRefused_ && off;
    Fit();
}

DuplicateFilter::State DuplicateFilter::GetState() const noexcept
{
    if (monitor_) {
        return State::kOff;
    }
    return isRefused_ ? State::kRefused : State::kOn;
}

std::optional<std::uint16_t> DuplicateFilter::WantedOn() const
{
    return isToBeOff_ && stack_.Adapter() ? bluez::ControllerOf(stack_.Adapter()->path)
                                          : std::nullopt;
}

std::optional<DuplicateFilter::Item> DuplicateFilter::Unwanted() const
{
    for (const Item& item : items_.All(KernelItems::Kind::kMonitor)) {
        const bool isWanted = item == monitor_ && item.controller == WantedOn();
        if (!isWanted && !stuck_.contains(item)) {
            return item;
        }
    }
    return std::nullopt;
}

void DuplicateFilter::AdapterChanged()
{
    const bool isOn = stack_.Adapter() && stack_.Adapter()->isOn;
    if (isOn && !std::exchange(isOn_, isOn)) {
        stuck_.clear();
        isRefused_ = false;
    }
    isOn_ = isOn;
    Fit();
}

/// Sends the next command that is needed to have the filter as wanted.
void DuplicateFilter::Fit()
{
    const auto unwanted = Unwanted();
    const auto controller = WantedOn();
    const bool isMissing = controller && !monitor_ && !isRefused_;
    if (isBusy_ || (!unwanted && !isMissing)) {
        return;
    }
    if (!management_.Open()) {
        isRefused_ = isToBeOff_;
    } else if (unwanted) {
        Remove(*unwanted);
    } else {
        Add(*controller);
    }
}

void DuplicateFilter::Add(std::uint16_t controller)
{
    isBusy_ = true;
    management_.Send(
        kAddMonitor, controller, EncodePattern(),
        [this, controller](ManagementStatus status, std::span<const std::uint8_t> bytes) {
            isBusy_ = false;
            ByteReader reader(bytes);
            const auto handle = reader.Take<std::uint16_t>();
            if (status == ManagementStatus::kSuccess && !reader.IsBroken()) {
                monitor_ = Item{KernelItems::Kind::kMonitor, controller, handle};
                items_.Add(*monitor_);
            } else if (status == ManagementStatus::kBusy) {
                isBusy_ = true;  // until the next try
                next_ = stack_.GetLoop().After(kNextTry, [this] {
                    isBusy_ = false;
                    Fit();
                });
            } else {
                isRefused_ = isToBeOff_;
            }
            Fit();
        });
}

void DuplicateFilter::Remove(const Item& monitor)
{
    isBusy_ = true;
    management_.Send(kRemoveMonitor, monitor.controller, EncodeHandle(monitor.number),
                     [this, monitor](ManagementStatus status, std::span<const std::uint8_t>) {
                         isBusy_ = false;
                         if (IsGone(status)) {
                             Forget(monitor);
                         } else {
                             stuck_.insert(monitor);
                         }
                         Fit();
                     });
}

void DuplicateFilter::Forget(const Item& monitor)
{
    items_.Remove(monitor);
    if (monitor_ == monitor) {
        monitor_.reset();
    }
}

/// A bluetoothd that starts removes all monitors.
void DuplicateFilter::Received(const ManagementEvent& event)
{
    ByteReader reader(event.parameters);
    const bool isRemoved =
        event.code == static_cast<std::uint16_t>(ManagementEventCode::kMonitorRemoved) &&
        monitor_ && monitor_->controller == event.controller &&
        monitor_->number == reader.Take<std::uint16_t>();
    const bool isUnplugged =
        event.code == static_cast<std::uint16_t>(ManagementEventCode::kIndexRemoved) && monitor_ &&
        monitor_->controller == event.controller;
    if (isRemoved || isUnplugged) {
        Forget(*monitor_);
        Fit();
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
