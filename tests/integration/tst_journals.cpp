// The journal page through its buttons, against the simulated device on a real pseudo-terminal:
// readouts compared with the device's own journals, a stop and lost telegrams, the summary and the
// clearing, the page's refusals, and the text export compared byte for byte.

#include "device/journal.h"
#include "tests/support/form_on_simulator.h"
#include "tests/support/scripted_file_chooser.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QProgressBar>
#include <QSpinBox>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

Q_DECLARE_METATYPE(sim::Fault)

namespace journal = device::journal;

namespace
{

const char *const kKindButtons[] = {"radioButton_events", "radioButton_hour", "radioButton_days",
                                    "radioButton_month", "radioButton_year"};

// The device at address 1 with running counters, its channel count read by the page. Tests of the
// readout's logic rather than its pace run the line at 9600 baud.
void prepare(FormOnSimulator &f, quint16 softwareVersion, bool fastLine = false)
{
    f.sim().model().softwareVersion = softwareVersion;
    for (int c = 0; c < sim::DeviceModel::kChannels; ++c)
        f.sim().model().channels[size_t(c)].counter = 7000000u + 100u * quint32(c);
    if (fastLine) {
        f.sim().model().speedCode = 0xBD;
        f.w<QComboBox>(QStringLiteral("comboBox_selectRate"))->setCurrentText(QStringLiteral("9600"));
    }
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    f.w<QAbstractButton>(QStringLiteral("pushButton_readZorvaConfig"))->click();
    f.boxes().clear();
    f.sim().clearTraffic();
}

void choose(FormOnSimulator &f, int kind, int first, int count)
{
    f.w<QAbstractButton>(QLatin1String(kKindButtons[kind]))->click();
    f.w<QSpinBox>(QStringLiteral("spinBox_startNote"))->setValue(first);
    f.w<QSpinBox>(QStringLiteral("spinBox_notesNumber"))->setValue(count);
}

void click(FormOnSimulator &f, const char *button)
{
    f.w<QAbstractButton>(QLatin1String(button))->click();
}

QStringList shownRows(FormOnSimulator &f)
{
    const auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Journal"));
    QStringList rows;
    for (int r = 0; r < table->rowCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < table->columnCount(); ++c)
            cells << (table->item(r, c) ? table->item(r, c)->text() : QStringLiteral("-"));
        rows << cells.join(QLatin1Char(';'));
    }
    return rows;
}

QStringList modelRows(FormOnSimulator &f, int kind, int first, int count)
{
    const sim::DeviceModel &m = f.sim().model();
    QStringList rows;
    const auto &records = m.journals[size_t(kind)];
    for (int n = first; n < first + count && n <= records.size(); ++n) {
        journal::Row row;
        row.number = n;
        row.time = QDateTime::fromSecsSinceEpoch(records.at(n - 1).time, Qt::UTC);
        row.event = records.at(n - 1).event;
        row.channel = records.at(n - 1).channel;
        row.counters = records.at(n - 1).counters.mid(0, kind == 0 ? 0 : m.channelCount());
        rows << journal::rowTexts(row, journal::Kind(kind)).join(QLatin1Char(';'));
    }
    return rows;
}

// Runs `action` once the device has begun sending its first journal telegram.
void whenFirstTelegramStarts(FormOnSimulator &f, std::function<void()> action)
{
    auto *timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [&f, timer, action] {
        if (f.sim().sent().count('\x68') == 0)
            return;
        timer->stop();
        timer->deleteLater();
        action();
    });
    timer->start(5);
}

// Requests in the order the device recognised them, short frames by their control field.
QStringList readoutBits(FormOnSimulator &f)
{
    QStringList bits;
    for (const QByteArray &r : f.sim().requests()) {
        if (r.size() == 5 && r.at(0) == 0x10)
            bits << QString::number(quint8(r.at(1)), 16);
    }
    return bits;
}

} // namespace

class TestJournals : public QObject
{
    Q_OBJECT

private slots:
    void readEachKind_data();
    void readEachKind();
    void stopMidRead();
    void lostTelegramAskedAgain_data();
    void lostTelegramAskedAgain();
    void deviceStopsAnswering();
    void summaryClearingAndSummaryAfter();
    void clearingRefused();
    void refusedSelections_data();
    void refusedSelections();
    void exportTable_data();
    void exportTable();
    void failedExportKeepsFile();
};

