#pragma once

// The device's protocol: one complete request in, the device's answer out. Pure code: no I/O and no
// timing; the clock is passed in. Layouts of the answers (byte offsets from the first byte):
//
// Register read answer:   A 03 n data(n, each register high byte first) CRC(lo, hi)
// Register write answer:  A 10 reg(hi, lo) count(hi, lo) CRC(lo, hi)
// Register exception:     A (function | 80) code CRC(lo, hi)   code 02 unknown register, 03 bad count
//
// Every RSP_UD starts 68 L L 68 08 A 72, then the 12-byte header at 7..18:
//   7-10 identification (BCD, LSB first) 11-12 manufacturer (lo, hi) 13 version 14 medium
//   15 access number 16 status 17-18 signature 00 00
// Information answer (48 bytes):
//   19 02 FD 0E software version (lo, hi)   24 02 FD 0F software code (lo, hi)
//   29 02 FD 0C build number (lo, hi)       34 01 FF 1A report day
//   38 06 6D date-time: sec, min, hour, day | (y & 7) << 5, month | (y >> 3) << 4, 00  (y = year - 2000)
//   46 checksum 47 16
// Channel configuration answer (header carries the channel's own meter identity):
//   19 05 VIF value(float): VIF of one byte puts the value at 21..24 (two-byte VIF: 22..25)
//   then 05 FF 1E weight(float), 02 FF 1D duration(ms), 01 FF 1F appointment, 01 FD 17 error flags,
//   04 FD 3A pulse counter
// Data telegram (REQ_UD2): per channel 84 <DIFE chain of the channel> FD 3A counter(4), then
//   04 6D date-time (type F: min, hour, day | (y & 7) << 5, month | (y >> 3) << 4)
// M-Bus application error (exception answer): 68 04 04 68 08 A 70 00 CS 16
// Journal readout (selection and telegrams: sim/journals.h): from the selection's E5 every REQ_UD2
// gets the next journal telegram; one with the frame count bit of the last gets that telegram again.
// After the final telegram only such a repeat to the device's own address still gets it; any other
// request, SND_NKE or the reset telegram ends the readout, and REQ_UD2 gets the data telegram again.

#include "sim/device_model.h"
#include "sim/journals.h"
#include "sim/request_assembler.h"

#include <QByteArray>
#include <QDateTime>

namespace sim
{

struct EngineReply {
    QByteArray answer;    // empty: the device stays silent
    bool changed = false; // the request changed the device's state
};

class ProtocolEngine
{
public:
    static constexpr quint8 kPointToPoint = 0xFE; // answered by any device
    static constexpr quint8 kBroadcast = 0xFF;    // acted on, never answered
    static constexpr quint8 kIllegalAddress = 0x02;
    static constexpr quint8 kIllegalValue = 0x03;

    explicit ProtocolEngine(DeviceModel &model) : model_(model) {}

    EngineReply handle(const RequestFrame &request, const QDateTime &systemUtc);

    QByteArray informationAnswer(const QDateTime &systemUtc);
    QByteArray channelAnswer(int channel);
    QByteArray dataTelegram(const QDateTime &systemUtc);
    static QByteArray registerException(quint8 address, quint8 function, quint8 code);
    static QByteArray applicationError(quint8 address);

private:
    enum class Target { Answered, Silent, Foreign };
    Target target(quint8 address) const;
    EngineReply handleRegister(const QByteArray &frame, const QDateTime &systemUtc);
    EngineReply handleShort(const QByteArray &frame, const QDateTime &systemUtc);
    EngineReply handleLong(const QByteArray &frame, const QDateTime &systemUtc);
    EngineReply handleRecords(const QByteArray &records, bool answered, const QDateTime &systemUtc);
    bool readRegister(quint16 reg, const QDateTime &systemUtc, quint16 *value) const;
    QByteArray rspUd(quint8 ci, const QByteArray &header, const QByteArray &records);
    QByteArray header(quint32 identification, quint16 manufacturer, quint8 version, quint8 medium);
    EngineReply startJournalReadout(const QList<DataRecord> &records, bool answered,
                                    const QDateTime &systemUtc);
    // The journal telegram for a REQ_UD2, or nothing when no readout is under way.
    QByteArray journalTelegram(quint8 control, quint8 address);

    DeviceModel &model_;

    enum class Readout { Idle, Reading, Finished };
    Readout readout_ = Readout::Idle;
    JournalReadout journal_;
    bool lastFcb_ = false;
    QByteArray lastTelegram_;
};

} // namespace sim
