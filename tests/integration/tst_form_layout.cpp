#include "form/form.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTextBrowser>
#include <QtTest>

namespace
{

QStringList capturedWarnings;
QtMessageHandler previousHandler = nullptr;

void captureWarnings(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg)
        capturedWarnings << message;
    previousHandler(type, context, message);
}

// The slots in their documented order; the host relies on the meta-method indices.
QStringList documentedSlots()
{
    QStringList names = {"slotPortIsOpen()",
                         "slotPortIsClose()",
                         "slotPortError(QSerialPort::SerialPortError)",
                         "on_comboBox_portList_currentIndexChanged(QString)",
                         "on_toolButton_openPort_clicked()",
                         "on_comboBox_selectRate_currentIndexChanged(QString)",
                         "on_portReadyRead()",
                         "on_ReadyRead(qlonglong)",
                         "on_pushButton_portWrite_clicked()",
                         "packetMakeToRead(uchar,uchar,ushort,ushort)",
                         "packetMakeToWrite(uchar,uchar,ushort,ushort,uchar,QByteArray)",
                         "on_pushButton_AddressRequest_clicked()",
                         "on_pushButton_AddressRequestStop_clicked()",
                         "on_tableWidget_Address_cellDoubleClicked(int,int)",
                         "on_lineEdit_AddressRangeStart_textChanged(QString)",
                         "on_lineEdit_AddressRangeEnd_textChanged(QString)",
                         "on_lineEdit_oneAddress_textChanged(QString)",
                         "slotProgressBar()",
                         "on_pushButton_DateRead_clicked()",
                         "on_pushButton_DateWrite_clicked()",
                         "on_dateTimeEdit_dateTimeChanged(QDateTime)",
                         "on_checkBox_SynchronizashionWithPC_clicked()",
                         "on_pushButton_ReadCurrentNetAddress_clicked()",
                         "on_pushButton_WriteNewNetAddress_clicked()",
                         "on_spinBox_NewNetAddress_valueChanged(int)",
                         "on_pushButton_SerialNumberSet_clicked()",
                         "on_spinBox_SerialNumberSet_valueChanged(QString)",
                         "on_pushButton_readRate_clicked()",
                         "on_pushButton_writeRate_clicked()",
                         "on_lineEdit_writeRate_textChanged(QString)",
                         "on_comboBox_writeRate_currentIndexChanged(int)",
                         "on_comboBox_writeRate_currentTextChanged(QString)",
                         "on_pushButton_writeReportDay_clicked()",
                         "on_lineEdit_reportDay_textChanged(QString)",
                         "on_lineEdit_NewNumberPortServer_textChanged(QString)",
                         "on_spinBox_NewNumberPortServer_valueChanged(int)",
                         "on_lineEdit_VersionPO_textChanged(QString)",
                         "on_pushButton_readZorvaConfig_clicked()",
                         "on_pushButton_REQ_UD2_clicked()",
                         "on_pushButton_sendCommand_clicked()",
                         "on_lineEdit_command_textChanged(QString)",
                         "on_pushButton_numberHalfBytes_clicked()",
                         "on_toolButton_clear_clicked()",
                         "on_pushButton_clearTextBrowser_clicked()",
                         "on_pushButton_ReadChannnelsToTable_clicked()",
                         "on_pushButton_WriteDevice_clicked()",
                         "on_pushButton_WriteOneReg_clicked()",
                         "on_pushButton_ReadOneReg_clicked()",
                         "on_pushButton_PulseWrite_clicked()",
                         "on_pushButton_WritePresetChannel_clicked()",
                         "on_lineEdit_PresetChannel_textChanged(QString)",
                         "on_toolButton_writeNull_clicked()",
                         "on_pushButton_readChannelsConfig_clicked()",
                         "on_pushButton_writeChannelsConfig_clicked()",
                         "on_comboBox_ChannelNumber_currentIndexChanged(int)",
                         "on_comboBox_ChannelNumber_activated(int)",
                         "on_comboBox_Appointment_currentIndexChanged(int)",
                         "on_comboBox_DeviceType_currentIndexChanged(int)",
                         "on_lineEdit_DeviceNumber_textChanged(QString)",
                         "on_lineEdit_Version_textChanged(QString)",
                         "on_spinBox_Version_valueChanged(int)",
                         "on_spinBox_deviceNumber_valueChanged(int)",
                         "on_lineEdit_Manufacturer_textChanged(QString)",
                         "on_comboBox_VIF_currentIndexChanged(int)",
                         "on_lineEdit_VIF_textChanged(QString)",
                         "on_lineEdit_Weight_textChanged(QString)",
                         "on_comboBox_Weight_currentIndexChanged(int)",
                         "on_lineEdit_Duration_textChanged(QString)",
                         "on_spinBox_Duration_valueChanged(int)",
                         "on_comboBox_Duration_currentIndexChanged(int)",
                         "on_lineEdit_WaitBeyondWriting_chanel_textChanged(QString)",
                         "on_checkBox_Identificator_clicked()",
                         "on_checkBox_Identificator_clicked(bool)",
                         "on_checkBox_Developer_toggled(bool)",
                         "on_pushButton_ReadChannelIndicationsToTable_clicked()",
                         "on_pushButton_SaveToFile_clicked()",
                         "on_tableWidget_Channels_cellClicked(int,int)",
                         "on_tableWidget_Channels_cellDoubleClicked(int,int)",
                         "on_tableWidget_Channels_cellEntered(int,int)",
                         "on_tableWidget_Channels_currentCellChanged(int,int,int,int)",
                         "on_tableWidget_Channels_cellChanged(int,int)",
                         "on_tableWidget_Channels_cellPressed(int,int)",
                         "on_tableWidget_Channels_cellActivated(int,int)"};
    for (const char *kind : {"Chan", "Par"})
        for (int i = 1; i <= 16; ++i)
            names << QStringLiteral("slotCheckBox%1%2(int)").arg(QLatin1String(kind)).arg(i);
    names << QStringList{"on_checkBox_2_clicked()",
                         "on_checkBox_3_clicked()",
                         "on_toolButton_nextChan_clicked()",
                         "on_toolButton_previousChan_clicked()",
                         "on_pushButton_clearResult_clicked()",
                         "on_pushButton_clearTableWidget1_clicked()",
                         "on_pushButton_readJournal_clicked()",
                         "on_pushButton_stopReadJournal_clicked()",
                         "on_check_journal_clicked()",
                         "on_radioButton_hour_clicked()",
                         "on_radioButton_hour_clicked(bool)",
                         "on_radioButton_month_clicked()",
                         "on_radioButton_events_clicked()",
                         "on_radioButton_year_clicked()",
                         "on_spinBox_startNote_valueChanged(int)",
                         "on_spinBox_startNote_valueChanged(QString)",
                         "on_dateTimeEdit_startJournal_dateTimeChanged(QDateTime)",
                         "on_dateTimeEdit_endJournal_dateTimeChanged(QDateTime)",
                         "programCLR()",
                         "on_pushButton_cleanJournal_clicked()",
                         "on_pushButton_clearJournalSecond_clicked()",
                         "on_pushButton_clicked()",
                         "on_pushButton_export_clicked()",
                         "on_pushButton_authorization_clicked()",
                         "on_pushButton_connectToServer_clicked()",
                         "replyFinished()",
                         "slotTmerAltEvent()"};
    return names;
}

} // namespace

