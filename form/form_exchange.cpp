#include "form/form.h"
#include "ui_form.h"

#include "common/hex_dump.h"
#include "common/message_boxes.h"
#include "common/pause.h"
#include "device/register_answer.h"
#include "link/chunk_trim.h"
#include "link/completion_wait.h"
#include "link/fast_exchange.h"
#include "link/frames.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QEvent>
#include <QEventLoop>
#include <QPushButton>
#include <QSet>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTimer>
#include <QToolButton>
#include <cmath>

// The exchange steps every device command is built from: begin (empty the answers, check the port),
// send, wait (a fixed pause with the reader connected, or the completion wait), collect, check.

namespace
{

// The second reader lets the rest of an answer arrive before it reads.
constexpr int kSecondReaderPauseMs = 250;

// The channel variant's first-byte pause, from the delay field; kept within reason so a typo in the
// field cannot freeze the exchange for minutes.
constexpr int kMaxChannelFirstBytePauseMs = 5000;

// The request kind whose answers the validating reader tests for the error form.
constexpr int kErrorCheckedKind = 6;

} // namespace

// ---- Waiting, one command at a time ----

void Form::waitForDevice(int ms)
{
    waitForDevice(ms, false);
}

// With untilData the wait also ends at the next readyRead of the port, after the reader (when it
// is connected) has taken the bytes.
void Form::waitForDevice(int ms, bool untilData)
{
    ++deviceWaits;
    if (untilData) {
        QEventLoop loop;
        QTimer timer;
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
        connect(port, &QSerialPort::readyRead, &loop, &QEventLoop::quit);
        timer.start(qMax(0, ms));
        loop.exec();
    } else {
        nonBlockingPause(ms);
    }
    --deviceWaits;
}

// Buttons that stay live during a wait: they stop the command, close the port or clear a pane.
void Form::guardCommandButtons()
{
    const QSet<QString> live{QStringLiteral("pushButton_AddressRequestStop"),
                             QStringLiteral("pushButton_stopReadJournal"),
                             QStringLiteral("toolButton_openPort"),
                             QStringLiteral("pushButton_clearTextBrowser"),
                             QStringLiteral("toolButton_clear"),
                             QStringLiteral("pushButton_clearResult"),
                             QStringLiteral("pushButton_saveLog")};
    for (QAbstractButton *button : findChildren<QAbstractButton *>()) {
        if (!live.contains(button->objectName()) &&
            (qobject_cast<QPushButton *>(button) || qobject_cast<QToolButton *>(button)))
            button->installEventFilter(this);
    }
}

