// The simulated device's protocol without the line: request bytes in, answer bytes out. Expected
// answers are written out byte by byte from the documented layouts, never produced by the engine.

#include "link/frames.h"
#include "sim/device_model.h"
#include "sim/fault.h"
#include "sim/protocol_engine.h"
#include "sim/request_assembler.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(sim::Fault)

namespace
{

const QDateTime kSystemUtc(QDate(2009, 11, 15), QTime(14, 30, 5), Qt::UTC);

QByteArray hex(const QByteArray &text)
{
    return QByteArray::fromHex(text);
}

sim::DeviceModel sampleDevice(quint16 softwareVersion = 0x0330)
{
    sim::DeviceModel model;
    model.softwareVersion = softwareVersion;
    model.softwareCode = 0x0107;
    model.buildNumber = 215;
    model.channels[0].counter = 65541;
    model.channels[0].value = 10.0f;
    model.channels[1].counter = 7;
    model.channels[15].counter = 4000000000u;
    return model;
}

// Bytes from the line through the request finder into the engine; the answers joined.
QByteArray exchange(sim::DeviceModel &model, const QByteArray &line)
{
    sim::RequestAssembler assembler;
    sim::ProtocolEngine engine(model);
    QByteArray answers;
    for (const sim::RequestFrame &frame : assembler.feed(line))
        answers += engine.handle(frame, kSystemUtc).answer;
    return answers;
}

// The device's state in words, every item ended by ";", e.g. "address 1; speed bb; ... counter 2 7;".
QString stateText(const sim::DeviceModel &m)
{
    QString text = QStringLiteral("address %1; speed %2; identification %3; version %4; report day %5; "
                                  "clock %6; journal clears %7;")
                       .arg(m.address)
                       .arg(m.speedCode, 0, 16)
                       .arg(m.identification, 0, 16)
                       .arg(m.softwareVersion, 4, 16, QLatin1Char('0'))
                       .arg(m.reportDay)
                       .arg(m.clockUtc(kSystemUtc).toString(Qt::ISODate))
                       .arg(m.journalClears);
    for (size_t k = 0; k < m.channels.size(); ++k) {
        const sim::ChannelState &c = m.channels[k];
        text += QStringLiteral(" channel %1: id %2 man %3 ver %4 med %5 vif %6 val %7 wt %8 dur %9 app %10;")
                    .arg(k + 1)
                    .arg(c.identification, 8, 16, QLatin1Char('0'))
                    .arg(c.manufacturer, 4, 16, QLatin1Char('0'))
                    .arg(c.version)
                    .arg(c.medium)
                    .arg(c.vif, 2, 16, QLatin1Char('0'))
                    .arg(static_cast<double>(c.value))
                    .arg(static_cast<double>(c.weight))
                    .arg(c.durationMs)
                    .arg(c.appointment);
        text += QStringLiteral(" counter %1 %2;").arg(k + 1).arg(c.counter, 0, 16);
    }
    return text;
}

} // namespace

class TestProtocolEngine : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
    void randomLineBytes();
    void requestFinding_data();
    void requestFinding();
    void faults_data();
    void faults();
    void noiseNeverHoldsStartBytes();
    void stateFile_data();
    void stateFile();
};

