// The device link of the form against the simulated device over a real pseudo-terminal: the port
// session, the writer, both exchange patterns with their waits, the readers and their trimming.
// The exchange helpers are private to the form; this test is its friend and drives them the way
// the command slots do.

#include "common/pause.h"
#include "link/frames.h"
#include "link/port_list.h"
#include "tests/support/form_on_simulator.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSerialPortInfo>
#include <QSet>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

constexpr quint8 kAddress = 1;
constexpr quint16 kCounterRegister = 8192;

// Register answers to a read of channel 1's counter, with their CRC.
const char *const kCounterAnswer00031234 = "01030412340003 FE84";

QByteArray informationRequest()
{
    return frames::mbusLong(0x53, kAddress, 0x51, hex("7F00"));
}

// The line settings the open port really has.
bool readTermios(const QSerialPort *port, termios *settings)
{
    return port->isOpen() && ::tcgetattr(int(port->handle()), settings) == 0;
}

// A far end of our own on a second pseudo-terminal, for line behaviour the device never shows:
// bytes that keep dribbling in, or several answers in one burst.
class ScriptedLine
{
public:
    ScriptedLine()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
            return;
        m_path = QString::fromLocal8Bit(::ptsname(m_master));
        // Held open so the master never sees the line hang up between the form's opens.
        m_slave = ::open(m_path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { dribble(); });
    }
    ~ScriptedLine()
    {
        if (m_slave >= 0)
            ::close(m_slave);
        if (m_master >= 0)
            ::close(m_master);
    }
    bool ready() const { return m_slave >= 0; }
    QString path() const { return m_path; }

    bool send(const QByteArray &bytes)
    {
        return ::write(m_master, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }
    // One byte every intervalMs, `count` bytes in all.
    void startDribble(int count, int intervalMs)
    {
        m_left = count;
        m_timer.start(intervalMs);
    }

private:
    void dribble()
    {
        const char byte = char(0x10 + m_left % 0x40);
        if (m_left-- <= 0 || ::write(m_master, &byte, 1) != 1)
            m_timer.stop();
    }

    int m_master = -1;
    int m_slave = -1;
    QString m_path;
    QTimer m_timer;
    int m_left = 0;
};

} // namespace

class TestLinkExchange : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void lineSettingsReachThePort();
    void toggleOpensAndCloses();
    void badPortNames_data();
    void badPortNames();
    void changingThePortWhileOpenKeepsTheOpenPort();
    void portListOffersTheSimulatedPort();
    void rateChangeReachesTheOpenPort_data();
    void rateChangeReachesTheOpenPort();
    void closedPortSendsNothing();
    void writerLogsTheRequest();
    void repeatedConnectDoesNotDuplicate();
    void deviceGoneWhilePortOpen();

    void silentDeviceEndsAfterTenPauses();
    void channelVariantFirstBytePause_data();
    void channelVariantFirstBytePause();
    void answersAreCollectedWhole_data();
    void answersAreCollectedWhole();
    void configurationReadThroughItsButton_data();
    void configurationReadThroughItsButton();
    void growingAnswerIsTakenAsItStands();
    void noiseBeforeTheAnswer_data();
    void noiseBeforeTheAnswer();
    void splitAnswerInFixedPause();
    void laterChunksAreTrimmedToo_data();
    void laterChunksAreTrimmedToo();

    void flippedBitShowsItsBox();
    void secondReader_data();
    void secondReader();
    void validatingReader_data();
    void validatingReader();
    void validatingReaderKeepsTheRest();

private:
    Form &form() { return m_fx->form(); }
    // The completion-wait exchange: the configuration read, the writes, raw commands. Returns the
    // length of the wait in milliseconds.
    qint64 completionExchange(const QByteArray &request, bool channelVariant = false);
    // The fixed-pause exchange: the register reads.
    void fixedPauseExchange(const QByteArray &request, int pauseMs);
    void reopenOn(const QString &path);

    std::unique_ptr<FormOnSimulator> m_fx;
};

