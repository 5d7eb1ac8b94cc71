#include "device/identification.h"

namespace device
{

QByteArray identificationBytes(quint32 number)
{
    if (number > kMaxIdentification)
        return {};
    const QString digits = QStringLiteral("%1").arg(number, 8, 10, QLatin1Char('0'));
    QByteArray bytes;
    for (int pair = 3; pair >= 0; --pair)
        bytes.append(static_cast<char>(digits.mid(pair * 2, 2).toUInt(nullptr, 16)));
    return bytes;
}

QString identificationText(const QByteArray &fourBytes)
{
    if (fourBytes.size() != 4)
        return {};
    QString text;
    for (int i = 3; i >= 0; --i)
        text += QStringLiteral("%1").arg(static_cast<quint8>(fourBytes.at(i)), 2, 16, QLatin1Char('0'));
    return text;
}

} // namespace device