void TestProtocolEngine::answers_data()
{
    QTest::addColumn<quint16>("version");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("after"); // an item of the device's state afterwards; empty: not checked

    const auto row = [](const char *name, const QByteArray &request, const char *answer,
                        const QString &after = {}, quint16 version = 0x0330) {
        QTest::newRow(name) << version << hex(request) << hex(answer) << after;
    };
    row("SND_NKE to its own address", "1040014116", "E5");
    row("SND_NKE to 254", "1040FE3E16", "E5");
    row("SND_NKE to foreign address 5", "1040054516", "");
    row("SND_NKE broadcast", "1040FF3F16", "");
    row("SND_NKE with a wrong sum", "1040014216", "");
    row("information request", "680505685301517F002416",
        "682A2A6808017278563412566A01000000000002FD0E300302FD0F070102FD0CD70001FF1A01066D051E0E2F1B009116");
    row("information request, wrong sum", "680505685301517F002516", "");
    row("channel 1 configuration", "680505685301517F012516",
        "6830306808017201000010566A01070000000005130000204105FF1E0000803F02FF1D320001FF1F0101FD1700"
        "04FD3A050001007416");
    row("channel 3 of a 2-channel device", "680505685301517F032716", "", {}, 0x0410);
    row("REQ_UD2, 2-channel device", "107BFE7916",
        "6826266808017278563412566A0100000000008440FD3A05000100848040FD3A07000000046D1E0E2F1BBA16", {},
        0x0410);
    row("clock registers 8, 9", "01030008000245C9", "010304106D4B0059DE");
    row("clock registers, flipped CRC bit", "01030008000244C9", "");
    row("registers 5 and 6 at once", "010300050002D40A", "010304000100016A33");
    row("register 5 through 254", "FE03000500018004", "01030200017984");
    row("channel 1 counter", "010320000002CFCB", "010304000500012BF2");
    row("channel 1 value 10", "010320500002CFDA", "01030400004120CBBB");
    row("channel 16 counter", "0103201E0002AFCD", "0103042800EE6BFFDC");
    row("channel 17 counter: unknown register", "010320200002CE01", "018302C0F1");
    row("register 7: unknown register", "01030007000135CB", "018302C0F1");
    row("count 0: bad value", "01030005000055CB", "0183030131");
    row("write to register 7", "011000070001020000A7E7", "019002CDC1");
    row("reset telegram", "6804046873015011D516", "E5");
    row("SND_UD with an unknown record", "680505685301510000A716", "");
    // A malformed record after a good report-day record makes the whole SND_UD void.
    const auto reportDayAnd = [](const char *records) {
        return frames::mbusLong(0x53, 0x01, 0x51, hex("01FF1A19") + hex(records)).toHex();
    };
    row("report day, then a value cut short", reportDayAnd("04FD3A0102"), "", "report day 1");
    row("report day, then DIFE without an end", reportDayAnd("8480"), "");
    row("report day, then VIF without an end", reportDayAnd("04FD"), "");
    row("report day, then eleven DIFE", reportDayAnd("848080808080808080808040FD3A01020304"), "");
    row("report day, then variable-length data", reportDayAnd("0D7801"), "");

    row("bus address 251 refused", "68060668530151017AFB1B16", "", "address 1");
    row("bus address 7, broadcast", "6806066853FF51017A072516", "", "address 7");
    row("identification all FF keeps the number", "6809096873FE510C79FFFFFFFF4316", "E5",
        "identification 12345678");
    row("identification with a non-BCD digit", "6809096873FE510C794A302010F116", "",
        "identification 12345678");
    row("report day 0 refused", "6807076853015101FF1A00BF16", "", "report day 1");
    row("report day 32 refused", "6807076853015101FF1A20DF16", "", "report day 1");
    row("speed 19200 refused", "680303685301BE1216", "", "speed bb");
    row("clock 15.11.2009 14:30:05, Sunday", "680B0B68530151066D051EEE2F1B007316", "E5",
        "clock 2009-11-15T14:30:05Z");
    row("clock with month 13 refused", "680B0B68530151066D051EEE2F1D007516", "",
        "clock 2009-11-15T14:30:05Z");
    row("journal clearing", "0110000B0001020000A72B", "0110000B0001700B", "journal clears 1");
    row("counter of channel 2 preset", "01102002000204234500013026", "011020020002EBC8", "counter 2 12345");
    row("channel 5, every record",
        "6826266853015187C0804079785634124304030205FF1E6F12833A05060000F74202FF1D640001FF1F03CD16", "E5",
        "channel 5: id 12345678 man 0443 ver 3 med 2 vif 06 val 123.5 wt 0.001 dur 100 app 3");
    row("channel 16, identification only", "681212685301518780808080407978563412430403024516", "E5",
        "channel 16: id 12345678 man 0443 ver 3 med 2 vif 13 val 0 wt 1 dur 50 app 1");
    row("channel 5, appointment 5 refused as a whole", "6814146853015187C0804079785634124304030201FF1F05A916",
        "", "channel 5: id 10000005 man 6a56 ver 1 med 7 vif 13 val 0 wt 1 dur 50 app 1");
    row("weight without a channel record", "680A0A6853015105FF1E000000400716", "",
        "channel 1: id 10000001 man 6a56 ver 1 med 7 vif 13 val 10 wt 1 dur 50 app 1");
}

