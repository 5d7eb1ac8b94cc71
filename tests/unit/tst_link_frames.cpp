// Frames, chunk trimming, the completion rule and the port list: pure code of the device link.

#include "link/chunk_trim.h"
#include "link/completion_wait.h"
#include "link/frames.h"
#include "link/port_list.h"

#include <QDir>
#include <QFile>
#include <QtTest>

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

// A fixture file: one frame as hex pairs split by any whitespace.
QByteArray loadHexFrame(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QByteArray::fromHex(file.readAll().simplified().replace(' ', ""));
}

QStringList fixtureFrames()
{
    const QDir dir(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames"));
    QStringList paths;
    for (const QString &name : dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name))
        paths << dir.filePath(name);
    return paths;
}

} // namespace

using frames::Completeness;

class TestLinkFrames : public QObject
{
    Q_OBJECT

private slots:
    void registerRead_data();
    void registerRead();
    void registerWrite_data();
    void registerWrite();
    void crc16KnownValues_data();
    void crc16KnownValues();
    void flippedBitFailsTheCheck_data();
    void flippedBitFailsTheCheck();
    void mbusBuilders_data();
    void mbusBuilders();
    void crcMod256_data();
    void crcMod256();
    void fixtureFramesAreCompleteAndSummed();
    void mbusCompleteness_data();
    void mbusCompleteness();
    void registerAnswerCompleteness_data();
    void registerAnswerCompleteness();
    void trimChunk_data();
    void trimChunk();
    void completionWait_data();
    void completionWait();
    void completionWaitPauseLengths();
    void portChoices_data();
    void portChoices();
};

void TestLinkFrames::registerRead_data()
{
    QTest::addColumn<int>("address");
    QTest::addColumn<int>("reg");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("function");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("address 1, register 8, count 2") << 1 << 8 << 2 << 3 << hex("010300080002 45C9");
    QTest::newRow("address 1, register 0, count 10") << 1 << 0 << 10 << 3 << hex("01030000000A C5CD");
    QTest::newRow("address 17, register 107, count 3") << 0x11 << 0x6B << 3 << 3 << hex("1103006B0003 7687");
    QTest::newRow("address 1, register 8272, count 2") << 1 << 8272 << 2 << 3 << hex("010320500002 CFDA");
    QTest::newRow("address 1, register 8192, count 2") << 1 << 8192 << 2 << 3 << hex("010320000002 CFCB");
}

void TestLinkFrames::registerRead()
{
    QFETCH(int, address);
    QFETCH(int, reg);
    QFETCH(int, count);
    QFETCH(int, function);
    QFETCH(QByteArray, expected);
    const QByteArray frame =
        frames::registerRead(quint8(address), quint16(reg), quint16(count), quint8(function));
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
    QVERIFY(frames::crcIntact(frame));
}

void TestLinkFrames::registerWrite_data()
{
    QTest::addColumn<int>("reg");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("byteCount");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("address 17, register 1, two registers")
        << 1 << 2 << 4 << hex("000A0102") << hex("11100001000204000A0102 C6F0");
    // The byte count is the caller's word; the data goes out whole.
    QTest::newRow("byte count smaller than the data")
        << 1 << 2 << 2 << hex("000A0102") << hex("11100001000202000A0102 4EF0");
}

void TestLinkFrames::registerWrite()
{
    QFETCH(int, reg);
    QFETCH(int, count);
    QFETCH(int, byteCount);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, expected);
    const QByteArray frame =
        frames::registerWrite(0x11, quint16(reg), quint16(count), quint8(byteCount), data);
    QCOMPARE(frame.size(), 9 + data.size());
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
}

void TestLinkFrames::crc16KnownValues_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("crc");
    QTest::newRow("empty array") << QByteArray() << 0xFFFF;
    QTest::newRow("ASCII 123456789") << QByteArray("123456789") << 0x4B37;
    QTest::newRow("exception answer 01 83 02") << hex("018302") << 0xF1C0;
    QTest::newRow("frame followed by its CRC") << hex("010300080002 45C9") << 0;
}

