/* PelaconSDK: Bluetooth LE and Wi-Fi for desktop applications, through a service process that
 * controls the radios.
 *
 * Include this header only, from C11 or C++20. These rules apply to all headers that it includes:
 *
 * 1. Start the library with PelaconSvcStart and end with PelaconSvcStop (PelaconSvc.h). Unless its
 *    header says otherwise, an operation in between is one request to the service. Before the start
 *    and after the stop, such operations are refused.
 * 2. Operations may be called from any thread. An operation returns when the service has answered,
 *    or after the time-out that its header names. Where the header says so, it first waits for
 *    other operations. An operation that registers or unregisters a callback also waits while a
 *    callback of the same kind is running on another thread.
 * 3. Events arrive through callbacks. Each header says on which thread they run. Callbacks on the
 *    receive thread run one after the other, and may call any operation; while one waits for an
 *    answer, no other callback runs there.
 * 4. The library keeps pointers to callback tables and listener objects. They must stay valid until
 *    they are unregistered and no call of them is running.
 * 5. No operation throws for a failure: results say what happened. Nothing is retried.
 * 6. In C each operation is a plain function; in C++ it is also a member of a class. No exception
 *    leaves a plain function: where memory runs out, it returns its value for a library that is not
 *    started. A pthread_cancel of the calling thread takes effect when the function returns. A
 *    thread inside a C++ member must not be cancelled. */
#ifndef PELACONSDK_PELACONSDK_H
#define PELACONSDK_PELACONSDK_H

#include <PelaconSDK/BleAdvertiser.h>
#include <PelaconSDK/BleGattClient.h>
#include <PelaconSDK/BleGattServer.h>
#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/BleScanner.h>
#include <PelaconSDK/Diagnostics.h>
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/ServiceState.h>
#include <PelaconSDK/Status.h>
#include <PelaconSDK/Version.h>
#include <PelaconSDK/Vod2dApi.h>
#include <PelaconSDK/WifiSystem.h>
#include <PelaconSDK/WifiSystemApi.h>

#endif /* PELACONSDK_PELACONSDK_H */
