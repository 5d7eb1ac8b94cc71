#pragma once

// Readable Russian text of M-Bus replies: the header, then one line per data record with its
// value in the vocabulary's unit, its function, storage number, tariff and subunit.

#include "common/mbus_telegram.h"

#include <QByteArray>
#include <QString>

// Renders everything received: each long frame in turn, single-character acknowledgements (E5)
// as such; bytes that do not make a frame get a Russian error message with the byte position.
QString telegramToRussianText(const QByteArray &bytes);

// Renders one decoded telegram.
QString telegramText(const mbus::Telegram &telegram);

// One data record as a line without its number, e.g.
// "Объем воды = 12.345 м.куб (текущее значение, хранение 0)".
QString recordText(const mbus::DataRecord &record);

// Russian text of an application error reply (CI 0x70).
QString applicationErrorText(bool hasCode, quint8 code);
