#pragma once

// What the metering-server emulator checks in the requests it receives, and how it answers.
// Every answer is a body whose result code sits as three digits at bytes 21..23:
//   <velmoraData><Result>NNN</Result><Message>...</Message></velmoraData>

#include "sim/multipart_body.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>
#include <QVector>

namespace emulator
{

constexpr char kLoginScript[] = "/client.cgi";
constexpr char kUploadScript[] = "/bin/velmora.cgi";
constexpr char kLoginCommand[] = "Get_UserData";
constexpr char kUploadCommand[] = "DevVal";

// Largest upload body accepted.
constexpr qint64 kMaxUploadBytes = 16 * 1024 * 1024;

// The codes of the server's table that the emulator answers with.
enum class Result {
    Ok = 0,
    UnknownCommand = 1,
    NoCommand = 2,
    NoDataToSave = 18,
    GetForbidden = 25,
    ArchiveWriteFailed = 29,
    TempFileFailed = 61,
    WrongCredentials = 139,
    NoDataParameter = 156,
    UnknownDataFormat = 157,
    WrongChecksum = 162,
    UnexpectedEnd = 165,
    WrongPacketLength = 167,
    WrongMethod = 170,
    WrongContentLength = 171,
    ContentLengthMismatch = 172,
    UnknownContentType = 173,
    NoBoundary = 174,
    WrongContent = 176,
    NoPassword = 218,
    NoLogin = 284,
};

QByteArray answerBody(Result result);

// login -> password
using Users = QHash<QString, QString>;

// The login script's form fields (CMD, Login, Password).
Result judgeLogin(const QMap<QString, QString> &fields, const Users &users);

// The upload's headers, judged before its body is read. An absent header is a null QByteArray.
Result judgeUploadHeaders(const QByteArray &contentType, const QByteArray &contentLength);

// An upload whose body ended before its announced Content-Length.
Result judgeShortUpload(const QByteArray &contentType, const QByteArray &contentLength);

// A whole upload: its headers, the multipart body, the command, the DATA part and its frames.
// On success *data holds the DATA part's content.
Result judgeUpload(const QByteArray &contentType, const QByteArray &contentLength, const QByteArray &body,
                   QByteArray *data);

// DATA: one or more whole M-Bus frames, back to back.
Result judgeFrames(const QByteArray &data);

} // namespace emulator
