#include "form/form.h"
#include "ui_form.h"

void Form::on_pushButton_AddressRequest_clicked()
{
}

void Form::on_pushButton_AddressRequestStop_clicked()
{
}

void Form::on_tableWidget_Address_cellDoubleClicked(int, int)
{
}

void Form::on_lineEdit_AddressRangeStart_textChanged(const QString &)
{
}

void Form::on_lineEdit_AddressRangeEnd_textChanged(const QString &)
{
}

void Form::on_lineEdit_oneAddress_textChanged(const QString &)
{
}

void Form::slotProgressBar()
{
}

void Form::on_pushButton_DateRead_clicked()
{
}

void Form::on_pushButton_DateWrite_clicked()
{
}

void Form::on_dateTimeEdit_dateTimeChanged(const QDateTime &)
{
}

void Form::on_checkBox_SynchronizashionWithPC_clicked()
{
}

void Form::on_pushButton_ReadCurrentNetAddress_clicked()
{
}

void Form::on_pushButton_WriteNewNetAddress_clicked()
{
}

void Form::on_spinBox_NewNetAddress_valueChanged(int)
{
}

void Form::on_pushButton_SerialNumberSet_clicked()
{
}

void Form::on_spinBox_SerialNumberSet_valueChanged(const QString &)
{
}

void Form::on_pushButton_readRate_clicked()
{
}

void Form::on_pushButton_writeRate_clicked()
{
}

void Form::on_lineEdit_writeRate_textChanged(const QString &)
{
}

void Form::on_comboBox_writeRate_currentIndexChanged(int)
{
}

void Form::on_comboBox_writeRate_currentTextChanged(const QString &)
{
}

void Form::on_pushButton_writeReportDay_clicked()
{
}

void Form::on_lineEdit_reportDay_textChanged(const QString &)
{
}

void Form::on_lineEdit_NewNumberPortServer_textChanged(const QString &)
{
}

void Form::on_spinBox_NewNumberPortServer_valueChanged(int)
{
}

void Form::on_lineEdit_VersionPO_textChanged(const QString &)
{
}

void Form::on_pushButton_readZorvaConfig_clicked()
{
}

void Form::on_pushButton_REQ_UD2_clicked()
{
}

void Form::on_pushButton_sendCommand_clicked()
{
}

void Form::on_lineEdit_command_textChanged(const QString &)
{
}

void Form::on_pushButton_numberHalfBytes_clicked()
{
}
