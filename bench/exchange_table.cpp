#include "bench/exchange_table.h"

#include "form/form.h"
#include "link/completion_wait.h"
#include "link/fast_exchange.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <sys/resource.h>

namespace
{

constexpr int kScanLast = 250;
constexpr int kSilentAddress = 5;
constexpr int kJournalRecords = 31;
constexpr int kScanFitMarginMs = 20;

// One request and the answer the simulator gave it, as its --verbose log shows them.
struct Exchange {
    int requestBytes = 0;
    int answerBytes = 0;
};

// zorva-sim in its own process, so the CPU measured is the configurator's alone.
class SimProcess
{
public:
    ~SimProcess() { stop(); }

    bool start(const QStringList &arguments, QString *error)
    {
        m_log = m_dir.filePath(QStringLiteral("sim%1.log").arg(++m_count));
        m_process.setStandardErrorFile(m_log);
        m_process.start(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("zorva-sim")),
                        arguments + QStringList{QStringLiteral("--verbose")});
        if (!m_process.waitForStarted(5000) || !m_process.waitForReadyRead(5000)) {
            *error = QStringLiteral("zorva-sim did not start: ") + m_process.errorString();
            return false;
        }
        m_path = QString::fromLocal8Bit(m_process.readLine()).trimmed();
        m_offset = 0;
        return !m_path.isEmpty();
    }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(3000))
            m_process.kill();
        m_process.waitForFinished(1000);
    }

    QString portPath() const { return m_path; }

    // The exchanges logged since the last call.
    QList<Exchange> takeExchanges()
    {
        QFile file(m_log);
        QList<Exchange> exchanges;
        if (!file.open(QIODevice::ReadOnly))
            return exchanges;
        file.seek(m_offset);
        const QList<QByteArray> lines = file.readAll().split('\n');
        m_offset = file.pos();
        for (const QByteArray &line : lines) {
            const int bytes =
                line.mid(3).trimmed().isEmpty() ? 0 : int(line.mid(3).trimmed().split(' ').size());
            if (line.startsWith("-> "))
                exchanges.append({bytes, 0});
            else if (line.startsWith("<- ") && !exchanges.isEmpty() && !line.contains("(silence)"))
                exchanges.last().answerBytes = bytes;
        }
        return exchanges;
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_log;
    QString m_path;
    qint64 m_offset = 0;
    int m_count = 0;
};

double cpuMsNow()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000.0 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000.0;
}

// How the documented mode waits for each exchange of an operation.
enum class Rule { Completion, Fixed, JournalPoll };

double characterMs(int baud)
{
    return exchange::wireMs(1, baud);
}

// The documented completion wait for an answer of `answer` bytes that starts one turnaround after
// the request has crossed the line: the pauses the rule takes when fed the counts the line delivers.
double completionBudgetMs(const Exchange &e, int baud, int turnaroundMs)
{
    const double start = exchange::wireMs(e.requestBytes, baud) + turnaroundMs;
    exchange::CompletionWait wait;
    double t = 0;
    while (wait.phase() != exchange::CompletionWait::Phase::Done) {
        t += wait.pauseMs();
        const double arrived = std::floor((t - start) / characterMs(baud));
        wait.observe(qint64(qBound(0.0, arrived, double(e.answerBytes))));
    }
    return t;
}

// The journal readout looks every 20 ms for a whole telegram.
double journalPollBudgetMs(const Exchange &e, int baud, int turnaroundMs)
{
    const double whole = exchange::wireMs(e.requestBytes + e.answerBytes, baud) + turnaroundMs;
    return std::ceil(whole / 20.0) * 20.0;
}

struct Row {
    QString operation;
    int baud = 0;
    bool fast = false;
    qint64 bytes = 0;
    double wireMs = 0;
    double tookMs = 0;
    double cpuPct = 0;
    double cpuMs = 0;
    double budgetMs = 0; // documented mode only
    QString target;      // what the row must meet, empty for none
    bool met = true;
    QString note;
    bool skipped = false;
};

class Bench
{
public:
    Bench(int baud, bool fast, int marginMs, int turnaroundMs, const QString &only)
        : m_baud(baud), m_fast(fast), m_marginMs(marginMs), m_turnaroundMs(turnaroundMs), m_only(only)
    {
    }

