#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

// An HTTP server on 127.0.0.1 for tests: keeps every request exactly as it arrived on the wire and
// answers each one as scripted.
class RawHttpServer : public QObject
{
    Q_OBJECT

public:
    enum class Behaviour {
        Answer, // write the scripted response and close
        Silent, // read the request and never answer
        CutOff, // announce a longer body than is sent, then close
        Refuse, // stop listening: connections are refused
    };

    explicit RawHttpServer(QObject *parent = nullptr);

    bool listen();
    // "http://127.0.0.1:<port>/", also after Behaviour::Refuse has closed the port
    QString baseAddress() const;

    void setBehaviour(Behaviour behaviour);
    // The response written after each complete request (Behaviour::Answer).
    void setResponse(const QByteArray &response) { m_response = response; }
    static QByteArray okResponse(const QByteArray &body);
    // A metering-server reply body carrying its three-character result code at bytes 21..23.
    static QByteArray resultBody(const QByteArray &code);

    // Complete requests (headers and the body their Content-Length announces), in arrival order.
    QList<QByteArray> requests() const { return m_requests; }

private:
    void onNewConnection();
    void onReadyRead(QTcpSocket *socket);

    QTcpServer m_server;
    quint16 m_port = 0;
    Behaviour m_behaviour = Behaviour::Answer;
    QByteArray m_response;
    QHash<QTcpSocket *, QByteArray> m_pending;
    QList<QByteArray> m_requests;
};

// The parts of a raw request.
struct RawRequest {
    QByteArray requestLine;
    QList<QByteArray> headerLines;
    QByteArray body;

    static RawRequest parse(const QByteArray &raw);
    // The value of the first header with this name (case-insensitive), null when absent.
    QByteArray header(const QByteArray &name) const;
};
