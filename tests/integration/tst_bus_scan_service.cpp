// The bus scan and the service commands against the simulated device over a real pseudo-terminal.

#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressBar>
#include <QTableWidget>
#include <QThread>
#include <QTimer>
#include <QtTest>

Q_DECLARE_METATYPE(sim::Fault)

namespace
{

QByteArray probe(int address)
{
    const char frame[] = {0x10, 0x40, char(address), char(0x40 + address), 0x16};
    return QByteArray(frame, sizeof(frame));
}

QStringList addressRows(FormOnSimulator &f)
{
    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Address"));
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row)
        rows << table->item(row, 0)->text();
    return rows;
}

void scanRange(FormOnSimulator &f, const QString &start, const QString &end)
{
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeStart"))->setText(start);
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeEnd"))->setText(end);
    f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"))->click();
}

} // namespace

class TestBusScanService : public QObject
{
    Q_OBJECT

private slots:
    void scan_data();
    void scan();
    void stopDuringAWait();
    void secondCommandDuringAScanIsRefused();
    void doubleClickOn254ChoosesTheWorkingAddress();
    void rawCommand_data();
    void rawCommand();
    void reqUd2_data();
    void reqUd2();
};

void TestBusScanService::scan_data()
{
    QTest::addColumn<QString>("typed"); // start and end, a space between them
    QTest::addColumn<QList<int>>("probed");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QString>("box");

    const QString range = QStringLiteral("Неверный диапазон адресов: %1. Введите адреса от 0 до 255");
    QTest::newRow("250 to 255, device at 252: no wrap after 255")
        << "250 255" << QList<int>{250, 251, 252, 253, 254, 255} << QStringList{"254", "252", "254"}
        << QString();
    QTest::newRow("start greater than end") << "10 5" << QList<int>() << QStringList{"254"} << QString();
    QTest::newRow("end 300") << "0 300" << QList<int>() << QStringList() << range.arg("0 - 300");
    QTest::newRow("start empty") << " 5" << QList<int>() << QStringList() << range.arg(" - 5");
}

void TestBusScanService::scan()
{
    QFETCH(QString, typed);
    QFETCH(QList<int>, probed);
    QFETCH(QStringList, rows);
    QFETCH(QString, box);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.sim().model().address = 252;
    auto *progress = f.w<QProgressBar>(QStringLiteral("progressBar"));
    auto *progressText = f.w<QLineEdit>(QStringLiteral("lineEdit_Progress"));
    QList<int> progressAtProbe; // the bar's value, or -1 when the text says otherwise
    QObject::connect(&f.sim(), &sim::DeviceSimulator::requestHandled, &f.form(), [&] {
        const bool same = progressText->text() == QString::number(progress->value());
        progressAtProbe << (same ? progress->value() : -1);
    });

    scanRange(f, typed.section(QLatin1Char(' '), 0, 0), typed.section(QLatin1Char(' '), 1));

    QList<QByteArray> expected;
    for (int address : probed)
        expected << probe(address);
    QCOMPARE(f.sim().requests(), expected);
    QCOMPARE(progressAtProbe, probed);
    QCOMPARE(addressRows(f), rows);
    QCOMPARE(f.boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(progress->value(), progress->minimum() - 1); // reset after the scan
}

void TestBusScanService::stopDuringAWait()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    auto *stop = f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequestStop"));
    // The stop button is pressed while the scan waits for the answer to the probe of 2.
    QObject::connect(&f.sim(), &sim::DeviceSimulator::requestHandled, stop, [&](const QByteArray &request) {
        if (request == probe(2))
            QTimer::singleShot(0, stop, &QAbstractButton::click);
    });
    QElapsedTimer clock;
    clock.start();
    scanRange(f, QStringLiteral("0"), QStringLiteral("255"));

    QCOMPARE(f.sim().requests(), (QList<QByteArray>{probe(0), probe(1), probe(2)}));
    QCOMPARE(addressRows(f), (QStringList{"254", "1"}));
    QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(f.boxes().texts(), QStringList());

    // The flag was used up: the next scan runs to its end.
    f.sim().clearTraffic();
    scanRange(f, QStringLiteral("1"), QStringLiteral("1"));
    QCOMPARE(f.sim().requests(), QList<QByteArray>{probe(1)});
}

void TestBusScanService::secondCommandDuringAScanIsRefused()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    auto *scan = f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"));
    auto *clock = f.w<QAbstractButton>(QStringLiteral("pushButton_DateRead"));
    // Real clicks on "Запрос" and on the clock's "Чтение" while the scan waits on address 0.
    QObject::connect(&f.sim(), &sim::DeviceSimulator::requestHandled, scan, [&](const QByteArray &request) {
        if (request == probe(0)) {
            QTimer::singleShot(0, scan, [&] {
                QTest::mouseClick(scan, Qt::LeftButton);
                QTest::mouseClick(clock, Qt::LeftButton);
            });
        }
    });
    scanRange(f, QStringLiteral("0"), QStringLiteral("2"));
    QCOMPARE(f.sim().requests(), (QList<QByteArray>{probe(0), probe(1), probe(2)}));
    QCOMPARE(addressRows(f), (QStringList{"254", "1"}));
    QCOMPARE(f.boxes().texts(), QStringList());

    // Once the scan is over the same click starts a command again.
    f.sim().clearTraffic();
    QTest::mouseClick(clock, Qt::LeftButton);
    QCOMPARE(f.sim().requests().size(), 1);
}

