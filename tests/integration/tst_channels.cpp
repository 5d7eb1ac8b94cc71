#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QTextEdit>
#include <QtTest>

// Configuring a channel through the channel page's buttons, against the simulated device on a
// pseudo-terminal: what reaches the device, what it keeps, and what the page shows back.
class TestChannels : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void configureChannel5AndReadItBack();
    void ticksAreWrittenInOrder();
    void unitOnlyKeepsTheReadingAndElectricityTicksTheWeight();
    void failures_data();
    void failures();
    void presetWrite();
    void untouchedControlsAreWrittenAsShown();

private:
    void readDeviceInformation();
    void fillEditors();
    std::unique_ptr<FormOnSimulator> f;
};

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

} // namespace

void TestChannels::init()
{
    f = std::make_unique<FormOnSimulator>();
    QVERIFY2(f->ready(), qPrintable(f->error()));
    readDeviceInformation();
}

void TestChannels::cleanup()
{
    f.reset();
}

void TestChannels::readDeviceInformation()
{
    f->w<QLineEdit>("lineEdit_oneAddress")->setText("1");
    f->w<QAbstractButton>("pushButton_readZorvaConfig")->click();
    QCOMPARE(f->w<QLineEdit>("lineEdit_numberChannels")->text(), QStringLiteral("16"));
    f->boxes().clear();
    f->sim().clearTraffic();
}

void TestChannels::fillEditors()
{
    f->w<QComboBox>("comboBox_ChannelNumber")->setCurrentText("5");
    f->w<QComboBox>("comboBox_DeviceType")->setCurrentText("WM Вода");
    auto *number = f->w<QLineEdit>("lineEdit_DeviceNumber");
    number->clear();
    QTest::keyClicks(number, "12345678");
    auto *manufacturer = f->w<QLineEdit>("lineEdit_Manufacturer");
    manufacturer->clear();
    QTest::keyClicks(manufacturer, "zrv");
    f->w<QSpinBox>("spinBox_Version")->setValue(3);
    f->w<QComboBox>("comboBox_VIF")->setCurrentText("м³");
    f->w<QLineEdit>("lineEdit_Weight")->setText("0,01");
    f->w<QSpinBox>("spinBox_Duration")->setValue(100);
    f->w<QComboBox>("comboBox_Appointment")->setCurrentText("Импульсный аварийный вход");
}

