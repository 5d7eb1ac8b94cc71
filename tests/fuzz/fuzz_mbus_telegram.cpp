// The EN 13757-3 decoder on arbitrary bytes: as one frame (decodeTelegram) and as a received
// stream (decodeReceived), with every text and JSON rendering of what decoded.

#include "common/mbus_telegram.h"
#include "common/mbus_telegram_text.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"
#include "tools/zorva-decode/telegram_json.h"

#include <QJsonDocument>

namespace
{

void renderRecords(const mbus::Telegram &telegram)
{
    mbus::mediumDescription(telegram);
    telegramText(telegram);
    for (const mbus::DataRecord &record : telegram.records) {
        mbus::rawValueText(record);
        mbus::scaledValueText(record);
        mbus::recordFunctionDescription(record.function);
        recordText(record);
    }
}

void checkFrame(const QByteArray &frame)
{
    mbus::Telegram telegram;
    int errorOffset = -2;
    const mbus::TelegramError error = mbus::decodeTelegram(frame, &telegram, &errorOffset);
    if (error != mbus::TelegramError::None) {
        FUZZ_CHECK(errorOffset >= 0 && errorOffset <= frame.size());
        FUZZ_CHECK(!mbus::telegramErrorText(error).isEmpty());
        return;
    }
    FUZZ_CHECK(errorOffset == -1);
    // An accepted frame is exactly the long frame its fields build.
    const frames::FrameCheck check = frames::checkMbus(frame);
    FUZZ_CHECK(check.state == frames::Completeness::Complete && check.frameLength == frame.size());
    const QByteArray userData = frame.mid(7, frame.size() - 9);
    FUZZ_CHECK(frames::mbusLong(telegram.header.control, telegram.header.address, telegram.header.ci,
                                userData) == frame);
    FUZZ_CHECK(telegram.records.size() <= userData.size());
    renderRecords(telegram);
    if (telegram.kind != mbus::TelegramKind::VariableData)
        return;
    // Every data record starts with its DIF and DIFEs as received, in order, inside the user data.
    int previous = 6;
    for (const mbus::DataRecord &record : telegram.records) {
        FUZZ_CHECK(record.offset > previous && record.offset < frame.size() - 2);
        FUZZ_CHECK(!record.dib.isEmpty() && record.dib.size() <= 11);
        FUZZ_CHECK(record.difeCount == record.dib.size() - 1);
        FUZZ_CHECK(frame.mid(record.offset, record.dib.size()) == record.dib);
        previous = record.offset;
    }
}

void checkStream(const QByteArray &bytes)
{
    const QVector<mbus::ReceivedPiece> pieces = mbus::decodeReceived(bytes);
    // The pieces cover the stream from its first byte to its last, without gaps or overlaps.
    QByteArray joined;
    for (int i = 0; i < pieces.size(); ++i) {
        const mbus::ReceivedPiece &piece = pieces.at(i);
        FUZZ_CHECK(piece.offset == joined.size());
        FUZZ_CHECK(!piece.bytes.isEmpty());
        joined += piece.bytes;
        switch (piece.kind) {
        case mbus::ReceivedPiece::Kind::Acknowledgement:
            FUZZ_CHECK(piece.bytes == QByteArray(1, char(frames::kAck)));
            break;
        case mbus::ReceivedPiece::Kind::Telegram:
            FUZZ_CHECK(piece.telegram.records.size() <= piece.bytes.size());
            break;
        case mbus::ReceivedPiece::Kind::Failure:
            FUZZ_CHECK(i == pieces.size() - 1);
            FUZZ_CHECK(piece.errorOffset >= piece.offset && piece.errorOffset <= bytes.size());
            break;
        }
    }
    FUZZ_CHECK(joined == bytes);
    QJsonDocument(receivedToJson(pieces)).toJson();
    telegramToRussianText(bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = wholeInput(data, size);
    checkFrame(bytes);
    checkStream(bytes);
    return 0;
}
