#include "device/channel_frames.h"

#include "common/mbus_telegram.h"
#include "device/parameter_frames.h"
#include "link/frames.h"

#include <QCoreApplication>
#include <QtEndian>
#include <cstring>

namespace device
{

namespace
{

constexpr quint8 kDifInt8 = 0x01;
constexpr quint8 kDifInt16 = 0x02;
constexpr quint8 kDifInt32 = 0x04;
constexpr quint8 kDifReal = 0x05;
constexpr quint8 kDifInt64WithDife = 0x87;
constexpr quint8 kVifIdentification = 0x79;
constexpr quint8 kDifeDeviceUnit = 0x40;
constexpr quint8 kExtension = 0x80;
constexpr quint8 kCiVariableAnswer = 0x72;

// Manufacturer-specific and extension VIFs as the configurator reads them: first byte high.
constexpr quint16 kVifWeight = 0xFF1E;
constexpr quint16 kVifDuration = 0xFF1D;
constexpr quint16 kVifAppointment = 0xFF1F;
constexpr quint16 kVifErrorFlags = 0xFD17;
constexpr quint16 kVifPulseCounter = 0xFD3A;

constexpr int kConfigurationBaseLength = 36;
constexpr int kPresetBaseLength = 20;
constexpr int kWeightRecordBytes = 7;
constexpr int kUnitRecordBytes = 6;
constexpr int kDurationRecordBytes = 5;
constexpr int kAppointmentRecordBytes = 4;

constexpr int kReplyNumber = 7;
constexpr int kReplyManufacturer = 11;
constexpr int kReplyVersion = 13;
constexpr int kReplyMedium = 14;
constexpr int kReplyValue = 21;
constexpr int kReplyRecords = 19;
constexpr int kFourBytes = 4;

QByteArray floatWire(float value)
{
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    QByteArray out(4, '\0');
    qToLittleEndian(bits, out.data());
    return out;
}

float floatFrom(const QByteArray &fourBytes)
{
    const quint32 bits = qFromLittleEndian<quint32>(fourBytes.constData());
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

quint64 littleEndianValue(const QByteArray &bytes)
{
    quint64 value = 0;
    for (int i = bytes.size() - 1; i >= 0; --i)
        value = value << 8 | static_cast<quint8>(bytes.at(i));
    return value;
}

void appendLittleEndian(QByteArray &out, quint32 value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

QByteArray identificationRecord(int channel, const QByteArray &numberWire, quint16 manufacturer,
                                quint8 version, quint8 medium)
{
    QByteArray record;
    record.append(static_cast<char>(kDifInt64WithDife));
    record.append(difeChain(channel));
    record.append(static_cast<char>(kVifIdentification));
    record.append(numberWire.leftJustified(kFourBytes, '\0', true));
    appendLittleEndian(record, manufacturer, 2);
    record.append(static_cast<char>(version));
    record.append(static_cast<char>(medium));
    return record;
}

QByteArray recordOf(quint8 dif, const char *vifHex, const QByteArray &data)
{
    return QByteArray(1, static_cast<char>(dif)) + QByteArray::fromHex(vifHex) + data;
}

// Data bytes of a fixed-length DIF data field; -1 for variable length and manufacturer data.
int dataLength(quint8 dif)
{
    static const int kLengths[16] = {0, 1, 2, 3, 4, 4, 6, 8, 0, 1, 2, 3, 4, -1, 6, -1};
    return kLengths[dif & 0x0F];
}

} // namespace

int lastOneBitPosition(int channel)
{
    int position = 0;
    for (int bit = 0; bit < 16; ++bit) {
        if (channel & (1 << bit))
            position = bit;
    }
    return position;
}

QByteArray difeChain(int channel)
{
    const int last = lastOneBitPosition(channel);
    QByteArray chain;
    for (int bit = 0; bit <= last; ++bit) {
        if (bit == last)
            chain.append(static_cast<char>(kDifeDeviceUnit));
        else
            chain.append(static_cast<char>(kExtension | ((channel >> bit) & 1 ? kDifeDeviceUnit : 0)));
    }
    return chain;
}

QByteArray vifWireBytes(quint16 vif)
{
    QByteArray bytes(1, static_cast<char>(vif & 0xFF));
    if (vif >> 8)
        bytes.append(static_cast<char>(vif >> 8));
    return bytes;
}

QByteArray channelFetchRequest(quint8 address, int channel)
{
    QByteArray data;
    data.append(static_cast<char>(frames::kReadConfiguration));
    data.append(static_cast<char>(channel));
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, data);
}

std::optional<FetchReplyFields> fetchReplyFields(const QByteArray &reply)
{
    if (reply.size() < kReplyValue + kFourBytes)
        return std::nullopt;
    FetchReplyFields fields;
    fields.deviceNumber = reply.mid(kReplyNumber, kFourBytes);
    fields.manufacturer = reply.mid(kReplyManufacturer, 2);
    fields.version = static_cast<quint8>(reply.at(kReplyVersion));
    fields.medium = static_cast<quint8>(reply.at(kReplyMedium));
    fields.value = reply.mid(kReplyValue, kFourBytes);
    return fields;
}

ConfigurationFrame configurationFrame(quint8 address, const ChannelRecord &record,
                                      const ChannelWriteChoice &choice, const FetchReplyFields &reply)
{
    ConfigurationFrame result;
    const int channel = record.channelNumber;
    const bool twoByteVif = (record.vif >> 8) != 0;

    int length = kConfigurationBaseLength + lastOneBitPosition(channel) + (choice.unit && twoByteVif ? 1 : 0);
    result.lengthTrace.append({QStringLiteral("len start"), length});
    auto leaveOut = [&](bool sent, int bytes, const char *before, const char *after) {
        result.lengthTrace.append({QLatin1String(before), length});
        if (!sent)
            length -= bytes;
        result.lengthTrace.append({QLatin1String(after), length});
    };
    leaveOut(choice.weight, kWeightRecordBytes, "len before ves", "len after ves");
    leaveOut(choice.unit, kUnitRecordBytes, "len before vif", "len after vif");
    leaveOut(choice.duration, kDurationRecordBytes, "len before tau", "len after tau");
    leaveOut(choice.appointment, kAppointmentRecordBytes, "len before align", "len after align");

    QByteArray data;
    if (choice.identification) {
        data =
            identificationRecord(channel, deviceNumberWire(record.deviceNumberBytes), record.manufacturerCode,
                                 quint8(record.version), quint8(record.deviceType));
    } else {
        const quint16 manufacturer =
            choice.manufacturer ? record.manufacturerCode : quint16(littleEndianValue(reply.manufacturer));
        data = identificationRecord(channel, reply.deviceNumber, manufacturer, reply.version, reply.medium);
    }
    if (choice.weight)
        data += recordOf(kDifReal, "FF1E", floatWire(record.weight));
    if (choice.unit)
        data += QByteArray(1, static_cast<char>(kDifReal)) + vifWireBytes(record.vif) + reply.value;
    if (choice.duration) {
        QByteArray duration;
        appendLittleEndian(duration, record.durationMs, 2);
        data += recordOf(kDifInt16, "FF1D", duration);
    }
    if (choice.appointment)
        data += recordOf(kDifInt8, "FF1F", QByteArray(1, static_cast<char>(record.appointment & 0xFF)));

    result.frame = frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, data);
    // The length is the one computed in advance, as the device expects it.
    result.frame[1] = result.frame[2] = static_cast<char>(length);
    return result;
}

QByteArray presetFrame(quint8 address, const ChannelRecord &record)
{
    const int channel = record.channelNumber;
    QByteArray data =
        identificationRecord(channel, deviceNumberWire(record.deviceNumberBytes), record.manufacturerCode,
                             quint8(record.version), quint8(record.deviceType));
    data +=
        QByteArray(1, static_cast<char>(kDifReal)) + vifWireBytes(record.vif) + floatWire(record.presetValue);
    QByteArray frame = frames::mbusLong(frames::kSndUd, address == 0 ? kPointToPointAddress : address,
                                        frames::kCiDataSend, data);
    const int length = kPresetBaseLength + lastOneBitPosition(channel) + ((record.vif >> 8) ? 1 : 0);
    frame[1] = frame[2] = static_cast<char>(length);
    return frame;
}

std::optional<ChannelConfiguration> decodeChannelReply(const QByteArray &reply)
{
    const frames::FrameCheck check = frames::checkMbus(reply);
    if (check.state != frames::Completeness::Complete || check.frameLength < kReplyRecords + 2 ||
        static_cast<quint8>(reply.at(6)) != kCiVariableAnswer)
        return std::nullopt;
    const QByteArray frame = reply.left(check.frameLength);
    mbus::Telegram telegram;
    if (mbus::decodeTelegram(frame, &telegram) != mbus::TelegramError::None ||
        telegram.kind != mbus::TelegramKind::VariableData)
        return std::nullopt;

    ChannelConfiguration c;
    c.deviceNumber = frame.mid(kReplyNumber, kFourBytes);
    c.manufacturer = quint16(littleEndianValue(frame.mid(kReplyManufacturer, 2)));
    c.version = static_cast<quint8>(frame.at(kReplyVersion));
    c.medium = static_cast<quint8>(frame.at(kReplyMedium));

    // The shared decoder walks the records; their values are read here from the bytes as sent, each
    // record's data ending where the next record (or the checksum) begins.
    bool unitSeen = false;
    const QVector<mbus::DataRecord> &records = telegram.records;
    for (int k = 0; k < records.size(); ++k) {
        const mbus::DataRecord &r = records.at(k);
        const quint8 dif = static_cast<quint8>(r.dib.at(0));
        const int length = dataLength(dif);
        if (length <= 0 || r.vib.isEmpty())
            continue; // manufacturer data, variable length, no value
        const int end = k + 1 < records.size() ? records.at(k + 1).offset : frame.size() - 2;
        const QByteArray data = frame.mid(end - length, length);
        const quint16 vifToInt =
            r.vib.size() == 1
                ? quint16(static_cast<quint8>(r.vib.at(0)))
                : quint16(static_cast<quint8>(r.vib.at(0)) << 8 | static_cast<quint8>(r.vib.at(1)));
        const quint8 plainDif = dif & 0x0F;
        if (plainDif == kDifReal && vifToInt == kVifWeight)
            c.weight = floatFrom(data);
        else if (plainDif == kDifInt16 && vifToInt == kVifDuration)
            c.durationMs = quint16(littleEndianValue(data));
        else if (plainDif == kDifInt8 && vifToInt == kVifAppointment)
            c.appointment = static_cast<quint8>(data.at(0));
        else if (dif == kDifInt8 && vifToInt == kVifErrorFlags)
            c.errorFlags = static_cast<quint8>(data.at(0));
        else if (plainDif == kDifInt32 && vifToInt == kVifPulseCounter)
            c.counter = quint32(littleEndianValue(data));
        else if (plainDif == kDifReal && !unitSeen) {
            unitSeen = true;
            // An extension-table VIF (FB, FD) or a manufacturer's (FF) names the unit with its next byte.
            const quint8 first = static_cast<quint8>(r.vib.at(0));
            c.unitVif = r.vib.left(first == 0xFB || first == 0xFD || first == 0xFF ? 2 : 1);
            c.value = floatFrom(data);
        }
    }
    if (!unitSeen)
        return std::nullopt;
    return c;
}

QString errorFlagsText(quint8 flags)
{
    static const char *const kFlagWords[8] = {
        QT_TRANSLATE_NOOP("ChannelFrames", "обрыв линии"),
        QT_TRANSLATE_NOOP("ChannelFrames", "короткое замыкание"),
        QT_TRANSLATE_NOOP("ChannelFrames", "срабатывание аварийного входа"),
        QT_TRANSLATE_NOOP("ChannelFrames", "превышение частоты импульсов"),
        QT_TRANSLATE_NOOP("ChannelFrames", "переполнение счетчика"),
        nullptr,
        nullptr,
        nullptr};
    if (flags == 0)
        return QCoreApplication::translate("ChannelFrames", "Нет");
    QStringList words;
    for (int bit = 0; bit < 8; ++bit) {
        if (!(flags & (1 << bit)))
            continue;
        words << (kFlagWords[bit] ? QCoreApplication::translate("ChannelFrames", kFlagWords[bit])
                                  : QCoreApplication::translate("ChannelFrames", "бит %1").arg(bit));
    }
    return words.join(QStringLiteral(", "));
}

} // namespace device
