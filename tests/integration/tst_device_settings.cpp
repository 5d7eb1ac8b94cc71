// The device-settings page against the simulated device over a real pseudo-terminal: each row
// sets up the device and the fields, clicks one button and checks the bytes the device received,
// the boxes and what the page shows. The PC clock runs seven hours ahead of UTC here, so local
// and UTC times cannot be mistaken for one another.

#include "tests/support/form_on_simulator.h"
#include "tests/support/scripted_line.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>
#include <QtTest>
#include <ctime>

Q_DECLARE_METATYPE(Fault)

namespace
{

constexpr int kPcUtcOffsetSecs = 7 * 3600;
const char *const kShown = "dd.MM.yyyy hh:mm:ss";
const QString kCheckClock = QStringLiteral("Проверьте время и дату");
// The configuration answer of a device with number 12345678 and its clock at 15.11.2009 14:30:05.
const char *const kScriptedInformation =
    "682a2a6808057278563412566a01021100000002fd0e100402fd0f07a102fd0c2c0101ff1a19"
    "066d051eee2f1b007716";

using Settings = QVariantMap;

QByteArrayList frames(std::initializer_list<const char *> hexFrames)
{
    QByteArrayList list;
    for (const char *h : hexFrames)
        list << QByteArray::fromHex(h);
    return list;
}

QStringList hexList(const QList<QByteArray> &list)
{
    QStringList out;
    for (const QByteArray &bytes : list)
        out << QString::fromLatin1(bytes.toHex(' '));
    return out;
}

// Makes the device's clock fields read `wall` now.
void setDeviceWallClock(DeviceSimulator &sim, const QDateTime &wall)
{
    const QDateTime asUtc(wall.date(), wall.time(), Qt::UTC);
    sim.model().clockOffsetSecs = asUtc.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
}

// Waits for the start of a second, so a clock set now still reads the same second a moment later.
void alignToSecond()
{
    while (QDateTime::currentMSecsSinceEpoch() % 1000 > 100)
        QTest::qWait(5);
}

void applyDevice(DeviceSimulator &sim, const Settings &settings)
{
    DeviceModel &m = sim.model();
    setDeviceWallClock(sim, QDateTime::currentDateTime());
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        const QString value = it.value().toString();
        if (it.key() == QLatin1String("sim.address"))
            m.address = quint8(value.toUInt());
        else if (it.key() == QLatin1String("sim.version"))
            m.softwareVersion = quint16(value.toUInt(nullptr, 16));
        else if (it.key() == QLatin1String("sim.identification"))
            m.identification = value.toUInt(nullptr, 16);
        else if (it.key() == QLatin1String("sim.reportDay"))
            m.reportDay = quint8(value.toUInt());
        else if (it.key() == QLatin1String("sim.speedCode"))
            m.speedCode = quint8(value.toUInt(nullptr, 16));
        else if (it.key() == QLatin1String("sim.clock")) {
            alignToSecond();
            setDeviceWallClock(sim, QDateTime::fromString(value, QLatin1String(kShown)));
        } else if (it.key() == QLatin1String("sim.clockDays"))
            setDeviceWallClock(sim, QDateTime::currentDateTime().addDays(value.toInt()));
        else if (it.key() == QLatin1String("sim.clockTodayAt"))
            setDeviceWallClock(sim, QDateTime(QDate::currentDate(), QTime::fromString(value)));
        else if (it.key() == QLatin1String("sim.clockSecs")) {
            alignToSecond();
            m.clockOffsetSecs = value.toLongLong() - QDateTime::currentSecsSinceEpoch();
        }
    }
}

