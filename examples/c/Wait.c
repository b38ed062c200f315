#include "Wait.h"

bool WaitUntil(bool (*condition)(void))
{
    const double end = Seconds() + 60;
    while (!condition()) {
        if (Seconds() > end) {
            return false;
        }
        Pause();
    }
    return true;
}
