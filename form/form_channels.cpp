#include "form/form.h"
#include "ui_form.h"

void Form::on_pushButton_ReadChannnelsToTable_clicked()
{
}

void Form::on_pushButton_WriteDevice_clicked()
{
}

void Form::on_pushButton_WriteOneReg_clicked()
{
}

void Form::on_pushButton_ReadOneReg_clicked()
{
}

void Form::on_pushButton_PulseWrite_clicked()
{
}

void Form::on_pushButton_WritePresetChannel_clicked()
{
}

void Form::on_lineEdit_PresetChannel_textChanged(const QString &)
{
}

void Form::on_toolButton_writeNull_clicked()
{
}

void Form::on_pushButton_readChannelsConfig_clicked()
{
}

void Form::on_pushButton_writeChannelsConfig_clicked()
{
}

void Form::on_comboBox_ChannelNumber_currentIndexChanged(int)
{
}

void Form::on_comboBox_ChannelNumber_activated(int)
{
}

void Form::on_comboBox_Appointment_currentIndexChanged(int)
{
}

void Form::on_comboBox_DeviceType_currentIndexChanged(int)
{
}

void Form::on_lineEdit_DeviceNumber_textChanged(const QString &)
{
}

void Form::on_lineEdit_Version_textChanged(const QString &)
{
}

void Form::on_spinBox_Version_valueChanged(int)
{
}

void Form::on_spinBox_deviceNumber_valueChanged(int)
{
}

void Form::on_lineEdit_Manufacturer_textChanged(const QString &)
{
}

void Form::on_comboBox_VIF_currentIndexChanged(int)
{
}

void Form::on_lineEdit_VIF_textChanged(const QString &)
{
}

void Form::on_lineEdit_Weight_textChanged(const QString &)
{
}

void Form::on_comboBox_Weight_currentIndexChanged(int)
{
}

void Form::on_lineEdit_Duration_textChanged(const QString &)
{
}

void Form::on_spinBox_Duration_valueChanged(int)
{
}

void Form::on_comboBox_Duration_currentIndexChanged(int)
{
}

// From the first edit on, the channel readings take their first-byte pause from this field.
void Form::on_lineEdit_WaitBeyondWriting_chanel_textChanged(const QString &)
{
    waitDelayEdited = true;
}

void Form::on_checkBox_Identificator_clicked()
{
}

void Form::on_checkBox_Identificator_clicked(bool)
{
}

void Form::on_checkBox_Developer_toggled(bool)
{
}

void Form::on_pushButton_ReadChannelIndicationsToTable_clicked()
{
}

void Form::on_pushButton_SaveToFile_clicked()
{
}

void Form::on_tableWidget_Channels_cellClicked(int, int)
{
}

void Form::on_tableWidget_Channels_cellDoubleClicked(int, int)
{
}

void Form::on_tableWidget_Channels_cellEntered(int, int)
{
}

void Form::on_tableWidget_Channels_currentCellChanged(int, int, int, int)
{
}

void Form::on_tableWidget_Channels_cellChanged(int, int)
{
}

void Form::on_tableWidget_Channels_cellPressed(int, int)
{
}

void Form::on_tableWidget_Channels_cellActivated(int, int)
{
}

void Form::slotCheckBoxChan1(int)
{
}

void Form::slotCheckBoxChan2(int)
{
}

void Form::slotCheckBoxChan3(int)
{
}

void Form::slotCheckBoxChan4(int)
{
}

void Form::slotCheckBoxChan5(int)
{
}

void Form::slotCheckBoxChan6(int)
{
}

void Form::slotCheckBoxChan7(int)
{
}

void Form::slotCheckBoxChan8(int)
{
}

void Form::slotCheckBoxChan9(int)
{
}

void Form::slotCheckBoxChan10(int)
{
}

void Form::slotCheckBoxChan11(int)
{
}

void Form::slotCheckBoxChan12(int)
{
}

void Form::slotCheckBoxChan13(int)
{
}

void Form::slotCheckBoxChan14(int)
{
}

void Form::slotCheckBoxChan15(int)
{
}

void Form::slotCheckBoxChan16(int)
{
}

void Form::slotCheckBoxPar1(int)
{
}

void Form::slotCheckBoxPar2(int)
{
}

void Form::slotCheckBoxPar3(int)
{
}

void Form::slotCheckBoxPar4(int)
{
}

void Form::slotCheckBoxPar5(int)
{
}

void Form::slotCheckBoxPar6(int)
{
}

void Form::slotCheckBoxPar7(int)
{
}

void Form::slotCheckBoxPar8(int)
{
}

void Form::slotCheckBoxPar9(int)
{
}

void Form::slotCheckBoxPar10(int)
{
}

void Form::slotCheckBoxPar11(int)
{
}

void Form::slotCheckBoxPar12(int)
{
}

void Form::slotCheckBoxPar13(int)
{
}

void Form::slotCheckBoxPar14(int)
{
}

void Form::slotCheckBoxPar15(int)
{
}

void Form::slotCheckBoxPar16(int)
{
}

void Form::on_checkBox_2_clicked()
{
}

void Form::on_checkBox_3_clicked()
{
}

void Form::on_toolButton_nextChan_clicked()
{
}

void Form::on_toolButton_previousChan_clicked()
{
}

void Form::on_pushButton_clearResult_clicked()
{
}

void Form::on_pushButton_clearTableWidget1_clicked()
{
}
