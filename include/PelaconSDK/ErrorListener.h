/* Connection errors, and the callback for them. For WifiSystemApi.h and
 * WifiSystem.h. */
#ifndef PELACONSDK_ERRORLISTENER_H
#define PELACONSDK_ERRORLISTENER_H

#include <PelaconSDK/Export.h>

#ifdef __cplusplus
#include <string>
#endif

PELACON_C_BEGIN

/* A connection error. Any other value is delivered too, with the text "unknow". */
enum PELACON_ENUM(ConnectErrorCode) {
    kConnectSuccess = 0,                 /* "success" */
    kConnectGoAlreadyExist = 0x10000001, /* "go already exist": a soft AP or group exists */
    kConnectBleSendFail = 0x20000000,    /* "ble send fail" */
};

/* One error, in C. */
typedef struct ErrorDetailC {
    int64_t time;          /* of posting, in units of 100 ns since 1970-01-01 00:00 UTC */
    ConnectErrorCode code; /* which error */
    const char* message;   /* the code's text; valid during the call, as the record is */
} ErrorDetailC;

/* Called as ErrorListener is. */
typedef struct ErrorListenerC {
    /* One error, as ErrorListener::OnError. */
    void (*onError)(const ErrorDetailC* detail);
} ErrorListenerC;

PELACON_C_END

#ifdef __cplusplus

/* One error. */
struct ErrorDetail {
    int64_t time;          /* of posting, in units of 100 ns since 1970-01-01 00:00 UTC */
    ConnectErrorCode code; /* which error */
    std::string message;   /* the code's text */
};

/* Called on connection errors; the application implements it.
 *
 * Errors are delivered one after the other, in the order of posting, on a thread of the library for
 * all listeners. A listener may call any operation except WifiSystemApi::DestroyInstance, which
 * throws there. An exception that leaves it ends the process (std::terminate).
 *
 * WifiSystemApi::UnregistListener does not wait for a call that is running: the object must stay
 * valid until the call has ended, or until DestroyInstance has returned. */
class PELACON_INTERFACE ErrorListener {
  public:
    virtual ~ErrorListener() = default;

    /* One error; the record is a copy for this listener. */
    virtual void OnError(ErrorDetail detail) = 0;
};

#endif /* __cplusplus */

#endif /* PELACONSDK_ERRORLISTENER_H */
