#pragma once

// Numbers typed into the device-settings fields, checked before anything goes on the line.

#include <QString>
#include <QtGlobal>
#include <optional>

namespace device
{

constexpr int kFirstReportDay = 1;
constexpr int kLastReportDay = 31;

// A decimal bus address 0..255 (surrounding spaces allowed).
std::optional<quint8> parseBusAddress(const QString &text);

// A decimal day of the month 1..31.
std::optional<quint8> parseReportDay(const QString &text);

// Box texts for rejected input.
QString reportDayFaultText(const QString &text);
QString addressRangeFaultText(const QString &start, const QString &end);

} // namespace device
