#include "link/fast_exchange.h"

#include "link/frames.h"

#include <QCoreApplication>
#include <QVariant>
#include <algorithm>

namespace exchange
{

namespace
{

constexpr int kSlowestBaud = 1200;

quint8 at(const QByteArray &bytes, int i)
{
    return static_cast<quint8>(bytes.at(i));
}

AnswerCheck checkMbusAnswer(const QByteArray &bytes)
{
    for (int i = 0; i < bytes.size(); ++i) {
        const quint8 b = at(bytes, i);
        if (b != frames::kAck && b != frames::kShortStart && b != frames::kLongStart)
            continue;
        const frames::FrameCheck check = frames::checkMbus(bytes.mid(i));
        switch (check.state) {
        case frames::Completeness::Complete:
            return {AnswerState::Complete, i, check.frameLength};
        case frames::Completeness::NeedMore:
            return {AnswerState::NeedMore, i, 0};
        case frames::Completeness::Invalid:
            break;
        }
        // A long frame with a sound header is whole by its L field: its checksum or stop byte is
        // wrong. Any other failed candidate was a start byte among noise.
        const int rest = bytes.size() - i;
        if (b == frames::kLongStart && rest >= 4 && at(bytes, i + 1) == at(bytes, i + 2) &&
            at(bytes, i + 3) == frames::kLongStart && at(bytes, i + 1) >= 3)
            return {AnswerState::Invalid, i, 0};
    }
    return {AnswerState::NeedMore, int(bytes.size()), 0};
}

AnswerCheck checkRegisterAnswer(const ExpectedAnswer &expected, const QByteArray &bytes)
{
    const quint8 exception = expected.function | frames::kErrorFlag;
    for (int i = 0; i < bytes.size(); ++i) {
        // The last byte may be the address of an answer whose function is still to come.
        if (i + 1 == bytes.size())
            return {AnswerState::NeedMore, i, 0};
        const quint8 function = at(bytes, i + 1);
        if (function != expected.function && function != exception)
            continue;
        const bool read = function == frames::kReadRegisters;
        if (read && i + 2 < bytes.size() && at(bytes, i + 2) != 2 * expected.count)
            continue;
        const frames::FrameCheck check =
            frames::checkRegisterAnswer(bytes.mid(i), expected.function, expected.count);
        switch (check.state) {
        case frames::Completeness::Complete:
            return {AnswerState::Complete, i, check.frameLength};
        case frames::Completeness::NeedMore:
            return {AnswerState::NeedMore, i, 0};
        case frames::Completeness::Invalid:
            // The header was right, so the answer is there by its length with a wrong CRC.
            return {AnswerState::Invalid, i, 0};
        }
    }
    return {AnswerState::NeedMore, int(bytes.size()), 0};
}

} // namespace

ExpectedAnswer expectedAnswerFor(const QByteArray &request)
{
    if (frames::checkMbus(request).state == frames::Completeness::Complete && !request.isEmpty() &&
        at(request, 0) != frames::kAck)
        return {AnswerKind::Mbus, 0, 0};
    ExpectedAnswer expected;
    expected.function = request.size() > 1 ? at(request, 1) : 0;
    if (expected.function == frames::kReadRegisters) {
        expected.kind = AnswerKind::RegisterRead;
        expected.count = request.size() > 5 ? quint16(at(request, 4) << 8 | at(request, 5)) : 0;
    } else {
        expected.kind = AnswerKind::RegisterWrite;
    }
    return expected;
}

AnswerCheck checkAnswer(const ExpectedAnswer &expected, const QByteArray &bytes)
{
    switch (expected.kind) {
    case AnswerKind::Mbus:
        return checkMbusAnswer(bytes);
    case AnswerKind::RegisterRead:
    case AnswerKind::RegisterWrite:
        return checkRegisterAnswer(expected, bytes);
    }
    return {AnswerState::NeedMore, 0, 0};
}

FastExchangeSettings publishedFastExchange()
{
    FastExchangeSettings settings;
    const QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return settings;
    settings.enabled = app->property(kFastExchangeProperty).toBool();
    bool isNumber = false;
    const int margin = app->property(kFastExchangeMarginProperty).toInt(&isNumber);
    if (isNumber)
        settings.marginMs = std::clamp(margin, 0, kMaxMarginMs);
    return settings;
}

void publishFastExchange(const FastExchangeSettings &settings)
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return;
    app->setProperty(kFastExchangeProperty, settings.enabled);
    app->setProperty(kFastExchangeMarginProperty, std::clamp(settings.marginMs, 0, kMaxMarginMs));
}

double wireMs(int bytes, int baud)
{
    return bytes * kBitsPerCharacter * 1000.0 / (baud > 0 ? baud : kSlowestBaud);
}

AnswerTiming answerTiming(int baud, int requestBytes, int marginMs)
{
    const double bitMs = 1000.0 / (baud > 0 ? baud : kSlowestBaud);
    AnswerTiming timing;
    timing.windowMs =
        wireMs(requestBytes, baud) + kAnswerWindowBits * bitMs + kAnswerWindowExtraMs + marginMs;
    timing.gapMs = std::max<double>(kMinGapMs, kGapCharacters * kBitsPerCharacter * bitMs + marginMs);
    return timing;
}

AnswerWait::AnswerWait(const ExpectedAnswer &expected, const AnswerTiming &timing, int capMs)
    : m_expected(expected), m_timing(timing), m_capMs(capMs),
      m_deadlineMs(std::min<double>(timing.windowMs, capMs))
{
}

AnswerWait::Outcome AnswerWait::observe(const QByteArray &bytes, double elapsedMs)
{
    if (bytes.size() > m_seen) {
        m_seen = bytes.size();
        m_lastByteMs = elapsedMs;
    }
    m_check = checkAnswer(m_expected, bytes);
    if (m_check.state == AnswerState::Complete)
        return Outcome::Complete;
    if (elapsedMs >= m_capMs)
        return Outcome::Capped;
    if (m_seen == 0) {
        m_deadlineMs = std::min(m_timing.windowMs, m_capMs);
        return elapsedMs >= m_timing.windowMs ? Outcome::Silent : Outcome::Waiting;
    }
    if (elapsedMs - m_lastByteMs >= m_timing.gapMs)
        return m_check.state == AnswerState::Invalid ? Outcome::Invalid : Outcome::Stalled;
    m_deadlineMs = std::min(m_lastByteMs + m_timing.gapMs, m_capMs);
    return Outcome::Waiting;
}

} // namespace exchange
