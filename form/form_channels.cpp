#include "form/form.h"
#include "ui_form.h"

#include "common/file_dialogs.h"
#include "common/hex_dump.h"
#include "common/message_boxes.h"
#include "common/pause.h"
#include "common/vocabulary.h"
#include "device/channel_readings.h"
#include "device/identification.h"
#include "device/register_answer.h"
#include "device/register_map.h"
#include "form/busy_indicator.h"
#include "form/table_snapshot.h"
#include "link/frames.h"

#include <QCheckBox>
#include <QDir>
#include <QSignalBlocker>

namespace
{

constexpr int kReadingPauseMs = 400;
constexpr int kCounterWritePauseMs = 300;
const char *const kVifFile = "data/ZORVA VIF.txt";
const char *const kWeightFile = "data/ZORVA1.txt";
const char *const kOtherUnit = "Другие";
const char *const kChannelBox = "checkBoxChan";
const char *const kReadBox = "checkBoxPar";

// The channel table's columns.
enum ChannelColumn {
    ColumnNumber,
    ColumnAppointment,
    ColumnMedium,
    ColumnDeviceNumber,
    ColumnManufacturer,
    ColumnVersion,
    ColumnUnit,
    ColumnWeight,
    ColumnDuration,
    ColumnValue,
    ColumnCounter,
    ColumnErrors,
    ChannelColumnCount
};

const char *const kChannelHeaders[ChannelColumnCount] = {
    "№",        "Назначение", "Среда",        "Номер прибора",    "Производитель",
    "Версия",   "Единица",    "Вес импульса", "Длительность, мс", "Значение",
    "Импульсы", "Ошибки"};
constexpr int kChannelColumnWidths[ChannelColumnCount] = {35, 170, 150, 110, 110, 70,
                                                          80, 110, 120, 100, 100, 160};

// The readings table of the channel page.
constexpr int kReadingColumnWidths[] = {25, 100, 100};
constexpr int kReadingRowHeight = 15;
constexpr int kReadingRowsSized = 16;

const int kCommonDurationsMs[] = {10, 20, 50, 100, 200, 500, 1000};

// Tables tall enough to show several rows without scrolling, header texts whole.
constexpr int kChannelTableMinHeight = 230;
constexpr int kReadingsTableMinHeight = 200;
constexpr int kHeaderPaddingPx = 20;

// Room a combo box needs beside its text: frame, padding and the arrow.
constexpr int kComboChromePx = 40;

bool isElectricityUnit(const QString &unit)
{
    return unit == QStringLiteral("Втч") || unit == QStringLiteral("кВтч") ||
           unit == QStringLiteral("ВАРч") || unit == QStringLiteral("кВАРч");
}

// The weight as the engineer types it: a pulse constant for an electricity channel in an energy unit.
QString typedWeightText(float weight, bool electricity, const QString &unit)
{
    float typed = weight;
    if (electricity && weight != 0) {
        if (unit == QStringLiteral("Втч") || unit == QStringLiteral("ВАРч"))
            typed = 1000 / weight;
        else if (unit == QStringLiteral("кВтч") || unit == QStringLiteral("кВАРч"))
            typed = 1 / weight;
    }
    return QString::number(double(typed), 'g', 6);
}

} // namespace

// ---- Unit files and value lists ----

