#pragma once

// The ZORVA's registers (register framing, function 3 reads and function 16 writes). One map for the
// configurator and the simulator, so both sides name the same register the same way.
//
//   5            bus address (low byte)                 read
//   6            speed index 0..3 (low byte)            read
//   8, 9         clock, seconds since 1970 UTC          read; register 8 low half, 9 high half
//   11           journal clearing                       write, one register, any value
//   8192 + 2(k-1), +1   channel k pulse counter          read and write; low half first
//   8272 + 2(k-1), +1   channel k present value (float)  read; low half first
//
// The channel settings register 8190 + 2k is channel k's counter register pair.

#include <QtGlobal>

namespace device::registers
{

constexpr quint16 kAddress = 5;
constexpr quint16 kSpeed = 6;
constexpr quint16 kClock = 8;
constexpr quint16 kClockCount = 2;
constexpr quint16 kJournalClear = 11;
constexpr quint16 kCounters = 8192;
constexpr quint16 kValues = 8272;
constexpr quint16 kPerChannel = 2; // a counter or a value spans two registers

constexpr quint16 channelSettings(int channel)
{
    return quint16(8190 + 2 * channel);
}

constexpr quint16 counter(int channel)
{
    return quint16(kCounters + kPerChannel * (channel - 1));
}

constexpr quint16 value(int channel)
{
    return quint16(kValues + kPerChannel * (channel - 1));
}

static_assert(channelSettings(1) == counter(1) && channelSettings(16) == counter(16));

} // namespace device::registers
