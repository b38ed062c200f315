/* The version of the library: of these headers, and of the library that is running.
 *
 * A program runs with the library version that it was built with, and with later ones of the same
 * major version. */
#ifndef PELACONSDK_VERSION_H
#define PELACONSDK_VERSION_H

#include <PelaconSDK/Export.h>

/* The version of these headers. The build takes the number of library, service and packages from
 * here. */
#define PELACON_VERSION_MAJOR 1
#define PELACON_VERSION_MINOR 0
#define PELACON_VERSION_PATCH 0

/* As one number, to compare: 10203 for version 1.2.3. */
#define PELACON_VERSION_NUMBER \
    (PELACON_VERSION_MAJOR * 10000 + PELACON_VERSION_MINOR * 100 + PELACON_VERSION_PATCH)

PELACON_C_BEGIN

/* The PELACON_VERSION_NUMBER of the library that is running. */
PELACON_API int32_t PelaconGetVersionNumber(void);

/* The version of the library that is running, as text: "1.2.3", followed by "-N-gCOMMIT" if it was
 * built from a checkout N commits after that version. Valid until the process ends. */
PELACON_API const char* PelaconGetVersion(void);

PELACON_C_END

#endif /* PELACONSDK_VERSION_H */