class TestFormLayout : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void signalsAndSlotsInDocumentedOrder();
    void everySlotFindsItsSignal();
    void documentedWidgetsExist_data();
    void documentedWidgetsExist();
    void constructionSetsUpThePage();
    void initializationFillsTheValueLists();
    void channelCheckBoxesReachTheirSlots();
    void everyPageFitsTheScreen_data();
    void everyPageFitsTheScreen();
    void fieldsShowTheirLongestText();

private:
    std::unique_ptr<CoreServices> m_services;
    std::unique_ptr<BoxRecorder> m_boxes;
    std::unique_ptr<Form> m_form;
};

void TestFormLayout::init()
{
    m_services = std::make_unique<CoreServices>();
    m_boxes = std::make_unique<BoxRecorder>();
    capturedWarnings.clear();
    previousHandler = qInstallMessageHandler(captureWarnings);
    m_form = std::make_unique<Form>();
    qInstallMessageHandler(previousHandler);
    QVERIFY2(m_form->initialize(m_services->modules()), qPrintable(m_form->errorString()));
}

void TestFormLayout::cleanup()
{
    m_form.reset();
    m_boxes.reset();
    m_services.reset();
}

void TestFormLayout::signalsAndSlotsInDocumentedOrder()
{
    const QMetaObject *meta = m_form->metaObject();
    QStringList signalNames;
    QStringList slotNames;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        (method.methodType() == QMetaMethod::Signal ? signalNames : slotNames)
            << QString::fromLatin1(method.methodSignature());
    }
    QCOMPARE(signalNames.mid(0, 3),
             (QStringList{"showBusy(QString)", "hideBusy()", "callModule(QString,TStringMap*)"}));
    QCOMPARE(slotNames.size(), 142);
    QCOMPARE(slotNames, documentedSlots());
}

