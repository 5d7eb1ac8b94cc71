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
        port.setParity(QSerialPort::EvenParity);
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
    void speedWriteSwitchesTheDevice();
    void faultForTheNextOrEveryAnswer();
    void splitAnswerComesInLatePieces();
    void pauseInsideARequestDropsIt();
    void clientsComeAndGo();
    void stableLinkFollowsThePort();

private:
    std::unique_ptr<sim::DeviceSimulator> sim;
};

void TestDeviceSimulator::init()
{
    sim = std::make_unique<sim::DeviceSimulator>();
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
    QTest::newRow("SND_NKE to address 1") << hex("1040014116") << 1;
    QTest::newRow("information request, 48-byte answer") << hex("680505685301517F002416") << 48;
    QTest::newRow("REQ_UD2, 193-byte data telegram") << hex("107BFE7916") << 193;
}

void TestDeviceSimulator::answersAtTheLineRate()
{
    QFETCH(QByteArray, request);
    QFETCH(int, answerSize);
    Client client(sim->portPath());
    QVERIFY2(client.open(), qPrintable(client.port.errorString()));
    QSignalSpy handled(sim.get(), &sim::DeviceSimulator::requestHandled);
    QVERIFY(handled.isValid());

    const QByteArray answer = client.exchange(request);
    QCOMPARE(answer.size(), answerSize);
    // Bytes trickle in at the line rate, not in one burst.
    QVERIFY2(client.arrivals.size() > answerSize / 10, qPrintable(QString::number(client.arrivals.size())));
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

void TestDeviceSimulator::speedWriteSwitchesTheDevice()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    QSignalSpy changed(sim.get(), &sim::DeviceSimulator::modelChanged);
    // The acknowledgement still comes at the old speed ...
    QCOMPARE(client.exchange(hex("680303685301BD1116")), hex("E5"));
    QCOMPARE(sim->model().speedCode, quint8(0xBD));
    QCOMPARE(changed.size(), 1);
    // ... after which the device ignores a master at 2400 ...
    QCOMPARE(client.exchange(hex("1040014116"), kSilenceMs), QByteArray());
    QCOMPARE(sim->received().right(5), hex("1040014116"));
    QCOMPARE(sim->requests().size(), 1);
    // ... and answers at 9600.
    QVERIFY(client.port.setBaudRate(9600));
    QCOMPARE(client.exchange(hex("680505685301517F002416")).size(), 48);
    QVERIFY2(client.lastByteMs() <= lineMs(11 + 48, 9600) + sim->turnaroundMs() + kSlackMs,
             qPrintable(QString::number(client.lastByteMs())));
    QCOMPARE(client.exchange(hex("010300060001640B")), hex("0103020003F845"));
}

void TestDeviceSimulator::faultForTheNextOrEveryAnswer()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    sim->setFault(sim::Fault::Silence);
    // A foreign address gets no answer anyway, so it does not use up the fault.
    QCOMPARE(client.exchange(hex("1040054516"), kSilenceMs), QByteArray());
    QCOMPARE(client.exchange(hex("1040014116"), kSilenceMs), QByteArray());
    QCOMPARE(client.exchange(hex("1040014116")), hex("E5"));

    sim->setFault(sim::Fault::WrongChecksum, true);
    for (int round = 0; round < 2; ++round) // bus address register, normally 01 03 02 00 01 79 84
        QCOMPARE(client.exchange(hex("010300050001940B")).toHex(), QByteArray("01030200017a84"));
}

void TestDeviceSimulator::splitAnswerComesInLatePieces()
{
    Client client(sim->portPath());
    QVERIFY(client.open());
    sim->setFault(sim::Fault::SplitAnswer);
    const QByteArray answer =
        client.exchange(hex("680505685301517F002416"), sim::DeviceSimulator::kSplitGapMs + 200);
    QCOMPARE(answer.size(), 48);
    // Three pieces of 16 bytes: two gaps of at least kSplitGapMs between the arrivals.
    int gaps = 0;
    for (int i = 1; i < client.arrivals.size(); ++i) {
        if (client.arrivals.at(i).ms - client.arrivals.at(i - 1).ms >= sim::DeviceSimulator::kSplitGapMs - 10)
            ++gaps;
    }
    QCOMPARE(gaps, 2);
    QVERIFY(client.lastByteMs() >= 2 * sim::DeviceSimulator::kSplitGapMs + lineMs(48, 2400));
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

void TestDeviceSimulator::clientsComeAndGo()
{
    for (int round = 0; round < 3; ++round) {
        Client client(sim->portPath());
        QVERIFY2(client.open(), qPrintable(client.port.errorString()));
        QCOMPARE(client.exchange(hex("1040014116")), hex("E5"));
        client.port.close();
        QTest::qWait(20);
    }
    QCOMPARE(sim->sent(), hex("E5E5E5"));
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
