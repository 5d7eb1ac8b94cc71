// The form's device link against the simulated device over a real pseudo-terminal; answers the device
// never gives come from a bare pseudo-terminal. This test is a friend of the form.

#include "common/pause.h"
#include "link/frames.h"
#include "sim/pseudo_terminal.h"
#include "tests/support/form_on_simulator.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSerialPortInfo>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include <termios.h>

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text));
}

constexpr quint8 kAddress = 1;
const QByteArray kSndNke = hex("1040014116");
const QByteArray kCounterRead = hex("010320000002CFCB");     // channel 1's counter, registers 8192-8193
const QByteArray kCounterAnswer = hex("01030412340003FE84"); // counter 0x00031234
const QByteArray kExceptionAnswer = hex("018302C0F1");
const QString kCrcBox = QStringLiteral("Неверная контрольная сумма");

// The settings the open port really has on the line; all zero when they cannot be read.
termios lineSettings(const QSerialPort *port)
{
    termios settings{};
    ::tcgetattr(int(port->handle()), &settings);
    return settings;
}

} // namespace

class TestLinkExchange : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void portSession();
    void badPortNames_data();
    void badPortNames();
    void rateChangeReachesTheOpenPort_data();
    void rateChangeReachesTheOpenPort();
    void packetBuilders();
    void repeatedConnectDoesNotDuplicate();
    void deviceGoneWhilePortOpen();

    void completionWaitIsTimed_data();
    void completionWaitIsTimed();
    void growingAnswerIsTakenAsItStands();
    void splitAnswerInFixedPause();
    void chunksAreTrimmedOneByOne_data();
    void chunksAreTrimmedOneByOne();
    void flippedBitShowsItsBox();
    void readers_data();
    void readers();

private:
    Form &form() { return m_fx->form(); }
    qint64 completionExchange(const QByteArray &request, bool channelVariant = false); // the wait's ms
    void fixedPauseExchange(const QByteArray &request, int pauseMs);
    void reopenOn(sim::PseudoTerminal &line); // the test writes the far end itself

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
    f.disconnectReader();
    f.packet = request;
    f.on_pushButton_portWrite_clicked();
    QElapsedTimer elapsed;
    elapsed.start();
    channelVariant ? f.waitBeyondWritingChannel() : f.waitBeyondWriting();
    const qint64 ms = elapsed.elapsed();
    f.on_portReadyRead();
    return ms;
}

void TestLinkExchange::fixedPauseExchange(const QByteArray &request, int pauseMs)
{
    Form &f = form();
    f.vectorPortRead.clear();
    f.dataAnswer.clear();
    f.packet = request;
    if (!f.portIsOpenOrWarn())
        return;
    f.connectReader();
    f.on_pushButton_portWrite_clicked();
    nonBlockingPause(pauseMs);
    f.disconnectReader();
}

void TestLinkExchange::reopenOn(sim::PseudoTerminal &line)
{
    QString error;
    QVERIFY2(line.open(2400, &error), qPrintable(error));
    m_fx->typePortAndToggle(QString()); // closes the simulator's port
    m_fx->typePortAndToggle(line.slavePath());
    QVERIFY2(form().port->isOpen(), qPrintable(m_fx->boxes().texts().join("; ")));
}

void TestLinkExchange::portSession()
{
    // Without serial ports on the machine the page says so once while it opens.
    QCOMPARE(m_fx->startupBoxes().size(), QSerialPortInfo::availablePorts().isEmpty() ? 1 : 0);
    if (!m_fx->startupBoxes().isEmpty())
        QCOMPARE(m_fx->startupBoxes().first().text, QStringLiteral("com портов не обнаружено"));

    QSerialPort *port = form().port;
    QCOMPARE(port->parity(), QSerialPort::EvenParity);
    QCOMPARE(port->readBufferSize(), qint64(1024));
    const termios settings = lineSettings(port);
    QCOMPARE(cfgetispeed(&settings), speed_t(B2400));
    QCOMPARE(settings.c_cflag & CSIZE, tcflag_t(CS8));
    QVERIFY(!(settings.c_cflag & CSTOPB));

    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    QCOMPARE(toggle->text(), QStringLiteral("Закрыть порт"));
    toggle->click();
    QVERIFY(!port->isOpen() && !toggle->isChecked() && !form().checkedOpenPort);
    QCOMPARE(toggle->text(), QStringLiteral("Открыть порт"));
    QVERIFY(m_fx->log().contains("Form::on_toolButton_openPort_clicked()"));

    // A closed port sends nothing; the writer logs its failure.
    m_fx->w<QAbstractButton>("pushButton_portWrite")->click();
    QVERIFY(m_fx->log().contains(QStringLiteral("Ошибка при записи пакета в порт. cnt -1")));
    QVERIFY(!m_fx->log().contains(QStringLiteral("Данные в порт записаны.")));
    nonBlockingPause(300);
    QCOMPARE(m_fx->sim().received(), QByteArray());

    toggle->click();
    QVERIFY(port->isOpen() && toggle->isChecked() && form().checkedOpenPort);
    QCOMPARE(m_fx->boxes().texts(), QStringList());
    completionExchange(kSndNke);
    QCOMPARE(form().vectorPortRead, QVector<QByteArray>{hex("E5")});
    QVERIFY(m_fx->log().contains("packet.toHex() " + kSndNke.toHex()));
    QVERIFY(m_fx->log().contains(QStringLiteral("Данные в порт записаны.")));
    QVERIFY(m_fx->log().contains("packetData " + kSndNke.toHex(' ')));
}