void TestLinkExchange::init()
{
    m_fx = std::make_unique<FormOnSimulator>();
    QVERIFY2(m_fx->ready(), qPrintable(m_fx->error()));
    m_fx->sim().model().channels[0].counter = 0x00031234;
    m_fx->clearLogs();
}

void TestLinkExchange::cleanup()
{
    m_fx.reset();
}

qint64 TestLinkExchange::completionExchange(const QByteArray &request, bool channelVariant)
{
    Form &f = form();
    f.vectorPortRead.clear();
    f.dataAnswer.clear();
    if (!f.portIsOpenOrWarn())
        return 0;
    f.disconnectReader();
    f.packet = request;
    f.on_pushButton_portWrite_clicked();
    QElapsedTimer elapsed;
    elapsed.start();
    if (channelVariant)
        f.waitBeyondWritingChannel();
    else
        f.waitBeyondWriting();
    const qint64 ms = elapsed.elapsed();
    f.on_portReadyRead();
    return ms;
}

void TestLinkExchange::fixedPauseExchange(const QByteArray &request, int pauseMs)
{
    Form &f = form();
    f.vectorPortRead.clear();
    f.dataAnswer.clear();
    if (!f.portIsOpenOrWarn())
        return;
    f.connectReader();
    f.packet = request;
    f.on_pushButton_portWrite_clicked();
    nonBlockingPause(pauseMs);
    f.disconnectReader();
}

void TestLinkExchange::reopenOn(const QString &path)
{
    m_fx->w<QToolButton>("toolButton_openPort")->click();
    QVERIFY(!form().port->isOpen());
    m_fx->typePortAndToggle(path);
    QVERIFY2(form().port->isOpen(), qPrintable(m_fx->boxes().texts().join("; ")));
}

void TestLinkExchange::lineSettingsReachThePort()
{
    QSerialPort *port = form().port;
    QCOMPARE(port->baudRate(), 2400);
    QCOMPARE(port->dataBits(), QSerialPort::Data8);
    QCOMPARE(port->parity(), QSerialPort::EvenParity);
    QCOMPARE(port->stopBits(), QSerialPort::OneStop);
    QCOMPARE(port->readBufferSize(), qint64(1024));

    termios settings{};
    QVERIFY(readTermios(form().port, &settings));
    QCOMPARE(cfgetospeed(&settings), speed_t(B2400));
    QCOMPARE(cfgetispeed(&settings), speed_t(B2400));
    QCOMPARE(settings.c_cflag & CSIZE, tcflag_t(CS8));
    QVERIFY(!(settings.c_cflag & CSTOPB));
}

void TestLinkExchange::toggleOpensAndCloses()
{
    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    QCOMPARE(toggle->text(), QStringLiteral("Закрыть порт"));
    QVERIFY(toggle->isChecked());
    QVERIFY(form().checkedOpenPort);

    toggle->click();
    QVERIFY(!form().port->isOpen());
    QCOMPARE(toggle->text(), QStringLiteral("Открыть порт"));
    QVERIFY(!toggle->isChecked());
    QVERIFY(!form().checkedOpenPort);
    QVERIFY(m_fx->log().contains("Form::on_toolButton_openPort_clicked()"));

    toggle->click();
    QVERIFY(form().port->isOpen());
    QCOMPARE(toggle->text(), QStringLiteral("Закрыть порт"));
    QCOMPARE(m_fx->boxes().texts(), QStringList());

    completionExchange(frames::mbusShort(0x40, kAddress));
    QCOMPARE(form().vectorPortRead, QVector<QByteArray>{hex("E5")});
}

void TestLinkExchange::badPortNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("garbage text") << QStringLiteral("#$%^&*() COM3");
    QTest::newRow("Cyrillic and control characters") << QStringLiteral("порт\x01\x7F№");
    QTest::newRow("no such device") << QStringLiteral("/dev/ttyZORVA-absent");
    QTest::newRow("a directory") << QStringLiteral("/tmp");
    QTest::newRow("not a terminal") << QStringLiteral("/dev/null");
    QTest::newRow("a regular file") << QStringLiteral(ZORVA_SOURCE_DIR "/README.md");
    QTest::newRow("empty") << QString();
    QTest::newRow("very long") << QString(300, QLatin1Char('x'));
}

