#pragma once

#include "device/channel_frames.h"
#include "device/unit_files.h"
#include "link/fast_exchange.h"
#include "sdk/common_module_iface.h"
#include "sdk/core_interfaces.h"
#include "sdk/tstringmap.h"

#include <QByteArray>
#include <QDateTime>
#include <QElapsedTimer>
#include <QMap>
#include <QSerialPort>
#include <QTimer>
#include <QVector>
#include <QWidget>
#include <functional>

namespace Ui
{
class Form;
}
class DialogAuthorization;
class QComboBox;

// The configurator page. Owns the serial port, the connected device's state, the outgoing
// packet and the received answers; every user action is one slot. The order of the signals and
// slots below is the meta-method order the host relies on: append, never reorder.
class Form : public QWidget, public CommonModuleIface
{
    Q_OBJECT

public:
    explicit Form(QWidget *parent = nullptr);
    ~Form() override;

    // Looks up the host's services and fills the value lists and the port list. On failure the
    // reason is in errorString().
    bool initialize(const TModuleMap &modules);

signals:
    void showBusy(QString text);
    void hideBusy();
    void callModule(QString name, TStringMap *parameters);
    void progressStart();

public slots:
    // Serial port session
    void slotPortIsOpen();
    void slotPortIsClose();
    void slotPortError(QSerialPort::SerialPortError error);
    void on_comboBox_portList_currentIndexChanged(const QString &portName);
    void on_toolButton_openPort_clicked();
    void on_comboBox_selectRate_currentIndexChanged(const QString &arg1);
    // Reception
    void on_portReadyRead();
    void on_ReadyRead(qint64 bytes);
    void on_pushButton_portWrite_clicked();
    // Register frames
    void packetMakeToRead(quint8 deviceAddress, quint8 command, quint16 regAddress, quint16 numReg);
    void packetMakeToWrite(quint8 deviceAddress, quint8 command, quint16 regAddress, quint16 numReg,
                           quint8 numByte, const QByteArray &data);
    // Bus scan
    void on_pushButton_AddressRequest_clicked();
    void on_pushButton_AddressRequestStop_clicked();
    void on_tableWidget_Address_cellDoubleClicked(int row, int column);
    void on_lineEdit_AddressRangeStart_textChanged(const QString &text);
    void on_lineEdit_AddressRangeEnd_textChanged(const QString &text);
    void on_lineEdit_oneAddress_textChanged(const QString &text);
    void slotProgressBar();
    // Clock
    void on_pushButton_DateRead_clicked();
    void on_pushButton_DateWrite_clicked();
    void on_dateTimeEdit_dateTimeChanged(const QDateTime &dateTime);
    void on_checkBox_SynchronizashionWithPC_clicked();
    // Device parameters
    void on_pushButton_ReadCurrentNetAddress_clicked();
    void on_pushButton_WriteNewNetAddress_clicked();
    void on_spinBox_NewNetAddress_valueChanged(int value);
    void on_pushButton_SerialNumberSet_clicked();
    void on_spinBox_SerialNumberSet_valueChanged(const QString &text);
    void on_pushButton_readRate_clicked();
    void on_pushButton_writeRate_clicked();
    void on_lineEdit_writeRate_textChanged(const QString &text);
    void on_comboBox_writeRate_currentIndexChanged(int index);
    void on_comboBox_writeRate_currentTextChanged(const QString &text);
    void on_pushButton_writeReportDay_clicked();
    void on_lineEdit_reportDay_textChanged(const QString &text);
    void on_lineEdit_NewNumberPortServer_textChanged(const QString &text);
    void on_spinBox_NewNumberPortServer_valueChanged(int value);
    void on_lineEdit_VersionPO_textChanged(const QString &text);
    // Device information
    void on_pushButton_readZorvaConfig_clicked();
    // Service commands
    void on_pushButton_REQ_UD2_clicked();
    void on_pushButton_sendCommand_clicked();
    void on_lineEdit_command_textChanged(const QString &text);
    void on_pushButton_numberHalfBytes_clicked();
    // Log panes
    void on_toolButton_clear_clicked();
    void on_pushButton_clearTextBrowser_clicked();
    // Channel record and its writes
    void on_pushButton_ReadChannnelsToTable_clicked();
    void on_pushButton_WriteDevice_clicked();
    void on_pushButton_WriteOneReg_clicked();
    void on_pushButton_ReadOneReg_clicked();
    void on_pushButton_PulseWrite_clicked();
    void on_pushButton_WritePresetChannel_clicked();
    void on_lineEdit_PresetChannel_textChanged(const QString &text);
    void on_toolButton_writeNull_clicked();
    void on_pushButton_readChannelsConfig_clicked();
    void on_pushButton_writeChannelsConfig_clicked();
    void on_comboBox_ChannelNumber_currentIndexChanged(int index);
    void on_comboBox_ChannelNumber_activated(int index);
    void on_comboBox_Appointment_currentIndexChanged(int index);
    void on_comboBox_DeviceType_currentIndexChanged(int index);
    void on_lineEdit_DeviceNumber_textChanged(const QString &text);
    void on_lineEdit_Version_textChanged(const QString &text);
    void on_spinBox_Version_valueChanged(int value);
    void on_spinBox_deviceNumber_valueChanged(int value);
    void on_lineEdit_Manufacturer_textChanged(const QString &text);
    void on_comboBox_VIF_currentIndexChanged(int index);
    void on_lineEdit_VIF_textChanged(const QString &text);
    void on_lineEdit_Weight_textChanged(const QString &text);
    void on_comboBox_Weight_currentIndexChanged(int index);
    void on_lineEdit_Duration_textChanged(const QString &text);
    void on_spinBox_Duration_valueChanged(int value);
    void on_comboBox_Duration_currentIndexChanged(int index);
    void on_lineEdit_WaitBeyondWriting_chanel_textChanged(const QString &text);
    void on_checkBox_Identificator_clicked();
    void on_checkBox_Identificator_clicked(bool checked);
    void on_checkBox_Developer_toggled(bool checked);
    // Channel readings and table save
    void on_pushButton_ReadChannelIndicationsToTable_clicked();
    void on_pushButton_SaveToFile_clicked();
    // Channel table
    void on_tableWidget_Channels_cellClicked(int row, int column);
    void on_tableWidget_Channels_cellDoubleClicked(int row, int column);
    void on_tableWidget_Channels_cellEntered(int row, int column);
    void on_tableWidget_Channels_currentCellChanged(int currentRow, int currentColumn, int previousRow,
                                                    int previousColumn);
    void on_tableWidget_Channels_cellChanged(int row, int column);
    void on_tableWidget_Channels_cellPressed(int row, int column);
    void on_tableWidget_Channels_cellActivated(int row, int column);
    void slotCheckBoxChan1(int state);
    void slotCheckBoxChan2(int state);
    void slotCheckBoxChan3(int state);
    void slotCheckBoxChan4(int state);
    void slotCheckBoxChan5(int state);
    void slotCheckBoxChan6(int state);
    void slotCheckBoxChan7(int state);
    void slotCheckBoxChan8(int state);
    void slotCheckBoxChan9(int state);
    void slotCheckBoxChan10(int state);
    void slotCheckBoxChan11(int state);
    void slotCheckBoxChan12(int state);
    void slotCheckBoxChan13(int state);
    void slotCheckBoxChan14(int state);
    void slotCheckBoxChan15(int state);
    void slotCheckBoxChan16(int state);
    void slotCheckBoxPar1(int state);
    void slotCheckBoxPar2(int state);
    void slotCheckBoxPar3(int state);
    void slotCheckBoxPar4(int state);
    void slotCheckBoxPar5(int state);
    void slotCheckBoxPar6(int state);
    void slotCheckBoxPar7(int state);
    void slotCheckBoxPar8(int state);
    void slotCheckBoxPar9(int state);
    void slotCheckBoxPar10(int state);
    void slotCheckBoxPar11(int state);
    void slotCheckBoxPar12(int state);
    void slotCheckBoxPar13(int state);
    void slotCheckBoxPar14(int state);
    void slotCheckBoxPar15(int state);
    void slotCheckBoxPar16(int state);
    void on_checkBox_2_clicked();
    void on_checkBox_3_clicked();
    void on_toolButton_nextChan_clicked();
    void on_toolButton_previousChan_clicked();
    void on_pushButton_clearResult_clicked();
    void on_pushButton_clearTableWidget1_clicked();
    // Journals
    void on_pushButton_readJournal_clicked();
    void on_pushButton_stopReadJournal_clicked();
    void on_check_journal_clicked();
    void on_radioButton_hour_clicked();
    void on_radioButton_hour_clicked(bool checked);
    void on_radioButton_month_clicked();
    void on_radioButton_events_clicked();
    void on_radioButton_year_clicked();
    void on_spinBox_startNote_valueChanged(int value);
    void on_spinBox_startNote_valueChanged(const QString &text);
    void on_dateTimeEdit_startJournal_dateTimeChanged(const QDateTime &dateTime);
    void on_dateTimeEdit_endJournal_dateTimeChanged(const QDateTime &dateTime);
    void programCLR();
    void on_pushButton_cleanJournal_clicked();
    void on_pushButton_clearJournalSecond_clicked();
    void on_pushButton_clicked();
    void on_pushButton_export_clicked();
    // Server link
    void on_pushButton_authorization_clicked();
    void on_pushButton_connectToServer_clicked();
    void replyFinished();
    void slotTmerAltEvent();

private:
    // Log panes: a label followed by its value, one line each.
    void logLine(const QString &label, const QString &value = QString());
    void logLine2(const QString &label, const QString &value = QString());

