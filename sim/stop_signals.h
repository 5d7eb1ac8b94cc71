#pragma once

// Ends a command-line tool's event loop on SIGINT or SIGTERM. The signals are blocked in the calling
// thread and read from a signal descriptor on the event loop, so call this before any other thread
// starts: threads inherit the mask and never see the signals.

class QCoreApplication;

bool quitOnStopSignals(QCoreApplication &app);