void TestLinkExchange::badPortNames()
{
    QFETCH(QString, name);
    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    toggle->click();
    QVERIFY(!form().port->isOpen());

    m_fx->typePortAndToggle(name);
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Не удалось открыть порт")});
    QCOMPARE(m_fx->boxes().boxes.first().kind, BoxKind::Error);
    QVERIFY(!form().port->isOpen());
    QCOMPARE(toggle->text(), QStringLiteral("Открыть порт"));
    QVERIFY(!toggle->isChecked());

    // The page is still usable: the right name opens.
    m_fx->boxes().clear();
    m_fx->typePortAndToggle(m_fx->sim().portPath());
    QVERIFY(form().port->isOpen());
    QCOMPARE(m_fx->boxes().texts(), QStringList());
}

void TestLinkExchange::changingThePortWhileOpenKeepsTheOpenPort()
{
    QLineEdit *edit = m_fx->w<QComboBox>("comboBox_portList")->lineEdit();
    edit->selectAll();
    QTest::keyClicks(edit, "/dev/null");
    QTest::keyClick(edit, Qt::Key_Return);
    QCOMPARE(m_fx->w<QComboBox>("comboBox_portList")->currentText(), QStringLiteral("/dev/null"));
    QVERIFY(form().port->isOpen());

    completionExchange(frames::mbusShort(0x40, kAddress));
    QCOMPARE(form().vectorPortRead, QVector<QByteArray>{hex("E5")});

    // Closed and opened again, the port follows the new name.
    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    toggle->click();
    toggle->click();
    QVERIFY(!form().port->isOpen());
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Не удалось открыть порт")});
}

void TestLinkExchange::portListOffersTheSimulatedPort()
{
    CoreServices services;
    const QString path = m_fx->sim().portPath();
    const int startupBoxes = m_fx->startupBoxes().size();
    const int expectedStartupBoxes = QSerialPortInfo::availablePorts().isEmpty() ? 1 : 0;
    QCOMPARE(startupBoxes, expectedStartupBoxes);
    if (expectedStartupBoxes == 1)
        QCOMPARE(m_fx->startupBoxes().first().text, QStringLiteral("com портов не обнаружено"));

    ports::publishSimulatedPort(path);
    Form page;
    const bool initialised = page.initialize(services.modules());
    qApp->setProperty(ports::kSimulatedPortsProperty, QVariant());
    QVERIFY(initialised);
    auto *list = page.findChild<QComboBox *>("comboBox_portList");
    QCOMPARE(list->currentText(), path);
    QCOMPARE(list->count(), QSerialPortInfo::availablePorts().size() + 1);
    QCOMPARE(m_fx->boxes().texts(), QStringList());

    // Once the first page lets the device go, the second opens it straight from its list.
    m_fx->w<QToolButton>("toolButton_openPort")->click();
    page.findChild<QToolButton *>("toolButton_openPort")->click();
    QVERIFY(page.port->isOpen());
    QCOMPARE(m_fx->boxes().texts(), QStringList());
}

void TestLinkExchange::rateChangeReachesTheOpenPort_data()
{
    QTest::addColumn<QString>("rate");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("speed");
    QTest::newRow("1200") << QStringLiteral("1200") << 0xBA << int(B1200);
    QTest::newRow("4800") << QStringLiteral("4800") << 0xBC << int(B4800);
    QTest::newRow("9600") << QStringLiteral("9600") << 0xBD << int(B9600);
    QTest::newRow("2400 again") << QStringLiteral("2400") << 0xBB << int(B2400);
}

