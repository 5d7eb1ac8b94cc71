#include "sim/data_records.h"

#include <cstring>

namespace sim
{

namespace
{

constexpr quint8 kExtension = 0x80;
constexpr quint8 kSubunitBit = 0x40;
constexpr int kMaxDife = 10;
constexpr int kMaxVife = 10;

// Data length of a DIF's data field; -1 for variable length and special functions.
int dataLength(quint8 dif)
{
    static const int lengths[16] = {0, 1, 2, 3, 4, 4, 6, 8, 0, 1, 2, 3, 4, -1, 6, -1};
    return lengths[dif & 0x0F];
}

} // namespace

bool parseDataRecords(const QByteArray &bytes, QList<DataRecord> *records)
{
    records->clear();
    int i = 0;
    const auto byteAt = [&bytes](int index) { return static_cast<quint8>(bytes.at(index)); };
    while (i < bytes.size()) {
        DataRecord record;
        record.dif = byteAt(i++);
        const int length = dataLength(record.dif);
        if (length < 0)
            return false;
        bool more = record.dif & kExtension;
        while (more) {
            if (i >= bytes.size() || record.difeCount == kMaxDife)
                return false;
            const quint8 dife = byteAt(i++);
            if (dife & kSubunitBit)
                record.subunit |= 1 << record.difeCount;
            ++record.difeCount;
            more = dife & kExtension;
        }
        do {
            if (i >= bytes.size() || record.vifLength == kMaxVife)
                return false;
            const quint8 vif = byteAt(i++);
            if (record.vifLength < 4)
                record.vif = (record.vif << 8) | vif;
            ++record.vifLength;
            more = vif & kExtension;
        } while (more);
        if (record.vifLength > 4 || i + length > bytes.size())
            return false;
        record.data = bytes.mid(i, length);
        i += length;
        records->append(record);
    }
    return true;
}

QByteArray channelDifeChain(int channel)
{
    QByteArray chain;
    int highest = 0;
    for (int bit = 0; bit < 8; ++bit) {
        if (channel & (1 << bit))
            highest = bit;
    }
    for (int bit = 0; bit <= highest; ++bit) {
        const bool set = channel & (1 << bit);
        if (bit == highest)
            chain.append(static_cast<char>(kSubunitBit));
        else
            chain.append(static_cast<char>(kExtension | (set ? kSubunitBit : 0)));
    }
    return chain;
}

void appendLittleEndian(QByteArray &out, quint64 value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

quint64 littleEndian(const QByteArray &bytes)
{
    quint64 value = 0;
    for (int i = bytes.size() - 1; i >= 0; --i)
        value = (value << 8) | static_cast<quint8>(bytes.at(i));
    return value;
}

QByteArray floatBytes(float value)
{
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    QByteArray out;
    appendLittleEndian(out, bits, 4);
    return out;
}

float floatFromBytes(const QByteArray &bytes)
{
    const quint32 bits = static_cast<quint32>(littleEndian(bytes.left(4)));
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace sim
