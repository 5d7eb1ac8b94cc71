#pragma once

// A multipart/form-data body, split into its parts:
//   [preamble] --B CRLF headers CRLF CRLF content (CRLF --B CRLF headers CRLF CRLF content)*
//   CRLF --B-- [CRLF epilogue]
// The closing delimiter needs no CRLF after it (the configurator sends none).

#include <QByteArray>
#include <QVector>

namespace emulator
{

struct Part {
    QByteArray name; // from Content-Disposition: form-data; name="..."
    QByteArray contentType;
    QByteArray content;
};

enum class MultipartError {
    None,
    BoundaryNotFound, // the body never opens with the boundary
    Malformed,        // a part without headers or name, or no closing delimiter
};

struct Multipart {
    MultipartError error = MultipartError::None;
    QVector<Part> parts;
};

// The boundary parameter of a Content-Type value (quotes removed); empty when absent.
QByteArray boundaryOf(const QByteArray &contentType);

Multipart parseMultipart(const QByteArray &body, const QByteArray &boundary);

} // namespace emulator