void Form::loadChannelDataFiles()
{
    const QDir root(profile ? profile->appFullPath() : QString());
    QByteArray contents;
    QString error;
    device::DataFile<device::UnitEntry> unitFile;
    if (device::readDataFile(root.filePath(QLatin1String(kVifFile)), &contents, &error))
        unitFile = device::parseUnitFile(contents);
    else
        unitFile.error = error;
    units = unitFile.error.isEmpty() ? unitFile.entries : device::builtInUnits();
    if (!unitFile.error.isEmpty())
        logLine(tr("Список единиц: %1 (%2); взят встроенный список")
                    .arg(QLatin1String(kVifFile), unitFile.error));

    device::DataFile<device::WeightEntry> weightFile;
    if (device::readDataFile(root.filePath(QLatin1String(kWeightFile)), &contents, &error))
        weightFile = device::parseWeightFile(contents);
    else
        weightFile.error = error;
    weightLists = weightFile.entries;
    if (!weightFile.error.isEmpty())
        logLine(tr("Веса импульса: %1 (%2); взят встроенный список")
                    .arg(QLatin1String(kWeightFile), weightFile.error));

    fillUnitList();
    {
        const QSignalBlocker blocker(ui->comboBox_Duration);
        ui->comboBox_Duration->clear();
        for (int duration : kCommonDurationsMs)
            ui->comboBox_Duration->addItem(tr("%1 мс").arg(duration), duration);
        ui->comboBox_Duration->setCurrentIndex(-1);
    }
    ui->spinBox_Duration->setRange(0, 0xFFFF);
    ui->lineEdit_WaitBeyondWriting_chanel->setEnabled(false);
    ui->toolButton_writeNull->setEnabled(false);

    QTableWidget *table = ui->tableWidget_Channels;
    table->setColumnCount(ChannelColumnCount);
    for (int column = 0; column < ChannelColumnCount; ++column) {
        const QString title = tr(kChannelHeaders[column]);
        table->setHorizontalHeaderItem(column, new QTableWidgetItem(title));
        table->setColumnWidth(column, qMax(kChannelColumnWidths[column],
                                           table->fontMetrics().horizontalAdvance(title) + kHeaderPaddingPx));
    }
    table->setMinimumHeight(kChannelTableMinHeight);
    // The fields keep together at the top of their group, however tall the page makes it.
    ui->gridLayout_groupBox_Parameters->setRowStretch(ui->gridLayout_groupBox_Parameters->rowCount(), 1);
    ui->tableWidget_ChannelIndications->setMinimumHeight(kReadingsTableMinHeight);
    ui->textEdit->setMinimumHeight(kReadingsTableMinHeight);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->verticalHeader()->hide();
    enableChannelBoxes();
    for (QComboBox *list : {ui->comboBox_ChannelNumber, ui->comboBox_Appointment, ui->comboBox_DeviceType,
                            ui->comboBox_VIF, ui->comboBox_Duration})
        fitToItems(list);
    ui->lineEdit_DeviceNumber->setMinimumWidth(
        ui->lineEdit_DeviceNumber->fontMetrics().horizontalAdvance(QStringLiteral("888888888")) + 12);

    // The controls start with texts of their own (the .ui's device number among them): the record
    // takes them now, as it takes every later change.
    on_comboBox_ChannelNumber_currentIndexChanged(ui->comboBox_ChannelNumber->currentIndex());
    on_comboBox_Appointment_currentIndexChanged(ui->comboBox_Appointment->currentIndex());
    on_comboBox_DeviceType_currentIndexChanged(ui->comboBox_DeviceType->currentIndex());
    on_lineEdit_DeviceNumber_textChanged(ui->lineEdit_DeviceNumber->text());
    on_spinBox_Version_valueChanged(ui->spinBox_Version->value());
    on_lineEdit_Manufacturer_textChanged(ui->lineEdit_Manufacturer->text());
    on_spinBox_Duration_valueChanged(ui->spinBox_Duration->value());
    on_lineEdit_PresetChannel_textChanged(ui->lineEdit_PresetChannel->text());
}

void Form::fillUnitList()
{
    QComboBox *list = ui->comboBox_VIF;
    {
        const QSignalBlocker blocker(list);
        list->clear();
        for (const device::UnitEntry &unit : units)
            list->addItem(unit.text, unit.vif);
        list->addItem(tr(kOtherUnit));
        list->setCurrentIndex(0);
    }
    on_comboBox_VIF_currentIndexChanged(list->currentIndex());
}

// A list shows its longest item whole ("Импульсный аварийный вход", "1000 имп/кВтч").
void Form::fitToItems(QComboBox *list)
{
    int longest = 0;
    for (int i = 0; i < list->count(); ++i)
        longest = qMax(longest, list->fontMetrics().horizontalAdvance(list->itemText(i)));
    list->setMinimumWidth(longest + kComboChromePx);
}

void Form::fillWeightList()
{
    const QString unit = ui->comboBox_VIF->currentText();
    QStringList weights = device::builtInWeights();
    for (const device::WeightEntry &entry : weightLists) {
        if (entry.unit == unit)
            weights = entry.weights;
    }
    const QSignalBlocker blocker(ui->comboBox_Weight);
    ui->comboBox_Weight->clear();
    ui->comboBox_Weight->addItems(weights);
    ui->comboBox_Weight->setCurrentIndex(-1);
    fitToItems(ui->comboBox_Weight);
}

// The weight depends on its text, the medium and the unit: it is worked out again when any changes.
void Form::storeWeight()
{
    const bool electricity = channelRecord.deviceType == device::kMediumElectricity;
    const std::optional<float> weight =
        device::pulseWeight(ui->lineEdit_Weight->text(), electricity, ui->comboBox_VIF->currentText());
    channelRecord.weight = weight.value_or(0);
    logLine(QStringLiteral("weightFromLineEdit"), ui->lineEdit_Weight->text());
    logLine(QStringLiteral("weightPulseFloat"), QString::number(double(channelRecord.weight)));
}

void Form::resultLine(const QString &text)
{
    ui->textEdit->append(text);
}

QList<int> Form::tickedChannels(const QString &prefix) const
{
    QList<int> channels;
    for (int channel = device::kFirstChannel; channel <= device::kLastChannel; ++channel) {
        const auto *box = findChild<QCheckBox *>(prefix + QString::number(channel));
        if (box && box->isChecked() && box->isEnabled())
            channels << channel;
    }
    return channels;
}

