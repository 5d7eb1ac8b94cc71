#pragma once

// The device's five journals and their readout over M-Bus.
//
// Selection, SND_UD with CI 51 (plain records, any order):
//   01 FF 20 k        kind: 0 events, 1 hourly, 2 daily, 3 monthly, 4 yearly      (required)
//   02 FF 21 n        first record, 1 = newest                                     (required)
//   02 FF 22 n        number of records; 0 asks for the summary                    (required)
//   04 FF 23 t        range start, type F date-time                                (optional)
//   04 FF 24 t        range end, type F date-time                                  (optional)
// The range keeps the records from start to end, both included; first and count then count within
// what the range kept.
//
// Readout, RSP_UD with CI 72 and the 12-byte header, whole records only, each record numbered by
// its storage number (1 = newest) and, where it belongs to a channel, the channel in the DIFE
// sub-unit bits:
//   archive record    04 6D date-time (type F), then per channel 04 FD 3A counter (32 bit)
//   event record      04 6D date-time, then 01 FF 25 event code, channel 0 = the device itself
//   more to come      1F as the last byte of the records
// Summary (count 0): 01 FF 20 kind, 02 FD 21 the last storage number (= the number of records held),
//   then, when any are held, 24 6D the oldest and 14 6D the newest date-time (minimum / maximum).

#include "sim/device_model.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QVector>

namespace sim
{

struct DataRecord;

// Most records a journal holds.
int journalCapacity(JournalKind kind);

// A device's history as if it had been counting all along: every journal filled, counters running
// back from the present ones at k pulses an hour on channel k (never below 0), an event every
// 37 hours. Deterministic for a given clock and counters.
void buildJournals(DeviceModel &model, const QDateTime &deviceUtc);

// Register 11: every journal emptied; the restart that follows is the events journal's one record.
void clearJournals(DeviceModel &model, const QDateTime &deviceUtc);

// Storage number and sub-unit (channel) as DIF storage bit plus a DIFE chain: the DIF bit holds
// storage bit 0, each DIFE four more storage bits and one sub-unit bit, least significant first.
QByteArray storageDib(quint8 dataField, quint64 storage, int subunit);

struct JournalSelection {
    JournalKind kind = JournalKind::Events;
    int first = 1;
    int count = 0;
    QDateTime rangeStart; // invalid: no bound
    QDateTime rangeEnd;
};

// True when the records are a well-formed selection.
bool parseJournalSelection(const QList<DataRecord> &records, JournalSelection *selection);

// The records of one selection, telegram by telegram. Repeats of a lost telegram are the protocol
// engine's business: it keeps the last telegram with its frame count bit.
class JournalReadout
{
public:
    // Bytes of records one telegram may carry: L is at most 255, of which C, A, CI and the
    // 12-byte header take 15 and the more-follows DIF one.
    static constexpr int kRecordBytes = 255 - 15 - 1;

    JournalReadout() = default;
    JournalReadout(const DeviceModel &model, const JournalSelection &selection);

    // The next telegram's records; `final` is set when nothing follows them.
    QByteArray advance(const DeviceModel &model, bool *final);

private:
    QByteArray summary(const DeviceModel &model) const;
    QByteArray record(const DeviceModel &model, int storage) const;

    JournalSelection m_selection;
    QVector<int> m_storage; // storage numbers (1 = newest) of the records selected, in order
    int m_position = 0;
};

} // namespace sim
