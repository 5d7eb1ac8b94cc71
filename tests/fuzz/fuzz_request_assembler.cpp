// The simulator's request finder on any byte stream, fed in chunks of any size.
//
// Input: (chunk length byte, chunk bytes)*; a length byte of 0 stands for a gap on the line.

#include "link/frames.h"
#include "sim/request_assembler.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    sim::RequestAssembler assembler;
    qint64 fed = 0;
    qint64 found = 0;
    while (in.left() > 0) {
        const quint8 length = in.byte();
        if (length == 0) {
            assembler.reset();
            FUZZ_CHECK(assembler.pending().isEmpty());
            continue;
        }
        const QByteArray chunk = in.bytes(length);
        fed += chunk.size();
        for (const sim::RequestFrame &request : assembler.feed(chunk)) {
            found += request.bytes.size();
            // Only whole, intact requests are handed over; the master never sends E5.
            FUZZ_CHECK(!request.bytes.isEmpty());
            if (request.framing == sim::RequestFraming::MBus) {
                const frames::FrameCheck check = frames::checkMbus(request.bytes);
                FUZZ_CHECK(check.state == frames::Completeness::Complete &&
                           check.frameLength == request.bytes.size());
                FUZZ_CHECK(quint8(request.bytes.at(0)) != frames::kAck);
            } else {
                FUZZ_CHECK(request.bytes.size() >= 8 && frames::crcIntact(request.bytes));
                const quint8 function = quint8(request.bytes.at(1));
                FUZZ_CHECK(function == frames::kReadRegisters || function == frames::kWriteRegisters);
            }
        }
        // Every byte fed is in a request, dropped as noise or still waiting.
        FUZZ_CHECK(found + assembler.droppedBytes() + assembler.pending().size() == fed);
    }
    return 0;
}