// Only the device's own channels can be chosen.
void Form::enableChannelBoxes()
{
    for (int channel = device::kFirstChannel; channel <= device::kLastChannel; ++channel) {
        for (const char *prefix : {kChannelBox, kReadBox}) {
            auto *box = findChild<QCheckBox *>(QLatin1String(prefix) + QString::number(channel));
            if (!box)
                continue;
            box->setEnabled(channel <= numberOfChannels);
            if (channel > numberOfChannels)
                box->setChecked(false);
        }
    }
}

// ---- The current-channel record: each control stores its field at once ----

void Form::on_comboBox_ChannelNumber_currentIndexChanged(int)
{
    channelRecord.channelNumber = qint16(ui->comboBox_ChannelNumber->currentText().toInt());
    logLine(QStringLiteral("channelNumberFromLineEdit"), QString::number(channelRecord.channelNumber));
}

void Form::on_comboBox_ChannelNumber_activated(int)
{
    selectChannel(channelRecord.channelNumber);
}

void Form::on_comboBox_Appointment_currentIndexChanged(int index)
{
    channelRecord.appointment = quint16(ui->comboBox_Appointment->itemData(index).toUInt());
    logLine(QStringLiteral("appointment"), QString::number(channelRecord.appointment));
    logLine(QStringLiteral("alignHex"), QString::number(channelRecord.appointment, 16));
}

void Form::on_comboBox_DeviceType_currentIndexChanged(int index)
{
    channelRecord.deviceType = quint16(ui->comboBox_DeviceType->itemData(index).toUInt());
    storeWeight();
}

void Form::on_lineEdit_DeviceNumber_textChanged(const QString &text)
{
    channelRecord.deviceNumberBytes = device::deviceNumberBcd(text);
    channelRecord.deviceNumberValue = text.trimmed().toInt();
    logLine(QStringLiteral("deviceNumberFromLineEditArray"), logHex(channelRecord.deviceNumberBytes));
    const QSignalBlocker blocker(ui->spinBox_deviceNumber);
    ui->spinBox_deviceNumber->setValue(channelRecord.deviceNumberValue);
}

void Form::on_lineEdit_Version_textChanged(const QString &text)
{
    bool isNumber = false;
    const int version = text.trimmed().toInt(&isNumber, 10);
    if (isNumber)
        ui->spinBox_Version->setValue(version);
}

void Form::on_spinBox_Version_valueChanged(int value)
{
    channelRecord.version = quint16(value);
    logLine(QStringLiteral("versionNumberFromLineEdit"), QString::number(channelRecord.version));
    const QSignalBlocker blocker(ui->lineEdit_Version);
    ui->lineEdit_Version->setText(QString::number(value));
}

void Form::on_spinBox_deviceNumber_valueChanged(int value)
{
    ui->lineEdit_DeviceNumber->setText(QString::number(value));
}

void Form::on_lineEdit_Manufacturer_textChanged(const QString &text)
{
    channelRecord.manufacturerCode = device::packManufacturer(text);
    logLine(QStringLiteral("manufacturerSum"), QString::number(channelRecord.manufacturerCode));
    const QString letters = device::unpackManufacturer(channelRecord.manufacturerCode);
    for (int i = 0; i < letters.size(); ++i)
        logLine(QStringLiteral("symbol%1").arg(i + 1), letters.at(i));
}

void Form::on_comboBox_VIF_currentIndexChanged(int index)
{
    const bool other = index == ui->comboBox_VIF->count() - 1;
    ui->lineEdit_VIF->setEnabled(other);
    if (other)
        channelRecord.vif = device::typedVif(ui->lineEdit_VIF->text()).value_or(0);
    else
        channelRecord.vif = quint16(ui->comboBox_VIF->itemData(index).toUInt());
    logLine(QStringLiteral("VIFToInt"), QString::number(channelRecord.vif, 16));
    fillWeightList();
    storeWeight();
}

void Form::on_lineEdit_VIF_textChanged(const QString &text)
{
    if (ui->comboBox_VIF->currentIndex() != ui->comboBox_VIF->count() - 1)
        return;
    channelRecord.vif = device::typedVif(text).value_or(0);
    logLine(QStringLiteral("VIFToInt"), QString::number(channelRecord.vif, 16));
}

void Form::on_lineEdit_Weight_textChanged(const QString &)
{
    storeWeight();
}

void Form::on_comboBox_Weight_currentIndexChanged(int index)
{
    if (index >= 0)
        ui->lineEdit_Weight->setText(device::weightNumberText(ui->comboBox_Weight->itemText(index)));
}

void Form::on_lineEdit_Duration_textChanged(const QString &text)
{
    if (const std::optional<quint16> duration = device::typedDuration(text))
        ui->spinBox_Duration->setValue(*duration);
}

