#include "common/table_text.h"

#include <QSaveFile>

namespace
{

const QLatin1Char kSeparator(';');
const QLatin1Char kQuote('"');

QString quoted(const QString &field, bool lineFeedNeedsQuotes)
{
    const bool needsQuotes = field.contains(kSeparator) || field.contains(kQuote) ||
                             (lineFeedNeedsQuotes && field.contains(QLatin1Char('\n')));
    if (!needsQuotes)
        return field;
    QString doubled = field;
    doubled.replace(kQuote, QStringLiteral("\"\""));
    return kQuote + doubled + kQuote;
}

} // namespace

QByteArray channelTableCsv(const TableSnapshot &table)
{
    QStringList header;
    for (const QString &title : table.headers)
        header << quoted(title, false);
    QString text = header.join(kSeparator) + QLatin1Char('\n');
    for (int row = 0; row < table.cells.size(); ++row) {
        QStringList fields;
        for (const std::optional<QString> &cell : table.cells.at(row))
            fields << (cell ? quoted(*cell, true) : QStringLiteral("к") + QString::number(row + 1));
        text += fields.join(kSeparator) + QLatin1Char('\n');
    }
    return QByteArray("\xEF\xBB\xBF") + text.toUtf8();
}

QByteArray plainTableText(const TableSnapshot &table)
{
    QString text = table.headers.join(kSeparator) + QLatin1Char('\n');
    for (const QVector<std::optional<QString>> &row : table.cells) {
        QStringList fields;
        for (const std::optional<QString> &cell : row)
            fields << cell.value_or(QString());
        text += fields.join(kSeparator) + QLatin1Char('\n');
    }
    return text.toUtf8();
}

bool writeFileReplacing(const QString &path, const QByteArray &bytes, QString *error)
{
    // Unbuffered, so a short write (a full disk) shows in write()'s count: a buffered QSaveFile reports
    // such a flush as committed and would replace the file with a truncated one.
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(bytes) == bytes.size() &&
        file.commit())
        return true;
    if (error)
        *error = file.errorString();
    return false;
}