void TestFormLayout::everySlotFindsItsSignal()
{
    QCOMPARE(capturedWarnings.filter(QStringLiteral("No matching signal")), QStringList());
}

void TestFormLayout::documentedWidgetsExist_data()
{
    QTest::addColumn<QString>("name");
    const char *names[] = {"tab_Technologie",
                           "tab_Channel",
                           "label_statusBar",
                           "tableWidget_Address",
                           "pushButton_AddressRequest",
                           "pushButton_AddressRequestStop",
                           "progressBar",
                           "lineEdit_Progress",
                           "lineEdit_AddressRangeStart",
                           "lineEdit_AddressRangeEnd",
                           "lineEdit_oneAddress",
                           "comboBox_portList",
                           "comboBox_selectRate",
                           "toolButton_openPort",
                           "lineEdit_SerialNumber",
                           "lineEdit_Performance",
                           "lineEdit_VersionPO",
                           "lineEdit_IdentityPO",
                           "lineEdit_Rate",
                           "lineEdit_manufacturerZorva",
                           "lineEdit_codePO",
                           "lineEdit_versionZorva",
                           "lineEdit_assemblyNumber",
                           "lineEdit_numberChannels",
                           "lineEdit_reportDay",
                           "pushButton_writeReportDay",
                           "dateTimeEdit",
                           "pushButton_DateRead",
                           "pushButton_DateWrite",
                           "checkBox_SynchronizashionWithPC",
                           "checkBox_SyncUTC",
                           "lineEdit_CurrentNetAddress",
                           "pushButton_ReadCurrentNetAddress",
                           "spinBox_NewNetAddress",
                           "pushButton_WriteNewNetAddress",
                           "spinBox_SerialNumberSet",
                           "pushButton_SerialNumberSet",
                           "pushButton_readRate",
                           "comboBox_writeRate",
                           "pushButton_writeRate",
                           "lineEdit_CurrentDomen",
                           "pushButton_ReadDomen",
                           "lineEdit_NewDomen",
                           "pushButton_WriteDomen",
                           "lineEdit_CurrentScript",
                           "pushButton_ReadScript",
                           "lineEdit_NewScript",
                           "pushButton_WriteScript",
                           "groupBox_Service",
                           "pushButton_cleanJournal",
                           "pushButton_Transport",
                           "textBrowser",
                           "pushButton_clearTextBrowser",
                           "tableWidget_Channels",
                           "checkBox_2",
                           "toolButton_previousChan",
                           "toolButton_nextChan",
                           "pushButton_ReadChannnelsToTable",
                           "pushButton_WriteOneReg",
                           "pushButton_SaveToFile",
                           "textEdit",
                           "pushButton_clearResult",
                           "checkBox_3",
                           "comboBox_ChannelNumber",
                           "comboBox_Appointment",
                           "comboBox_DeviceType",
                           "lineEdit_DeviceNumber",
                           "spinBox_Version",
                           "lineEdit_Manufacturer",
                           "comboBox_VIF",
                           "lineEdit_VIF",
                           "comboBox_Weight",
                           "lineEdit_Weight",
                           "comboBox_Duration",
                           "spinBox_Duration",
                           "lineEdit_value",
                           "groupBox_Waiting",
                           "checkBox_Developer",
                           "lineEdit_WaitBeyondWriting_chanel",
                           "toolButton_writeNull",
                           "lineEdit_PresetChannel",
                           "pushButton_WritePresetChannel",
                           "tableWidget_ChannelIndications",
                           "pushButton_ReadChannelIndicationsToTable",
                           "tableWidget_Journal",
                           "radioButton_events",
                           "radioButton_hour",
                           "radioButton_days",
                           "radioButton_month",
                           "radioButton_year",
                           "spinBox_startNote",
                           "spinBox_notesNumber",
                           "dateTimeEdit_startJournal",
                           "dateTimeEdit_endJournal",
                           "check_journal",
                           "pushButton_readJournal",
                           "pushButton_stopReadJournal",
                           "progressBar_ReadJournal",
                           "pushButton_export",
                           "pushButton_clearJournalSecond",
                           "pushButton_connectToServer",
                           "pushButton_authorization",
                           "lineEdit_numberHalfBytes",
                           "pushButton_numberHalfBytes",
                           "lineEdit_command",
                           "pushButton_sendCommand",
                           "pushButton_REQ_UD2",
                           "pushButton_readZorvaConfig",
                           "pushButton_readChannelsConfig",
                           "pushButton_writeZorvaConfig",
                           "pushButton_writeChannelsConfig",
                           "textBrowser_2",
                           "toolButton_clear"};
    for (const char *name : names)
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestFormLayout::documentedWidgetsExist()
{
    QFETCH(QString, name);
    QVERIFY2(m_form->findChild<QWidget *>(name), qPrintable(name));
}

void TestFormLayout::constructionSetsUpThePage()
{
    QVERIFY(m_form->objectName().startsWith(QLatin1String("FormConfigZorva_")));
    QCOMPARE(m_form->font().pointSize(), 13);
    auto *tabs = m_form->findChild<QTabWidget *>("tabWidget");
    QCOMPARE(tabs->currentIndex(), 0);
    QCOMPARE(tabs->tabText(0), QStringLiteral("Параметры ZORVA Mbus"));
    QCOMPARE(tabs->tabText(1), QStringLiteral("Каналы"));
    QCOMPARE(m_form->findChild<QDateTimeEdit *>("dateTimeEdit")->displayFormat(),
             QStringLiteral("dd.MM.yyyy hh:mm:ss"));
    auto *journalStart = m_form->findChild<QDateTimeEdit *>("dateTimeEdit_startJournal");
    QCOMPARE(journalStart->displayFormat(), QStringLiteral("dd.MM.yyyy - hh:mm"));
    QCOMPARE(journalStart->date().year(), 2018);
    QCOMPARE(m_form->findChild<QLineEdit *>("lineEdit_SerialNumber")->styleSheet(),
             QStringLiteral("background-color: lightGrey"));
    QVERIFY(!m_form->windowIcon().isNull());
    QCOMPARE(m_form->findChild<QLineEdit *>("lineEdit_DeviceNumber")->text(), QStringLiteral("12345678"));
    QVERIFY(m_form->findChild<QTextBrowser *>("textBrowser")->toPlainText().contains("focusObject"));
}

void TestFormLayout::initializationFillsTheValueLists()
{
    auto items = [this](const char *name) {
        QStringList texts;
        auto *combo = m_form->findChild<QComboBox *>(name);
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
        return texts;
    };
    const QStringList speeds{"1200", "2400", "4800", "9600"};
    QCOMPARE(items("comboBox_selectRate"), speeds);
    QCOMPARE(items("comboBox_writeRate"), speeds);
    auto *rates = m_form->findChild<QComboBox *>("comboBox_writeRate");
    QCOMPARE(rates->itemData(0).toInt(), 0xBA);
    QCOMPARE(rates->itemData(3).toInt(), 0xBD);
    QCOMPARE(items("comboBox_Appointment"),
             (QStringList{"Не подключен", "Импульсный счетный вход", "Импульсный аварийный вход",
                          "Счетный вход намур", "Аварийный вход намур"}));
    QCOMPARE(items("comboBox_DeviceType"), (QStringList{"EM Электричество", "GM Газ", "HM Тепло", "WM Вода",
                                                        "CWM Холодная вода", "WWM Горячая вода"}));
    QVERIFY(items("comboBox_Weight").contains("1 л/имп"));
    QVERIFY(items("comboBox_Weight").contains("1000 л/имп"));
    QCOMPARE(m_form->findChild<QLineEdit *>("lineEdit_WaitBeyondWriting_chanel")->text(),
             QStringLiteral("400"));
    QVERIFY(
        m_form->findChild<QTextBrowser *>("textBrowser")->toPlainText().contains("profile->appFullPath()"));
    QCOMPARE(m_form->findChild<QLabel *>("label_statusBar")->text(), QString());
}

void TestFormLayout::channelCheckBoxesReachTheirSlots()
{
    for (const char *kind : {"Chan", "Par"}) {
        for (int i = 1; i <= 16; ++i) {
            auto *box = m_form->findChild<QCheckBox *>(QStringLiteral("checkBox%1%2").arg(kind).arg(i));
            QVERIFY(box);
            const QByteArray slot = QStringLiteral("slotCheckBox%1%2(int)").arg(kind).arg(i).toLatin1();
            const QMetaMethod target = m_form->metaObject()->method(m_form->metaObject()->indexOfSlot(slot));
            QVERIFY(target.isValid());
            QVERIFY(QObject::disconnect(box, QMetaMethod::fromSignal(&QCheckBox::stateChanged), m_form.get(),
                                        target));
        }
    }
}

void TestFormLayout::everyPageFitsTheScreen_data()
{
    QTest::addColumn<QSize>("screen");
    // 1366x768 less a window manager's title bar and a taskbar; and a full-HD screen.
    QTest::newRow("1366x768") << QSize(1366, 690);
    QTest::newRow("1920x1080") << QSize(1920, 1000);
}

// Every page is reached by scrolling its own area vertically only: no horizontal scrolling, and every
// button of the page lies inside the visible width.
void TestFormLayout::everyPageFitsTheScreen()
{
    QFETCH(QSize, screen);
    m_form->resize(screen);
    m_form->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_form.get()));
    auto *tabs = m_form->findChild<QTabWidget *>("tabWidget");
    auto *area = m_form->findChild<QScrollArea *>("scrollArea");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        QCoreApplication::processEvents();
        const QString name = tabs->tabText(page);
        QVERIFY2(area->horizontalScrollBar()->maximum() == 0,
                 qPrintable(QStringLiteral("%1: scrolls by %2 px")
                                .arg(name)
                                .arg(area->horizontalScrollBar()->maximum())));
        for (QAbstractButton *button : tabs->widget(page)->findChildren<QAbstractButton *>()) {
            if (!button->isVisibleTo(tabs->widget(page)) || button->objectName().isEmpty())
                continue; // hidden, or a table's corner button
            area->ensureWidgetVisible(button, 0, 0);
            QCoreApplication::processEvents();
            const QRect shown(button->mapTo(area->viewport(), QPoint()), button->size());
            QVERIFY2(area->viewport()->rect().contains(shown),
                     qPrintable(QStringLiteral("%1: %2 at %3,%4 %5x%6 outside %7x%8")
                                    .arg(name, button->objectName())
                                    .arg(shown.x())
                                    .arg(shown.y())
                                    .arg(shown.width())
                                    .arg(shown.height())
                                    .arg(area->viewport()->width())
                                    .arg(area->viewport()->height())));
        }
    }
}

void TestFormLayout::fieldsShowTheirLongestText()
{
    m_form->resize(1366, 690);
    m_form->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_form.get()));
    auto *tabs = m_form->findChild<QTabWidget *>("tabWidget");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        QCoreApplication::processEvents();
    }
    for (QComboBox *combo : m_form->findChildren<QComboBox *>()) {
        int longest = 0;
        for (int i = 0; i < combo->count(); ++i)
            longest = qMax(longest, combo->fontMetrics().horizontalAdvance(combo->itemText(i)));
        QVERIFY2(combo->width() >= longest + 20, qPrintable(QStringLiteral("%1: %2 px for %3 px of text")
                                                                .arg(combo->objectName())
                                                                .arg(combo->width())
                                                                .arg(longest)));
    }
    auto *number = m_form->findChild<QLineEdit *>("lineEdit_DeviceNumber");
    QVERIFY(number->width() >= number->fontMetrics().horizontalAdvance("88888888") + 8);
}

QTEST_MAIN(TestFormLayout)
#include "tst_form_layout.moc"