void TestLinkExchange::badPortNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("garbage text") << QStringLiteral("#$%^&*() COM3");
    QTest::newRow("Cyrillic and control characters") << QStringLiteral("порт\x01\x7F№");
    QTest::newRow("no such device") << QStringLiteral("/dev/ttyZORVA-absent");
    QTest::newRow("not a terminal") << QStringLiteral("/dev/null");
    QTest::newRow("empty") << QString();
}

void TestLinkExchange::badPortNames()
{
    QFETCH(QString, name);
    auto *toggle = m_fx->w<QToolButton>("toolButton_openPort");
    toggle->click();
    m_fx->typePortAndToggle(name);
    QCOMPARE(m_fx->boxes().texts(), QStringList{QStringLiteral("Не удалось открыть порт")});
    QCOMPARE(m_fx->boxes().boxes.first().kind, BoxKind::Error);
    QVERIFY(!form().port->isOpen() && !toggle->isChecked());
    QCOMPARE(toggle->text(), QStringLiteral("Открыть порт"));

    // The page is still usable: the right name opens.
    m_fx->boxes().clear();
    m_fx->typePortAndToggle(m_fx->sim().portPath());
    QVERIFY(form().port->isOpen());
    QCOMPARE(m_fx->boxes().texts(), QStringList());
}

void TestLinkExchange::rateChangeReachesTheOpenPort_data()
{
    QTest::addColumn<QString>("rate");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("speed");
    QTest::newRow("1200") << QStringLiteral("1200") << 0xBA << int(B1200);
    QTest::newRow("9600") << QStringLiteral("9600") << 0xBD << int(B9600);
}

void TestLinkExchange::rateChangeReachesTheOpenPort()
{
    QFETCH(QString, rate);
    QFETCH(int, code);
    QFETCH(int, speed);
    auto *rates = m_fx->w<QComboBox>("comboBox_selectRate");
    m_fx->clearLogs();
    rates->setCurrentText(rate);

    QCOMPARE(form().currentRate, code);
    QVERIFY(form().port->isOpen());
    const termios settings = lineSettings(form().port);
    QCOMPARE(int(cfgetospeed(&settings)), speed);
    QVERIFY(m_fx->log().contains("QString::number(currentRate, 16) " + QString::number(code, 16)));
    QVERIFY(m_fx->log().contains("QString::number(port->baudRate()) " + rate));
    // The device hears only a master at its own speed.
    m_fx->sim().model().speedCode = quint8(code);
    completionExchange(kSndNke);
    QCOMPARE(form().vectorPortRead, QVector<QByteArray>{hex("E5")});
}

void TestLinkExchange::packetBuilders()
{
    form().packetMakeToWrite(kAddress, 16, 11, 1, 2, hex("0000"));
    QCOMPARE(form().packet.toHex(), QByteArray("0110000b0001020000a72b"));
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
    completionExchange(kSndNke);
    fixedPauseExchange(kCounterRead, 300);
    QVERIFY2(elapsed.elapsed() < 3500, qPrintable(QString::number(elapsed.elapsed())));
    QVERIFY(form().vectorPortRead.isEmpty());
    QVERIFY(m_fx->log().contains(QStringLiteral("Конец waitBeyondWriting")));
}

void TestLinkExchange::completionWaitIsTimed_data()
{
    QTest::addColumn<QString>("typed"); // into the channel variant's delay field; null: information read
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("minMs"); // ten 200 ms pauses for silence, at least two for an answer;
    QTest::addColumn<int>("maxMs"); // a pause may end up to 5 % early
    QTest::newRow("48-byte answer at 2400 baud") << QString() << false << 360 << 1000;
    QTest::newRow("silent device") << QString() << true << 1850 << 2600;
    QTest::newRow("channel variant, 50 ms") << QStringLiteral("50") << true << 450 << 1000;
    QTest::newRow("channel variant, letters: 200 ms") << QStringLiteral("abc") << true << 1850 << 2600;
}