void Form::on_spinBox_Duration_valueChanged(int value)
{
    channelRecord.durationMs = quint16(value);
    logLine(QStringLiteral("durationFromLineEdit"), QString::number(value));
    logLine(QStringLiteral("tauPulseInt"), QString::number(channelRecord.durationMs));
    const QSignalBlocker blocker(ui->lineEdit_Duration);
    ui->lineEdit_Duration->setText(QString::number(value));
}

void Form::on_comboBox_Duration_currentIndexChanged(int index)
{
    if (index >= 0)
        ui->spinBox_Duration->setValue(ui->comboBox_Duration->itemData(index).toInt());
}

void Form::on_lineEdit_PresetChannel_textChanged(const QString &text)
{
    channelRecord.presetValue = device::typedFloat(text).value_or(0);
    logLine(QStringLiteral("presetValue"), QString::number(double(channelRecord.presetValue)));
}

// From the first edit on, the channel variant of the completion wait takes its first-byte pause from
// this field.
void Form::on_lineEdit_WaitBeyondWriting_chanel_textChanged(const QString &)
{
    waitDelayEdited = true;
}

// Ticked, the identification record takes number, manufacturer, version and medium from the controls;
// unticked, from the device (the manufacturer only with its own box).
void Form::on_checkBox_Identificator_clicked()
{
    logLine(QStringLiteral("checkBox_Identificator"), ui->checkBox_Identificator->isChecked() ? "1" : "0");
}

void Form::on_checkBox_Identificator_clicked(bool) {}

// The developer settings (first-byte delay, zeroing the counters) stay locked until asked for.
void Form::on_checkBox_Developer_toggled(bool checked)
{
    ui->lineEdit_WaitBeyondWriting_chanel->setEnabled(checked);
    ui->toolButton_writeNull->setEnabled(checked);
}

// ---- Configuration and preset writes ----

bool Form::channelWriteInputsOrWarn(const device::ChannelWriteChoice &choice)
{
    if (!beginExchange())
        return false;
    if (ui->lineEdit_DeviceNumber->text().isEmpty()) {
        showErrorBox(tr("Не введён номер прибора"), this);
        return false;
    }
    if (ui->lineEdit_Manufacturer->text().isEmpty()) {
        showErrorBox(tr("Не введён производитель"), this);
        return false;
    }
    if (ui->lineEdit_Weight->text().isEmpty()) {
        showErrorBox(tr("Не введён вес"), this);
        return false;
    }
    if (numberOfChannels == 0) {
        showErrorBox(tr("Количество каналов прибора не известно: выполните «Чтение конфигурации ZORVA»"),
                     this);
        return false;
    }
    const bool electricity = channelRecord.deviceType == device::kMediumElectricity;
    if (choice.weight || (electricity && choice.unit)) {
        const std::optional<float> typed = device::typedFloat(ui->lineEdit_Weight->text());
        if (!typed || (electricity && *typed == 0)) {
            showErrorBox(electricity ? tr("Постоянная счетчика должна быть числом, отличным от нуля")
                                     : tr("Вес импульса должен быть числом"),
                         this);
            return false;
        }
    }
    const bool otherUnit = ui->comboBox_VIF->currentIndex() == ui->comboBox_VIF->count() - 1;
    if (choice.unit && otherUnit && !device::typedVif(ui->lineEdit_VIF->text())) {
        showErrorBox(
            tr("VIF должен быть одним или двумя байтами в шестнадцатеричном виде, например 13 или FD3A"),
            this);
        return false;
    }
    if (choice.duration && !device::typedDuration(ui->lineEdit_Duration->text())) {
        showErrorBox(tr("Длительность импульса должна быть от 0 до 65535 мс"), this);
        return false;
    }
    return true;
}

QByteArray Form::fetchChannelOrWarn(int channel)
{
    beginExchange();
    if (!exchangeWithCompletion(device::channelFetchRequest(deviceAddress, channel), Wait::Channel)) {
        showErrorBox(tr("Ошибка чтения данных"), this);
        return {};
    }
    return vectorPortRead.first();
}

std::optional<device::ChannelConfiguration> Form::readChannelOrWarn(int channel)
{
    const QByteArray reply = fetchChannelOrWarn(channel);
    if (reply.isEmpty())
        return std::nullopt;
    const std::optional<device::ChannelConfiguration> configuration = device::decodeChannelReply(reply);
    if (!configuration)
        showErrorBox(tr("Ошибка чтения данных"), this);
    return configuration;
}

bool Form::chosenChannelOrWarn()
{
    const int channel = channelRecord.channelNumber;
    if (channel >= device::kFirstChannel && channel <= numberOfChannels)
        return true;
    showErrorBox(tr("Выберите канал прибора: выполните «Чтение конфигурации ZORVA»"), this);
    return false;
}

