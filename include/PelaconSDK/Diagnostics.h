/* Taking the library's log lines and diagnostic events into an application's own. */
#ifndef PELACONSDK_DIAGNOSTICS_H
#define PELACONSDK_DIAGNOSTICS_H

#include <PelaconSDK/Export.h>

PELACON_C_BEGIN

/* How much a log line matters. */
PELACON_ENUM(PelaconLogLevel){
    kPelaconLogTrace = 1,      /* entry and end of functions, normal events */
    kPelaconLogMilestone = 2,  /* start, stop, diagnostic events */
    kPelaconLogIncomplete = 3, /* a request that could not be completed */
    kPelaconLogFailure = 4,    /* failures */
};

/* Takes one log line: NUL-terminated UTF-8 without a line end, such as
 * "[PelaconSDK]start(BleManager::BtEnable)"; valid during the call. */
typedef void (*PelaconLogSink)(void* context, PelaconLogLevel level, const char* line);

/* Sends all lines of at least this level to the sink, in place of the sink before; null takes that
 * one away. When this returns, the sink before is not called any more.
 *
 * The sink is called on whichever thread writes the line, on several at once. Some lines are
 * written with a lock held that an operation or its callbacks need, so the sink must not call
 * operations of the library. It must not throw; an exception is dropped. Lines that it causes
 * itself do not reach it. Lines also go to where the environment variable PELACON_LOG says (see the
 * manual), whether or not there is a sink. */
PELACON_API void PelaconSetLogSink(PelaconLogSink sink, void* context, PelaconLogLevel lowest);

/* One entry of a diagnostic event: a key, and either a number or a text. */
typedef struct PelaconEventEntry {
    const char* key;
    const char* text; /* null where the value is a number */
    int64_t number;   /* 0 where the value is a text */
} PelaconEventEntry;

/* Takes one diagnostic event; the entries are valid during the call. */
typedef void (*PelaconEventSink)(void* context, int32_t eventId, const PelaconEventEntry* entries,
                                 uint32_t count);

/* Sends all diagnostic events to the sink, in place of the sink before; null takes that one away.
 * Without a sink events go nowhere. The rules for log sinks hold here too. */
PELACON_API void PelaconSetEventSink(PelaconEventSink sink, void* context);

PELACON_C_END

#endif /* PELACONSDK_DIAGNOSTICS_H */
