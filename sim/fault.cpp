#include "sim/fault.h"

#include "link/frames.h"
#include "sim/protocol_engine.h"

#include <QRandomGenerator>
#include <QStringList>

namespace sim
{

namespace
{

constexpr int kNoiseBytes = 3;
constexpr int kSplitPieces = 3;

bool isLongFrame(const QByteArray &answer)
{
    return answer.size() > 6 && static_cast<quint8>(answer.at(0)) == frames::kLongStart;
}

QByteArray withWrongChecksum(QByteArray answer, RequestFraming framing)
{
    switch (framing) {
    case RequestFraming::Register:
        answer[answer.size() - 2] = static_cast<char>(answer.at(answer.size() - 2) + 1);
        return answer;
    case RequestFraming::MBus:
        if (isLongFrame(answer))
            answer[answer.size() - 2] = static_cast<char>(answer.at(answer.size() - 2) + 1);
        return answer;
    }
    return answer;
}

// One byte more, checksum recomputed: only the length betrays the fault.
QByteArray withWrongLength(const QByteArray &answer, RequestFraming framing)
{
    switch (framing) {
    case RequestFraming::Register: {
        QByteArray longer = answer.left(answer.size() - 2) + QByteArray(1, '\0');
        const quint16 crc = frames::crc16(longer);
        longer.append(static_cast<char>(crc & 0xFF));
        longer.append(static_cast<char>(crc >> 8));
        return longer;
    }
    case RequestFraming::MBus:
        if (!isLongFrame(answer))
            return answer + answer;
        {
            QByteArray longer = answer.left(answer.size() - 2) + QByteArray(1, '\0');
            longer.append(static_cast<char>(frames::sum8(longer.mid(4))));
            longer.append(static_cast<char>(frames::kStop));
            return longer;
        }
    }
    return answer;
}

QByteArray exceptionFor(const RequestFrame &request, quint8 deviceAddress)
{
    switch (request.framing) {
    case RequestFraming::Register:
        return ProtocolEngine::registerException(deviceAddress, static_cast<quint8>(request.bytes.at(1)),
                                                 ProtocolEngine::kIllegalAddress);
    case RequestFraming::MBus:
        return ProtocolEngine::applicationError(deviceAddress);
    }
    return {};
}

QByteArray noise(QRandomGenerator &random)
{
    QByteArray bytes;
    while (bytes.size() < kNoiseBytes) {
        const quint8 b = static_cast<quint8>(random.bounded(256));
        if (b != frames::kAck && b != frames::kLongStart)
            bytes.append(static_cast<char>(b));
    }
    return bytes;
}

QList<QByteArray> split(const QByteArray &answer)
{
    QList<QByteArray> pieces;
    const int size = (answer.size() + kSplitPieces - 1) / kSplitPieces;
    for (int at = 0; at < answer.size(); at += size)
        pieces.append(answer.mid(at, size));
    return pieces;
}

const QList<QPair<Fault, QString>> &names()
{
    static const QList<QPair<Fault, QString>> table = {
        {Fault::None, QStringLiteral("none")},
        {Fault::Silence, QStringLiteral("silence")},
        {Fault::NoiseBeforeAnswer, QStringLiteral("noise")},
        {Fault::SplitAnswer, QStringLiteral("split")},
        {Fault::WrongChecksum, QStringLiteral("checksum")},
        {Fault::WrongLength, QStringLiteral("length")},
        {Fault::ExceptionAnswer, QStringLiteral("exception")},
        {Fault::TruncatedAnswer, QStringLiteral("truncated")},
    };
    return table;
}

} // namespace

QString faultName(Fault fault)
{
    for (const auto &entry : names()) {
        if (entry.first == fault)
            return entry.second;
    }
    return {};
}

bool faultFromName(const QString &name, Fault *fault)
{
    for (const auto &entry : names()) {
        if (entry.second == name) {
            *fault = entry.first;
            return true;
        }
    }
    return false;
}

QStringList faultNames()
{
    QStringList list;
    for (const auto &entry : names())
        list.append(entry.second);
    return list;
}

QList<QByteArray> answerPieces(const QByteArray &answer, const RequestFrame &request, quint8 deviceAddress,
                               Fault fault, QRandomGenerator &random)
{
    if (answer.isEmpty())
        return {};
    switch (fault) {
    case Fault::None:
        return {answer};
    case Fault::Silence:
        return {};
    case Fault::NoiseBeforeAnswer:
        return {noise(random) + answer};
    case Fault::SplitAnswer:
        return split(answer);
    case Fault::WrongChecksum:
        return {withWrongChecksum(answer, request.framing)};
    case Fault::WrongLength:
        return {withWrongLength(answer, request.framing)};
    case Fault::ExceptionAnswer:
        return {exceptionFor(request, deviceAddress)};
    case Fault::TruncatedAnswer:
        if (answer.size() < 2)
            return {};
        return {answer.left(answer.size() / 2)};
    }
    return {answer};
}

} // namespace sim