void TestLinkExchange::rateChangeReachesTheOpenPort()
{
    QFETCH(QString, rate);
    QFETCH(int, code);
    QFETCH(int, speed);
    auto *rates = m_fx->w<QComboBox>("comboBox_selectRate");
    if (rates->currentText() == rate)
        rates->setCurrentText(rate == QLatin1String("2400") ? QStringLiteral("9600")
                                                            : QStringLiteral("2400"));
    m_fx->clearLogs();
    rates->setCurrentText(rate);

    QCOMPARE(form().port->baudRate(), rate.toInt());
    QCOMPARE(form().currentRate, code);
    QVERIFY(form().port->isOpen());
    QVERIFY(m_fx->log().contains("QString::number(currentRate, 16) " + QString::number(code, 16)));
    QVERIFY(m_fx->log().contains("QString::number(port->baudRate()) " + rate));
    termios settings{};
    QVERIFY(readTermios(form().port, &settings));
    QCOMPARE(int(cfgetospeed(&settings)), speed);

    // A device at 2400 baud does not hear a master at another speed; at the master's speed it does.
    m_fx->sim().model().speedCode = 0xBB;
    completionExchange(frames::mbusShort(0x40, kAddress));
    QCOMPARE(form().vectorPortRead.isEmpty(), rate != QLatin1String("2400"));
    m_fx->sim().model().speedCode = quint8(code);
    completionExchange(frames::mbusShort(0x40, kAddress));
    QCOMPARE(form().vectorPortRead, QVector<QByteArray>{hex("E5")});
}

void TestLinkExchange::closedPortSendsNothing()
{
    m_fx->w<QToolButton>("toolButton_openPort")->click();
    m_fx->sim().clearTraffic();

    fixedPauseExchange(frames::registerRead(kAddress, kCounterRegister, 2), 300);
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Порт закрыт")});
    QCOMPARE(m_fx->boxes().boxes.first().kind, BoxKind::Error);

    // The writer itself, reached through its hidden button, logs the failure and sends nothing.
    form().packet = frames::mbusShort(0x40, kAddress);
    m_fx->w<QAbstractButton>("pushButton_portWrite")->click();
    nonBlockingPause(300);
    QVERIFY(m_fx->log().contains(QStringLiteral("Ошибка при записи пакета в порт. cnt -1")));
    QVERIFY(!m_fx->log().contains(QStringLiteral("Данные в порт записаны.")));
    QCOMPARE(m_fx->sim().received(), QByteArray());
    QVERIFY(form().vectorPortRead.isEmpty());
}

void TestLinkExchange::writerLogsTheRequest()
{
    const QByteArray request = frames::registerRead(kAddress, kCounterRegister, 2);
    form().packetMakeToRead(kAddress, 3, kCounterRegister, 2);
    QCOMPARE(form().packet, request);
    form().packetMakeToWrite(kAddress, 16, 11, 1, 2, hex("0000"));
    QCOMPARE(form().packet, frames::registerWrite(kAddress, 11, 1, 2, hex("0000")));

    form().packetMakeToRead(kAddress, 3, kCounterRegister, 2);
    form().on_pushButton_portWrite_clicked();
    QVERIFY(m_fx->log().contains("packet.toHex() " + request.toHex()));
    QVERIFY(m_fx->log().contains(QStringLiteral("Данные в порт записаны.")));
    QVERIFY(m_fx->log().contains("packetData " + request.toHex(' ')));
    QTRY_COMPARE(m_fx->sim().received(), request);
}

void TestLinkExchange::repeatedConnectDoesNotDuplicate()
{
    form().connectReader();
    form().connectReader();
    QVERIFY(QObject::disconnect(form().port, SIGNAL(readyRead()), &form(), SLOT(on_portReadyRead())));
    QVERIFY(!QObject::disconnect(form().port, SIGNAL(readyRead()), &form(), SLOT(on_portReadyRead())));
}

void TestLinkExchange::deviceGoneWhilePortOpen()
{
    m_fx->sim().stop();
    QElapsedTimer elapsed;
    elapsed.start();
    completionExchange(frames::mbusShort(0x40, kAddress));
    fixedPauseExchange(frames::registerRead(kAddress, kCounterRegister, 2), 300);
    QVERIFY2(elapsed.elapsed() < 3500, qPrintable(QString::number(elapsed.elapsed())));
    QVERIFY(form().vectorPortRead.isEmpty());
    QVERIFY(m_fx->log().contains(QStringLiteral("Конец waitBeyondWriting")));

    // Closing and opening again reports the lost device in the usual way.
    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    toggle->click();
    QVERIFY(!form().port->isOpen());
    toggle->click();
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Не удалось открыть порт")});
}

