#pragma once

// EN 13757-3 data records as the device reads them from a SND_UD telegram and writes them into its
// RSP_UD answers:
//   DIF  [DIFE ...]  VIF [VIFE ...]  data
//   DIF  bit 7 extension, bits 5-4 function, bit 6 storage LSB, bits 3-0 data field
//   DIFE bit 7 extension, bit 6 device unit (sub-unit), bits 5-4 tariff, bits 3-0 storage
// The device carries the channel number in the sub-unit bits of a DIFE chain, least significant bit
// first: channel 1 is 40, channel 2 is 80 40, channel 5 is C0 80 40, channel 16 is 80 80 80 80 40.

#include <QByteArray>
#include <QList>
#include <QtGlobal>

namespace sim
{

struct DataRecord {
    quint8 dif = 0;
    int subunit = 0; // sub-unit number assembled from the DIFE chain (0 without DIFE)
    int difeCount = 0;
    quint32 vif = 0; // VIF and VIFE bytes as sent, the first one in the highest used byte
    int vifLength = 0;
    QByteArray data; // the value bytes, as sent (least significant byte first)
};

// Parses the records that fill `bytes` completely. Returns false for a truncated record, a variable
// or special data field, or a chain longer than the standard allows.
bool parseDataRecords(const QByteArray &bytes, QList<DataRecord> *records);

// The DIFE chain that carries `channel` (1..255) as its sub-unit number.
QByteArray channelDifeChain(int channel);

// Appends the bytes of a value, least significant byte first.
void appendLittleEndian(QByteArray &out, quint64 value, int bytes);
quint64 littleEndian(const QByteArray &bytes);
QByteArray floatBytes(float value);
float floatFromBytes(const QByteArray &bytes);

} // namespace sim
