// The read-configuration answer: its check on any bytes, and the decode of every answer that passes,
// with the clock fields it carries and the register clock answer read from the same bytes.

#include "device/clock_codec.h"
#include "device/device_information.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray answer = wholeInput(data, size);
    const device::InformationCheck check = device::checkInformationAnswer(answer);
    FUZZ_CHECK(device::informationFaultText(check).isEmpty() ==
               (check.fault == device::InformationFault::None));
    if (answer.size() >= device::kClockAnswerMinBytes)
        device::registerClockUtc(device::registerClockSeconds(answer));
    if (check.fault != device::InformationFault::None) {
        FUZZ_CHECK(check.fault != device::InformationFault::WrongHeader ||
                   (check.headerIndex >= 0 && check.headerIndex < 5));
        return 0;
    }
    // Passing answers are RSP_UD long frames of 48 bytes; the stop byte is not part of the check.
    FUZZ_CHECK(answer.size() == device::kInformationAnswerBytes);
    QByteArray stopped = answer;
    stopped[answer.size() - 1] = char(frames::kStop);
    const frames::FrameCheck frame = frames::checkMbus(stopped);
    FUZZ_CHECK(frame.state == frames::Completeness::Complete && frame.frameLength == answer.size());
    const device::DeviceInformation info = device::decodeInformationAnswer(answer);
    FUZZ_CHECK(info.identification.size() == 8);
    FUZZ_CHECK(info.softwareVersion.size() == 4 && info.softwareCode.size() == 4);
    FUZZ_CHECK(info.manufacturer.size() == 3);
    FUZZ_CHECK(info.dateTimeBytes == answer.mid(40, device::kMbusDateTimeBytes));
    const quint8 channels = device::channelCountForVersion(info.softwareVersion);
    FUZZ_CHECK(channels == 0 || channels == 2 || channels == 4 || channels == 10 || channels == 16);
    // The date fields stay inside what their bits can hold; a valid date re-encodes to the same fields.
    const device::MbusDateTimeFields &t = info.dateTime;
    FUZZ_CHECK(t.second >= 0 && t.second < 64 && t.minute >= 0 && t.minute < 64 && t.hour >= 0 &&
               t.hour < 32);
    FUZZ_CHECK(t.day >= 0 && t.day < 32 && t.month >= 0 && t.month < 16 && t.year >= 2000 && t.year < 2128);
    if (t.date().isValid() && t.time().isValid() && t.year < 2100) {
        const device::MbusDateTimeFields again =
            device::decodeMbusDateTime(device::encodeMbusDateTime(t.date(), t.time()).bytes());
        FUZZ_CHECK(again.date() == t.date() && again.time() == t.time());
    }
    return 0;
}
