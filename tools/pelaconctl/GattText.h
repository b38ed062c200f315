// UUIDs and values, read and written as text.
#pragma once

#include <protocol/Uuid.h>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::ctl {

/// Reads "180D", "0x180d", "0000180d" or all 36 characters. Throws Failure.
protocol::Uuid ParseUuidText(std::string_view text);

/// "180D" for UUIDs that have a short form, otherwise all 36 characters.
std::string FormatUuid(const protocol::Uuid& uuid);

/// The assigned name of a service with a 16-bit UUID, such as "Heart Rate"; "" where pelaconctl
/// does not know one.
std::string_view ServiceName(const protocol::Uuid& uuid);

/// The services that ServiceName knows.
std::vector<protocol::Uuid> NamedServices();

/// Reads a value: hexadecimal, or text in double quotes. At most 1,024 bytes. Throws Failure.
std::vector<std::uint8_t> ParseValue(std::string_view text);

/// `6f6e "on"`: a value in hexadecimal, and as text where it is printable; "(empty)" if it is
/// empty.
std::string FormatValue(std::span<const std::uint8_t> value);

/// Adds the fields "value" (hexadecimal) and, where the value is printable, "text".
void AddValue(nlohmann::ordered_json& record, std::span<const std::uint8_t> value);

/// Adds two fields: `name` with the UUID in its shortest form, and `name`128 with the UUID in full.
void AddUuid(nlohmann::ordered_json& record, const std::string& name, const protocol::Uuid& uuid);

/// A characteristic and its service.
struct GattPath {
    /// Reads both UUIDs. Throws Failure.
    static GattPath Parse(std::string_view service, std::string_view characteristic);

    /// "180D/2A37"
    std::string Text() const;

    /// Adds "service" and "characteristic", by AddUuid.
    void AddTo(nlohmann::ordered_json& record) const;

    protocol::Uuid service;
    protocol::Uuid characteristic;
};

}  // namespace pelacon::ctl
