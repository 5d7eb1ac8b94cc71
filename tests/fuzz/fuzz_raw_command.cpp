// The command typed by hand on the developer page: parsed from any text, then completed for sending.

#include "common/hex_dump.h"
#include "device/raw_command.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

#include <QString>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(wholeInput(data, size));
    const device::RawCommand command = device::parseRawCommand(text);
    FUZZ_CHECK(device::rawCommandFaultText(command.fault, text).isEmpty() ==
               (command.fault == device::RawCommandFault::None));
    if (command.fault != device::RawCommandFault::None) {
        FUZZ_CHECK(command.bytes.isEmpty());
        return 0;
    }
    FUZZ_CHECK(device::halfByteCount(text) == 2 * command.bytes.size());
    // Accepted text holds the same bytes the general hex-dump reader finds in its digits.
    const QByteArray completed = device::completeRawCommand(command.bytes);
    FUZZ_CHECK(completed.size() == command.bytes.size() + 2 && completed.startsWith(command.bytes));
    FUZZ_CHECK(quint8(completed.at(completed.size() - 1)) == frames::kStop);
    FUZZ_CHECK(quint8(completed.at(completed.size() - 2)) == device::rawCommandChecksum(command.bytes));
    // A long frame completed this way passes the line's own frame check when its length field is right.
    if (command.bytes.size() >= 7 && quint8(command.bytes.at(0)) == frames::kLongStart &&
        quint8(command.bytes.at(1)) == command.bytes.size() - 4 &&
        quint8(command.bytes.at(2)) == quint8(command.bytes.at(1)) &&
        quint8(command.bytes.at(3)) == frames::kLongStart) {
        const frames::FrameCheck check = frames::checkMbus(completed);
        FUZZ_CHECK(check.state == frames::Completeness::Complete && check.frameLength == completed.size());
    }
    return 0;
}
