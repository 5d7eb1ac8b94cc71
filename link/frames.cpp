#include "link/frames.h"

namespace frames
{

quint16 crc16(const QByteArray &bytes)
{
    quint16 crc = 0xFFFF;
    for (char c : bytes) {
        crc ^= static_cast<quint8>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? static_cast<quint16>((crc >> 1) ^ 0xA001) : static_cast<quint16>(crc >> 1);
    }
    return crc;
}

bool crcIntact(const QByteArray &frameWithCrc)
{
    return crc16(frameWithCrc) == 0;
}

static void appendCrc(QByteArray &frame)
{
    const quint16 crc = crc16(frame);
    frame.append(static_cast<char>(crc & 0xFF));
    frame.append(static_cast<char>(crc >> 8));
}

static void appendWord(QByteArray &frame, quint16 value)
{
    frame.append(static_cast<char>(value >> 8));
    frame.append(static_cast<char>(value & 0xFF));
}

QByteArray registerRead(quint8 address, quint16 reg, quint16 count, quint8 function)
{
    QByteArray frame;
    frame.append(static_cast<char>(address));
    frame.append(static_cast<char>(function));
    appendWord(frame, reg);
    appendWord(frame, count);
    appendCrc(frame);
    return frame;
}

QByteArray registerWrite(quint8 address, quint16 reg, quint16 count, quint8 byteCount, const QByteArray &data,
                         quint8 function)
{
    QByteArray frame;
    frame.append(static_cast<char>(address));
    frame.append(static_cast<char>(function));
    appendWord(frame, reg);
    appendWord(frame, count);
    frame.append(static_cast<char>(byteCount));
    frame.append(data);
    appendCrc(frame);
    return frame;
}

quint8 sum8(const QByteArray &bytes)
{
    quint8 sum = 0;
    for (char c : bytes)
        sum = static_cast<quint8>(sum + static_cast<quint8>(c));
    return sum;
}

quint8 crcMod256(const QByteArray &longFrame)
{
    // Bytes 4 .. size-3; a frame of five or six bytes has none of them.
    if (longFrame.size() < 7)
        return 0;
    return sum8(longFrame.mid(4, longFrame.size() - 6));
}

QByteArray mbusShort(quint8 control, quint8 address)
{
    QByteArray frame;
    frame.append(static_cast<char>(kShortStart));
    frame.append(static_cast<char>(control));
    frame.append(static_cast<char>(address));
    frame.append(static_cast<char>(static_cast<quint8>(control + address)));
    frame.append(static_cast<char>(kStop));
    return frame;
}

QByteArray mbusLong(quint8 control, quint8 address, quint8 ci, const QByteArray &data)
{
    QByteArray body;
    body.append(static_cast<char>(control));
    body.append(static_cast<char>(address));
    body.append(static_cast<char>(ci));
    body.append(data);
    QByteArray frame;
    const char length = static_cast<char>(body.size());
    frame.append(static_cast<char>(kLongStart));
    frame.append(length);
    frame.append(length);
    frame.append(static_cast<char>(kLongStart));
    frame.append(body);
    frame.append(static_cast<char>(sum8(body)));
    frame.append(static_cast<char>(kStop));
    return frame;
}

static quint8 at(const QByteArray &b, int i)
{
    return static_cast<quint8>(b.at(i));
}

FrameCheck checkMbus(const QByteArray &buffer)
{
    if (buffer.isEmpty())
        return {Completeness::NeedMore, 0, 1};
    switch (at(buffer, 0)) {
    case kAck:
        return {Completeness::Complete, 1, 0};
    case kShortStart:
        if (buffer.size() < 5)
            return {Completeness::NeedMore, 0, 5 - buffer.size()};
        if (at(buffer, 4) != kStop || at(buffer, 3) != sum8(buffer.mid(1, 2)))
            return {Completeness::Invalid, 0, 0};
        return {Completeness::Complete, 5, 0};
    case kLongStart: {
        if (buffer.size() < 4)
            return {Completeness::NeedMore, 0, 4 - buffer.size()};
        const int length = at(buffer, 1);
        if (at(buffer, 2) != length || at(buffer, 3) != kLongStart || length < 3)
            return {Completeness::Invalid, 0, 0};
        const int total = length + 6;
        if (buffer.size() < total)
            return {Completeness::NeedMore, 0, total - buffer.size()};
        if (at(buffer, total - 1) != kStop || at(buffer, total - 2) != sum8(buffer.mid(4, length)))
            return {Completeness::Invalid, 0, 0};
        return {Completeness::Complete, total, 0};
    }
    default:
        return {Completeness::Invalid, 0, 0};
    }
}

FrameCheck checkRegisterAnswer(const QByteArray &buffer, quint8 function, quint16 count)
{
    if (buffer.size() < 2)
        return {Completeness::NeedMore, 0, 2 - buffer.size()};
    const quint8 answered = at(buffer, 1);
    int total = 0;
    if (answered == (function | kErrorFlag)) {
        total = 5;
    } else if (answered != function) {
        return {Completeness::Invalid, 0, 0};
    } else if (function == kReadRegisters) {
        if (buffer.size() < 3)
            return {Completeness::NeedMore, 0, 3 - buffer.size()};
        if (at(buffer, 2) != 2 * count)
            return {Completeness::Invalid, 0, 0};
        total = 5 + 2 * count;
    } else {
        total = 8;
    }
    if (buffer.size() < total)
        return {Completeness::NeedMore, 0, total - buffer.size()};
    if (!crcIntact(buffer.left(total)))
        return {Completeness::Invalid, 0, 0};
    return {Completeness::Complete, total, 0};
}

int registerAnswerLength(const QByteArray &buffer)
{
    if (buffer.size() < 2)
        return 0;
    const quint8 function = at(buffer, 1);
    if (function & kErrorFlag)
        return 5;
    if (function != kReadRegisters)
        return 8;
    return buffer.size() < 3 ? 0 : 5 + at(buffer, 2);
}

} // namespace frames
