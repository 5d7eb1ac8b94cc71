#include "form/form.h"
#include "ui_form.h"

void Form::on_pushButton_readJournal_clicked()
{
}

void Form::on_pushButton_stopReadJournal_clicked()
{
}

void Form::on_check_journal_clicked()
{
}

void Form::on_radioButton_hour_clicked()
{
}

void Form::on_radioButton_hour_clicked(bool)
{
}

void Form::on_radioButton_month_clicked()
{
}

void Form::on_radioButton_events_clicked()
{
}

void Form::on_radioButton_year_clicked()
{
}

void Form::on_spinBox_startNote_valueChanged(int)
{
}

void Form::on_spinBox_startNote_valueChanged(const QString &)
{
}

void Form::on_dateTimeEdit_startJournal_dateTimeChanged(const QDateTime &)
{
}

void Form::on_dateTimeEdit_endJournal_dateTimeChanged(const QDateTime &)
{
}

void Form::programCLR()
{
}

void Form::on_pushButton_cleanJournal_clicked()
{
}

void Form::on_pushButton_clearJournalSecond_clicked()
{
}

void Form::on_pushButton_clicked()
{
}

void Form::on_pushButton_export_clicked()
{
}
