#include "common/hex_dump.h"

#include <QRegularExpression>

bool parseHexDump(const QString &text, QByteArray *bytes, HexDumpFault *fault)
{
    static const QRegularExpression kWhitespace(QStringLiteral("\\s+"));
    static const QRegularExpression kHexPairs(QStringLiteral("^(?:[0-9A-Fa-f]{2})+$"));
    const QStringList tokens = text.split(kWhitespace, Qt::SkipEmptyParts);
    QByteArray result;
    for (int i = 0; i < tokens.size(); ++i) {
        if (!kHexPairs.match(tokens.at(i)).hasMatch()) {
            if (fault)
                *fault = {i, tokens.at(i)};
            return false;
        }
        result.append(QByteArray::fromHex(tokens.at(i).toLatin1()));
    }
    *bytes = result;
    return true;
}

QString hexDump(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QString logHex(const QByteArray &bytes, bool spaced)
{
    return QString::fromLatin1(spaced ? bytes.toHex(' ') : bytes.toHex());
}
