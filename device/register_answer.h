#pragma once

// Answers to register reads (function 3) taken by the fixed-pause exchange.
//
//   good answer       [0] address [1] 03 [2] 2 * count [3 ..] register bytes, high first [..] CRC
//   exception answer  [0] address [1] 83 [2] code [3..4] CRC
//   write answer      [0] address [1] 10 [2..3] register [4..5] count [6..7] CRC   (the request's echo)
//   write exception   [0] address [1] 90 [2] code [3..4] CRC
//
// On a slow line one answer may reach the reader in several entries. A command reads the first
// entry; when it is shorter than the command needs, the following entries are joined to it until
// the bytes suffice, so no field is read past the end of what arrived.

#include <QByteArray>
#include <QVector>
#include <QtGlobal>

namespace device
{

// The first entry, followed by as many later entries as it takes to reach `needed` bytes.
QByteArray joinAnswerEntries(const QVector<QByteArray> &entries, int needed);

// Bytes up to and including the last register byte of a read of `count` registers.
constexpr int registerAnswerBytes(quint16 count)
{
    return 3 + 2 * count;
}

enum class RegisterAnswerFault {
    None,
    NoAnswer,
    Exception,   // function code with its top bit set
    NotAnAnswer, // another function, another byte count, or too short: noise or a foreign frame
};

RegisterAnswerFault checkRegisterReadAnswer(const QByteArray &answer, quint16 count);

// Bytes of a write answer before its CRC.
constexpr int kRegisterWriteAnswerBytes = 6;

struct RegisterWriteCheck {
    RegisterAnswerFault fault;
    quint8 exceptionCode; // the device's error code, for Exception
};

// A write answer must echo the register and the count that were written.
RegisterWriteCheck checkRegisterWriteAnswer(const QByteArray &answer, quint16 reg, quint16 count);

} // namespace device
