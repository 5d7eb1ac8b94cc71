#include "tests/support/form_on_simulator.h"
#include "tests/support/scripted_file_chooser.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTextEdit>
#include <QtTest>

// What the page tells an engineer besides the documented boxes: the status line after each write, the
// address that failed, the busy indicator, the exchange log and the controls that cannot be misused.
class TestGuidance : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void writesSayWhatWasDone_data();
    void writesSayWhatWasDone();
    void longWaitsShowTheBusyIndicator();
    void exchangeLogIsBoundedAndCanBeSaved();
    void inputAndDefaultsCannotMislead();

private:
    std::unique_ptr<FormOnSimulator> f;
};

void TestGuidance::init()
{
    f = std::make_unique<FormOnSimulator>();
    QVERIFY2(f->ready(), qPrintable(f->error()));
    f->w<QLineEdit>("lineEdit_oneAddress")->setText("1");
}

void TestGuidance::cleanup()
{
    f.reset();
}

void TestGuidance::writesSayWhatWasDone_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("box");
    QTest::newRow("report day") << "reportDay" << false << "Отчетный день 5 записан"
                                << "";
    QTest::newRow("serial number") << "serial" << false << "Серийный номер 87654321 записан"
                                   << "";
    QTest::newRow("bus address") << "address" << false << "Сетевой адрес 7 записан"
                                 << "";
    QTest::newRow("clock") << "clock" << false << "Часы записаны: 01.02.2025 03:04:05"
                           << "";
    QTest::newRow("clock, silent device") << "clock" << true << "Нет ответа от адреса 1"
                                          << "Ошибка записи данных";
    QTest::newRow("report day, silent device") << "reportDay" << true << "Нет ответа от адреса 1"
                                               << "Нет ответа";
}

void TestGuidance::writesSayWhatWasDone()
{
    QFETCH(QString, command);
    QFETCH(bool, silent);
    QFETCH(QString, status);
    QFETCH(QString, box);
    if (silent)
        f->sim().setFault(sim::Fault::Silence, true);
    if (command == QLatin1String("reportDay")) {
        f->w<QLineEdit>("lineEdit_reportDay")->setText("5");
        f->w<QAbstractButton>("pushButton_writeReportDay")->click();
    } else if (command == QLatin1String("serial")) {
        f->w<QSpinBox>("spinBox_SerialNumberSet")->setValue(87654321);
        f->w<QAbstractButton>("pushButton_SerialNumberSet")->click();
    } else if (command == QLatin1String("address")) {
        f->w<QSpinBox>("spinBox_NewNetAddress")->setValue(7);
        f->w<QAbstractButton>("pushButton_WriteNewNetAddress")->click();
    } else {
        f->w<QDateTimeEdit>("dateTimeEdit")->setDateTime(QDateTime(QDate(2025, 2, 1), QTime(3, 4, 5)));
        f->w<QAbstractButton>("pushButton_DateWrite")->click();
    }
    QCOMPARE(f->w<QLabel>("label_statusBar")->text(), status);
    QCOMPARE(f->boxes().texts(), box.isEmpty() ? QStringList() : QStringList{box});
    QCOMPARE(f->w<QTextEdit>("textEdit")->toPlainText().contains(status), box.isEmpty());
}

void TestGuidance::longWaitsShowTheBusyIndicator()
{
    QSignalSpy shown(&f->form(), &Form::showBusy);
    QSignalSpy hidden(&f->form(), &Form::hideBusy);
    QVERIFY(shown.isValid() && hidden.isValid());
    f->w<QLineEdit>("lineEdit_AddressRangeStart")->setText("1");
    f->w<QLineEdit>("lineEdit_AddressRangeEnd")->setText("1");
    f->w<QAbstractButton>("pushButton_AddressRequest")->click();
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.first().first().toString(), QStringLiteral("Опрос адресов 1..1"));
    QCOMPARE(hidden.size(), 1);

    // A reversed range probes nothing and says why.
    f->w<QLineEdit>("lineEdit_AddressRangeStart")->setText("9");
    f->w<QLineEdit>("lineEdit_AddressRangeEnd")->setText("3");
    f->sim().clearTraffic();
    f->w<QAbstractButton>("pushButton_AddressRequest")->click();
    QVERIFY(f->sim().requests().isEmpty());
    QCOMPARE(f->w<QLabel>("label_statusBar")->text(),
             QStringLiteral("Начало диапазона больше конца: адреса не опрошены"));
}

void TestGuidance::exchangeLogIsBoundedAndCanBeSaved()
{
    auto *log = f->w<QTextBrowser>("textBrowser");
    log->clear();
    for (int line = 1; line <= 20100; ++line)
        log->append(QStringLiteral("строка %1").arg(line));
    QCOMPARE(log->document()->blockCount(), 20000);
    QVERIFY(log->toPlainText().endsWith(QStringLiteral("строка 20100")));
    QVERIFY(log->toPlainText().startsWith(QStringLiteral("строка 101\n")));

    QTemporaryDir dir;
    ScriptedFileChooser chooser;
    chooser.answers = QStringList{dir.filePath("log.txt")};
    f->w<QAbstractButton>("pushButton_saveLog")->click();
    QFile saved(dir.filePath("log.txt"));
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), log->toPlainText().toUtf8() + '\n');
    QCOMPARE(chooser.questions.first().filter, QStringLiteral("Текст (*.txt)"));
}

void TestGuidance::inputAndDefaultsCannotMislead()
{
    auto *address = f->w<QLineEdit>("lineEdit_oneAddress");
    address->clear();
    QTest::keyClicks(address, "2x56");
    QCOMPARE(address->text(), QStringLiteral("25")); // letters and a third digit past 255 are refused

    // Until the device's speed is read, the write list offers the port's speed, not 1200.
    QCOMPARE(f->w<QComboBox>("comboBox_writeRate")->currentText(), QStringLiteral("2400"));
    f->w<QComboBox>("comboBox_selectRate")->setCurrentText("9600");
    QCOMPARE(f->w<QComboBox>("comboBox_writeRate")->currentText(), QStringLiteral("9600"));

    for (const char *name :
         {"groupBox_Domen", "groupBox_Script", "pushButton_Transport", "pushButton_writeZorvaConfig"}) {
        QWidget *unused = f->w<QWidget>(name);
        QVERIFY2(!unused->isEnabled() && !unused->toolTip().isEmpty(), name);
    }
}

QTEST_MAIN(TestGuidance)
#include "tst_guidance.moc"