void TestLinkFrames::crc16KnownValues()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, crc);
    QCOMPARE(int(frames::crc16(bytes)), crc);
}

void TestLinkFrames::flippedBitFailsTheCheck_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::newRow("clock read request") << hex("010300080002 45C9");
    QTest::newRow("exception answer") << hex("018302 C0F1");
    QTest::newRow("write request") << hex("11100001000204000A0102 C6F0");
}

void TestLinkFrames::flippedBitFailsTheCheck()
{
    QFETCH(QByteArray, frame);
    QVERIFY(frames::crcIntact(frame));
    for (int bit = 0; bit < frame.size() * 8; ++bit) {
        QByteArray damaged = frame;
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ (1 << (bit % 8)));
        QVERIFY2(!frames::crcIntact(damaged), qPrintable(QStringLiteral("bit %1 flipped").arg(bit)));
    }
}

void TestLinkFrames::mbusBuilders_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("REQ_UD2 to FE") << frames::mbusShort(0x7B, 0xFE) << hex("107BFE7916");
    QTest::newRow("SND_NKE to 5") << frames::mbusShort(0x40, 0x05) << hex("1040054516");
    QTest::newRow("SND_NKE to FF, sum wraps") << frames::mbusShort(0x40, 0xFF) << hex("1040FF3F16");
    QTest::newRow("reset telegram to 1")
        << frames::mbusLong(0x73, 0x01, 0x50, hex("11")) << hex("6804046873015011D516");
    QTest::newRow("speed write to 10")
        << frames::mbusLong(0x53, 0x0A, 0xBB, {}) << hex("6803036853 0ABB 1816");
}

void TestLinkFrames::mbusBuilders()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, expected);
    QCOMPARE(built.toHex(' '), expected.toHex(' '));
}

void TestLinkFrames::crcMod256_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<int>("sum");
    QTest::newRow("reset telegram 73 01 50 11") << hex("6804046873015011D516") << 0xD5;
    QTest::newRow("checksum and stop byte left out") << hex("680404687301501100FF") << 0xD5;
    QTest::newRow("four bytes") << hex("68040468") << 0;
    QTest::newRow("five bytes") << hex("6804046873") << 0;
    QTest::newRow("six bytes") << hex("680404687301") << 0;
    QTest::newRow("seven bytes") << hex("68010168730016") << 0x73;
    QTest::newRow("empty") << QByteArray() << 0;
}

void TestLinkFrames::crcMod256()
{
    QFETCH(QByteArray, frame);
    QFETCH(int, sum);
    QCOMPARE(int(frames::crcMod256(frame)), sum);
}

void TestLinkFrames::fixtureFramesAreCompleteAndSummed()
{
    const QStringList paths = fixtureFrames();
    QVERIFY2(paths.size() > 50, "the captured frames are missing");
    for (const QString &path : paths) {
        const QByteArray frame = loadHexFrame(path);
        QVERIFY2(frame.size() > 6, qPrintable(path));
        QCOMPARE(int(frames::crcMod256(frame)), int(quint8(frame.at(frame.size() - 2))));
        const frames::FrameCheck whole = frames::checkMbus(frame);
        QVERIFY2(whole.state == Completeness::Complete, qPrintable(path));
        QCOMPARE(whole.frameLength, frame.size());
        for (int cut = 4; cut < frame.size(); ++cut) {
            const frames::FrameCheck part = frames::checkMbus(frame.left(cut));
            QVERIFY2(part.state == Completeness::NeedMore, qPrintable(path));
            QCOMPARE(part.missing, frame.size() - cut);
        }
    }
}

