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

    /* Positive values come from the service. */

    /* Bluetooth is off, or kept off by a switch of the machine. */
    kBleStatusRadioOff = 1,
    /* The id was not assigned to this program, or is no longer valid. */
    kBleStatusUnknownId = 2,
    /* In progress already, or not possible in this state. */
    kBleStatusBusy = 3,
    /* The service's limit for these is reached. */
    kBleStatusLimitReached = 4,
    /* The service does not accept a value. */
    kBleStatusInvalidArgument = 5,
    /* The peer is not connected. */
    kBleStatusNotConnected = 6,
    /* No such peer, service or characteristic. */
    kBleStatusNoSuchItem = 7,
    /* The characteristic, the peer, or the system does not allow it. */
    kBleStatusNotPermitted = 8,
    /* The peer, or the radio, did not answer in time. */
    kBleStatusUnreachable = 9,
    /* The radio does not support it. */
    kBleStatusNotSupported = 10,
    /* The service was ended or restarted in the meantime, or the operation was stopped. */
    kBleStatusInterrupted = 11,
};

#endif /* PELACONSDK_BLESTATUS_H */
