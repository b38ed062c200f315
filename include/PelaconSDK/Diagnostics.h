/* Receiving the library's log lines and diagnostic events in the application. */
#ifndef PELACONSDK_DIAGNOSTICS_H
#define PELACONSDK_DIAGNOSTICS_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* The importance of a log line. */
enum PELACON_ENUM(PelaconLogLevel) {
    kPelaconLogTrace = 1,      /* start and end of functions, normal events */
    kPelaconLogMilestone = 2,  /* start and stop of the library, diagnostic events */
    kPelaconLogIncomplete = 3, /* a request that could not be completed */
    kPelaconLogFailure = 4,    /* failures */
};

/* Receives one log line: NUL-terminated UTF-8 without a line end, such as
 * "[PelaconSDK]start(BleManager::BtEnable)". The line is valid during the call. */
typedef void (*PelaconLogSink)(void* context, PelaconLogLevel level, const char* line);

/* Replaces the sink: it is called for all lines of at least this level. Null removes the sink.
 * Returns when no call of the previous sink is running any more (inside a sink: at once), so the
 * caller must not hold a lock that the previous sink takes.
 *
 * The sink is called on the thread that writes the line, on several threads at once. Some lines are
 * written while the library holds a lock that operations or callbacks need: the sink must not call
 * operations of the library, nor wait for a thread that does. It must not throw; an exception is
 * dropped. Lines that the sink causes itself are not sent to it. Independently of a sink, the
 * environment variable PELACON_LOG sends lines to stderr or a file (README.md, Logs). */
PELACON_API void PelaconSetLogSink(PelaconLogSink sink, void* context, PelaconLogLevel lowest);

/* One entry of a diagnostic event: a key, and either a number or a text. */
typedef struct PelaconEventEntry {
    const char* key;  /* the name of the value */
    const char* text; /* null where the value is a number */
    int64_t number;   /* 0 where the value is a text */
} PelaconEventEntry;

/* Receives one diagnostic event; the entries are valid during the call. */
typedef void (*PelaconEventSink)(void* context, int32_t eventId, const PelaconEventEntry* entries,
                                 uint32_t count);

/* Replaces the sink: it is called for all diagnostic events. Null removes the sink. Without a sink,
 * events are dropped. The rules for log sinks apply. */
PELACON_API void PelaconSetEventSink(PelaconEventSink sink, void* context);

PELACON_C_END

#endif /* PELACONSDK_DIAGNOSTICS_H */
