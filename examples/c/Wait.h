/* Waiting for what callbacks, on threads of the library, record. */
#pragma once

#include <stdbool.h>

/* Waits until the condition holds, a minute at most; returns whether it does. */
bool WaitUntil(bool (*condition)(void));

/* Lets other threads run for a moment. */
void Pause(void);

/* The time of a clock that nobody sets. */
double Seconds(void);
