// interrupt.h: Ctrl+C as a flag.
#pragma once

#include <atomic>

/// From here on, Ctrl+C and a request to terminate only set the flag; a second one ends the program at once.
void catchInterrupts();

/// True once the user has asked the program to stop.
std::atomic<bool>& interrupted();
