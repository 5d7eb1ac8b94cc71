// The metering server's reply body: its result code read three ways, and the message shown for it.

#include "server/reply_codes.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = wholeInput(data, size);
    const QByteArray text = server::codeText(body);
    FUZZ_CHECK(text.size() <= server::kCodeLength && !text.contains('\0'));
    FUZZ_CHECK(body.mid(server::kCodeOffset).startsWith(text));
    const int value = server::codeValue(body);
    const std::optional<int> strict = server::strictCode(body);
    if (strict) {
        FUZZ_CHECK(*strict >= 0 && *strict <= 999 && *strict == value && text.size() == 3);
        FUZZ_CHECK(server::replyMessage(body) == server::replyCodeTable().value(*strict));
    } else {
        server::replyMessage(body);
    }
    return 0;
}
