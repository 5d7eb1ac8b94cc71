#include "form/form.h"
#include "ui_form.h"

#include "common/message_boxes.h"
#include "common/pause.h"
#include "link/chunk_trim.h"
#include "link/completion_wait.h"
#include "link/frames.h"
#include "link/port_list.h"

#include <QLoggingCategory>
#include <QSerialPortInfo>
#include <QSignalBlocker>

namespace
{

Q_LOGGING_CATEGORY(lcLink, "zorva.link")

// M-Bus line settings: 8E1 at 2400 baud.
constexpr qint32 kLineBaudRate = 2400;
constexpr qint64 kReadBufferSize = 1024;

// The second reader lets the rest of an answer arrive before it reads.
constexpr int kSecondReaderPauseMs = 250;

// The channel readings' first-byte pause, from the delay field; kept within reason so a typo in the
// field cannot freeze the exchange for minutes.
constexpr int kMaxChannelFirstBytePauseMs = 5000;

// The request kind whose answers the validating reader tests for the error form.
constexpr int kErrorCheckedKind = 6;

QString hexSpaced(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' '));
}

} // namespace

void Form::listPortsAndConfigureLine()
{
    QStringList available;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        available << info.portName();
    const ports::PortChoices choices = ports::portChoices(available, ports::simulatedPorts());

    ui->comboBox_portList->clear();
    ui->comboBox_portList->addItems(choices.names);
    if (choices.current >= 0)
        ui->comboBox_portList->setCurrentIndex(choices.current);
    else
        showErrorBox(tr("com портов не обнаружено"), this);

    port->setBaudRate(kLineBaudRate);
    port->setDataBits(QSerialPort::Data8);
    port->setParity(QSerialPort::EvenParity);
    port->setStopBits(QSerialPort::OneStop);
    port->setReadBufferSize(kReadBufferSize);

    connect(port, &QSerialPort::aboutToClose, this, &Form::slotPortIsClose, Qt::UniqueConnection);
    connect(port, &QSerialPort::errorOccurred, this, &Form::slotPortError, Qt::UniqueConnection);
}

// QSerialPort has no "opened" signal; the toggle itself updates the button.
void Form::slotPortIsOpen() {}

void Form::slotPortIsClose()
{
    checkedOpenPort = false;
}

// Port errors are not reported: a failed write shows in the log, a dead line as a missing answer.
void Form::slotPortError(QSerialPort::SerialPortError) {}

void Form::on_comboBox_portList_currentIndexChanged(const QString &portName)
{
    port->setPortName(portName);
}

void Form::on_toolButton_openPort_clicked()
{
    checkedOpenPort = ui->toolButton_openPort->isChecked();
    qCDebug(lcLink) << "checkedOpenPort" << checkedOpenPort;
    logLine(QStringLiteral("Form::on_toolButton_openPort_clicked()"));

    if (port->isOpen()) {
        port->close();
        ui->toolButton_openPort->setText(tr("Открыть порт"));
        ui->toolButton_openPort->setChecked(false);
        return;
    }

    // The list is editable: a typed path counts even when it was never confirmed with Enter.
    port->setPortName(ui->comboBox_portList->currentText().trimmed());
    if (port->open(QIODevice::ReadWrite)) {
        ui->toolButton_openPort->setText(tr("Закрыть порт"));
        ui->toolButton_openPort->setChecked(true);
        checkedOpenPort = true;
        return;
    }
    logLine(QStringLiteral("port->errorString()"), port->errorString());
    ui->toolButton_openPort->setText(tr("Открыть порт"));
    ui->toolButton_openPort->setChecked(false);
    checkedOpenPort = false;
    showErrorBox(tr("Не удалось открыть порт"), this);
}

void Form::on_comboBox_selectRate_currentIndexChanged(const QString &arg1)
{
    bool isNumber = false;
    const qint32 rate = arg1.toInt(&isNumber, 10);
    if (!isNumber || rate <= 0)
        return;
    currentRate = ui->comboBox_selectRate->currentData().toInt();
    port->setBaudRate(rate, QSerialPort::AllDirections);
    logLine(QStringLiteral("QString::number(currentRate, 16)"), QString::number(currentRate, 16));
    logLine(QStringLiteral("QString::number(port->baudRate())"), QString::number(port->baudRate()));
}

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
            QString::fromLatin1(chunk.toHex()) + QStringLiteral(" size ") + QString::number(chunk.size()));

    const frames::TrimmedChunk trimmed = frames::trimChunk(chunk);
    if (trimmed.noStartByte)
        noStartByte = true;
    buf = trimmed.bytes;
    dataAnswer.append(buf);
    vectorPortRead.append(buf);
    logLine(tr("Поступили новые данные"));
    logLine(QStringLiteral("dataAnswer"), hexSpaced(dataAnswer));
}

