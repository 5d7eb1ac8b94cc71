#include "form/form.h"
#include "ui_form.h"

#include "common/file_dialogs.h"
#include "common/hex_dump.h"
#include "common/message_boxes.h"
#include "common/table_text.h"
#include "device/journal.h"
#include "device/register_answer.h"
#include "device/register_map.h"
#include "form/busy_indicator.h"
#include "form/table_snapshot.h"
#include "link/completion_wait.h"
#include "link/frames.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QHeaderView>
#include <iterator>

// The journal page: the summary, the readout telegram by telegram into the table, clearing, export.
// The frames and their decoding are in device/journal.h.

namespace
{

// A month of daily records is what an engineer reads most; the table shows a screenful of them.
constexpr int kDefaultRecordCount = 31;
constexpr int kJournalTableMinHeight = 300;

namespace journal = device::journal;

// Journal clearing: the write's answer is collected for 1000 ms, then the device is given 1100 ms
// to empty its journals before anything else is asked of it.
constexpr int kClearAnswerMs = 1000;
constexpr int kClearSettleMs = 1100;

// A telegram is looked for every 20 ms so the next request goes out as soon as one is whole; the
// first byte is awaited as long as the completion wait would, and a telegram that stops growing
// for one completion-wait pause is taken as broken.
constexpr int kTelegramPollMs = 20;
constexpr int kFirstByteMs = exchange::kFirstByteTries * exchange::kPauseMs;
constexpr int kQuietMs = exchange::kPauseMs;
constexpr int kTelegramRepeats = 2;
// A line that never falls quiet (a babbling device, noise) still ends the wait: the longest telegram,
// 261 bytes, takes 2.4 s at 1200 baud.
constexpr int kTelegramMaxMs = kFirstByteMs + 3000;

const char *const kReadError = "Ошибка чтения данных";

journal::Selection selectionOf(const Ui::Form *ui, int kind)
{
    journal::Selection s;
    s.kind = journal::Kind(kind);
    s.first = ui->spinBox_startNote->value();
    s.count = ui->spinBox_notesNumber->value();
    // Equal ends, as the page opens, mean no range.
    const QDateTime start = ui->dateTimeEdit_startJournal->dateTime();
    const QDateTime end = ui->dateTimeEdit_endJournal->dateTime();
    if (start != end) {
        s.rangeStart = QDateTime(start.date(), start.time(), Qt::UTC);
        s.rangeEnd = QDateTime(end.date(), end.time(), Qt::UTC);
    }
    return s;
}

void appendRows(QTableWidget *table, const QVector<journal::Row> &rows, journal::Kind kind)
{
    for (const journal::Row &row : rows) {
        const int r = table->rowCount();
        table->setRowCount(r + 1);
        const QStringList cells = journal::rowTexts(row, kind);
        for (int c = 0; c < cells.size(); ++c)
            table->setItem(r, c, new QTableWidgetItem(cells.at(c)));
    }
}

} // namespace

void Form::setUpJournalPage()
{
    connect(ui->pushButton_exportJournal, &QPushButton::clicked, this, &Form::exportJournal);
    connect(ui->radioButton_days, &QRadioButton::clicked, this, &Form::journalKindChanged);
    ui->spinBox_startNote->setRange(1, 0xFFFF);
    ui->spinBox_notesNumber->setRange(0, 0xFFFF);
    ui->spinBox_notesNumber->setValue(kDefaultRecordCount);
    ui->tableWidget_Journal->setMinimumHeight(kJournalTableMinHeight);
    ui->tableWidget_Journal->verticalHeader()->hide(); // the "№" column numbers the rows
    ui->progressBar_ReadJournal->setRange(0, 1);
    ui->progressBar_ReadJournal->setValue(0);
}

int Form::checkedJournalKind() const
{
    const QRadioButton *const buttons[] = {ui->radioButton_events, ui->radioButton_hour, ui->radioButton_days,
                                           ui->radioButton_month, ui->radioButton_year};
    for (int kind = 0; kind < int(std::size(buttons)); ++kind) {
        if (buttons[kind]->isChecked())
            return kind;
    }
    return -1;
}

