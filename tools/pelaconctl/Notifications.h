// Notifications as people read them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <span>
#include <string>

namespace pelacon::ctl {

/// The notification's name, or its number where it has none.
std::string NotificationName(std::int32_t id);

/// What the payload says, field by field; null where nobody here knows how to read it. A payload
/// shorter than its record reads as if zeros followed.
nlohmann::ordered_json NotificationFields(std::int32_t id, std::span<const std::uint8_t> payload);

/// The fields on one line: "state=on reason=0".
std::string FieldsLine(const nlohmann::ordered_json& fields);

}  // namespace pelacon::ctl
