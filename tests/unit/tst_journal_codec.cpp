// The journal protocol without the line: the configurator's frames written out byte by byte, the
// simulated device's telegrams read back through the project's EN 13757-3 decoder and compared with
// the device's own journals.

#include "common/mbus_telegram.h"
#include "device/journal.h"
#include "link/frames.h"
#include "sim/journals.h"
#include "sim/protocol_engine.h"
#include "sim/request_assembler.h"

#include <QtTest>

namespace journal = device::journal;

Q_DECLARE_METATYPE(device::journal::PageFault)

namespace
{

const QDateTime kSystemUtc(QDate(2026, 11, 15), QTime(14, 30, 5), Qt::UTC);

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

// A RSP_UD written with placeholders for L and the checksum, completed; `sumError` is added to the sum.
QByteArray completed(QByteArray frame, int sumError = 0)
{
    frame[1] = frame[2] = char(frame.size() - 6);
    quint8 sum = 0;
    for (int i = 4; i < frame.size() - 2; ++i)
        sum = quint8(sum + quint8(frame.at(i)));
    frame[frame.size() - 2] = char(sum + sumError);
    return frame;
}

// A device that has counted for a long time; `channels` from its software version.
sim::DeviceModel countingDevice(quint16 softwareVersion)
{
    sim::DeviceModel model;
    model.softwareVersion = softwareVersion;
    for (int c = 0; c < sim::DeviceModel::kChannels; ++c)
        model.channels[size_t(c)].counter = 50000000u + 1000u * quint32(c);
    return model;
}

struct Device {
    explicit Device(quint16 softwareVersion) : model(countingDevice(softwareVersion)), engine(model) {}
    QByteArray ask(const QByteArray &frame)
    {
        return engine.handle({sim::RequestFraming::MBus, frame}, kSystemUtc).answer;
    }
    sim::DeviceModel model;
    sim::ProtocolEngine engine;
};

// Reads a selection to its end: every telegram, alternating the frame count bit from 7B.
QVector<QByteArray> readAll(Device &device, const journal::Selection &selection)
{
    QVector<QByteArray> telegrams;
    if (device.ask(journal::selectionFrame(1, selection)) != hex("E5"))
        return telegrams;
    bool fcb = true;
    for (int guard = 0; guard < 1000; ++guard, fcb = !fcb) {
        telegrams.append(device.ask(journal::readoutRequest(1, fcb)));
        journal::Page page;
        if (journal::decodePage(telegrams.last(), selection.kind, device.model.channelCount(), &page) !=
                journal::PageFault::None ||
            !page.moreFollows)
            break;
    }
    return telegrams;
}

QString rowText(const journal::Row &r)
{
    QStringList counters;
    for (quint32 c : r.counters)
        counters << QString::number(c);
    return QStringLiteral("%1 %2 e%3 c%4 [%5]")
        .arg(r.number)
        .arg(r.time.toString(Qt::ISODate))
        .arg(r.event)
        .arg(r.channel)
        .arg(counters.join(QLatin1Char(',')));
}

QString modelRowText(const sim::DeviceModel &m, journal::Kind kind, int number)
{
    const sim::JournalRecord &r = m.journals[size_t(kind)].at(number - 1);
    journal::Row row;
    row.number = number;
    row.time = QDateTime::fromSecsSinceEpoch(r.time, Qt::UTC);
    row.event = r.event;
    row.channel = r.channel;
    if (kind != journal::Kind::Events)
        row.counters = r.counters.mid(0, m.channelCount());
    return rowText(row);
}

} // namespace

class TestJournalCodec : public QObject
{
    Q_OBJECT

private slots:
    void selectionFrames_data();
    void selectionFrames();
    void storageAndChannel_data();
    void storageAndChannel();
    void readout_data();
    void readout();
    void repeatedTelegram();
    void summaryAndClearing();
    void malformedSelectionIsIgnored_data();
    void malformedSelectionIsIgnored();
    void brokenTelegrams_data();
    void brokenTelegrams();
};

