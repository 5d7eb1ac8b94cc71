#include "sim/upload_decoding.h"

#include "common/mbus_telegram.h"
#include "common/vocabulary.h"

#include <QDateTime>
#include <QJsonArray>
#include <QMap>
#include <QVector>

namespace emulator
{

namespace
{

const QByteArray kVibDateTime("\x6D", 1);
const QByteArray kVibCounter("\xFD\x3A", 2);
const QByteArray kVibEvent("\xFF\x25", 2);

struct Record {
    QDateTime time;
    QMap<int, qint64> counters; // by channel
    bool event = false;
    int code = 0;
    int channel = 0;
};

QDateTime timeOf(const mbus::DataRecord &r)
{
    const mbus::TimePoint &t = r.time;
    return QDateTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute), Qt::UTC);
}

QString kindOf(const QVector<Record> &records, bool readings)
{
    if (readings)
        return QStringLiteral("readings");
    for (const Record &r : records) {
        if (r.event)
            return QStringLiteral("events");
    }
    if (records.size() < 2)
        return QStringLiteral("archive");
    const QDateTime newer = records.at(0).time;
    const QDateTime older = records.at(1).time;
    if (older.addSecs(3600) == newer)
        return QStringLiteral("hourly");
    if (older.addDays(1) == newer)
        return QStringLiteral("daily");
    if (older.addMonths(1) == newer)
        return QStringLiteral("monthly");
    if (older.addYears(1) == newer)
        return QStringLiteral("yearly");
    return QStringLiteral("archive");
}

} // namespace

QJsonObject decodedUpload(const QByteArray &data)
{
    QJsonObject device;
    QVector<int> order;
    QMap<int, Record> records;
    bool readings = false;
    for (const mbus::ReceivedPiece &piece : mbus::decodeReceived(data)) {
        if (piece.kind != mbus::ReceivedPiece::Kind::Telegram)
            continue;
        const mbus::SlaveHeader &h = piece.telegram.header;
        device = QJsonObject{{QStringLiteral("identification"), mbus::identificationText(h.identification)},
                             {QStringLiteral("manufacturer"), mbus::manufacturerLetters(h.manufacturer)},
                             {QStringLiteral("address"), h.address}};
        for (const mbus::DataRecord &r : piece.telegram.records) {
            const int number = int(r.storageNumber);
            if (r.function == mbus::RecordFunction::MoreRecordsFollow)
                continue;
            if (number == 0) {
                readings = readings || r.vib == kVibCounter;
                continue;
            }
            if (!records.contains(number))
                order.append(number);
            Record &record = records[number];
            if (r.vib == kVibDateTime)
                record.time = timeOf(r);
            else if (r.vib == kVibCounter)
                record.counters.insert(int(r.subunit), r.integer);
            else if (r.vib == kVibEvent) {
                record.event = true;
                record.code = int(r.integer);
                record.channel = int(r.subunit);
            }
        }
    }
    QVector<Record> inOrder;
    QJsonArray out;
    for (int number : order) {
        const Record &r = records.value(number);
        inOrder.append(r);
        QJsonObject json{{QStringLiteral("number"), number},
                         {QStringLiteral("time"), r.time.toString(QStringLiteral("yyyy-MM-ddTHH:mm"))}};
        if (r.event) {
            json.insert(QStringLiteral("event"), r.code);
            json.insert(QStringLiteral("eventName"), eventName(quint8(r.code)));
            json.insert(QStringLiteral("channel"), r.channel);
        } else {
            QJsonArray counters;
            for (qint64 counter : r.counters)
                counters.append(counter);
            json.insert(QStringLiteral("counters"), counters);
        }
        out.append(json);
    }
    return QJsonObject{{QStringLiteral("device"), device},
                       {QStringLiteral("kind"), kindOf(inOrder, readings && order.isEmpty())},
                       {QStringLiteral("records"), out}};
}

} // namespace emulator
