#pragma once

// Faults the simulated device can put into its answers, and how an answer is changed by each.

#include "sim/request_assembler.h"

#include <QByteArray>
#include <QList>
#include <QString>

class QRandomGenerator;

namespace sim
{

enum class Fault {
    None,
    Silence,           // no answer at all
    NoiseBeforeAnswer, // a few random bytes (never E5 or 68) before the answer
    SplitAnswer,       // the answer in three pieces with long gaps between them
    WrongChecksum,     // CRC-16 or M-Bus sum off by one (E5 carries none and goes out unchanged)
    WrongLength,       // one byte added before the checksum, which is then recomputed
    ExceptionAnswer,   // register framing: function | 0x80, code 2; M-Bus: application error frame
    TruncatedAnswer,   // the answer's second half never comes
};

// Names used on the command line and in the README: none, silence, noise, split, checksum, length,
// exception, truncated. faultFromName returns false for an unknown name.
QString faultName(Fault fault);
bool faultFromName(const QString &name, Fault *fault);
QStringList faultNames();

// The bytes the device puts on the line for `answer`, in pieces sent with a gap between them.
// No piece at all means silence. `deviceAddress` addresses an exception answer.
QList<QByteArray> answerPieces(const QByteArray &answer, const RequestFrame &request, quint8 deviceAddress,
                               Fault fault, QRandomGenerator &random);

} // namespace sim
