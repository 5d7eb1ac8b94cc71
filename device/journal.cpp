#include "device/journal.h"

#include "common/mbus_telegram.h"
#include "common/vocabulary.h"
#include "link/frames.h"

#include <QMap>
#include <QObject>

namespace device
{
namespace journal
{

namespace
{

constexpr quint8 kCiReset = 0x50;
constexpr quint8 kResetCommand = 0x11;
constexpr int kMaxRecordNumber = 0xFFFF; // first and count travel as 16-bit numbers

const QByteArray kVibDateTime("\x6D", 1);
const QByteArray kVibCounter("\xFD\x3A", 2);
const QByteArray kVibEvent("\xFF\x25", 2);
const QByteArray kVibKind("\xFF\x20", 2);
const QByteArray kVibLastStorage("\xFD\x21", 2);

void appendNumber(QByteArray &out, quint32 value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.append(char((value >> (8 * i)) & 0xFF));
}

QByteArray typeF(const QDateTime &time)
{
    const QDate date = time.date();
    const int y = (date.year() - 2000) & 0x7F;
    QByteArray out;
    out.append(char(time.time().minute() & 0x3F));
    out.append(char(time.time().hour() & 0x1F));
    out.append(char(date.day() | (y & 7) << 5));
    out.append(char(date.month() | (y >> 3) << 4));
    return out;
}

QByteArray selectionRecords(const Selection &s, int count)
{
    QByteArray out = QByteArray::fromHex("01FF20");
    out.append(char(s.kind));
    out.append(QByteArray::fromHex("02FF21"));
    appendNumber(out, quint32(s.first), 2);
    out.append(QByteArray::fromHex("02FF22"));
    appendNumber(out, quint32(count), 2);
    return out;
}

QDateTime timeOf(const mbus::DataRecord &record)
{
    const mbus::TimePoint &t = record.time;
    if (record.type != mbus::ValueType::DateTime || t.invalid)
        return {};
    return QDateTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute, t.second), Qt::UTC);
}

bool decodeFrame(const QByteArray &frame, mbus::Telegram *telegram)
{
    return mbus::decodeTelegram(frame, telegram) == mbus::TelegramError::None &&
           telegram->kind == mbus::TelegramKind::VariableData;
}

} // namespace

SelectionFault checkSelection(const Selection &s)
{
    if (s.first < 1)
        return SelectionFault::FirstRecordZero;
    if (s.count < 1)
        return SelectionFault::CountZero;
    if (s.first > kMaxRecordNumber || s.count > kMaxRecordNumber)
        return SelectionFault::TooMany;
    if (s.rangeStart.isValid() && s.rangeEnd.isValid() && s.rangeEnd < s.rangeStart)
        return SelectionFault::RangeReversed;
    return SelectionFault::None;
}

QString selectionFaultText(SelectionFault fault)
{
    switch (fault) {
    case SelectionFault::None:
        return {};
    case SelectionFault::FirstRecordZero:
        return QObject::tr("Номер первой записи должен быть не меньше 1");
    case SelectionFault::CountZero:
        return QObject::tr("Количество записей должно быть больше нуля");
    case SelectionFault::RangeReversed:
        return QObject::tr("Конец диапазона раньше его начала");
    case SelectionFault::TooMany:
        return QObject::tr("Слишком большой номер или количество записей");
    }
    return {};
}

QByteArray selectionFrame(quint8 address, const Selection &s)
{
    QByteArray records = selectionRecords(s, s.count);
    if (s.rangeStart.isValid() && s.rangeEnd.isValid()) {
        records.append(QByteArray::fromHex("04FF23") + typeF(s.rangeStart));
        records.append(QByteArray::fromHex("04FF24") + typeF(s.rangeEnd));
    }
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, records);
}

QByteArray summaryFrame(quint8 address, Kind kind)
{
    Selection s;
    s.kind = kind;
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, selectionRecords(s, 0));
}

QByteArray readoutRequest(quint8 address, bool frameCountBit)
{
    return frames::mbusShort(frameCountBit ? frames::kReqUd2Fcb : frames::kReqUd2, address);
}

QByteArray resetFrame(quint8 address)
{
    return frames::mbusLong(frames::kSndUdFcb, address, kCiReset, QByteArray(1, char(kResetCommand)));
}

