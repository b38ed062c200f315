#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/SoftAp.h>
#include <PelaconSDK/Status.h>
#include <PelaconSDK/WifiStatus.h>

#include <cstdint>

namespace {

struct Status {
    std::int32_t family;
    std::int32_t code;
    const char* name;
    const char* text;
};

#define BLE(name, text)                      \
    {                                        \
        kPelaconStatusBle, name, #name, text \
    }
#define WIFI(name, text)                      \
    {                                         \
        kPelaconStatusWifi, name, #name, text \
    }
#define SOFT_AP(name, text)                     \
    {                                           \
        kPelaconStatusSoftAp, name, #name, text \
    }

/// Every result that has an enumerator. docs/results.md has the same table, and pelaconctl the same
/// words; the tests compare it with the headers and with the document.
constexpr Status kStatuses[] = {
    BLE(kBleStatusSuccess, "done"),
    BLE(kBleStatusFailed, "an argument is not valid, or the library is not started"),
    BLE(kBleStatusNotFound, "the advertising data have no such field"),
    BLE(kBleStatusNoReply, "the service did not answer"),
    BLE(kBleStatusDataTooLong, "the data are too long"),
    BLE(kBleStatusBufferTooSmall, "the name does not fit the buffer"),
    BLE(kBleStatusRadioOff, "the radio is off"),
    BLE(kBleStatusUnknownId, "the id is unknown"),
    BLE(kBleStatusBusy, "that is in progress already, or not possible now"),
    BLE(kBleStatusLimitReached, "there are as many of these as it allows"),
    BLE(kBleStatusInvalidArgument, "a value is not valid"),
    BLE(kBleStatusNotConnected, "the peer is not connected"),
    BLE(kBleStatusNoSuchItem, "it was not found"),
    BLE(kBleStatusNotPermitted, "that is not permitted"),
    BLE(kBleStatusUnreachable, "the peer or the radio did not answer"),
    BLE(kBleStatusNotSupported, "the radio does not support it"),
    BLE(kBleStatusInterrupted, "it was restarted in the meantime"),

    WIFI(kWifiSuccess, "done"),
    WIFI(kWifiFailed, "an argument is not valid, or the library is not started"),
    WIFI(kWifiNoReply, "the service did not answer"),
    WIFI(kWifiCopyFailed, "the data do not fit"),
    WIFI(kWifiIsOff, "the radio is off"),
    WIFI(kWifiUnknownId, "the id is unknown"),
    WIFI(kWifiBusy, "that is in progress already, or not possible now"),
    WIFI(kWifiLimitReached, "there are as many of these as it allows"),
    WIFI(kWifiInvalidArgument, "a value is not valid"),
    WIFI(kWifiNotConnected, "the peer is not connected"),
    WIFI(kWifiNotFound, "it was not found"),
    WIFI(kWifiNotPermitted, "that is not permitted"),
    WIFI(kWifiUnreachable, "the peer or the radio did not answer"),
    WIFI(kWifiNotSupported, "the radio does not support it"),
    WIFI(kWifiInterrupted, "it was restarted in the meantime"),

    SOFT_AP(kSoftApNoReply, "no answer"),
    SOFT_AP(kSoftApSuccess, "success"),
    SOFT_AP(kSoftApWifiOff, "Wi-Fi was off"),
    SOFT_AP(kSoftApOtherPurpose, "it was created for another purpose"),
    SOFT_AP(kSoftApLimitReached, "the radio has no room for one"),
    SOFT_AP(kSoftApInvalidArgument, "a value was not valid"),
    SOFT_AP(kSoftApNotExisting, "there was no soft AP"),
    SOFT_AP(kSoftApNotPermitted, "that is not permitted"),
    SOFT_AP(kSoftApUnreachable, "the radio did not answer"),
    SOFT_AP(kSoftApNotPossible, "not possible"),
    SOFT_AP(kSoftApInterrupted, "destroyed before it was ready"),
    SOFT_AP(kSoftApAlreadyExists, "a soft AP existed already"),
};

const Status* Find(PelaconStatusFamily family, std::int32_t code)
{
    for (const Status& status : kStatuses) {
        if (status.family == family && status.code == code) {
            return &status;
        }
    }
    return nullptr;
}

}  // namespace

const char* PelaconStatusName(PelaconStatusFamily family, int32_t code)
{
    const Status* const status = Find(family, code);
    return status != nullptr ? status->name : "unknown";
}

const char* PelaconStatusText(PelaconStatusFamily family, int32_t code)
{
    const Status* const status = Find(family, code);
    return status != nullptr ? status->text : "an unknown result";
}