void Form::writeChannelConfigurations(const QList<int> &channels, const device::ChannelWriteChoice &choice)
{
    for (int channel : channels) {
        const QByteArray reply = fetchChannelOrWarn(channel);
        if (reply.isEmpty())
            return;
        const std::optional<device::FetchReplyFields> fields = device::fetchReplyFields(reply);
        if (!fields) {
            showErrorBox(tr("Ошибка чтения данных"), this);
            return;
        }
        device::ChannelRecord record = channelRecord;
        record.channelNumber = qint16(channel);
        const device::ConfigurationFrame write =
            device::configurationFrame(deviceAddress, record, choice, *fields);
        for (const auto &[label, length] : write.lengthTrace)
            logLine(label, QString::number(length));
        beginExchange();
        exchangeWithCompletion(write.frame, Wait::Channel);
        if (!firstAnswerIsAck()) {
            logLine(tr("Ошибка записи. Канал"), QString::number(channel));
            resultLine(tr("Канал %1: ошибка записи").arg(channel));
            reportFailureAtAddress();
            showErrorBox(tr("Ошибка записи"), this);
            return;
        }
        logLine(tr("Запись завершена. Канал"), QString::number(channel));
        reportDone(tr("Канал %1: конфигурация записана").arg(channel));
    }
}

void Form::on_pushButton_WriteOneReg_clicked()
{
    device::ChannelWriteChoice choice;
    choice.appointment = ui->checkBox_Appointment->isChecked();
    choice.identification = ui->checkBox_Identificator->isChecked();
    choice.unit = ui->checkBox_VIF->isChecked();
    choice.weight = ui->checkBox_Weight->isChecked();
    choice.duration = ui->checkBox_Duration->isChecked();
    choice.manufacturer = ui->checkBox_Manufacturer->isChecked();
    if (!channelWriteInputsOrWarn(choice))
        return;
    // An electricity channel's weight is a pulse constant of its unit: a new unit needs its weight.
    if (channelRecord.deviceType == device::kMediumElectricity && choice.unit) {
        ui->checkBox_Weight->setChecked(true);
        choice.weight = true;
    }
    const QList<int> channels = tickedChannels(QLatin1String(kChannelBox));
    if (!choice.any() || channels.isEmpty())
        return;
    writeChannelConfigurations(channels, choice);
}

void Form::on_pushButton_writeChannelsConfig_clicked()
{
    on_pushButton_WriteOneReg_clicked();
}

// "Записать прибор": the meter identity alone (number, manufacturer, version, medium) of the channel
// chosen in the list, taken from the controls.
void Form::on_pushButton_WriteDevice_clicked()
{
    device::ChannelWriteChoice identity;
    identity.identification = true;
    if (!channelWriteInputsOrWarn(identity))
        return;
    writeChannelConfigurations({channelRecord.channelNumber}, identity);
}

void Form::on_pushButton_WritePresetChannel_clicked()
{
    if (!beginExchange())
        return;
    if (!device::typedFloat(ui->lineEdit_PresetChannel->text())) {
        showErrorBox(tr("Начальное значение должно быть числом"), this);
        return;
    }
    if (!chosenChannelOrWarn())
        return;
    const int channel = channelRecord.channelNumber;
    if (!writeExpectingAck(device::presetFrame(deviceAddress, channelRecord), tr("Ошибка записи"),
                           Wait::Channel)) {
        resultLine(tr("Канал %1: начальное значение не записано").arg(channel));
        return;
    }
    reportDone(
        tr("Канал %1: начальное значение %2 записано").arg(channel).arg(double(channelRecord.presetValue)));
}

// ---- Reading channels back ----

void Form::showChannelInEditors(const device::ChannelConfiguration &c)
{
    ui->lineEdit_DeviceNumber->setText(device::identificationText(c.deviceNumber));
    ui->lineEdit_Manufacturer->setText(device::unpackManufacturer(c.manufacturer));
    ui->spinBox_Version->setValue(c.version);
    const int medium = ui->comboBox_DeviceType->findData(c.medium);
    if (medium >= 0)
        ui->comboBox_DeviceType->setCurrentIndex(medium);

    const QString unit = device::unitTextForWire(units, c.unitVif);
    if (unit.isEmpty()) {
        ui->comboBox_VIF->setCurrentIndex(ui->comboBox_VIF->count() - 1);
        // Typed as the write needs it: the value whose low byte goes first.
        QByteArray spelling = c.unitVif;
        std::reverse(spelling.begin(), spelling.end());
        ui->lineEdit_VIF->setText(QString::fromLatin1(spelling.toHex()).toUpper());
    } else {
        ui->comboBox_VIF->setCurrentText(unit);
    }
    if (c.weight) {
        const bool electricity = c.medium == device::kMediumElectricity && isElectricityUnit(unit);
        ui->lineEdit_Weight->setText(typedWeightText(*c.weight, electricity, unit));
    }
    if (c.durationMs)
        ui->spinBox_Duration->setValue(*c.durationMs);
    if (c.appointment) {
        const int appointment = ui->comboBox_Appointment->findData(*c.appointment);
        if (appointment >= 0)
            ui->comboBox_Appointment->setCurrentIndex(appointment);
    }
    ui->lineEdit_value->setText(QString::number(double(c.value), 'g', 6));
}

