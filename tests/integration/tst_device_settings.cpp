// The device-settings page against the simulated device over a real pseudo-terminal. The PC clock
// runs seven hours ahead of UTC here, so local and UTC times cannot be mistaken for one another.

#include "tests/support/form_on_simulator.h"
#include "tests/support/scripted_line.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLineEdit>
#include <QSpinBox>
#include <QtTest>
#include <ctime>

Q_DECLARE_METATYPE(sim::Fault)

namespace
{

constexpr int kPcUtcOffsetSecs = 7 * 3600;
const QString kCheckClock = QStringLiteral("Проверьте время и дату");

// Keys: sim.* set the simulated device, model.* are its fields afterwards, line.answer replaces it
// with a device giving that answer, port.closed leaves the port closed; any other key is a widget.
using Settings = QVariantMap;

// The device's clock reads the PC's local time, or the sim.clock moment as UTC.
void applyDevice(sim::DeviceModel &m, const Settings &settings)
{
    const auto set = [&settings](const char *key, auto &field) {
        if (settings.contains(QLatin1String(key)))
            field = std::remove_reference_t<decltype(field)>(settings.value(QLatin1String(key)).toUInt());
    };
    set("sim.address", m.address);
    set("sim.version", m.softwareVersion);
    set("sim.identification", m.identification);
    set("sim.reportDay", m.reportDay);
    set("sim.speedCode", m.speedCode);
    const QDateTime local = QDateTime::currentDateTime();
    QDateTime clock(local.date(), local.time(), Qt::UTC);
    if (settings.contains(QStringLiteral("sim.clock"))) {
        // From the start of a second, so the clock still reads the same second a moment later.
        while (QDateTime::currentMSecsSinceEpoch() % 1000 > 100)
            QTest::qWait(5);
        clock = settings.value(QStringLiteral("sim.clock")).toDateTime();
    }
    m.setClockUtc(clock, QDateTime::currentDateTimeUtc());
}

void applyFields(FormOnSimulator &f, const Settings &settings)
{
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        if (it.key().contains(QLatin1Char('.')))
            continue;
        QWidget *widget = f.w<QWidget>(it.key());
        const QString value = it.value().toString();
        if (auto *edit = qobject_cast<QLineEdit *>(widget))
            edit->setText(value);
        else if (auto *spin = qobject_cast<QSpinBox *>(widget))
            value.isEmpty() ? spin->findChild<QLineEdit *>()->clear() : spin->setValue(value.toInt());
        else if (auto *combo = qobject_cast<QComboBox *>(widget))
            combo->setCurrentText(value);
        else if (auto *check = qobject_cast<QCheckBox *>(widget))
            check->setChecked(it.value().toBool());
        else if (auto *clock = qobject_cast<QDateTimeEdit *>(widget))
            clock->setDateTime(
                QDateTime(it.value().toDateTime().date(), it.value().toDateTime().time(), clock->timeSpec()));
        else
            QFAIL(qPrintable(QStringLiteral("no way to set %1").arg(it.key())));
    }
}

QVariant shownBy(FormOnSimulator &f, const QString &key)
{
    const sim::DeviceModel &m = f.sim().model();
    const QMap<QString, quint32> model{{"model.address", m.address},
                                       {"model.identification", m.identification},
                                       {"model.reportDay", m.reportDay},
                                       {"model.speedCode", m.speedCode}};
    if (model.contains(key))
        return model.value(key);
    if (key == QLatin1String("clock.aheadOfUtc")) { // the device's and the shown clock, to the minute
        const QDateTime now = QDateTime::currentDateTimeUtc();
        auto *edit = f.w<QDateTimeEdit>(QStringLiteral("dateTimeEdit"));
        const QDateTime shown(edit->date(), edit->time(), Qt::UTC);
        return QStringLiteral("%1 %2")
            .arg(qRound(now.secsTo(m.clockUtc(now)) / 60.0) * 60)
            .arg(qRound(now.secsTo(shown) / 60.0) * 60);
    }
    if (key == QLatin1String("comboBox_ChannelNumber.items")) {
        auto *combo = f.w<QComboBox>(QStringLiteral("comboBox_ChannelNumber"));
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << combo->itemText(i);
        return items.join(QLatin1Char(','));
    }
    if (auto *edit = f.form().findChild<QLineEdit *>(key))
        return edit->text();
    if (auto *combo = f.form().findChild<QComboBox *>(key))
        return combo->currentText();
    return f.w<QDateTimeEdit>(key)->text();
}

} // namespace

class TestDeviceSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(QDateTime::currentDateTime().offsetFromUtc(), kPcUtcOffsetSecs); }
    void command_data();
    void command();
};

void TestDeviceSettings::command_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<sim::Fault>("fault");
    QTest::addColumn<QString>("requests"); // frames in hex, space-separated; * stands for varying bytes
    QTest::addColumn<QString>("box");
    QTest::addColumn<Settings>("shows");

    const QString info = QStringLiteral("pushButton_readZorvaConfig");
    const QString infoAt1 = QStringLiteral("680505685301517f002416");
    const Settings filled{{"lineEdit_SerialNumber", "12345678"}};
    const Settings empty{{"lineEdit_SerialNumber", ""}, {"lineEdit_numberChannels", ""}};
    const QString wrongLength = QStringLiteral("Неверная длина ответа");

    QTest::newRow("information, version 0410: 2 channels")
        << info
        << Settings{{"sim.version", 0x0410}, {"sim.identification", 0x10203040}, {"sim.reportDay", 25}}
        << sim::Fault::None << infoAt1 << QString()
        << Settings{{"lineEdit_SerialNumber", "10203040"},
                    {"lineEdit_manufacturerZorva", "ZRV"},
                    {"lineEdit_versionZorva", "1"},
                    {"lineEdit_VersionPO", "0410"},
                    {"lineEdit_codePO", "0107"},
                    {"lineEdit_assemblyNumber", "215"},
                    {"lineEdit_reportDay", "25"},
                    {"lineEdit_numberChannels", "2"},
                    {"comboBox_ChannelNumber.items", "1,2"}};
    QTest::newRow("information at address 250, version 0500: no channels")
        << info << Settings{{"sim.address", 250}, {"lineEdit_oneAddress", "250"}, {"sim.version", 0x0500}}
        << sim::Fault::None << QStringLiteral("6805056853fa517f001d16") << QString()
        << Settings{{"lineEdit_numberChannels", "0"}, {"comboBox_ChannelNumber.items", ""}};
    QTest::newRow("information, today at 00:00:01")
        << info << Settings{{"sim.clock", QDateTime(QDate::currentDate(), QTime(0, 0, 1), Qt::UTC)}}
        << sim::Fault::None << infoAt1 << QString() << filled;
    const std::initializer_list<std::tuple<sim::Fault, const char *, QString>> infoFaults{
        {sim::Fault::Silence, "silence", QStringLiteral("Нет ответа")},
        {sim::Fault::WrongChecksum, "wrong checksum", QStringLiteral("Ошибка контрольной суммы16")},
        {sim::Fault::ExceptionAnswer, "exception answer", wrongLength},
        {sim::Fault::WrongLength, "49 bytes with a right checksum", wrongLength},
        {sim::Fault::SplitAnswer, "split with long gaps", wrongLength},
        {sim::Fault::NoiseBeforeAnswer, "noise before the answer", QString()}};
    for (const auto &[fault, name, box] : infoFaults)
        QTest::addRow("information, %s", name)
            << info << Settings() << fault << infoAt1 << box << (box.isEmpty() ? filled : empty);
    // The configuration answer of a device with number 12345678, its clock at 15.11.2009 14:30:05.
    const QByteArray good =
        QByteArray::fromHex("682a2a6808057278563412566a01021100000002fd0e100402fd0f07a102fd0c2c"
                            "0101ff1a19066d051eee2f1b007716");
    QTest::newRow("information, clock bytes 05 1E EE 2F 1B 00")
        << info << Settings{{"line.answer", good}} << sim::Fault::None << infoAt1 << kCheckClock
        << Settings{{"dateTimeEdit", "15.11.2009 14:30:05"}, {"lineEdit_SerialNumber", "12345678"}};
    QByteArray shorter = good.left(20) + good.mid(21);
    shorter[45] = char(0x7A);
    QTest::newRow("information, 47 bytes with a right checksum")
        << info << Settings{{"line.answer", shorter}} << sim::Fault::None << infoAt1 << wrongLength << empty;
    QByteArray foreignC = good;
    foreignC[4] = char(0x09);
    foreignC[46] = char(0x78);
    QTest::newRow("information, C field 09")
        << info << Settings{{"line.answer", foreignC}} << sim::Fault::None << infoAt1
        << QStringLiteral("Неверный ответ с байта 4") << empty;

    const QString dateRead = QStringLiteral("pushButton_DateRead");
    const QString clockAt1 = QStringLiteral("01030008000245c9");
    const QString readError = QStringLiteral("Ошибка чтения данных");
    const Settings clock65536{{"sim.clock", QDateTime::fromSecsSinceEpoch(65536, Qt::UTC)}};
    for (sim::Fault fault :
         {sim::Fault::None, sim::Fault::WrongChecksum}) // a wrong CRC is taken as it stands
        QTest::addRow("clock read, 65536 s, %s", qPrintable(sim::faultName(fault)))
            << dateRead << clock65536 << fault << clockAt1 << QString()
            << Settings{{"dateTimeEdit", "01.01.1970 18:12:16"}};
    for (sim::Fault fault : {sim::Fault::Silence, sim::Fault::ExceptionAnswer, sim::Fault::NoiseBeforeAnswer,
                             sim::Fault::SplitAnswer})
        QTest::addRow("clock read, %s", qPrintable(sim::faultName(fault)))
            << dateRead << Settings{{"dateTimeEdit", QDateTime(QDate(2003, 2, 1), QTime(4, 5, 6))}} << fault
            << clockAt1 << readError << Settings{{"dateTimeEdit", "01.02.2003 04:05:06"}};

    const QString addressRead = QStringLiteral("pushButton_ReadCurrentNetAddress");
    QTest::newRow("address read through 254")
        << addressRead << Settings{{"sim.address", 17}, {"lineEdit_oneAddress", "254"}} << sim::Fault::None
        << QStringLiteral("fe03000500018004") << QString() << Settings{{"lineEdit_CurrentNetAddress", "17"}};
    for (sim::Fault fault : {sim::Fault::Silence, sim::Fault::ExceptionAnswer})
        QTest::addRow("address read, %s", qPrintable(sim::faultName(fault)))
            << addressRead << Settings() << fault << QStringLiteral("010300050001940b") << readError
            << Settings{{"lineEdit_CurrentNetAddress", ""}};

    const QString rateRead = QStringLiteral("pushButton_readRate");
    const QString rateAt1 = QStringLiteral("010300060001640b");
    QTest::newRow("speed read, 2400") << rateRead << Settings() << sim::Fault::None << rateAt1 << QString()
                                      << Settings{{"comboBox_writeRate", "2400"}};
    QTest::newRow("speed read, index 7")
        << rateRead << Settings{{"line.answer", QByteArray::fromHex("0103020007f986")}} << sim::Fault::None
        << rateAt1 << QString() << Settings{{"comboBox_writeRate", "9600"}};
    QTest::newRow("speed read, noise before the answer")
        << rateRead << Settings() << sim::Fault::NoiseBeforeAnswer << rateAt1 << readError
        << Settings{{"comboBox_writeRate", "2400"}}; // still the port's speed: nothing was read

    const QString addressWrite = QStringLiteral("pushButton_WriteNewNetAddress");
    const QString serialWrite = QStringLiteral("pushButton_SerialNumberSet");
    const QString rateWrite = QStringLiteral("pushButton_writeRate");
    const QString dayWrite = QStringLiteral("pushButton_writeReportDay");
    const QString dateWrite = QStringLiteral("pushButton_DateWrite");
    const QString writeError = QStringLiteral("Ошибка записи данных");
    const QString address42 = QStringLiteral("68060668530151017a2a4a16");
    const QString serialPrep = QStringLiteral("6809096873fe510c79ffffffff4316");
    const QString serial = serialPrep + QStringLiteral(" 6809096873fe510c7940302010e716");
    const QString day25 = QStringLiteral("6807076853015101ff1a19d816");
    const QString speed9600 = QStringLiteral("680303685301bd1116");
    const QString clock2009 = QStringLiteral("680b0b68530151066d051eee2f1b007316");
    const Settings new42{{"spinBox_NewNetAddress", 42}};
    const Settings serialNumber{{"spinBox_SerialNumberSet", 10203040}};
    const Settings day{{"lineEdit_reportDay", "25"}};
    const Settings rate9600{{"comboBox_writeRate", "9600"}};
    const Settings typed2009{{"dateTimeEdit", QDateTime(QDate(2009, 11, 15), QTime(14, 30, 5))}};

    QTest::newRow("bus address 42") << addressWrite << new42 << sim::Fault::None << address42 << QString()
                                    << Settings{{"model.address", 42}, {"lineEdit_oneAddress", "42"}};
    QTest::newRow("identification 10203040") << serialWrite << serialNumber << sim::Fault::None << serial
                                             << QString() << Settings{{"model.identification", 0x10203040}};
    QTest::newRow("speed 9600, the port follows")
        << rateWrite << rate9600 << sim::Fault::None << speed9600 << "Скорость обмена записана"
        << Settings{{"comboBox_selectRate", "9600"}, {"model.speedCode", 0xBD}};
    QTest::newRow("report day 25") << dayWrite << day << sim::Fault::None << day25 << QString()
                                   << Settings{{"model.reportDay", 25}};
    QTest::newRow("clock 15.11.2009 14:30:05, a Sunday")
        << dateWrite << typed2009 << sim::Fault::None << clock2009 << QString() << Settings();
    const std::initializer_list<std::tuple<const char *, bool, bool, const char *>> syncs{
        {"with the PC: local time", true, false, "25200 25200"},
        {"with UTC", false, true, "0 0"},
        {"with both boxes: UTC wins", true, true, "0 0"}};
    for (const auto &[name, withPc, withUtc, ahead] : syncs)
        QTest::addRow("clock synchronised %s", name)
            << dateWrite
            << Settings{{"checkBox_SynchronizashionWithPC", withPc}, {"checkBox_SyncUTC", withUtc}}
            << sim::Fault::None << QStringLiteral("680b0b68530151066d*") << QString()
            << Settings{{"clock.aheadOfUtc", ahead}};
    for (sim::Fault fault : {sim::Fault::Silence, sim::Fault::ExceptionAnswer})
        QTest::addRow("clock write, %s", qPrintable(sim::faultName(fault)))
            << dateWrite << typed2009 << fault << clock2009 << writeError << Settings();
    QTest::newRow("clock write, noise before E5")
        << dateWrite << typed2009 << sim::Fault::NoiseBeforeAnswer << clock2009 << QString() << Settings();
    QTest::newRow("bus address, silence") << addressWrite << new42 << sim::Fault::Silence << address42
                                          << writeError << Settings{{"lineEdit_oneAddress", "1"}};
    QTest::newRow("identification, silence: the number is not sent")
        << serialWrite << serialNumber << sim::Fault::Silence << serialPrep << QStringLiteral("Ошибка записи")
        << Settings{{"model.identification", 0x12345678}};
    QTest::newRow("speed, silence: the port stays")
        << rateWrite << rate9600 << sim::Fault::Silence << speed9600 << writeError
        << Settings{{"comboBox_selectRate", "2400"}};
    QTest::newRow("report day, silence")
        << dayWrite << day << sim::Fault::Silence << day25 << QStringLiteral("Нет ответа") << Settings();
    QTest::newRow("report day, exception answer")
        << dayWrite << day << sim::Fault::ExceptionAnswer << day25 << writeError << Settings();

    const QString nothing;
    QTest::newRow("report day empty")
        << dayWrite << Settings{{"lineEdit_reportDay", ""}} << sim::Fault::None << nothing
        << QStringLiteral("Отчетный день не введён") << Settings{{"model.reportDay", 1}};
    QTest::newRow("report day 32") << dayWrite << Settings{{"lineEdit_reportDay", "32"}} << sim::Fault::None
                                   << nothing
                                   << QStringLiteral("Неверный отчетный день: 32. Введите число от 1 до 31")
                                   << Settings{{"model.reportDay", 1}};
    QTest::newRow("new address empty")
        << addressWrite << Settings{{"spinBox_NewNetAddress", ""}} << sim::Fault::None << nothing
        << QStringLiteral("Адрес не введён") << Settings();
    QTest::newRow("identification never entered") << serialWrite << Settings() << sim::Fault::None << nothing
                                                  << QStringLiteral("Номер не введён") << Settings();
    for (const QString &button : {info, dateRead, dateWrite, addressWrite, dayWrite})
        QTest::addRow("closed port, %s", qPrintable(button))
            << button << Settings{{"port.closed", 1}, {"lineEdit_reportDay", "25"}} << sim::Fault::None
            << nothing << QStringLiteral("Порт закрыт") << Settings();
}