void TestProtocolEngine::answers()
{
    QFETCH(quint16, version);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    QFETCH(QString, after);
    sim::DeviceModel model = sampleDevice(version);
    QCOMPARE(exchange(model, request).toHex(' '), answer.toHex(' '));
    const QString state = stateText(model);
    QVERIFY2(after.isEmpty() || state.startsWith(after + ';') || state.contains(' ' + after + ';'),
             qPrintable(state));
}

// Whatever comes from the line, only intact frames reach the engine and every answer is well formed.
void TestProtocolEngine::randomLineBytes()
{
    QRandomGenerator random(2024);
    sim::DeviceModel model = sampleDevice();
    sim::RequestAssembler assembler;
    sim::ProtocolEngine engine(model);
    QList<QByteArray> requests;
    for (const char *request :
         {"1040014116", "107BFE7916", "680505685301517F002416", "01030008000245C9", "0103201E0002AFCD",
          "680505685301517F012516", "6804046873015011D516", "0110000B0001020000A72B", "01030007000135CB"})
        requests << hex(request);
    const auto intact = [](sim::RequestFraming framing, const QByteArray &bytes) {
        if (framing == sim::RequestFraming::Register)
            return frames::crcIntact(bytes);
        const frames::FrameCheck check = frames::checkMbus(bytes);
        return check.state == frames::Completeness::Complete && check.frameLength == bytes.size();
    };
    int answered = 0;
    for (int chunk = 0; chunk < 3000; ++chunk) {
        QByteArray bytes;
        switch (random.bounded(4)) {
        case 0: // noise
            for (int i = random.bounded(1, 12); i > 0; --i)
                bytes.append(static_cast<char>(random.bounded(256)));
            break;
        case 1: // a request with one byte damaged
            bytes = requests.at(random.bounded(requests.size()));
            bytes[random.bounded(bytes.size())] = static_cast<char>(random.bounded(256));
            break;
        case 2: // a pause on the line
            assembler.reset();
            Q_FALLTHROUGH();
        default:
            bytes = requests.at(random.bounded(requests.size()));
            break;
        }
        for (const sim::RequestFrame &frame : assembler.feed(bytes)) {
            QVERIFY2(intact(frame.framing, frame.bytes), frame.bytes.toHex(' ').constData());
            const QByteArray answer = engine.handle(frame, kSystemUtc).answer;
            answered += answer.isEmpty() ? 0 : 1;
            QVERIFY2(answer.isEmpty() || intact(frame.framing, answer), answer.toHex(' ').constData());
        }
        QVERIFY(assembler.pending().size() <= 264);
    }
    // Most requests that reach the device whole are answered; the noise never wedges it.
    QVERIFY2(answered > 1200, qPrintable(QString::number(answered)));
    assembler.reset();
    const QList<sim::RequestFrame> last = assembler.feed(hex("1040014116"));
    QCOMPARE(last.size(), 1);
    QCOMPARE(engine.handle(last.first(), kSystemUtc).answer, hex("E5"));
}

