// Names and fields of notifications, as text.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <span>
#include <string>

namespace pelacon::ctl {

/// The notification's name, or its id where it has none.
std::string NotificationName(std::int32_t id);

/// The fields of the payload; null where its record is not known. A payload shorter than its record
/// is read as if zeros followed.
nlohmann::ordered_json NotificationFields(std::int32_t id, std::span<const std::uint8_t> payload);

/// The fields on one line: "state=on reason=0".
std::string FieldsLine(const nlohmann::ordered_json& fields);

}  // namespace pelacon::ctl
