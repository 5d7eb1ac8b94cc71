// The line's frame code: chunk trimming, the incremental M-Bus and register checks, and the
// completion rule of the fixed-pause exchange.
//
// Input: [0] function code [1..2] register count, the rest is the received buffer; the same bytes
// read as byte counts drive the completion rule.

#include "link/chunk_trim.h"
#include "link/completion_wait.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

#include <algorithm>

namespace
{

using frames::Completeness;
using frames::FrameCheck;

bool isStart(char c)
{
    return quint8(c) == frames::kAck || quint8(c) == frames::kLongStart;
}

void checkTrim(const QByteArray &chunk)
{
    const frames::TrimmedChunk trimmed = frames::trimChunk(chunk);
    FUZZ_CHECK(chunk.endsWith(trimmed.bytes));
    if (trimmed.noStartByte) {
        FUZZ_CHECK(trimmed.bytes == chunk);
        FUZZ_CHECK(std::none_of(chunk.begin(), chunk.end(), isStart));
        return;
    }
    FUZZ_CHECK(!trimmed.bytes.isEmpty() && isStart(trimmed.bytes.at(0)));
    const QByteArray dropped = chunk.left(chunk.size() - trimmed.bytes.size());
    FUZZ_CHECK(std::none_of(dropped.begin(), dropped.end(), isStart));
}

// Whatever a buffer's verdict, every shorter prefix of a complete frame needs more, and no more
// than the bytes that really are missing; appending bytes never turns a complete frame into another.
template <typename Check> void checkIncremental(const QByteArray &buffer, Check check)
{
    const FrameCheck whole = check(buffer);
    switch (whole.state) {
    case Completeness::Complete:
        FUZZ_CHECK(whole.frameLength > 0 && whole.frameLength <= buffer.size());
        for (int length = 0; length < whole.frameLength; ++length) {
            const FrameCheck prefix = check(buffer.left(length));
            FUZZ_CHECK(prefix.state == Completeness::NeedMore);
            FUZZ_CHECK(prefix.missing > 0 && prefix.missing <= whole.frameLength - length);
        }
        {
            const FrameCheck longer = check(buffer + QByteArray(3, '\x16'));
            FUZZ_CHECK(longer.state == Completeness::Complete && longer.frameLength == whole.frameLength);
        }
        break;
    case Completeness::NeedMore:
        FUZZ_CHECK(whole.missing > 0);
        break;
    case Completeness::Invalid:
        // Invalid stays invalid when more bytes come.
        FUZZ_CHECK(check(buffer + QByteArray(1, '\0')).state == Completeness::Invalid);
        break;
    }
}

void checkMbusFrame(const QByteArray &buffer)
{
    const FrameCheck check = frames::checkMbus(buffer);
    if (check.state != Completeness::Complete || check.frameLength < 9)
        return;
    // A complete long frame is what the builder makes of its fields.
    const QByteArray frame = buffer.left(check.frameLength);
    FUZZ_CHECK(frames::mbusLong(quint8(frame.at(4)), quint8(frame.at(5)), quint8(frame.at(6)),
                                frame.mid(7, frame.size() - 9)) == frame);
    FUZZ_CHECK(frames::crcMod256(frame) == quint8(frame.at(frame.size() - 2)));
}

void checkCompletion(FuzzInput &in)
{
    exchange::CompletionWait wait(1 + in.byte());
    int observations = 0;
    qint64 count = 0;
    while (wait.phase() != exchange::CompletionWait::Phase::Done) {
        FUZZ_CHECK(wait.pauseMs() > 0);
        const quint8 step = in.byte();
        // Counts never fall while the port buffers the answer.
        count += step % 4 == 0 ? 0 : step;
        wait.observe(count);
        ++observations;
        FUZZ_CHECK(observations <= exchange::kFirstByteTries + exchange::kSettlingTries);
    }
    FUZZ_CHECK(wait.pauseMs() == 0);
    FUZZ_CHECK(wait.pausesTaken() == observations);
    FUZZ_CHECK(wait.counts().size() <= 1 + exchange::kSettlingTries);
    if (wait.firstByteCount() == 0)
        FUZZ_CHECK(observations == exchange::kFirstByteTries && wait.counts().isEmpty());
    if (wait.settled()) {
        const QVector<qint64> &counts = wait.counts();
        FUZZ_CHECK(counts.size() >= 2 && counts.last() == counts.at(counts.size() - 2));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    const quint8 function = in.byte();
    const quint16 count = in.word() % 128;
    const QByteArray buffer = in.rest();
    checkTrim(buffer);
    checkIncremental(buffer, frames::checkMbus);
    checkMbusFrame(buffer);
    checkIncremental(buffer,
                     [&](const QByteArray &b) { return frames::checkRegisterAnswer(b, function, count); });
    FuzzInput counts(data, size);
    checkCompletion(counts);
    return 0;
}
