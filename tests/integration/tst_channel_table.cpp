#include "tests/support/form_on_simulator.h"
#include "tests/support/scripted_file_chooser.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

// The channel table, the readings, the counter writes and the CSV save, through the page's buttons
// against a simulated four-channel device on a pseudo-terminal.
class TestChannelTable : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void tableShowsEveryColumnAndARowFillsTheEditors();
    void readings_data();
    void readings();
    void zeroingAndPulseWrite();
    void counterWriteRefused();
    void csvSave_data();
    void csvSave();
    void failedSaveKeepsTheOldFile();

private:
    void startDevice(quint16 softwareVersion);
    QTableWidget *table(const char *name) const { return f->w<QTableWidget>(name); }
    QStringList row(const char *tableName, int row) const;
    std::unique_ptr<FormOnSimulator> f;
};

namespace
{

const QString kWaterRow =
    QStringLiteral("1|Счетный вход намур|Вода (счетчик)|12345678|ZRV|2|л|10|50|123.5|4711|"
                   "обрыв линии, срабатывание аварийного входа");
const QString kElectricityRow =
    QStringLiteral("2|Счётн.|Электричество (счетчик)|00000042|ABC|9|кВтч|0.001|20|7|65541|Нет");

} // namespace

void TestChannelTable::init()
{
    startDevice(0x0300); // four channels
}

void TestChannelTable::cleanup()
{
    f.reset();
}

void TestChannelTable::startDevice(quint16 softwareVersion)
{
    f = std::make_unique<FormOnSimulator>();
    QVERIFY2(f->ready(), qPrintable(f->error()));
    sim::DeviceModel &m = f->sim().model();
    m.softwareVersion = softwareVersion;
    sim::ChannelState &water = m.channels[0];
    water = {4711, 123.5f, 0x12345678, 0x6A56, 2, 0x07, 0x13, 10, 50, 3, 0x05};
    sim::ChannelState &electricity = m.channels[1];
    electricity = {65541, 7, 0x42, 0x0443, 9, 0x02, 0x06, 0.001f, 20, 1, 0};
    f->w<QLineEdit>("lineEdit_oneAddress")->setText("1");
    f->w<QAbstractButton>("pushButton_readZorvaConfig")->click();
    f->boxes().clear();
    f->sim().clearTraffic();
}

QStringList TestChannelTable::row(const char *tableName, int r) const
{
    QStringList cells;
    const QTableWidget *t = table(tableName);
    for (int c = 0; c < t->columnCount(); ++c)
        cells << (t->item(r, c) ? t->item(r, c)->text() : QStringLiteral("<none>"));
    return cells;
}

void TestChannelTable::tableShowsEveryColumnAndARowFillsTheEditors()
{
    f->w<QAbstractButton>("pushButton_ReadChannnelsToTable")->click();
    QVERIFY2(f->boxes().boxes.isEmpty(), qPrintable(f->boxes().texts().join("; ")));
    QTableWidget *channels = table("tableWidget_Channels");
    QCOMPARE(channels->rowCount(), 4);
    QCOMPARE(row("tableWidget_Channels", 0).join('|'), kWaterRow);
    QCOMPARE(row("tableWidget_Channels", 1).join('|'), kElectricityRow);
    QCOMPARE(f->sim().requests().size(), 4);
    QVERIFY(f->w<QLabel>("label_statusBar")->text().isEmpty());

    // A click on the electricity row chooses channel 2 and shows it as an engineer would type it.
    const QRect cell = channels->visualItemRect(channels->item(1, 3));
    QTest::mouseClick(channels->viewport(), Qt::LeftButton, {}, cell.center());
    QCOMPARE(f->w<QComboBox>("comboBox_ChannelNumber")->currentText(), QStringLiteral("2"));
    QCOMPARE(f->w<QComboBox>("comboBox_DeviceType")->currentText(), QStringLiteral("EM Электричество"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_DeviceNumber")->text(), QStringLiteral("00000042"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_Manufacturer")->text(), QStringLiteral("ABC"));
    QCOMPARE(f->w<QComboBox>("comboBox_VIF")->currentText(), QStringLiteral("кВтч"));
    QCOMPARE(f->w<QLineEdit>("lineEdit_Weight")->text(), QStringLiteral("1000"));
    QCOMPARE(f->w<QSpinBox>("spinBox_Duration")->value(), 20);
    QCOMPARE(f->w<QComboBox>("comboBox_Appointment")->currentIndex(), 1);

    // "Следующий" steps to channel 3 and its row; the read boxes narrow the next read.
    f->w<QAbstractButton>("toolButton_nextChan")->click();
    QCOMPARE(f->w<QComboBox>("comboBox_ChannelNumber")->currentText(), QStringLiteral("3"));
    QCOMPARE(channels->currentRow(), 2);
    f->w<QAbstractButton>("checkBoxPar2")->click();
    f->sim().clearTraffic();
    f->w<QAbstractButton>("pushButton_readChannelsConfig")->click();
    QCOMPARE(channels->rowCount(), 1);
    QCOMPARE(row("tableWidget_Channels", 0).join('|'), kElectricityRow);
    QCOMPARE(f->sim().requests().size(), 1);
    f->w<QAbstractButton>("pushButton_clearTableWidget1")->click();
    QCOMPARE(channels->rowCount(), 0);
}

