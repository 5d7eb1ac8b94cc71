// The bus scan and the developer page's service commands against the simulated device over a
// real pseudo-terminal.

#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDateTimeEdit>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressBar>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>

Q_DECLARE_METATYPE(Fault)

namespace
{

QByteArray probe(int address)
{
    const char frame[] = {0x10, 0x40, char(address), char(0x40 + address), 0x16};
    return QByteArray(frame, sizeof(frame));
}

QStringList addressRows(QTableWidget *table)
{
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row)
        rows << table->item(row, 0)->text();
    return rows;
}

QStringList hexList(const QList<QByteArray> &list)
{
    QStringList out;
    for (const QByteArray &bytes : list)
        out << QString::fromLatin1(bytes.toHex(' '));
    return out;
}

} // namespace

class TestBusScanService : public QObject
{
    Q_OBJECT

private slots:
    void scan_data();
    void scan();
    void stopDuringAWait();
    void doubleClickChoosesTheWorkingAddress_data();
    void doubleClickChoosesTheWorkingAddress();
    void rawCommand_data();
    void rawCommand();
    void reqUd2_data();
    void reqUd2();
};

void TestBusScanService::scan_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<int>("device");
    QTest::addColumn<QList<int>>("probed");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("boxes");

    QTest::newRow("250 to 255, device at 252: no wrap after 255")
        << "250"
        << "255" << 252 << QList<int>{250, 251, 252, 253, 254, 255} << QStringList{"254", "252", "254"}
        << QStringList();
    QTest::newRow("1 to 1, device at 1")
        << "1"
        << "1" << 1 << QList<int>{1} << QStringList{"254", "1"} << QStringList();
    QTest::newRow("start greater than end")
        << "10"
        << "5" << 7 << QList<int>() << QStringList{"254"} << QStringList();
    QTest::newRow("end 300") << "0"
                             << "300" << 1 << QList<int>() << QStringList()
                             << QStringList{"Неверный диапазон адресов: 0 - 300. Введите адреса от 0 до 255"};
    QTest::newRow("start empty") << ""
                                 << "5" << 1 << QList<int>() << QStringList()
                                 << QStringList{
                                        "Неверный диапазон адресов:  - 5. Введите адреса от 0 до 255"};
}

void TestBusScanService::scan()
{
    QFETCH(QString, start);
    QFETCH(QString, end);
    QFETCH(int, device);
    QFETCH(QList<int>, probed);
    QFETCH(QStringList, rows);
    QFETCH(QStringList, boxes);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.sim().model().address = quint8(device);
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeStart"))->setText(start);
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeEnd"))->setText(end);
    auto *progress = f.w<QProgressBar>(QStringLiteral("progressBar"));
    auto *progressText = f.w<QLineEdit>(QStringLiteral("lineEdit_Progress"));
    QList<int> progressAtProbe;
    QStringList progressTextAtProbe;
    QObject::connect(&f.sim(), &DeviceSimulator::requestHandled, &f.form(), [&] {
        progressAtProbe << progress->value();
        progressTextAtProbe << progressText->text();
    });

    f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"))->click();

    QList<QByteArray> expected;
    QStringList expectedText;
    for (int address : probed) {
        expected << probe(address);
        expectedText << QString::number(address);
    }
    QCOMPARE(hexList(f.sim().requests()), hexList(expected));
    QCOMPARE(progressAtProbe, probed);
    QCOMPARE(progressTextAtProbe, expectedText);
    QCOMPARE(addressRows(f.w<QTableWidget>(QStringLiteral("tableWidget_Address"))), rows);
    QCOMPARE(f.boxes().texts(), boxes);
    QCOMPARE(progress->value(), progress->minimum() - 1); // reset after the scan
}

void TestBusScanService::stopDuringAWait()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeStart"))->setText(QStringLiteral("0"));
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeEnd"))->setText(QStringLiteral("255"));
    auto *stop = f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequestStop"));
    // The stop button is pressed while the scan waits for the answer to the probe of 2.
    QObject::connect(&f.sim(), &DeviceSimulator::requestHandled, stop, [&](const QByteArray &request) {
        if (request == probe(2))
            QTimer::singleShot(0, stop, &QAbstractButton::click);
    });
    QElapsedTimer clock;
    clock.start();
    f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"))->click();

    QCOMPARE(hexList(f.sim().requests()), hexList({probe(0), probe(1), probe(2)}));
    QCOMPARE(addressRows(f.w<QTableWidget>(QStringLiteral("tableWidget_Address"))),
             (QStringList{"254", "1"}));
    QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(f.boxes().texts(), QStringList());

    // The flag was used up: the next scan runs to its end.
    f.sim().clearTraffic();
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeStart"))->setText(QStringLiteral("1"));
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeEnd"))->setText(QStringLiteral("1"));
    f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"))->click();
    QCOMPARE(hexList(f.sim().requests()), hexList({probe(1)}));
}

void TestBusScanService::doubleClickChoosesTheWorkingAddress_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("address");
    QTest::newRow("row 254") << 0 << QByteArray::fromHex("6805056853fe517f002116") << "254";
    QTest::newRow("row 1, found by the scan") << 1 << QByteArray::fromHex("680505685301517f002416") << "1";
}

