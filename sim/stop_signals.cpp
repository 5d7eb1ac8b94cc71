#include "sim/stop_signals.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

bool quitOnStopSignals(QCoreApplication &app)
{
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    if (pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr) != 0)
        return false;
    const int fd = ::signalfd(-1, &stopSignals, SFD_NONBLOCK | SFD_CLOEXEC);
    if (fd < 0)
        return false;
    auto *notifier = new QSocketNotifier(fd, QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [fd, &app] {
        signalfd_siginfo received;
        while (::read(fd, &received, sizeof received) == sizeof received) {
        }
        app.quit();
    });
    QObject::connect(notifier, &QObject::destroyed, [fd] { ::close(fd); });
    return true;
}
