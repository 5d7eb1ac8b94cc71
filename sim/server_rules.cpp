#include "sim/server_rules.h"

#include "link/frames.h"
#include "server/reply_codes.h"

namespace emulator
{

namespace
{

bool isDecimal(const QByteArray &text)
{
    if (text.isEmpty())
        return false;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// Why a frame that frames::checkMbus rejected is wrong.
Result diagnoseInvalidFrame(const QByteArray &frame)
{
    const auto start = static_cast<quint8>(frame.at(0));
    if (start == frames::kLongStart) {
        const auto length = static_cast<quint8>(frame.at(1));
        if (static_cast<quint8>(frame.at(2)) != length ||
            static_cast<quint8>(frame.at(3)) != frames::kLongStart || length < 3)
            return Result::WrongPacketLength;
        return Result::WrongChecksum;
    }
    if (start == frames::kShortStart)
        return Result::WrongChecksum;
    return Result::UnknownDataFormat;
}

} // namespace

QByteArray answerBody(Result result)
{
    const int code = static_cast<int>(result);
    return QByteArrayLiteral("<velmoraData><Result>") + QByteArray::number(code).rightJustified(3, '0') +
           "</Result><Message>" + server::replyCodeTable().value(code).toUtf8() + "</Message></velmoraData>";
}

Result judgeLogin(const QMap<QString, QString> &fields, const Users &users)
{
    if (!fields.contains(QStringLiteral("CMD")))
        return Result::NoCommand;
    if (fields.value(QStringLiteral("CMD")) != QLatin1String(kLoginCommand))
        return Result::UnknownCommand;
    if (!fields.contains(QStringLiteral("Login")))
        return Result::NoLogin;
    if (!fields.contains(QStringLiteral("Password")))
        return Result::NoPassword;
    const auto user = users.constFind(fields.value(QStringLiteral("Login")));
    if (user == users.constEnd() || *user != fields.value(QStringLiteral("Password")))
        return Result::WrongCredentials;
    return Result::Ok;
}

Result judgeUploadHeaders(const QByteArray &contentType, const QByteArray &contentLength)
{
    if (!contentType.trimmed().toLower().startsWith("multipart/form-data"))
        return Result::UnknownContentType;
    if (boundaryOf(contentType).isEmpty())
        return Result::NoBoundary;
    // Digits past what 64 bits hold read as no number at all, not as 0.
    bool number = false;
    const qint64 announced = isDecimal(contentLength) ? contentLength.toLongLong(&number) : -1;
    if (!number || announced > kMaxUploadBytes)
        return Result::WrongContentLength;
    return Result::Ok;
}

Result judgeShortUpload(const QByteArray &contentType, const QByteArray &contentLength)
{
    const Result headers = judgeUploadHeaders(contentType, contentLength);
    return headers == Result::Ok ? Result::ContentLengthMismatch : headers;
}

Result judgeUpload(const QByteArray &contentType, const QByteArray &contentLength, const QByteArray &body,
                   QByteArray *data)
{
    const Result headers = judgeUploadHeaders(contentType, contentLength);
    if (headers != Result::Ok)
        return headers;
    if (body.size() != contentLength.toLongLong())
        return Result::ContentLengthMismatch;
    const Multipart multipart = parseMultipart(body, boundaryOf(contentType));
    switch (multipart.error) {
    case MultipartError::None:
        break;
    case MultipartError::BoundaryNotFound:
        return Result::NoBoundary;
    case MultipartError::Malformed:
        return Result::WrongContent;
    }
    const Part *command = nullptr;
    const Part *dataPart = nullptr;
    for (const Part &part : multipart.parts) {
        if (part.name == "CMD" && !command)
            command = &part;
        else if (part.name == "DATA" && !dataPart)
            dataPart = &part;
    }
    if (!command)
        return Result::NoCommand;
    if (command->content != kUploadCommand)
        return Result::UnknownCommand;
    if (!dataPart)
        return Result::NoDataParameter;
    *data = dataPart->content;
    return judgeFrames(dataPart->content);
}

Result judgeFrames(const QByteArray &data)
{
    if (data.isEmpty())
        return Result::NoDataToSave;
    for (int position = 0; position < data.size();) {
        const QByteArray rest = data.mid(position);
        const frames::FrameCheck check = frames::checkMbus(rest);
        switch (check.state) {
        case frames::Completeness::Complete:
            position += check.frameLength;
            break;
        case frames::Completeness::NeedMore:
            return Result::UnexpectedEnd;
        case frames::Completeness::Invalid:
            return diagnoseInvalidFrame(rest);
        }
    }
    return Result::Ok;
}

} // namespace emulator
