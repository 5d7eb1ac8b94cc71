#include "form/form.h"
#include "ui_form.h"

#include "common/message_boxes.h"

#include <QApplication>
#include <QCheckBox>
#include <QDebug>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <iterator>

namespace
{

constexpr int kFormFontPointSize = 13;
constexpr int kDomainMaxLength = 64;
constexpr int kDeviceNumberMaxLength = 8;
constexpr int kChannelCheckBoxes = 16;
constexpr int kBoxesPerRow = 8;
const char *const kReadOnlyStyle = "background-color: lightGrey";
const char *const kReadOnlyStyleInit = "background-color: lightGray";
const char *const kIconName = "automatic";

int formInstanceCount = 0;

// The SLOT() signature of e.g. slotCheckBoxChan7(int).
QByteArray numberedSlot(const char *prefix, int number)
{
    return QByteArray("1") + prefix + QByteArray::number(number) + "(int)";
}

struct SpeedItem {
    const char *text;
    quint8 code;
};
constexpr SpeedItem kSpeeds[] = {{"1200", 0xBA}, {"2400", 0xBB}, {"4800", 0xBC}, {"9600", 0xBD}};

struct MediumItem {
    const char *text;
    quint8 code;
};
constexpr MediumItem kMedia[] = {{"EM Электричество", 0x02},  {"GM Газ", 0x03},
                                 {"HM Тепло", 0x04},          {"WM Вода", 0x07},
                                 {"CWM Холодная вода", 0x16}, {"WWM Горячая вода", 0x06}};

const char *const kAppointments[] = {"Не подключен", "Импульсный счетный вход", "Импульсный аварийный вход",
                                     "Счетный вход намур", "Аварийный вход намур"};

} // namespace

Form::Form(QWidget *parent) : QWidget(parent), ui(new Ui::Form)
{
    ui->setupUi(this);
    setObjectName(QStringLiteral("FormConfigZorva_") + QString::number(++formInstanceCount));
    QFont formFont = font();
    formFont.setPointSize(kFormFontPointSize);
    setFont(formFont);

    port = new QSerialPort(this);
    timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &Form::slotTmerAltEvent);
    connect(this, &Form::progressStart, this, &Form::slotProgressBar);
    ui->progressBar->setMinimum(1);

    ui->tabWidget->setTabText(0, tr("Параметры ZORVA Mbus"));
    ui->tabWidget->setTabText(1, tr("Каналы"));
    ui->tabWidget->setCurrentIndex(0);

    ui->lineEdit_NewDomen->setMaxLength(kDomainMaxLength);
    ui->lineEdit_DeviceNumber->setMaxLength(kDeviceNumberMaxLength);
    ui->lineEdit_DeviceNumber->setText(QStringLiteral("12345678"));
    ui->spinBox_NewNetAddress->setRange(0, 255);
    ui->spinBox_Duration->setRange(1, 5000);
    ui->spinBox_SerialNumberSet->setRange(0, 99999999);

    const QDateTime journalStart(QDate(2018, 1, 1), QTime(0, 0));
    for (QDateTimeEdit *edit : {ui->dateTimeEdit_startJournal, ui->dateTimeEdit_endJournal}) {
        edit->setDateTime(journalStart);
        edit->setDisplayFormat(QStringLiteral("dd.MM.yyyy - hh:mm"));
    }
    setUpJournalPage();
    ui->dateTimeEdit->setDisplayFormat(QStringLiteral("dd.MM.yyyy hh:mm:ss"));
    ui->dateTimeEdit->setDateTime(QDateTime::currentDateTime());

    // Channel selection (first row) and parameter selection (second row), one pair per input,
    // each wired to its own numbered slot.
    auto *checkLayout = qobject_cast<QGridLayout *>(ui->widget_channelCheckBoxes->layout());
    // Two rows of eight for each kind, so the page fits a 1366-pixel screen.
    checkLayout->addWidget(new QLabel(tr("Запись и обнуление:"), ui->widget_channelCheckBoxes), 0, 0, 1,
                           kBoxesPerRow);
    checkLayout->addWidget(new QLabel(tr("Чтение в таблицу (ни одного: все):"), ui->widget_channelCheckBoxes),
                           3, 0, 1, kBoxesPerRow);
    for (int i = 0; i < kChannelCheckBoxes; ++i) {
        const QString number = QString::number(i + 1);
        auto *channelBox = new QCheckBox(number, ui->widget_channelCheckBoxes);
        channelBox->setObjectName(QStringLiteral("checkBoxChan") + number);
        auto *parameterBox = new QCheckBox(number, ui->widget_channelCheckBoxes);
        parameterBox->setObjectName(QStringLiteral("checkBoxPar") + number);
        channelBox->setToolTip(tr("Канал %1 записывается и обнуляется").arg(number));
        parameterBox->setToolTip(tr("Канал %1 читается в таблицу (ни одного: все каналы)").arg(number));
        checkLayout->addWidget(channelBox, 1 + i / kBoxesPerRow, i % kBoxesPerRow);
        checkLayout->addWidget(parameterBox, 4 + i / kBoxesPerRow, i % kBoxesPerRow);
        connect(channelBox, SIGNAL(stateChanged(int)), this, numberedSlot("slotCheckBoxChan", i + 1));
        connect(parameterBox, SIGNAL(stateChanged(int)), this, numberedSlot("slotCheckBoxPar", i + 1));
    }

    for (QLineEdit *field :
         {ui->lineEdit_SerialNumber, ui->lineEdit_Performance, ui->lineEdit_VersionPO,
          ui->lineEdit_IdentityPO, ui->lineEdit_Rate, ui->lineEdit_manufacturerZorva, ui->lineEdit_codePO,
          ui->lineEdit_versionZorva, ui->lineEdit_assemblyNumber, ui->lineEdit_numberChannels})
        field->setStyleSheet(QLatin1String(kReadOnlyStyle));

    setUpGuidance();
    guardCommandButtons();
    setUpFastExchange();

    activateWindow();
    setFocus();
    QWidget *focused = QApplication::focusWidget();
    logLine(QStringLiteral("focusObject"), focused ? focused->objectName() : objectName());
}

