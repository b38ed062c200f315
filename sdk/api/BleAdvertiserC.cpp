#include <PelaconSDK/BleAdvertiser.h>
#include <protocol/BleAdvertiser.h>
#include <sdk/api/CEntry.h>

#include <cstdint>
#include <vector>

using pelacon::CEntry;

namespace {

/// Which argument must not be null but is; null when all is well.
const char* NullArgument(const BleAdvertiseParamsC* params, const BleAdvertiseDataC* data)
{
    if (params == nullptr) {
        return "params";
    }
    if (data == nullptr) {
        return "data";
    }
    if (data->advData == nullptr && data->advDataLen != 0) {
        return "advData";
    }
    if (data->scanResp == nullptr && data->scanRespLen != 0) {
        return "scanResp";
    }
    return nullptr;
}

/// The bytes; more than a field holds are not read, and as many zeros are refused like them.
std::vector<std::uint8_t> Bytes(const std::uint8_t* bytes, std::uint32_t length)
{
    constexpr std::size_t kMost = sizeof pelacon::protocol::AdvertisingField::bytes;
    return length <= kMost ? std::vector<std::uint8_t>(bytes, bytes + length)
                           : std::vector<std::uint8_t>(kMost + 1);
}

}  // namespace

BleStatusC BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId)
{
    return CEntry<&BleAdvertiser::BleAdvRegisterCallbacks>(kBleStatusFailed, advCallback,
                                                           businessId);
}

BleStatusC BleAdvUnRegisterCallbacks(int advId)
{
    return CEntry<&BleAdvertiser::BleAdvUnRegisterCallbacks>(kBleStatusFailed, advId);
}

BleStatusC BleStartAdvertise(int advId, const BleAdvertiseParamsC* params,
                             const BleAdvertiseDataC* data)
{
    return CEntry(kBleStatusFailed, [&] {
        if (const char* argument = NullArgument(params, data)) {
            pelacon::diag::Log(kLogIncomplete, "BleStartAdvertise", argument,
                               " is nullptr, return");
            return kBleStatusFailed;
        }
        return BleAdvertiser::BleStartAdvertise(
            advId, *params,
            {Bytes(data->advData, data->advDataLen), Bytes(data->scanResp, data->scanRespLen)});
    });
}

BleStatusC BleStopAdvertise(int advId)
{
    return CEntry<&BleAdvertiser::BleStopAdvertise>(kBleStatusFailed, advId);
}
