#include "tests/support/raw_http_server.h"

#include <QTcpSocket>

namespace
{

const QByteArray kHeaderEnd = QByteArrayLiteral("\r\n\r\n");

// Length of the complete request at the start of the buffer, or -1 while it is incomplete.
int completeRequestLength(const QByteArray &buffer)
{
    const int headerEnd = buffer.indexOf(kHeaderEnd);
    if (headerEnd < 0)
        return -1;
    const RawRequest request = RawRequest::parse(buffer.left(headerEnd + kHeaderEnd.size()));
    const int total = headerEnd + kHeaderEnd.size() + request.header("Content-Length").trimmed().toInt();
    return buffer.size() >= total ? total : -1;
}

} // namespace

RawHttpServer::RawHttpServer(QObject *parent) : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &RawHttpServer::onNewConnection);
}

bool RawHttpServer::listen()
{
    if (!m_server.listen(QHostAddress::LocalHost, 0))
        return false;
    m_port = m_server.serverPort();
    return true;
}

QString RawHttpServer::baseAddress() const
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(m_port);
}

void RawHttpServer::setBehaviour(Behaviour behaviour)
{
    m_behaviour = behaviour;
    if (behaviour == Behaviour::Refuse)
        m_server.close();
}

QByteArray RawHttpServer::okResponse(const QByteArray &body)
{
    return QByteArrayLiteral(
               "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nConnection: close\r\nContent-Length: ") +
           QByteArray::number(body.size()) + kHeaderEnd + body;
}

void RawHttpServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_pending.remove(socket);
            socket->deleteLater();
        });
    }
}

void RawHttpServer::onReadyRead(QTcpSocket *socket)
{
    QByteArray &buffer = m_pending[socket];
    buffer += socket->readAll();
    const int length = completeRequestLength(buffer);
    if (length < 0)
        return;
    m_requests << buffer.left(length);
    buffer.remove(0, length);
    switch (m_behaviour) {
    case Behaviour::Answer:
        socket->write(m_response);
        socket->disconnectFromHost();
        break;
    case Behaviour::Silent:
    case Behaviour::Refuse:
        break;
    case Behaviour::CutOff:
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<velmoraData><Result>000");
        socket->flush();
        socket->abort();
        break;
    }
}

RawRequest RawRequest::parse(const QByteArray &raw)
{
    RawRequest request;
    const int headerEnd = raw.indexOf(kHeaderEnd);
    const QList<QByteArray> lines = raw.left(headerEnd < 0 ? raw.size() : headerEnd).split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).endsWith('\r') ? lines.at(i).chopped(1) : lines.at(i);
        if (i == 0)
            request.requestLine = line;
        else
            request.headerLines << line;
    }
    if (headerEnd >= 0)
        request.body = raw.mid(headerEnd + kHeaderEnd.size());
    return request;
}

QByteArray RawRequest::header(const QByteArray &name) const
{
    const QByteArray prefix = name.toLower() + ':';
    for (const QByteArray &line : headerLines) {
        if (line.toLower().startsWith(prefix))
            return line.mid(prefix.size()).trimmed();
    }
    return {};
}

QByteArray RawHttpServer::resultBody(const QByteArray &code)
{
    return QByteArrayLiteral("<velmoraData><Result>") + code + "</Result></velmoraData>";
}
