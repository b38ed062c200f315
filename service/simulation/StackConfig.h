// The description of the stacks' behaviour in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/Outcome.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace pelacon::service::simulation {

/// What programs have the stacks do: Bluetooth's the first ones, Wi-Fi's the others.
enum class StackOperation : std::uint8_t {
    kSwitch,
    kRename,
    kAdvertise,
    kScan,
    kShowService,
    kSwitchWifi,
    kCreateGroup,
    kMoveGroup,
};
inline constexpr std::size_t kStackOperations = 8;

constexpr bool IsOfWifi(StackOperation operation)
{
    return operation >= StackOperation::kSwitchWifi;
}

/// What becomes of one operation.
struct StackBehaviour {
    std::chrono::milliseconds delay{0};  ///< until it is done, or has failed
    radio::Outcome outcome = radio::Outcome::kDone;
    std::optional<std::chrono::milliseconds> endsAfter;  ///< of advertising and scans: by itself
    std::optional<std::uint32_t> times;                  ///< how often it applies; without: always
};

/// For each operation, by its number. By default everything is done at once.
using StackConfig = std::array<StackBehaviour, kStackOperations>;

void ReadStack(json::Fields& fields, StackConfig& config);

/// A command's field `operation`.
StackOperation ReadStackOperation(const json::Reader& reader);

/// Reads the fields of an operation's behaviour.
StackBehaviour ReadStackBehaviour(json::Fields& fields, StackOperation operation);

}  // namespace pelacon::service::simulation
