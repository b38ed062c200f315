/* Whether the service is there, and what became of it: a query, and a sink for changes. */
#ifndef PELACONSDK_SERVICESTATE_H
#define PELACONSDK_SERVICESTATE_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* What the library knows of the service. Whenever the connection to the service is lost, the
 * service drops what it holds for this application, whether it was restarted or not. */
enum PELACON_ENUM(PelaconServiceState) {
    /* The library is stopped, or has not found a service since its start. */
    kPelaconServiceNotFound = 0,

    /* The library has found the service, for the first time since its start. */
    kPelaconServiceAvailable = 1,

    /* The connection is lost: the service has ended, or has closed the connection. The library
     * looks for a service; until it has found one, operations return their no-reply value. */
    kPelaconServiceLost = 2,

    /* The service has announced that it was restarted, or that the connection was lost, and what it
     * held is repaired: callbacks for the adapter, the group, the soft AP and Wi-Fi are registered
     * again, and the ids of the first ten scan listeners and of the first ten advertisers are valid
     * again. GATT clients and servers, scan filters and what was advertised are lost in any case:
     * the application makes them again. */
    kPelaconServiceRestarted = 3,

    /* As kPelaconServiceRestarted, but not repaired: the service did not answer the request to
     * repair, or refused it; or there was no such request, because no process of the service was
     * found, neither at the path where the service is installed nor at the other end of the
     * connection. The application registers everything again. */
    kPelaconServiceNotRepaired = 4,
};

/* Receives a new state. */
typedef void (*PelaconServiceSink)(void* context, PelaconServiceState state);

/* Replaces the sink: it is called once for each change of the state, in the order of the changes.
 * PelaconSvcStop is no change that is reported. Null removes the sink. Returns when no call of the
 * previous sink is running any more (inside a sink: at once), so the caller must not hold a lock
 * that the previous sink takes. May be called at any time, also before PelaconSvcStart. To know the
 * state from the beginning, set the sink before the start, or call PelaconGetServiceState
 * afterwards.
 *
 * The sink is called on the receive thread, like callbacks, and without any lock of the library: it
 * may call all operations, PelaconSvcStop and this function. No callback runs on the receive thread
 * meanwhile, and no lost connection is replaced, except by an operation that needs it. The sink
 * must not throw; an exception is dropped.
 *
 * In a child process made by fork the sink stays set, and the state is kPelaconServiceNotFound
 * until the child has started the library. */
PELACON_API void PelaconSetServiceSink(void* context, PelaconServiceSink sink);

/* The present state. Inside the sink it is the state that the sink was called with. Sends nothing
 * and never waits. */
PELACON_API PelaconServiceState PelaconGetServiceState(void);

/* Where the library expects the program of the service. After a restart of the service it looks for
 * a process that runs this program (README.md, Where the service is found). Determined by the first
 * call, or the first PelaconSvcStart. Valid until the process ends; empty if memory has run out.
 * Sends nothing. */
PELACON_API const char* PelaconGetServicePath(void);

PELACON_C_END

#endif /* PELACONSDK_SERVICESTATE_H */
