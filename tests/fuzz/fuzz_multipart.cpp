// The emulator's multipart/form-data parser.
//
// Input: [0] boundary length (mod 72), then the boundary, then the body. The same bytes also go
// through the Content-Type boundary reader.

#include "sim/multipart_body.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    const QByteArray boundary = in.bytes(in.byte() % 72);
    const QByteArray body = in.rest();
    emulator::boundaryOf(wholeInput(data, size));

    const emulator::Multipart multipart = emulator::parseMultipart(body, boundary);
    if (multipart.error != emulator::MultipartError::None) {
        FUZZ_CHECK(multipart.parts.isEmpty());
        return 0;
    }
    FUZZ_CHECK(!boundary.isEmpty());
    // Parts come from the body in order, none holds a delimiter, and together they fit in it.
    const QByteArray delimiter = "\r\n--" + boundary;
    int from = 0;
    qint64 total = 0;
    for (const emulator::Part &part : multipart.parts) {
        FUZZ_CHECK(!part.name.isNull());
        FUZZ_CHECK(!part.content.contains(delimiter));
        const int at = body.indexOf(part.content, from);
        FUZZ_CHECK(at >= from);
        from = at + part.content.size();
        total += part.content.size() + boundary.size() + 2;
    }
    FUZZ_CHECK(total <= body.size());
    return 0;
}
