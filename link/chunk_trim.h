#pragma once

// Trimming of one chunk read from the line. Answers start with the single-character
// acknowledgement E5 or the long-frame start 68; bytes in front of the first of them are line noise.
// Every chunk is trimmed on its own, later chunks of one answer included, so a chunk that continues
// an answer and holds E5 or 68 among its data loses the bytes before that value.

#include <QByteArray>

namespace frames
{

struct TrimmedChunk {
    QByteArray bytes;
    bool noStartByte; // the chunk holds neither E5 nor 68
};

// A chunk that begins with E5 or 68 is kept; otherwise the bytes before the first E5 or 68 are
// dropped; a chunk with neither is kept whole.
TrimmedChunk trimChunk(const QByteArray &chunk);

} // namespace frames