    // Serial session (form_port.cpp).
    void listPortsAndConfigureLine();

    // Exchange steps (form_exchange.cpp); every device command is built from these.
    // Every wait of a device command. While one runs, clicks on the other command buttons are refused,
    // so a second command never starts inside the first one's wait; stopping, closing the port and
    // clearing the panes stay live.
    void waitForDevice(int ms);
    void waitForDevice(int ms, bool untilData); // untilData: also ends at the port's next readyRead
    void guardCommandButtons();
    bool eventFilter(QObject *watched, QEvent *event) override;
    // Empties the answer list and the port's buffers; false after "Порт закрыт" when the port is closed.
    bool beginExchange();
    bool portIsOpenOrWarn();
    // Writes `packet`; false when the port refused it.
    bool writePacket();
    enum class Wait { Standard, Channel }; // the channel variant takes its first-byte pause from the field
    // The completion pattern in its two halves, for commands that log between them: send (reader
    // disconnected), then wait and read once; true when an answer arrived.
    bool sendForCompletion(const QByteArray &request);
    bool collectCompletion(Wait wait = Wait::Standard);
    bool exchangeWithCompletion(const QByteArray &request, Wait wait = Wait::Standard);
    // A write the device acknowledges with E5; anything else shows `failText`.
    bool writeExpectingAck(const QByteArray &frame, const QString &failText, Wait wait = Wait::Standard);
    bool firstAnswerIsAck() const;
    void reportFailureAtAddress();
    void reportDone(const QString &text);
    // Fixed-pause register read at the working address; the answer with split entries joined, or
    // nothing after "Ошибка чтения данных" when it is missing or faulty.
    QByteArray readRegistersOrWarn(quint16 reg, quint16 count, int pauseMs);
    // Fixed-pause register write (function 16) at the working address; the answer with split
    // entries joined, unchecked.
    QByteArray writeRegisters(quint16 reg, quint16 count, const QByteArray &data, int pauseMs);
    void connectReader();
    void disconnectReader();
    void waitBeyondWriting();
    void waitBeyondWritingChannel();
    void waitBeyondWriting(int firstBytePauseMs);
    bool readValidated(int kind);
    // Fast exchange (form_exchange.cpp): "Быстрый обмен (EN 13757-2)" and its margin on the developer
    // page. Its waits end when the answer to `packet` is whole by its framing, when the answer window
    // passed with nothing, or when the answer stops arriving; never later than `capMs` after the write.
    void setUpFastExchange();
    bool fastExchange() const;
    exchange::AnswerWait::Outcome waitForAnswer(int capMs, int firstByteMs,
                                                const std::function<QByteArray()> &received);
    // A fixed pause with the reader connected, or in fast exchange the wait for the answer.
    void waitFixedOrForAnswer(int pauseMs);
    void fastCompletionWait(int firstBytePauseMs);
    // The channel variant's first-byte pause from the delay field (set to 200 until it is edited).
    int channelFirstBytePauseMs();
    // CRC-16 check of a received frame; shows "Неверная контрольная сумма" when it fails.
    bool crcCheck(const QByteArray &frame);
    // Everything the port holds now (nothing when it is closed).
    QByteArray readArrived();
    friend class TestLinkExchange;