void Form::journalKindChanged()
{
    const int kind = checkedJournalKind();
    if (kind == journalKind)
        return;
    journalKind = kind;
    journalHeld = -1;
    ui->spinBox_notesNumber->setMaximum(0xFFFF);
    ui->spinBox_startNote->setMaximum(0xFFFF);
}

void Form::on_pushButton_readJournal_clicked()
{
    if (journalReading)
        return; // one readout at a time; the running one goes on
    journalReading = true;
    journalStopRequested = false;
    readJournal();
    journalReading = false;
}

void Form::readJournal()
{
    journalKindChanged();
    if (journalKind < 0) {
        showErrorBox(tr("Выберите журнал"), this);
        return;
    }
    const journal::Selection selection = selectionOf(ui, journalKind);
    const journal::SelectionFault fault = journal::checkSelection(selection);
    if (fault != journal::SelectionFault::None) {
        showErrorBox(journal::selectionFaultText(fault), this);
        return;
    }
    const int channels = selection.kind == journal::Kind::Events ? 0 : numberOfChannels;
    if (selection.kind != journal::Kind::Events && channels == 0) {
        showErrorBox(tr("Количество каналов неизвестно: прочитайте конфигурацию ZORVA"), this);
        return;
    }
    const BusyIndicator busy(this, tr("Чтение журнала"));
    if (!resetJournalSelectionOrWarn())
        return;
    if (!writeExpectingAck(journal::selectionFrame(deviceAddress, selection),
                           tr("Прибор не принял выбор журнала")))
        return;

    // The table and the upload buffer are replaced once the first records have come; until then
    // what was read before stays.
    QTableWidget *table = ui->tableWidget_Journal;
    const QStringList titles = journal::columnTitles(selection.kind, channels);
    bool tableReplaced = false;
    ui->progressBar_ReadJournal->setRange(0, selection.count);
    ui->progressBar_ReadJournal->setValue(0);

    bool frameCountBit = true;
    bool finished = false;
    while (!finished) {
        const QByteArray telegram = askJournalTelegram(frameCountBit);
        if (telegram.isEmpty()) {
            showErrorBox(tr(kReadError), this);
            break;
        }
        journal::Page page;
        const journal::PageFault pageFault = journal::decodePage(telegram, selection.kind, channels, &page);
        if (pageFault != journal::PageFault::None) {
            showErrorBox(tr(kReadError) + QStringLiteral(": ") + journal::pageFaultText(pageFault), this);
            break;
        }
        if (!tableReplaced && !page.rows.isEmpty()) {
            table->clear();
            table->setRowCount(0);
            table->setColumnCount(titles.size());
            table->setHorizontalHeaderLabels(titles);
            uploadBuffer.clear();
            tableReplaced = true;
        }
        const bool firstRows = table->rowCount() == 0;
        if (tableReplaced)
            uploadBuffer.append(telegram);
        appendRows(table, page.rows, selection.kind);
        if (firstRows)
            table->resizeColumnsToContents(); // the date and event columns show their texts whole
        ui->progressBar_ReadJournal->setValue(qMin(table->rowCount(), selection.count));
        finished = !page.moreFollows;
        frameCountBit = !frameCountBit;
        if (journalStopRequested)
            break;
    }
    if (finished && !tableReplaced) {
        ui->progressBar_ReadJournal->setValue(0);
        showInformationBox(tr("В журнале нет записей по заданному выбору"), this);
    } else if (finished) {
        ui->progressBar_ReadJournal->setRange(0, qMax(1, table->rowCount()));
        ui->progressBar_ReadJournal->setValue(table->rowCount());
    } else if (port->isOpen()) {
        // The device still holds the selection; the reset telegram ends it quietly.
        beginExchange();
        exchangeWithCompletion(journal::resetFrame(deviceAddress));
    }
    ui->label_statusBar->setText(tr("Прочитано записей: %1").arg(tableReplaced ? table->rowCount() : 0));
}