void applyFields(FormOnSimulator &f, const Settings &settings)
{
    for (auto it = settings.cbegin(); it != settings.cend(); ++it) {
        if (it.key().contains(QLatin1Char('.')))
            continue;
        QWidget *widget = f.w<QWidget>(it.key());
        const QString value = it.value().toString();
        if (auto *edit = qobject_cast<QLineEdit *>(widget)) {
            edit->setText(value);
        } else if (auto *spin = qobject_cast<QSpinBox *>(widget)) {
            if (value.isEmpty())
                spin->findChild<QLineEdit *>()->clear();
            else
                spin->setValue(value.toInt());
        } else if (auto *combo = qobject_cast<QComboBox *>(widget)) {
            combo->setCurrentText(value);
        } else if (auto *clock = qobject_cast<QDateTimeEdit *>(widget)) {
            const QDateTime typed = QDateTime::fromString(value, QLatin1String(kShown));
            clock->setDate(typed.date());
            clock->setTime(typed.time());
        } else if (auto *check = qobject_cast<QCheckBox *>(widget)) {
            check->setChecked(value == QLatin1String("1"));
        } else {
            QFAIL(qPrintable(QStringLiteral("no way to set %1").arg(it.key())));
        }
    }
}

QString shownBy(FormOnSimulator &f, const QString &key)
{
    DeviceModel &m = f.sim().model();
    if (key == QLatin1String("model.address"))
        return QString::number(m.address);
    if (key == QLatin1String("model.identification"))
        return QString::number(m.identification, 16);
    if (key == QLatin1String("model.reportDay"))
        return QString::number(m.reportDay);
    if (key == QLatin1String("model.speedCode"))
        return QString::number(m.speedCode, 16);
    if (key == QLatin1String("comboBox_ChannelNumber.items")) {
        auto *combo = f.w<QComboBox>(QStringLiteral("comboBox_ChannelNumber"));
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << combo->itemText(i);
        return items.join(QLatin1Char(','));
    }
    QWidget *widget = f.w<QWidget>(key);
    if (auto *edit = qobject_cast<QLineEdit *>(widget))
        return edit->text();
    if (auto *combo = qobject_cast<QComboBox *>(widget))
        return combo->currentText();
    if (auto *clock = qobject_cast<QDateTimeEdit *>(widget))
        return clock->text();
    return QStringLiteral("<no text for %1>").arg(key);
}

} // namespace

class TestDeviceSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void command_data();
    void command();
    void clockSynchronisation_data();
    void clockSynchronisation();
};

void TestDeviceSettings::initTestCase()
{
    QCOMPARE(QDateTime::currentDateTime().offsetFromUtc(), kPcUtcOffsetSecs);
}