void TestLinkExchange::completionWaitIsTimed()
{
    QFETCH(QString, typed);
    QFETCH(bool, silent);
    QFETCH(int, minMs);
    QFETCH(int, maxMs);
    m_fx->sim().setFault(silent ? sim::Fault::Silence : sim::Fault::None);
    auto *field = m_fx->w<QLineEdit>("lineEdit_WaitBeyondWriting_chanel");
    QElapsedTimer elapsed;
    elapsed.start();
    if (typed.isNull()) {
        m_fx->w<QLineEdit>("lineEdit_oneAddress")->setText(QString::number(kAddress));
        m_fx->w<QAbstractButton>("pushButton_readZorvaConfig")->click();
    } else {
        m_fx->w<QAbstractButton>("checkBox_Developer")->click(); // unlocks the delay field
        field->selectAll();
        QTest::keyClicks(field, typed);
        QVERIFY(form().waitDelayEdited);
        elapsed.restart();
        completionExchange(kCounterRead, true);
    }
    const qint64 ms = elapsed.elapsed();
    qInfo("%s: the wait took %lld ms", QTest::currentDataTag(), ms);
    QVERIFY2(ms >= minMs && ms < maxMs, qPrintable(QString::number(ms)));
    const QString log = m_fx->log();
    QVERIFY(log.contains(QStringLiteral("После ожидания первого байта bytes = %1").arg(silent ? "0" : "")));
    if (!typed.isNull()) {
        QCOMPARE(field->text(), typed);
        return;
    }
    QCOMPARE(m_fx->sim().requests(), QList<QByteArray>{hex("680505685301517F002416")});
    const QByteArray answer = m_fx->sim().sent();
    QCOMPARE(answer.size(), silent ? 0 : 48);
    QCOMPARE(form().dataAnswer, answer);
    QCOMPARE(log.contains("bytesAvailable[1] ="), !silent);
    QCOMPARE(log.contains(QStringLiteral("После после сравнения двух значений байтов = 48")), !silent);
    QVERIFY(log.contains(QStringLiteral("Конец waitBeyondWriting")));
    QCOMPARE(log.contains("dataAnswer " + answer.toHex(' ')), !silent);
}

void TestLinkExchange::growingAnswerIsTakenAsItStands()
{
    sim::PseudoTerminal line;
    reopenOn(line);
    // A byte every 40 ms for 3 s: the count grows in every 200 ms pause.
    QTimer dribble;
    dribble.setTimerType(Qt::PreciseTimer);
    int left = 75;
    connect(&dribble, &QTimer::timeout, [&] { left-- > 0 ? line.write(hex("11")) : (dribble.stop(), 0); });
    dribble.start(40);
    const qint64 ms = completionExchange(kSndNke);
    QVERIFY2(ms >= 1850 && ms < 2600, qPrintable(QString::number(ms)));
    const QString log = m_fx->log();
    QVERIFY(!log.contains(QStringLiteral("После после сравнения двух значений байтов")));
    QVERIFY(log.contains(QStringLiteral("Конец waitBeyondWriting")));
    QVERIFY(!log.contains(QStringLiteral("bytesAvailable[10]")));
    const QRegularExpressionMatch last = QRegularExpression("bytesAvailable\\[9\\] = (\\d+)").match(log);
    QVERIFY(last.hasMatch());
    QVERIFY(last.captured(1).toInt() > 30);
    QCOMPARE(form().vectorPortRead.size(), 1);
    QCOMPARE(form().vectorPortRead.first().size(), last.captured(1).toInt());
}

void TestLinkExchange::splitAnswerInFixedPause()
{
    m_fx->sim().setFault(sim::Fault::SplitAnswer);
    fixedPauseExchange(kCounterRead, 1500);
    QCOMPARE(m_fx->sim().sent(), kCounterAnswer);
    QVERIFY(form().vectorPortRead.size() >= 3);
    QCOMPARE(form().dataAnswer.toHex(' '), kCounterAnswer.toHex(' '));
}

void TestLinkExchange::chunksAreTrimmedOneByOne_data()
{
    QTest::addColumn<QList<QByteArray>>("chunks"); // as they arrive, 150 ms apart
    QTest::addColumn<QList<QByteArray>>("entries");
    QTest::addColumn<bool>("noStartByte");
    using L = QList<QByteArray>;
    QTest::newRow("noise before E5") << L{hex("0011FFE5")} << L{hex("E5")} << false;
    QTest::newRow("noise before a register answer: kept whole")
        << L{hex("A1A2") + kCounterAnswer} << L{hex("A1A2") + kCounterAnswer} << true;
    QTest::newRow("later chunk holding 68 loses its head")
        << L{hex("010304"), hex("1268 0000 7E97")} << L{hex("010304"), hex("68 0000 7E97")} << true;
    QTest::newRow("long frame cut after its length")
        << L{hex("6803"), hex("03 68 53 0A BB 18 16")} << L{hex("6803"), hex("68 53 0A BB 18 16")} << false;
}