void TestJournals::readEachKind_data()
{
    QTest::addColumn<quint16>("version");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("titles");
    QTest::newRow("events, first 1, 12 records")
        << quint16(0x0310) << 0 << 1 << 12 << QStringLiteral("№;Дата и время;Событие;Канал");
    QTest::newRow("hourly, 2 channels, 20 records")
        << quint16(0x0310) << 1 << 1 << 20 << QStringLiteral("№;Дата и время;Канал 1;Канал 2");
    QTest::newRow("daily, 4 channels, from record 395")
        << quint16(0x0300) << 2 << 395 << 10
        << QStringLiteral("№;Дата и время;Канал 1;Канал 2;Канал 3;Канал 4");
    QTest::newRow("monthly, 2 channels, 6 records")
        << quint16(0x0310) << 3 << 1 << 6 << QStringLiteral("№;Дата и время;Канал 1;Канал 2");
    QTest::newRow("yearly, 16 channels, 2 records")
        << quint16(0x0330) << 4 << 1 << 2
        << QStringLiteral("№;Дата и время;Канал 1;Канал 2;Канал 3;Канал 4;Канал 5;Канал 6;Канал 7;Канал 8;"
                          "Канал 9;Канал 10;Канал 11;Канал 12;Канал 13;Канал 14;Канал 15;Канал 16");
}

void TestJournals::readEachKind()
{
    QFETCH(quint16, version);
    QFETCH(int, kind);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(QString, titles);
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, version);
    choose(f, kind, first, count);
    click(f, "pushButton_readJournal");

    QCOMPARE(f.boxes().texts(), QStringList());
    QCOMPARE(shownRows(f), modelRows(f, kind, first, count));
    const int expected = qMin(count, int(f.sim().model().journals[size_t(kind)].size()) - first + 1);
    QCOMPARE(shownRows(f).size(), expected);
    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Journal"));
    QStringList shownTitles;
    for (int c = 0; c < table->columnCount(); ++c)
        shownTitles << table->horizontalHeaderItem(c)->text();
    QCOMPARE(shownTitles.join(QLatin1Char(';')), titles);
    QCOMPARE(f.w<QProgressBar>(QStringLiteral("progressBar_ReadJournal"))->value(), expected);
}

void TestJournals::stopMidRead()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0310, true);
    choose(f, 1, 1, 40);
    // Pressed twice while the first telegram is on its way: the readout ends after it.
    whenFirstTelegramStarts(f, [&f] {
        click(f, "pushButton_stopReadJournal");
        click(f, "pushButton_stopReadJournal");
    });
    click(f, "pushButton_readJournal");

    // The first telegram carries records 1..10 (23 + 9 x 24 of its 239 record bytes).
    QCOMPARE(f.boxes().texts(), QStringList());
    QCOMPARE(shownRows(f), modelRows(f, 1, 1, 10));
    QCOMPARE(readoutBits(f).join(QLatin1Char(' ')), QStringLiteral("7b"));
    // The selection the device still held was ended by the reset telegram.
    QCOMPARE(f.sim().requests().last().toHex(' '), journal::resetFrame(1).toHex(' '));
}

void TestJournals::lostTelegramAskedAgain_data()
{
    QTest::addColumn<sim::Fault>("fault");
    QTest::addColumn<QString>("bits");
    QTest::newRow("silence") << sim::Fault::Silence << QStringLiteral("7b 5b 5b 7b");
    QTest::newRow("wrong checksum") << sim::Fault::WrongChecksum << QStringLiteral("7b 5b 5b 7b");
    QTest::newRow("truncated") << sim::Fault::TruncatedAnswer << QStringLiteral("7b 5b 5b 7b");
    QTest::newRow("noise before it") << sim::Fault::NoiseBeforeAnswer << QStringLiteral("7b 5b 7b");
}

void TestJournals::lostTelegramAskedAgain()
{
    QFETCH(sim::Fault, fault);
    QFETCH(QString, bits);
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0310, true);
    choose(f, 1, 1, 20);
    whenFirstTelegramStarts(f, [&f, fault] { f.sim().setFault(fault); });
    click(f, "pushButton_readJournal");

    QCOMPARE(f.boxes().texts(), QStringList());
    QCOMPARE(shownRows(f), modelRows(f, 1, 1, 20));
    QCOMPARE(readoutBits(f).join(QLatin1Char(' ')), bits);
}

void TestJournals::deviceStopsAnswering()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0310, true);
    choose(f, 1, 1, 20);
    whenFirstTelegramStarts(f, [&f] { f.sim().setFault(sim::Fault::Silence, true); });
    click(f, "pushButton_readJournal");

    QCOMPARE(f.boxes().texts(), QStringList{QStringLiteral("Ошибка чтения данных")});
    QCOMPARE(shownRows(f), modelRows(f, 1, 1, 10));
    QCOMPARE(readoutBits(f).join(QLatin1Char(' ')), QStringLiteral("7b 5b 5b 5b"));
}