void TestDeviceSettings::command_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<Settings>("settings"); // sim.*: the device; line.*: a scripted device; else fields
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QByteArrayList>("requests");
    QTest::addColumn<QStringList>("boxes");
    QTest::addColumn<Settings>("shows"); // model.*: the device afterwards; else widget texts

    const QString info = QStringLiteral("pushButton_readZorvaConfig");
    const QByteArrayList infoAt1 = frames({"680505685301517f002416"});
    const Settings filled{{"lineEdit_SerialNumber", "12345678"}};
    const Settings empty{{"lineEdit_SerialNumber", ""}, {"lineEdit_numberChannels", ""}};
    const QStringList wrongLength{QStringLiteral("Неверная длина ответа")};
    const QByteArray good = QByteArray::fromHex(kScriptedInformation);

    QTest::newRow("information, version 0410: 2 channels")
        << info
        << Settings{{"sim.version", "0410"}, {"sim.identification", "10203040"}, {"sim.reportDay", 25}}
        << Fault::None << infoAt1 << QStringList()
        << Settings{{"lineEdit_SerialNumber", "10203040"},
                    {"lineEdit_manufacturerZorva", "ZRV"},
                    {"lineEdit_versionZorva", "1"},
                    {"lineEdit_VersionPO", "0410"},
                    {"lineEdit_codePO", "0107"},
                    {"lineEdit_assemblyNumber", "215"},
                    {"lineEdit_reportDay", "25"},
                    {"lineEdit_numberChannels", "2"},
                    {"comboBox_ChannelNumber.items", "1,2"}};
    QTest::newRow("information, version 0500: no channels")
        << info << Settings{{"sim.version", "0500"}} << Fault::None << infoAt1 << QStringList()
        << Settings{{"lineEdit_numberChannels", "0"}, {"comboBox_ChannelNumber.items", ""}};
    QTest::newRow("information at address 250, version 0330")
        << info << Settings{{"sim.address", 250}, {"lineEdit_oneAddress", "250"}} << Fault::None
        << frames({"6805056853fa517f001d16"}) << QStringList()
        << Settings{{"lineEdit_numberChannels", "16"},
                    {"comboBox_ChannelNumber.items", "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16"}};
    QTest::newRow("information, clock 15.11.2009 14:30:05: bytes 2F 1B")
        << info << Settings{{"sim.clock", "15.11.2009 14:30:05"}} << Fault::None << infoAt1
        << QStringList{kCheckClock} << Settings{{"dateTimeEdit", "15.11.2009 14:30:05"}, {"sent", "2f1b00"}};
    QTest::newRow("information, clock one day behind")
        << info << Settings{{"sim.clockDays", -1}} << Fault::None << infoAt1 << QStringList{kCheckClock}
        << filled;
    QTest::newRow("information, same date, another time")
        << info << Settings{{"sim.clockTodayAt", "00:00:01"}} << Fault::None << infoAt1 << QStringList()
        << filled;
    QTest::newRow("information, silence") << info << Settings() << Fault::Silence << infoAt1
                                          << QStringList{QStringLiteral("Нет ответа")} << empty;
    QTest::newRow("information, wrong checksum")
        << info << Settings() << Fault::WrongChecksum << infoAt1
        << QStringList{QStringLiteral("Ошибка контрольной суммы16")} << empty;
    QTest::newRow("information, exception answer")
        << info << Settings() << Fault::ExceptionAnswer << infoAt1 << wrongLength << empty;
    QTest::newRow("information, 49 bytes with a right checksum")
        << info << Settings() << Fault::WrongLength << infoAt1 << wrongLength << empty;
    QTest::newRow("information, truncated")
        << info << Settings() << Fault::TruncatedAnswer << infoAt1 << wrongLength << empty;
    QTest::newRow("information, noise before the answer")
        << info << Settings() << Fault::NoiseBeforeAnswer << infoAt1 << QStringList() << filled;
    QByteArray shorter = good.left(20) + good.mid(21);
    shorter[45] = char(0x7A);
    QTest::newRow("information, 47 bytes with a right checksum")
        << info << Settings{{"line.answer", shorter.toHex()}} << Fault::None << infoAt1 << wrongLength
        << empty;
    QByteArray foreignC = good;
    foreignC[4] = char(0x09);
    foreignC[46] = char(0x78);
    QTest::newRow("information, C field 09")
        << info << Settings{{"line.answer", foreignC.toHex()}} << Fault::None << infoAt1
        << QStringList{QStringLiteral("Неверный ответ с байта 4")} << empty;
    const QByteArray pieces =
        good.left(16).toHex() + '|' + good.mid(16, 16).toHex() + '|' + good.mid(32).toHex();
    QTest::newRow("information in three pieces 50 ms apart")
        << info << Settings{{"line.answer", pieces}, {"line.gapMs", 50}} << Fault::None << infoAt1
        << QStringList{kCheckClock} << filled;
    QTest::newRow("information in three pieces 700 ms apart")
        << info << Settings{{"line.answer", pieces}, {"line.gapMs", 700}} << Fault::None << infoAt1
        << wrongLength << empty;

    const QString dateRead = QStringLiteral("pushButton_DateRead");
    const QByteArrayList clockAt1 = frames({"01030008000245c9"});
    const Settings typedClock{{"dateTimeEdit", "01.02.2003 04:05:06"}};
    const QStringList readError{QStringLiteral("Ошибка чтения данных")};
    QTest::newRow("clock read, register 9 = 0001")
        << dateRead << Settings{{"sim.clockSecs", 65536}} << Fault::None << clockAt1 << QStringList()
        << Settings{{"dateTimeEdit", "01.01.1970 18:12:16"}};
    QTest::newRow("clock read, wrong CRC taken as it stands")
        << dateRead << Settings{{"sim.clockSecs", 65536}} << Fault::WrongChecksum << clockAt1 << QStringList()
        << Settings{{"dateTimeEdit", "01.01.1970 18:12:16"}};
    for (Fault fault : {Fault::Silence, Fault::ExceptionAnswer, Fault::NoiseBeforeAnswer, Fault::SplitAnswer})
        QTest::addRow("clock read, %s", qPrintable(faultName(fault)))
            << dateRead << typedClock << fault << clockAt1 << readError << typedClock;

    const QString addressRead = QStringLiteral("pushButton_ReadCurrentNetAddress");
    QTest::newRow("address read at 1")
        << addressRead << Settings() << Fault::None << frames({"010300050001940b"}) << QStringList()
        << Settings{{"lineEdit_CurrentNetAddress", "1"}};
    QTest::newRow("address read through 254")
        << addressRead << Settings{{"sim.address", 17}, {"lineEdit_oneAddress", "254"}} << Fault::None
        << frames({"fe03000500018004"}) << QStringList() << Settings{{"lineEdit_CurrentNetAddress", "17"}};
    for (Fault fault : {Fault::Silence, Fault::ExceptionAnswer})
        QTest::addRow("address read, %s", qPrintable(faultName(fault)))
            << addressRead << Settings() << fault << frames({"010300050001940b"}) << readError
            << Settings{{"lineEdit_CurrentNetAddress", ""}};

    const QString rateRead = QStringLiteral("pushButton_readRate");
    const QByteArrayList rateAt1 = frames({"010300060001640b"});
    QTest::newRow("speed read, 2400") << rateRead << Settings() << Fault::None << rateAt1 << QStringList()
                                      << Settings{{"comboBox_writeRate", "2400"}};
    QTest::newRow("speed read, 9600 on a 9600 line")
        << rateRead << Settings{{"sim.speedCode", "bd"}, {"comboBox_selectRate", "9600"}} << Fault::None
        << rateAt1 << QStringList() << Settings{{"comboBox_writeRate", "9600"}};
    QTest::newRow("speed read, index 7")
        << rateRead << Settings{{"line.answer", "0103020007f986"}} << Fault::None << rateAt1 << QStringList()
        << Settings{{"comboBox_writeRate", "9600"}};
    QTest::newRow("speed read, noise before the answer")
        << rateRead << Settings() << Fault::NoiseBeforeAnswer << rateAt1 << readError
        << Settings{{"comboBox_writeRate", "1200"}};

    const QString addressWrite = QStringLiteral("pushButton_WriteNewNetAddress");
    const QString serialWrite = QStringLiteral("pushButton_SerialNumberSet");
    const QString rateWrite = QStringLiteral("pushButton_writeRate");
    const QString dayWrite = QStringLiteral("pushButton_writeReportDay");
    const QString dateWrite = QStringLiteral("pushButton_DateWrite");
    const QStringList written{QStringLiteral("Скорость обмена записана")};
    const QStringList writeError{QStringLiteral("Ошибка записи данных")};
    const QByteArrayList address42 = frames({"68060668530151017a2a4a16"});
    const QByteArrayList serial =
        frames({"6809096873fe510c79ffffffff4316", "6809096873fe510c7940302010e716"});
    const QByteArrayList day25 = frames({"6807076853015101ff1a19d816"});
    const QByteArrayList clock2009 = frames({"680b0b68530151066d051eee2f1b007316"});
    const Settings new42{{"spinBox_NewNetAddress", 42}};
    const Settings serialNumber{{"spinBox_SerialNumberSet", 10203040}};
    const Settings day{{"lineEdit_reportDay", "25"}};
    const Settings date2009{{"dateTimeEdit", "15.11.2009 14:30:05"}};

    QTest::newRow("bus address 42") << addressWrite << new42 << Fault::None << address42 << QStringList()
                                    << Settings{{"model.address", "42"}, {"lineEdit_oneAddress", "42"}};
    QTest::newRow("identification 10203040")
        << serialWrite << serialNumber << Fault::None << serial << QStringList()
        << Settings{{"model.identification", "10203040"}};
    QTest::newRow("speed 2400") << rateWrite << Settings{{"comboBox_writeRate", "2400"}} << Fault::None
                                << frames({"680303685301bb0f16"}) << written
                                << Settings{{"comboBox_selectRate", "2400"}, {"model.speedCode", "bb"}};
    QTest::newRow("speed 9600, the port follows")
        << rateWrite << Settings{{"comboBox_writeRate", "9600"}} << Fault::None
        << frames({"680303685301bd1116"}) << written
        << Settings{{"comboBox_selectRate", "9600"}, {"model.speedCode", "bd"}};
    QTest::newRow("report day 25") << dayWrite << day << Fault::None << day25 << QStringList()
                                   << Settings{{"model.reportDay", "25"}};
    QTest::newRow("clock 15.11.2009 14:30:05, a Sunday")
        << dateWrite << date2009 << Fault::None << clock2009 << QStringList() << Settings();
    QTest::newRow("clock 10.03.2024 08:00:00")
        << dateWrite << Settings{{"dateTimeEdit", "10.03.2024 08:00:00"}} << Fault::None
        << frames({"680b0b68530151066d0000e80a33003d16"}) << QStringList() << Settings();

    QTest::newRow("clock write, silence")
        << dateWrite << date2009 << Fault::Silence << clock2009 << writeError << Settings();
    QTest::newRow("clock write, exception answer")
        << dateWrite << date2009 << Fault::ExceptionAnswer << clock2009 << writeError << Settings();
    QTest::newRow("clock write, noise before E5")
        << dateWrite << date2009 << Fault::NoiseBeforeAnswer << clock2009 << QStringList() << Settings();
    QTest::newRow("bus address, silence") << addressWrite << new42 << Fault::Silence << address42
                                          << writeError << Settings{{"lineEdit_oneAddress", "1"}};
    QTest::newRow("bus address, noise before E5")
        << addressWrite << new42 << Fault::NoiseBeforeAnswer << address42 << QStringList()
        << Settings{{"model.address", "42"}};
    QTest::newRow("identification, silence: the number is not sent")
        << serialWrite << serialNumber << Fault::Silence << serial.mid(0, 1)
        << QStringList{QStringLiteral("Ошибка записи")} << Settings{{"model.identification", "12345678"}};
    QTest::newRow("identification, exception answer")
        << serialWrite << serialNumber << Fault::ExceptionAnswer << serial.mid(0, 1)
        << QStringList{QStringLiteral("Ошибка записи")} << Settings{{"model.identification", "12345678"}};
    QTest::newRow("speed, silence") << rateWrite << Settings{{"comboBox_writeRate", "9600"}} << Fault::Silence
                                    << frames({"680303685301bd1116"}) << writeError
                                    << Settings{{"comboBox_selectRate", "2400"}};
    QTest::newRow("report day, silence") << dayWrite << day << Fault::Silence << day25
                                         << QStringList{QStringLiteral("Нет ответа")} << Settings();
    QTest::newRow("report day, exception answer")
        << dayWrite << day << Fault::ExceptionAnswer << day25 << writeError << Settings();

    const QByteArrayList nothing;
    for (const char *typed : {"", "0", "32", "2x"}) {
        const QString text = QString::fromLatin1(typed);
        const QString box =
            text.isEmpty() ? QStringLiteral("Отчетный день не введён")
                           : QStringLiteral("Неверный отчетный день: %1. Введите число от 1 до 31").arg(text);
        QTest::addRow("report day \"%s\"", typed)
            << dayWrite << Settings{{"lineEdit_reportDay", text}} << Fault::None << nothing
            << QStringList{box} << Settings{{"model.reportDay", "1"}};
    }
    QTest::newRow("new address empty")
        << addressWrite << Settings{{"spinBox_NewNetAddress", ""}} << Fault::None << nothing
        << QStringList{QStringLiteral("Адрес не введён")} << Settings();
    QTest::newRow("identification never entered")
        << serialWrite << Settings() << Fault::None << nothing
        << QStringList{QStringLiteral("Номер не введён")} << Settings();
    for (const QString &button : {info, dateRead, dateWrite, addressWrite, dayWrite})
        QTest::addRow("closed port, %s", qPrintable(button))
            << button << Settings{{"port.closed", 1}, {"lineEdit_reportDay", "25"}} << Fault::None << nothing
            << QStringList{QStringLiteral("Порт закрыт")} << Settings();
}