void TestJournalCodec::selectionFrames_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QByteArray>("expected");
    journal::Selection events;
    events.count = 5;
    journal::Selection hourly;
    hourly.kind = journal::Kind::Hourly;
    hourly.first = 300;
    hourly.count = 1440;
    journal::Selection daily;
    daily.kind = journal::Kind::Daily;
    daily.count = 31;
    daily.rangeStart = QDateTime(QDate(2026, 10, 1), QTime(0, 0), Qt::UTC);
    daily.rangeEnd = QDateTime(QDate(2026, 10, 31), QTime(23, 59), Qt::UTC);
    QTest::newRow("events, first 1, count 5")
        << journal::selectionFrame(1, events) << hex("68111168530151 01FF2000 02FF210100 02FF220500 1016");
    QTest::newRow("hourly, first 300, count 1440")
        << journal::selectionFrame(1, hourly) << hex("68111168530151 01FF2001 02FF212C01 02FF22A005 DD16");
    QTest::newRow("daily, October 2026")
        << journal::selectionFrame(1, daily)
        << hex("681F1F68530151 01FF2002 02FF210100 02FF221F00 04FF230000413A 04FF243B175F3A DF16");
    QTest::newRow("yearly summary at FE") << journal::summaryFrame(0xFE, journal::Kind::Yearly)
                                          << hex("68111168 53FE51 01FF2004 02FF210100 02FF220000 0C16");
    QTest::newRow("reset telegram") << journal::resetFrame(1) << hex("6804046873015011D516");
    QTest::newRow("REQ_UD2, bit set") << journal::readoutRequest(1, true) << hex("107B017C16");
    QTest::newRow("REQ_UD2, bit clear") << journal::readoutRequest(1, false) << hex("105B015C16");
}

void TestJournalCodec::selectionFrames()
{
    QFETCH(QByteArray, frame);
    QFETCH(QByteArray, expected);
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
}

void TestJournalCodec::storageAndChannel_data()
{
    QTest::addColumn<int>("storage");
    QTest::addColumn<int>("channel");
    QTest::addColumn<QByteArray>("dib");
    QTest::newRow("storage 1, the device") << 1 << 0 << hex("44");
    QTest::newRow("storage 1, channel 1") << 1 << 1 << hex("C440");
    QTest::newRow("storage 2, channel 16") << 2 << 16 << hex("848180808040");
    QTest::newRow("storage 31, channel 16") << 31 << 16 << hex("C48F80808040");
    QTest::newRow("storage 400, channel 5") << 400 << 5 << hex("84C88C40");
    QTest::newRow("storage 1440, channel 2") << 1440 << 2 << hex("8480CD02");
}

void TestJournalCodec::storageAndChannel()
{
    QFETCH(int, storage);
    QFETCH(int, channel);
    QFETCH(QByteArray, dib);
    const QByteArray built = sim::storageDib(0x04, quint64(storage), channel);
    QCOMPARE(built.toHex(' '), dib.toHex(' '));

    // The project's decoder reads the same numbers back out of a whole telegram.
    const QByteArray fixed = completed(hex("68 00 00 68 08 01 72 78563412 566A 01 00 00 00 0000") + built +
                                       hex("FD3A 01000000 00 16"));
    mbus::Telegram telegram;
    QCOMPARE(mbus::decodeTelegram(fixed, &telegram), mbus::TelegramError::None);
    QCOMPARE(telegram.records.size(), 1);
    QCOMPARE(int(telegram.records.first().storageNumber), storage);
    QCOMPARE(int(telegram.records.first().subunit), channel);
}