void TestLinkExchange::silentDeviceEndsAfterTenPauses()
{
    m_fx->sim().setFault(Fault::Silence);
    const qint64 ms = completionExchange(informationRequest());
    qInfo("silent device: completion wait took %lld ms", ms);

    // Ten 200 ms pauses; the pause's timer may end each up to 5 % early.
    QVERIFY2(ms >= 1850 && ms < 2600, qPrintable(QString::number(ms)));
    const QString log = m_fx->log();
    QVERIFY(log.contains(QStringLiteral("После ожидания первого байта bytes = 0")));
    QVERIFY(log.contains(QStringLiteral("Конец waitBeyondWriting")));
    QVERIFY(!log.contains(QStringLiteral("bytesAvailable[")));
    QVERIFY(!log.contains(QStringLiteral("После после сравнения двух значений байтов")));
    QVERIFY(form().vectorPortRead.isEmpty());
    QVERIFY(form().dataAnswer.isEmpty());
    QCOMPARE(m_fx->sim().requests(), QList<QByteArray>{informationRequest()});
}

void TestLinkExchange::channelVariantFirstBytePause_data()
{
    QTest::addColumn<QString>("typed"); // what the user types into the delay field; empty: untouched
    QTest::addColumn<int>("minMs");
    QTest::addColumn<int>("maxMs");
    QTest::addColumn<QString>("fieldAfter");
    QTest::newRow("field untouched: 200 ms") << QString() << 1850 << 2600 << QStringLiteral("200");
    QTest::newRow("typed 50") << QStringLiteral("50") << 450 << 1000 << QStringLiteral("50");
    QTest::newRow("typed letters: 200 ms") << QStringLiteral("abc") << 1850 << 2600 << QStringLiteral("abc");
}

void TestLinkExchange::channelVariantFirstBytePause()
{
    QFETCH(QString, typed);
    QFETCH(int, minMs);
    QFETCH(int, maxMs);
    QFETCH(QString, fieldAfter);
    auto *field = m_fx->w<QLineEdit>("lineEdit_WaitBeyondWriting_chanel");
    if (!typed.isEmpty()) {
        field->selectAll();
        QTest::keyClicks(field, typed);
        QVERIFY(form().waitDelayEdited);
    }
    m_fx->sim().setFault(Fault::Silence);
    const qint64 ms = completionExchange(frames::registerRead(kAddress, kCounterRegister, 2), true);
    QVERIFY2(ms >= minMs && ms < maxMs, qPrintable(QString::number(ms)));
    QCOMPARE(field->text(), fieldAfter);
    QVERIFY(m_fx->log().contains(QStringLiteral("После ожидания первого байта bytes = 0")));
}

void TestLinkExchange::answersAreCollectedWhole_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("answerSize");
    QTest::addColumn<int>("maxMs");
    QTest::newRow("information answer, 48 bytes at 2400 baud") << informationRequest() << 48 << 1000;
    QTest::newRow("counter read, 9 bytes") << frames::registerRead(kAddress, kCounterRegister, 2) << 9 << 700;
    QTest::newRow("SND_NKE acknowledged") << frames::mbusShort(0x40, kAddress) << 1 << 700;
}

void TestLinkExchange::answersAreCollectedWhole()
{
    QFETCH(QByteArray, request);
    QFETCH(int, answerSize);
    QFETCH(int, maxMs);
    const qint64 ms = completionExchange(request);
    qInfo("%s: completion wait took %lld ms", QTest::currentDataTag(), ms);

    QCOMPARE(form().vectorPortRead.size(), 1);
    const QByteArray answer = form().vectorPortRead.first();
    QCOMPARE(answer.size(), answerSize);
    QCOMPARE(answer, m_fx->sim().sent());
    QCOMPARE(form().dataAnswer, answer);
    // At least one pause to see the first byte and one to see it settle.
    QVERIFY2(ms >= 360 && ms < maxMs, qPrintable(QString::number(ms)));
    const QString log = m_fx->log();
    QVERIFY(log.contains("После ожидания первого байта bytes ="));
    QVERIFY(log.contains("bytesAvailable[1] ="));
    QVERIFY(log.contains(QStringLiteral("После после сравнения двух значений байтов = %1").arg(answerSize)));
    QVERIFY(log.contains(QStringLiteral("Конец waitBeyondWriting")));
    QVERIFY(log.contains(QStringLiteral("Поступили новые данные")));
    QVERIFY(log.contains("dataAnswer " + answer.toHex(' ')));
}