QByteArray Form::askJournalTelegram(bool frameCountBit)
{
    for (int attempt = 0; attempt <= kTelegramRepeats; ++attempt) {
        if (!beginExchange())
            return {};
        sendForCompletion(journal::readoutRequest(deviceAddress, frameCountBit));
        logLine(QStringLiteral("packet.toHex()"), logHex(packet));
        const QByteArray telegram = collectJournalTelegram();
        if (!telegram.isEmpty())
            return telegram;
        logLine(tr("Повтор запроса"));
    }
    return {};
}

QByteArray Form::collectJournalTelegram()
{
    QByteArray received;
    int quietMs = 0;
    QElapsedTimer waited;
    waited.start();
    // Fast exchange: one wait that ends when the frame is whole, at the answer window or at a gap in
    // the answer; what arrived is then judged below exactly as the polls judge it.
    const bool fast = fastExchange();
    if (fast)
        waitForAnswer(kTelegramMaxMs, 0,
                      [this] { return port->isOpen() ? port->peek(port->bytesAvailable()) : QByteArray(); });
    while (port->isOpen() && waited.elapsed() < kTelegramMaxMs) {
        if (!fast)
            waitForDevice(kTelegramPollMs);
        const QByteArray chunk = readArrived();
        quietMs = chunk.isEmpty() ? quietMs + kTelegramPollMs : 0;
        received.append(chunk);
        // Line noise before the frame is passed over.
        const int start = received.indexOf(char(frames::kLongStart));
        if (start >= 0) {
            const frames::FrameCheck check = frames::checkMbus(received.mid(start));
            if (check.state == frames::Completeness::Complete) {
                logLine(QStringLiteral("dataAnswer"), logHex(received, true));
                return received.mid(start, check.frameLength);
            }
            if (check.state == frames::Completeness::Invalid)
                break;
        }
        if (fast || quietMs >= (received.isEmpty() ? kFirstByteMs : kQuietMs))
            break;
    }
    logLine(QStringLiteral("dataAnswer"), logHex(received, true));
    return {};
}

void Form::on_pushButton_stopReadJournal_clicked()
{
    journalStopRequested = journalReading;
}

void Form::on_check_journal_clicked()
{
    journalKindChanged();
    ui->check_journal->setChecked(false);
    if (journalKind < 0) {
        showErrorBox(tr("Выберите журнал"), this);
        return;
    }
    if (journalReading || !resetJournalSelectionOrWarn())
        return;
    if (!writeExpectingAck(journal::summaryFrame(deviceAddress, journal::Kind(journalKind)),
                           tr("Прибор не принял выбор журнала")))
        return;
    const QByteArray telegram = askJournalTelegram(true);
    journal::Summary summary;
    const journal::PageFault fault =
        telegram.isEmpty() ? journal::PageFault::Undecodable : journal::decodeSummary(telegram, &summary);
    if (telegram.isEmpty() || fault != journal::PageFault::None) {
        showErrorBox(telegram.isEmpty()
                         ? tr(kReadError)
                         : tr(kReadError) + QStringLiteral(": ") + journal::pageFaultText(fault),
                     this);
        return;
    }
    journalHeld = summary.held;
    ui->spinBox_notesNumber->setMaximum(summary.held);
    ui->spinBox_startNote->setMaximum(qMax(1, summary.held));
    ui->check_journal->setChecked(summary.held > 0);
    const QString format = QStringLiteral("dd.MM.yyyy hh:mm");
    QString text = tr("Записей в журнале: %1").arg(summary.held);
    if (summary.held > 0)
        text += QLatin1Char('\n') +
                tr("с %1 по %2").arg(summary.oldest.toString(format), summary.newest.toString(format));
    ui->label_statusBar->setText(QString(text).replace(QLatin1Char('\n'), QLatin1Char(' ')));
    showInformationBox(text, this);
}

void Form::on_radioButton_hour_clicked()
{
    journalKindChanged();
}

void Form::on_radioButton_hour_clicked(bool)
{
    journalKindChanged();
}

void Form::on_radioButton_month_clicked()
{
    journalKindChanged();
}

void Form::on_radioButton_events_clicked()
{
    journalKindChanged();
}

void Form::on_radioButton_year_clicked()
{
    journalKindChanged();
}

