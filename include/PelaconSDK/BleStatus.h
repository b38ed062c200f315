/* The result of every Bluetooth LE and GATT operation. */
#ifndef PELACONSDK_BLESTATUS_H
#define PELACONSDK_BLESTATUS_H

#include <PelaconSDK/Export.h>

/* Any value that is not listed is the service's own code, passed through unchanged. */
PELACON_ENUM(BleStatusC){
    /* Done. */
    kBleStatusSuccess = 0,
    /* Refused before anything was sent (an invalid argument), or not sent: the library is not
     * started. */
    kBleStatusFailed = -1,
    /* The advertising data hold no such field. */
    kBleStatusNotFound = -3,
    /* No answer: the service is not running, did not answer in time, went away meanwhile, or
     * answered with nothing. */
    kBleStatusNoReply = -9,
    /* Data too long for their field, or a copy that would not fit. */
    kBleStatusDataTooLong = -10,
    /* The C form of GetBtName: the name does not fit the caller's buffer. */
    kBleStatusBufferTooSmall = -10000,
};

#endif /* PELACONSDK_BLESTATUS_H */
