// Reading advertising data: a sequence of structures, each a length byte, an AD type and data.
#include <PelaconSDK/BleScanner.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace {

constexpr std::uint8_t kServiceData16 = 0x16;
constexpr std::uint8_t kManufacturerData = 0xFF;

/// What its length byte says, the byte of its type not counted: 0xFFFFFFFF where it says 0.
std::uint32_t DataLength(std::span<const std::uint8_t> structure)
{
    return std::uint32_t{structure[0]} - 1U;
}

/// The buffer from the first structure of the type on. Nothing when there is none before the end,
/// or before a structure that reaches beyond it.
std::optional<std::span<const std::uint8_t>> Find(std::span<const std::uint8_t> rest,
                                                  std::uint8_t type)
{
    while (!rest.empty()) {
        const std::size_t size = 1 + std::size_t{rest[0]};
        if (rest.size() < size || rest.size() < 2) {
            return std::nullopt;
        }
        if (rest[1] == type) {
            return rest;
        }
        rest = rest.subspan(size);
    }
    return std::nullopt;
}

/// The same for a type whose data begin with two identifying bytes.
std::optional<std::span<const std::uint8_t>> FindIdentified(std::span<const std::uint8_t> buffer,
                                                            std::uint8_t type)
{
    const auto found = Find(buffer, type);
    return found && (*found)[0] >= 3 ? found : std::nullopt;
}

BleStatusC Store(const std::uint8_t* from, std::uint32_t length, std::uint8_t** data,
                 std::uint32_t* dataLen)
{
    *data = const_cast<std::uint8_t*>(from);  // the caller's buffer, as the caller may write to it
    *dataLen = length;
    return kBleStatusSuccess;
}

/// The caller's buffer; null counts as empty.
std::span<const std::uint8_t> Buffer(const std::uint8_t* advData, std::uint32_t advLen)
{
    return {advData, advData != nullptr ? advLen : 0};
}

}  // namespace

BleStatusC BleGetAdvDataByType(const uint8_t* advData, uint32_t advLen, uint8_t type,
                               uint8_t** data, uint32_t* dataLen)
{
    if (data == nullptr || dataLen == nullptr) {
        return kBleStatusFailed;
    }
    const auto found = Find(Buffer(advData, advLen), type);
    if (!found) {
        return kBleStatusNotFound;
    }
    return Store(found->data() + 2, DataLength(*found), data, dataLen);
}

BleStatusC BleGetManufacturerDataByCompanyId(const uint8_t* advData, uint32_t advLen,
                                             uint16_t /*companyId*/, uint8_t** data,
                                             uint32_t* dataLen)
{
    if (data == nullptr || dataLen == nullptr) {
        return kBleStatusFailed;
    }
    const auto found = FindIdentified(Buffer(advData, advLen), kManufacturerData);
    if (!found) {
        return kBleStatusNotFound;
    }
    return Store(found->data() + 4, DataLength(*found) - 2, data, dataLen);
}

BleStatusC BleGetServiceDataByUuid(const uint8_t* advData, uint32_t advLen, uint16_t uuid,
                                   uint8_t** data, uint32_t* dataLen)
{
    if (data == nullptr || dataLen == nullptr) {
        return kBleStatusFailed;
    }
    const auto found = FindIdentified(Buffer(advData, advLen), kServiceData16);
    if (!found || (*found)[2] + 256 * (*found)[3] != uuid) {
        return kBleStatusNotFound;
    }
    return Store(found->data() + 4, DataLength(*found) - 2, data, dataLen);
}
