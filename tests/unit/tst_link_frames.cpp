// Frames, chunk trimming, the completion rule and the port list: pure code of the device link.

#include "link/chunk_trim.h"
#include "link/completion_wait.h"
#include "link/frames.h"
#include "link/port_list.h"

#include <QDir>
#include <QtTest>

using frames::Completeness;
Q_DECLARE_METATYPE(frames::Completeness)

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

} // namespace

class TestLinkFrames : public QObject
{
    Q_OBJECT

private slots:
    void builders_data();
    void builders();
    void checksums_data();
    void checksums();
    void completeness_data();
    void completeness();
    void capturedFramesAreCompleteAndSummed();
    void trimChunk_data();
    void trimChunk();
    void completionWait_data();
    void completionWait();
    void portChoices_data();
    void portChoices();
};

void TestLinkFrames::builders_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("read: address 1, register 8, count 2")
        << frames::registerRead(1, 8, 2) << hex("010300080002 45C9");
    QTest::newRow("read: register 8272") << frames::registerRead(1, 8272, 2) << hex("010320500002 CFDA");
    QTest::newRow("write: address 17, register 1, two registers")
        << frames::registerWrite(0x11, 1, 2, 4, hex("000A0102")) << hex("11100001000204000A0102 C6F0");
    // The byte count is the caller's word; the data goes out whole.
    QTest::newRow("write: byte count smaller than the data")
        << frames::registerWrite(0x11, 1, 2, 2, hex("000A0102")) << hex("11100001000202000A0102 4EF0");
    QTest::newRow("REQ_UD2 to FE") << frames::mbusShort(0x7B, 0xFE) << hex("107BFE7916");
    QTest::newRow("SND_NKE to FF, sum wraps") << frames::mbusShort(0x40, 0xFF) << hex("1040FF3F16");
    QTest::newRow("reset telegram to 1")
        << frames::mbusLong(0x73, 0x01, 0x50, hex("11")) << hex("6804046873015011D516");
    QTest::newRow("speed write, no data")
        << frames::mbusLong(0x53, 0x0A, 0xBB, {}) << hex("68030368530ABB1816");
}

void TestLinkFrames::builders()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, expected);
    QCOMPARE(built.toHex(' '), expected.toHex(' '));
}

void TestLinkFrames::checksums_data()
{
    QTest::addColumn<int>("computed");
    QTest::addColumn<int>("expected");
    QTest::newRow("CRC-16 of an empty array") << int(frames::crc16({})) << 0xFFFF;
    QTest::newRow("CRC-16 of ASCII 123456789") << int(frames::crc16("123456789")) << 0x4B37;
    QTest::newRow("CRC-16 of 01 83 02") << int(frames::crc16(hex("018302"))) << 0xF1C0;
    QTest::newRow("CRC-16 of a frame and its CRC") << int(frames::crc16(hex("01030008000245C9"))) << 0;
    QTest::newRow("sum of 73 01 50 11") << int(frames::crcMod256(hex("6804046873015011D516"))) << 0xD5;
    QTest::newRow("sum, checksum and stop byte left out")
        << int(frames::crcMod256(hex("680404687301501100FF"))) << 0xD5;
    QTest::newRow("sum of a seven-byte frame") << int(frames::crcMod256(hex("68010168730016"))) << 0x73;
    QTest::newRow("sum of a six-byte frame") << int(frames::crcMod256(hex("680404687301"))) << 0;
    QTest::newRow("sum of an empty array") << int(frames::crcMod256({})) << 0;
}

void TestLinkFrames::checksums()
{
    QFETCH(int, computed);
    QFETCH(int, expected);
    QCOMPARE(computed, expected);
}

