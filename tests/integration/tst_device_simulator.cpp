// The simulated device over a real pseudo-terminal, spoken to by QSerialPort at the M-Bus line
// settings. Timings are checked against the line rate: 11 bits per character.

#include "sim/device_simulator.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace
{

constexpr int kQuietMs = 250; // no byte for this long: the answer is over
constexpr int kSlackMs = 150; // event-loop and scheduling allowance on top of the line time
constexpr int kSilenceMs = 500;

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

double lineMs(int bytes, int baud)
{
    return bytes * 11 * 1000.0 / baud;
}

struct Arrival {
    qint64 ms;
    QByteArray bytes;
};

// A client on the slave side, opened like the configurator opens its port.
class Client
{
public:
    explicit Client(const QString &path, int baud = 2400)
    {
        port.setPortName(path);
        port.setBaudRate(baud);
        port.setDataBits(QSerialPort::Data8);
        port.setParity(QSerialPort::EvenParity);
        port.setStopBits(QSerialPort::OneStop);
        QObject::connect(&port, &QSerialPort::readyRead, [this] {
            arrivals.append({clock.elapsed(), port.readAll()});
        });
    }

    bool open() { return port.open(QIODevice::ReadWrite); }

    // Writes the request and collects what comes back until the line has been quiet for quietMs.
    QByteArray exchange(const QByteArray &request, int quietMs = kQuietMs)
    {
        port.clear();
        arrivals.clear();
        clock.start();
        port.write(request);
        qint64 lastActivity = 0;
        int seen = 0;
        while (clock.elapsed() - lastActivity < quietMs) {
            QTest::qWait(5);
            if (arrivals.size() != seen) {
                seen = arrivals.size();
                lastActivity = clock.elapsed();
            }
        }
        QByteArray all;
        for (const Arrival &a : arrivals)
            all += a.bytes;
        return all;
    }

    qint64 lastByteMs() const { return arrivals.isEmpty() ? -1 : arrivals.last().ms; }
    qint64 firstByteMs() const { return arrivals.isEmpty() ? -1 : arrivals.first().ms; }

    QSerialPort port;
    QElapsedTimer clock;
    QList<Arrival> arrivals;
};

} // namespace

class TestDeviceSimulator : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void answersAtTheLineRate_data();
    void answersAtTheLineRate();
    void longTelegramIsPaced();
    void wrongLineSpeedIsIgnored();
    void speedWriteSwitchesTheDevice();
    void addressWriteMovesTheDevice();
    void faults_data();
    void faults();
    void nextAnswerFaultIsUsedOnce();
    void splitAnswerComesInLatePieces();
    void pauseInsideARequestDropsIt();
    void noiseBeforeARequestIsSkipped();
    void clientsComeAndGo();
    void stableLinkFollowsThePort();

private:
    std::unique_ptr<DeviceSimulator> sim;
};

void TestDeviceSimulator::init()
{
    sim = std::make_unique<DeviceSimulator>();
    QString error;
    QVERIFY2(sim->start(&error), qPrintable(error));
    QVERIFY(QFileInfo::exists(sim->portPath()));
}

void TestDeviceSimulator::cleanup()
{
    sim.reset();
}

void TestDeviceSimulator::answersAtTheLineRate_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("answerSize");
    QTest::addColumn<QByteArray>("answerStart");

    QTest::newRow("SND_NKE to address 1") << hex("1040014116") << 1 << hex("E5");
    QTest::newRow("information request, 48-byte answer")
        << hex("680505685301517F002416") << 48 << hex("682A2A680801727856341256");
    QTest::newRow("clock registers") << hex("01030008000245C9") << 9 << hex("010304");
}

