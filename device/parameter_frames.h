#pragma once

// Frames of the device-settings commands. All M-Bus; L counts C, A, CI and the data.
//
//   read configuration 68 05 05 68 53 A  51 7F 00           CS 16
//   set bus address    68 06 06 68 53 A  51 01 7A new       CS 16
//   identification     68 09 09 68 73 FE 51 0C 79 b0 b1 b2 b3 CS 16   (b0 least significant pair)
//   speed              68 03 03 68 53 A  code               CS 16   (the code stands as the CI field)
//   report day         68 07 07 68 53 A  51 01 FF 1A day    CS 16
//   clock              68 0B 0B 68 53 A  51 06 6D s m h d mo 00 CS 16
//   probe (SND_NKE)    10 40 A CS 16
//   REQ_UD2            10 7B FE 79 16    (point-to-point address, whatever the working address)
//
// Register reads: bus address at register 5, speed index at register 6 (one register each, the value
// in its low byte, answer offset 4).

#include "device/clock_codec.h"

#include <QByteArray>
#include <QtGlobal>

namespace device
{

constexpr quint8 kPointToPointAddress = 0xFE;
constexpr quint8 kAlwaysListedAddress = 254;
constexpr quint16 kOneRegister = 1;
constexpr int kOneRegisterValueOffset = 4;

QByteArray informationRequest(quint8 address);
QByteArray setAddressFrame(quint8 address, quint8 newAddress);
// Needs the four identification bytes (identificationBytes() or the all-FF preparation bytes).
QByteArray identificationFrame(const QByteArray &fourBytes);
QByteArray identificationPreparationFrame();
QByteArray speedFrame(quint8 address, quint8 speedCode);
QByteArray reportDayFrame(quint8 address, quint8 day);
QByteArray clockWriteFrame(quint8 address, const MbusDateTimeEncoding &dateTime);
QByteArray probeFrame(quint8 address);
QByteArray reqUd2Frame();

} // namespace device