void TestLinkFrames::completeness_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<int>("function"); // 0: M-Bus; else the register answer to that function
    QTest::addColumn<Completeness>("state");
    QTest::addColumn<int>("n"); // Complete: the frame's length; NeedMore: the bytes missing
    const auto complete = Completeness::Complete, needMore = Completeness::NeedMore;
    const auto invalid = Completeness::Invalid;
    QTest::newRow("E5 alone") << hex("E5") << 0 << complete << 1;
    QTest::newRow("empty") << QByteArray() << 0 << needMore << 1;
    QTest::newRow("short frame, 3 bytes") << hex("107BFE") << 0 << needMore << 2;
    QTest::newRow("short frame and more") << hex("107BFE7916E5") << 0 << complete << 5;
    QTest::newRow("short frame, wrong sum") << hex("107BFE7816") << 0 << invalid << 0;
    QTest::newRow("long frame, lengths differ") << hex("6804056873015011D516") << 0 << invalid << 0;
    QTest::newRow("long frame, L below 3") << hex("6802026873017416") << 0 << invalid << 0;
    QTest::newRow("long frame, wrong sum") << hex("6804046873015011D616") << 0 << invalid << 0;
    QTest::newRow("noise first") << hex("00E5") << 0 << invalid << 0;
    QTest::newRow("read of 2 registers") << hex("01030400001000F7F3") << 3 << complete << 9;
    QTest::newRow("read of 2 registers, 4 bytes in") << hex("01030400") << 3 << needMore << 5;
    QTest::newRow("read, one byte in") << hex("01") << 3 << needMore << 1;
    QTest::newRow("byte count does not fit the request") << hex("0103020000F7F3") << 3 << invalid << 0;
    QTest::newRow("read, CRC damaged") << hex("01030400001000F7F4") << 3 << invalid << 0;
    QTest::newRow("exception answer") << hex("018302C0F1") << 3 << complete << 5;
    QTest::newRow("exception answer, 3 bytes in") << hex("018302") << 3 << needMore << 2;
    QTest::newRow("other function") << hex("01040400001000") << 3 << invalid << 0;
    QTest::newRow("write answer") << hex("0110000B0001700B") << 0x10 << complete << 8;
}

void TestLinkFrames::completeness()
{
    QFETCH(QByteArray, buffer);
    QFETCH(int, function);
    QFETCH(Completeness, state);
    QFETCH(int, n);
    // Register answers: the requests in the rows read or write 2 and 1 registers.
    const frames::FrameCheck check =
        function ? frames::checkRegisterAnswer(buffer, quint8(function), function == 3 ? 2 : 1)
                 : frames::checkMbus(buffer);
    QCOMPARE(check.state, state);
    if (state != Completeness::Invalid)
        QCOMPARE(state == Completeness::Complete ? check.frameLength : check.missing, n);
}

