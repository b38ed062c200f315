/* Connection errors, and who hears of them. For WifiSystemApi.h. */
#ifndef PELACONSDK_ERRORLISTENER_H
#define PELACONSDK_ERRORLISTENER_H

#include <PelaconSDK/Export.h>

#ifdef __cplusplus

#include <string>

/* What went wrong with a connection. Any other value is delivered like these, with the text
 * "unknow". */
PELACON_ENUM(ConnectErrorCode){
    kConnectSuccess = 0,                 /* "success" */
    kConnectGoAlreadyExist = 0x10000001, /* "go already exist": the soft AP or group is there */
    kConnectBleSendFail = 0x20000000,    /* "ble send fail" */
};

/* One error. */
struct ErrorDetail {
    int64_t time; /* when it was posted: 100-nanosecond steps since 1970-01-01 00:00 UTC */
    ConnectErrorCode code;
    std::string message; /* the code's text */
};

/* Hears of connection errors; the application's to implement.
 *
 * Called on a thread of the library's own, one error after the other in the order in which they
 * were posted, with no lock held: it may call any operation but WifiSystemApi::DestroyInstance,
 * which throws there. While it runs, nobody else hears of errors. An exception that leaves it ends
 * the process.
 *
 * WifiSystemApi::UnregistListener does not wait for a call that is under way: the object stays
 * valid until it has ended, or until DestroyInstance has returned. */
class PELACON_INTERFACE ErrorListener {
  public:
    virtual ~ErrorListener() = default;

    /* One error; the record is the listener's own copy. */
    virtual void OnError(ErrorDetail detail) = 0;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_ERRORLISTENER_H */
