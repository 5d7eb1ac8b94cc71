#include "form/form.h"
#include "ui_form.h"

void Form::on_pushButton_authorization_clicked()
{
}

void Form::on_pushButton_connectToServer_clicked()
{
}

void Form::replyFinished()
{
}