void TestLinkFrames::mbusCompleteness_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("missing");
    const int complete = int(Completeness::Complete);
    const int needMore = int(Completeness::NeedMore);
    const int invalid = int(Completeness::Invalid);
    QTest::newRow("E5 alone") << hex("E5") << complete << 1 << 0;
    QTest::newRow("empty") << QByteArray() << needMore << 0 << 1;
    QTest::newRow("short frame, 3 bytes") << hex("107BFE") << needMore << 0 << 2;
    QTest::newRow("short frame") << hex("107BFE7916") << complete << 5 << 0;
    QTest::newRow("short frame, wrong sum") << hex("107BFE7816") << invalid << 0 << 0;
    QTest::newRow("long frame header only") << hex("68040468") << needMore << 0 << 6;
    QTest::newRow("long frame") << hex("6804046873015011D516") << complete << 10 << 0;
    QTest::newRow("long frame, lengths differ") << hex("6804056873015011D516") << invalid << 0 << 0;
    QTest::newRow("long frame, L below 3") << hex("680202687301 7416") << invalid << 0 << 0;
    QTest::newRow("long frame, wrong sum") << hex("6804046873015011D616") << invalid << 0 << 0;
    QTest::newRow("noise first") << hex("00E5") << invalid << 0 << 0;
}

void TestLinkFrames::mbusCompleteness()
{
    QFETCH(QByteArray, buffer);
    QFETCH(int, state);
    QFETCH(int, length);
    QFETCH(int, missing);
    const frames::FrameCheck check = frames::checkMbus(buffer);
    QCOMPARE(int(check.state), state);
    if (check.state == Completeness::Complete)
        QCOMPARE(check.frameLength, length);
    if (check.state == Completeness::NeedMore)
        QCOMPARE(check.missing, missing);
}

void TestLinkFrames::registerAnswerCompleteness_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<int>("function");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("missing");
    const int complete = int(Completeness::Complete);
    const int needMore = int(Completeness::NeedMore);
    const int invalid = int(Completeness::Invalid);
    QTest::newRow("read of 2 registers") << hex("0103040000 1000 F7F3") << 3 << 2 << complete << 0;
    QTest::newRow("read of 2 registers, 4 bytes in") << hex("01030400") << 3 << 2 << needMore << 5;
    QTest::newRow("one byte in") << hex("01") << 3 << 2 << needMore << 1;
    QTest::newRow("byte count does not fit the request") << hex("0103020000 F7F3") << 3 << 2 << invalid << 0;
    QTest::newRow("read, CRC damaged") << hex("0103040000 1000 F7F4") << 3 << 2 << invalid << 0;
    QTest::newRow("exception answer") << hex("018302 C0F1") << 3 << 2 << complete << 0;
    QTest::newRow("exception answer, 3 bytes in") << hex("018302") << 3 << 2 << needMore << 2;
    QTest::newRow("other function") << hex("01040400001000") << 3 << 2 << invalid << 0;
    QTest::newRow("write answer") << hex("0110000B0001 700B") << 0x10 << 1 << complete << 0;
}

void TestLinkFrames::registerAnswerCompleteness()
{
    QFETCH(QByteArray, buffer);
    QFETCH(int, function);
    QFETCH(int, count);
    QFETCH(int, state);
    QFETCH(int, missing);
    const frames::FrameCheck check = frames::checkRegisterAnswer(buffer, quint8(function), quint16(count));
    QCOMPARE(int(check.state), state);
    if (check.state == Completeness::NeedMore)
        QCOMPARE(check.missing, missing);
}