void TestDeviceSettings::command()
{
    QFETCH(QString, button);
    QFETCH(Settings, settings);
    QFETCH(Fault, fault);
    QFETCH(QByteArrayList, requests);
    QFETCH(QStringList, boxes);
    QFETCH(Settings, shows);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    ScriptedLine line;
    if (settings.contains(QStringLiteral("line.answer"))) {
        QString error;
        QVERIFY2(line.open(&error), qPrintable(error));
        QList<QByteArray> pieces;
        for (const QString &piece :
             settings.value(QStringLiteral("line.answer")).toString().split(QLatin1Char('|')))
            pieces << QByteArray::fromHex(piece.toLatin1());
        line.addAnswer(pieces, settings.value(QStringLiteral("line.gapMs")).toInt());
        f.typePortAndToggle(QString()); // close the simulator's port
        f.typePortAndToggle(line.path());
        QVERIFY(f.w<QToolButton>(QStringLiteral("toolButton_openPort"))->isChecked());
    }
    if (settings.contains(QStringLiteral("port.closed")))
        f.w<QToolButton>(QStringLiteral("toolButton_openPort"))->click();
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    applyDevice(f.sim(), settings);
    applyFields(f, settings);
    f.sim().setFault(fault);
    f.boxes().clear();

    f.w<QAbstractButton>(button)->click();

    const QList<QByteArray> received =
        settings.contains(QStringLiteral("line.answer")) ? line.requests() : f.sim().requests();
    QCOMPARE(hexList(received), hexList(requests));
    if (requests.isEmpty())
        QCOMPARE(f.sim().received().toHex(' '), QByteArray());
    QCOMPARE(f.boxes().texts(), boxes);
    for (auto it = shows.cbegin(); it != shows.cend(); ++it) {
        if (it.key() == QLatin1String("sent"))
            QVERIFY2(f.sim().sent().toHex().contains(it.value().toByteArray()),
                     f.sim().sent().toHex().constData());
        else
            QCOMPARE(shownBy(f, it.key()), it.value().toString());
    }
}