// Every captured M-Bus frame is complete with its own checksum, and every head of it asks for
// exactly the bytes still to come.
void TestLinkFrames::capturedFramesAreCompleteAndSummed()
{
    const QDir dir(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames"));
    const QStringList names = dir.entryList({QStringLiteral("*.hex")}, QDir::Files);
    QVERIFY2(names.size() > 50, "the captured frames are missing");
    for (const QString &name : names) {
        QFile file(dir.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray frame = QByteArray::fromHex(file.readAll().simplified().replace(' ', ""));
        QVERIFY2(frame.size() > 6, qPrintable(name));
        QCOMPARE(int(frames::crcMod256(frame)), int(quint8(frame.at(frame.size() - 2))));
        const frames::FrameCheck whole = frames::checkMbus(frame);
        QVERIFY2(whole.state == Completeness::Complete, qPrintable(name));
        QCOMPARE(whole.frameLength, frame.size());
        for (int cut = 4; cut < frame.size(); ++cut) {
            const frames::FrameCheck part = frames::checkMbus(frame.left(cut));
            QVERIFY2(part.state == Completeness::NeedMore, qPrintable(name));
            QCOMPARE(part.missing, frame.size() - cut);
        }
    }
}

void TestLinkFrames::trimChunk_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<QByteArray>("kept");
    QTest::addColumn<bool>("noStartByte");
    QTest::newRow("noise before E5") << hex("0011FFE5") << hex("E5") << false;
    QTest::newRow("noise before 68") << hex("A5A56803036853") << hex("6803036853") << false;
    QTest::newRow("starts with 68, E5 inside") << hex("6803E5") << hex("6803E5") << false;
    QTest::newRow("neither E5 nor 68") << hex("0103040000") << hex("0103040000") << true;
    QTest::newRow("empty") << QByteArray() << QByteArray() << true;
    // The documented loss: a register answer, or a later chunk of one answer, holding E5 or 68.
    QTest::newRow("register answer with 68 in its data")
        << hex("01030400681000762F") << hex("681000762F") << false;
    QTest::newRow("later chunk with E5 in its data") << hex("10E5AB16") << hex("E5AB16") << false;
}

void TestLinkFrames::trimChunk()
{
    QFETCH(QByteArray, chunk);
    QFETCH(QByteArray, kept);
    QFETCH(bool, noStartByte);
    const frames::TrimmedChunk trimmed = frames::trimChunk(chunk);
    QCOMPARE(trimmed.bytes.toHex(' '), kept.toHex(' '));
    QCOMPARE(trimmed.noStartByte, noStartByte);
}

void TestLinkFrames::completionWait_data()
{
    using Counts = QVector<qint64>;
    QTest::addColumn<Counts>("looks"); // the count seen after each pause
    QTest::addColumn<int>("pauses");
    QTest::addColumn<Counts>("counts"); // the settling counts, from the first byte on
    QTest::addColumn<bool>("settled");
    QTest::newRow("silent device") << Counts(12, 0) << 10 << Counts{} << false;
    QTest::newRow("48 bytes arriving over two pauses")
        << Counts{0, 20, 48, 48, 48} << 4 << Counts{20, 48, 48} << true;
    QTest::newRow("first byte at the tenth look")
        << Counts{0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 3} << 11 << Counts{3, 3} << true;
    QTest::newRow("keeps growing through all settling tries")
        << Counts{10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 100} << 10
        << Counts{10, 20, 30, 40, 50, 60, 70, 80, 90, 100} << false;
    QTest::newRow("equal on the ninth settling try")
        << Counts{10, 20, 30, 40, 50, 60, 70, 80, 90, 90} << 10
        << Counts{10, 20, 30, 40, 50, 60, 70, 80, 90, 90} << true;
}

void TestLinkFrames::completionWait()
{
    QFETCH(QVector<qint64>, looks);
    QFETCH(int, pauses);
    QFETCH(QVector<qint64>, counts);
    QFETCH(bool, settled);
    exchange::CompletionWait wait;
    int fed = 0;
    while (wait.phase() != exchange::CompletionWait::Phase::Done && fed < looks.size())
        wait.observe(looks.at(fed++));
    QCOMPARE(wait.phase(), exchange::CompletionWait::Phase::Done);
    QCOMPARE(fed, pauses);
    QCOMPARE(wait.pausesTaken(), pauses);
    QCOMPARE(wait.firstByteCount(), counts.value(0));
    QCOMPARE(wait.counts(), counts);
    QCOMPARE(wait.settled(), settled);
    wait.observe(1000); // a finished wait takes no more looks
    QCOMPARE(wait.counts(), counts);
}

void TestLinkFrames::portChoices_data()
{
    QTest::addColumn<QStringList>("available");
    QTest::addColumn<QStringList>("simulated");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("current");
    const QStringList system{"ttyS0", "ttyUSB0"};
    QTest::newRow("no ports at all") << QStringList() << QStringList() << QStringList() << -1;
    QTest::newRow("system ports: the last selected") << system << QStringList() << system << 1;
    QTest::newRow("simulated port appended and selected")
        << system << QStringList{"/dev/pts/7"} << (system + QStringList{"/dev/pts/7"}) << 2;
    QTest::newRow("simulated port already listed")
        << QStringList{"/dev/pts/3", "ttyS0"} << QStringList{"/dev/pts/3"}
        << QStringList{"/dev/pts/3", "ttyS0"} << 0;
    QTest::newRow("two simulated ports: the first selected")
        << QStringList{"ttyS0"} << QStringList{"/dev/pts/3", "/dev/pts/4"}
        << QStringList{"ttyS0", "/dev/pts/3", "/dev/pts/4"} << 1;
}

void TestLinkFrames::portChoices()
{
    QFETCH(QStringList, available);
    QFETCH(QStringList, simulated);
    QFETCH(QStringList, names);
    QFETCH(int, current);
    const ports::PortChoices choices = ports::portChoices(available, simulated);
    QCOMPARE(choices.names, names);
    QCOMPARE(choices.current, current);
}

QTEST_GUILESS_MAIN(TestLinkFrames)
#include "tst_link_frames.moc"
