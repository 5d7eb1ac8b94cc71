#pragma once

// The channel frames (M-Bus long frames, EN 13757-2/3). Bytes in hex; A is the device's address.
//
// Fetch request: 68 05 05 68 53 A 51 7F ch CS 16
//
// Fetch reply (RSP_UD, CI 72), by byte index from the first start byte:
//   [0..3] 68 L L 68  [4] 08  [5] A  [6] 72
//   [7..10] channel meter number, BCD, least significant pair first
//   [11..12] manufacturer code, low byte first  [13] version  [14] medium
//   [15] access number  [16] status  [17..18] signature
//   [19..] data records: 05 VIF value(float) (one-byte VIF: value at [21..24]),
//          05 FF 1E weight(float), 02 FF 1D duration(ms), 01 FF 1F appointment,
//          01 FD 17 error flags, 04 FD 3A pulse counter
//   [L+4] CS  [L+5] 16
//
// Configuration write (SND_UD 53, CI 51):
//   87 <DIFE chain> 79 number(4, LSB pair first) manufacturer(2, low first) version medium
//   [05 FF 1E weight(float)]  [05 VIF(1 or 2 bytes, low first) value(4 bytes of the fetch reply [21..24])]
//   [02 FF 1D duration(2)]    [01 FF 1F appointment(1)]
// L = 36 + lastOneBitPosition (+1 for a two-byte VIF with the unit record), less 7, 6, 5, 4 for the
// weight, unit, duration and appointment records left out.
//
// Preset write (SND_UD 53, CI 51): the identification record, then 05 VIF preset(float);
//   L = 20 + lastOneBitPosition (+1 for a two-byte VIF); address 00 is sent as FE.
//
// DIFE chain of the channel number: one DIFE per bit up to the highest set bit, least significant bit
// first, the bit in the device-unit position 0x40, the extension bit 0x80 on all but the last:
//   1 -> 40, 2 -> 80 40, 5 -> C0 80 40, 16 -> 80 80 80 80 40.

#include "device/channel_record.h"

#include <QByteArray>
#include <QStringList>
#include <optional>

namespace device
{

// Position of the highest set bit of the channel number (0 for channel 1).
int lastOneBitPosition(int channel);
QByteArray difeChain(int channel);

// One byte when the high byte is zero; otherwise the low byte, then the high byte.
QByteArray vifWireBytes(quint16 vif);

QByteArray channelFetchRequest(quint8 address, int channel);

// What the configuration write takes from the fetch reply.
struct FetchReplyFields {
    QByteArray deviceNumber; // [7..10], as sent
    QByteArray manufacturer; // [11..12], low byte first
    quint8 version = 0;      // [13]
    quint8 medium = 0;       // [14]
    QByteArray value;        // [21..24], as sent
};
// Nothing when the reply is too short to hold byte 24.
std::optional<FetchReplyFields> fetchReplyFields(const QByteArray &reply);

// Which records the configuration write sends, from the six check boxes.
struct ChannelWriteChoice {
    bool appointment = false;
    bool identification = false;
    bool unit = false;
    bool weight = false;
    bool duration = false;
    bool manufacturer = false;

    bool any() const { return appointment || identification || unit || weight || duration || manufacturer; }
};

struct ConfigurationFrame {
    QByteArray frame;
    QList<QPair<QString, int>> lengthTrace; // ("len start", 36), ("len before ves", 36), ...
};

// The write of `record`'s channel. The identification record takes every field from the record when
// `choice.identification`; otherwise number, version and medium from the reply, and the manufacturer
// from the record only when `choice.manufacturer`.
ConfigurationFrame configurationFrame(quint8 address, const ChannelRecord &record,
                                      const ChannelWriteChoice &choice, const FetchReplyFields &reply);

QByteArray presetFrame(quint8 address, const ChannelRecord &record);

// A channel's configuration as its fetch reply states it. The records are recognised by DIF and by the
// VIF read with its first byte as the high-order byte, as the configurator reads them back.
struct ChannelConfiguration {
    QByteArray deviceNumber; // four bytes, least significant pair first
    quint16 manufacturer = 0;
    quint8 version = 0;
    quint8 medium = 0;
    QByteArray unitVif; // the unit's VIF bytes as received
    float value = 0;
    std::optional<float> weight;
    std::optional<quint16> durationMs;
    std::optional<quint8> appointment;
    std::optional<quint8> errorFlags;
    std::optional<quint32> counter;
};

// Nothing unless `reply` is a complete RSP_UD long frame with the 12-byte header and records that parse.
std::optional<ChannelConfiguration> decodeChannelReply(const QByteArray &reply);

// The error-flag bits as words ("Нет" for none).
QString errorFlagsText(quint8 flags);

} // namespace device