void TestLinkExchange::configurationReadThroughItsButton_data()
{
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("minMs");
    QTest::addColumn<int>("maxMs");
    QTest::newRow("48-byte answer at 2400 baud") << false << 360 << 1000;
    QTest::newRow("silent device") << true << 1850 << 2600;
}

void TestLinkExchange::configurationReadThroughItsButton()
{
    QFETCH(bool, silent);
    QFETCH(int, minMs);
    QFETCH(int, maxMs);
    m_fx->w<QLineEdit>("lineEdit_oneAddress")->setText(QString::number(kAddress));
    if (silent)
        m_fx->sim().setFault(Fault::Silence);
    QElapsedTimer elapsed;
    elapsed.start();
    m_fx->w<QAbstractButton>("pushButton_readZorvaConfig")->click();
    const qint64 ms = elapsed.elapsed();
    qInfo("%s: the configuration read took %lld ms", QTest::currentDataTag(), ms);

    QVERIFY2(ms >= minMs && ms < maxMs, qPrintable(QString::number(ms)));
    QCOMPARE(m_fx->sim().requests(), QList<QByteArray>{informationRequest()});
    QCOMPARE(m_fx->boxes().texts(), silent ? QStringList{QStringLiteral("Нет ответа")} : QStringList());
    QCOMPARE(m_fx->w<QLineEdit>("lineEdit_SerialNumber")->text(),
             silent ? QString() : QStringLiteral("12345678"));
    QVERIFY(m_fx->log().contains(QStringLiteral("Конец waitBeyondWriting")));
}

void TestLinkExchange::growingAnswerIsTakenAsItStands()
{
    ScriptedLine line;
    QVERIFY(line.ready());
    reopenOn(line.path());
    m_fx->clearLogs();

    // A byte every 40 ms for 3 s: the count grows in every 200 ms pause.
    line.startDribble(75, 40);
    const qint64 ms = completionExchange(hex("E5"));
    QVERIFY2(ms >= 1850 && ms < 2600, qPrintable(QString::number(ms)));
    const QString log = m_fx->log();
    QVERIFY(!log.contains(QStringLiteral("После после сравнения двух значений байтов")));
    QVERIFY(log.contains(QStringLiteral("Конец waitBeyondWriting")));
    const QRegularExpression last(QStringLiteral("bytesAvailable\\[9\\] = (\\d+)"));
    const QRegularExpressionMatch match = last.match(log);
    QVERIFY(match.hasMatch());
    QVERIFY(!log.contains(QStringLiteral("bytesAvailable[10]")));
    QCOMPARE(form().vectorPortRead.size(), 1);
    QCOMPARE(form().vectorPortRead.first().size(), match.captured(1).toInt());
    QVERIFY(match.captured(1).toInt() > 30);
}

void TestLinkExchange::noiseBeforeTheAnswer_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("noiseDropped");
    QTest::newRow("noise before E5") << frames::mbusShort(0x40, kAddress) << hex("E5") << true;
    // A register answer holds neither E5 nor 68: the chunk is kept whole, noise included.
    QTest::newRow("noise before a register answer")
        << frames::registerRead(kAddress, kCounterRegister, 2) << hex(kCounterAnswer00031234) << false;
}

void TestLinkExchange::noiseBeforeTheAnswer()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    QFETCH(bool, noiseDropped);
    m_fx->sim().setFault(Fault::NoiseBeforeAnswer);
    completionExchange(request);

    const QByteArray onLine = m_fx->sim().sent();
    QVERIFY(onLine.size() > answer.size());
    QVERIFY(onLine.endsWith(answer));
    QCOMPARE(form().vectorPortRead.size(), 1);
    QCOMPARE(form().vectorPortRead.first(), noiseDropped ? answer : onLine);
    QCOMPARE(form().noStartByte, !noiseDropped);
    QVERIFY(
        m_fx->log().contains("buf.toHex() " + onLine.toHex() + " size " + QString::number(onLine.size())));
}

