#include "sim/pseudo_terminal.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace sim
{

namespace
{

constexpr int kReadChunk = 4096;

speed_t speedConstant(int baud)
{
    switch (baud) {
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    default:
        return B2400;
    }
}

int baudOf(speed_t speed)
{
    switch (speed) {
    case B300:
        return 300;
    case B600:
        return 600;
    case B1200:
        return 1200;
    case B2400:
        return 2400;
    case B4800:
        return 4800;
    case B9600:
        return 9600;
    case B19200:
        return 19200;
    case B38400:
        return 38400;
    case B57600:
        return 57600;
    case B115200:
        return 115200;
    default:
        return 0;
    }
}

QString systemError(const char *what)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromLocal8Bit(std::strerror(errno)));
}

} // namespace

PseudoTerminal::~PseudoTerminal()
{
    close();
}

bool PseudoTerminal::open(int baud, QString *error)
{
    close();
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (master_ < 0) {
        *error = systemError("posix_openpt");
        return false;
    }
    char name[128] = {};
    if (::grantpt(master_) != 0 || ::unlockpt(master_) != 0 || ::ptsname_r(master_, name, sizeof name) != 0) {
        *error = systemError("pseudo-terminal set-up");
        close();
        return false;
    }
    slavePath_ = QString::fromLocal8Bit(name);
    slave_ = ::open(name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    termios settings{};
    if (slave_ < 0 || ::tcgetattr(slave_, &settings) != 0) {
        *error = systemError("pseudo-terminal slave");
        close();
        return false;
    }
    ::cfmakeraw(&settings);
    ::cfsetspeed(&settings, speedConstant(baud));
    settings.c_cflag |= CS8 | PARENB | CREAD | CLOCAL;
    settings.c_cflag &= ~(PARODD | CSTOPB);
    if (::tcsetattr(slave_, TCSANOW, &settings) != 0) {
        *error = systemError("tcsetattr");
        close();
        return false;
    }
    return true;
}

void PseudoTerminal::close()
{
    unlink();
    if (slave_ >= 0)
        ::close(slave_);
    if (master_ >= 0)
        ::close(master_);
    slave_ = master_ = -1;
    slavePath_.clear();
}

int PseudoTerminal::lineBaud() const
{
    termios settings{};
    if (slave_ < 0 || ::tcgetattr(slave_, &settings) != 0)
        return 0;
    return baudOf(::cfgetospeed(&settings));
}

QByteArray PseudoTerminal::readAll()
{
    QByteArray bytes;
    char chunk[kReadChunk];
    for (;;) {
        const ssize_t n = ::read(master_, chunk, sizeof chunk);
        if (n > 0) {
            bytes.append(chunk, static_cast<int>(n));
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
    return bytes;
}

int PseudoTerminal::write(const QByteArray &bytes)
{
    int done = 0;
    while (done < bytes.size()) {
        const ssize_t n =
            ::write(master_, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n > 0) {
            done += static_cast<int>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        break;
    }
    return done;
}

bool PseudoTerminal::link(const QString &linkPath, QString *error)
{
    unlink();
    const QFileInfo existing(linkPath);
    if (existing.isSymLink()) {
        QFile::remove(linkPath);
    } else if (existing.exists()) {
        *error = QStringLiteral("%1 exists and is not a symbolic link").arg(linkPath);
        return false;
    }
    if (::symlink(QFile::encodeName(slavePath_).constData(), QFile::encodeName(linkPath).constData()) != 0) {
        *error = systemError("symlink");
        return false;
    }
    linkPath_ = linkPath;
    return true;
}

void PseudoTerminal::unlink()
{
    // Only a link that still points at this terminal is ours to remove.
    if (!linkPath_.isEmpty() && QFileInfo(linkPath_).symLinkTarget() == slavePath_)
        QFile::remove(linkPath_);
    linkPath_.clear();
}

} // namespace sim
