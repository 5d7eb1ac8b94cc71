#pragma once

// Bytes written as hexadecimal text, as engineers paste captured telegrams: pairs of hex digits,
// in upper or lower case, in tokens separated by any whitespace ("68 1B 1B 68", "681b1b68").

#include <QByteArray>
#include <QString>

// Reads every token as a run of digit pairs. Fails on a non-hex character or a token with an odd
// number of digits; `badToken` then receives the token's index (from 0).
bool parseHexDump(const QString &text, QByteArray *bytes, int *badToken = nullptr);

// "68 1B 1B 68": upper case, one space between bytes.
QString hexDump(const QByteArray &bytes);
