#pragma once

#include "common/table_text.h"

class QTableWidget;

// Headers and cell texts of a table widget as they stand on screen.
TableSnapshot snapshotOf(const QTableWidget &table);
