#pragma once

// The metering server's result code and the messages the upload shows for it.
//
// The server answers with a body that carries its result code as three decimal digits at byte
// offsets 21..23, e.g. "<velmoraData><Result>139</Result>..." (offsets counted from 0). Nothing
// else in the body is read.

#include <QByteArray>
#include <QHash>
#include <QString>
#include <optional>

namespace server
{

constexpr int kCodeOffset = 21;
constexpr int kCodeLength = 3;

// Bytes 21..23 of the body; a byte past the end counts as a zero byte, and the text ends at the
// first zero byte (a 22-byte body gives one character, a shorter one none).
QByteArray codeText(const QByteArray &body);

// The code text as a base-10 number; a text that is not a number gives 0.
int codeValue(const QByteArray &body);

// The code only when bytes 21..23 are three decimal digits (for callers that must tell a
// malformed reply from "OK.").
std::optional<int> strictCode(const QByteArray &body);

// Code -> message of the upload's reply: 278 rows for the codes 0..335, with gaps. Built afresh on
// every call.
QHash<int, QString> replyCodeTable();

// The message an upload reply shows: its code's row, or an empty text when the table has none.
QString replyMessage(const QByteArray &body);

} // namespace server
