#include "device/user_input.h"

#include <QCoreApplication>

namespace device
{

namespace
{
std::optional<int> parseDecimal(const QString &text, int low, int high)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok, 10);
    if (!ok || value < low || value > high)
        return std::nullopt;
    return value;
}
} // namespace

std::optional<quint8> parseBusAddress(const QString &text)
{
    if (const std::optional<int> value = parseDecimal(text, 0, 255))
        return static_cast<quint8>(*value);
    return std::nullopt;
}

std::optional<quint8> parseReportDay(const QString &text)
{
    if (const std::optional<int> value = parseDecimal(text, kFirstReportDay, kLastReportDay))
        return static_cast<quint8>(*value);
    return std::nullopt;
}

QString reportDayFaultText(const QString &text)
{
    if (text.trimmed().isEmpty())
        return QCoreApplication::translate("device", "Отчетный день не введён");
    return QCoreApplication::translate("device", "Неверный отчетный день: %1. Введите число от %2 до %3")
        .arg(text)
        .arg(kFirstReportDay)
        .arg(kLastReportDay);
}

QString addressRangeFaultText(const QString &start, const QString &end)
{
    return QCoreApplication::translate("device",
                                       "Неверный диапазон адресов: %1 - %2. Введите адреса от 0 до 255")
        .arg(start, end);
}

} // namespace device
