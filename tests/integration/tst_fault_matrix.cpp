#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QSpinBox>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <optional>

// Every device command of the page against every fault the simulated device can put into its answer,
// and against a device that vanishes while it answers. Each cell must end in at most one box, and that
// one of the command's own messages (exactly its no-answer message when the device is silent); the
// click returns within the command's longest wait; the window keeps handling events meanwhile; and
// afterwards the page still reads from the device.
//
// Built twice: FAULT_MATRIX_PART 1 holds most reads, 2 the writes, so the two halves run in parallel.

namespace
{

// Margin over a command's documented wait: pacing at 2400 baud, the turnaround and a slow machine.
constexpr int kMarginMs = 1500;
// A completion wait: 10 pauses for the first byte, 9 settling pauses.
constexpr int kCompletionWaitMs = 19 * 200;
// The pseudo-device goes away this long after it has taken a request: during a long answer.
constexpr int kVanishAfterMs = 80;

struct Command {
    const char *name;
    const char *button;
    QMap<QString, QVariant> fields; // widget object name -> value set before the click
    QStringList failures;           // the command's own messages on a failed exchange
    QString silence;                // its message when nothing comes back (empty: none)
    QString success;                // its message on success (empty: none)
    int waitMs;                     // its longest documented wait
};

QVector<Command> commands()
{
    const QString readError = QStringLiteral("Ошибка чтения данных");
    const QString writeError = QStringLiteral("Ошибка записи данных");
    const QString noAnswer = QStringLiteral("Нет ответа");
#if FAULT_MATRIX_PART == 1
    return {
        {"bus scan",
         "pushButton_AddressRequest",
         {{"lineEdit_AddressRangeStart", "1"}, {"lineEdit_AddressRangeEnd", "1"}},
         {},
         {},
         {},
         kCompletionWaitMs},
        {"information read",
         "pushButton_readZorvaConfig",
         {},
         {noAnswer, QStringLiteral("Неверная длина ответа"), QStringLiteral("Ошибка контрольной суммы"),
          QStringLiteral("Неверный ответ с байта")},
         noAnswer,
         {},
         kCompletionWaitMs},
        {"clock read", "pushButton_DateRead", {}, {readError}, readError, {}, 400},
        {"address read", "pushButton_ReadCurrentNetAddress", {}, {readError}, readError, {}, 300},
        {"REQ_UD2", "pushButton_REQ_UD2", {}, {}, {}, {}, 5000},
    };
#else
    return {
        {"speed read", "pushButton_readRate", {}, {readError}, readError, {}, 300},
        {"clock write", "pushButton_DateWrite", {}, {writeError}, writeError, {}, kCompletionWaitMs},
        {"address write",
         "pushButton_WriteNewNetAddress",
         {{"spinBox_NewNetAddress", 42}},
         {writeError},
         writeError,
         {},
         kCompletionWaitMs},
        {"serial write",
         "pushButton_SerialNumberSet",
         {{"spinBox_SerialNumberSet", 10203040}},
         {QStringLiteral("Ошибка записи"), writeError},
         QStringLiteral("Ошибка записи"),
         {},
         2 * kCompletionWaitMs},
        {"speed write",
         "pushButton_writeRate",
         {{"comboBox_writeRate", "2400"}},
         {writeError},
         writeError,
         QStringLiteral("Скорость обмена записана"),
         kCompletionWaitMs},
        {"report day write",
         "pushButton_writeReportDay",
         {{"lineEdit_reportDay", "25"}},
         {noAnswer, writeError},
         noAnswer,
         {},
         kCompletionWaitMs},
        {"raw command",
         "pushButton_sendCommand",
         {{"lineEdit_command", "105B01"}},
         {},
         {},
         {},
         kCompletionWaitMs},
    };
#endif
}

// A fault of the simulator, or (nullopt) the device vanishing in the middle of its answer.
using Cell = std::optional<sim::Fault>;

void setField(FormOnSimulator &f, const QString &name, const QVariant &value)
{
    if (auto *spin = f.form().findChild<QSpinBox *>(name))
        spin->setValue(value.toInt());
    else if (auto *combo = f.form().findChild<QComboBox *>(name))
        combo->setCurrentText(value.toString());
    else
        f.w<QLineEdit>(name)->setText(value.toString());
}

bool belongsTo(const QString &text, const QStringList &messages)
{
    return std::any_of(messages.begin(), messages.end(),
                       [&](const QString &message) { return text.startsWith(message); });
}

} // namespace