void TestLinkExchange::chunksAreTrimmedOneByOne()
{
    QFETCH(QList<QByteArray>, chunks);
    QFETCH(QList<QByteArray>, entries);
    QFETCH(bool, noStartByte);
    sim::PseudoTerminal line;
    reopenOn(line);
    for (int i = 0; i < chunks.size(); ++i)
        QTimer::singleShot(100 + 150 * i, [&line, chunk = chunks.at(i)] { line.write(chunk); });
    fixedPauseExchange(kSndNke, 150 * chunks.size() + 250);

    QCOMPARE(form().vectorPortRead.toList(), entries);
    QCOMPARE(form().dataAnswer, entries.join());
    QCOMPARE(form().noStartByte, noStartByte);
    for (const QByteArray &chunk : chunks)
        QVERIFY(
            m_fx->log().contains("buf.toHex() " + chunk.toHex() + " size " + QString::number(chunk.size())));
}

void TestLinkExchange::flippedBitShowsItsBox()
{
    QVERIFY(form().crcCheck(kCounterAnswer));
    QCOMPARE(m_fx->boxes().boxes.size(), 0);
    for (int bit = 0; bit < kCounterAnswer.size() * 8; ++bit) {
        QByteArray damaged = kCounterAnswer;
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ (1 << (bit % 8)));
        QVERIFY2(!form().crcCheck(damaged), qPrintable(QString::number(bit)));
    }
    QCOMPARE(m_fx->boxes().texts(), QVector<QString>(kCounterAnswer.size() * 8, kCrcBox).toList());
    QCOMPARE(m_fx->boxes().boxes.first().kind, BoxKind::Error);
}

void TestLinkExchange::readers_data()
{
    QTest::addColumn<int>("kind"); // 0: the second reader; else the validating reader's request kind
    QTest::addColumn<QByteArray>("onLine");
    QTest::addColumn<QByteArray>("taken");
    QTest::addColumn<QStringList>("boxes");
    QTest::addColumn<bool>("errorFlag");
    QTest::addColumn<QByteArray>("remains");
    const QByteArray badCrc = hex("01030412340003FE85");
    const QByteArray none;
    const QStringList noBox;
    const QString exceptionBox = QStringLiteral("Ошибка данных. Код ошибки: 2");
    QTest::newRow("second reader, intact") << 0 << kCounterAnswer << kCounterAnswer << noBox << false << none;
    QTest::newRow("second reader, wrong CRC") << 0 << badCrc << none << QStringList{kCrcBox} << false << none;
    QTest::newRow("second reader, silence") << 0 << none << none << noBox << false << none;
    QTest::newRow("kind 6, intact") << 6 << kCounterAnswer << kCounterAnswer << noBox << false << none;
    QTest::newRow("kind 6, wrong CRC") << 6 << badCrc << none << QStringList{kCrcBox} << false << none;
    QTest::newRow("kind 3, wrong CRC: no box") << 3 << badCrc << none << noBox << false << none;
    QTest::newRow("kind 6, exception answer")
        << 6 << kExceptionAnswer << none << QStringList{exceptionBox} << true << none;
    QTest::newRow("kind 3, exception answer: no box")
        << 3 << kExceptionAnswer << none << noBox << false << none;
    QTest::newRow("kind 6, silence") << 6 << none << none << QStringList{QStringLiteral("Ошибка данных")}
                                     << false << none;
    QTest::newRow("kind 3, an answer and an exception answer in one burst")
        << 3 << kCounterAnswer + kExceptionAnswer << kCounterAnswer << noBox << false << kExceptionAnswer;
}

void TestLinkExchange::readers()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, onLine);
    QFETCH(QByteArray, taken);
    QFETCH(QStringList, boxes);
    QFETCH(bool, errorFlag);
    QFETCH(QByteArray, remains);
    sim::PseudoTerminal line;
    reopenOn(line);
    form().packet = kCounterRead;
    form().on_pushButton_portWrite_clicked();
    QByteArray request;
    QTRY_COMPARE(request += line.readAll(), kCounterRead);
    line.write(onLine);
    if (kind == 0) {
        form().on_ReadyRead(0);
    } else {
        QTRY_COMPARE(form().port->bytesAvailable(), qint64(onLine.size()));
        QCOMPARE(form().readValidated(kind), !taken.isEmpty());
        QCOMPARE(form().bufRemains, remains);
        QCOMPARE(form().errorFlag, errorFlag);
    }
    QCOMPARE(m_fx->boxes().texts(), boxes);
    QCOMPARE(form().dataAnswer, taken);
    QVERIFY(m_fx->log().contains(QString("buf.toHex() " + onLine.toHex()).trimmed()));
}

QTEST_MAIN(TestLinkExchange)
#include "tst_link_exchange.moc"
