#pragma once

// When is the answer to the request just written complete? The master looks at the count of bytes
// waiting in the port after each fixed pause:
//   first byte: up to 10 pauses, stopping as soon as anything has arrived;
//   settling:   up to 9 further 200 ms pauses, stopping when a count equals the one before it.
// A silent device thus costs 10 pauses; an answer is taken as complete after the first pause in
// which no byte arrived, or as it stands after the 9th settling pause.
// The class holds only the rule; the caller makes the pauses and reads the counts.

#include <QVector>
#include <QtGlobal>

namespace exchange
{

constexpr int kPauseMs = 200;
constexpr int kFirstByteTries = 10;
constexpr int kSettlingTries = 9;

class CompletionWait
{
public:
    enum class Phase { FirstByte, Settling, Done };

    explicit CompletionWait(int firstBytePauseMs = kPauseMs);

    Phase phase() const { return m_phase; }
    // Length of the pause to make before the next observe().
    int pauseMs() const;
    // The count of bytes available after that pause.
    void observe(qint64 bytesAvailable);

    qint64 firstByteCount() const { return m_firstByteCount; }
    // The settling counts, starting with the count that ended the first-byte phase.
    const QVector<qint64> &counts() const { return m_counts; }
    // True when settling stopped on two equal counts.
    bool settled() const { return m_settled; }
    int pausesTaken() const { return m_pauses; }

private:
    int m_firstBytePauseMs;
    Phase m_phase = Phase::FirstByte;
    int m_pauses = 0;
    qint64 m_firstByteCount = 0;
    QVector<qint64> m_counts;
    bool m_settled = false;
};

} // namespace exchange
