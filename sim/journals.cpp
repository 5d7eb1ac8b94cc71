#include "sim/journals.h"

#include "sim/data_records.h"

namespace sim
{

namespace
{

constexpr quint8 kDifInt8 = 0x01;
constexpr quint8 kDifInt16 = 0x02;
constexpr quint8 kDifInt32 = 0x04;
constexpr quint8 kDifMinimum = 0x20;
constexpr quint8 kDifMaximum = 0x10;
constexpr quint8 kDifMoreFollows = 0x1F;
constexpr quint8 kStorageBit = 0x40;
constexpr quint8 kExtension = 0x80;
constexpr quint8 kSubunitBit = 0x40;

constexpr quint32 kVifKind = 0xFF20;
constexpr quint32 kVifFirst = 0xFF21;
constexpr quint32 kVifCount = 0xFF22;
constexpr quint32 kVifRangeStart = 0xFF23;
constexpr quint32 kVifRangeEnd = 0xFF24;

constexpr int kEventSpacingHours = 37;
constexpr int kGeneratedEvents = 60;
constexpr int kEventCodes = 9;      // POWER_ON .. RESTART_IrDA
constexpr quint8 kRestartEvent = 1; // POWER_ON1: the restart after the journals were cleared

const QVector<JournalRecord> &journal(const DeviceModel &model, JournalKind kind)
{
    return model.journals[static_cast<size_t>(kind)];
}

QByteArray typeF(qint64 seconds)
{
    const QDateTime utc = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    const int y = (utc.date().year() - 2000) & 0x7F;
    QByteArray out;
    out.append(static_cast<char>(utc.time().minute() & 0x3F));
    out.append(static_cast<char>(utc.time().hour() & 0x1F));
    out.append(static_cast<char>(utc.date().day() | (y & 7) << 5));
    out.append(static_cast<char>(utc.date().month() | (y >> 3) << 4));
    return out;
}

bool fromTypeF(const QByteArray &data, QDateTime *utc)
{
    const auto at = [&data](int i) { return static_cast<quint8>(data.at(i)); };
    const int year = 2000 + (((at(2) & 0xE0) >> 5) | ((at(3) & 0xF0) >> 1));
    const QDate date(year, at(3) & 0x0F, at(2) & 0x1F);
    const QTime time(at(1) & 0x1F, at(0) & 0x3F);
    if ((at(0) & 0x80) || !date.isValid() || !time.isValid())
        return false;
    *utc = QDateTime(date, time, Qt::UTC);
    return true;
}

// The moment a record of `kind` closed, `back` periods before the newest one.
QDateTime periodEnd(JournalKind kind, const QDateTime &now, int back)
{
    const QDate today = now.date();
    switch (kind) {
    case JournalKind::Events:
    case JournalKind::Hourly:
        return QDateTime(today, QTime(now.time().hour(), 0), Qt::UTC).addSecs(-3600LL * back);
    case JournalKind::Daily:
        return QDateTime(today, QTime(0, 0), Qt::UTC).addDays(-back);
    case JournalKind::Monthly:
        return QDateTime(QDate(today.year(), today.month(), 1), QTime(0, 0), Qt::UTC).addMonths(-back);
    case JournalKind::Yearly:
        return QDateTime(QDate(today.year(), 1, 1), QTime(0, 0), Qt::UTC).addYears(-back);
    }
    return now;
}

} // namespace

int journalCapacity(JournalKind kind)
{
    switch (kind) {
    case JournalKind::Events:
        return 500;
    case JournalKind::Hourly:
        return 1440;
    case JournalKind::Daily:
        return 400;
    case JournalKind::Monthly:
        return 36;
    case JournalKind::Yearly:
        return 10;
    }
    return 0;
}

void buildJournals(DeviceModel &model, const QDateTime &deviceUtc)
{
    const qint64 now = deviceUtc.toSecsSinceEpoch();
    for (int k = 0; k < kJournalKinds; ++k) {
        const JournalKind kind = static_cast<JournalKind>(k);
        QVector<JournalRecord> &records = model.journals[static_cast<size_t>(k)];
        records.clear();
        if (kind == JournalKind::Events) {
            const int channels = model.channelCount();
            for (int i = 0; i < kGeneratedEvents; ++i) {
                JournalRecord r;
                r.time = periodEnd(kind, deviceUtc, kEventSpacingHours * i).toSecsSinceEpoch();
                r.event = static_cast<quint8>(i % kEventCodes);
                r.channel = static_cast<quint8>(i % (channels + 1));
                records.append(r);
            }
            continue;
        }
        for (int i = 0; i < journalCapacity(kind); ++i) {
            JournalRecord r;
            r.time = periodEnd(kind, deviceUtc, i).toSecsSinceEpoch();
            const qint64 hoursAgo = (now - r.time) / 3600;
            for (int c = 0; c < DeviceModel::kChannels; ++c) {
                const qint64 counted = hoursAgo * (c + 1);
                const qint64 counter = model.channels[static_cast<size_t>(c)].counter;
                r.counters.append(static_cast<quint32>(qMax<qint64>(0, counter - counted)));
            }
            records.append(r);
        }
    }
    model.journalsBuilt = true;
}

void clearJournals(DeviceModel &model, const QDateTime &deviceUtc)
{
    for (QVector<JournalRecord> &records : model.journals)
        records.clear();
    JournalRecord restart;
    restart.time = deviceUtc.toSecsSinceEpoch() / 60 * 60;
    restart.event = kRestartEvent;
    model.journals[static_cast<size_t>(JournalKind::Events)].append(restart);
    model.journalsBuilt = true;
}

QByteArray storageDib(quint8 dataField, quint64 storage, int subunit)
{
    // Enough DIFEs for every storage nibble above bit 0 and every sub-unit bit.
    int subunitBits = 0;
    for (int s = subunit; s; s >>= 1)
        ++subunitBits;
    int storageDifes = 0;
    for (quint64 rest = storage >> 1; rest; rest >>= 4)
        ++storageDifes;
    const int difes = qMax(subunitBits, storageDifes);
    const quint64 rest = storage >> 1;

    QByteArray out;
    out.append(static_cast<char>(dataField | (storage & 1 ? kStorageBit : 0) | (difes ? kExtension : 0)));
    for (int i = 0; i < difes; ++i) {
        quint8 dife = static_cast<quint8>((rest >> (4 * i)) & 0x0F);
        if (subunit & (1 << i))
            dife |= kSubunitBit;
        if (i + 1 < difes)
            dife |= kExtension;
        out.append(static_cast<char>(dife));
    }
    return out;
}

bool parseJournalSelection(const QList<DataRecord> &records, JournalSelection *selection)
{
    JournalSelection s;
    bool kind = false, first = false, count = false;
    for (const DataRecord &r : records) {
        const quint64 value = littleEndian(r.data);
        if (r.difeCount != 0)
            return false;
        if (r.dif == kDifInt8 && r.vif == kVifKind && !kind && value < kJournalKinds) {
            s.kind = static_cast<JournalKind>(value);
            kind = true;
        } else if (r.dif == kDifInt16 && r.vif == kVifFirst && !first && value >= 1) {
            s.first = static_cast<int>(value);
            first = true;
        } else if (r.dif == kDifInt16 && r.vif == kVifCount && !count) {
            s.count = static_cast<int>(value);
            count = true;
        } else if (r.dif == kDifInt32 && r.vif == kVifRangeStart && !s.rangeStart.isValid()) {
            if (!fromTypeF(r.data, &s.rangeStart))
                return false;
        } else if (r.dif == kDifInt32 && r.vif == kVifRangeEnd && !s.rangeEnd.isValid()) {
            if (!fromTypeF(r.data, &s.rangeEnd))
                return false;
        } else {
            return false;
        }
    }
    if (!kind || !first || !count)
        return false;
    if (s.rangeStart.isValid() && s.rangeEnd.isValid() && s.rangeEnd < s.rangeStart)
        return false;
    *selection = s;
    return true;
}

JournalReadout::JournalReadout(const DeviceModel &model, const JournalSelection &selection)
    : m_selection(selection)
{
    if (selection.count == 0)
        return;
    const QVector<JournalRecord> &records = journal(model, selection.kind);
    int inRange = 0;
    for (int i = 0; i < records.size() && m_storage.size() < selection.count; ++i) {
        const QDateTime time = QDateTime::fromSecsSinceEpoch(records.at(i).time, Qt::UTC);
        if ((selection.rangeStart.isValid() && time < selection.rangeStart) ||
            (selection.rangeEnd.isValid() && time > selection.rangeEnd))
            continue;
        if (++inRange >= selection.first)
            m_storage.append(i + 1);
    }
}

QByteArray JournalReadout::advance(const DeviceModel &model, bool *final)
{
    if (m_selection.count == 0) {
        *final = true;
        return summary(model);
    }
    QByteArray out;
    while (m_position < m_storage.size()) {
        const QByteArray next = record(model, m_storage.at(m_position));
        if (!out.isEmpty() && out.size() + next.size() > kRecordBytes)
            break;
        out.append(next);
        ++m_position;
    }
    *final = m_position >= m_storage.size();
    if (!*final)
        out.append(static_cast<char>(kDifMoreFollows));
    return out;
}

QByteArray JournalReadout::summary(const DeviceModel &model) const
{
    const QVector<JournalRecord> &records = journal(model, m_selection.kind);
    QByteArray out = QByteArray::fromHex("01FF20");
    out.append(static_cast<char>(m_selection.kind));
    out.append(QByteArray::fromHex("02FD21"));
    appendLittleEndian(out, static_cast<quint64>(records.size()), 2);
    if (!records.isEmpty()) {
        out.append(static_cast<char>(kDifInt32 | kDifMinimum));
        out.append('\x6D');
        out.append(typeF(records.last().time));
        out.append(static_cast<char>(kDifInt32 | kDifMaximum));
        out.append('\x6D');
        out.append(typeF(records.first().time));
    }
    return out;
}

QByteArray JournalReadout::record(const DeviceModel &model, int storage) const
{
    const JournalRecord &r = journal(model, m_selection.kind).at(storage - 1);
    QByteArray out = storageDib(kDifInt32, static_cast<quint64>(storage), 0);
    out.append('\x6D');
    out.append(typeF(r.time));
    if (m_selection.kind == JournalKind::Events) {
        out.append(storageDib(kDifInt8, static_cast<quint64>(storage), r.channel));
        out.append(QByteArray::fromHex("FF25"));
        out.append(static_cast<char>(r.event));
        return out;
    }
    for (int c = 1; c <= model.channelCount(); ++c) {
        out.append(storageDib(kDifInt32, static_cast<quint64>(storage), c));
        out.append(QByteArray::fromHex("FD3A"));
        appendLittleEndian(out, r.counters.value(c - 1), 4);
    }
    return out;
}

} // namespace sim