void TestDeviceSimulator::answersAtTheLineRate()
{
    QFETCH(QByteArray, request);
    QFETCH(int, answerSize);
    QFETCH(QByteArray, answerStart);
    Client client(sim->portPath());
    QVERIFY2(client.open(), qPrintable(client.port.errorString()));
    QSignalSpy handled(sim.get(), &DeviceSimulator::requestHandled);
    QVERIFY(handled.isValid());

    const QByteArray answer = client.exchange(request);
    QCOMPARE(answer.size(), answerSize);
    QVERIFY2(answer.startsWith(answerStart), answer.toHex(' ').constData());
    QCOMPARE(sim->requests(), QList<QByteArray>{request});
    QCOMPARE(handled.size(), 1);
    QCOMPARE(handled.first().at(1).toByteArray(), answer);

    // The last byte arrives after the request and the answer have crossed the line, plus the turnaround.
    const double expected = lineMs(request.size() + answer.size(), 2400) + sim->turnaroundMs();
    qInfo("%s: %d bytes, last byte after %lld ms (line model %.0f ms)", QTest::currentDataTag(),
          answer.size(), client.lastByteMs(), expected);
    QVERIFY2(client.lastByteMs() >= expected - 10, qPrintable(QString::number(client.lastByteMs())));
    QVERIFY2(client.lastByteMs() <= expected + kSlackMs, qPrintable(QString::number(client.lastByteMs())));
}

void TestDeviceSimulator::longTelegramIsPaced()
{
    sim->model().channels[0].counter = 0x01020304;
    Client client(sim->portPath());
    QVERIFY(client.open());
    const QByteArray telegram = client.exchange(hex("107BFE7916"));
    QCOMPARE(telegram.size(), 193);
    QCOMPARE(telegram.mid(19, 8), hex("8440FD3A04030201"));
    // Bytes trickle in: many small reads spread over the telegram's line time, not one burst.
    const double span = lineMs(telegram.size() - 1, 2400);
    QVERIFY2(client.lastByteMs() - client.firstByteMs() >= span - 20,
             qPrintable(QStringLiteral("%1 ms").arg(client.lastByteMs() - client.firstByteMs())));
    QVERIFY2(client.arrivals.size() > 20, qPrintable(QString::number(client.arrivals.size())));
}

void TestDeviceSimulator::wrongLineSpeedIsIgnored()
{
    Client client(sim->portPath(), 9600);
    QVERIFY(client.open());
    const QByteArray request = hex("1040014116");
    QCOMPARE(client.exchange(request, kSilenceMs), QByteArray());
    QCOMPARE(sim->received(), request);
    QVERIFY(sim->requests().isEmpty());

    QVERIFY(client.port.setBaudRate(2400));
    QCOMPARE(client.exchange(request), hex("E5"));
}

void TestDeviceSimulator::speedWriteSwitchesTheDevice()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    QSignalSpy changed(sim.get(), &DeviceSimulator::modelChanged);
    // The acknowledgement still comes at the old speed ...
    QCOMPARE(client.exchange(hex("680303685301BD1116")), hex("E5"));
    QCOMPARE(sim->model().speedCode, quint8(0xBD));
    QCOMPARE(changed.size(), 1);
    // ... after which the device listens at 9600 only.
    QCOMPARE(client.exchange(hex("1040014116"), kSilenceMs), QByteArray());
    QVERIFY(client.port.setBaudRate(9600));
    QCOMPARE(client.exchange(hex("680505685301517F002416")).size(), 48);
    QVERIFY2(client.lastByteMs() <= lineMs(11 + 48, 9600) + sim->turnaroundMs() + kSlackMs,
             qPrintable(QString::number(client.lastByteMs())));
    QCOMPARE(client.exchange(hex("010300060001640B")), hex("0103020003F845"));
}

void TestDeviceSimulator::addressWriteMovesTheDevice()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    QCOMPARE(client.exchange(hex("68060668530151017A072716")), hex("E5"));
    QCOMPARE(client.exchange(hex("1040014116"), kSilenceMs), QByteArray());
    QCOMPARE(client.exchange(hex("1040074716")), hex("E5"));
    QCOMPARE(sim->model().address, quint8(7));
}

void TestDeviceSimulator::faults_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");

    const QByteArray address = hex("010300050001940B"); // bus address register, normally 01 03 02 00 01 79 84
    QTest::newRow("silence") << int(Fault::Silence) << address << QByteArray();
    QTest::newRow("wrong CRC") << int(Fault::WrongChecksum) << address << hex("01030200017A84");
    QTest::newRow("wrong length") << int(Fault::WrongLength) << address << hex("01030200010045E2");
    QTest::newRow("exception, register read") << int(Fault::ExceptionAnswer) << address << hex("018302C0F1");
    QTest::newRow("exception, SND_NKE")
        << int(Fault::ExceptionAnswer) << hex("1040014116") << hex("68040468080170007916");
    QTest::newRow("truncated") << int(Fault::TruncatedAnswer) << address << hex("010302");
}

