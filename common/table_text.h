#pragma once

// Text files made from a table as it stands on screen: the channel table's CSV and the journal's
// plain semicolon export. A snapshot keeps the pure code free of widgets.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <optional>

struct TableSnapshot {
    QStringList headers;                            // one per column; empty where a column has none
    QVector<QVector<std::optional<QString>>> cells; // rows of cells; nullopt where a cell has no item
};

// UTF-8 with a byte-order mark, ";" between fields, "\n" after every line. A data field holding
// ";", '"' or a line feed (a header field: ";" or '"') is quoted with its quotes doubled; a cell
// without an item is written "к" followed by its row number counted from 1.
QByteArray channelTableCsv(const TableSnapshot &table);

// UTF-8 without a byte-order mark, ";" between fields, "\n" after every line, nothing quoted; a cell
// without an item is an empty field.
QByteArray plainTableText(const TableSnapshot &table);

// Writes through a temporary file that replaces `path` only when complete, so a failed write leaves
// an existing file as it was. On false, `error` says why.
bool writeFileReplacing(const QString &path, const QByteArray &bytes, QString *error = nullptr);
