#pragma once

// JSON form of decoded M-Bus replies, for scripts and for comparing with other tools:
// {"pieces": [{"type": "telegram" | "acknowledgement" | "failure", "offset": n, ...}]}

#include "common/mbus_telegram.h"

#include <QJsonObject>
#include <QVector>

QJsonObject receivedToJson(const QVector<mbus::ReceivedPiece> &pieces);
