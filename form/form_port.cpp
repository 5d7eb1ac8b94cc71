#include "form/form.h"
#include "ui_form.h"

#include "common/message_boxes.h"

#include <QSerialPortInfo>

namespace {
constexpr qint32 kLineBaudRate = 2400;
constexpr qint64 kReadBufferSize = 1024;
} // namespace

void Form::listPortsAndConfigureLine()
{
    ui->comboBox_portList->clear();
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        ui->comboBox_portList->addItem(info.portName());
    if (ui->comboBox_portList->count() > 0)
        ui->comboBox_portList->setCurrentIndex(ui->comboBox_portList->count() - 1);
    else
        showErrorBox(tr("com портов не обнаружено"), this);

    port->setBaudRate(kLineBaudRate);
    port->setDataBits(QSerialPort::Data8);
    port->setParity(QSerialPort::EvenParity);
    port->setStopBits(QSerialPort::OneStop);
    port->setReadBufferSize(kReadBufferSize);
}
void Form::slotPortIsOpen()
{
}

void Form::slotPortIsClose()
{
}

void Form::slotPortError(QSerialPort::SerialPortError)
{
}

void Form::on_comboBox_portList_currentIndexChanged(const QString &)
{
}

void Form::on_toolButton_openPort_clicked()
{
}

void Form::on_comboBox_selectRate_currentIndexChanged(const QString &)
{
}

void Form::on_portReadyRead()
{
}

void Form::on_ReadyRead(qint64)
{
}

void Form::on_pushButton_portWrite_clicked()
{
}

void Form::packetMakeToRead(quint8, quint8, quint16, quint16)
{
}

void Form::packetMakeToWrite(quint8, quint8, quint16, quint16, quint8, const QByteArray &)
{
}