Form::~Form()
{
    // QWidget's destructor would delete the port after Form's own part is gone, and closing it there
    // would signal slotPortIsClose on a half-destroyed form: let it go while the form is whole.
    port->disconnect(this);
    delete port;
    delete ui;
}

bool Form::initialize(const TModuleMap &modules)
{
    ui->label_statusBar->setText(tr("Инициализация интерфейса..."));
    setWindowIcon(QIcon(QStringLiteral(":/png/32/") + QLatin1String(kIconName) + QStringLiteral(".png")));
    setWindowTitle(tr("Конфигуратор ZORVA MBus"));
    setModules(modules);

    modem = findCoreService<CoreModemInterface>(modules, QStringLiteral("core_modem"));
    if (!modem) {
        setErrorString(tr("Не найден модуль ядра <core_modem>."));
        return false;
    }
    profile = findCoreService<CoreProfileInterface>(modules, QStringLiteral("core_profile"));
    if (!profile) {
        setErrorString(tr("Не найден модуль ядра <core_profile>."));
        return false;
    }
    network = findCoreService<CoreNetworkInterface>(modules, QStringLiteral("core_network"));
    logLine(QStringLiteral("profile->appFullPath()"), profile->appFullPath());

    for (QComboBox *rates : {ui->comboBox_selectRate, ui->comboBox_writeRate}) {
        const QSignalBlocker blocker(rates);
        rates->clear();
        for (const SpeedItem &speed : kSpeeds)
            rates->addItem(QLatin1String(speed.text), speed.code);
    }
    ui->comboBox_selectRate->setCurrentText(QStringLiteral("2400"));
    // Until the device's own speed is read, the write list offers the speed the port talks at.
    ui->comboBox_writeRate->setCurrentText(ui->comboBox_selectRate->currentText());
    currentRate = ui->comboBox_selectRate->currentData().toInt();
    speedCode = static_cast<quint8>(ui->comboBox_writeRate->currentData().toUInt());

    ui->comboBox_Appointment->clear();
    for (int code = 0; code < int(std::size(kAppointments)); ++code)
        ui->comboBox_Appointment->addItem(tr(kAppointments[code]), code);
    ui->comboBox_DeviceType->clear();
    for (const MediumItem &medium : kMedia)
        ui->comboBox_DeviceType->addItem(tr(medium.text), medium.code);
    {
        const QSignalBlocker blocker(ui->lineEdit_WaitBeyondWriting_chanel);
        ui->lineEdit_WaitBeyondWriting_chanel->setText(QStringLiteral("400"));
    }
    for (QLineEdit *field : {ui->lineEdit_Progress, ui->lineEdit_CurrentNetAddress})
        field->setStyleSheet(QLatin1String(kReadOnlyStyleInit));

    loadChannelDataFiles();

    listPortsAndConfigureLine();
    ui->label_statusBar->clear();
    return true;
}

void Form::logLine(const QString &label, const QString &value)
{
    ui->textBrowser->append(value.isEmpty() ? label : label + QLatin1Char(' ') + value);
}

void Form::logLine2(const QString &label, const QString &value)
{
    ui->textBrowser_2->append(value.isEmpty() ? label : label + QLatin1Char(' ') + value);
}

void Form::on_toolButton_clear_clicked()
{
    ui->textBrowser_2->clear();
}

void Form::on_pushButton_clearTextBrowser_clicked()
{
    ui->textBrowser->clear();
}

// The periodic timer is not started by any command yet; a tick has nothing to do.
void Form::slotTmerAltEvent() {}
