#include "device/channel_record.h"

#include <QCoreApplication>

namespace device
{

namespace
{

constexpr int kDeviceNumberDigits = 8;
constexpr int kIdentificationBytes = 4;
constexpr int kLetterBase = 64;

int digitValue(QChar c)
{
    return c.isDigit() ? c.digitValue() : 0;
}

QString tr(const char *text)
{
    return QCoreApplication::translate("ChannelRecord", text);
}

} // namespace

QByteArray deviceNumberBcd(const QString &text)
{
    const QString padded = text.rightJustified(kDeviceNumberDigits, QLatin1Char('0'));
    QByteArray bytes;
    for (int i = 0; i + 1 < padded.size(); i += 2)
        bytes.append(static_cast<char>(digitValue(padded.at(i)) * 16 + digitValue(padded.at(i + 1))));
    return bytes;
}

QByteArray deviceNumberWire(const QByteArray &bcdMostSignificantFirst)
{
    QByteArray wire = bcdMostSignificantFirst.left(kIdentificationBytes);
    std::reverse(wire.begin(), wire.end());
    return wire;
}

quint16 packManufacturer(const QString &text)
{
    const QByteArray letters = text.toUpper().toLatin1();
    auto letter = [&letters](int i) { return i < letters.size() ? static_cast<quint8>(letters.at(i)) : 0; };
    const int code =
        (letter(0) - kLetterBase) * 1024 + (letter(1) - kLetterBase) * 32 + (letter(2) - kLetterBase);
    return static_cast<quint16>(code & 0xFFFF);
}

QString unpackManufacturer(quint16 code)
{
    QString letters;
    for (int shift : {10, 5, 0})
        letters.append(QChar(((code >> shift) & 31) + kLetterBase));
    return letters;
}

std::optional<float> typedFloat(const QString &text)
{
    QString number = text.trimmed();
    number.replace(QLatin1Char(','), QLatin1Char('.'));
    bool isNumber = false;
    const float value = number.toFloat(&isNumber);
    if (!isNumber)
        return std::nullopt;
    return value;
}

std::optional<float> pulseWeight(const QString &text, bool electricity, const QString &unitText)
{
    const std::optional<float> typed = typedFloat(text);
    if (!typed || !electricity)
        return typed;
    const QString unit = unitText.trimmed();
    if (unit == QStringLiteral("Втч") || unit == QStringLiteral("ВАРч"))
        return 1000 / *typed;
    if (unit == QStringLiteral("кВтч") || unit == QStringLiteral("кВАРч"))
        return 1 / *typed;
    return typed;
}

std::optional<quint16> typedVif(const QString &text)
{
    const QString digits = text.trimmed();
    bool isNumber = false;
    const uint vif = digits.toUInt(&isNumber, 16);
    if (digits.isEmpty() || !isNumber || vif > 0xFFFF)
        return std::nullopt;
    return static_cast<quint16>(vif);
}

std::optional<quint16> typedDuration(const QString &text)
{
    bool isNumber = false;
    const uint duration = text.trimmed().toUInt(&isNumber, 10);
    if (!isNumber || duration > 0xFFFF)
        return std::nullopt;
    return static_cast<quint16>(duration);
}

QString appointmentShortText(quint8 code)
{
    switch (code) {
    case 0:
        return tr("Не подключен");
    case 1:
        return tr("Счётн.");
    case 2:
        return tr("Авар.имп.");
    case 3:
        return tr("Счётн.вход намур");
    case 4:
        return tr("Авар.вход намур");
    }
    return QStringLiteral("0x%1").arg(code, 2, 16, QLatin1Char('0'));
}

QString appointmentTableText(quint8 code)
{
    switch (code) {
    case 3:
        return tr("Счетный вход намур");
    case 4:
        return tr("Аварийный вход намур");
    }
    return appointmentShortText(code);
}

} // namespace device
