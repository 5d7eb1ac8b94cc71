#pragma once

// Fast exchange: an answer is taken as soon as its framing says it is whole, instead of after the
// fixed pauses of the documented waits. Three things end a wait:
//   complete  the expected answer is whole by its framing (E5; a short frame; a long frame whole by
//             its L field with checksum and stop byte; a register answer whole by its byte count,
//             its echo or its exception form);
//   silent    nothing arrived within EN 13757-2's answer window: 330 bit times + 50 ms after the
//             request's last byte left, plus a margin for USB converters;
//   stalled   an answer began and then no byte came for longer than the gap.
// A wait never runs longer than the documented wait it replaces (the cap).
//
// Everything here is pure: the caller makes the pauses, reads the bytes and says how much time
// has passed since the request was written.

#include <QByteArray>
#include <QtGlobal>

namespace exchange
{

// The answer a request calls for.
enum class AnswerKind {
    Mbus,          // E5, a short frame or a long frame
    RegisterRead,  // address 03 n data CRC, or the exception form
    RegisterWrite, // the echo address 10 reg count CRC, or the exception form
};

struct ExpectedAnswer {
    AnswerKind kind = AnswerKind::Mbus;
    quint8 function = 0; // register framing: the request's function code
    quint16 count = 0;   // register read: registers asked for
};

// Judged from the request itself: a request that is a whole M-Bus frame calls for an M-Bus answer,
// anything else is a register request with its function at byte 1 and its count at bytes 4..5.
ExpectedAnswer expectedAnswerFor(const QByteArray &request);

enum class AnswerState { Complete, NeedMore, Invalid };

struct AnswerCheck {
    AnswerState state;
    int start;  // where the answer begins (bytes before it are line noise)
    int length; // Complete: the answer's length from `start`
};

// Given the bytes received since the request, is the expected answer whole? Bytes that cannot start
// the expected answer (another function code, a start byte whose header cannot be right) are passed
// over as noise. Invalid: an answer is there by its length but its checksum or stop byte is wrong.
AnswerCheck checkAnswer(const ExpectedAnswer &expected, const QByteArray &bytes);

// The settings of fast exchange, published on the application object by the host (like the
// simulated ports) so the module, loaded as a plug-in, starts with them.
constexpr char kFastExchangeProperty[] = "zorva.fastExchange";
constexpr char kFastExchangeMarginProperty[] = "zorva.fastExchangeMarginMs";
constexpr int kDefaultMarginMs = 50;
constexpr int kMaxMarginMs = 1000;

struct FastExchangeSettings {
    bool enabled = false;
    int marginMs = kDefaultMarginMs;
};
FastExchangeSettings publishedFastExchange();
void publishFastExchange(const FastExchangeSettings &settings);

// Line timing at a speed; a character is 11 bit times (start, 8 data, parity, stop).
struct AnswerTiming {
    double windowMs; // from the write of the request to the end of the answer window
    double gapMs;    // longest pause inside an answer
};
constexpr int kBitsPerCharacter = 11;
constexpr int kAnswerWindowBits = 330;
constexpr int kAnswerWindowExtraMs = 50;
// A pause of three characters has no place inside a frame; the margin is added for converters that
// deliver bytes in bursts. Never below kMinGapMs, so event-loop latency is not taken for a pause.
constexpr int kGapCharacters = 3;
constexpr int kMinGapMs = 20;

double wireMs(int bytes, int baud);
AnswerTiming answerTiming(int baud, int requestBytes, int marginMs);

class AnswerWait
{
public:
    enum class Outcome { Waiting, Complete, Invalid, Silent, Stalled, Capped };

    AnswerWait(const ExpectedAnswer &expected, const AnswerTiming &timing, int capMs);

    // The bytes received since the request (all of them, each time) and the time since it was written.
    Outcome observe(const QByteArray &bytes, double elapsedMs);
    // Time since the write at which to look again if no byte comes before.
    double deadlineMs() const { return m_deadlineMs; }
    const AnswerCheck &check() const { return m_check; }

private:
    ExpectedAnswer m_expected;
    AnswerTiming m_timing;
    double m_capMs;
    int m_seen = 0;
    double m_lastByteMs = 0;
    double m_deadlineMs = 0;
    AnswerCheck m_check{AnswerState::NeedMore, 0, 0};
};

} // namespace exchange
