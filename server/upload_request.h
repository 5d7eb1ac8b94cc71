#pragma once

// The upload of the form's collected data to the metering server: one HTTP POST of a
// multipart/form-data body to the server's upload script.
//
// Body, byte for byte (CRLF = 0D 0A):
//   --Config999 CRLF
//   Content-Disposition: form-data; name="CMD" CRLF
//   Content-Type: text/plain CRLF CRLF
//   DevVal CRLF
//   --Config999 CRLF
//   Content-Disposition: form-data; name="DATA" CRLF
//   Content-Type: application/octet-stream CRLF CRLF
//   <upload buffer, unchanged> CRLF
//   --Config999--                                   (no CRLF after the closing delimiter)

#include <QByteArray>
#include <QNetworkRequest>
#include <QString>
#include <QUrl>

namespace upload
{

constexpr char kBoundary[] = "Config999";
constexpr char kScript[] = "bin/velmora.cgi";
constexpr char kCommand[] = "DevVal";

// Longest silence tolerated while the request is sent or the reply arrives; the reply then ends
// with an error instead of waiting for ever.
constexpr int kTransferTimeoutMs = 20000;

QByteArray body(const QByteArray &uploadBuffer);

// The base address with the script name appended as it stands (no "/" is added, so the base is
// expected to end with one), parsed tolerantly.
QUrl url(const QString &baseAddress);

// The POST request for a body: raw headers "Content-type" (lower-case t) with the boundary, and
// "Content-Length" whose value is the body's length followed by CR LF CR LF, kept as the server
// has always received it.
QNetworkRequest request(const QString &baseAddress, const QByteArray &body);

} // namespace upload
