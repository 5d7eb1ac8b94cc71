#pragma once

// Russian texts of the status byte of an M-Bus reply header.
//   bits 1-0  application state: 00 no error, 01 busy, 10 application error, 11 abnormal condition
//   bit 2     power low         bit 3  permanent error     bit 4  temporary error
//   bits 7-5  manufacturer specific
// In the fixed data structure bit 7 tells the counters are binary and bit 6 that they are stored
// values of a fixed date, instead of the manufacturer's flags.

#include <QStringList>
#include <QtGlobal>

// One text per set condition, led by "Ошибок нет" when none of the error bits 0-4 is set.
QStringList mbusStatusTexts(quint8 status, bool fixedStructure = false);
