#pragma once

// Finds the master's request frames in the byte stream that reaches the device. Both framings share
// the line, and an address byte of 0x10 or 0x68 makes a register request start like an M-Bus frame,
// so every candidate is followed until one completes with an intact checksum:
//   M-Bus      10 C A CS 16  |  68 L L 68 C A CI ... CS 16
//   register   A 03 reg(2) count(2) CRC(2)  |  A 10 reg(2) count(2) n data(n) CRC(2)
// A byte that can start no candidate (or whose candidates all failed) is dropped as line noise.

#include <QByteArray>
#include <QList>

namespace sim
{

enum class RequestFraming { Register, MBus };

struct RequestFrame {
    RequestFraming framing;
    QByteArray bytes;
};

class RequestAssembler
{
public:
    // Appends received bytes and returns the requests completed by them, in order.
    QList<RequestFrame> feed(const QByteArray &bytes);
    // A gap on the line: a partial frame is forgotten.
    void reset();
    QByteArray pending() const { return buffer_; }
    int droppedBytes() const { return dropped_; }

private:
    QByteArray buffer_;
    int dropped_ = 0;
};

} // namespace sim