void TestJournalCodec::readout_data()
{
    QTest::addColumn<quint16>("softwareVersion");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<QDateTime>("rangeStart");
    QTest::addColumn<QDateTime>("rangeEnd");
    QTest::addColumn<QVector<int>>("numbers"); // the storage numbers expected, in order
    QTest::addColumn<int>("telegrams");

    const auto run = [](int from, int to) {
        QVector<int> v;
        for (int i = from; i <= to; ++i)
            v << i;
        return v;
    };
    QTest::newRow("events, 2 channels, first 1 count 5")
        << quint16(0x0310) << 0 << 1 << 5 << QDateTime() << QDateTime() << run(1, 5) << 1;
    QTest::newRow("hourly, 2 channels, the oldest 3")
        << quint16(0x0310) << 1 << 1438 << 10 << QDateTime() << QDateTime() << run(1438, 1440) << 1;
    QTest::newRow("daily, 16 channels, 31 records")
        << quint16(0x0330) << 2 << 1 << 31 << QDateTime() << QDateTime() << run(1, 31) << 31;
    QTest::newRow("daily, 4 channels, 31 records")
        << quint16(0x0300) << 2 << 1 << 31 << QDateTime() << QDateTime() << run(1, 31) << 7;
    QTest::newRow("monthly, 10 channels, 2026 from its second record")
        << quint16(0x0320) << 3 << 2 << 36 << QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC)
        << QDateTime(QDate(2026, 12, 31), QTime(23, 59), Qt::UTC) << run(2, 11) << 5;
    QTest::newRow("yearly, 16 channels, all")
        << quint16(0x0330) << 4 << 1 << 100 << QDateTime() << QDateTime() << run(1, 10) << 10;
    QTest::newRow("yearly, first past the end")
        << quint16(0x0330) << 4 << 11 << 5 << QDateTime() << QDateTime() << QVector<int>() << 1;
}

void TestJournalCodec::readout()
{
    QFETCH(quint16, softwareVersion);
    QFETCH(int, kind);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(QDateTime, rangeStart);
    QFETCH(QDateTime, rangeEnd);
    QFETCH(QVector<int>, numbers);
    QFETCH(int, telegrams);

    Device device(softwareVersion);
    journal::Selection selection;
    selection.kind = journal::Kind(kind);
    selection.first = first;
    selection.count = count;
    selection.rangeStart = rangeStart;
    selection.rangeEnd = rangeEnd;
    const QVector<QByteArray> sent = readAll(device, selection);
    QCOMPARE(sent.size(), telegrams);

    QStringList got, expected;
    for (int i = 0; i < sent.size(); ++i) {
        QVERIFY2(quint8(sent.at(i).at(1)) <= 255 && sent.at(i).size() == quint8(sent.at(i).at(1)) + 6,
                 "one telegram, L within a byte");
        journal::Page page;
        QCOMPARE(journal::decodePage(sent.at(i), selection.kind, device.model.channelCount(), &page),
                 journal::PageFault::None);
        QCOMPARE(page.moreFollows, i + 1 < sent.size());
        for (const journal::Row &row : page.rows)
            got << rowText(row);
    }
    for (int number : numbers)
        expected << modelRowText(device.model, selection.kind, number);
    QCOMPARE(got, expected);
}

void TestJournalCodec::repeatedTelegram()
{
    Device device(0x0310);
    journal::Selection selection;
    selection.kind = journal::Kind::Hourly;
    selection.count = 40;
    QCOMPARE(device.ask(journal::selectionFrame(1, selection)), hex("E5"));
    const QByteArray first = device.ask(journal::readoutRequest(1, true));
    QCOMPARE(device.ask(journal::readoutRequest(1, true)), first);
    const QByteArray second = device.ask(journal::readoutRequest(1, false));
    QVERIFY(second != first);
    QCOMPARE(device.ask(journal::readoutRequest(1, false)), second);

    // The final telegram, too, comes again for its own bit; the other bit ends the readout and
    // gets the data telegram (its records compared: the access number differs).
    bool fcb = true;
    QByteArray last = second;
    journal::Page page;
    while (journal::decodePage(last, selection.kind, 2, &page) == journal::PageFault::None &&
           page.moreFollows) {
        last = device.ask(journal::readoutRequest(1, fcb));
        fcb = !fcb;
    }
    QVERIFY(!page.moreFollows);
    QCOMPARE(device.ask(journal::readoutRequest(1, !fcb)), last);
    const QByteArray data = device.ask(journal::readoutRequest(1, fcb));
    const QByteArray expected = device.engine.dataTelegram(kSystemUtc);
    QCOMPARE(data.mid(19, data.size() - 21).toHex(' '), expected.mid(19, expected.size() - 21).toHex(' '));
}

