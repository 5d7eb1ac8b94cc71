#pragma once

// The exchange table: each operation clicked on the real form against zorva-sim, timed, with the
// bytes it put on the wire, its wire time, its CPU use and, for the documented waits, the budget the
// documented rule allows for that traffic.

#include <QString>
#include <QStringList>

struct TableOptions {
    QList<int> bauds{2400, 9600};
    int marginMs = 50;
    int documentedScanTo = 9; // the documented scan is timed on 0..this and scaled to 0..250
    bool quick = false;       // leaves out the slow documented operations
    QString only;             // only the operations whose names start with this
};

// Prints the table on stdout; returns the rows' target verdicts (empty when all are met).
QStringList runExchangeTable(const TableOptions &options);
