#include "host/core_network/core_network.h"

#include "common/server_error_text.h"
#include "server/reply_codes.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QSslSocket>
#include <QTimer>
#include <QUrl>

namespace
{

const char *const kBaseAddressVariable = "VELMORA_SERVER_URL";
// zorva-server-sim's default port.
const char *const kLocalEmulatorAddress = "http://127.0.0.1:8080/";
// Only the first bytes carry the result code; the rest of a large reply is read and dropped.
constexpr int kKeptReplyBytes = 4096;

} // namespace

void CoreNetwork::beginRequest(const QString &command)
{
    m_fields.clear();
    m_fields.append({QStringLiteral("CMD"), command});
}

void CoreNetwork::addField(const QString &name, const QString &value)
{
    m_fields.append({name, value});
}

QString CoreNetwork::serverBaseAddress() const
{
    const QString fromEnvironment = qEnvironmentVariable(kBaseAddressVariable);
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QString saved = QSettings(QStringLiteral("velmora"), QStringLiteral("zorva-host"))
                              .value(QStringLiteral("serverUrl"))
                              .toString();
    if (!saved.isEmpty())
        return saved;
    return QLatin1String(kLocalEmulatorAddress);
}

// application/x-www-form-urlencoded, every reserved character escaped (a "+" in a password stays
// a "+").
QByteArray CoreNetwork::formBody() const
{
    QByteArray body;
    for (const auto &field : m_fields) {
        if (!body.isEmpty())
            body += '&';
        body += QUrl::toPercentEncoding(field.first) + '=' + QUrl::toPercentEncoding(field.second);
    }
    return body;
}

bool CoreNetwork::send(int mode, int flags, const QString &script)
{
    m_lastError.clear();
    if (mode != kFormPost || flags != 0) {
        m_lastError = tr("Неподдерживаемый режим запроса к серверу (%1, %2).").arg(mode).arg(flags);
        return false;
    }
    const QString address = serverBaseAddress() + script;
    const QUrl url(address, QUrl::TolerantMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || url.host().isEmpty() ||
        (scheme != QLatin1String("http") && scheme != QLatin1String("https"))) {
        m_lastError = tr("Неверный адрес сервера: %1").arg(address);
        return false;
    }
    if (scheme == QLatin1String("https") && !QSslSocket::supportsSsl()) {
        m_lastError = tr("Защищенное соединение (HTTPS) недоступно: в системе нет библиотеки TLS.");
        return false;
    }

    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    request.setTransferTimeout(kReplyTimeoutMs);
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.post(request, formBody());

    QByteArray body;
    connect(reply, &QIODevice::readyRead, reply, [reply, &body] {
        const QByteArray chunk = reply->readAll();
        body += chunk.left(kKeptReplyBytes - body.size());
    });
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    bool timedOut = false;
    QTimer deadline;
    deadline.setSingleShot(true);
    connect(&deadline, &QTimer::timeout, &loop, [&timedOut, reply] {
        timedOut = true;
        reply->abort();
    });
    deadline.start(kReplyTimeoutMs);
    if (!reply->isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    deadline.stop();

    if (reply->isOpen())
        body += reply->readAll().left(kKeptReplyBytes - body.size());
    const bool accepted = judgeReply(reply, body, timedOut);
    delete reply;
    return accepted;
}

bool CoreNetwork::judgeReply(QNetworkReply *reply, const QByteArray &body, bool timedOut)
{
    if (timedOut || reply->error() == QNetworkReply::OperationCanceledError) {
        m_lastError = tr("Сервер не ответил за %1 с.").arg(kReplyTimeoutMs / 1000);
        return false;
    }
    if (reply->error() != QNetworkReply::NoError) {
        m_lastError = tr("Ошибка связи с сервером: %1").arg(reply->errorString());
        return false;
    }
    const std::optional<int> code = server::strictCode(body);
    if (!code) {
        m_lastError = tr("Ответ сервера не содержит кода результата.");
        return false;
    }
    if (*code != 0) {
        m_lastError = serverErrorText(quint16(*code));
        return false;
    }
    return true;
}
