#include "device/channel_readings.h"

#include <cstring>

namespace device
{

QByteArray readingBytes(const QByteArray &answer)
{
    QByteArray bytes;
    for (int index : {5, 6, 3, 4}) {
        if (index >= answer.size())
            break;
        bytes.append(answer.at(index));
    }
    return bytes;
}

quint32 readingNumber(const QByteArray &readingBytes)
{
    quint32 value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | (i < readingBytes.size() ? static_cast<quint8>(readingBytes.at(i)) : 0);
    return value;
}

float readingFloat(const QByteArray &readingBytes)
{
    const quint32 bits = readingNumber(readingBytes);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

QByteArray counterWriteData(quint32 counter)
{
    QByteArray data;
    for (quint32 half : {counter & 0xFFFF, counter >> 16}) {
        data.append(static_cast<char>(half >> 8));
        data.append(static_cast<char>(half & 0xFF));
    }
    return data;
}

} // namespace device
