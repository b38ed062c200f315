#define _POSIX_C_SOURCE 199309L

#include "../Wait.h"

#include <time.h>

void Pause(void)
{
    const struct timespec moment = {0, 10 * 1000 * 1000};
    nanosleep(&moment, NULL);
}

double Seconds(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}
