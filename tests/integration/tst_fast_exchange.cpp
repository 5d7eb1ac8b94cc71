// Fast exchange through the page's buttons against the simulated device on a pseudo-terminal: every
// fault gives the same fields and boxes as the documented waits, only sooner; with the box off the
// documented waits are kept to the pause.

#include "link/fast_exchange.h"
#include "sim/fault.h"
#include "tests/support/form_on_simulator.h"

#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QtTest>

Q_DECLARE_METATYPE(sim::Fault)

namespace
{

const QStringList kResultFields{QStringLiteral("lineEdit_SerialNumber"), QStringLiteral("lineEdit_VersionPO"),
                                QStringLiteral("lineEdit_numberChannels"),
                                QStringLiteral("lineEdit_reportDay"),
                                QStringLiteral("lineEdit_CurrentNetAddress")};

struct Run {
    QStringList result; // the boxes, then the result fields
    qint64 ms = 0;
};

Run clickWith(FormOnSimulator &fx, const QString &button, sim::Fault fault, bool fast)
{
    fx.w<QCheckBox>(QStringLiteral("checkBox_fastExchange"))->setChecked(fast);
    for (const QString &field : kResultFields)
        fx.w<QLineEdit>(field)->clear();
    fx.boxes().clear();
    fx.sim().setFault(fault);
    QElapsedTimer clock;
    clock.start();
    fx.w<QPushButton>(button)->click();
    Run run;
    run.ms = clock.elapsed();
    for (const BoxRequest &box : fx.boxes().boxes)
        run.result << QStringLiteral("box: ") + box.text;
    for (const QString &field : kResultFields)
        run.result << field + QStringLiteral(" = ") + fx.w<QLineEdit>(field)->text();
    return run;
}

} // namespace

class TestFastExchange : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void sameResultAsDocumented_data();
    void sameResultAsDocumented();
    void journalReadoutSameRows();
    void speedChangeThenNextCommand();
    void boxOffKeepsTheDocumentedWaits();

private:
    std::unique_ptr<FormOnSimulator> m_fx;
};

void TestFastExchange::init()
{
    // A page starts with what the last page published; each test starts from the host's defaults.
    exchange::publishFastExchange({});
    m_fx = std::make_unique<FormOnSimulator>();
    QVERIFY2(m_fx->ready(), qPrintable(m_fx->error()));
    // Pieces of a split answer come 30 ms apart: shorter than either mode's pause inside an answer.
    m_fx->sim().setSplitGapMs(30);
    m_fx->w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
}

void TestFastExchange::cleanup()
{
    m_fx.reset();
}

void TestFastExchange::sameResultAsDocumented_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<sim::Fault>("fault");
    QTest::addColumn<QString>("expectedBox"); // empty: none
    const QString info = QStringLiteral("pushButton_readZorvaConfig");
    const QString address = QStringLiteral("pushButton_ReadCurrentNetAddress");
    QTest::newRow("information, clean") << info << sim::Fault::None << QString();
    QTest::newRow("information, split into reads with short gaps")
        << info << sim::Fault::SplitAnswer << QString();
    QTest::newRow("information, noise before the answer")
        << info << sim::Fault::NoiseBeforeAnswer << QString();
    QTest::newRow("information, application error answer")
        << info << sim::Fault::ExceptionAnswer << QStringLiteral("Неверная длина ответа");
    QTest::newRow("information, wrong checksum") << info << sim::Fault::WrongChecksum << QStringLiteral("*");
    QTest::newRow("information, silence") << info << sim::Fault::Silence << QStringLiteral("Нет ответа");
    QTest::newRow("address register, split into reads with short gaps")
        << address << sim::Fault::SplitAnswer << QString();
    QTest::newRow("address register, noise before the answer")
        << address << sim::Fault::NoiseBeforeAnswer << QStringLiteral("Ошибка чтения данных");
    QTest::newRow("address register, exception answer")
        << address << sim::Fault::ExceptionAnswer << QStringLiteral("Ошибка чтения данных");
    QTest::newRow("address register, silence")
        << address << sim::Fault::Silence << QStringLiteral("Ошибка чтения данных");
}

void TestFastExchange::sameResultAsDocumented()
{
    QFETCH(QString, button);
    QFETCH(sim::Fault, fault);
    QFETCH(QString, expectedBox);
    const Run documented = clickWith(*m_fx, button, fault, false);
    const Run fast = clickWith(*m_fx, button, fault, true);
    QCOMPARE(fast.result, documented.result);

    const QStringList boxes = documented.result.filter(QStringLiteral("box: "));
    if (expectedBox.isEmpty())
        QVERIFY2(boxes.isEmpty(), qPrintable(boxes.join("; ")));
    else if (expectedBox == QLatin1String("*"))
        QCOMPARE(boxes.size(), 1);
    else
        QCOMPARE(boxes, QStringList{QStringLiteral("box: ") + expectedBox});
    if (boxes.isEmpty())
        QVERIFY2(!documented.result.filter(QRegularExpression(QStringLiteral("= .+"))).isEmpty(),
                 qPrintable(documented.result.join("; ")));

    // A silent device: the documented wait runs its ten pauses; fast exchange ends at the answer
    // window, well before.
    if (fault == sim::Fault::Silence && button == QLatin1String("pushButton_readZorvaConfig")) {
        QVERIFY2(documented.ms >= 2000, qPrintable(QString::number(documented.ms)));
        QVERIFY2(fast.ms < 1000, qPrintable(QString::number(fast.ms)));
    } else {
        QVERIFY2(fast.ms <= documented.ms,
                 qPrintable(QStringLiteral("%1 > %2").arg(fast.ms).arg(documented.ms)));
    }
}