Q_DECLARE_METATYPE(Cell)

class TestFaultMatrix : public QObject
{
    Q_OBJECT

private slots:
    void cell_data();
    void cell();
};

void TestFaultMatrix::cell_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<Cell>("fault");
    const QVector<Command> all = commands();
    for (int i = 0; i < all.size(); ++i) {
        for (const QString &name : sim::faultNames()) {
            sim::Fault fault = sim::Fault::None;
            QVERIFY(sim::faultFromName(name, &fault));
            QTest::addRow("%s, %s", all[i].name, qPrintable(name)) << i << Cell(fault);
        }
        QTest::addRow("%s, device vanishes", all[i].name) << i << Cell();
    }
}

void TestFaultMatrix::cell()
{
    QFETCH(int, command);
    QFETCH(Cell, fault);
    const Command c = commands().at(command);

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    for (auto it = c.fields.cbegin(); it != c.fields.cend(); ++it)
        setField(f, it.key(), it.value());
    if (fault) {
        f.sim().setFault(*fault, true);
    } else {
        connect(&f.sim(), &sim::DeviceSimulator::requestHandled, &f.sim(),
                [&f] { QTimer::singleShot(kVanishAfterMs, &f.sim(), [&f] { f.sim().stop(); }); });
    }
    f.boxes().clear();
    QSignalSpy handled(&f.sim(), &sim::DeviceSimulator::requestHandled);
    QSignalSpy sent(&f.sim(), &sim::DeviceSimulator::answerSent);
    QVERIFY(handled.isValid() && sent.isValid());

    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(50);
    QElapsedTimer elapsed;
    elapsed.start();
    f.w<QAbstractButton>(QString::fromLatin1(c.button))->click();
    const qint64 took = elapsed.elapsed();
    ticker.stop();

    QVERIFY2(took <= c.waitMs + kMarginMs, qPrintable(QStringLiteral("%1 ms").arg(took)));
    QVERIFY2(ticks >= took / 100, qPrintable(QStringLiteral("%1 ticks in %2 ms").arg(ticks).arg(took)));
    const QStringList boxes = f.boxes().texts();
    QVERIFY2(boxes.size() <= 1, qPrintable(boxes.join(QLatin1String(" | "))));
    if (fault == sim::Fault::None) {
        QCOMPARE(boxes, c.success.isEmpty() ? QStringList() : QStringList{c.success});
    } else if (fault == sim::Fault::Silence) {
        QCOMPARE(boxes, c.silence.isEmpty() ? QStringList() : QStringList{c.silence});
    } else if (!boxes.isEmpty()) {
        QVERIFY2(belongsTo(boxes.first(), c.failures + QStringList{c.success}), qPrintable(boxes.first()));
    }
    if (!fault)
        return; // nothing left to talk to

    // The page goes on: a fault-free address read after the port was closed and opened again.
    // Answers still on the line (the late pieces of a split one) are let through first.
    const int answers = int(std::count_if(handled.cbegin(), handled.cend(), [](const QList<QVariant> &args) {
        return !args.at(1).toByteArray().isEmpty();
    }));
    QTRY_VERIFY_WITH_TIMEOUT(sent.count() >= answers, 5000);
    f.sim().setFault(sim::Fault::None, true);
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QString::number(f.sim().model().address));
    auto *toggle = f.w<QAbstractButton>(QStringLiteral("toolButton_openPort"));
    toggle->click();
    toggle->click();
    f.boxes().clear();
    f.w<QAbstractButton>(QStringLiteral("pushButton_ReadCurrentNetAddress"))->click();
    QCOMPARE(f.boxes().texts(), QStringList());
    QCOMPARE(f.w<QLineEdit>(QStringLiteral("lineEdit_CurrentNetAddress"))->text(),
             QString::number(f.sim().model().address));
}

QTEST_MAIN(TestFaultMatrix)
#include "tst_fault_matrix.moc"
