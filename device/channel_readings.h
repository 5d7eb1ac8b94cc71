#pragma once

// A channel's pulse counter and present value from register reads (function 3, two registers each):
//   answer  [0] address [1] 03 [2] 04 [3..4] first register (low half) [5..6] second register (high half)
// Both registers are sent high byte first, so the 32-bit value is b5 b6 b3 b4 from the most significant
// byte down. The counter is written back the same way (function 16, two registers, four data bytes).

#include <QByteArray>
#include <QtGlobal>

namespace device
{

// Bytes 5, 6, 3, 4 of the answer, in this order, up to the first one past the answer's end.
QByteArray readingBytes(const QByteArray &answer);

// The four reading bytes as an unsigned number, most significant first; missing low-order bytes are 0.
quint32 readingNumber(const QByteArray &readingBytes);

// The same bits as an IEEE 754 single-precision float.
float readingFloat(const QByteArray &readingBytes);

// Data bytes of a counter write: the low register, then the high register, each high byte first.
QByteArray counterWriteData(quint32 counter);

} // namespace device
