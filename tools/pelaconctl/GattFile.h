// Reads the JSON file of `gatt serve`: services to serve.
#pragma once

#include <PelaconSDK/BleGattServer.h>
#include <protocol/Uuid.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::ctl {

struct ServedCharacteristic {
    protocol::Uuid uuid;
    std::int32_t flags = kBleGattCharRead;
    std::vector<std::uint8_t> value;
};

struct ServedService {
    protocol::Uuid uuid;
    std::vector<ServedCharacteristic> characteristics;
};

/// Reads a text such as
///
///     {"services": [{"uuid": "180D", "characteristics": [
///         {"uuid": "2A37", "flags": ["read", "notify"], "value": "0048"}]}]}
///
/// Values are hexadecimal, or {"text": "on"}. Comments are allowed. Throws Failure, which names the
/// file, the line and the field.
std::vector<ServedService> ReadServices(std::string_view text, const std::string& name);

/// The same for a file. Throws Failure, also when the file cannot be read.
std::vector<ServedService> LoadServices(const std::string& path);

}  // namespace pelacon::ctl
