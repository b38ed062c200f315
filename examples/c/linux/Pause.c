#define _POSIX_C_SOURCE 199309L

#include "../Wait.h"

#include <time.h>

void Pause(void)
{
    const struct timespec moment = {0, 10 * 1000 * 1000};
    nanosleep(&moment, NULL);
}