void TestChannelTable::readings_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<QStringList>("row1");
    QTest::addColumn<QStringList>("row2");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("rows");
    QTest::newRow("both channels") << "" << QStringList{"1", "4711", "123.5"}
                                   << QStringList{"2", "65541", "10"} << ""
                                   << "" << 4;
    QTest::newRow("values never come") << "values silent" << QStringList{"1", "4711", "<none>"}
                                       << QStringList{"2", "65541", "<none>"} << "Ошибка чтения данных"
                                       << "Чтение показаний каналов" << 4;
    QTest::newRow("port closed") << "close" << QStringList{"<none>", "<none>", "<none>"}
                                 << QStringList{"<none>", "<none>", "<none>"} << "Порт закрыт"
                                 << "Чтение показаний каналов" << 4;
    QTest::newRow("no channels") << "unknown version" << QStringList() << QStringList() << ""
                                 << "" << 0;
}

void TestChannelTable::readings()
{
    QFETCH(QString, setup);
    QFETCH(QStringList, row1);
    QFETCH(QStringList, row2);
    QFETCH(QString, box);
    QFETCH(QString, status);
    QFETCH(int, rows);
    if (setup == QLatin1String("unknown version"))
        startDevice(0x9999);
    f->sim().model().channels[1].value = 10; // read as 41 20 00 00
    if (setup == QLatin1String("close"))
        f->w<QAbstractButton>("toolButton_openPort")->click();
    int answered = 0;
    if (setup == QLatin1String("values silent")) {
        QObject::connect(&f->sim(), &sim::DeviceSimulator::requestHandled, &f->sim(), [this, &answered] {
            if (++answered == 4) // the last counter read is being answered: the value reads get nothing
                f->sim().setFault(sim::Fault::Silence, true);
        });
    }
    f->w<QAbstractButton>("pushButton_ReadChannelIndicationsToTable")->click();
    QTableWidget *readings = table("tableWidget_ChannelIndications");
    QCOMPARE(readings->columnCount(), 3);
    QCOMPARE(readings->horizontalHeaderItem(1)->text(), QStringLiteral("Импульсы"));
    QCOMPARE(readings->rowCount(), rows);
    if (rows > 0) {
        QCOMPARE(row("tableWidget_ChannelIndications", 0), row1);
        QCOMPARE(row("tableWidget_ChannelIndications", 1), row2);
    }
    QCOMPARE(f->boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(f->w<QLabel>("label_statusBar")->text(), status);
    if (rows == 0)
        QVERIFY(f->sim().requests().isEmpty());
    if (setup.isEmpty())
        QCOMPARE(f->sim().requests().at(4), QByteArray::fromHex("010320500002CFDA")); // channel 1's value
}

void TestChannelTable::zeroingAndPulseWrite()
{
    f->w<QAbstractButton>("checkBoxChan1")->click();
    f->w<QAbstractButton>("checkBoxChan2")->click();
    QVERIFY(!f->w<QAbstractButton>("toolButton_writeNull")->isEnabled());
    f->w<QAbstractButton>("checkBox_Developer")->click();
    f->boxes().answers = {1}; // "Отмена"
    f->w<QAbstractButton>("toolButton_writeNull")->click();
    QCOMPARE(f->boxes().boxes.last().kind, BoxKind::Confirmation);
    QVERIFY(f->sim().requests().isEmpty());

    f->boxes().answers = {0}; // "Да"
    f->w<QAbstractButton>("toolButton_writeNull")->click();
    QCOMPARE(f->boxes().texts(),
             (QStringList{"Обнулить показания каналов 1, 2?", "Обнулить показания каналов 1, 2?"}));
    QCOMPARE(f->sim().requests().at(0), QByteArray::fromHex("01102000000204000000006A6E")); // 8190 + 2·1
    QCOMPARE(f->sim().model().channels[0].counter, 0u);
    QCOMPARE(f->sim().model().channels[1].counter, 0u);
    QCOMPARE(row("tableWidget_ChannelIndications", 1).mid(0, 2), (QStringList{"2", "0"}));

    f->boxes().clear();
    f->w<QComboBox>("comboBox_ChannelNumber")->setCurrentText("3");
    f->w<QLineEdit>("lineEdit_value")->setText("4294967295");
    f->w<QAbstractButton>("pushButton_PulseWrite")->click();
    QVERIFY(f->boxes().boxes.isEmpty());
    QCOMPARE(f->sim().model().channels[2].counter, 4294967295u);
    QCOMPARE(row("tableWidget_ChannelIndications", 2).mid(0, 2), (QStringList{"3", "4294967295"}));

    f->sim().clearTraffic();
    for (const char *bad : {"4294967296", "-1", "12,5"}) {
        f->w<QLineEdit>("lineEdit_value")->setText(bad);
        f->w<QAbstractButton>("pushButton_PulseWrite")->click();
    }
    QCOMPARE(f->boxes().texts(),
             QVector<QString>(3, "Число импульсов должно быть целым числом от 0 до 4294967295").toList());
    QVERIFY(f->sim().requests().isEmpty());
}

void TestChannelTable::counterWriteRefused()
{
    f->sim().setFault(sim::Fault::ExceptionAnswer);
    f->w<QLineEdit>("lineEdit_value")->setText("5");
    f->w<QAbstractButton>("pushButton_PulseWrite")->click();
    QCOMPARE(f->boxes().texts(), QStringList{"Ошибка записи данных. Код ошибки: 2"});
    QCOMPARE(f->sim().requests().size(), 1); // no readings after a refused write

    f->boxes().clear();
    f->w<QAbstractButton>("checkBox_Developer")->click();
    f->w<QAbstractButton>("toolButton_writeNull")->click();
    QCOMPARE(f->boxes().texts(), QStringList{"Не выбраны каналы для обнуления"});
}

void TestChannelTable::csvSave_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::newRow("extension added") << "config"
                                     << "config.csv";
    QTest::newRow("extension in capitals kept") << "config.CSV"
                                                << "config.CSV";
}

