#include "Wait.h"

#include <time.h>

bool WaitUntil(bool (*condition)(void))
{
    const time_t end = time(NULL) + 10;
    while (!condition()) {
        if (time(NULL) > end) {
            return false;
        }
        Pause();
    }
    return true;
}