void TestJournalCodec::summaryAndClearing()
{
    Device device(0x0330);
    const auto summary = [&device](journal::Kind kind) {
        journal::Summary s;
        if (device.ask(journal::summaryFrame(1, kind)) != hex("E5") ||
            journal::decodeSummary(device.ask(journal::readoutRequest(1, true)), &s) !=
                journal::PageFault::None)
            return QStringLiteral("no summary");
        return QStringLiteral("%1 %2 %3")
            .arg(s.held)
            .arg(s.oldest.toString(Qt::ISODate), s.newest.toString(Qt::ISODate));
    };
    QCOMPARE(summary(journal::Kind::Daily), QStringLiteral("400 2025-10-12T00:00:00Z 2026-11-15T00:00:00Z"));
    QCOMPARE(summary(journal::Kind::Yearly), QStringLiteral("10 2017-01-01T00:00:00Z 2026-01-01T00:00:00Z"));

    const QByteArray request = frames::registerWrite(1, 11, 1, 2, QByteArray(2, '\0'));
    QVERIFY(!device.engine.handle({sim::RequestFraming::Register, request}, kSystemUtc).answer.isEmpty());
    QCOMPARE(summary(journal::Kind::Daily), QStringLiteral("0  "));
    QCOMPARE(summary(journal::Kind::Events), QStringLiteral("1 2026-11-15T14:30:00Z 2026-11-15T14:30:00Z"));
}

void TestJournalCodec::malformedSelectionIsIgnored_data()
{
    QTest::addColumn<QByteArray>("records");
    QTest::newRow("kind 5") << hex("01FF2005 02FF210100 02FF220100");
    QTest::newRow("first record 0") << hex("01FF2000 02FF210000 02FF220100");
    QTest::newRow("count missing") << hex("01FF2000 02FF210100");
    QTest::newRow("kind twice") << hex("01FF2000 01FF2001 02FF210100 02FF220100");
    QTest::newRow("end before start") << hex("01FF2002 02FF210100 02FF220100 04FF2300001F0A 04FF2400000F0A");
    QTest::newRow("invalid date") << hex("01FF2002 02FF210100 02FF220100 04FF230000000D");
}

void TestJournalCodec::malformedSelectionIsIgnored()
{
    QFETCH(QByteArray, records);
    Device device(0x0330);
    QCOMPARE(device.ask(frames::mbusLong(0x53, 1, 0x51, records)), QByteArray());
    // No selection is active: REQ_UD2 still gives the data telegram.
    const QByteArray answer = device.ask(journal::readoutRequest(1, true));
    QCOMPARE(answer.size(), 193);
}

void TestJournalCodec::brokenTelegrams_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<int>("kind");
    QTest::addColumn<journal::PageFault>("fault");
    const QByteArray head = hex("68 00 00 68 08 01 72 78563412 566A 01 00 00 00 0000");
    QTest::newRow("wrong checksum") << (head +
                                        hex("44 6D 1E0E2F0B C440 FD3A 01000000 C48040 FD3A 02000000 00 16"))
                                    << 1 << journal::PageFault::Undecodable;
    QTest::newRow("channel 2 missing") << (head + hex("44 6D 1E0E2F0B C440 FD3A 01000000 00 16")) << 1
                                       << journal::PageFault::RecordIncomplete;
    QTest::newRow("a record without a storage number")
        << (head + hex("04 6D 1E0E2F0B 00 16")) << 1 << journal::PageFault::NotAJournal;
    QTest::newRow("event without its code")
        << (head + hex("44 6D 1E0E2F0B 00 16")) << 0 << journal::PageFault::RecordIncomplete;
    QTest::newRow("invalid time") << (head + hex("44 6D 9E0E2F0B 41FF25 03 00 16")) << 0
                                  << journal::PageFault::RecordIncomplete;
}

void TestJournalCodec::brokenTelegrams()
{
    QFETCH(QByteArray, frame);
    QFETCH(int, kind);
    QFETCH(journal::PageFault, fault);
    // The first row keeps its sum one off.
    frame = completed(frame, QTest::currentDataTag() == QByteArray("wrong checksum") ? 1 : 0);
    journal::Page page;
    QCOMPARE(journal::decodePage(frame, journal::Kind(kind), 2, &page), fault);
}

QTEST_APPLESS_MAIN(TestJournalCodec)
#include "tst_journal_codec.moc"
