#pragma once

// The identification number of an M-Bus device header: four bytes of packed BCD, least
// significant pair first.
//   number 10203040  <->  bytes 40 30 20 10

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace device
{

constexpr quint32 kMaxIdentification = 99999999;

// The four wire bytes of a decimal identification number of up to eight digits (each pair of
// decimal digits read as a hex byte). An empty array when the number has more than eight digits.
QByteArray identificationBytes(quint32 number);

// The eight hex digits of four identification bytes, most significant pair first, leading zeros
// kept; bytes that are not BCD show as their hex digits. An empty string unless exactly four bytes.
QString identificationText(const QByteArray &fourBytes);

} // namespace device