    bool start(const QStringList &simArguments, QString *error)
    {
        if (!m_sim.start(simArguments + QStringList{QStringLiteral("--speed"), QString::number(m_baud),
                                                    QStringLiteral("--turnaround"),
                                                    QString::number(m_turnaroundMs)},
                         error))
            return false;
        exchange::publishFastExchange({m_fast, m_marginMs});
        m_form = std::make_unique<Form>();
        if (!m_form->initialize(m_services.modules())) {
            *error = m_form->errorString();
            return false;
        }
        typeAndToggle(m_sim.portPath());
        widget<QComboBox>("comboBox_selectRate")->setCurrentText(QString::number(m_baud));
        if (!widget<QToolButton>("toolButton_openPort")->isChecked()) {
            *error = QStringLiteral("the port did not open: ") + m_boxes.texts().join(QStringLiteral("; "));
            return false;
        }
        widget<QLineEdit>("lineEdit_oneAddress")->setText(QStringLiteral("1"));
        m_boxes.clear();
        m_sim.takeExchanges();
        return true;
    }

    template <typename T> T *widget(const char *name) const
    {
        T *w = m_form->findChild<T *>(QLatin1String(name));
        if (!w)
            qFatal("the form has no %s", name);
        return w;
    }

    void click(const char *name) { widget<QAbstractButton>(name)->click(); }

    // Runs `action` and makes its row; `rules` says how the documented mode waits for each exchange.
    Row measure(const QString &operation, const std::function<void()> &action,
                const std::function<Rule(int index, int *fixedMs)> &rules)
    {
        if (!m_only.isEmpty() && !operation.startsWith(m_only)) {
            Row skipped;
            skipped.operation = operation;
            skipped.skipped = true;
            return skipped;
        }
        m_boxes.clear();
        m_sim.takeExchanges();
        QElapsedTimer wall;
        const double cpuBefore = cpuMsNow();
        wall.start();
        action();
        const double took = wall.nsecsElapsed() / 1e6;
        const double cpu = cpuMsNow() - cpuBefore;
        QCoreApplication::processEvents();
        Row row;
        row.operation = operation;
        row.baud = m_baud;
        row.fast = m_fast;
        row.tookMs = took;
        row.cpuPct = 100.0 * cpu / took;
        row.cpuMs = cpu;
        const QList<Exchange> exchanges = m_sim.takeExchanges();
        for (int i = 0; i < exchanges.size(); ++i) {
            const Exchange &e = exchanges.at(i);
            row.bytes += e.requestBytes + e.answerBytes;
            int fixedMs = 0;
            switch (rules(i, &fixedMs)) {
            case Rule::Completion:
                row.budgetMs += completionBudgetMs(e, m_baud, m_turnaroundMs);
                break;
            case Rule::Fixed:
                row.budgetMs += fixedMs;
                break;
            case Rule::JournalPoll:
                row.budgetMs += journalPollBudgetMs(e, m_baud, m_turnaroundMs);
                break;
            }
        }
        row.wireMs = exchange::wireMs(int(row.bytes), m_baud);
        if (!m_boxes.boxes.isEmpty())
            row.note = QStringLiteral("boxes: ") + m_boxes.texts().join(QStringLiteral("; "));
        return row;
    }

    void reopenOn(const QStringList &simArguments, QString *error)
    {
        typeAndToggle(QString()); // closes the port
        m_sim.stop();
        start(simArguments, error);
    }

private:
    void typeAndToggle(const QString &path)
    {
        QLineEdit *edit = widget<QComboBox>("comboBox_portList")->lineEdit();
        if (!path.isEmpty()) {
            edit->selectAll();
            QTest::keyClicks(edit, path);
            if (edit->hasSelectedText())
                QTest::keyClick(edit, Qt::Key_Delete);
        }
        click("toolButton_openPort");
    }

    int m_baud;
    bool m_fast;
    int m_marginMs;
    int m_turnaroundMs;
    QString m_only;
    SimProcess m_sim;
    CoreServices m_services;
    BoxRecorder m_boxes;
    std::unique_ptr<Form> m_form;
};

Rule completion(int, int *)
{
    return Rule::Completion;
}