void TestJournals::summaryClearingAndSummaryAfter()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0330);
    choose(f, 2, 1, 0);
    click(f, "check_journal");
    const auto &daily = f.sim().model().journals[size_t(journal::Kind::Daily)];
    QCOMPARE(daily.size(), 400);
    const auto shown = [](qint64 t) {
        return QDateTime::fromSecsSinceEpoch(t, Qt::UTC).toString(QStringLiteral("dd.MM.yyyy hh:mm"));
    };
    QCOMPARE(f.boxes().texts(), QStringList{QStringLiteral("Записей в журнале: 400\nс %1 по %2")
                                                .arg(shown(daily.last().time), shown(daily.first().time))});
    QCOMPARE(f.w<QSpinBox>(QStringLiteral("spinBox_notesNumber"))->maximum(), 400);

    // Refused first, then confirmed.
    f.boxes().clear();
    f.boxes().answers = {1, 0};
    click(f, "pushButton_cleanJournal");
    QCOMPARE(f.sim().model().journalClears, 0u);
    click(f, "pushButton_cleanJournal");
    QCOMPARE(f.sim().model().journalClears, 1u);
    QCOMPARE(f.boxes().texts(), (QStringList{QStringLiteral("Очистить все журналы прибора?"),
                                             QStringLiteral("Очистить все журналы прибора?"),
                                             QStringLiteral("Журналы очищены")}));

    f.boxes().clear();
    click(f, "check_journal");
    click(f, "radioButton_events");
    click(f, "check_journal");
    const qint64 restart = f.sim().model().journals[0].first().time;
    QCOMPARE(f.boxes().texts(),
             (QStringList{QStringLiteral("Записей в журнале: 0"),
                          QStringLiteral("Записей в журнале: 1\nс %1 по %1").arg(shown(restart))}));
}

void TestJournals::clearingRefused()
{
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0310);
    f.sim().setFault(sim::Fault::ExceptionAnswer);
    click(f, "pushButton_cleanJournal");
    QCOMPARE(f.boxes().texts(), (QStringList{QStringLiteral("Очистить все журналы прибора?"),
                                             QStringLiteral("Ошибка записи данных. Код ошибки: 2")}));
}

void TestJournals::refusedSelections_data()
{
    QTest::addColumn<int>("kind"); // -1: none chosen
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("endDays"); // the range's end, days after its start
    QTest::addColumn<bool>("portOpen");
    QTest::addColumn<QString>("box");
    QTest::addColumn<int>("requests"); // what reached the device
    QTest::newRow("no journal chosen") << -1 << 1 << 5 << 0 << true << QStringLiteral("Выберите журнал") << 0;
    QTest::newRow("count 0") << 1 << 1 << 0 << 0 << true
                             << QStringLiteral("Количество записей должно быть больше нуля") << 0;
    QTest::newRow("end before start")
        << 1 << 1 << 5 << -1 << true << QStringLiteral("Конец диапазона раньше его начала") << 0;
    // Reset, selection, one REQ_UD2 answered by a telegram without records.
    QTest::newRow("start past the end")
        << 4 << 11 << 1 << 0 << true << QStringLiteral("В журнале нет записей по заданному выбору") << 3;
    QTest::newRow("port closed") << 1 << 1 << 5 << 0 << false << QStringLiteral("Порт закрыт") << 0;
}

void TestJournals::refusedSelections()
{
    QFETCH(int, kind);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(int, endDays);
    QFETCH(bool, portOpen);
    QFETCH(QString, box);
    QFETCH(int, requests);
    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    prepare(f, 0x0310);
    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Journal"));
    table->setColumnCount(1);
    table->setRowCount(1);
    table->setItem(0, 0, new QTableWidgetItem(QStringLiteral("прочитано раньше")));
    if (kind >= 0)
        choose(f, kind, first, count);
    auto *end = f.w<QDateTimeEdit>(QStringLiteral("dateTimeEdit_endJournal"));
    end->setDateTime(end->dateTime().addDays(endDays));
    if (!portOpen)
        click(f, "toolButton_openPort");
    f.boxes().clear();
    f.sim().clearTraffic();
    click(f, "pushButton_readJournal");
    QCOMPARE(f.boxes().texts(), QStringList{box});
    QCOMPARE(f.sim().requests().size(), requests);
    QCOMPARE(shownRows(f), QStringList{QStringLiteral("прочитано раньше")});
}

