#include "form/table_snapshot.h"

#include <QTableWidget>

TableSnapshot snapshotOf(const QTableWidget &table)
{
    TableSnapshot snapshot;
    for (int column = 0; column < table.columnCount(); ++column) {
        const QTableWidgetItem *header = table.horizontalHeaderItem(column);
        snapshot.headers << (header ? header->text() : QString());
    }
    for (int row = 0; row < table.rowCount(); ++row) {
        QVector<std::optional<QString>> cells;
        for (int column = 0; column < table.columnCount(); ++column) {
            const QTableWidgetItem *item = table.item(row, column);
            cells.append(item ? std::optional<QString>(item->text()) : std::nullopt);
        }
        snapshot.cells.append(cells);
    }
    return snapshot;
}