void TestChannels::configureChannel5AndReadItBack()
{
    fillEditors();
    f->w<QAbstractButton>("checkBoxChan5")->click();
    f->w<QAbstractButton>("checkBox_3")->click(); // every record
    f->w<QAbstractButton>("pushButton_WriteOneReg")->click();

    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    QCOMPARE(
        f->sim().requests(),
        (QList<QByteArray>{hex("680505685301517F052916"),
                           hex("6826266853015187C080407978563412566A030705FF1E0AD7233C05160000000002FF1D64"
                               "0001FF1F022316")}));
    const sim::ChannelState &c = f->sim().model().channels[4];
    QCOMPARE(c.identification, 0x12345678u);
    QCOMPARE(c.manufacturer, quint16(0x6A56));
    QCOMPARE(c.version, quint8(3));
    QCOMPARE(c.medium, quint8(0x07));
    QCOMPARE(c.vif, quint16(0x16));
    QCOMPARE(c.weight, 0.01f);
    QCOMPARE(c.durationMs, quint16(100));
    QCOMPARE(c.appointment, quint8(2));
    QVERIFY(f->log().contains("len start 38"));
    QVERIFY(f->log().contains("Запись завершена. Канал 5"));
    QVERIFY(f->w<QTextEdit>("textEdit")->toPlainText().contains("Канал 5: конфигурация записана"));

    // The controls are changed, then "Прочитать" brings back what the device holds.
    f->w<QComboBox>("comboBox_DeviceType")->setCurrentText("GM Газ");
    f->w<QLineEdit>("lineEdit_DeviceNumber")->setText("1");
    f->w<QLineEdit>("lineEdit_Manufacturer")->setText("ABC");
    f->w<QComboBox>("comboBox_VIF")->setCurrentText("л");
    f->w<QLineEdit>("lineEdit_Weight")->setText("7");
    f->w<QSpinBox>("spinBox_Duration")->setValue(10);
    f->w<QComboBox>("comboBox_Appointment")->setCurrentIndex(0);
    f->sim().model().channels[4].value = 42.5f;
    f->w<QAbstractButton>("pushButton_ReadOneReg")->click();
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    QCOMPARE(f->w<QComboBox>("comboBox_DeviceType")->currentText(), QStringLiteral("WM Вода"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_DeviceNumber")->text(), QStringLiteral("12345678"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_Manufacturer")->text(), QStringLiteral("ZRV"));
    QCOMPARE(f->w<QSpinBox>("spinBox_Version")->value(), 3);
    QCOMPARE(f->w<QComboBox>("comboBox_VIF")->currentText(), QStringLiteral("м³"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_Weight")->text(), QStringLiteral("0.01"));
    QCOMPARE(f->w<QSpinBox>("spinBox_Duration")->value(), 100);
    QCOMPARE(f->w<QComboBox>("comboBox_Appointment")->currentIndex(), 2);
    QCOMPARE(f->w<QLineEdit>("lineEdit_value")->text(), QStringLiteral("42.5"));
}

void TestChannels::ticksAreWrittenInOrder()
{
    fillEditors();
    f->w<QAbstractButton>("checkBoxChan7")->click();
    f->w<QAbstractButton>("checkBoxChan2")->click();
    f->w<QAbstractButton>("checkBox_Duration")->click();
    f->w<QAbstractButton>("pushButton_writeChannelsConfig")->click(); // the developer page's button
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    const QList<QByteArray> requests = f->sim().requests();
    QCOMPARE(requests.size(), 4);
    QCOMPARE(requests.at(0).mid(7, 2), hex("7F02"));
    QCOMPARE(requests.at(1).mid(7, 3), hex("878040")); // channel 2's chain
    QCOMPARE(requests.at(2).mid(7, 2), hex("7F07"));
    QCOMPARE(requests.at(3).mid(7, 4), hex("87C0C040")); // channel 7's chain
    // Only the duration was ticked: the meter identity stays the device's own.
    for (int channel : {2, 7}) {
        const sim::ChannelState &c = f->sim().model().channels[size_t(channel - 1)];
        QCOMPARE(c.durationMs, quint16(100));
        QCOMPARE(c.identification, 0x10000000u + quint32(channel));
        QCOMPARE(c.appointment, quint8(1));
    }
}

void TestChannels::unitOnlyKeepsTheReadingAndElectricityTicksTheWeight()
{
    sim::ChannelState &c = f->sim().model().channels[0];
    c.value = 1234.5f;
    fillEditors();
    f->w<QComboBox>("comboBox_ChannelNumber")->setCurrentText("1");
    f->w<QComboBox>("comboBox_DeviceType")->setCurrentText("EM Электричество");
    f->w<QComboBox>("comboBox_VIF")->setCurrentText("кВтч");
    f->w<QLineEdit>("lineEdit_Weight")->setText("1000");
    f->w<QAbstractButton>("checkBoxChan1")->click();
    f->w<QAbstractButton>("checkBox_VIF")->click();
    f->w<QAbstractButton>("pushButton_WriteOneReg")->click();
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    QVERIFY(f->w<QCheckBox>("checkBox_Weight")->isChecked());
    QCOMPARE(c.vif, quint16(0x06));
    QCOMPARE(c.value, 1234.5f);       // the unit record carried the device's own reading back
    QCOMPARE(c.weight, 0.001f);       // 1000 pulses per kWh
    QCOMPARE(c.medium, quint8(0x07)); // identification unticked: the device's own medium
}

void TestChannels::failures_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<QString>("box");
    QTest::addColumn<int>("requests");
    QTest::newRow("port closed") << "close"
                                 << "Порт закрыт" << 0;
    QTest::newRow("no device number") << "number"
                                      << "Не введён номер прибора" << 0;
    QTest::newRow("no manufacturer") << "manufacturer"
                                     << "Не введён производитель" << 0;
    QTest::newRow("no weight") << "weight"
                               << "Не введён вес" << 0;
    QTest::newRow("port closed before an empty number") << "close number"
                                                        << "Порт закрыт" << 0;
    QTest::newRow("electricity constant 0")
        << "electricity0"
        << "Постоянная счетчика должна быть числом, отличным от нуля" << 0;
    QTest::newRow("VIF typed not hex") << "otherVif"
                                       << "VIF должен быть одним или двумя байтами в шестнадцатеричном "
                                          "виде, например 13 или FD3A"
                                       << 0;
    QTest::newRow("silent fetch") << "silentFetch"
                                  << "Ошибка чтения данных" << 1;
    QTest::newRow("write not acknowledged") << "silentWrite"
                                            << "Ошибка записи" << 2;
    QTest::newRow("nothing ticked") << "untick"
                                    << "" << 0;
}

void TestChannels::failures()
{
    QFETCH(QString, setup);
    QFETCH(QString, box);
    QFETCH(int, requests);
    fillEditors();
    f->w<QAbstractButton>("checkBoxChan5")->click();
    f->w<QAbstractButton>("checkBox_3")->click();
    f->w<QAbstractButton>("checkBoxChan6")->click();
    const QStringList steps = setup.split(' ');
    if (steps.contains("close"))
        f->w<QAbstractButton>("toolButton_openPort")->click();
    if (steps.contains("number"))
        f->w<QLineEdit>("lineEdit_DeviceNumber")->clear();
    if (steps.contains("manufacturer"))
        f->w<QLineEdit>("lineEdit_Manufacturer")->clear();
    if (steps.contains("weight"))
        f->w<QLineEdit>("lineEdit_Weight")->clear();
    if (steps.contains("electricity0")) {
        f->w<QComboBox>("comboBox_DeviceType")->setCurrentText("EM Электричество");
        f->w<QLineEdit>("lineEdit_Weight")->setText("0");
    }
    if (steps.contains("otherVif")) {
        f->w<QComboBox>("comboBox_VIF")->setCurrentText("Другие");
        f->w<QLineEdit>("lineEdit_VIF")->setText("13ZZ");
    }
    if (steps.contains("silentFetch"))
        f->sim().setFault(sim::Fault::Silence);
    if (steps.contains("silentWrite")) {
        QObject::connect(&f->sim(), &sim::DeviceSimulator::requestHandled, &f->sim(),
                         [this] { f->sim().setFault(sim::Fault::Silence); });
    }
    if (steps.contains("untick"))
        f->w<QAbstractButton>("checkBox_3")->click();

    f->w<QAbstractButton>("pushButton_WriteOneReg")->click();
    QCOMPARE(f->boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(f->sim().requests().size(), requests);
    QCOMPARE(f->sim().model().channels[5].durationMs, quint16(50)); // channel 6 never written
    QCOMPARE(f->log().contains("Ошибка записи. Канал 5"), box == QStringLiteral("Ошибка записи"));
}

void TestChannels::presetWrite()
{
    fillEditors();
    f->w<QComboBox>("comboBox_ChannelNumber")->setCurrentText("3");
    f->w<QLineEdit>("lineEdit_PresetChannel")->setText("12,5");
    f->w<QAbstractButton>("pushButton_WritePresetChannel")->click();
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    QCOMPARE(f->sim().requests().size(), 1);
    QCOMPARE(quint8(f->sim().requests().first().at(1)), quint8(21));
    const sim::ChannelState &c = f->sim().model().channels[2];
    QCOMPARE(c.value, 12.5f);
    QCOMPARE(c.vif, quint16(0x16));
    QCOMPARE(c.identification, 0x12345678u);

    f->w<QLineEdit>("lineEdit_PresetChannel")->setText("двенадцать");
    f->w<QAbstractButton>("pushButton_WritePresetChannel")->click();
    QCOMPARE(f->boxes().texts(), QStringList{"Начальное значение должно быть числом"});
    QCOMPARE(f->sim().requests().size(), 1);
}

// The page opens with texts of its own (device number "12345678", the first medium and unit): a write
// straight away sends what the controls show.
void TestChannels::untouchedControlsAreWrittenAsShown()
{
    QTest::keyClicks(f->w<QLineEdit>("lineEdit_Manufacturer"), "ZRV");
    f->w<QLineEdit>("lineEdit_Weight")->setText("1");
    f->w<QAbstractButton>("checkBoxChan1")->click();
    f->w<QAbstractButton>("checkBox_Identificator")->click();
    f->w<QAbstractButton>("pushButton_WriteOneReg")->click();
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    const sim::ChannelState &c = f->sim().model().channels[0];
    QCOMPARE(c.identification, 0x12345678u);
    QCOMPARE(c.medium, quint8(0x02)); // "EM Электричество", the first medium
}

QTEST_MAIN(TestChannels)
#include "tst_channels.moc"
