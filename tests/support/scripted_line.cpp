#include "tests/support/scripted_line.h"

#include "link/frames.h"

#include <QSocketNotifier>

namespace
{
constexpr int kLineBaud = 2400;
constexpr int kRegisterReadBytes = 8;

// Length of the complete request at the start of `bytes`, 0 while it is incomplete.
int requestLength(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return 0;
    const quint8 first = quint8(bytes.at(0));
    if (first == frames::kShortStart || first == frames::kLongStart) {
        const frames::FrameCheck check = frames::checkMbus(bytes);
        switch (check.state) {
        case frames::Completeness::Complete:
            return check.frameLength;
        case frames::Completeness::NeedMore:
            return 0;
        case frames::Completeness::Invalid:
            return bytes.size();
        }
        return 0;
    }
    return bytes.size() >= kRegisterReadBytes ? kRegisterReadBytes : 0;
}
} // namespace

ScriptedLine::ScriptedLine(const QByteArray &answer) : m_answer(answer) {}

ScriptedLine::~ScriptedLine()
{
    delete m_notifier;
}

bool ScriptedLine::open(QString *error)
{
    if (!m_pty.open(kLineBaud, error))
        return false;
    m_notifier = new QSocketNotifier(m_pty.masterFd(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { receive(); });
    return true;
}

void ScriptedLine::receive()
{
    m_pending += m_pty.readAll();
    while (const int length = requestLength(m_pending)) {
        m_requests.append(m_pending.left(length));
        m_pending.remove(0, length);
        m_pty.write(m_answer);
    }
}