void TestLinkFrames::trimChunk_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<QByteArray>("kept");
    QTest::addColumn<bool>("noStartByte");
    QTest::newRow("E5 alone") << hex("E5") << hex("E5") << false;
    QTest::newRow("noise before E5") << hex("0011FFE5") << hex("E5") << false;
    QTest::newRow("noise before 68") << hex("A5A5 6803036853 0ABB1816") << hex("6803036853 0ABB1816")
                                     << false;
    QTest::newRow("starts with 68, E5 inside") << hex("6803E5") << hex("6803E5") << false;
    QTest::newRow("neither E5 nor 68") << hex("0103040000") << hex("0103040000") << true;
    QTest::newRow("empty") << QByteArray() << QByteArray() << true;
    // A register answer in one chunk whose data holds 68 loses its head.
    QTest::newRow("register answer with 68 in its data")
        << hex("01030400681000 762F") << hex("681000762F") << false;
    // The second chunk of an answer is trimmed on its own.
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
    QTest::addColumn<QVector<qint64>>("looks"); // count seen after each pause
    QTest::addColumn<int>("pauses");
    QTest::addColumn<qint64>("firstByteCount");
    QTest::addColumn<QVector<qint64>>("counts");
    QTest::addColumn<bool>("settled");
    QTest::newRow("silent device") << QVector<qint64>(12, 0) << 10 << qint64(0) << QVector<qint64>{} << false;
    QTest::newRow("answer whole at the first look")
        << QVector<qint64>{9, 9} << 2 << qint64(9) << QVector<qint64>{9, 9} << true;
    QTest::newRow("48 bytes arriving over two pauses")
        << QVector<qint64>{0, 20, 48, 48, 48} << 4 << qint64(20) << QVector<qint64>{20, 48, 48} << true;
    QTest::newRow("first byte at the tenth look") << QVector<qint64>{0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 3} << 11
                                                  << qint64(3) << QVector<qint64>{3, 3} << true;
    QTest::newRow("keeps growing through all settling tries")
        << QVector<qint64>{10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 100, 100} << 10 << qint64(10)
        << QVector<qint64>{10, 20, 30, 40, 50, 60, 70, 80, 90, 100} << false;
    QTest::newRow("equal on the ninth settling try")
        << QVector<qint64>{10, 20, 30, 40, 50, 60, 70, 80, 90, 90} << 10 << qint64(10)
        << QVector<qint64>{10, 20, 30, 40, 50, 60, 70, 80, 90, 90} << true;
}

void TestLinkFrames::completionWait()
{
    QFETCH(QVector<qint64>, looks);
    QFETCH(int, pauses);
    QFETCH(qint64, firstByteCount);
    QFETCH(QVector<qint64>, counts);
    QFETCH(bool, settled);
    exchange::CompletionWait wait;
    int fed = 0;
    while (wait.phase() != exchange::CompletionWait::Phase::Done && fed < looks.size())
        wait.observe(looks.at(fed++));
    QCOMPARE(wait.phase(), exchange::CompletionWait::Phase::Done);
    QCOMPARE(fed, pauses);
    QCOMPARE(wait.pausesTaken(), pauses);
    QCOMPARE(wait.firstByteCount(), firstByteCount);
    QCOMPARE(wait.counts(), counts);
    QCOMPARE(wait.settled(), settled);
    wait.observe(1000);
    QCOMPARE(wait.counts(), counts);
}

void TestLinkFrames::completionWaitPauseLengths()
{
    exchange::CompletionWait wait(350);
    QCOMPARE(wait.pauseMs(), 350);
    wait.observe(0);
    QCOMPARE(wait.pauseMs(), 350);
    wait.observe(4);
    QCOMPARE(wait.phase(), exchange::CompletionWait::Phase::Settling);
    QCOMPARE(wait.pauseMs(), exchange::kPauseMs);
    wait.observe(4);
    QCOMPARE(wait.pauseMs(), 0);
}

void TestLinkFrames::portChoices_data()
{
    QTest::addColumn<QStringList>("available");
    QTest::addColumn<QStringList>("simulated");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("current");
    QTest::newRow("no ports at all") << QStringList() << QStringList() << QStringList() << -1;
    QTest::newRow("system ports: the last selected")
        << QStringList{"ttyS0", "ttyUSB0"} << QStringList() << QStringList{"ttyS0", "ttyUSB0"} << 1;
    QTest::newRow("simulated port appended and selected")
        << QStringList{"ttyS0", "ttyUSB0"} << QStringList{"/dev/pts/7"}
        << QStringList{"ttyS0", "ttyUSB0", "/dev/pts/7"} << 2;
    QTest::newRow("only a simulated port")
        << QStringList() << QStringList{"/dev/pts/3"} << QStringList{"/dev/pts/3"} << 0;
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
