#pragma once

// Frames spoken on the ZORVA line. Two framings share the line:
//
// Register read (function 3), 8 bytes:
//   [0] address [1] 0x03 [2..3] register (hi, lo) [4..5] count (hi, lo) [6..7] CRC-16 (lo, hi)
// Register write (function 16), 9 + n bytes:
//   [0] address [1] 0x10 [2..3] register [4..5] count [6] n [7..6+n] data [7+n..8+n] CRC-16 (lo, hi)
// Register exception answer: [0] address [1] function | 0x80 [2] error code [3..4] CRC-16
//
// M-Bus (EN 13757-2):
//   single character  E5
//   short frame       10 C A CS 16                     CS = C + A
//   long frame        68 L L 68 C A CI data... CS 16   L = bytes from C to the last data byte,
//                                                      CS = sum of those bytes, modulo 256

#include <QByteArray>
#include <QtGlobal>

namespace frames
{

constexpr quint8 kAck = 0xE5;
constexpr quint8 kShortStart = 0x10;
constexpr quint8 kLongStart = 0x68;
constexpr quint8 kStop = 0x16;
constexpr quint8 kReadRegisters = 0x03;
constexpr quint8 kWriteRegisters = 0x10;
constexpr quint8 kErrorFlag = 0x80; // set in the function code of a register exception answer

// M-Bus control fields (C), with and without the frame count bit, and the CI fields the ZORVA uses.
constexpr quint8 kSndNke = 0x40;
constexpr quint8 kSndUd = 0x53;
constexpr quint8 kSndUdFcb = 0x73;
constexpr quint8 kReqUd2 = 0x5B;
constexpr quint8 kReqUd2Fcb = 0x7B;
constexpr quint8 kRspUd = 0x08;
constexpr quint8 kCiDataSend = 0x51;
// The ZORVA's read-configuration command, first user-data byte after CI 0x51.
constexpr quint8 kReadConfiguration = 0x7F;

// Modbus CRC-16 (polynomial 0xA001, start 0xFFFF); an empty array gives 0xFFFF.
quint16 crc16(const QByteArray &bytes);

// True when a frame followed by its own CRC checks to zero.
bool crcIntact(const QByteArray &frameWithCrc);

// Every byte of `data` is appended whatever `byteCount` says; callers keep the two equal.
QByteArray registerRead(quint8 address, quint16 reg, quint16 count, quint8 function = kReadRegisters);
QByteArray registerWrite(quint8 address, quint16 reg, quint16 count, quint8 byteCount, const QByteArray &data,
                         quint8 function = kWriteRegisters);

// Sum modulo 256 of the bytes from the C field on: for a long frame, bytes 4 .. size-3.
// A frame with no such bytes (shorter than seven bytes) gives 0.
quint8 crcMod256(const QByteArray &longFrame);

// Low byte of the plain sum of a byte range.
quint8 sum8(const QByteArray &bytes);

QByteArray mbusShort(quint8 control, quint8 address);
// Builds 68 L L 68 C A CI data CS 16.
QByteArray mbusLong(quint8 control, quint8 address, quint8 ci, const QByteArray &data);

// Incremental check of a received buffer.
enum class Completeness { Complete, NeedMore, Invalid };
struct FrameCheck {
    Completeness state;
    int frameLength; // Complete: length of the frame at the buffer's start
    int missing;     // NeedMore: at least this many bytes still to come
};

// M-Bus: E5, a short frame or a long frame at the start of the buffer (checksum and stop byte
// verified). Register framing: an answer to a read of `count` registers, or an exception answer.
FrameCheck checkMbus(const QByteArray &buffer);
FrameCheck checkRegisterAnswer(const QByteArray &buffer, quint8 function, quint16 count);

// Length of the register answer at the buffer's start, judged from its function code (and byte
// count for a read): 5 + n for a read, 5 for an exception answer, 8 for any other function.
// 0 while too few bytes have arrived to tell.
int registerAnswerLength(const QByteArray &buffer);

} // namespace frames