void TestProtocolEngine::requestFinding_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QList<QByteArray>>("requests");
    QTest::addColumn<int>("dropped");

    using L = QList<QByteArray>;
    QTest::newRow("noise 55 AA, then SND_NKE") << L{hex("55AA1040014116")} << L{hex("1040014116")} << 2;
    QTest::newRow("noise 01 10 that looks like a register write, then SND_NKE")
        << L{hex("01101040014116")} << L{hex("1040014116")} << 2;
    QTest::newRow("E5 from the line is noise") << L{hex("E51040014116")} << L{hex("1040014116")} << 1;
    QTest::newRow("register read from address 0x10")
        << L{hex("1003000800024688")} << L{hex("1003000800024688")} << 0;
    QTest::newRow("register read from address 0x68")
        << L{hex("6803000800024CF0")} << L{hex("6803000800024CF0")} << 0;
    QTest::newRow("speed frame that starts like a read from 0x68")
        << L{hex("680303685301BD1116")} << L{hex("680303685301BD1116")} << 0;
    QTest::newRow("information request in three chunks")
        << L{hex("6805"), hex("0568530151"), hex("7F002416")} << L{hex("680505685301517F002416")} << 0;
    QTest::newRow("two requests in one chunk")
        << L{hex("1040014116107BFE7916")} << L{hex("1040014116"), hex("107BFE7916")} << 0;
    QTest::newRow("register read with a flipped CRC bit") << L{hex("01030008000244C9")} << L{} << 8;
    QTest::newRow("long frame with a wrong stop byte") << L{hex("680505685301517F002417")} << L{} << 11;
}

void TestProtocolEngine::requestFinding()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QList<QByteArray>, requests);
    QFETCH(int, dropped);
    sim::RequestAssembler assembler;
    QList<QByteArray> found;
    for (const QByteArray &chunk : chunks) {
        for (const sim::RequestFrame &frame : assembler.feed(chunk))
            found.append(frame.bytes);
    }
    assembler.reset();
    QCOMPARE(found, requests);
    QCOMPARE(assembler.droppedBytes(), dropped);
}

void TestProtocolEngine::faults_data()
{
    QTest::addColumn<sim::Fault>("fault");
    QTest::addColumn<bool>("registerFraming");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QList<QByteArray>>("pieces");

    using L = QList<QByteArray>;
    const QByteArray counter = hex("010304000500012BF2");
    const QByteArray info =
        hex("682A2A6808017278563412566A01000000000002FD0E300302FD0F070102FD0CD70001FF1A01066D"
            "051E0E2F1B009116");
    QTest::newRow("none") << sim::Fault::None << true << counter << L{counter};
    QTest::newRow("silence") << sim::Fault::Silence << true << counter << L{};
    QTest::newRow("split, 9-byte register answer")
        << sim::Fault::SplitAnswer << true << counter << L{hex("010304"), hex("000500"), hex("012BF2")};
    QTest::newRow("checksum, register answer")
        << sim::Fault::WrongChecksum << true << counter << L{hex("010304000500012CF2")};
    QTest::newRow("checksum, information answer")
        << sim::Fault::WrongChecksum << false << info << L{info.left(46) + hex("9216")};
    QTest::newRow("checksum, E5 has none") << sim::Fault::WrongChecksum << false << hex("E5") << L{hex("E5")};
    QTest::newRow("length, register answer")
        << sim::Fault::WrongLength << true << counter << L{hex("0103040005000100B21F")};
    QTest::newRow("length, information answer")
        << sim::Fault::WrongLength << false << info << L{info.left(46) + hex("009116")};
    QTest::newRow("exception, register read")
        << sim::Fault::ExceptionAnswer << true << counter << L{hex("018302C0F1")};
    QTest::newRow("truncated, register answer")
        << sim::Fault::TruncatedAnswer << true << counter << L{hex("01030400")};
    QTest::newRow("truncated, E5") << sim::Fault::TruncatedAnswer << false << hex("E5") << L{};
    QTest::newRow("any fault, no answer") << sim::Fault::WrongLength << true << QByteArray() << L{};
}

void TestProtocolEngine::faults()
{
    QFETCH(sim::Fault, fault);
    QFETCH(bool, registerFraming);
    QFETCH(QByteArray, answer);
    QFETCH(QList<QByteArray>, pieces);
    const sim::RequestFrame request =
        registerFraming ? sim::RequestFrame{sim::RequestFraming::Register, hex("010320000002CFCB")}
                        : sim::RequestFrame{sim::RequestFraming::MBus, hex("680505685301517F002416")};
    QRandomGenerator random(1);
    QCOMPARE(answerPieces(answer, request, 1, fault, random), pieces);
}

