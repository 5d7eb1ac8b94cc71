#include "device/clock_codec.h"

#include <QString>

namespace device
{

namespace
{
quint8 byteAt(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}
} // namespace

QByteArray MbusDateTimeEncoding::bytes() const
{
    QByteArray out;
    for (quint8 b : {second, minute, hourByte, dayByte, monthByte, quint8(0)})
        out.append(static_cast<char>(b));
    return out;
}

MbusDateTimeEncoding encodeMbusDateTime(const QDate &date, const QTime &time)
{
    MbusDateTimeEncoding e{};
    e.yearTwoDigits = QString::number(date.year()).right(2).toInt();
    e.yearLowBits = static_cast<quint8>((e.yearTwoDigits << 5) & 0xE0);
    e.yearHighBits = static_cast<quint8>((e.yearTwoDigits << 1) & 0xF0);
    e.second = static_cast<quint8>(time.second());
    e.minute = static_cast<quint8>(time.minute());
    e.hourByte = static_cast<quint8>(time.hour() | (date.dayOfWeek() << 5));
    e.dayByte = static_cast<quint8>(date.day() | e.yearLowBits);
    e.monthByte = static_cast<quint8>(date.month() | e.yearHighBits);
    return e;
}

MbusDateTimeFields decodeMbusDateTime(const QByteArray &sixBytes)
{
    Q_ASSERT(sixBytes.size() >= kMbusDateTimeBytes);
    const quint8 dayByte = byteAt(sixBytes, 3);
    const quint8 monthByte = byteAt(sixBytes, 4);
    MbusDateTimeFields f{};
    f.second = byteAt(sixBytes, 0) & 0x3F;
    f.minute = byteAt(sixBytes, 1) & 0x3F;
    f.hour = byteAt(sixBytes, 2) & 0x1F;
    f.day = dayByte & 0x1F;
    f.month = monthByte & 0x0F;
    f.year = 2000 + (((dayByte & 0xE0) >> 5) | ((monthByte & 0xF0) >> 1));
    return f;
}

quint32 registerClockSeconds(const QByteArray &answer)
{
    Q_ASSERT(answer.size() >= kClockAnswerMinBytes);
    return quint32(byteAt(answer, 5)) << 24 | quint32(byteAt(answer, 6)) << 16 |
           quint32(byteAt(answer, 3)) << 8 | quint32(byteAt(answer, 4));
}

QDateTime registerClockUtc(quint32 seconds)
{
    return QDateTime::fromSecsSinceEpoch(qint64(seconds), Qt::UTC);
}

} // namespace device
