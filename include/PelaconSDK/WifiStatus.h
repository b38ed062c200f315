/* The result of every Wi-Fi Direct operation. */
#ifndef PELACONSDK_WIFISTATUS_H
#define PELACONSDK_WIFISTATUS_H

#include <PelaconSDK/Export.h>

/* Any other value is a code of the service, passed through unchanged. */
enum PELACON_ENUM(WifiErrorCode) {
    /* Done. */
    kWifiSuccess = 0,
    /* An argument is invalid, or the library is not started. Nothing was sent. */
    kWifiFailed = -1,
    /* No answer: the service is not running, did not answer in time, ended meanwhile, or answered
     * without a payload. */
    kWifiNoReply = -12,
    /* Data that do not fit their destination. */
    kWifiCopyFailed = -16,

    /* Positive values come from the service. */

    /* Wi-Fi is switched off. */
    kWifiIsOff = 1,
    /* The id was not assigned to this program, or is no longer valid. */
    kWifiUnknownId = 2,
    /* A group exists already, or is being created. */
    kWifiBusy = 3,
    /* The service's limit for these is reached. */
    kWifiLimitReached = 4,
    /* The service does not accept a value. */
    kWifiInvalidArgument = 5,
    /* The peer is not connected. */
    kWifiNotConnected = 6,
    /* No such group, interface, card or configuration. */
    kWifiNotFound = 7,
    /* The group is in use by shared links of other applications. */
    kWifiNotPermitted = 8,
    /* The peer, or the radio, did not answer in time. */
    kWifiUnreachable = 9,
    /* The radio cannot do it, or may not use the channel. */
    kWifiNotSupported = 10,
    /* The group was removed, or the service ended, before the group was created. */
    kWifiInterrupted = 11,
};

#endif /* PELACONSDK_WIFISTATUS_H */
