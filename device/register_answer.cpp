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

} // namespace device
