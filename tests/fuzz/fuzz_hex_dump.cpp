// The hex-dump parser on any text (read as UTF-8, so every Unicode space and digit is reached).

#include "common/hex_dump.h"
#include "tests/fuzz/fuzz_input.h"

#include <QString>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(wholeInput(data, size));
    QByteArray bytes("untouched");
    HexDumpFault fault;
    if (!parseHexDump(text, &bytes, &fault)) {
        FUZZ_CHECK(bytes == "untouched");
        FUZZ_CHECK(fault.index >= 0 && !fault.token.isEmpty() && text.contains(fault.token));
        return 0;
    }
    FUZZ_CHECK(fault.index == -1);
    // Two digits per byte, and every other character is a separator.
    int digits = 0;
    for (QChar c : text)
        digits += c.isSpace() ? 0 : 1;
    FUZZ_CHECK(digits == 2 * bytes.size());
    // The dump of the bytes reads back as the same bytes, in both spellings.
    QByteArray again;
    FUZZ_CHECK(parseHexDump(hexDump(bytes), &again) && again == bytes);
    FUZZ_CHECK(parseHexDump(logHex(bytes, true), &again) && again == bytes);
    FUZZ_CHECK(parseHexDump(logHex(bytes), &again) && again == bytes);
    return 0;
}
