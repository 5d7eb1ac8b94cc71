// Register answers as the fixed-pause exchange hands them over: a count and a register, then the
// answer split into entries. The checks must agree with the incremental frame check.
//
// Input: [0..1] count [2..3] register [4] entry split lengths follow as (length byte, bytes)* pairs

#include "device/register_answer.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    // Register reads of more than 125 registers are not made; keep the count in the range a byte
    // count can announce.
    const quint16 count = in.word() % 128;
    const quint16 reg = in.word();
    QVector<QByteArray> entries;
    QByteArray all;
    while (in.left() > 0) {
        const QByteArray entry = in.bytes(1 + in.byte() % 32);
        entries << entry;
        all += entry;
    }

    const int needed = device::registerAnswerBytes(count);
    const QByteArray joined = device::joinAnswerEntries(entries, needed);
    // The joined answer is whole entries from the first on, and as long as needed when they allow.
    FUZZ_CHECK(all.startsWith(joined));
    FUZZ_CHECK(joined.size() >= qMin(needed, int(all.size())));
    if (!entries.isEmpty())
        FUZZ_CHECK(joined.startsWith(entries.first()));

    const device::RegisterAnswerFault read = device::checkRegisterReadAnswer(joined, count);
    FUZZ_CHECK((read == device::RegisterAnswerFault::NoAnswer) == joined.isEmpty());
    if (read == device::RegisterAnswerFault::None) {
        FUZZ_CHECK(joined.size() >= needed);
        FUZZ_CHECK(quint8(joined.at(1)) == frames::kReadRegisters && quint8(joined.at(2)) == 2 * count);
    }
    // A frame the incremental check finds complete and intact passes the command's own check.
    const frames::FrameCheck frame = frames::checkRegisterAnswer(joined, frames::kReadRegisters, count);
    if (frame.state == frames::Completeness::Complete) {
        FUZZ_CHECK(frame.frameLength <= joined.size());
        FUZZ_CHECK(frames::registerAnswerLength(joined) == frame.frameLength);
        FUZZ_CHECK(read == device::RegisterAnswerFault::None ||
                   read == device::RegisterAnswerFault::Exception);
    }

    const device::RegisterWriteCheck write = device::checkRegisterWriteAnswer(joined, reg, count);
    FUZZ_CHECK((write.fault == device::RegisterAnswerFault::NoAnswer) == joined.isEmpty());
    if (write.fault == device::RegisterAnswerFault::None) {
        // The echo of exactly this write.
        const QByteArray request = frames::registerWrite(quint8(joined.at(0)), reg, count, 0, {});
        FUZZ_CHECK(joined.mid(0, device::kRegisterWriteAnswerBytes) ==
                   request.left(device::kRegisterWriteAnswerBytes));
    }
    if (write.fault == device::RegisterAnswerFault::Exception)
        FUZZ_CHECK(write.exceptionCode == quint8(joined.at(2)));
    return 0;
}
