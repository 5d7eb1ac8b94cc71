#include "form/form.h"
#include "ui_form.h"

#include "common/message_boxes.h"
#include "server/dialog_authorization.h"
#include "server/reply_codes.h"
#include "server/upload_request.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

void Form::on_pushButton_authorization_clicked()
{
    if (!authorizationDialog)
        authorizationDialog = new DialogAuthorization(modules(), this);
    if (authorizationDialog->exec() == QDialog::Accepted)
        ui->pushButton_connectToServer->setEnabled(true);
}

void Form::on_pushButton_connectToServer_clicked()
{
    const QString baseAddress = network ? network->serverBaseAddress() : QString();
    const QByteArray body = upload::body(uploadBuffer);
    // A manager of its own per upload, released once its reply has been handled.
    auto *manager = new QNetworkAccessManager;
    QNetworkReply *reply = manager->post(upload::request(baseAddress, body), body);
    connect(reply, &QNetworkReply::finished, this, &Form::replyFinished);
    connect(reply, &QNetworkReply::finished, manager, &QObject::deleteLater);
}

void Form::replyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    if (reply->error() != QNetworkReply::NoError) {
        showTitledBox(BoxKind::Information, tr("Error"), reply->errorString(), this);
        reply->deleteLater();
        return;
    }
    showTitledBox(BoxKind::Information, tr("Ответ сервера"), server::replyMessage(reply->readAll()), this);
    reply->deleteLater();
}
