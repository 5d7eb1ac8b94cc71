#pragma once

// Waits msec milliseconds in a nested event loop, so the window, the serial port's readyRead()
// and other slots stay live meanwhile. A pause of 0 returns after one pass of the event loop.
void nonBlockingPause(int msec);