void TestLinkExchange::splitAnswerInFixedPause()
{
    m_fx->sim().setFault(Fault::SplitAnswer);
    fixedPauseExchange(frames::registerRead(kAddress, kCounterRegister, 2), 1500);

    const QByteArray answer = hex(kCounterAnswer00031234);
    QCOMPARE(m_fx->sim().sent(), answer);
    QVERIFY(form().vectorPortRead.size() >= 3);
    QCOMPARE(form().dataAnswer.toHex(' '), answer.toHex(' '));
    QByteArray joined;
    for (const QByteArray &entry : form().vectorPortRead)
        joined += entry;
    QCOMPARE(joined, answer);
}

void TestLinkExchange::laterChunksAreTrimmedToo_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks"); // as they arrive, 150 ms apart
    QTest::addColumn<QList<QByteArray>>("entries");
    QTest::addColumn<bool>("noStartByte");
    const QByteArray head = hex("010304");
    QTest::newRow("later chunk holding 68") << QList<QByteArray>{head, hex("1268 0000 7E97")}
                                            << QList<QByteArray>{head, hex("68 0000 7E97")} << true;
    QTest::newRow("later chunk holding E5") << QList<QByteArray>{head, hex("12E5 0000 AABB")}
                                            << QList<QByteArray>{head, hex("E5 0000 AABB")} << true;
    QTest::newRow("long frame cut after its length")
        << QList<QByteArray>{hex("6803"), hex("03 68 53 0A BB 18 16")}
        << QList<QByteArray>{hex("6803"), hex("68 53 0A BB 18 16")} << false;
    QTest::newRow("noise chunk, then the acknowledgement")
        << QList<QByteArray>{hex("A1A2"), hex("E5")} << QList<QByteArray>{hex("A1A2"), hex("E5")} << true;
    QTest::newRow("answer in one chunk") << QList<QByteArray>{hex(kCounterAnswer00031234)}
                                         << QList<QByteArray>{hex(kCounterAnswer00031234)} << true;
}

void TestLinkExchange::laterChunksAreTrimmedToo()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QList<QByteArray>, entries);
    QFETCH(bool, noStartByte);
    ScriptedLine line;
    QVERIFY(line.ready());
    reopenOn(line.path());

    for (int i = 0; i < chunks.size(); ++i)
        QTimer::singleShot(100 + 150 * i, [&line, chunk = chunks.at(i)] { line.send(chunk); });
    fixedPauseExchange(frames::mbusShort(0x40, kAddress), 100 + 150 * chunks.size() + 200);

    QCOMPARE(form().vectorPortRead.toList(), entries);
    QByteArray joined;
    for (const QByteArray &entry : entries)
        joined += entry;
    QCOMPARE(form().dataAnswer, joined);
    QCOMPARE(form().noStartByte, noStartByte);
}

void TestLinkExchange::flippedBitShowsItsBox()
{
    const QByteArray frame = hex(kCounterAnswer00031234);
    QVERIFY(form().crcCheck(frame));
    QCOMPARE(m_fx->boxes().boxes.size(), 0);
    for (int bit = 0; bit < frame.size() * 8; ++bit) {
        QByteArray damaged = frame;
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ (1 << (bit % 8)));
        QVERIFY(!form().crcCheck(damaged));
    }
    QCOMPARE(m_fx->boxes().boxes.size(), frame.size() * 8);
    const QStringList texts = m_fx->boxes().texts();
    QCOMPARE(QSet<QString>(texts.cbegin(), texts.cend()),
             QSet<QString>{QStringLiteral("Неверная контрольная сумма")});
    QCOMPARE(m_fx->boxes().boxes.first().kind, BoxKind::Error);
}

void TestLinkExchange::secondReader_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<QStringList>("boxes");
    QTest::newRow("intact answer") << int(Fault::None) << true << QStringList();
    QTest::newRow("wrong CRC") << int(Fault::WrongChecksum) << false
                               << QStringList{QStringLiteral("Неверная контрольная сумма")};
    QTest::newRow("silence") << int(Fault::Silence) << false << QStringList();
}