void Form::on_spinBox_startNote_valueChanged(int value)
{
    // With the summary known, no more records can be asked for than there are from this one on.
    if (journalHeld > 0)
        ui->spinBox_notesNumber->setMaximum(qMax(0, journalHeld - value + 1));
}

void Form::on_spinBox_startNote_valueChanged(const QString &)
{
    // The int overload does the work; both are part of the slot list.
}

void Form::on_dateTimeEdit_startJournal_dateTimeChanged(const QDateTime &)
{
    on_dateTimeEdit_endJournal_dateTimeChanged(ui->dateTimeEdit_endJournal->dateTime());
}

void Form::on_dateTimeEdit_endJournal_dateTimeChanged(const QDateTime &end)
{
    const bool reversed = end < ui->dateTimeEdit_startJournal->dateTime();
    ui->dateTimeEdit_endJournal->setStyleSheet(reversed ? QStringLiteral("color: red") : QString());
    ui->dateTimeEdit_endJournal->setToolTip(reversed ? tr("Конец диапазона раньше его начала") : QString());
}

void Form::programCLR()
{
    resetJournalSelectionOrWarn();
}

bool Form::resetJournalSelectionOrWarn()
{
    if (!beginExchange())
        return false;
    exchangeWithCompletion(journal::resetFrame(deviceAddress));
    if (firstAnswerIsAck())
        return true;
    showErrorBox(tr(kReadError), this);
    return false;
}

void Form::on_pushButton_cleanJournal_clicked()
{
    if (showConfirmationBox(tr("Очистить все журналы прибора?"), this) != 0)
        return;
    if (!beginExchange())
        return;
    const QByteArray answer =
        writeRegisters(device::registers::kJournalClear, 1, QByteArray(2, '\0'), kClearAnswerMs);
    const device::RegisterWriteCheck check =
        device::checkRegisterWriteAnswer(answer, device::registers::kJournalClear, 1);
    if (check.fault == device::RegisterAnswerFault::Exception) {
        showErrorBox(tr("Ошибка записи данных. Код ошибки:") + QLatin1Char(' ') +
                         QString::number(check.exceptionCode, 16),
                     this);
        return;
    }
    if (check.fault != device::RegisterAnswerFault::None) {
        showErrorBox(tr("Ошибка записи данных"), this);
        return;
    }
    waitForDevice(kClearSettleMs);
    journalHeld = -1;
    showInformationBox(tr("Журналы очищены"), this);
}

void Form::on_pushButton_clearJournalSecond_clicked()
{
    ui->tableWidget_Journal->clear();
    ui->tableWidget_Journal->setRowCount(0);
    ui->tableWidget_Journal->setColumnCount(0);
    ui->progressBar_ReadJournal->setValue(0);
    uploadBuffer.clear();
}

void Form::on_pushButton_clicked()
{
    programCLR();
}

void Form::on_pushButton_export_clicked()
{
    exportJournal();
}

void Form::exportJournal()
{
    const QString name =
        chooseSaveFileName(this, QStringLiteral("Save File"), QDir::currentPath(), tr("Текст (*.txt)"));
    const auto cannotOpen = [this] {
        qDebug() << "не удалось открыть файл";
        showErrorBox(tr("Не удалось открыть файл"), this);
    };
    if (name.isEmpty()) {
        cannotOpen();
        return;
    }
    const TableSnapshot table = snapshotOf(*ui->tableWidget_Journal);
    logLine2(QStringLiteral("rowCount"), QString::number(table.cells.size()));
    logLine2(QStringLiteral("columnCount"), QString::number(table.headers.size()));
    for (int r = 0; r < table.cells.size(); ++r) {
        for (int c = 0; c < table.cells.at(r).size(); ++c)
            logLine2(QStringLiteral("tablValue[%1;%2]: %3")
                         .arg(r)
                         .arg(c)
                         .arg(table.cells.at(r).at(c).value_or(QString())));
    }
    // Written through a temporary file: a failed write leaves an existing file as it was.
    if (!writeFileReplacing(name, plainTableText(table)))
        cannotOpen();
}
