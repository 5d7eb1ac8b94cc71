// The simulator's protocol engine behind its request finder. The input is a script of requests,
// which the harness frames with correct checksums so that the engine itself is reached, mixed with
// raw bytes; the stream reaches the finder in chunks, as from a line.
//
// Script step: [0] kind, then
//   0 register read   address, register(2), count(2)
//   1 register write  address, register(2), count(2), n, data(n)
//   2 short frame     C, A
//   3 long frame      C, A, CI, n, data(n)
//   4 raw bytes       n, bytes(n)
//   5 line gap        (the finder forgets a partial frame)
//   6 clock step      seconds(2)

#include "common/mbus_telegram.h"
#include "link/frames.h"
#include "sim/device_model.h"
#include "sim/protocol_engine.h"
#include "sim/request_assembler.h"
#include "tests/fuzz/fuzz_input.h"

#include <QTemporaryDir>

namespace
{

void checkAnswer(const sim::RequestFrame &request, const QByteArray &answer, quint8 deviceAddress)
{
    if (answer.isEmpty())
        return;
    if (request.framing == sim::RequestFraming::Register) {
        // A register answer is a whole frame of the request's function, from the device's address.
        const quint8 function = quint8(request.bytes.at(1));
        const quint16 count = quint16(quint8(request.bytes.at(4)) << 8 | quint8(request.bytes.at(5)));
        const frames::FrameCheck check = frames::checkRegisterAnswer(answer, function, count);
        FUZZ_CHECK(check.state == frames::Completeness::Complete && check.frameLength == answer.size());
        FUZZ_CHECK(quint8(answer.at(0)) == deviceAddress);
        return;
    }
    if (answer.size() == 1) {
        FUZZ_CHECK(quint8(answer.at(0)) == frames::kAck);
        return;
    }
    // An RSP_UD the configurator's own decoder reads without fault.
    mbus::Telegram telegram;
    int errorOffset = -1;
    const mbus::TelegramError error = mbus::decodeTelegram(answer, &telegram, &errorOffset);
    if (error != mbus::TelegramError::None)
        std::fprintf(stderr, "answer %s: %s at %d\n", answer.toHex(' ').constData(),
                     qPrintable(mbus::telegramErrorText(error)), errorOffset);
    FUZZ_CHECK(error == mbus::TelegramError::None);
    FUZZ_CHECK(telegram.header.control == frames::kRspUd);
}

// The state after any requests is one the state file can hold and give back.
void checkStateRoundTrip(const sim::DeviceModel &model)
{
    static QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("state.json"));
    QString error;
    FUZZ_CHECK(model.save(file, &error));
    sim::DeviceModel again;
    if (!again.load(file, &error))
        std::fprintf(stderr, "state file rejected: %s\n", qPrintable(error));
    FUZZ_CHECK(again.load(file, &error));
    QString second;
    FUZZ_CHECK(again.save(file, &second));
    sim::DeviceModel third;
    FUZZ_CHECK(third.load(file) && third.address == model.address && third.speedCode == model.speedCode &&
               third.identification == model.identification && third.reportDay == model.reportDay);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    sim::DeviceModel model;
    sim::ProtocolEngine engine(model);
    sim::RequestAssembler assembler;
    QDateTime now = QDateTime(QDate(2026, 3, 14), QTime(12, 0), Qt::UTC);
    bool changed = false;
    int steps = 0;
    while (in.left() > 0 && ++steps <= 64) {
        QByteArray bytes;
        switch (in.byte() % 7) {
        case 0: {
            const quint8 address = in.byte();
            const quint16 reg = in.word();
            bytes = frames::registerRead(address, reg, in.word() % 160);
            break;
        }
        case 1: {
            const quint8 address = in.byte();
            const quint16 reg = in.word();
            const quint16 count = in.word() % 160;
            const QByteArray payload = in.bytes(in.byte());
            bytes = frames::registerWrite(address, reg, count, quint8(payload.size()), payload);
            break;
        }
        case 2: {
            const quint8 control = in.byte();
            bytes = frames::mbusShort(control, in.byte());
            break;
        }
        case 3: {
            const quint8 control = in.byte();
            const quint8 address = in.byte();
            const quint8 ci = in.byte();
            bytes = frames::mbusLong(control, address, ci, in.bytes(in.byte() % 250));
            break;
        }
        case 4:
            bytes = in.bytes(in.byte());
            break;
        case 5:
            assembler.reset();
            continue;
        case 6:
            now = now.addSecs(in.word());
            continue;
        }
        for (const sim::RequestFrame &request : assembler.feed(bytes)) {
            const sim::EngineReply reply = engine.handle(request, now);
            checkAnswer(request, reply.answer, model.address);
            changed = changed || reply.changed;
        }
        FUZZ_CHECK(model.address <= sim::DeviceModel::kHighestPrimaryAddress);
        FUZZ_CHECK(model.baudRate() != 0);
        FUZZ_CHECK(model.reportDay >= 1 && model.reportDay <= 31);
    }
    if (changed)
        checkStateRoundTrip(model);
    return 0;
}