void TestDeviceSettings::clockSynchronisation_data()
{
    QTest::addColumn<bool>("withPc");
    QTest::addColumn<bool>("withUtc");
    QTest::addColumn<int>("writtenOffsetSecs"); // the written fields, as seconds ahead of UTC
    QTest::newRow("with the PC: local time") << true << false << kPcUtcOffsetSecs;
    QTest::newRow("with UTC") << false << true << 0;
    QTest::newRow("both boxes: UTC wins") << true << true << 0;
}

void TestDeviceSettings::clockSynchronisation()
{
    QFETCH(bool, withPc);
    QFETCH(bool, withUtc);
    QFETCH(int, writtenOffsetSecs);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    f.w<QCheckBox>(QStringLiteral("checkBox_SynchronizashionWithPC"))->setChecked(withPc);
    f.w<QCheckBox>(QStringLiteral("checkBox_SyncUTC"))->setChecked(withUtc);
    auto *edit = f.w<QDateTimeEdit>(QStringLiteral("dateTimeEdit"));
    edit->setDateTime(QDateTime(QDate(2009, 11, 15), QTime(14, 30, 5)));

    f.w<QAbstractButton>(QStringLiteral("pushButton_DateWrite"))->click();

    QCOMPARE(f.boxes().texts(), QStringList());
    QCOMPARE(f.sim().requests().size(), 1);
    const QDateTime nowUtc = QDateTime::currentDateTimeUtc();
    const QDateTime expected = nowUtc.addSecs(writtenOffsetSecs);
    const QDateTime device = f.sim().model().clockUtc(nowUtc);
    QVERIFY2(qAbs(device.secsTo(expected)) <= 3, qPrintable(device.toString(Qt::ISODate)));
    const QDateTime shown(edit->date(), edit->time(), Qt::UTC);
    QVERIFY2(qAbs(shown.secsTo(QDateTime(expected.date(), expected.time(), Qt::UTC))) <= 3,
             qPrintable(edit->text()));
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