void TestLinkExchange::secondReader()
{
    QFETCH(int, fault);
    QFETCH(bool, taken);
    QFETCH(QStringList, boxes);
    m_fx->sim().setFault(Fault(fault));
    form().dataAnswer.clear();
    form().packet = frames::registerRead(kAddress, kCounterRegister, 2);
    form().on_pushButton_portWrite_clicked();
    form().on_ReadyRead(0);

    QCOMPARE(m_fx->boxes().texts(), boxes);
    QCOMPARE(form().dataAnswer, taken ? hex(kCounterAnswer00031234) : QByteArray());
    QVERIFY(m_fx->log().contains(QStringLiteral("Form::on_ReadyRead(qint64)")));
    QVERIFY(m_fx->log().contains("size  " + QString::number(m_fx->sim().sent().size())));
}

void TestLinkExchange::validatingReader_data()
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("good");
    QTest::addColumn<QStringList>("boxes");
    QTest::addColumn<bool>("errorFlag");
    const QString crc = QStringLiteral("Неверная контрольная сумма");
    QTest::newRow("intact answer, kind 3") << int(Fault::None) << 3 << true << QStringList() << false;
    QTest::newRow("intact answer, kind 6") << int(Fault::None) << 6 << true << QStringList() << false;
    QTest::newRow("wrong CRC, kind 6")
        << int(Fault::WrongChecksum) << 6 << false << QStringList{crc} << false;
    QTest::newRow("wrong CRC, kind 3") << int(Fault::WrongChecksum) << 3 << false << QStringList() << false;
    QTest::newRow("exception answer, kind 6")
        << int(Fault::ExceptionAnswer) << 6 << false
        << QStringList{QStringLiteral("Ошибка данных. Код ошибки: 2")} << true;
    QTest::newRow("exception answer, kind 3")
        << int(Fault::ExceptionAnswer) << 3 << false << QStringList() << false;
    QTest::newRow("truncated answer, kind 6")
        << int(Fault::TruncatedAnswer) << 6 << false << QStringList{crc} << false;
    QTest::newRow("silence") << int(Fault::Silence) << 6 << false
                             << QStringList{QStringLiteral("Ошибка данных")} << false;
}

void TestLinkExchange::validatingReader()
{
    QFETCH(int, fault);
    QFETCH(int, kind);
    QFETCH(bool, good);
    QFETCH(QStringList, boxes);
    QFETCH(bool, errorFlag);
    m_fx->sim().setFault(Fault(fault));
    form().dataAnswer.clear();
    form().disconnectReader();
    form().packet = frames::registerRead(kAddress, kCounterRegister, 2);
    form().on_pushButton_portWrite_clicked();
    form().waitBeyondWriting();

    QCOMPARE(form().readValidated(kind), good);
    QCOMPARE(m_fx->boxes().texts(), boxes);
    QCOMPARE(form().errorFlag, errorFlag);
    QCOMPARE(form().dataAnswer, good ? hex(kCounterAnswer00031234) : QByteArray());
    QVERIFY(m_fx->log().contains("bufRemains.toHex()"));
    QVERIFY(form().bufRemains.isEmpty());
}

void TestLinkExchange::validatingReaderKeepsTheRest()
{
    ScriptedLine line;
    QVERIFY(line.ready());
    reopenOn(line.path());
    const QByteArray first = hex(kCounterAnswer00031234);
    const QByteArray second = hex("018302 C0F1");
    QVERIFY(line.send(first + second));
    QTRY_COMPARE(form().port->bytesAvailable(), qint64(first.size() + second.size()));

    QVERIFY(form().readValidated(3));
    QCOMPARE(form().dataAnswer, first);
    QCOMPARE(form().bufRemains, second);
    QVERIFY(!form().readValidated(6));
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Ошибка данных. Код ошибки: 2")});
    QVERIFY(form().bufRemains.isEmpty());
}

QTEST_MAIN(TestLinkExchange)
#include "tst_link_exchange.moc"
