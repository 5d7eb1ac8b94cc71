#include "tools/zorva-decode/telegram_json.h"

#include "common/hex_dump.h"
#include "common/mbus_status_text.h"
#include "common/mbus_telegram_text.h"
#include "common/vocabulary.h"

#include <QJsonArray>
#include <QMetaEnum>

using namespace mbus;

namespace
{

QString valueTypeName(ValueType type)
{
    switch (type) {
    case ValueType::None:
        return QStringLiteral("none");
    case ValueType::Integer:
        return QStringLiteral("integer");
    case ValueType::Bcd:
        return QStringLiteral("bcd");
    case ValueType::Real:
        return QStringLiteral("real");
    case ValueType::Date:
        return QStringLiteral("date");
    case ValueType::DateTime:
        return QStringLiteral("dateTime");
    case ValueType::Text:
        return QStringLiteral("text");
    case ValueType::Binary:
        return QStringLiteral("binary");
    case ValueType::ManufacturerData:
        return QStringLiteral("manufacturerData");
    }
    return QString();
}

QString kindName(TelegramKind kind)
{
    switch (kind) {
    case TelegramKind::VariableData:
        return QStringLiteral("variableData");
    case TelegramKind::FixedData:
        return QStringLiteral("fixedData");
    case TelegramKind::ApplicationError:
        return QStringLiteral("applicationError");
    }
    return QString();
}

QString layoutName(HeaderLayout layout)
{
    switch (layout) {
    case HeaderLayout::Long:
        return QStringLiteral("long");
    case HeaderLayout::Short:
        return QStringLiteral("short");
    case HeaderLayout::None:
        return QStringLiteral("none");
    }
    return QString();
}

QJsonObject recordToJson(const DataRecord &record)
{
    QJsonObject json{
        {QStringLiteral("offset"), record.offset},
        {QStringLiteral("dib"), hexDump(record.dib)},
        {QStringLiteral("vib"), hexDump(record.vib)},
        {QStringLiteral("function"), recordFunctionDescription(record.function)},
        {QStringLiteral("storageNumber"), double(record.storageNumber)},
        {QStringLiteral("difeCount"), record.difeCount},
        {QStringLiteral("tariff"), double(record.tariff)},
        {QStringLiteral("subunit"), double(record.subunit)},
        {QStringLiteral("unit"), record.unitDescription},
        {QStringLiteral("valueType"), valueTypeName(record.type)},
        {QStringLiteral("value"), rawValueText(record)},
        {QStringLiteral("unitCode"), record.unitCode},
        {QStringLiteral("unitName"), unitName(record.unitCode)},
        {QStringLiteral("scaledValue"), scaledValueText(record)},
        {QStringLiteral("valueKind"), record.valueKind},
        {QStringLiteral("valueKindName"), valueKindName(record.valueKind)},
        {QStringLiteral("text"), recordText(record)},
    };
    if (record.type == ValueType::Date || record.type == ValueType::DateTime)
        json.insert(QStringLiteral("timeInvalid"), record.time.invalid);
    if (record.type == ValueType::DateTime)
        json.insert(QStringLiteral("summerTime"), record.time.summerTime);
    if (!record.manufacturerVifes.isEmpty()) {
        QJsonArray codes;
        for (quint8 code : record.manufacturerVifes)
            codes.append(hexCode(code, 2));
        json.insert(QStringLiteral("manufacturerVifes"), codes);
    }
    return json;
}

QJsonObject telegramToJson(const Telegram &telegram)
{
    const SlaveHeader &header = telegram.header;
    QJsonObject json{
        {QStringLiteral("kind"), kindName(telegram.kind)},
        {QStringLiteral("control"), header.control},
        {QStringLiteral("address"), header.address},
        {QStringLiteral("ci"), header.ci},
    };
    if (telegram.kind == TelegramKind::ApplicationError) {
        json.insert(
            QStringLiteral("applicationError"),
            QJsonObject{{QStringLiteral("code"),
                         telegram.hasErrorCode ? QJsonValue(telegram.applicationError) : QJsonValue()},
                        {QStringLiteral("description"),
                         applicationErrorDescription(telegram.hasErrorCode, telegram.applicationError)},
                        {QStringLiteral("text"),
                         applicationErrorText(telegram.hasErrorCode, telegram.applicationError)}});
        return json;
    }
    const bool fixed = telegram.kind == TelegramKind::FixedData;
    QJsonObject headerJson{{QStringLiteral("msbFirst"), header.msbFirst}};
    if (!fixed)
        headerJson.insert(QStringLiteral("layout"), layoutName(header.layout));
    if (fixed || header.layout == HeaderLayout::Long) {
        headerJson.insert(QStringLiteral("identification"), identificationText(header.identification));
        headerJson.insert(QStringLiteral("medium"), header.medium);
        headerJson.insert(QStringLiteral("mediumName"), mediumName(header.medium));
        headerJson.insert(QStringLiteral("mediumDescription"), mediumDescription(telegram));
    }
    if (!fixed && header.layout == HeaderLayout::Long) {
        headerJson.insert(QStringLiteral("manufacturer"), manufacturerLetters(header.manufacturer));
        headerJson.insert(QStringLiteral("version"), header.version);
    }
    if (fixed || header.layout != HeaderLayout::None) {
        headerJson.insert(QStringLiteral("accessNumber"), header.accessNumber);
        headerJson.insert(QStringLiteral("status"), header.status);
        headerJson.insert(QStringLiteral("statusTexts"),
                          QJsonArray::fromStringList(mbusStatusTexts(header.status, fixed)));
    }
    if (!fixed && header.layout != HeaderLayout::None)
        headerJson.insert(QStringLiteral("signature"), hexCode(header.signature, 4));
    json.insert(QStringLiteral("header"), headerJson);
    QJsonArray records;
    for (const DataRecord &record : telegram.records)
        records.append(recordToJson(record));
    json.insert(QStringLiteral("records"), records);
    return json;
}

} // namespace

QJsonObject receivedToJson(const QVector<ReceivedPiece> &pieces)
{
    QJsonArray array;
    for (const ReceivedPiece &piece : pieces) {
        QJsonObject json{{QStringLiteral("offset"), piece.offset}};
        switch (piece.kind) {
        case ReceivedPiece::Kind::Acknowledgement:
            json.insert(QStringLiteral("type"), QStringLiteral("acknowledgement"));
            break;
        case ReceivedPiece::Kind::Telegram:
            json = telegramToJson(piece.telegram);
            json.insert(QStringLiteral("type"), QStringLiteral("telegram"));
            json.insert(QStringLiteral("offset"), piece.offset);
            break;
        case ReceivedPiece::Kind::Failure:
            json.insert(QStringLiteral("type"), QStringLiteral("failure"));
            json.insert(
                QStringLiteral("error"),
                QString::fromLatin1(QMetaEnum::fromType<TelegramError>().valueToKey(int(piece.error))));
            json.insert(QStringLiteral("text"), telegramErrorText(piece.error));
            json.insert(QStringLiteral("errorOffset"), piece.errorOffset);
            break;
        }
        json.insert(QStringLiteral("bytes"), hexDump(piece.bytes));
        array.append(json);
    }
    return QJsonObject{{QStringLiteral("pieces"), array}};
}
