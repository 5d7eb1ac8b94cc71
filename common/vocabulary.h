#pragma once

// Code-to-text lookups of the metering vocabulary, and the reverse lookup of a unit word.
// Every text goes through QObject::tr, so a translation file can replace it. Unknown codes fall
// back in three deliberate ways: empty text (value kinds, units), plain "Неизвестно" (media), or
// the code in hexadecimal followed by "- Неизвестно" / "- Неизвестный" (the server's own tables).

#include <QString>
#include <QtGlobal>

// "0x" and the code in upper-case hexadecimal, left-padded with "0" to `digits` digits:
// hexCode(7, 4) is "0x0007", hexCode(0xAB, 2) is "0xAB".
QString hexCode(quint16 code, int digits);

QString valueKindName(quint8 code);     // 1..56, else empty
QString unitName(quint8 code);          // 1..48, else empty
QString mediumName(quint8 code);        // the EN 13757-3 medium byte, else "Неизвестно"
QString userTypeName(quint16 code);     // else "0xNNNN- Неизвестный"
QString userStateName(quint8 code);     // else "0xNN- Неизвестный"
QString resourceTypeName(quint16 code); // else "0xNNNN- Неизвестно"
QString deviceStateName(quint16 code);  // else "0xNNNN- Неизвестно"
QString objectTypeName(quint16 code);   // else "0xNNNN- Неизвестно"
QString meterModelName(quint8 code);    // else "0xNN- Неизвестно"
QString eventName(quint8 code);         // else "0xNN- Неизвестно"

// Reads a reading such as "12,5 kWh": exactly two space-separated parts, a number (decimal comma
// or point, optional exponent) and a unit word of the unit table. On success stores the number
// and the unit code; on failure leaves both untouched and returns false.
bool parseValueWithUnit(quint8 medium, const QString &text, double *value, quint8 *unitCode);

// The value kind a reading of `unitCode` has on a meter of `medium`: energy of an electricity
// meter is "Электроэнергия", of a heat meter "Тепловая энергия"; volume of a water meter is
// "Объем воды", and so on. 0 when the unit says nothing about the kind.
quint8 valueKindFor(quint8 medium, quint8 unitCode);
