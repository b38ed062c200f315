/* Starting and stopping the library. */
#ifndef PELACONSDK_PELACONSVC_H
#define PELACONSDK_PELACONSVC_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* Starts the library: makes the channel to the service and begins to receive its notifications.
 *
 * Returns 0 when the library is started, also when it was started already. Returns 0 at once when
 * the service is not running: the library connects in the background as soon as it is, and again
 * whenever the connection was lost; operations meanwhile end at once with their no-reply value.
 * Returns -1 when the channel cannot be made for want of memory or threads; the library is then
 * stopped, and may be started again.
 *
 * Call it once, from the application's main thread. From the first start on the library stays in
 * memory until the process ends, even if it is unloaded. In a child process after fork the channel
 * of the parent does not work: stop the library there, and start it anew. */
PELACON_API int PelaconSvcStart(void);

/* Stops the library: forgets the channel, ends all waiting requests at once (they return their
 * no-reply value), and waits for a callback that is running on the receive thread, for as long as
 * the application's code takes. Afterwards no callback runs there, and operations are refused
 * as before the first start. Deliveries on threads of their own (scan results, targeted
 * advertisements, error listeners) that are under way may still run to their end.
 *
 * Callback tables and listeners stay registered with the library, but the service forgets with the
 * stop what it was to tell this application, and what it made for it (listeners, advertisers, GATT
 * clients and servers). Whatever is wanted again after the next start is to be unregistered before
 * the stop and registered anew after the start.
 *
 * May be called twice, without a start, while other threads are in operations, and from inside a
 * callback; there it does not wait for that callback, which shall not register or unregister
 * anything once it has started the library again. A stop that finds the library stopped, or being
 * stopped by another thread, waits for nothing. A process may also end without calling it.
 *
 * Always returns 0. */
PELACON_API int PelaconSvcStop(void);

PELACON_C_END

#endif /* PELACONSDK_PELACONSVC_H */