void TestChannelTable::csvSave()
{
    QFETCH(QString, typed);
    QFETCH(QString, written);
    QTemporaryDir dir;
    ScriptedFileChooser chooser;

    f->w<QAbstractButton>("pushButton_SaveToFile")->click();
    QCOMPARE(f->boxes().boxes.size(), 1);
    QCOMPARE(f->boxes().boxes.first().title, QStringLiteral("Ошибка"));
    QCOMPARE(f->boxes().boxes.first().text, QStringLiteral("Таблица не найдена или пустая!"));
    QVERIFY(chooser.questions.isEmpty());

    f->boxes().clear();
    f->w<QAbstractButton>("checkBoxPar1")->click();
    f->w<QAbstractButton>("checkBoxPar2")->click();
    f->w<QAbstractButton>("pushButton_ReadChannnelsToTable")->click();
    delete table("tableWidget_Channels")->takeItem(1, 11); // a cell without an item
    table("tableWidget_Channels")->item(0, 4)->setText("Z;\"R\"");
    chooser.answers = QStringList{dir.filePath(typed)};
    f->w<QAbstractButton>("pushButton_SaveToFile")->click();
    QCOMPARE(chooser.questions.size(), 1);
    QCOMPARE(chooser.questions.first().caption, QStringLiteral("Сохранить как CSV"));
    QCOMPARE(chooser.questions.first().dir, QDir::homePath() + "/12345678_channels.csv");
    QCOMPARE(chooser.questions.first().filter, QStringLiteral("CSV Files (*.csv)"));
    QCOMPARE(f->boxes().boxes.size(), 1);
    QCOMPARE(f->boxes().boxes.first().title, QStringLiteral("Успех"));
    QCOMPARE(f->boxes().boxes.first().text, "Файл сохранен: " + dir.filePath(written));

    QFile file(dir.filePath(written));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()),
             QString("\uFEFF№;Назначение;Среда;Номер прибора;Производитель;Версия;Единица;Вес импульса;"
                     "Длительность, мс;Значение;Импульсы;Ошибки\n"
                     "1;Счетный вход намур;Вода (счетчик);12345678;\"Z;\"\"R\"\"\";2;л;10;50;123.5;4711;"
                     "обрыв линии, срабатывание аварийного входа\n"
                     "2;Счётн.;Электричество (счетчик);00000042;ABC;9;кВтч;0.001;20;7;65541;к2\n"));

    // A cancelled dialog writes nothing and says nothing.
    f->boxes().clear();
    f->w<QAbstractButton>("pushButton_SaveToFile")->click();
    QVERIFY(f->boxes().boxes.isEmpty());
}

void TestChannelTable::failedSaveKeepsTheOldFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("channels.csv");
    QFile old(path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("old table\n");
    old.close();
    f->w<QAbstractButton>("pushButton_ReadChannnelsToTable")->click();

    // A file size limit below the table's size makes the write fail half-way, as a full disk would.
    ScriptedFileChooser chooser;
    chooser.answers = QStringList{path, dir.filePath("missing/folder/channels.csv")};
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous{};
    getrlimit(RLIMIT_FSIZE, &previous);
    rlimit small = previous;
    small.rlim_cur = 64;
    setrlimit(RLIMIT_FSIZE, &small);
    f->w<QAbstractButton>("pushButton_SaveToFile")->click();
    setrlimit(RLIMIT_FSIZE, &previous);
    f->w<QAbstractButton>("pushButton_SaveToFile")->click();

    QCOMPARE(f->boxes().texts().join(" / "),
             QStringLiteral("Не удалось создать файл! / Не удалось создать файл!"));
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("old table\n"));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"channels.csv"});
}

QTEST_MAIN(TestChannelTable)
#include "tst_channel_table.moc"
