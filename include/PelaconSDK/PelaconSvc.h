/* Starting and stopping the library. */
#ifndef PELACONSDK_PELACONSVC_H
#define PELACONSDK_PELACONSVC_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* Starts the library: creates the channel to the service and begins to receive notifications.
 *
 * Returns 0 when the library is started, also when it was started before. Returns 0 at once when
 * the service is not running: the library connects in the background when the service comes up, and
 * reconnects when the connection is lost; until then, operations end at once with their no-reply
 * value. Returns -1 when the channel cannot be created for lack of memory or threads; the library
 * is then stopped, and may be started again.
 *
 * May be called from any thread: of several calls at once one starts the library, and the others
 * wait for it. A start while another thread stops the library waits until the stop has ended, and
 * then starts the library. Inside a callback on the receive thread, for which that stop may be
 * waiting, it returns 0 at once and does not start the library.
 *
 * From the first start on the library stays in memory until the process ends, even if it is
 * unloaded.
 *
 * In a child process made by fork the channel of the parent does not work: stop the library there,
 * and start it again. This works whatever the threads of the parent were doing, also where a
 * callback forked. Registered callbacks and log sinks stay registered in the child; errors that
 * were queued for error listeners are delivered in the parent only. */
PELACON_API int PelaconSvcStart(void);

/* Stops the library: closes the channel, ends all waiting requests at once (they return their
 * no-reply value), and waits for a callback that is running on the receive thread, as long as it
 * takes. Afterwards no callback runs there, and operations are refused as before the first start.
 * Deliveries on threads of their own (scan results, targeted advertisements, errors) that have
 * begun may still run to their end.
 *
 * Callback tables and listeners stay registered with the library, but the service drops all that it
 * holds for this application: registrations, listeners, advertisers, GATT clients and servers.
 * Unregister before the stop what is needed again later, and register it again after the next
 * start.
 *
 * May be called when the library is stopped, while other threads are in operations, and inside a
 * callback. Inside a callback it does not wait for that callback; if the callback then starts the
 * library again, it must not register or unregister anything afterwards. A stop while another
 * thread stops the library returns at once. A process may end without stopping the library.
 *
 * Always returns 0. */
PELACON_API int PelaconSvcStop(void);

PELACON_C_END

#endif /* PELACONSDK_PELACONSVC_H */
