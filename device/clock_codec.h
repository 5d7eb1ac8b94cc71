#pragma once

// The device clock in its two wire forms.
//
// M-Bus date and time (VIF 6D), six bytes:
//   [0] second      bits 0-5
//   [1] minute      bits 0-5
//   [2] hour        bits 0-4, day of week bits 5-7 (1 = Monday .. 7 = Sunday)
//   [3] day         bits 0-4, two-digit year bits 0-2 in bits 5-7
//   [4] month       bits 0-3, two-digit year bits 3-6 in bits 4-7
//   [5] 00
// The device counts years from 2000, so 2000-2099 round-trips.
//
// Register clock: registers 8 and 9 hold seconds since 1970-01-01 00:00:00 UTC; register 8 is the
// low half, register 9 the high half, each high byte first. In the answer
//   [0] address [1] 03 [2] 04 [3..4] register 8 [5..6] register 9 [7..8] CRC
// the value is byte5 << 24 | byte6 << 16 | byte3 << 8 | byte4.

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QTime>
#include <QtGlobal>

namespace device
{

constexpr int kMbusDateTimeBytes = 6;
constexpr int kClockAnswerMinBytes = 7; // through register 9's low byte

// The intermediate values of the encoding, kept for the write's log lines.
struct MbusDateTimeEncoding {
    int yearTwoDigits;
    quint8 yearLowBits;  // (y << 5) & E0, carried in the day byte
    quint8 yearHighBits; // (y << 1) & F0, carried in the month byte
    quint8 second;
    quint8 minute;
    quint8 hourByte;
    quint8 dayByte;
    quint8 monthByte;

    QByteArray bytes() const;
};

// The two-digit year is the last two characters of the year's decimal text (2009 -> 9).
MbusDateTimeEncoding encodeMbusDateTime(const QDate &date, const QTime &time);

struct MbusDateTimeFields {
    int second;
    int minute;
    int hour;
    int day;
    int month;
    int year;

    QDate date() const { return QDate(year, month, day); }
    QTime time() const { return QTime(hour, minute, second); }
};

// Needs kMbusDateTimeBytes bytes; the day of week and the last byte are not read.
MbusDateTimeFields decodeMbusDateTime(const QByteArray &sixBytes);

// Seconds since 1970 from a register-clock answer of at least kClockAnswerMinBytes bytes.
quint32 registerClockSeconds(const QByteArray &answer);

QDateTime registerClockUtc(quint32 seconds);

} // namespace device
