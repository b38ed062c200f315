/* PelaconSDK: Bluetooth LE and Wi-Fi for desktop applications, without touching the radios.
 *
 * This is the one header to include, from C11 or C++20. How to read what is behind it:
 *
 * 1. Start the library with PelaconSvcStart, end with PelaconSvcStop (PelaconSvc.h). Every
 * operation between the two is one request to the service process, which owns the radios, and is
 * answered within the time that its family's header names. Before the start operations are refused.
 * 2. Operations may be called from any thread. What is answered later comes through callbacks: each
 *    header says on which thread they run and which operations they must not call.
 * 3. Callback tables and listener objects are kept by pointer. They stay the application's, valid
 *    until they are unregistered and no call of them is under way.
 * 4. No operation throws for a failure: results say what happened. Nothing is retried.
 * 5. In C each operation is a plain function; in C++ also a static member of its family's class.
 *    The plain functions never let an exception out. */
#ifndef PELACONSDK_PELACONSDK_H
#define PELACONSDK_PELACONSDK_H

#include <PelaconSDK/BleAdvertiser.h>
#include <PelaconSDK/BleGattClient.h>
#include <PelaconSDK/BleGattServer.h>
#include <PelaconSDK/BleManager.h>
#include <PelaconSDK/BleScanner.h>
#include <PelaconSDK/Diagnostics.h>
#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/Vod2dApi.h>
#include <PelaconSDK/WifiSystemApi.h>

#endif /* PELACONSDK_PELACONSDK_H */