void judge(Row &row, int marginMs)
{
    if (!row.fast) {
        row.target = QStringLiteral("≤ 1.05 × budget");
        row.met = row.tookMs <= 1.05 * row.budgetMs;
    } else if (row.baud == 2400 && row.operation.startsWith(QLatin1String("scan"))) {
        row.target = QStringLiteral("≤ 60 s");
        row.met = row.tookMs <= 60000;
    } else if (row.baud == 2400 && row.operation.startsWith(QLatin1String("one silent"))) {
        const double limit = 1.15 * (row.wireMs + 187.5) + marginMs;
        row.target = QStringLiteral("≤ %1 ms").arg(limit, 0, 'f', 0);
        row.met = row.tookMs <= limit;
    } else if (row.baud == 2400) {
        row.target = QStringLiteral("≤ 1.3 × wire");
        row.met = row.tookMs <= 1.3 * row.wireMs;
    }
    // Waiting alone: the rows where the device never answers. The answered rows' CPU is the form's
    // work on the answer (the reader's log lines per chunk, decoding, tables), shown but not judged.
    const bool onlyWaiting = row.operation.startsWith(QLatin1String("scan")) ||
                             row.operation.startsWith(QLatin1String("one silent"));
    if (onlyWaiting) {
        row.target += QStringLiteral(", CPU ≤ 1 %");
        row.met = row.met && row.cpuPct <= 1.0;
    }
}

QString seconds(double ms)
{
    return ms >= 10000 ? QString::number(ms / 1000.0, 'f', 1) + QStringLiteral(" s")
                       : QString::number(ms, 'f', 0) + QStringLiteral(" ms");
}

void printRow(const Row &r)
{
    const QString line =
        QStringLiteral("| %1 | %2 | %3 | %4 | %5 | %6 | %7 | %8 | %9 | %10 |")
            .arg(r.operation, QString::number(r.baud),
                 r.fast ? QStringLiteral("fast") : QStringLiteral("documented"), QString::number(r.bytes),
                 seconds(r.wireMs), seconds(r.tookMs), QString::number(r.tookMs / r.wireMs, 'f', 2),
                 QStringLiteral("%1 ms (%2 %)").arg(r.cpuMs, 0, 'f', 0).arg(r.cpuPct, 0, 'f', 2),
                 r.fast ? QStringLiteral("–") : seconds(r.budgetMs))
            .arg(r.target.isEmpty()
                     ? QStringLiteral("–")
                     : r.target + (r.met ? QStringLiteral(": met") : QStringLiteral(": NOT met")));
    std::printf("%s\n", qPrintable(line));
    if (!r.note.isEmpty())
        std::printf("|   ↳ %s | | | | | | | | | |\n", qPrintable(r.note));
    std::fflush(stdout);
}

} // namespace

