/* The result of every Bluetooth LE and GATT operation. */
#ifndef PELACONSDK_BLESTATUS_H
#define PELACONSDK_BLESTATUS_H

#include <PelaconSDK/Export.h>

/* Any other value is a code of the service, passed through unchanged. */
enum PELACON_ENUM(BleStatusC) {
    /* Done. */
    kBleStatusSuccess = 0,
    /* Nothing was sent: an argument is invalid, or the library is not started. */
    kBleStatusFailed = -1,
    /* The advertising data have no such field. */
    kBleStatusNotFound = -3,
    /* No answer: the service is not running, did not answer in time, ended meanwhile, or answered
     * without a payload. */
    kBleStatusNoReply = -9,
    /* Data that are too long for their field or for the caller's buffer. */
    kBleStatusDataTooLong = -10,
    /* The C form of GetBtName: the name does not fit the caller's buffer. */
    kBleStatusBufferTooSmall = -10000,
};

#endif /* PELACONSDK_BLESTATUS_H */