QString pageFaultText(PageFault fault)
{
    switch (fault) {
    case PageFault::None:
        return {};
    case PageFault::Undecodable:
        return QObject::tr("Ответ прибора не разобран");
    case PageFault::NotAJournal:
        return QObject::tr("Ответ прибора не является записью журнала");
    case PageFault::RecordIncomplete:
        return QObject::tr("Запись журнала неполная");
    }
    return {};
}

PageFault decodePage(const QByteArray &frame, Kind kind, int channels, Page *page)
{
    mbus::Telegram telegram;
    if (!decodeFrame(frame, &telegram))
        return PageFault::Undecodable;

    // Records are grouped by storage number; the rows keep the order in which their numbers came.
    QVector<int> order;
    QMap<int, Row> rows;
    QMap<int, int> countersSeen;
    QMap<int, bool> eventSeen;
    Page out;
    for (const mbus::DataRecord &r : telegram.records) {
        if (r.function == mbus::RecordFunction::MoreRecordsFollow) {
            out.moreFollows = true;
            continue;
        }
        const int number = int(r.storageNumber);
        if (number < 1)
            return PageFault::NotAJournal;
        if (!rows.contains(number)) {
            order.append(number);
            rows[number].number = number;
            if (kind != Kind::Events)
                rows[number].counters.fill(0, channels);
        }
        Row &row = rows[number];
        if (r.vib == kVibDateTime && r.subunit == 0) {
            row.time = timeOf(r);
            if (!row.time.isValid())
                return PageFault::RecordIncomplete;
        } else if (kind == Kind::Events && r.vib == kVibEvent && r.type == mbus::ValueType::Integer) {
            row.event = quint8(r.integer);
            row.channel = int(r.subunit);
            eventSeen[number] = true;
        } else if (kind != Kind::Events && r.vib == kVibCounter && r.type == mbus::ValueType::Integer &&
                   r.subunit >= 1 && int(r.subunit) <= channels) {
            row.counters[int(r.subunit) - 1] = quint32(r.integer);
            ++countersSeen[number];
        } else if (kind != Kind::Events && r.vib == kVibCounter) {
            continue; // a channel beyond the device's count: not shown
        } else {
            return PageFault::NotAJournal;
        }
    }
    for (int number : order) {
        const Row &row = rows.value(number);
        const bool complete =
            kind == Kind::Events ? eventSeen.value(number) : countersSeen.value(number) == channels;
        if (!row.time.isValid() || !complete)
            return PageFault::RecordIncomplete;
        out.rows.append(row);
    }
    *page = out;
    return PageFault::None;
}

PageFault decodeSummary(const QByteArray &frame, Summary *summary)
{
    mbus::Telegram telegram;
    if (!decodeFrame(frame, &telegram))
        return PageFault::Undecodable;
    Summary out;
    bool held = false;
    for (const mbus::DataRecord &r : telegram.records) {
        if (r.vib == kVibLastStorage && r.type == mbus::ValueType::Integer) {
            // A count of records held is never negative (nor beyond the 16-bit field the device sends).
            if (r.integer < 0 || r.integer > 0xFFFF)
                return PageFault::NotAJournal;
            out.held = int(r.integer);
            held = true;
        } else if (r.vib == kVibDateTime && r.function == mbus::RecordFunction::Minimum) {
            out.oldest = timeOf(r);
        } else if (r.vib == kVibDateTime && r.function == mbus::RecordFunction::Maximum) {
            out.newest = timeOf(r);
        } else if (r.vib != kVibKind) {
            return PageFault::NotAJournal;
        }
    }
    if (!held)
        return PageFault::NotAJournal;
    *summary = out;
    return PageFault::None;
}

QStringList columnTitles(Kind kind, int channels)
{
    QStringList titles{QObject::tr("№"), QObject::tr("Дата и время")};
    if (kind == Kind::Events)
        return titles << QObject::tr("Событие") << QObject::tr("Канал");
    for (int c = 1; c <= channels; ++c)
        titles << QObject::tr("Канал %1").arg(c);
    return titles;
}

QStringList rowTexts(const Row &row, Kind kind)
{
    QStringList cells{QString::number(row.number), row.time.toString(QStringLiteral("dd.MM.yyyy hh:mm"))};
    if (kind == Kind::Events)
        return cells << eventName(row.event)
                     << (row.channel == 0 ? QObject::tr("Прибор") : QString::number(row.channel));
    for (quint32 counter : row.counters)
        cells << QString::number(counter);
    return cells;
}

} // namespace journal
} // namespace device
