#include "device/device_information.h"

#include "common/mbus_telegram.h"
#include "device/identification.h"
#include "link/frames.h"

#include <QCoreApplication>

namespace device
{

namespace
{

constexpr quint8 kRspUd = 0x08;
constexpr quint8 kAnswerLength = 0x2A;
constexpr quint8 kHeader[] = {frames::kLongStart, kAnswerLength, kAnswerLength, frames::kLongStart, kRspUd};

quint8 byteAt(const QByteArray &bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

QString hexPair(const QByteArray &bytes, int high, int low)
{
    return QStringLiteral("%1%2")
        .arg(byteAt(bytes, high), 2, 16, QLatin1Char('0'))
        .arg(byteAt(bytes, low), 2, 16, QLatin1Char('0'));
}

struct VersionChannels {
    const char *first;
    const char *second;
    quint8 channels;
};
constexpr VersionChannels kVersionChannels[] = {
    {"0310", "0410", 2}, {"0300", "0400", 4}, {"0320", "0420", 10}, {"0330", "0430", 16}};

} // namespace

InformationCheck checkInformationAnswer(const QByteArray &answer)
{
    InformationCheck check{InformationFault::None, 0, 0, -1};
    if (answer.size() != kInformationAnswerBytes) {
        check.fault = InformationFault::WrongLength;
        return check;
    }
    const int size = answer.size();
    check.computedSum = frames::sum8(answer.mid(4, size - 6));
    check.stopByte = byteAt(answer, size - 1);
    if (check.computedSum != byteAt(answer, size - 2)) {
        check.fault = InformationFault::WrongChecksum;
        return check;
    }
    for (int i = 0; i < int(sizeof(kHeader)); ++i) {
        if (byteAt(answer, i) != kHeader[i]) {
            check.fault = InformationFault::WrongHeader;
            check.headerIndex = i;
            return check;
        }
    }
    return check;
}

QString informationFaultText(const InformationCheck &check)
{
    switch (check.fault) {
    case InformationFault::None:
        return {};
    case InformationFault::WrongLength:
        return QCoreApplication::translate("device", "Неверная длина ответа");
    case InformationFault::WrongChecksum:
        return QCoreApplication::translate("device", "Ошибка контрольной суммы") +
               QString::number(check.stopByte, 16);
    case InformationFault::WrongHeader:
        return QCoreApplication::translate("device", "Неверный ответ с байта") + QLatin1Char(' ') +
               QString::number(check.headerIndex);
    }
    return {};
}

DeviceInformation decodeInformationAnswer(const QByteArray &answer)
{
    Q_ASSERT(answer.size() == kInformationAnswerBytes);
    DeviceInformation info{};
    info.identification = identificationText(answer.mid(7, 4));
    info.manufacturerCode = static_cast<quint16>(byteAt(answer, 11) | byteAt(answer, 12) << 8);
    info.manufacturer = mbus::manufacturerLetters(info.manufacturerCode);
    info.mbusVersion = byteAt(answer, 13);
    info.softwareVersion = hexPair(answer, 23, 22);
    info.softwareCode = hexPair(answer, 28, 27);
    info.buildNumber = static_cast<quint16>(byteAt(answer, 33) << 8 | byteAt(answer, 32));
    info.reportDay = byteAt(answer, 37);
    info.dateTimeBytes = answer.mid(40, kMbusDateTimeBytes);
    info.dateTime = decodeMbusDateTime(info.dateTimeBytes);
    return info;
}

quint8 channelCountForVersion(const QString &softwareVersion)
{
    for (const VersionChannels &entry : kVersionChannels) {
        if (softwareVersion == QLatin1String(entry.first) || softwareVersion == QLatin1String(entry.second))
            return entry.channels;
    }
    return 0;
}

} // namespace device