void Form::on_pushButton_ReadOneReg_clicked()
{
    if (!beginExchange())
        return;
    if (!chosenChannelOrWarn())
        return;
    const int channel = channelRecord.channelNumber;
    const std::optional<device::ChannelConfiguration> configuration = readChannelOrWarn(channel);
    if (!configuration)
        return;
    showChannelInEditors(*configuration);
    resultLine(tr("Канал %1 прочитан").arg(channel));
}

void Form::fillChannelRow(int row, int channel, const device::ChannelConfiguration &c)
{
    const QString unit = device::unitTextForWire(units, c.unitVif);
    const QString cells[ChannelColumnCount] = {
        QString::number(channel),
        c.appointment ? device::appointmentTableText(*c.appointment) : QString(),
        mediumName(c.medium),
        device::identificationText(c.deviceNumber),
        device::unpackManufacturer(c.manufacturer),
        QString::number(c.version),
        unit.isEmpty() ? QStringLiteral("VIF ") + hexDump(c.unitVif) : unit,
        c.weight ? QString::number(double(*c.weight), 'g', 6) : QString(),
        c.durationMs ? QString::number(*c.durationMs) : QString(),
        QString::number(double(c.value), 'g', 6),
        c.counter ? QString::number(*c.counter) : QString(),
        c.errorFlags ? device::errorFlagsText(*c.errorFlags) : QString()};
    for (int column = 0; column < ChannelColumnCount; ++column)
        ui->tableWidget_Channels->setItem(row, column, new QTableWidgetItem(cells[column]));
}

void Form::readChannelsIntoTable()
{
    if (!beginExchange())
        return;
    QList<int> channels = tickedChannels(QLatin1String(kReadBox));
    if (channels.isEmpty()) {
        for (int channel = device::kFirstChannel; channel <= numberOfChannels; ++channel)
            channels << channel;
    }
    on_pushButton_clearTableWidget1_clicked();
    const BusyIndicator busy(this, tr("Чтение каналов"));
    QTableWidget *table = ui->tableWidget_Channels;
    for (int k = 0; k < channels.size(); ++k) {
        const int channel = channels.at(k);
        ui->label_statusBar->setText(tr("Чтение каналов: %1 из %2").arg(k + 1).arg(channels.size()));
        const std::optional<device::ChannelConfiguration> configuration = readChannelOrWarn(channel);
        if (!configuration)
            return;
        channelTable.insert(channel, *configuration);
        table->insertRow(table->rowCount());
        fillChannelRow(table->rowCount() - 1, channel, *configuration);
    }
    table->resizeColumnsToContents();
    ui->label_statusBar->clear();
    resultLine(tr("Прочитано каналов: %1").arg(channels.size()));
}

void Form::on_pushButton_ReadChannnelsToTable_clicked()
{
    readChannelsIntoTable();
}

void Form::on_pushButton_readChannelsConfig_clicked()
{
    readChannelsIntoTable();
}

// ---- Channel readings and counters ----

void Form::on_pushButton_ReadChannelIndicationsToTable_clicked()
{
    ui->label_statusBar->setText(tr("Чтение показаний каналов"));
    QTableWidget *table = ui->tableWidget_ChannelIndications;
    table->clear();
    table->setColumnCount(3);
    table->setRowCount(numberOfChannels);
    table->setHorizontalHeaderLabels({tr("№"), tr("Импульсы"), tr("Значение")});
    for (int column = 0; column < 3; ++column)
        table->setColumnWidth(column, kReadingColumnWidths[column]);
    table->verticalHeader()->hide();
    for (int row = 0; row < qMin(kReadingRowsSized, table->rowCount()); ++row)
        table->setRowHeight(row, kReadingRowHeight);
    if (!beginExchange())
        return;
    const BusyIndicator busy(this, tr("Чтение показаний каналов"));

    for (int k = 1; k <= numberOfChannels; ++k) {
        const QByteArray answer = readRegistersOrWarn(device::registers::counter(k), 2, kReadingPauseMs);
        if (answer.isEmpty())
            return;
        const QByteArray counter = device::readingBytes(answer);
        logLine(QStringLiteral("indicationChannel"), logHex(counter));
        table->setItem(k - 1, 0, new QTableWidgetItem(QString::number(k)));
        table->setItem(k - 1, 1, new QTableWidgetItem(QString::number(device::readingNumber(counter))));
        logLine(QStringLiteral("vectorPortRead"), logHex(answer));
        vectorPortRead.clear();
    }
    for (int k = 1; k <= numberOfChannels; ++k) {
        const QByteArray answer = readRegistersOrWarn(device::registers::value(k), 2, kReadingPauseMs);
        if (answer.isEmpty())
            return;
        const QByteArray values = device::readingBytes(answer);
        const float pulseCalculated = device::readingFloat(values);
        table->setItem(k - 1, 2, new QTableWidgetItem(QString::number(double(pulseCalculated), 'g', 6)));
        logLine(QStringLiteral("values"), logHex(values));
        logLine(QStringLiteral("values.toFloat"), QString::number(device::readingNumber(values), 16));
        logLine(QStringLiteral("pulseCalculated"), QString::number(double(pulseCalculated)));
        logLine(QStringLiteral("QString::number(pulseCalculated)"), QString::number(double(pulseCalculated)));
        vectorPortRead.clear();
    }
    ui->label_statusBar->clear();
}

