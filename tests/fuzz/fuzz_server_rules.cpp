// The emulator's judgement of a request: the upload's headers and body, the frames in DATA and the
// login form, each answered with a body whose code the configurator reads back.
//
// Input: Content-Type line, Content-Length line, then the body; a Content-Length of "=" stands for
// the body's true length. The same body is also judged as DATA and its lines as login fields.

#include "link/frames.h"
#include "server/reply_codes.h"
#include "sim/server_rules.h"
#include "tests/fuzz/fuzz_input.h"

namespace
{

// The line up to the next LF, and the position after it.
QByteArray line(const QByteArray &bytes, int *position)
{
    const int end = bytes.indexOf('\n', *position);
    const int stop = end < 0 ? bytes.size() : end;
    const QByteArray text = bytes.mid(*position, stop - *position);
    *position = end < 0 ? bytes.size() : end + 1;
    return text;
}

void checkAnswer(emulator::Result result)
{
    const std::optional<int> code = server::strictCode(emulator::answerBody(result));
    FUZZ_CHECK(code && *code == static_cast<int>(result));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = wholeInput(data, size);
    int position = 0;
    const QByteArray contentType = line(input, &position);
    QByteArray contentLength = line(input, &position);
    const QByteArray body = input.mid(position);
    if (contentLength == "=")
        contentLength = QByteArray::number(body.size());

    const emulator::Result headers = emulator::judgeUploadHeaders(contentType, contentLength);
    if (headers == emulator::Result::Ok) {
        // Nothing larger than the limit is ever let through to the body.
        bool number = false;
        const qint64 announced = contentLength.toLongLong(&number);
        FUZZ_CHECK(number && announced >= 0 && announced <= emulator::kMaxUploadBytes);
    }
    const emulator::Result shortUpload = emulator::judgeShortUpload(contentType, contentLength);
    FUZZ_CHECK(shortUpload != emulator::Result::Ok);
    checkAnswer(shortUpload);

    QByteArray stored;
    const emulator::Result upload = emulator::judgeUpload(contentType, contentLength, body, &stored);
    checkAnswer(upload);
    if (upload == emulator::Result::Ok) {
        FUZZ_CHECK(headers == emulator::Result::Ok);
        FUZZ_CHECK(!stored.isEmpty() && body.contains(stored));
        FUZZ_CHECK(emulator::judgeFrames(stored) == emulator::Result::Ok);
    }

    const emulator::Result dataResult = emulator::judgeFrames(body);
    checkAnswer(dataResult);
    if (dataResult == emulator::Result::Ok) {
        // DATA that passes is whole frames, back to back.
        for (int at = 0; at < body.size();) {
            const frames::FrameCheck check = frames::checkMbus(body.mid(at));
            FUZZ_CHECK(check.state == frames::Completeness::Complete);
            at += check.frameLength;
        }
    }

    QMap<QString, QString> fields;
    for (const QByteArray &field : body.split('\n')) {
        const int equals = field.indexOf('=');
        if (equals >= 0)
            fields.insert(QString::fromUtf8(field.left(equals)), QString::fromUtf8(field.mid(equals + 1)));
    }
    const emulator::Users users{{QStringLiteral("engineer"), QStringLiteral("zorva")}};
    const emulator::Result login = emulator::judgeLogin(fields, users);
    checkAnswer(login);
    if (login == emulator::Result::Ok)
        FUZZ_CHECK(fields.value(QStringLiteral("Login")) == "engineer" &&
                   fields.value(QStringLiteral("Password")) == "zorva");
    return 0;
}
