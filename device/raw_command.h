#pragma once

// A frame typed by hand on the developer page, as pairs of hex digits without checksum and stop
// byte (spaces between pairs are allowed). The sender completes it:
//   first byte 10 (short frame): CS = sum of bytes 1 .. end
//   otherwise (long frame):      CS = sum of bytes 4 .. end
// then appends CS and 16.

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace device
{

enum class RawCommandFault { None, Empty, OddDigits, NotHex };

struct RawCommand {
    RawCommandFault fault;
    QByteArray bytes;
};

RawCommand parseRawCommand(const QString &text);

// The box text of a rejected command ("" when it was accepted).
QString rawCommandFaultText(RawCommandFault fault, const QString &text);

quint8 rawCommandChecksum(const QByteArray &bytes);

// The typed bytes followed by their checksum and the stop byte.
QByteArray completeRawCommand(const QByteArray &bytes);

// Number of hex digits in a typed command, spaces left out.
int halfByteCount(const QString &text);

} // namespace device
