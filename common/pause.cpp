#include "common/pause.h"

#include <QEventLoop>
#include <QTimer>

void nonBlockingPause(int msec)
{
    QTimer timer;
    timer.setInterval(msec);
    timer.setSingleShot(true);
    // Device waits must not end early: a coarse timer may fire up to 5 % before its time.
    timer.setTimerType(Qt::PreciseTimer);
    QEventLoop loop;
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start();
    loop.exec();
}