// The readout of five daily records fills the same table in both modes.
void TestFastExchange::journalReadoutSameRows()
{
    m_fx->w<QPushButton>(QStringLiteral("pushButton_readZorvaConfig"))->click();
    QList<QStringList> tables;
    for (const bool fast : {false, true}) {
        m_fx->w<QCheckBox>(QStringLiteral("checkBox_fastExchange"))->setChecked(fast);
        m_fx->boxes().clear();
        m_fx->w<QAbstractButton>(QStringLiteral("radioButton_days"))->click();
        m_fx->w<QSpinBox>(QStringLiteral("spinBox_startNote"))->setValue(1);
        m_fx->w<QSpinBox>(QStringLiteral("spinBox_notesNumber"))->setValue(5);
        m_fx->w<QPushButton>(QStringLiteral("pushButton_readJournal"))->click();
        QVERIFY2(m_fx->boxes().boxes.isEmpty(), qPrintable(m_fx->boxes().texts().join("; ")));
        const QTableWidget *table = m_fx->w<QTableWidget>(QStringLiteral("tableWidget_Journal"));
        QStringList cells;
        for (int r = 0; r < table->rowCount(); ++r)
            for (int c = 0; c < table->columnCount(); ++c)
                cells << (table->item(r, c) ? table->item(r, c)->text() : QString());
        QCOMPARE(table->rowCount(), 5);
        tables << cells;
        m_fx->w<QPushButton>(QStringLiteral("pushButton_clearJournalSecond"))->click();
    }
    QCOMPARE(tables.at(1), tables.at(0));
}

// After the device has moved to 9600 baud and the port with it, the next command is answered, and
// the answer window is reckoned at the new speed.
void TestFastExchange::speedChangeThenNextCommand()
{
    QList<QStringList> results;
    for (const bool fast : {false, true}) {
        exchange::publishFastExchange({});
        FormOnSimulator fx;
        QVERIFY2(fx.ready(), qPrintable(fx.error()));
        fx.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
        fx.w<QCheckBox>(QStringLiteral("checkBox_fastExchange"))->setChecked(fast);
        fx.w<QComboBox>(QStringLiteral("comboBox_writeRate"))->setCurrentText(QStringLiteral("9600"));
        fx.w<QPushButton>(QStringLiteral("pushButton_writeRate"))->click();
        QCOMPARE(fx.w<QComboBox>(QStringLiteral("comboBox_selectRate"))->currentText(),
                 QStringLiteral("9600"));
        const Run address =
            clickWith(fx, QStringLiteral("pushButton_ReadCurrentNetAddress"), sim::Fault::None, fast);
        QVERIFY(address.result.contains(QStringLiteral("lineEdit_CurrentNetAddress = 1")));
        const Run silent =
            clickWith(fx, QStringLiteral("pushButton_readZorvaConfig"), sim::Fault::Silence, fast);
        QVERIFY(silent.result.contains(QStringLiteral("box: Нет ответа")));
        if (fast) // 9600 baud: 5.7 + 34.4 + 50 + 50 ms, where 2400 baud would take 260 ms
            QVERIFY2(silent.ms < 600, qPrintable(QString::number(silent.ms)));
        results << fx.boxes().texts() + address.result;
    }
    QCOMPARE(results.at(1), results.at(0));
}

// With the box off every wait is the documented one: ten first-byte pauses for silence, the settling
// pauses in the log, and a register read held for its whole fixed pause.
void TestFastExchange::boxOffKeepsTheDocumentedWaits()
{
    QVERIFY(!m_fx->w<QCheckBox>(QStringLiteral("checkBox_fastExchange"))->isChecked());
    QCOMPARE(m_fx->w<QSpinBox>(QStringLiteral("spinBox_fastExchangeMargin"))->value(), 50);
    m_fx->clearLogs();
    const Run info = clickWith(*m_fx, QStringLiteral("pushButton_readZorvaConfig"), sim::Fault::None, false);
    QVERIFY(info.result.contains(QStringLiteral("lineEdit_numberChannels = 16")));
    QVERIFY2(info.ms >= 600, qPrintable(QString::number(info.ms)));
    QVERIFY(m_fx->log().contains(QStringLiteral("bytesAvailable[1] =")));
    QVERIFY(m_fx->log().contains(QStringLiteral("После после сравнения двух значений байтов =")));

    const Run address =
        clickWith(*m_fx, QStringLiteral("pushButton_ReadCurrentNetAddress"), sim::Fault::None, false);
    QVERIFY(address.result.contains(QStringLiteral("lineEdit_CurrentNetAddress = 1")));
    QVERIFY2(address.ms >= 300, qPrintable(QString::number(address.ms)));

    const Run silent =
        clickWith(*m_fx, QStringLiteral("pushButton_readZorvaConfig"), sim::Fault::Silence, false);
    QVERIFY2(silent.ms >= 2000 && silent.ms < 3000, qPrintable(QString::number(silent.ms)));
}

QTEST_MAIN(TestFastExchange)
#include "tst_fast_exchange.moc"