bool Form::writeCounterOrWarn(int channel, quint32 counter)
{
    beginExchange();
    const quint16 reg = device::registers::channelSettings(channel);
    const QByteArray answer = writeRegisters(reg, device::registers::kPerChannel,
                                             device::counterWriteData(counter), kCounterWritePauseMs);
    const device::RegisterWriteCheck check =
        device::checkRegisterWriteAnswer(answer, reg, device::registers::kPerChannel);
    switch (check.fault) {
    case device::RegisterAnswerFault::None:
        reportDone(tr("Канал %1: счетчик импульсов = %2").arg(channel).arg(counter));
        return true;
    case device::RegisterAnswerFault::Exception:
        showErrorBox(tr("Ошибка записи данных. Код ошибки:") + QLatin1Char(' ') +
                         QString::number(check.exceptionCode, 16),
                     this);
        break;
    case device::RegisterAnswerFault::NoAnswer:
    case device::RegisterAnswerFault::NotAnAnswer:
        showErrorBox(tr("Ошибка записи данных"), this);
        break;
    }
    resultLine(tr("Канал %1: счетчик не записан").arg(channel));
    return false;
}

void Form::on_toolButton_writeNull_clicked()
{
    if (!beginExchange())
        return;
    const QList<int> channels = tickedChannels(QLatin1String(kChannelBox));
    if (channels.isEmpty()) {
        showErrorBox(tr("Не выбраны каналы для обнуления"), this);
        return;
    }
    QStringList numbers;
    for (int channel : channels)
        numbers << QString::number(channel);
    if (showConfirmationBox(tr("Обнулить показания каналов %1?").arg(numbers.join(QStringLiteral(", "))),
                            this) != 0)
        return;
    for (int channel : channels) {
        if (!writeCounterOrWarn(channel, 0))
            return;
    }
    on_pushButton_ReadChannelIndicationsToTable_clicked();
}

void Form::on_pushButton_PulseWrite_clicked()
{
    if (!beginExchange())
        return;
    bool isNumber = false;
    const qulonglong counter = ui->lineEdit_value->text().trimmed().toULongLong(&isNumber, 10);
    if (!isNumber || counter > 0xFFFFFFFFull) {
        showErrorBox(tr("Число импульсов должно быть целым числом от 0 до 4294967295"), this);
        return;
    }
    if (!chosenChannelOrWarn())
        return;
    const int channel = channelRecord.channelNumber;
    if (writeCounterOrWarn(channel, quint32(counter)))
        on_pushButton_ReadChannelIndicationsToTable_clicked();
}

// ---- Channel table save ----

void Form::on_pushButton_SaveToFile_clicked()
{
    const QTableWidget *table = ui->tableWidget_Channels;
    if (table->rowCount() == 0) {
        showTitledBox(BoxKind::Warning, tr("Ошибка"), tr("Таблица не найдена или пустая!"), this);
        return;
    }
    QString name = chooseSaveFileName(this, tr("Сохранить как CSV"),
                                      QDir::homePath() + QLatin1Char('/') +
                                          ui->lineEdit_SerialNumber->text() + QStringLiteral("_channels.csv"),
                                      tr("CSV Files (*.csv)"));
    if (name.isEmpty())
        return;
    if (!name.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive))
        name += QStringLiteral(".csv");
    QString error;
    if (!writeFileReplacing(name, channelTableCsv(snapshotOf(*table)), &error)) {
        logLine(QStringLiteral("file.errorString()"), error);
        showTitledBox(BoxKind::Error, tr("Ошибка"), tr("Не удалось создать файл!"), this);
        return;
    }
    showTitledBox(BoxKind::Information, tr("Успех"), tr("Файл сохранен: ") + name, this);
}

// ---- The channel table ----