void TestBusScanService::doubleClickOn254ChoosesTheWorkingAddress()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("77"));
    scanRange(f, QStringLiteral("1"), QStringLiteral("1"));
    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Address"));
    f.form().show();
    QVERIFY(QTest::qWaitForWindowExposed(&f.form()));
    const QPoint cell = table->visualItemRect(table->item(0, 0)).center();
    // A widget's double click arrives as press, release, double click.
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QCOMPARE(f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->text(), QStringLiteral("254"));

    f.sim().clearTraffic();
    f.w<QAbstractButton>(QStringLiteral("pushButton_readZorvaConfig"))->click();
    QCOMPARE(f.sim().requests(), QList<QByteArray>{QByteArray::fromHex("6805056853fe517f002116")});
    QCOMPARE(f.w<QLineEdit>(QStringLiteral("lineEdit_SerialNumber"))->text(), QStringLiteral("12345678"));

    QCOMPARE(f.boxes().texts(), QStringList());
}

void TestBusScanService::rawCommand_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("device");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("shown"); // with nothing sent the box, else the answer's log line

    const QString wrong = QStringLiteral("Неверная команда: %1. ");
    const QString ack = QStringLiteral("answer.toHex() e5");
    QTest::newRow("104005") << "104005" << 5 << QByteArray::fromHex("1040054516") << ack;
    // A speed write to address 0A at the speed the device already has.
    QTest::newRow("68030368530ABB") << "68030368530ABB" << 0x0A << QByteArray::fromHex("68030368530abb1816")
                                    << ack;
    QTest::newRow("104006, nobody at 6")
        << "104006" << 5 << QByteArray::fromHex("1040064616") << "Нет ответа";
    QTest::newRow("empty") << "" << 5 << QByteArray() << "Команда не введена";
    QTest::newRow("10400, odd length")
        << "10400" << 5 << QByteArray()
        << wrong.arg("10400") + "Нечётное число шестнадцатеричных цифр, каждый байт набирается двумя цифрами";
    QTest::newRow("10Z005, a letter")
        << "10Z005" << 5 << QByteArray()
        << wrong.arg("10Z005") + "Допустимы только шестнадцатеричные цифры 0-9 и A-F";
}

void TestBusScanService::rawCommand()
{
    QFETCH(QString, typed);
    QFETCH(int, device);
    QFETCH(QByteArray, sent);
    QFETCH(QString, shown);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.sim().model().address = quint8(device);
    f.w<QLineEdit>(QStringLiteral("lineEdit_command"))->setText(typed);
    f.clearLogs();

    f.w<QAbstractButton>(QStringLiteral("pushButton_sendCommand"))->click();

    QCOMPARE(f.sim().received().toHex(' '), sent.toHex(' '));
    QCOMPARE(f.boxes().texts(), sent.isEmpty() ? QStringList{shown} : QStringList());
    QCOMPARE(f.log2(), sent.isEmpty() ? QString() : "packetToPort.toHex() " + sent.toHex() + '\n' + shown);
    if (!sent.isEmpty())
        QVERIFY(f.log().contains(QStringLiteral("QString::number(crcMod256, 16) ") +
                                 QString::number(quint8(sent.at(sent.size() - 2)), 16)));
}

void TestBusScanService::reqUd2_data()
{
    QTest::addColumn<QString>("workingAddress");
    QTest::addColumn<sim::Fault>("fault");
    QTest::addColumn<bool>("slowReader");
    QTest::newRow("working address 1") << "1" << sim::Fault::None << false;
    QTest::newRow("working address 77") << "77" << sim::Fault::None << false;
    QTest::newRow("silence") << "1" << sim::Fault::Silence << false;
    QTest::newRow("busy reader, counters full of 68 and E5") << "1" << sim::Fault::None << true;
}

void TestBusScanService::reqUd2()
{
    QFETCH(QString, workingAddress);
    QFETCH(sim::Fault, fault);
    QFETCH(bool, slowReader);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(workingAddress);
    f.sim().setFault(fault);
    f.sim().model().identification = 0x20261122;
    // A busy GUI reads the line in many-byte chunks; chunks that hold start bytes past their first
    // byte are trimmed in the answer list, yet the telegram must still be shown whole.
    QTimer busy;
    if (slowReader) {
        for (sim::ChannelState &channel : f.sim().model().channels)
            channel.counter = 0x68E56868;
        connect(&busy, &QTimer::timeout, [] { QThread::msleep(60); });
        busy.start(90);
    }
    f.clearLogs();
    QElapsedTimer clock;
    clock.start();

    f.w<QAbstractButton>(QStringLiteral("pushButton_REQ_UD2"))->click();
    busy.stop();

    // Qt's coarse timers may end a pause up to 5 % early.
    QVERIFY2(clock.elapsed() >= 4750, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(f.sim().received().toHex(' '), QByteArray("10 7b fe 79 16"));
    QCOMPARE(f.boxes().texts(), QStringList());
    const QStringList lines = f.log2().split(QLatin1Char('\n'));
    QCOMPARE(lines.value(0), QStringLiteral("packetToPort.toHex() 107bfe7916"));
    const QString answer = QStringLiteral("answer.toHex() ") + QString::fromLatin1(f.sim().sent().toHex(' '));
    QCOMPARE(lines.value(1), fault == sim::Fault::Silence ? QStringLiteral("Нет ответа") : answer);
    // Then the telegram in words.
    QCOMPARE(lines.contains(QStringLiteral("Идентификационный номер: 20261122")),
             fault != sim::Fault::Silence);
}

QTEST_MAIN(TestBusScanService)
#include "tst_bus_scan_service.moc"