void Form::on_ReadyRead(qint64)
{
    logLine(QStringLiteral("Form::on_ReadyRead(qint64)"));
    nonBlockingPause(kSecondReaderPauseMs);
    const QByteArray arrived = readArrived();
    buf = arrived;
    logLine(QStringLiteral("buf.toHex()"), QString::fromLatin1(arrived.toHex()));
    logLine(QStringLiteral("size "), QString::number(arrived.size()));
    if (arrived.isEmpty() || !crcCheck(arrived))
        return;
    dataAnswer = arrived;
    logLine(QStringLiteral("dataAnswer"), hexSpaced(dataAnswer));
}

void Form::on_pushButton_portWrite_clicked()
{
    qint64 cnt = -1;
    if (port->isOpen()) {
        port->clear(QSerialPort::AllDirections);
        cnt = port->write(packet);
    }
    logLine(QStringLiteral("packet.toHex()"), QString::fromLatin1(packet.toHex()));
    if (cnt < 0) {
        logLine(tr("Ошибка при записи пакета в порт."), QStringLiteral("cnt ") + QString::number(cnt));
        return;
    }
    logLine(tr("Данные в порт записаны."));
    logLine(QStringLiteral("packetData"), hexSpaced(packet.left(int(cnt))));
}

void Form::packetMakeToRead(quint8 deviceAddress, quint8 command, quint16 regAddress, quint16 numReg)
{
    packet.clear();
    packet = frames::registerRead(deviceAddress, regAddress, numReg, command);
    qCDebug(lcLink) << "deviceAddress" << deviceAddress << "command" << command << "regAddress" << regAddress
                    << "numReg" << numReg;
    qCDebug(lcLink) << "lo_crc" << quint8(packet.at(6)) << "hi_crc" << quint8(packet.at(7));
}

void Form::packetMakeToWrite(quint8 deviceAddress, quint8 command, quint16 regAddress, quint16 numReg,
                             quint8 numByte, const QByteArray &data)
{
    packet.clear();
    packet = frames::registerWrite(deviceAddress, regAddress, numReg, numByte, data, command);
    qCDebug(lcLink) << "deviceAddress" << deviceAddress << "command" << command << "regAddress" << regAddress
                    << "numReg" << numReg << "numByte" << numByte << "data" << data.toHex();
    qCDebug(lcLink) << "lo_crc" << quint8(packet.at(packet.size() - 2)) << "hi_crc"
                    << quint8(packet.at(packet.size() - 1));
}

bool Form::portIsOpenOrWarn()
{
    if (port->isOpen())
        return true;
    showErrorBox(tr("Порт закрыт"), this);
    return false;
}

void Form::connectReader()
{
    connect(port, SIGNAL(readyRead()), this, SLOT(on_portReadyRead()), Qt::UniqueConnection);
}

void Form::disconnectReader()
{
    disconnect(port, SIGNAL(readyRead()), this, SLOT(on_portReadyRead()));
}

void Form::waitBeyondWriting()
{
    waitBeyondWriting(exchange::kPauseMs);
}

void Form::waitBeyondWritingChannel()
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
    waitBeyondWriting(firstBytePauseMs);
}

void Form::waitBeyondWriting(int firstBytePauseMs)
{
    exchange::CompletionWait wait(firstBytePauseMs);
    while (wait.phase() == exchange::CompletionWait::Phase::FirstByte) {
        nonBlockingPause(wait.pauseMs());
        wait.observe(port->bytesAvailable());
    }
    logLine(tr("После ожидания первого байта bytes ="), QString::number(wait.firstByteCount()));

    while (wait.phase() == exchange::CompletionWait::Phase::Settling) {
        nonBlockingPause(wait.pauseMs());
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
    logLine(QStringLiteral("buf.toHex()"), QString::fromLatin1(buf.toHex()));
    logLine(QStringLiteral("bufRemains.toHex()"), QString::fromLatin1(bufRemains.toHex()));

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
