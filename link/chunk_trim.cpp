#include "link/chunk_trim.h"

#include "link/frames.h"

namespace frames
{

static bool isStartByte(char c)
{
    const auto byte = static_cast<quint8>(c);
    return byte == kAck || byte == kLongStart;
}

TrimmedChunk trimChunk(const QByteArray &chunk)
{
    int start = -1;
    for (int i = 0; i < chunk.size(); ++i) {
        if (isStartByte(chunk.at(i))) {
            start = i;
            break;
        }
    }
    if (start < 0)
        return {chunk, true};
    return {chunk.mid(start), false};
}

} // namespace frames
