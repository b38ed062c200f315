#include "../Wait.h"

#include <windows.h>

void Pause(void)
{
    Sleep(10);
}

double Seconds(void)
{
    return (double)GetTickCount64() / 1000;
}
