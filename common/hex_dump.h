#pragma once

// Bytes written as hexadecimal text, as engineers paste captured telegrams: pairs of hex digits,
// in upper or lower case, in tokens separated by any whitespace ("68 1B 1B 68", "681b1b68").

#include <QByteArray>
#include <QString>

// A token that is not a run of hex digit pairs.
struct HexDumpFault {
    int index = -1; // from 0
    QString token;
};

// Reads every token as a run of digit pairs. Fails on a non-hex character or a token with an odd
// number of digits, which `fault` then receives.
bool parseHexDump(const QString &text, QByteArray *bytes, HexDumpFault *fault = nullptr);

// "68 1B 1B 68": upper case, one space between bytes.
QString hexDump(const QByteArray &bytes);

// Lower-case hex as the service logs show it: "681b1b68", or "68 1b 1b 68" when spaced.
QString logHex(const QByteArray &bytes, bool spaced = false);
