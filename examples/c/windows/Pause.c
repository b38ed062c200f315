#include "../Wait.h"

#include <windows.h>

void Pause(void)
{
    Sleep(10);
}