    // Device settings (form_device.cpp).
    // Shows the device's wall-clock fields in dateTimeEdit as they are, whatever the PC's zone.
    void showDeviceClock(const QDate &date, const QTime &time);

    // Guidance for a newcomer (form_guidance.cpp): the log pane, input validators, tooltips.
    void setUpGuidance();
    void saveExchangeLog();

    // Channels (form_channels.cpp).
    void loadChannelDataFiles();
    void fillUnitList();
    void fillWeightList();
    void fitToItems(QComboBox *list);
    void storeWeight();
    void resultLine(const QString &text);
    QList<int> tickedChannels(const QString &prefix) const; // "checkBoxChan" or "checkBoxPar", ascending
    void enableChannelBoxes();
    void channelSelectionChanged();
    void readSelectionChanged();
    // The checks of a configuration write, in their order; false after the box.
    bool channelWriteInputsOrWarn(const device::ChannelWriteChoice &choice);
    // Fetches, builds and writes each channel in turn; stops at the first failure.
    void writeChannelConfigurations(const QList<int> &channels, const device::ChannelWriteChoice &choice);
    // The fetch request and its reply (the channel variant of the completion wait); nothing after
    // "Ошибка чтения данных" when no answer came.
    QByteArray fetchChannelOrWarn(int channel);
    // The fetch decoded; nothing after "Ошибка чтения данных".
    std::optional<device::ChannelConfiguration> readChannelOrWarn(int channel);
    // The channel chosen in the list is one of the device's; otherwise a box says how to get one.
    bool chosenChannelOrWarn();
    void showChannelInEditors(const device::ChannelConfiguration &channel);
    void fillChannelRow(int row, int channel, const device::ChannelConfiguration &configuration);
    void selectChannel(int channel);
    void readChannelsIntoTable();
    // Writes a channel's pulse counter (function 16 at its settings register); false after the box.
    bool writeCounterOrWarn(int channel, quint32 counter);

