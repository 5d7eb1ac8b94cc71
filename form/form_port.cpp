#include "form/form.h"
#include "ui_form.h"

#include "common/hex_dump.h"
#include "common/message_boxes.h"
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
    if (!deviceSpeedRead)
        ui->comboBox_writeRate->setCurrentText(arg1);
    logLine(QStringLiteral("QString::number(currentRate, 16)"), QString::number(currentRate, 16));
    logLine(QStringLiteral("QString::number(port->baudRate())"), QString::number(port->baudRate()));
}

void Form::on_pushButton_portWrite_clicked()
{
    qint64 cnt = -1;
    if (port->isOpen()) {
        port->clear(QSerialPort::AllDirections);
        cnt = port->write(packet);
    }
    logLine(QStringLiteral("packet.toHex()"), logHex(packet));
    if (cnt < 0) {
        logLine(tr("Ошибка при записи пакета в порт."), QStringLiteral("cnt ") + QString::number(cnt));
        return;
    }
    logLine(tr("Данные в порт записаны."));
    logLine(QStringLiteral("packetData"), logHex(packet.left(int(cnt)), true));
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
