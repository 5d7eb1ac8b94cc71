#pragma once

// Reading a fuzz input as a sequence of fields, and the invariant check every target uses. A
// failed invariant aborts, so libFuzzer and the corpus run both report it with the input that broke it.

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #condition);           \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (0)

class FuzzInput
{
public:
    FuzzInput(const uint8_t *data, size_t size) : m_data(data), m_size(size) {}

    size_t left() const { return m_size - m_position; }
    // The next byte, 0 once the input is used up.
    quint8 byte() { return m_position < m_size ? m_data[m_position++] : 0; }
    quint16 word() { return static_cast<quint16>(byte() << 8 | byte()); }
    // Up to `count` further bytes.
    QByteArray bytes(size_t count)
    {
        const size_t taken = count < left() ? count : left();
        const QByteArray out(reinterpret_cast<const char *>(m_data + m_position), static_cast<int>(taken));
        m_position += taken;
        return out;
    }
    QByteArray rest() { return bytes(left()); }

private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_position = 0;
};

inline QByteArray wholeInput(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size));
}