    // Journals (form_journal.cpp).
    // Wires what the page's auto-connection leaves out (the second export button, "Суточный").
    void setUpJournalPage();
    // The kind of the checked radio button (device::journal::Kind), -1 when none is; a change of kind
    // forgets the summary's bounds.
    int checkedJournalKind() const;
    void journalKindChanged();
    // The reset telegram; false after "Ошибка чтения данных" when the device did not acknowledge it.
    bool resetJournalSelectionOrWarn();
    // REQ_UD2 with the given frame count bit, asked again with the same bit up to twice; the
    // telegram as received, or nothing.
    QByteArray askJournalTelegram(bool frameCountBit);
    // Bytes after the request until a whole M-Bus frame has come (or none comes).
    QByteArray collectJournalTelegram();
    void readJournal();
    void exportJournal();
    int journalKind = -1;
    int journalHeld = -1; // records held by the journal of journalKind per its summary, -1 unknown
    bool journalReading = false;
    bool journalStopRequested = false;

    Ui::Form *ui;

    // Host services
    CoreModemInterface *modem = nullptr;
    CoreProfileInterface *profile = nullptr;
    CoreNetworkInterface *network = nullptr;
    DialogAuthorization *authorizationDialog = nullptr;

    // Serial session
    QSerialPort *port;
    bool checkedOpenPort = false;
    int currentRate = 0;
    bool deviceSpeedRead = false; // until then "Скорость устройства" follows the port's speed

    // Exchange state: one request in flight at a time.
    QByteArray packet;
    QVector<QByteArray> vectorPortRead;
    QByteArray dataAnswer;
    QByteArray buf;
    // Every byte read from the line since the last clear, before chunk trimming: the telegram
    // decoder needs the bytes as they came.
    QByteArray lineBytes;
    QByteArray bufRemains;
    bool noStartByte = false;
    bool waitDelayEdited = false;
    bool errorFlag = false;
    int deviceWaits = 0;        // nested waits of the running device command
    QElapsedTimer requestClock; // started when the last request was written
    int answerStart = 0;        // lineBytes' size when the last request was written

    // Connected device
    quint8 deviceAddress = 0;
    quint8 numberOfChannels = 0;
    quint8 newNetAddress = 0;
    quint8 speedCode = 0;
    QByteArray serialToWrite;

    // Bus scan
    quint8 rangeStart = 0;
    quint8 rangeEnd = 0;
    quint8 stopScan = 0;
    int addressTried = 0;

    QByteArray uploadBuffer;

    // Channels
    device::ChannelRecord channelRecord;
    QVector<device::UnitEntry> units;                     // "data/ZORVA VIF.txt", or the built-in list
    QVector<device::WeightEntry> weightLists;             // "data/ZORVA1.txt"
    QMap<int, device::ChannelConfiguration> channelTable; // what each table row shows, by channel
    QTimer *timer;
};
