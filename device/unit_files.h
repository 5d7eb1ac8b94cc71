#pragma once

// The channel data files, read relative to the application path. Both are UTF-8 text, one entry a line;
// blank lines and lines starting with "#" are skipped.
//
// "data/ZORVA VIF.txt": the units offered for a channel.
//   <unit text> TAB <VIF in hex, one or two bytes>
//   The hex spelling is the 16-bit value whose low byte goes on the wire first: "02FB" is sent as FB 02.
// "data/ZORVA1.txt": the pulse weights offered for a unit.
//   <unit text> TAB <weight>;<weight>;...   each weight as shown, its leading number being the value

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

namespace device
{

struct UnitEntry {
    QString text;
    quint16 vif;
};

struct WeightEntry {
    QString unit;
    QStringList weights;
};

template <typename Entry> struct DataFile {
    QVector<Entry> entries;
    QString error; // empty when the file was read whole; otherwise a Russian sentence naming the line
};

DataFile<UnitEntry> parseUnitFile(const QByteArray &utf8);
DataFile<WeightEntry> parseWeightFile(const QByteArray &utf8);

// Used when a file is missing or malformed.
QVector<UnitEntry> builtInUnits();
QStringList builtInWeights();

// The file's contents; on false `error` names the file and the reason.
bool readDataFile(const QString &path, QByteArray *contents, QString *error);

// The unit whose VIF goes on the wire as `vifWire`; an empty text when none does.
QString unitTextForWire(const QVector<UnitEntry> &units, const QByteArray &vifWire);

// The leading number of a weight item ("1000 л/имп" -> "1000"); the text itself when it has none.
QString weightNumberText(const QString &item);

} // namespace device
