#include "device/unit_files.h"

#include "device/channel_frames.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

namespace device
{

namespace
{

QString tr(const char *text)
{
    return QCoreApplication::translate("UnitFiles", text);
}

// Meaningful lines with their numbers, counted from 1.
QVector<QPair<int, QString>> contentLines(const QByteArray &utf8)
{
    QVector<QPair<int, QString>> lines;
    const QStringList all = QString::fromUtf8(utf8).split(QLatin1Char('\n'));
    for (int i = 0; i < all.size(); ++i) {
        QString line = all.at(i);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.trimmed().isEmpty() || line.trimmed().startsWith(QLatin1Char('#')))
            continue;
        lines.append({i + 1, line});
    }
    return lines;
}

QString lineFault(int line, const QString &what)
{
    return tr("строка %1: %2").arg(line).arg(what);
}

} // namespace

DataFile<UnitEntry> parseUnitFile(const QByteArray &utf8)
{
    DataFile<UnitEntry> file;
    for (const auto &[number, line] : contentLines(utf8)) {
        const QStringList columns = line.split(QLatin1Char('\t'), Qt::SkipEmptyParts);
        if (columns.size() != 2 || columns.at(0).trimmed().isEmpty())
            return {{}, lineFault(number, tr("нужны два столбца через табуляцию"))};
        const QString hex = columns.at(1).trimmed();
        bool isNumber = false;
        const uint vif = hex.toUInt(&isNumber, 16);
        if (!isNumber || (hex.size() != 2 && hex.size() != 4) || vif > 0xFFFF)
            return {
                {},
                lineFault(number, tr("VIF \"%1\" не один или два байта в шестнадцатеричном виде").arg(hex))};
        file.entries.append({columns.at(0).trimmed(), static_cast<quint16>(vif)});
    }
    if (file.entries.isEmpty())
        file.error = tr("нет ни одной единицы");
    return file;
}

DataFile<WeightEntry> parseWeightFile(const QByteArray &utf8)
{
    DataFile<WeightEntry> file;
    for (const auto &[number, line] : contentLines(utf8)) {
        const QStringList columns = line.split(QLatin1Char('\t'), Qt::SkipEmptyParts);
        if (columns.size() != 2 || columns.at(0).trimmed().isEmpty())
            return {{}, lineFault(number, tr("нужны два столбца через табуляцию"))};
        QStringList weights;
        for (const QString &weight : columns.at(1).split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            if (!typedFloat(weightNumberText(weight)))
                return {{}, lineFault(number, tr("вес \"%1\" не начинается с числа").arg(weight.trimmed()))};
            weights << weight.trimmed();
        }
        file.entries.append({columns.at(0).trimmed(), weights});
    }
    if (file.entries.isEmpty())
        file.error = tr("нет ни одного веса");
    return file;
}

QVector<UnitEntry> builtInUnits()
{
    return {{tr("л"), 0x13},      {tr("м³"), 0x16},     {tr("Втч"), 0x03},     {tr("кВтч"), 0x06},
            {tr("МВтч"), 0x01FB}, {tr("ВАРч"), 0x28FF}, {tr("кВАРч"), 0x02FB}, {tr("кДж"), 0x0B},
            {tr("МДж"), 0x0E},    {tr("ГДж"), 0x09FB},  {tr("Мкал"), 0x0DFB},  {tr("имп"), 0x3AFD}};
}

QStringList builtInWeights()
{
    return {tr("1 л/имп"),     tr("10 л/имп"),     tr("100 л/имп"),     tr("1000 л/имп"), tr("1 ккал/имп"),
            tr("10 ккал/имп"), tr("100 ккал/имп"), tr("1000 ккал/имп"), tr("1 Мкал/имп"), tr("10 Мкал/имп"),
            tr("1 кВтч/имп"),  tr("10 кВтч/имп"),  tr("100 кВтч/имп"),  tr("1 кДж/имп"),  tr("10 кДж/имп"),
            tr("100 кДж/имп"), tr("1 МДж/имп"),    tr("10 МДж/имп")};
}

bool readDataFile(const QString &path, QByteArray *contents, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = tr("Файл %1 не прочитан: %2").arg(path, file.errorString());
        return false;
    }
    *contents = file.readAll();
    return true;
}

QString unitTextForWire(const QVector<UnitEntry> &units, const QByteArray &vifWire)
{
    for (const UnitEntry &unit : units) {
        if (vifWireBytes(unit.vif) == vifWire)
            return unit.text;
    }
    return QString();
}

QString weightNumberText(const QString &item)
{
    static const QRegularExpression kLeadingNumber(QStringLiteral("^\\s*([0-9]+(?:[.,][0-9]+)?)"));
    const QRegularExpressionMatch match = kLeadingNumber.match(item);
    return match.hasMatch() ? match.captured(1) : item.trimmed();
}

} // namespace device
