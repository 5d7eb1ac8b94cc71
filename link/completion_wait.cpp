#include "link/completion_wait.h"

namespace exchange
{

CompletionWait::CompletionWait(int firstBytePauseMs) : m_firstBytePauseMs(firstBytePauseMs) {}

int CompletionWait::pauseMs() const
{
    switch (m_phase) {
    case Phase::FirstByte:
        return m_firstBytePauseMs;
    case Phase::Settling:
        return kPauseMs;
    case Phase::Done:
        return 0;
    }
    return 0;
}

void CompletionWait::observe(qint64 bytesAvailable)
{
    switch (m_phase) {
    case Phase::FirstByte:
        ++m_pauses;
        m_firstByteCount = bytesAvailable;
        if (bytesAvailable > 0) {
            m_counts = {bytesAvailable};
            m_phase = Phase::Settling;
        } else if (m_pauses == kFirstByteTries) {
            m_phase = Phase::Done;
        }
        return;
    case Phase::Settling:
        ++m_pauses;
        m_counts.append(bytesAvailable);
        if (bytesAvailable == m_counts.at(m_counts.size() - 2)) {
            m_settled = true;
            m_phase = Phase::Done;
        } else if (m_counts.size() == 1 + kSettlingTries) {
            m_phase = Phase::Done;
        }
        return;
    case Phase::Done:
        return;
    }
}

} // namespace exchange
