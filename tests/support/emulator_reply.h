#pragma once

// Sends one raw HTTP request to a server on loopback and reads the three-digit result code the
// metering server puts at bytes 21..23 of its reply body.

#include <QByteArray>
#include <QHostAddress>
#include <QTcpSocket>

// The result code of the answer to `request`, -1 without a well-formed answer.
inline int replyCodeFor(quint16 port, const QByteArray &request, int waitMs = 10000)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(waitMs))
        return -1;
    socket.write(request);
    socket.waitForDisconnected(waitMs);
    const QByteArray answer = socket.readAll();
    const QByteArray body = answer.mid(answer.indexOf("\r\n\r\n") + 4);
    return body.startsWith("<velmoraData><Result>") ? body.mid(21, 3).toInt() : -1;
}
