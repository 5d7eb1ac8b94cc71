#pragma once

// The device's journals as the configurator reads them. Frames (bytes in hexadecimal, A the device
// address, CS the sum from C on):
//
// Selection, SND_UD:  68 L L 68 53 A 51  01 FF 20 k  02 FF 21 first(lo hi)  02 FF 22 count(lo hi)
//                     [04 FF 23 start(type F)  04 FF 24 end(type F)]  CS 16
//   k: 0 events, 1 hourly, 2 daily, 3 monthly, 4 yearly; first 1 = the newest record; count 0 asks
//   for the summary. The device acknowledges with E5 and stays silent on a malformed selection.
// Readout: REQ_UD2 10 7B/5B A CS 16, the frame count bit alternating from 7B; the same bit again
//   asks for the same telegram again.
// Journal telegram, RSP_UD 68 L L 68 08 A 72 <12-byte header> records CS 16, whole records only:
//   archive record   DIF 04 with the record's storage number, VIF 6D: date-time (type F), then per
//                    channel DIF 04 with storage number and channel (DIFE sub-unit), VIF FD 3A:
//                    the pulse counter, 32 bit
//   event record     the date-time as above, then DIF 01 with storage number and channel
//                    (0 the device itself), VIF FF 25: the event code
//   1F               as the last record: more telegrams follow
// Summary telegram: 01 FF 20 kind, 02 FD 21 last storage number (records are numbered 1..n, so it is
//   the number held), and when any are held 24 6D the oldest (minimum) and 14 6D the newest
//   (maximum) date-time.
// Storage number n and channel c in the DIB (EN 13757-3): DIF bit 6 = n bit 0; DIFE i carries
// n bits 1+4i .. 4+4i in its bits 0..3 and c bit i in its bit 6, as many DIFEs as either needs.

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>
#include <QtGlobal>

namespace device
{
namespace journal
{

enum class Kind { Events = 0, Hourly = 1, Daily = 2, Monthly = 3, Yearly = 4 };

struct Selection {
    Kind kind = Kind::Events;
    int first = 1;        // 1 = the newest record
    int count = 0;        // 0: the summary
    QDateTime rangeStart; // both valid: only records from start to end, wall-clock fields as typed
    QDateTime rangeEnd;
};

enum class SelectionFault { None, FirstRecordZero, CountZero, RangeReversed, TooMany };
// What is wrong with a selection the user made for a readout (a summary has count 0 by design).
SelectionFault checkSelection(const Selection &selection);
QString selectionFaultText(SelectionFault fault);

QByteArray selectionFrame(quint8 address, const Selection &selection);
QByteArray summaryFrame(quint8 address, Kind kind);
QByteArray readoutRequest(quint8 address, bool frameCountBit);
// 68 04 04 68 73 A 50 11 CS 16: ends any selection on the device.
QByteArray resetFrame(quint8 address);

struct Row {
    int number = 0; // storage number, 1 = newest
    QDateTime time; // the device's wall-clock fields
    quint8 event = 0;
    int channel = 0;           // events: 0 the device itself
    QVector<quint32> counters; // archives: channel 1 first
};

struct Page {
    QVector<Row> rows;
    bool moreFollows = false;
};

enum class PageFault { None, Undecodable, NotAJournal, RecordIncomplete };
QString pageFaultText(PageFault fault);

// One journal telegram (a whole long frame) into rows, in the order sent; an archive row holds one
// counter for each of `channels` channels.
PageFault decodePage(const QByteArray &frame, Kind kind, int channels, Page *page);

struct Summary {
    int held = 0;
    QDateTime oldest; // invalid when nothing is held
    QDateTime newest;
};
PageFault decodeSummary(const QByteArray &frame, Summary *summary);

// Column titles of the journal table: "№", "Дата и время", then "Событие", "Канал" for events or
// "Канал 1" .. "Канал n" for archives.
QStringList columnTitles(Kind kind, int channels);
// The cells of a row under those titles.
QStringList rowTexts(const Row &row, Kind kind);

} // namespace journal
} // namespace device
