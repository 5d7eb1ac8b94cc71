#pragma once

#include "sdk/core_interfaces.h"

#include <QObject>
#include <QPair>
#include <QVector>

class QNetworkReply;

// The host's network service: form-encoded requests to the metering server's scripts.
//
// The server's base address comes, in this order, from the environment variable
// VELMORA_SERVER_URL, from the host's saved setting "serverUrl" (its --server option), or is the
// local metering-server emulator's default address.
class CoreNetwork : public QObject, public CoreNetworkInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CoreNetworkInterface_iid)
    Q_INTERFACES(CoreNetworkInterface)

public:
    // Mode of send(): the fields posted as an HTML form.
    static constexpr int kFormPost = 2;
    // Longest wait for the server's whole reply.
    static constexpr int kReplyTimeoutMs = 15000;

    void beginRequest(const QString &command) override;
    void addField(const QString &name, const QString &value) override;
    // Posts the command and the fields to the base address + script and waits for the reply
    // (the event loop keeps running, user input excepted). True when the server's result code is
    // 0; otherwise lastError() says why.
    bool send(int mode, int flags, const QString &script) override;
    QString lastError() const override { return m_lastError; }
    QString serverBaseAddress() const override;

private:
    QByteArray formBody() const;
    bool judgeReply(QNetworkReply *reply, const QByteArray &body, bool timedOut);

    QVector<QPair<QString, QString>> m_fields;
    QString m_lastError;
};
