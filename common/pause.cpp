#include "common/pause.h"

#include <QEventLoop>
#include <QTimer>

void nonBlockingPause(int msec)
{
    QTimer timer;
    timer.setInterval(msec);
    timer.setSingleShot(true);
    QEventLoop loop;
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start();
    loop.exec();
}
