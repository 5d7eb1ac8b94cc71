#include "device/raw_command.h"

#include "link/frames.h"

#include <QCoreApplication>

namespace device
{

namespace
{
QString withoutSpaces(const QString &text)
{
    QString digits = text;
    digits.remove(QLatin1Char(' '));
    return digits.trimmed();
}

bool isHexDigit(QChar c)
{
    return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
           (c >= QLatin1Char('a') && c <= QLatin1Char('f')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
}
} // namespace

RawCommand parseRawCommand(const QString &text)
{
    const QString digits = withoutSpaces(text);
    if (digits.isEmpty())
        return {RawCommandFault::Empty, {}};
    for (QChar c : digits) {
        if (!isHexDigit(c))
            return {RawCommandFault::NotHex, {}};
    }
    if (digits.size() % 2 != 0)
        return {RawCommandFault::OddDigits, {}};
    QByteArray bytes;
    for (int i = 0; i < digits.size(); i += 2)
        bytes.append(static_cast<char>(digits.mid(i, 2).toUInt(nullptr, 16)));
    return {RawCommandFault::None, bytes};
}

QString rawCommandFaultText(RawCommandFault fault, const QString &text)
{
    switch (fault) {
    case RawCommandFault::None:
        return {};
    case RawCommandFault::Empty:
        return QCoreApplication::translate("device", "Команда не введена");
    case RawCommandFault::OddDigits:
        return QCoreApplication::translate("device",
                                           "Неверная команда: %1. Нечётное число шестнадцатеричных цифр, "
                                           "каждый байт набирается двумя цифрами")
            .arg(text);
    case RawCommandFault::NotHex:
        return QCoreApplication::translate("device",
                                           "Неверная команда: %1. Допустимы только шестнадцатеричные цифры "
                                           "0-9 и A-F")
            .arg(text);
    }
    return {};
}

quint8 rawCommandChecksum(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return 0;
    const int from = static_cast<quint8>(bytes.at(0)) == frames::kShortStart ? 1 : 4;
    return frames::sum8(bytes.mid(from));
}

QByteArray completeRawCommand(const QByteArray &bytes)
{
    QByteArray frame = bytes;
    frame.append(static_cast<char>(rawCommandChecksum(bytes)));
    frame.append(static_cast<char>(frames::kStop));
    return frame;
}

int halfByteCount(const QString &text)
{
    return withoutSpaces(text).size();
}

} // namespace device
