#pragma once

// The read-configuration answer (the request is informationRequest()), exactly 48 bytes (RSP_UD):
//   [0..4]   68 2A 2A 68 08
//   [5] A    [6] CI
//   [7..10]  identification number, BCD, least significant pair first
//   [11..12] manufacturer code, low byte first
//   [13]     M-Bus version
//   [22..23] software version (text: hex of [23] then [22])
//   [27..28] software code    (text: hex of [28] then [27])
//   [32..33] build number, low byte first
//   [37]     report day
//   [40..45] date and time, M-Bus six-byte form
//   [46]     checksum of [4..45]   [47] 16
// The bytes in between (medium, access number, status, record headers) are not read.

#include "device/clock_codec.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace device
{

constexpr int kInformationAnswerBytes = 48;

// The checks run in this order; the first failing one is reported.
enum class InformationFault { None, WrongLength, WrongChecksum, WrongHeader };

struct InformationCheck {
    InformationFault fault;
    quint8 computedSum; // sum of bytes 4 .. size-3, logged whenever the length was right
    quint8 stopByte;    // reported with a checksum fault
    int headerIndex;    // first header byte that differs
};

InformationCheck checkInformationAnswer(const QByteArray &answer);

// The box text of a failed check ("" when it passed).
QString informationFaultText(const InformationCheck &check);

struct DeviceInformation {
    QString identification; // eight hex digits
    quint16 manufacturerCode;
    QString manufacturer;
    quint8 mbusVersion;
    QString softwareVersion; // four lower-case hex digits
    QString softwareCode;
    quint16 buildNumber;
    quint8 reportDay;
    QByteArray dateTimeBytes;
    MbusDateTimeFields dateTime;
};

// Decodes an answer that passed checkInformationAnswer.
DeviceInformation decodeInformationAnswer(const QByteArray &answer);

// Channels of the device by its software version text: 2, 4, 10, 16, or 0 when unknown.
quint8 channelCountForVersion(const QString &softwareVersion);

} // namespace device