void TestDeviceSettings::command()
{
    QFETCH(QString, button);
    QFETCH(Settings, settings);
    QFETCH(sim::Fault, fault);
    QFETCH(QString, requests);
    QFETCH(QString, box);
    QFETCH(Settings, shows);

    const bool scripted = settings.contains(QStringLiteral("line.answer"));
    FormOnSimulator f({1, !scripted && !settings.contains(QStringLiteral("port.closed"))});
    QVERIFY2(f.ready(), qPrintable(f.error()));
    ScriptedLine line(settings.value(QStringLiteral("line.answer")).toByteArray());
    if (scripted) {
        QString error;
        QVERIFY2(line.open(&error), qPrintable(error));
        f.typePortAndToggle(line.path());
    }
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    applyDevice(f.sim().model(), settings);
    applyFields(f, settings);
    f.sim().setFault(fault);
    f.boxes().clear();

    f.w<QAbstractButton>(button)->click();

    QStringList frames;
    for (const QByteArray &frame : scripted ? line.requests() : f.sim().requests())
        frames << QString::fromLatin1(frame.toHex());
    const QString sent = frames.join(QLatin1Char(' '));
    if (requests.endsWith(QLatin1Char('*'))) // one frame, its bytes from this point on vary
        QVERIFY2(sent.startsWith(requests.chopped(1)) && !sent.contains(QLatin1Char(' ')), qPrintable(sent));
    else
        QCOMPARE(sent, requests);
    if (requests.isEmpty())
        QCOMPARE(f.sim().received().toHex(' '), QByteArray());
    QCOMPARE(f.boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    for (auto it = shows.cbegin(); it != shows.cend(); ++it)
        QCOMPARE(shownBy(f, it.key()).toString(), it.value().toString());
}

int main(int argc, char *argv[])
{
    qputenv("TZ", "<+07>-7");
    tzset();
    QApplication app(argc, argv);
    TestDeviceSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_device_settings.moc"
