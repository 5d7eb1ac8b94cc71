#include "form/form.h"
#include "ui_form.h"

#include "common/hex_dump.h"
#include "common/mbus_telegram_text.h"
#include "common/message_boxes.h"
#include "device/clock_codec.h"
#include "device/device_information.h"
#include "device/identification.h"
#include "device/parameter_frames.h"
#include "device/raw_command.h"
#include "device/register_answer.h"
#include "device/register_map.h"
#include "device/user_input.h"
#include "form/busy_indicator.h"

#include <QTableWidgetItem>

namespace
{

constexpr int kClockReadPauseMs = 400;
constexpr int kRegisterReadPauseMs = 300;
constexpr int kReqUd2CollectMs = 5000;
constexpr int kSpeedListFallbackIndex = 3; // "9600"
const char *const kClockDisplayFormat = "dd.MM.yyyy hh:mm:ss";

QString trueFalse(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

void Form::showDeviceClock(const QDate &date, const QTime &time)
{
    ui->dateTimeEdit->setDisplayFormat(QLatin1String(kClockDisplayFormat));
    ui->dateTimeEdit->setTimeSpec(Qt::UTC);
    ui->dateTimeEdit->setDateTime(QDateTime(date, time, Qt::UTC));
}

// ---- Bus address scan ----

void Form::on_pushButton_AddressRequest_clicked()
{
    if (!beginExchange())
        return;
    const QString startText = ui->lineEdit_AddressRangeStart->text();
    const QString endText = ui->lineEdit_AddressRangeEnd->text();
    const std::optional<quint8> start = device::parseBusAddress(startText);
    const std::optional<quint8> end = device::parseBusAddress(endText);
    if (!start || !end) {
        showErrorBox(device::addressRangeFaultText(startText, endText), this);
        return;
    }
    rangeStart = *start;
    rangeEnd = *end;
    logLine(QStringLiteral("rangeStart"), QString::number(rangeStart));
    logLine(QStringLiteral("rangeEnd"), QString::number(rangeEnd));
    stopScan = 0;

    QTableWidget *table = ui->tableWidget_Address;
    table->setColumnCount(1);
    table->clear();
    table->setRowCount(0);
    auto addRow = [this, table](int address) {
        const QString elementString = QString::number(address);
        auto *item = new QTableWidgetItem(elementString);
        item->setFlags(Qt::NoItemFlags);
        item->setFlags(Qt::ItemIsSelectable);
        item->setFlags(Qt::ItemIsEnabled);
        table->insertRow(table->rowCount());
        table->setItem(table->rowCount() - 1, 0, item);
        logLine(QStringLiteral("elementString"), elementString);
    };
    addRow(device::kAlwaysListedAddress);
    emit progressStart();
    if (rangeStart > rangeEnd)
        ui->label_statusBar->setText(tr("Начало диапазона больше конца: адреса не опрошены"));
    const BusyIndicator busy(this, tr("Опрос адресов %1..%2").arg(rangeStart).arg(rangeEnd));

    // An int counter: the scan ends after 255 instead of wrapping to 0.
    for (int address = rangeStart; address <= rangeEnd; ++address) {
        addressTried = address;
        ui->lineEdit_Progress->setText(QString::number(address));
        ui->progressBar->setValue(address);
        if (stopScan) {
            stopScan = 0;
            break;
        }
        if (!port->isOpen()) {
            showErrorBox(tr("Порт закрыт"), this);
            break;
        }
        exchangeWithCompletion(device::probeFrame(quint8(address)));
        if (firstAnswerIsAck())
            addRow(address);
        vectorPortRead.clear();
    }
    vectorPortRead.clear();
    ui->progressBar->reset();
}

void Form::on_pushButton_AddressRequestStop_clicked()
{
    if (portIsOpenOrWarn())
        stopScan = 1;
}

void Form::on_tableWidget_Address_cellDoubleClicked(int row, int column)
{
    const QTableWidgetItem *item = ui->tableWidget_Address->item(row, column);
    if (!item)
        return;
    bool isNumber = false;
    const int address = item->text().toInt(&isNumber, 10);
    if (!isNumber)
        return;
    deviceAddress = quint8(address & 0xFF);
    logLine(QStringLiteral("AddressSelectedCell"), QString::number(deviceAddress));
    ui->lineEdit_oneAddress->setText(QString::number(deviceAddress));
}

void Form::on_lineEdit_AddressRangeStart_textChanged(const QString &text)
{
    if (const std::optional<quint8> start = device::parseBusAddress(text)) {
        rangeStart = *start;
        logLine(QStringLiteral("rangeStart"), QString::number(rangeStart));
    }
}

void Form::on_lineEdit_AddressRangeEnd_textChanged(const QString &text)
{
    if (const std::optional<quint8> end = device::parseBusAddress(text)) {
        rangeEnd = *end;
        logLine(QStringLiteral("rangeEnd"), QString::number(rangeEnd));
    }
}

// "Адрес": the working address typed directly, for a device whose address is already known.
void Form::on_lineEdit_oneAddress_textChanged(const QString &text)
{
    if (const std::optional<quint8> address = device::parseBusAddress(text)) {
        deviceAddress = *address;
        logLine(QStringLiteral("deviceAddress"), QString::number(deviceAddress));
    }
}

// The scan's progress runs over the address range being probed.
void Form::slotProgressBar()
{
    ui->progressBar->setRange(rangeStart, qMax(rangeStart, rangeEnd));
    ui->progressBar->reset();
}

// ---- Device clock ----

void Form::on_pushButton_DateRead_clicked()
{
    if (!beginExchange())
        return;
    const QByteArray answer =
        readRegistersOrWarn(device::registers::kClock, device::registers::kClockCount, kClockReadPauseMs);
    if (answer.isEmpty())
        return;
    logLine(QStringLiteral("vectorPortRead.size"), QString::number(vectorPortRead.size()));
    logLine(QStringLiteral("vectorPortRead"), logHex(answer));
    logLine(QStringLiteral("vectorPortRead->at(0)"), logHex(vectorPortRead.first(), true));
    logLine(QStringLiteral("vectorPortRead->at(0).toHex()"), logHex(vectorPortRead.first()));
    const quint32 seconds = device::registerClockSeconds(answer);
    logLine(QStringLiteral("q"), QString::number(seconds));
    const QDateTime utc = device::registerClockUtc(seconds);
    logLine(QStringLiteral("UTC"), utc.toString(QLatin1String(kClockDisplayFormat)));
    showDeviceClock(utc.date(), utc.time());
    vectorPortRead.clear();
}

void Form::on_pushButton_DateWrite_clicked()
{
    if (ui->checkBox_SynchronizashionWithPC->isChecked()) {
        const QDateTime local = QDateTime::currentDateTime();
        showDeviceClock(local.date(), local.time());
    }
    if (ui->checkBox_SyncUTC->isChecked()) {
        const QDateTime utc = QDateTime::currentDateTimeUtc();
        showDeviceClock(utc.date(), utc.time());
    }
    if (!beginExchange())
        return;

    const device::MbusDateTimeEncoding e =
        device::encodeMbusDateTime(ui->dateTimeEdit->date(), ui->dateTimeEdit->time());
    logLine(QStringLiteral("QString::number(yearTwoDigits)"), QString::number(e.yearTwoDigits));
    logLine(QStringLiteral("QString::number(tmpYearByteFirstPart)"), QString::number(e.yearLowBits));
    logLine(QStringLiteral("QString::number(tmpYearByteSecondPart)"), QString::number(e.yearHighBits));
    logLine(QStringLiteral("QString::number(dayByteToWrite)"), QString::number(e.dayByte));
    logLine(QStringLiteral("QString::number(monthByteToWrite)"), QString::number(e.monthByte));
    logLine(QStringLiteral("QString::number(hourByteToWrite)"), QString::number(e.hourByte));

    if (writeExpectingAck(device::clockWriteFrame(deviceAddress, e), tr("Ошибка записи данных"))) {
        vectorPortRead.clear();
        reportDone(tr("Часы записаны: %1")
                       .arg(ui->dateTimeEdit->dateTime().toString(QLatin1String(kClockDisplayFormat))));
    }
}

// The edit is read when the clock is written.
void Form::on_dateTimeEdit_dateTimeChanged(const QDateTime &) {}

// The box is consulted when the clock is written.
void Form::on_checkBox_SynchronizashionWithPC_clicked() {}

// ---- Device parameters ----

void Form::on_pushButton_ReadCurrentNetAddress_clicked()
{
    if (!beginExchange())
        return;
    ui->lineEdit_CurrentNetAddress->clear();
    const QByteArray answer =
        readRegistersOrWarn(device::registers::kAddress, device::kOneRegister, kRegisterReadPauseMs);
    if (answer.isEmpty())
        return;
    const quint8 address = quint8(answer.at(device::kOneRegisterValueOffset));
    ui->lineEdit_CurrentNetAddress->setText(QString::number(address));
    logLine(QStringLiteral("vectorPortRead"), QString::number(vectorPortRead.size()));
    logLine(QStringLiteral("vectorPorRead.at(0)"), logHex(answer));
    logLine(QStringLiteral("vectorPortRead.at(0)[4]"), QString::number(address));
}

void Form::on_pushButton_WriteNewNetAddress_clicked()
{
    if (!beginExchange())
        return;
    if (ui->spinBox_NewNetAddress->cleanText().trimmed().isEmpty()) {
        showErrorBox(tr("Адрес не введён"), this);
        return;
    }
    newNetAddress = quint8(ui->spinBox_NewNetAddress->value());
    if (!writeExpectingAck(device::setAddressFrame(deviceAddress, newNetAddress), tr("Ошибка записи данных")))
        return;
    reportDone(tr("Сетевой адрес %1 записан").arg(newNetAddress));
    // The device now answers at its new address; the point-to-point address keeps reaching it.
    if (deviceAddress != device::kPointToPointAddress)
        ui->lineEdit_oneAddress->setText(QString::number(newNetAddress));
    vectorPortRead.clear();
}

void Form::on_spinBox_NewNetAddress_valueChanged(int value)
{
    newNetAddress = quint8(value);
    logLine(QStringLiteral("newNetAddress"), QString::number(newNetAddress));
}

void Form::on_pushButton_SerialNumberSet_clicked()
{
    if (!beginExchange())
        return;
    if (serialToWrite.size() != 4 || ui->spinBox_SerialNumberSet->cleanText().trimmed().isEmpty()) {
        showErrorBox(tr("Номер не введён"), this);
        return;
    }
    for (const QByteArray &frame :
         {device::identificationPreparationFrame(), device::identificationFrame(serialToWrite)}) {
        beginExchange();
        if (!writeExpectingAck(frame, tr("Ошибка записи")))
            return;
    }
    vectorPortRead.clear();
    reportDone(tr("Серийный номер %1 записан").arg(ui->spinBox_SerialNumberSet->cleanText().trimmed()));
}

void Form::on_spinBox_SerialNumberSet_valueChanged(const QString &text)
{
    bool isNumber = false;
    const quint32 number = text.trimmed().toUInt(&isNumber, 10);
    serialToWrite = isNumber ? device::identificationBytes(number) : QByteArray();
    const QString digits = QStringLiteral("%1").arg(number, 8, 10, QLatin1Char('0'));
    logLine(QStringLiteral("serialByteArray"), digits);
    logLine(QStringLiteral("serialByteArrayHex"), logHex(digits.toLatin1()));
    logLine(QStringLiteral("serialToWrite"), logHex(serialToWrite, true));
    logLine(QStringLiteral("serialToWriteHex"), logHex(serialToWrite));
    for (int i = 0; i < serialToWrite.size(); ++i)
        logLine(QStringLiteral("serialToWrite[%1]").arg(i), QString::number(quint8(serialToWrite.at(i)), 16));
}

void Form::on_pushButton_readRate_clicked()
{
    if (!beginExchange())
        return;
    const QByteArray answer =
        readRegistersOrWarn(device::registers::kSpeed, device::kOneRegister, kRegisterReadPauseMs);
    if (answer.isEmpty())
        return;
    const int index = quint8(answer.at(device::kOneRegisterValueOffset));
    const QString text = index < ui->comboBox_selectRate->count()
                             ? ui->comboBox_selectRate->itemText(index)
                             : ui->comboBox_selectRate->itemText(kSpeedListFallbackIndex);
    ui->comboBox_writeRate->setCurrentText(text);
    deviceSpeedRead = true;
    logLine(QStringLiteral("rateRead"), text);
}

void Form::on_pushButton_writeRate_clicked()
{
    if (!beginExchange())
        return;
    if (!writeExpectingAck(device::speedFrame(deviceAddress, speedCode), tr("Ошибка записи данных")))
        return;
    vectorPortRead.clear();
    // The device has switched: the port follows it.
    const int item = ui->comboBox_selectRate->findData(speedCode);
    if (item >= 0)
        ui->comboBox_selectRate->setCurrentIndex(item);
    showInformationBox(tr("Скорость обмена записана"), this);
}

// Hidden helper field with no role of its own: the speed is chosen in comboBox_writeRate.
void Form::on_lineEdit_writeRate_textChanged(const QString &) {}

void Form::on_comboBox_writeRate_currentIndexChanged(int index)
{
    speedCode = quint8(ui->comboBox_writeRate->itemData(index).toUInt());
}

// The speed code is kept by on_comboBox_writeRate_currentIndexChanged.
void Form::on_comboBox_writeRate_currentTextChanged(const QString &) {}

void Form::on_pushButton_writeReportDay_clicked()
{
    if (!beginExchange())
        return;
    const QString text = ui->lineEdit_reportDay->text();
    const std::optional<quint8> day = device::parseReportDay(text);
    if (!day) {
        showErrorBox(device::reportDayFaultText(text), this);
        return;
    }
    if (!exchangeWithCompletion(device::reportDayFrame(deviceAddress, *day))) {
        reportFailureAtAddress();
        showErrorBox(tr("Нет ответа"), this);
        return;
    }
    if (!firstAnswerIsAck()) {
        reportFailureAtAddress();
        showErrorBox(tr("Ошибка записи данных"), this);
        return;
    }
    vectorPortRead.clear();
    reportDone(tr("Отчетный день %1 записан").arg(*day));
}

// The day is read from the field when it is written.
void Form::on_lineEdit_reportDay_textChanged(const QString &) {}

// Hidden helper fields: the device has no server port setting.
void Form::on_lineEdit_NewNumberPortServer_textChanged(const QString &) {}

void Form::on_spinBox_NewNumberPortServer_valueChanged(int) {}

// The field only shows the version; the information read derives the channel count itself.
void Form::on_lineEdit_VersionPO_textChanged(const QString &) {}

// ---- Device information ----

void Form::on_pushButton_readZorvaConfig_clicked()
{
    if (!beginExchange())
        return;
    const bool written = sendForCompletion(device::informationRequest(deviceAddress));
    logLine(QStringLiteral("packetToPort.toHex()"), logHex(packet));
    if (!written) {
        showErrorBox(tr("Ошибка при записи пакета в порт"), this);
        return;
    }
    if (!collectCompletion()) {
        showErrorBox(tr("Нет ответа"), this);
        return;
    }
    const QByteArray answer = vectorPortRead.first();
    const device::InformationCheck check = device::checkInformationAnswer(answer);
    if (check.fault != device::InformationFault::WrongLength)
        logLine2(QString::number(check.computedSum));
    if (check.fault != device::InformationFault::None) {
        showErrorBox(device::informationFaultText(check), this);
        return;
    }

    const device::DeviceInformation info = device::decodeInformationAnswer(answer);
    ui->lineEdit_SerialNumber->setText(info.identification);
    ui->lineEdit_manufacturerZorva->setText(info.manufacturer);
    logLine(QStringLiteral("manufacturerSum"), QString::number(info.manufacturerCode));
    ui->lineEdit_versionZorva->setText(QString::number(info.mbusVersion));
    ui->lineEdit_VersionPO->setText(info.softwareVersion);
    numberOfChannels = device::channelCountForVersion(info.softwareVersion);
    ui->comboBox_ChannelNumber->clear();
    for (int channel = 1; channel <= numberOfChannels; ++channel)
        ui->comboBox_ChannelNumber->addItem(QString::number(channel));
    ui->lineEdit_numberChannels->setText(QString::number(numberOfChannels));
    enableChannelBoxes();
    ui->lineEdit_VersionPO->setText(info.softwareVersion);
    ui->lineEdit_codePO->setText(info.softwareCode);
    ui->lineEdit_assemblyNumber->setText(QString::number(info.buildNumber));
    ui->lineEdit_reportDay->setText(QString::number(info.reportDay));

    logLine(QStringLiteral("dateTimeUTC.toHex()"), logHex(info.dateTimeBytes));
    const device::MbusDateTimeFields &f = info.dateTime;
    logLine(QStringLiteral("QString::number(secondInt)"), QString::number(f.second));
    logLine(QStringLiteral("QString::number(minuteInt)"), QString::number(f.minute));
    logLine(QStringLiteral("QString::number(hourInt)"), QString::number(f.hour));
    logLine(QStringLiteral("QString::number(dayInt)"), QString::number(f.day));
    logLine(QStringLiteral("QString::number(monthInt)"), QString::number(f.month));
    logLine(QStringLiteral("QString::number(yearInt)"), QString::number(f.year));
    const QDate date = f.date();
    const QTime time = f.time();
    logLine(QStringLiteral("isSetDate ="), trueFalse(date.isValid()));
    logLine(QStringLiteral("isSetTim ="), trueFalse(time.isValid()));
    showDeviceClock(date, time);
    logLine(QStringLiteral("dateTimeReal.toString(dd.MM.yyyy hh:mm:ss)"),
            QDateTime(date, time, Qt::UTC).toString(QLatin1String(kClockDisplayFormat)));

    if (date != QDate::currentDate())
        showWarningBox(tr("Проверьте время и дату"), this);
    vectorPortRead.clear();
}

// ---- Service commands ----

void Form::on_pushButton_REQ_UD2_clicked()
{
    if (!beginExchange())
        return;
    const BusyIndicator busy(this, tr("REQ_UD2: ожидание телеграммы"));
    packet = device::reqUd2Frame();
    lineBytes.clear();
    connectReader();
    const bool written = writePacket();
    logLine2(QStringLiteral("packetToPort.toHex()"), logHex(packet));
    if (!written) {
        disconnectReader();
        showErrorBox(tr("Ошибка при записи пакета в порт."), this);
        return;
    }
    waitFixedOrForAnswer(kReqUd2CollectMs);
    disconnectReader();

    // The answer list holds trimmed chunks, which lose bytes when a chunk of a long telegram
    // holds 68 or E5 past its start; the telegram is shown and decoded as it came off the line.
    if (lineBytes.isEmpty()) {
        logLine2(tr("Нет ответа"));
        return;
    }
    logLine2(QStringLiteral("answer.toHex()"), logHex(lineBytes, true));
    logLine2(telegramToRussianText(lineBytes));
}

void Form::on_pushButton_sendCommand_clicked()
{
    if (!beginExchange())
        return;
    const QString text = ui->lineEdit_command->text();
    const device::RawCommand command = device::parseRawCommand(text);
    if (command.fault != device::RawCommandFault::None) {
        showErrorBox(device::rawCommandFaultText(command.fault, text), this);
        return;
    }
    logLine(QStringLiteral("QString::number(crcMod256, 16)"),
            QString::number(device::rawCommandChecksum(command.bytes), 16));
    const QByteArray frame = device::completeRawCommand(command.bytes);
    logLine2(QStringLiteral("packetToPort.toHex()"), logHex(frame));
    if (exchangeWithCompletion(frame))
        logLine2(QStringLiteral("answer.toHex()"), logHex(vectorPortRead.first(), true));
    else
        logLine2(tr("Нет ответа"));
}

// The typed command is read when it is sent.
void Form::on_lineEdit_command_textChanged(const QString &) {}

// "Число полубайт": how many hex digits the typed command has.
void Form::on_pushButton_numberHalfBytes_clicked()
{
    ui->lineEdit_numberHalfBytes->setText(
        QString::number(device::halfByteCount(ui->lineEdit_command->text())));
}
