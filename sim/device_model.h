#pragma once

// Plain state of one ZORVA device as the simulator keeps it: identity, line settings, clock and the
// sixteen pulse channels with their configuration. The state can be kept in a JSON file.

#include <QDateTime>
#include <QString>
#include <QVector>
#include <QtGlobal>
#include <array>

namespace sim
{

struct ChannelState {
    quint32 counter = 0;        // pulses counted so far
    float value = 0;            // present value in the channel's unit
    quint32 identification = 0; // BCD digits of the channel's own meter number
    quint16 manufacturer = 0;   // packed M-Bus manufacturer code
    quint8 version = 0;         // meter version
    quint8 medium = 0;          // M-Bus medium code
    quint16 vif = 0x13;         // unit VIF as on the wire, first byte in the high half (0x13: litres)
    float weight = 1;           // quantity per pulse
    quint16 durationMs = 50;    // shortest pulse accepted, milliseconds
    quint8 appointment = 1;     // input kind: 0 off, 1 counting, 2 alarm, 3 NAMUR counting, 4 NAMUR alarm
    quint8 errorFlags = 0;      // reported in the channel's error-flag record
};

enum class JournalKind { Events = 0, Hourly = 1, Daily = 2, Monthly = 3, Yearly = 4 };
constexpr int kJournalKinds = 5;

struct JournalRecord {
    qint64 time = 0;           // seconds since 1970, device clock (UTC), whole minutes
    quint8 event = 0;          // events: the event code (the vocabulary's eventName)
    quint8 channel = 0;        // events: the channel, 0 for the device itself
    QVector<quint32> counters; // archives: the pulse counter of every channel, channel 1 first
};

struct DeviceModel {
    static constexpr int kChannels = 16;
    static constexpr quint8 kHighestPrimaryAddress = 250;

    quint8 address = 1;                           // primary M-Bus address
    quint8 speedCode = 0xBB;                      // 0xBA 1200, 0xBB 2400, 0xBC 4800, 0xBD 9600
    quint32 identification = 0x12345678;          // BCD digits of the serial number, shown as "12345678"
    QString manufacturer = QStringLiteral("ZRV"); // 3 letters, packed as the M-Bus manufacturer code
    quint8 mbusVersion = 1;
    quint8 medium = 0x00;             // M-Bus medium of the device itself: other
    quint16 softwareVersion = 0x0330; // shown as "0330" -> 16 channels
    quint16 softwareCode = 0x0107;
    quint16 buildNumber = 215;
    quint8 reportDay = 1;
    quint8 accessNumber = 0; // counts the data telegrams sent
    quint8 status = 0;
    qint64 clockOffsetSecs = 0; // device clock = system UTC + offset
    quint32 journalClears = 0;  // how many times the journals were cleared
    std::array<ChannelState, kChannels> channels{};
    // Newest record first, indexed by JournalKind. Built at the first journal request when the
    // state file held none (see sim/journals.h).
    std::array<QVector<JournalRecord>, kJournalKinds> journals{};
    bool journalsBuilt = false;

    DeviceModel();

    bool save(const QString &file, QString *error = nullptr) const;
    bool load(const QString &file, QString *error = nullptr);

    int baudRate() const; // from speedCode; 0 for an unknown code
    static int baudRateOf(quint8 speedCode);
    // Reads a primary address 0..250 written in decimal; on false `address` is left alone.
    static bool parseAddress(const QString &text, quint8 *address);
    quint16 manufacturerCode() const; // (L1-64)*1024 + (L2-64)*32 + (L3-64)
    int channelCount() const;         // from the software version: 2, 4, 10, 16 or 0

    QDateTime clockUtc(const QDateTime &systemUtc) const;
    void setClockUtc(const QDateTime &deviceUtc, const QDateTime &systemUtc);
};

} // namespace sim