void Form::selectChannel(int channel)
{
    const int index = ui->comboBox_ChannelNumber->findText(QString::number(channel));
    if (index >= 0)
        ui->comboBox_ChannelNumber->setCurrentIndex(index);
    QTableWidget *table = ui->tableWidget_Channels;
    for (int row = 0; row < table->rowCount(); ++row) {
        const QTableWidgetItem *number = table->item(row, ColumnNumber);
        if (number && number->text().toInt() == channel && table->currentRow() != row) {
            table->setCurrentCell(row, ColumnNumber);
            return;
        }
    }
}

void Form::on_tableWidget_Channels_currentCellChanged(int currentRow, int, int previousRow, int)
{
    if (currentRow < 0 || currentRow == previousRow)
        return;
    const QTableWidgetItem *number = ui->tableWidget_Channels->item(currentRow, ColumnNumber);
    if (!number)
        return;
    const int channel = number->text().toInt();
    selectChannel(channel);
    if (channelTable.contains(channel))
        showChannelInEditors(channelTable.value(channel));
}

// A click, a press or Enter on a row chooses it; currentCellChanged does the work once.
void Form::on_tableWidget_Channels_cellClicked(int, int) {}

void Form::on_tableWidget_Channels_cellDoubleClicked(int, int) {}

void Form::on_tableWidget_Channels_cellEntered(int, int) {}

// The table is read-only: cells change only when a read fills them.
void Form::on_tableWidget_Channels_cellChanged(int, int) {}

void Form::on_tableWidget_Channels_cellPressed(int, int) {}

void Form::on_tableWidget_Channels_cellActivated(int, int) {}

void Form::on_toolButton_nextChan_clicked()
{
    QComboBox *channels = ui->comboBox_ChannelNumber;
    if (channels->currentIndex() + 1 < channels->count()) {
        channels->setCurrentIndex(channels->currentIndex() + 1);
        selectChannel(channelRecord.channelNumber);
    }
}

void Form::on_toolButton_previousChan_clicked()
{
    QComboBox *channels = ui->comboBox_ChannelNumber;
    if (channels->currentIndex() > 0) {
        channels->setCurrentIndex(channels->currentIndex() - 1);
        selectChannel(channelRecord.channelNumber);
    }
}

void Form::on_pushButton_clearResult_clicked()
{
    ui->textEdit->clear();
}

void Form::on_pushButton_clearTableWidget1_clicked()
{
    ui->tableWidget_Channels->setRowCount(0);
    channelTable.clear();
}

// The channels ticked in the first row are the ones written and zeroed; "Выбрать все каналы" follows them.
void Form::channelSelectionChanged()
{
    const QList<int> channels = tickedChannels(QLatin1String(kChannelBox));
    QStringList numbers;
    for (int channel : channels)
        numbers << QString::number(channel);
    logLine(QStringLiteral("vectorIsChUseITmp"), numbers.join(QLatin1Char(' ')));
    const QSignalBlocker blocker(ui->checkBox_2);
    ui->checkBox_2->setChecked(numberOfChannels > 0 && channels.size() == numberOfChannels);
}

// The channels ticked in the second row are the ones "Прочитать каналы" reads; none ticked reads all.
void Form::readSelectionChanged()
{
    QStringList numbers;
    for (int channel : tickedChannels(QLatin1String(kReadBox)))
        numbers << QString::number(channel);
    logLine(QStringLiteral("channelsToRead"), numbers.isEmpty() ? tr("все") : numbers.join(QLatin1Char(' ')));
}

void Form::slotCheckBoxChan1(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan2(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan3(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan4(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan5(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan6(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan7(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan8(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan9(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan10(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan11(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan12(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan13(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan14(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan15(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxChan16(int)
{
    channelSelectionChanged();
}

void Form::slotCheckBoxPar1(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar2(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar3(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar4(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar5(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar6(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar7(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar8(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar9(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar10(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar11(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar12(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar13(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar14(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar15(int)
{
    readSelectionChanged();
}

void Form::slotCheckBoxPar16(int)
{
    readSelectionChanged();
}

// "Выбрать все каналы": every channel of the device, or none.
void Form::on_checkBox_2_clicked()
{
    const bool all = ui->checkBox_2->isChecked();
    for (int channel = device::kFirstChannel; channel <= numberOfChannels; ++channel) {
        if (auto *box = findChild<QCheckBox *>(QLatin1String(kChannelBox) + QString::number(channel)))
            box->setChecked(all);
    }
}

// "Выбрать все": every record of the configuration write, or none.
void Form::on_checkBox_3_clicked()
{
    const bool all = ui->checkBox_3->isChecked();
    for (QCheckBox *box : {ui->checkBox_Appointment, ui->checkBox_Identificator, ui->checkBox_VIF,
                           ui->checkBox_Weight, ui->checkBox_Duration, ui->checkBox_Manufacturer})
        box->setChecked(all);
}
