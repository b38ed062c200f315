/* The names and the meanings of results, for messages and logs. */
#ifndef PELACONSDK_STATUS_H
#define PELACONSDK_STATUS_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* The family of a result. The same number has another meaning in another family. */
enum PELACON_ENUM(PelaconStatusFamily) {
    kPelaconStatusBle = 0,    /* a BleStatusC: Bluetooth LE and GATT */
    kPelaconStatusWifi = 1,   /* a WifiErrorCode: Wi-Fi Direct */
    kPelaconStatusSoftAp = 2, /* a SoftApResult: the soft AP */
};

/* The enumerator of a result, such as "kBleStatusNoReply"; "unknown" for a number that has none.
 * The text is valid until the process ends. Sends nothing. */
PELACON_API const char* PelaconStatusName(PelaconStatusFamily family, int32_t code);

/* What a result means, to follow a colon in a message: "the radio is off"; "an unknown result" for
 * a number that has no enumerator. Otherwise as PelaconStatusName. */
PELACON_API const char* PelaconStatusText(PelaconStatusFamily family, int32_t code);

PELACON_C_END

#endif /* PELACONSDK_STATUS_H */
