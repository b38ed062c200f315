// What the service answers when it does not do what was asked.
#pragma once

#include <PelaconSDK/BleStatus.h>
#include <PelaconSDK/SoftAp.h>
#include <PelaconSDK/WifiStatus.h>

#include <cstdint>

namespace pelacon::protocol {

/// The status in a reply. The service's own refusals are positive, as negative values are the
/// library's. The numbers are part of the contract: they are never given another meaning.
enum ServiceStatus : std::int32_t {
    kStatusDone = 0,
    kStatusRadioOff = 1,         ///< the adapter, or Wi-Fi, is not on
    kStatusUnknownId = 2,        ///< no such listener, advertiser, client, server or handle here
    kStatusBusy = 3,             ///< already under way, or not possible in this state
    kStatusLimitReached = 4,     ///< the service holds as many of these as it can
    kStatusInvalidArgument = 5,  ///< a value that the service cannot use
    kStatusNotConnected = 6,     ///< the peer is not connected
    kStatusNotFound = 7,         ///< no such peer, service, characteristic or interface
    kStatusNotPermitted = 8,     ///< the characteristic, the peer, or the system does not allow it
    kStatusPeerUnreachable = 9,  ///< the peer, or the radio, did not answer in time
    kStatusNotSupported = 10,    ///< this radio cannot do it
    kStatusInterrupted = 11,     ///< the service was ended or restarted meanwhile
};

// Applications see them under names of their own.
static_assert(kStatusRadioOff == +kBleStatusRadioOff && kStatusRadioOff == +kWifiIsOff &&
              kStatusRadioOff == +kSoftApWifiOff);
static_assert(kStatusUnknownId == +kBleStatusUnknownId && kStatusUnknownId == +kWifiUnknownId);
static_assert(kStatusBusy == +kBleStatusBusy && kStatusBusy == +kWifiBusy &&
              kStatusBusy == +kSoftApOtherPurpose);
static_assert(kStatusLimitReached == +kBleStatusLimitReached &&
              kStatusLimitReached == +kWifiLimitReached &&
              kStatusLimitReached == +kSoftApLimitReached);
static_assert(kStatusInvalidArgument == +kBleStatusInvalidArgument &&
              kStatusInvalidArgument == +kWifiInvalidArgument &&
              kStatusInvalidArgument == +kSoftApInvalidArgument);
static_assert(kStatusNotConnected == +kBleStatusNotConnected &&
              kStatusNotConnected == +kWifiNotConnected);
static_assert(kStatusNotFound == +kBleStatusNoSuchItem && kStatusNotFound == +kWifiNotFound &&
              kStatusNotFound == +kSoftApNotExisting);
static_assert(kStatusNotPermitted == +kBleStatusNotPermitted &&
              kStatusNotPermitted == +kWifiNotPermitted &&
              kStatusNotPermitted == +kSoftApNotPermitted);
static_assert(kStatusPeerUnreachable == +kBleStatusUnreachable &&
              kStatusPeerUnreachable == +kWifiUnreachable &&
              kStatusPeerUnreachable == +kSoftApUnreachable);
static_assert(kStatusNotSupported == +kBleStatusNotSupported &&
              kStatusNotSupported == +kWifiNotSupported &&
              kStatusNotSupported == +kSoftApNotPossible);
static_assert(kStatusInterrupted == +kBleStatusInterrupted &&
              kStatusInterrupted == +kWifiInterrupted && kStatusInterrupted == +kSoftApInterrupted);

}  // namespace pelacon::protocol
