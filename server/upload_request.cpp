#include "server/upload_request.h"

namespace upload
{

namespace
{

const QByteArray kCrLf = QByteArrayLiteral("\r\n");

QByteArray delimiter()
{
    return QByteArrayLiteral("--") + kBoundary;
}

QByteArray partHeader(const char *name, const char *contentType)
{
    return delimiter() + kCrLf + "Content-Disposition: form-data; name=\"" + name + "\"" + kCrLf +
           "Content-Type: " + contentType + kCrLf + kCrLf;
}

} // namespace

QByteArray body(const QByteArray &uploadBuffer)
{
    return partHeader("CMD", "text/plain") + kCommand + kCrLf +
           partHeader("DATA", "application/octet-stream") + uploadBuffer + kCrLf + delimiter() + "--";
}

QUrl url(const QString &baseAddress)
{
    return QUrl(baseAddress + QLatin1String(kScript), QUrl::TolerantMode);
}

QNetworkRequest request(const QString &baseAddress, const QByteArray &body)
{
    QNetworkRequest request(url(baseAddress));
    request.setRawHeader("Content-type", QByteArrayLiteral("multipart/form-data; boundary=") + kBoundary);
    request.setRawHeader("Content-Length", QByteArray::number(body.size()) + "\r\n\r\n");
    request.setTransferTimeout(kTransferTimeoutMs);
    return request;
}

} // namespace upload
