#include "sim/multipart_body.h"

#include <QList>

namespace emulator
{

namespace
{

const QByteArray kCrLf = QByteArrayLiteral("\r\n");
const QByteArray kHeaderEnd = QByteArrayLiteral("\r\n\r\n");

// The unquoted value of a header parameter such as name="DATA" or boundary=B; null when absent.
QByteArray parameterValue(const QByteArray &headerValue, const QByteArray &key)
{
    const QByteArray prefix = key + '=';
    for (const QByteArray &parameter : headerValue.split(';')) {
        const QByteArray trimmed = parameter.trimmed();
        if (!trimmed.toLower().startsWith(prefix))
            continue;
        QByteArray value = trimmed.mid(prefix.size());
        if (value.size() >= 2 && value.startsWith('"') && value.endsWith('"'))
            value = value.mid(1, value.size() - 2);
        return value.isNull() ? QByteArray("") : value;
    }
    return {};
}

// The name of a form-data Content-Disposition header, or null.
QByteArray dispositionName(const QByteArray &value)
{
    if (value.split(';').first().trimmed().toLower() != "form-data")
        return {};
    return parameterValue(value, "name");
}

bool parsePart(const QByteArray &raw, Part *part)
{
    const int headerEnd = raw.indexOf(kHeaderEnd);
    if (headerEnd < 0)
        return false;
    for (const QByteArray &line : raw.left(headerEnd).split('\n')) {
        const QByteArray header = line.endsWith('\r') ? line.left(line.size() - 1) : line;
        const int colon = header.indexOf(':');
        if (colon <= 0)
            return false;
        const QByteArray name = header.left(colon).trimmed().toLower();
        const QByteArray value = header.mid(colon + 1).trimmed();
        if (name == "content-disposition")
            part->name = dispositionName(value);
        else if (name == "content-type")
            part->contentType = value;
    }
    part->content = raw.mid(headerEnd + kHeaderEnd.size());
    return !part->name.isNull();
}

} // namespace

QByteArray boundaryOf(const QByteArray &contentType)
{
    return parameterValue(contentType, "boundary");
}

Multipart parseMultipart(const QByteArray &body, const QByteArray &boundary)
{
    Multipart result;
    const QByteArray dashBoundary = QByteArrayLiteral("--") + boundary;
    // Every delimiter after the first is preceded by CRLF; the first may open the body.
    int position = body.startsWith(dashBoundary) ? 0 : body.indexOf(kCrLf + dashBoundary);
    if (boundary.isEmpty() || position < 0) {
        result.error = MultipartError::BoundaryNotFound;
        return result;
    }
    if (position > 0)
        position += kCrLf.size();
    const QByteArray delimiter = kCrLf + dashBoundary;
    for (;;) {
        position += dashBoundary.size();
        if (body.mid(position, 2) == "--")
            return result; // closing delimiter; anything after it is epilogue
        if (body.mid(position, 2) != kCrLf)
            break;
        position += kCrLf.size();
        const int next = body.indexOf(delimiter, position);
        if (next < 0)
            break;
        Part part;
        if (!parsePart(body.mid(position, next - position), &part))
            break;
        result.parts << part;
        position = next + kCrLf.size();
    }
    result.error = MultipartError::Malformed;
    result.parts.clear();
    return result;
}

} // namespace emulator