void TestJournals::exportTable_data()
{
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QStringList>("cells"); // row by row, "|" between cells
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<QByteArray>("file"); // expected bytes, or none for a cancelled dialog
    QTest::newRow("cancelled dialog")
        << QStringList{QStringLiteral("№")} << QStringList{} << true << QByteArray();
    QTest::newRow("empty table") << QStringList{QStringLiteral("№"), QStringLiteral("Дата и время")}
                                 << QStringList{} << false
                                 << QByteArray("\xE2\x84\x96;\xD0\x94\xD0\xB0\xD1\x82\xD0\xB0 "
                                               "\xD0\xB8 \xD0\xB2\xD1\x80\xD0\xB5\xD0\xBC\xD1\x8F\n");
    QTest::newRow("a ; in a cell") << QStringList{QStringLiteral("A"), QStringLiteral("B")}
                                   << QStringList{QStringLiteral("1|x;y"), QStringLiteral("2|")} << false
                                   << QByteArray("A;B\n1;x;y\n2;\n");
    QTest::newRow("Cyrillic titles, no title")
        << QStringList{QStringLiteral("Канал 1"), QString()} << QStringList{QStringLiteral("Событие|7")}
        << false
        << QByteArray("\xD0\x9A\xD0\xB0\xD0\xBD\xD0\xB0\xD0\xBB 1;\n"
                      "\xD0\xA1\xD0\xBE\xD0\xB1\xD1\x8B\xD1\x82\xD0\xB8\xD0"
                      "\xB5;7\n");
}

void TestJournals::exportTable()
{
    QFETCH(QStringList, titles);
    QFETCH(QStringList, cells);
    QFETCH(bool, cancel);
    QFETCH(QByteArray, file);
    FormOnSimulator::Options options;
    options.openPort = false;
    FormOnSimulator f(options);
    QVERIFY2(f.ready(), qPrintable(f.error()));
    auto *table = f.w<QTableWidget>(QStringLiteral("tableWidget_Journal"));
    table->setColumnCount(titles.size());
    for (int c = 0; c < titles.size(); ++c)
        table->setHorizontalHeaderItem(c, new QTableWidgetItem(titles.at(c)));
    table->setRowCount(cells.size());
    for (int r = 0; r < cells.size(); ++r) {
        const QStringList row = cells.at(r).split(QLatin1Char('|'));
        for (int c = 0; c < row.size(); ++c)
            table->setItem(r, c, new QTableWidgetItem(row.at(c)));
    }
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("журнал.txt"));
    ScriptedFileChooser chooser;
    chooser.answers = QStringList{cancel ? QString() : path};
    f.boxes().clear();
    click(f, "pushButton_export");

    QCOMPARE(chooser.questions.size(), 1);
    QCOMPARE(chooser.questions.first().caption, QStringLiteral("Save File"));
    QCOMPARE(chooser.questions.first().dir, QDir::currentPath());
    QCOMPARE(chooser.questions.first().filter, QStringLiteral("Текст (*.txt)"));
    QCOMPARE(f.boxes().texts(),
             cancel ? QStringList{QStringLiteral("Не удалось открыть файл")} : QStringList());
    QFile written(path);
    QCOMPARE(written.exists(), !cancel);
    if (!cancel) {
        QVERIFY(written.open(QIODevice::ReadOnly));
        QCOMPARE(written.readAll(), file);
        QVERIFY(f.log2().contains(QStringLiteral("rowCount %1").arg(cells.size())));
    }
}

void TestJournals::failedExportKeepsFile()
{
    FormOnSimulator::Options options;
    options.openPort = false;
    FormOnSimulator f(options);
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QTableWidget>(QStringLiteral("tableWidget_Journal"))->setColumnCount(1);
    // A name as long as a name may be: the temporary file beside it cannot be made.
    QTemporaryDir dir;
    const QString path = dir.filePath(QString(255, QLatin1Char('j')));
    QFile existing(path);
    QVERIFY(existing.open(QIODevice::WriteOnly));
    existing.write("earlier export\n");
    existing.close();
    ScriptedFileChooser chooser;
    chooser.answers = QStringList{path};
    // The second, hidden export button runs the same export.
    click(f, "pushButton_exportJournal");
    QCOMPARE(f.boxes().texts(), QStringList{QStringLiteral("Не удалось открыть файл")});
    QVERIFY(existing.open(QIODevice::ReadOnly));
    QCOMPARE(existing.readAll(), QByteArray("earlier export\n"));
}

QTEST_MAIN(TestJournals)
#include "tst_journals.moc"
