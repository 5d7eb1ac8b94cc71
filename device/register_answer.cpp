#include "device/register_answer.h"

#include "link/frames.h"

namespace device
{

QByteArray joinAnswerEntries(const QVector<QByteArray> &entries, int needed)
{
    QByteArray joined;
    for (const QByteArray &entry : entries) {
        if (!joined.isEmpty() && joined.size() >= needed)
            break;
        joined += entry;
    }
    return joined;
}

RegisterAnswerFault checkRegisterReadAnswer(const QByteArray &answer, quint16 count)
{
    if (answer.isEmpty())
        return RegisterAnswerFault::NoAnswer;
    if (answer.size() < 3)
        return RegisterAnswerFault::NotAnAnswer;
    const quint8 function = static_cast<quint8>(answer.at(1));
    if (function & 0x80)
        return RegisterAnswerFault::Exception;
    if (function != frames::kReadRegisters || static_cast<quint8>(answer.at(2)) != 2 * count ||
        answer.size() < registerAnswerBytes(count))
        return RegisterAnswerFault::NotAnAnswer;
    return RegisterAnswerFault::None;
}

RegisterWriteCheck checkRegisterWriteAnswer(const QByteArray &answer, quint16 reg, quint16 count)
{
    if (answer.isEmpty())
        return {RegisterAnswerFault::NoAnswer, 0};
    if (answer.size() >= 3 && (static_cast<quint8>(answer.at(1)) & frames::kErrorFlag))
        return {RegisterAnswerFault::Exception, static_cast<quint8>(answer.at(2))};
    const QByteArray echo = answer.mid(1, kRegisterWriteAnswerBytes - 1);
    QByteArray expected;
    expected.append(static_cast<char>(frames::kWriteRegisters));
    expected.append(static_cast<char>(reg >> 8)).append(static_cast<char>(reg & 0xFF));
    expected.append(static_cast<char>(count >> 8)).append(static_cast<char>(count & 0xFF));
    return {echo == expected ? RegisterAnswerFault::None : RegisterAnswerFault::NotAnAnswer, 0};
}

} // namespace device
