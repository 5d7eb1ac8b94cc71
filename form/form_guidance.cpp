#include "form/form.h"
#include "ui_form.h"

#include "common/file_dialogs.h"
#include "common/message_boxes.h"
#include "common/table_text.h"

#include <QDir>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSplitter>

// What the page does for a newcomer beyond the commands themselves: a log pane that can be read and
// kept, input that cannot be mistyped, words on the buttons whose names are jargon, and controls that
// have no work yet shown as such.

namespace
{

// A long session keeps the newest lines; the oldest are dropped past this many.
constexpr int kLogMaxLines = 20000;
constexpr int kLogFontPointSize = 11;

} // namespace

void Form::setUpGuidance()
{
    // The exchange log under the settings, resizable against them, in a fixed-width font.
    QGridLayout *page = ui->gridLayout_tab_Technologie;
    auto *columns = new QWidget(ui->tab_Technologie);
    auto *row = new QHBoxLayout(columns);
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget *column : {ui->widget_columnBus, ui->widget_columnDevice, ui->widget_columnSettings}) {
        page->removeWidget(column);
        row->addWidget(column);
    }
    page->removeWidget(ui->groupBox_Log);
    auto *splitter = new QSplitter(Qt::Vertical, ui->tab_Technologie);
    splitter->setObjectName(QStringLiteral("splitter_log"));
    splitter->addWidget(columns);
    splitter->addWidget(ui->groupBox_Log);
    splitter->setChildrenCollapsible(false);
    page->addWidget(splitter, 0, 0, 2, 3);

    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSize(kLogFontPointSize);
    for (QTextBrowser *log : {ui->textBrowser, ui->textBrowser_2}) {
        log->setFont(fixed);
        log->document()->setMaximumBlockCount(kLogMaxLines);
    }
    auto *saveLog = new QPushButton(tr("Сохранить журнал"), ui->groupBox_Log);
    saveLog->setObjectName(QStringLiteral("pushButton_saveLog"));
    saveLog->setToolTip(tr("Записать журнал обмена в текстовый файл"));
    ui->gridLayout_groupBox_Log->addWidget(saveLog, 1, 1);
    connect(saveLog, &QPushButton::clicked, this, &Form::saveExchangeLog);

    // Bus addresses are typed as numbers 0..255 only.
    // (QIntValidator would let "256" through as a number still being typed.)
    static const QRegularExpression kBusAddress(
        QStringLiteral("25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9]"));
    for (QLineEdit *address :
         {ui->lineEdit_oneAddress, ui->lineEdit_AddressRangeStart, ui->lineEdit_AddressRangeEnd})
        address->setValidator(new QRegularExpressionValidator(kBusAddress, address));

    ui->pushButton_REQ_UD2->setToolTip(
        tr("Запросить у прибора телеграмму данных (REQ_UD2, EN 13757-2) и показать её расшифровку"));
    ui->pushButton_numberHalfBytes->setToolTip(
        tr("Посчитать шестнадцатеричные цифры (полубайты) в поле «Команда»"));
    ui->pushButton_sendCommand->setToolTip(
        tr("Послать кадр из поля «Команда» (шестнадцатеричные байты без контрольной суммы и 16)"));
    ui->pushButton_readZorvaConfig->setToolTip(
        tr("Прочитать идентификацию, версию ПО, число каналов и часы прибора"));
    ui->pushButton_readChannelsConfig->setToolTip(
        tr("Прочитать конфигурацию каналов в таблицу страницы «Каналы»"));
    ui->pushButton_writeChannelsConfig->setToolTip(
        tr("Записать выбранные поля в каналы, отмеченные на странице «Каналы»"));
    ui->pushButton_connectToServer->setToolTip(
        tr("Отправить на сервер телеграммы последнего прочитанного журнала (доступно после авторизации)"));

    const QString noWork = tr("Прибор ZORVA не поддерживает эту настройку");
    for (QWidget *unused :
         std::initializer_list<QWidget *>{ui->groupBox_Domen, ui->groupBox_Script, ui->pushButton_Transport,
                                          ui->pushButton_writeZorvaConfig}) {
        unused->setEnabled(false);
        unused->setToolTip(noWork);
    }
}

void Form::saveExchangeLog()
{
    const QString name =
        chooseSaveFileName(this, tr("Сохранить журнал обмена"),
                           QDir::homePath() + QStringLiteral("/zorva-log.txt"), tr("Текст (*.txt)"));
    if (name.isEmpty())
        return;
    QString error;
    if (!writeFileReplacing(name, ui->textBrowser->toPlainText().toUtf8() + '\n', &error)) {
        showErrorBox(tr("Не удалось сохранить журнал: %1").arg(error), this);
        return;
    }
    ui->label_statusBar->setText(tr("Журнал обмена сохранен: %1").arg(name));
}
