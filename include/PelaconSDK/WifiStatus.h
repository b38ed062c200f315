/* The result of every Wi-Fi Direct operation. */
#ifndef PELACONSDK_WIFISTATUS_H
#define PELACONSDK_WIFISTATUS_H

#include <PelaconSDK/Export.h>

/* Any value that is not listed is the service's own code, passed through unchanged. */
PELACON_ENUM(WifiErrorCode){
    /* Done. */
    kWifiSuccess = 0,
    /* Refused before anything was sent (an invalid argument), or not sent: the library is not
     * started. */
    kWifiFailed = -1,
    /* No answer: the service is not running, did not answer in time, went away meanwhile, or
     * answered with nothing. */
    kWifiNoReply = -12,
    /* What should be copied does not fit its destination. */
    kWifiCopyFailed = -16,

    /* The positive ones come from the service. */

    /* Wi-Fi is switched off. */
    kWifiIsOff = 1,
    /* There is a group already, or one is being made. */
    kWifiBusy = 3,
    /* The service cannot make sense of a value. */
    kWifiInvalidArgument = 5,
    /* No group, interface, card or configuration of that kind. */
    kWifiNotFound = 7,
    /* The group is in use by other applications' shared links. */
    kWifiNotPermitted = 8,
    /* The radio cannot do it, or may not use the channel. */
    kWifiNotSupported = 10,
    /* The group was removed, or the service ended, before it was made. */
    kWifiInterrupted = 11,
};

#endif /* PELACONSDK_WIFISTATUS_H */