void TestBusScanService::doubleClickChoosesTheWorkingAddress()
{
    QFETCH(int, row);
    QFETCH(QByteArray, request);
    QFETCH(QString, address);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("77"));
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeStart"))->setText(QStringLiteral("1"));
    f.w<QLineEdit>(QStringLiteral("lineEdit_AddressRangeEnd"))->setText(QStringLiteral("1"));
    f.w<QAbstractButton>(QStringLiteral("pushButton_AddressRequest"))->click();

    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Address"));
    QCOMPARE(table->item(row, 0)->flags(), Qt::ItemIsEnabled);
    f.form().show();
    QVERIFY(QTest::qWaitForWindowExposed(&f.form()));
    const QRect cell = table->visualItemRect(table->item(row, 0));
    // A widget's double click arrives as press, release, double click.
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    QCOMPARE(f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->text(), address);

    f.sim().clearTraffic();
    f.w<QAbstractButton>(QStringLiteral("pushButton_readZorvaConfig"))->click();
    QCOMPARE(hexList(f.sim().requests()), hexList({request}));
    QCOMPARE(f.w<QLineEdit>(QStringLiteral("lineEdit_SerialNumber"))->text(), QStringLiteral("12345678"));

    // The chosen device's clock is set to UTC and read back from its registers.
    f.sim().model().clockOffsetSecs = -86400 * 400;
    f.w<QCheckBox>(QStringLiteral("checkBox_SyncUTC"))->setChecked(true);
    f.w<QAbstractButton>(QStringLiteral("pushButton_DateWrite"))->click();
    auto *clock = f.w<QDateTimeEdit>(QStringLiteral("dateTimeEdit"));
    clock->setDateTime(QDateTime(QDate(2001, 1, 1), QTime(0, 0)));
    f.w<QAbstractButton>(QStringLiteral("pushButton_DateRead"))->click();
    const QDateTime shown(clock->date(), clock->time(), Qt::UTC);
    QVERIFY2(qAbs(shown.secsTo(QDateTime::currentDateTimeUtc())) <= 3, qPrintable(clock->text()));
    QCOMPARE(f.boxes().texts(), QStringList());
}

void TestBusScanService::rawCommand_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("device");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("developerLog");

    QTest::newRow("104005") << "104005" << 5 << QByteArray::fromHex("1040054516") << QString()
                            << "packetToPort.toHex() 1040054516\nanswer.toHex() e5";
    // A speed write to address 0A at the speed the device already has.
    QTest::newRow("68030368530ABB") << "68030368530ABB" << 0x0A << QByteArray::fromHex("68030368530abb1816")
                                    << QString()
                                    << "packetToPort.toHex() 68030368530abb1816\nanswer.toHex() e5";
    QTest::newRow("104006, nobody at 6") << "104006" << 5 << QByteArray::fromHex("1040064616") << QString()
                                         << "packetToPort.toHex() 1040064616\nНет ответа";
    QTest::newRow("empty") << "" << 5 << QByteArray() << "Команда не введена" << QString();
    QTest::newRow("10400, odd length")
        << "10400" << 5 << QByteArray()
        << "Неверная команда: 10400. Нечётное число шестнадцатеричных цифр, каждый "
           "байт набирается двумя цифрами"
        << QString();
    QTest::newRow("10Z005, a letter")
        << "10Z005" << 5 << QByteArray()
        << "Неверная команда: 10Z005. Допустимы только шестнадцатеричные цифры 0-9 и "
           "A-F"
        << QString();
}

void TestBusScanService::rawCommand()
{
    QFETCH(QString, typed);
    QFETCH(int, device);
    QFETCH(QByteArray, sent);
    QFETCH(QString, box);
    QFETCH(QString, developerLog);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.sim().model().address = quint8(device);
    f.w<QLineEdit>(QStringLiteral("lineEdit_command"))->setText(typed);
    f.clearLogs();

    f.w<QAbstractButton>(QStringLiteral("pushButton_sendCommand"))->click();

    QCOMPARE(f.sim().received().toHex(' '), sent.toHex(' '));
    QCOMPARE(f.boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(f.log2(), developerLog);
    if (!sent.isEmpty())
        QVERIFY(f.log().contains(QStringLiteral("QString::number(crcMod256, 16) ") +
                                 QString::number(quint8(sent.at(sent.size() - 2)), 16)));
}

void TestBusScanService::reqUd2_data()
{
    QTest::addColumn<QString>("workingAddress");
    QTest::addColumn<Fault>("fault");
    QTest::newRow("working address 1") << "1" << Fault::None;
    QTest::newRow("working address 77") << "77" << Fault::None;
    QTest::newRow("silence") << "1" << Fault::Silence;
}

void TestBusScanService::reqUd2()
{
    QFETCH(QString, workingAddress);
    QFETCH(Fault, fault);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(workingAddress);
    f.sim().setFault(fault);
    f.sim().model().identification = 0x20261122;
    f.clearLogs();
    QElapsedTimer clock;
    clock.start();

    f.w<QAbstractButton>(QStringLiteral("pushButton_REQ_UD2"))->click();

    // Qt's coarse timers may end a pause up to 5 % early.
    QVERIFY2(clock.elapsed() >= 4750, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(f.sim().received().toHex(' '), QByteArray("10 7b fe 79 16"));
    QCOMPARE(f.boxes().texts(), QStringList());
    const QStringList lines = f.log2().split(QLatin1Char('\n'));
    QCOMPARE(lines.value(0), QStringLiteral("packetToPort.toHex() 107bfe7916"));
    if (fault == Fault::Silence) {
        QCOMPARE(lines.value(1), QStringLiteral("Нет ответа"));
    } else {
        QVERIFY(f.sim().sent().size() > 20);
        QCOMPARE(lines.value(1),
                 QStringLiteral("answer.toHex() ") + QString::fromLatin1(f.sim().sent().toHex(' ')));
        // Then the telegram in words.
        QVERIFY2(lines.contains(QStringLiteral("Идентификационный номер: 20261122")), qPrintable(f.log2()));
    }
}

QTEST_MAIN(TestBusScanService)
#include "tst_bus_scan_service.moc"