QStringList runExchangeTable(const TableOptions &options)
{
    QStringList missed;
    std::printf("| Operation | Baud | Mode | Bytes on the wire | Wire time | Time taken | × wire | CPU time "
                "(%% of a core) | "
                "Documented budget | Target |\n|---|---|---|---|---|---|---|---|---|---|\n");
    auto emitRow = [&](Row row) {
        if (row.skipped)
            return;
        judge(row, options.marginMs);
        printRow(row);
        if (!row.met)
            missed << QStringLiteral("%1 at %2, %3")
                          .arg(row.operation)
                          .arg(row.baud)
                          .arg(row.fast ? "fast" : "documented");
    };

    for (const int baud : options.bauds) {
        // EN 13757-2's shortest turnaround for the device: 11 bit times, whole milliseconds.
        const int turnaroundMs = int(std::ceil(11000.0 / baud));
        for (const bool fast : {true, false}) {
            if (!fast && options.quick)
                continue;
            Bench bench(baud, fast, options.marginMs, turnaroundMs, options.only);
            QString error;
            if (!bench.start({}, &error)) {
                std::fprintf(stderr, "%s\n", qPrintable(error));
                return {QStringLiteral("bench did not start: ") + error};
            }
            emitRow(bench.measure(
                QStringLiteral("information read"), [&] { bench.click("pushButton_readZorvaConfig"); },
                completion));
            emitRow(bench.measure(
                QStringLiteral("clock read"), [&] { bench.click("pushButton_DateRead"); },
                [](int, int *ms) {
                    *ms = 400;
                    return Rule::Fixed;
                }));
            emitRow(bench.measure(
                QStringLiteral("one silent address"),
                [&] {
                    bench.widget<QLineEdit>("lineEdit_AddressRangeStart")
                        ->setText(QString::number(kSilentAddress));
                    bench.widget<QLineEdit>("lineEdit_AddressRangeEnd")
                        ->setText(QString::number(kSilentAddress));
                    bench.click("pushButton_AddressRequest");
                },
                completion));
            emitRow(bench.measure(
                QStringLiteral("16-channel readings"),
                [&] { bench.click("pushButton_ReadChannelIndicationsToTable"); },
                [](int, int *ms) {
                    *ms = 400;
                    return Rule::Fixed;
                }));
            emitRow(bench.measure(
                QStringLiteral("all channels into the table"),
                [&] { bench.click("pushButton_readChannelsConfig"); }, completion));
            emitRow(bench.measure(
                QStringLiteral("REQ_UD2"), [&] { bench.click("pushButton_REQ_UD2"); },
                [](int, int *ms) {
                    *ms = 5000;
                    return Rule::Fixed;
                }));
            emitRow(bench.measure(
                QStringLiteral("31 daily records, 16 channels"),
                [&] {
                    bench.click("radioButton_days");
                    bench.widget<QSpinBox>("spinBox_startNote")->setValue(1);
                    bench.widget<QSpinBox>("spinBox_notesNumber")->setValue(kJournalRecords);
                    bench.click("pushButton_readJournal");
                },
                [](int index, int *) { return index < 2 ? Rule::Completion : Rule::JournalPoll; }));
            emitRow(bench.measure(
                QStringLiteral("one channel configuration write"),
                [&] {
                    bench.widget<QComboBox>("comboBox_ChannelNumber")->setCurrentText(QStringLiteral("1"));
                    bench.widget<QLineEdit>("lineEdit_Manufacturer")->setText(QStringLiteral("ZRV"));
                    bench.widget<QLineEdit>("lineEdit_Weight")->setText(QStringLiteral("0,01"));
                    auto *channel = bench.widget<QCheckBox>("checkBoxChan1");
                    auto *appointment = bench.widget<QCheckBox>("checkBox_Appointment");
                    channel->setChecked(true);
                    appointment->setChecked(true);
                    bench.click("pushButton_WriteOneReg");
                },
                completion));

            // The empty bus: a device that answers nothing.
            bench.reopenOn({QStringLiteral("--fault"), QStringLiteral("silence")}, &error);
            const int last = fast ? kScanLast : options.documentedScanTo;
            Row scan = bench.measure(
                QStringLiteral("scan 0..250, empty bus"),
                [&] {
                    bench.widget<QLineEdit>("lineEdit_AddressRangeStart")->setText(QStringLiteral("0"));
                    bench.widget<QLineEdit>("lineEdit_AddressRangeEnd")->setText(QString::number(last));
                    bench.click("pushButton_AddressRequest");
                },
                completion);
            if (!fast) {
                const double scale = (kScanLast + 1.0) / (last + 1.0);
                scan.tookMs *= scale;
                scan.budgetMs *= scale;
                scan.bytes = qint64(std::llround(scan.bytes * scale));
                scan.wireMs *= scale;
                scan.note = QStringLiteral("timed on 0..%1 and scaled").arg(last);
            }
            emitRow(scan);
            // 251 silent addresses at the default margin take 251 × 260.4 ms: the margin that fits 60 s.
            if (fast && baud == 2400 && options.marginMs > kScanFitMarginMs) {
                bench.widget<QSpinBox>("spinBox_fastExchangeMargin")->setValue(kScanFitMarginMs);
                emitRow(bench.measure(
                    QStringLiteral("scan 0..250, empty bus, margin %1 ms").arg(kScanFitMarginMs),
                    [&] { bench.click("pushButton_AddressRequest"); }, completion));
                bench.widget<QSpinBox>("spinBox_fastExchangeMargin")->setValue(options.marginMs);
            }
        }
    }
    return missed;
}