void TestDeviceSimulator::faults()
{
    QFETCH(int, fault);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    Client client(sim->portPath());
    QVERIFY(client.open());
    sim->setFault(static_cast<Fault>(fault), true);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(client.exchange(request, answer.isEmpty() ? kSilenceMs : kQuietMs).toHex(' '),
                 answer.toHex(' '));
    }
    QCOMPARE(sim->requests().size(), 2);
}

void TestDeviceSimulator::nextAnswerFaultIsUsedOnce()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    sim->setFault(Fault::Silence);
    // A foreign address gets no answer anyway, so it does not use up the fault.
    QCOMPARE(client.exchange(hex("1040054516"), kSilenceMs), QByteArray());
    QCOMPARE(client.exchange(hex("1040014116"), kSilenceMs), QByteArray());
    QCOMPARE(sim->fault(), Fault::None);
    QCOMPARE(client.exchange(hex("1040014116")), hex("E5"));
}

void TestDeviceSimulator::splitAnswerComesInLatePieces()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    sim->setFault(Fault::SplitAnswer);
    const QByteArray answer =
        client.exchange(hex("680505685301517F002416"), DeviceSimulator::kSplitGapMs + 200);
    QCOMPARE(answer.size(), 48);
    QCOMPARE(static_cast<quint8>(answer.at(47)), quint8(0x16));
    // Three pieces of 16 bytes: two gaps of at least kSplitGapMs between the arrivals.
    int gaps = 0;
    for (int i = 1; i < client.arrivals.size(); ++i) {
        if (client.arrivals.at(i).ms - client.arrivals.at(i - 1).ms >= DeviceSimulator::kSplitGapMs - 10)
            ++gaps;
    }
    QCOMPARE(gaps, 2);
    QVERIFY(client.lastByteMs() >= 2 * DeviceSimulator::kSplitGapMs + lineMs(48, 2400));
}

void TestDeviceSimulator::pauseInsideARequestDropsIt()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    const QByteArray request = hex("680505685301517F002416");
    client.port.write(request.left(5));
    QTest::qWait(100);
    QCOMPARE(client.exchange(request.mid(5), kSilenceMs), QByteArray());
    QVERIFY(sim->requests().isEmpty());
    QCOMPARE(client.exchange(request).size(), 48);
}

void TestDeviceSimulator::noiseBeforeARequestIsSkipped()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    QCOMPARE(client.exchange(hex("00FF5501") + hex("1040014116")), hex("E5"));
    QCOMPARE(sim->requests(), QList<QByteArray>{hex("1040014116")});
}

void TestDeviceSimulator::clientsComeAndGo()
{
    for (int round = 0; round < 5; ++round) {
        Client client(sim->portPath());
        QVERIFY2(client.open(), qPrintable(client.port.errorString()));
        QCOMPARE(client.exchange(hex("1040014116")), hex("E5"));
        client.port.close();
        QTest::qWait(20);
    }
    QCOMPARE(sim->requests().size(), 5);
    QCOMPARE(sim->sent(), hex("E5E5E5E5E5"));
}

void TestDeviceSimulator::stableLinkFollowsThePort()
{
    QTemporaryDir dir;
    const QString link = dir.filePath("zorva");
    QString error;
    QVERIFY2(sim->makeSymlink(link, &error), qPrintable(error));
    QCOMPARE(QFileInfo(link).symLinkTarget(), sim->portPath());
    {
        Client client(link);
        QVERIFY(client.open());
        QCOMPARE(client.exchange(hex("1040014116")), hex("E5"));
    }
    // A regular file is never replaced by the link.
    const QString file = dir.filePath("file");
    QFile(file).open(QIODevice::WriteOnly);
    QVERIFY(!sim->makeSymlink(file, &error));
    QVERIFY(QFileInfo(file).isFile());
    sim->stop();
    QVERIFY(!QFileInfo(link).isSymLink());
}

QTEST_GUILESS_MAIN(TestDeviceSimulator)
#include "tst_device_simulator.moc"