bool Form::eventFilter(QObject *watched, QEvent *event)
{
    if (deviceWaits > 0) {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::Shortcut:
            return true;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// ---- Begin and send ----

bool Form::beginExchange()
{
    vectorPortRead.clear();
    dataAnswer.clear();
    if (port->isOpen())
        port->clear(QSerialPort::AllDirections);
    return portIsOpenOrWarn();
}

bool Form::portIsOpenOrWarn()
{
    if (port->isOpen())
        return true;
    showErrorBox(tr("Порт закрыт"), this);
    return false;
}

bool Form::writePacket()
{
    // QIODevice::write refuses exactly a device that is not open for writing.
    const bool writable = port->isOpen() && port->isWritable();
    answerStart = lineBytes.size();
    on_pushButton_portWrite_clicked();
    requestClock.start();
    return writable;
}

bool Form::sendForCompletion(const QByteArray &request)
{
    packet = request;
    disconnectReader();
    return writePacket();
}

bool Form::collectCompletion(Wait wait)
{
    if (fastExchange())
        fastCompletionWait(wait == Wait::Channel ? channelFirstBytePauseMs() : exchange::kPauseMs);
    else if (wait == Wait::Channel)
        waitBeyondWritingChannel();
    else
        waitBeyondWriting();
    on_portReadyRead();
    return !vectorPortRead.isEmpty();
}

bool Form::exchangeWithCompletion(const QByteArray &request, Wait wait)
{
    sendForCompletion(request);
    return collectCompletion(wait);
}

bool Form::writeExpectingAck(const QByteArray &frame, const QString &failText, Wait wait)
{
    exchangeWithCompletion(frame, wait);
    if (firstAnswerIsAck())
        return true;
    reportFailureAtAddress();
    showErrorBox(failText, this);
    return false;
}

// The status line names the address that failed; the box keeps its own text.
void Form::reportFailureAtAddress()
{
    ui->label_statusBar->setText(vectorPortRead.isEmpty()
                                     ? tr("Нет ответа от адреса %1").arg(deviceAddress)
                                     : tr("Неверный ответ от адреса %1").arg(deviceAddress));
}

// A command the device carried out says so in the status line and the result pane, without a box.
void Form::reportDone(const QString &text)
{
    ui->label_statusBar->setText(text);
    ui->textEdit->append(text);
}

bool Form::firstAnswerIsAck() const
{
    return !vectorPortRead.isEmpty() && !vectorPortRead.first().isEmpty() &&
           quint8(vectorPortRead.first().at(0)) == frames::kAck;
}

// ---- Fixed-pause register exchange ----

QByteArray Form::readRegistersOrWarn(quint16 reg, quint16 count, int pauseMs)
{
    connectReader();
    packetMakeToRead(deviceAddress, frames::kReadRegisters, reg, count);
    writePacket();
    waitFixedOrForAnswer(pauseMs);
    disconnectReader();
    const QByteArray answer = device::joinAnswerEntries(vectorPortRead, device::registerAnswerBytes(count));
    if (device::checkRegisterReadAnswer(answer, count) == device::RegisterAnswerFault::None)
        return answer;
    showErrorBox(tr("Ошибка чтения данных"), this);
    return {};
}

QByteArray Form::writeRegisters(quint16 reg, quint16 count, const QByteArray &data, int pauseMs)
{
    connectReader();
    packetMakeToWrite(deviceAddress, frames::kWriteRegisters, reg, count, quint8(data.size()), data);
    writePacket();
    waitFixedOrForAnswer(pauseMs);
    disconnectReader();
    return device::joinAnswerEntries(vectorPortRead, device::kRegisterWriteAnswerBytes);
}

void Form::connectReader()
{
    connect(port, SIGNAL(readyRead()), this, SLOT(on_portReadyRead()), Qt::UniqueConnection);
}

void Form::disconnectReader()
{
    disconnect(port, SIGNAL(readyRead()), this, SLOT(on_portReadyRead()));
}

// ---- Readers ----

QByteArray Form::readArrived()
{
    return port->isOpen() ? port->readAll() : QByteArray();
}

void Form::on_portReadyRead()
{
    logLine(QStringLiteral("Form::on_portReadyRead()"));
    const QByteArray chunk = readArrived();
    if (chunk.isEmpty())
        return;
    lineBytes.append(chunk);
    logLine(QStringLiteral("buf.toHex()"),
            logHex(chunk) + QStringLiteral(" size ") + QString::number(chunk.size()));

    const frames::TrimmedChunk trimmed = frames::trimChunk(chunk);
    if (trimmed.noStartByte)
        noStartByte = true;
    buf = trimmed.bytes;
    dataAnswer.append(buf);
    vectorPortRead.append(buf);
    logLine(tr("Поступили новые данные"));
    logLine(QStringLiteral("dataAnswer"), logHex(dataAnswer, true));
}

void Form::on_ReadyRead(qint64)
{
    logLine(QStringLiteral("Form::on_ReadyRead(qint64)"));
    waitForDevice(kSecondReaderPauseMs);
    const QByteArray arrived = readArrived();
    buf = arrived;
    logLine(QStringLiteral("buf.toHex()"), logHex(arrived));
    logLine(QStringLiteral("size "), QString::number(arrived.size()));
    if (arrived.isEmpty() || !crcCheck(arrived))
        return;
    dataAnswer = arrived;
    logLine(QStringLiteral("dataAnswer"), logHex(dataAnswer, true));
}

bool Form::crcCheck(const QByteArray &frame)
{
    if (frames::crcIntact(frame))
        return true;
    showErrorBox(tr("Неверная контрольная сумма"), this);
    return false;
}

bool Form::readValidated(int kind)
{
    buf = readArrived();
    bufRemains.append(buf);
    logLine(QStringLiteral("buf.toHex()"), logHex(buf));
    logLine(QStringLiteral("bufRemains.toHex()"), logHex(bufRemains));

    // One answer is taken; what follows it stays for the next read.
    const int length = frames::registerAnswerLength(bufRemains);
    const QByteArray answer =
        (length > 0 && length <= bufRemains.size()) ? bufRemains.left(length) : bufRemains;
    bufRemains.remove(0, answer.size());

    if (answer.isEmpty()) {
        showErrorBox(tr("Ошибка данных"), this);
        return false;
    }
    const bool checksErrorForm = kind == kErrorCheckedKind;
    if (checksErrorForm && !crcCheck(answer))
        return false;
    const bool errorAnswer = answer.size() > 1 && (quint8(answer.at(1)) & frames::kErrorFlag);
    if (checksErrorForm && errorAnswer) {
        const quint8 code = answer.size() > 2 ? quint8(answer.at(2)) : 0;
        showErrorBox(tr("Ошибка данных. Код ошибки:") + QLatin1Char(' ') + QString::number(code, 16), this);
        errorFlag = true;
        return false;
    }
    const bool good = answer.size() > 1 && !errorAnswer && frames::crcIntact(answer);
    if (good)
        dataAnswer = answer;
    return good;
}

// ---- Completion wait ----

void Form::waitBeyondWriting()
{
    waitBeyondWriting(exchange::kPauseMs);
}

void Form::waitBeyondWritingChannel()
{
    waitBeyondWriting(channelFirstBytePauseMs());
}

int Form::channelFirstBytePauseMs()
{
    int firstBytePauseMs = exchange::kPauseMs;
    if (waitDelayEdited) {
        bool isNumber = false;
        const int typed = ui->lineEdit_WaitBeyondWriting_chanel->text().trimmed().toInt(&isNumber, 10);
        if (isNumber && typed > 0)
            firstBytePauseMs = qMin(typed, kMaxChannelFirstBytePauseMs);
    } else {
        const QSignalBlocker blocker(ui->lineEdit_WaitBeyondWriting_chanel);
        ui->lineEdit_WaitBeyondWriting_chanel->setText(QString::number(exchange::kPauseMs));
    }
    return firstBytePauseMs;
}

void Form::waitBeyondWriting(int firstBytePauseMs)
{
    exchange::CompletionWait wait(firstBytePauseMs);
    while (wait.phase() == exchange::CompletionWait::Phase::FirstByte) {
        waitForDevice(wait.pauseMs());
        wait.observe(port->bytesAvailable());
    }
    logLine(tr("После ожидания первого байта bytes ="), QString::number(wait.firstByteCount()));

    while (wait.phase() == exchange::CompletionWait::Phase::Settling) {
        waitForDevice(wait.pauseMs());
        wait.observe(port->bytesAvailable());
        const QVector<qint64> &counts = wait.counts();
        for (int i = 0; i < counts.size(); ++i)
            logLine(QStringLiteral("bytesAvailable[") + QString::number(i) + QStringLiteral("] ="),
                    QString::number(counts.at(i)));
    }
    if (wait.settled())
        logLine(tr("После после сравнения двух значений байтов ="), QString::number(wait.counts().last()));
    logLine(tr("Конец waitBeyondWriting"));
}

// ---- Fast exchange ----
// With "Быстрый обмен (EN 13757-2)" ticked, a wait ends as soon as the answer is whole by its framing,
// when the answer window has passed with nothing, or when a started answer stops arriving
// (link/fast_exchange.h). It never lasts longer than the documented wait it stands for, and the
// readers, the answer list, the log lines and the boxes are those of the documented wait.

void Form::setUpFastExchange()
{
    const exchange::FastExchangeSettings published = exchange::publishedFastExchange();
    ui->spinBox_fastExchangeMargin->setRange(0, exchange::kMaxMarginMs);
    ui->spinBox_fastExchangeMargin->setValue(published.marginMs);
    ui->checkBox_fastExchange->setChecked(published.enabled);
    // The host keeps the choice in its settings: it reads it back from the application object.
    const auto publish = [this] {
        exchange::publishFastExchange(
            {ui->checkBox_fastExchange->isChecked(), ui->spinBox_fastExchangeMargin->value()});
    };
    connect(ui->checkBox_fastExchange, &QCheckBox::toggled, this, publish);
    connect(ui->spinBox_fastExchangeMargin, QOverload<int>::of(&QSpinBox::valueChanged), this, publish);
}

bool Form::fastExchange() const
{
    return ui->checkBox_fastExchange->isChecked();
}

exchange::AnswerWait::Outcome Form::waitForAnswer(int capMs, int firstByteMs,
                                                  const std::function<QByteArray()> &received)
{
    exchange::AnswerTiming timing =
        exchange::answerTiming(port->baudRate(), packet.size(), ui->spinBox_fastExchangeMargin->value());
    timing.windowMs = qMax(timing.windowMs, double(firstByteMs));
    exchange::AnswerWait wait(exchange::expectedAnswerFor(packet), timing, capMs);
    for (;;) {
        const double elapsedMs = requestClock.nsecsElapsed() / 1e6;
        const exchange::AnswerWait::Outcome outcome = wait.observe(received(), elapsedMs);
        if (outcome != exchange::AnswerWait::Outcome::Waiting || !port->isOpen())
            return outcome;
        waitForDevice(int(std::ceil(wait.deadlineMs() - elapsedMs)), true);
    }
}

void Form::waitFixedOrForAnswer(int pauseMs)
{
    if (!fastExchange()) {
        waitForDevice(pauseMs);
        return;
    }
    const int start = answerStart;
    waitForAnswer(pauseMs, 0, [this, start] { return lineBytes.mid(start); });
}

void Form::fastCompletionWait(int firstBytePauseMs)
{
    const int capMs =
        exchange::kFirstByteTries * firstBytePauseMs + exchange::kSettlingTries * exchange::kPauseMs;
    // The channel variant's typed delay is a device's own wish for time: the window is at least that.
    const int firstByteMs = firstBytePauseMs > exchange::kPauseMs ? firstBytePauseMs : 0;
    const exchange::AnswerWait::Outcome outcome = waitForAnswer(capMs, firstByteMs, [this] {
        return port->isOpen() ? port->peek(port->bytesAvailable()) : QByteArray();
    });
    const qint64 count = port->isOpen() ? port->bytesAvailable() : 0;
    logLine(tr("После ожидания первого байта bytes ="), QString::number(count));
    if (count > 0) {
        logLine(QStringLiteral("bytesAvailable[0] ="), QString::number(count));
        if (outcome == exchange::AnswerWait::Outcome::Complete)
            logLine(tr("После после сравнения двух значений байтов ="), QString::number(count));
    }
    logLine(tr("Конец waitBeyondWriting"));
}