void TestProtocolEngine::noiseNeverHoldsStartBytes()
{
    // The M-Bus exception answer is the standard application-error frame of a device at address 1.
    QFile fixture(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/error-frames/unspecified_error.hex"));
    QVERIFY2(fixture.open(QIODevice::ReadOnly), qPrintable(fixture.fileName()));
    const QByteArray applicationError = QByteArray::fromHex(fixture.readAll().simplified().replace(' ', ""));
    const sim::RequestFrame request{sim::RequestFraming::MBus, hex("680505685301517F002416")};
    QRandomGenerator random(7);
    QCOMPARE(answerPieces(hex("E5"), request, 1, sim::Fault::ExceptionAnswer, random),
             QList<QByteArray>{applicationError});

    for (int run = 0; run < 200; ++run) {
        const QList<QByteArray> pieces =
            answerPieces(hex("E5"), request, 1, sim::Fault::NoiseBeforeAnswer, random);
        QCOMPARE(pieces.size(), 1);
        QCOMPARE(pieces.first().size(), 4);
        QVERIFY(pieces.first().endsWith(hex("E5")));
        const QByteArray noise = pieces.first().left(3);
        QVERIFY2(!noise.contains('\xE5') && !noise.contains('\x68'), noise.toHex().constData());
    }
}

void TestProtocolEngine::stateFile_data()
{
    QTest::addColumn<QByteArray>("search"); // edited in the saved file; empty: left intact
    QTest::addColumn<QByteArray>("replace");
    QTest::newRow("intact file") << QByteArray() << QByteArray();
    QTest::newRow("not JSON") << QByteArray("{") << QByteArray("[[");
    QTest::newRow("address 300") << QByteArray("\"address\": 42") << QByteArray("\"address\": 300");
    QTest::newRow("speed code C0") << QByteArray("\"speedCode\": \"bd\"")
                                   << QByteArray("\"speedCode\": \"c0\"");
    QTest::newRow("report day as text")
        << QByteArray("\"reportDay\": 25") << QByteArray("\"reportDay\": \"25\"");
    QTest::newRow("channel counter negative")
        << QByteArray("\"counter\": 65541") << QByteArray("\"counter\": -1");
}

void TestProtocolEngine::stateFile()
{
    QFETCH(QByteArray, search);
    QFETCH(QByteArray, replace);
    QTemporaryDir dir;
    sim::DeviceModel saved = sampleDevice(0x0410);
    saved.address = 42;
    saved.speedCode = 0xBD;
    saved.identification = 0x10203040;
    saved.reportDay = 25;
    saved.clockOffsetSecs = -3600;
    saved.channels[4].weight = 0.001f;
    saved.channels[4].vif = 0xFD17;
    const QString file = dir.filePath("state.json");
    QString error;
    QVERIFY2(saved.save(file, &error), qPrintable(error));
    QVERIFY(!saved.save(dir.filePath("missing/state.json"), &error) && !error.isEmpty());
    if (!search.isEmpty()) {
        QFile edit(file);
        QVERIFY(edit.open(QIODevice::ReadWrite));
        QByteArray text = edit.readAll();
        QVERIFY2(text.contains(search), text.constData());
        edit.resize(0);
        edit.write(text.replace(search, replace));
    }

    sim::DeviceModel loaded;
    loaded.address = 9;
    const QString before = stateText(loaded);
    error.clear();
    QCOMPARE(loaded.load(file, &error), search.isEmpty());
    QCOMPARE(error.isEmpty(), search.isEmpty());
    // A good file gives back every field; a bad one leaves the model as it was.
    QCOMPARE(stateText(loaded), search.isEmpty() ? stateText(saved) : before);
}

QTEST_GUILESS_MAIN(TestProtocolEngine)
#include "tst_protocol_engine.moc"
