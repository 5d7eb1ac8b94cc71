#include "sim/device_model.h"

#include "sim/journals.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace sim
{

namespace
{

constexpr int kStateFormat = 1;

// Channels leave the factory numbered after the device: serial number + channel number, as BCD.
quint32 factoryChannelId(int channel)
{
    return 0x10000000u + static_cast<quint32>(((channel / 10) << 4) | (channel % 10));
}

QString hex(quint32 value, int digits)
{
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0'));
}

// Reads an unsigned field written as hex text; fails on a missing or malformed field or one that
// does not fit `max`.
bool readHex(const QJsonObject &object, const char *key, quint32 max, quint32 *value)
{
    bool ok = false;
    const quint32 parsed = object.value(QLatin1String(key)).toString().toUInt(&ok, 16);
    if (!ok || parsed > max)
        return false;
    *value = parsed;
    return true;
}

bool readInt(const QJsonObject &object, const char *key, qint64 min, qint64 max, qint64 *value)
{
    const QJsonValue field = object.value(QLatin1String(key));
    if (!field.isDouble())
        return false;
    const double parsed = field.toDouble();
    if (parsed < static_cast<double>(min) || parsed > static_cast<double>(max) ||
        parsed != static_cast<double>(static_cast<qint64>(parsed)))
        return false;
    *value = static_cast<qint64>(parsed);
    return true;
}

QJsonObject channelToJson(const ChannelState &c)
{
    return QJsonObject{{QStringLiteral("counter"), static_cast<qint64>(c.counter)},
                       {QStringLiteral("value"), static_cast<double>(c.value)},
                       {QStringLiteral("identification"), hex(c.identification, 8)},
                       {QStringLiteral("manufacturer"), hex(c.manufacturer, 4)},
                       {QStringLiteral("version"), c.version},
                       {QStringLiteral("medium"), hex(c.medium, 2)},
                       {QStringLiteral("vif"), hex(c.vif, 2)},
                       {QStringLiteral("weight"), static_cast<double>(c.weight)},
                       {QStringLiteral("durationMs"), c.durationMs},
                       {QStringLiteral("appointment"), c.appointment},
                       {QStringLiteral("errorFlags"), hex(c.errorFlags, 2)}};
}

bool channelFromJson(const QJsonObject &o, ChannelState *c)
{
    qint64 counter = 0, version = 0, duration = 0, appointment = 0;
    quint32 identification = 0, manufacturer = 0, medium = 0, vif = 0, errorFlags = 0;
    const QJsonValue value = o.value(QStringLiteral("value"));
    const QJsonValue weight = o.value(QStringLiteral("weight"));
    if (!readInt(o, "counter", 0, 0xFFFFFFFFLL, &counter) || !readInt(o, "version", 0, 255, &version) ||
        !readInt(o, "durationMs", 0, 0xFFFF, &duration) || !readInt(o, "appointment", 0, 255, &appointment) ||
        !readHex(o, "identification", 0xFFFFFFFFu, &identification) ||
        !readHex(o, "manufacturer", 0xFFFF, &manufacturer) || !readHex(o, "medium", 0xFF, &medium) ||
        !readHex(o, "vif", 0xFFFF, &vif) || !readHex(o, "errorFlags", 0xFF, &errorFlags) ||
        !value.isDouble() || !weight.isDouble())
        return false;
    c->counter = static_cast<quint32>(counter);
    c->value = static_cast<float>(value.toDouble());
    c->identification = identification;
    c->manufacturer = static_cast<quint16>(manufacturer);
    c->version = static_cast<quint8>(version);
    c->medium = static_cast<quint8>(medium);
    c->vif = static_cast<quint16>(vif);
    c->weight = static_cast<float>(weight.toDouble());
    c->durationMs = static_cast<quint16>(duration);
    c->appointment = static_cast<quint8>(appointment);
    c->errorFlags = static_cast<quint8>(errorFlags);
    return true;
}

const char *const kJournalNames[kJournalKinds] = {"events", "hourly", "daily", "monthly", "yearly"};

// A journal as an array of records, each an array of numbers: events [time, code, channel],
// archives [time, counter of channel 1, ..., counter of channel 16].
QJsonObject journalsToJson(const DeviceModel &m)
{
    QJsonObject out;
    for (int k = 0; k < kJournalKinds; ++k) {
        QJsonArray records;
        for (const JournalRecord &r : m.journals[static_cast<size_t>(k)]) {
            QJsonArray fields{r.time};
            if (k == static_cast<int>(JournalKind::Events)) {
                fields.append(r.event);
                fields.append(r.channel);
            } else {
                for (quint32 counter : r.counters)
                    fields.append(static_cast<qint64>(counter));
            }
            records.append(fields);
        }
        out.insert(QLatin1String(kJournalNames[k]), records);
    }
    return out;
}

bool numberAt(const QJsonArray &fields, int i, qint64 max, qint64 *value)
{
    const double parsed = fields.at(i).toDouble(-1);
    if (!fields.at(i).isDouble() || parsed < 0 || parsed > static_cast<double>(max) ||
        parsed != static_cast<double>(static_cast<qint64>(parsed)))
        return false;
    *value = static_cast<qint64>(parsed);
    return true;
}

bool journalsFromJson(const QJsonObject &o, DeviceModel *m)
{
    for (int k = 0; k < kJournalKinds; ++k) {
        const JournalKind kind = static_cast<JournalKind>(k);
        const QJsonValue value = o.value(QLatin1String(kJournalNames[k]));
        if (!value.isArray() || value.toArray().size() > journalCapacity(kind))
            return false;
        QVector<JournalRecord> &journal = m->journals[static_cast<size_t>(k)];
        journal.clear();
        for (const QJsonValue &entry : value.toArray()) {
            const QJsonArray fields = entry.toArray();
            const bool events = kind == JournalKind::Events;
            if (fields.size() != (events ? 3 : 1 + DeviceModel::kChannels))
                return false;
            JournalRecord r;
            qint64 number = 0;
            if (!numberAt(fields, 0, 0xFFFFFFFFLL, &r.time))
                return false;
            for (int i = 1; i < fields.size(); ++i) {
                if (!numberAt(fields, i, events ? (i == 1 ? 0xFF : DeviceModel::kChannels) : 0xFFFFFFFFLL,
                              &number))
                    return false;
                if (!events)
                    r.counters.append(static_cast<quint32>(number));
                else if (i == 1)
                    r.event = static_cast<quint8>(number);
                else
                    r.channel = static_cast<quint8>(number);
            }
            journal.append(r);
        }
    }
    m->journalsBuilt = true;
    return true;
}

void setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
}

} // namespace

DeviceModel::DeviceModel()
{
    for (int i = 0; i < kChannels; ++i) {
        ChannelState &c = channels[static_cast<size_t>(i)];
        c.identification = factoryChannelId(i + 1);
        c.manufacturer = manufacturerCode();
        c.version = 1;
        c.medium = 0x07; // water
    }
}

int DeviceModel::baudRateOf(quint8 code)
{
    switch (code) {
    case 0xBA:
        return 1200;
    case 0xBB:
        return 2400;
    case 0xBC:
        return 4800;
    case 0xBD:
        return 9600;
    }
    return 0;
}

bool DeviceModel::parseAddress(const QString &text, quint8 *address)
{
    bool isNumber = false;
    const uint value = text.trimmed().toUInt(&isNumber, 10);
    if (!isNumber || value > kHighestPrimaryAddress)
        return false;
    *address = static_cast<quint8>(value);
    return true;
}

int DeviceModel::baudRate() const
{
    return baudRateOf(speedCode);
}

quint16 DeviceModel::manufacturerCode() const
{
    const QByteArray letters = manufacturer.toUpper().toLatin1().leftJustified(3, '@', true);
    int code = 0;
    for (char letter : letters)
        code = code * 32 + ((static_cast<quint8>(letter) - 64) & 31);
    return static_cast<quint16>(code);
}

int DeviceModel::channelCount() const
{
    switch (softwareVersion) {
    case 0x0310:
    case 0x0410:
        return 2;
    case 0x0300:
    case 0x0400:
        return 4;
    case 0x0320:
    case 0x0420:
        return 10;
    case 0x0330:
    case 0x0430:
        return 16;
    default:
        return 0;
    }
}

QDateTime DeviceModel::clockUtc(const QDateTime &systemUtc) const
{
    return systemUtc.addSecs(clockOffsetSecs).toUTC();
}

void DeviceModel::setClockUtc(const QDateTime &deviceUtc, const QDateTime &systemUtc)
{
    clockOffsetSecs = systemUtc.secsTo(deviceUtc);
}

bool DeviceModel::save(const QString &file, QString *error) const
{
    QJsonArray channelArray;
    for (const ChannelState &c : channels)
        channelArray.append(channelToJson(c));
    QJsonObject root{{QStringLiteral("format"), kStateFormat},
                     {QStringLiteral("address"), address},
                     {QStringLiteral("speedCode"), hex(speedCode, 2)},
                     {QStringLiteral("identification"), hex(identification, 8)},
                     {QStringLiteral("manufacturer"), manufacturer},
                     {QStringLiteral("mbusVersion"), mbusVersion},
                     {QStringLiteral("medium"), hex(medium, 2)},
                     {QStringLiteral("softwareVersion"), hex(softwareVersion, 4)},
                     {QStringLiteral("softwareCode"), hex(softwareCode, 4)},
                     {QStringLiteral("buildNumber"), buildNumber},
                     {QStringLiteral("reportDay"), reportDay},
                     {QStringLiteral("accessNumber"), accessNumber},
                     {QStringLiteral("status"), hex(status, 2)},
                     {QStringLiteral("clockOffsetSecs"), clockOffsetSecs},
                     {QStringLiteral("journalClears"), static_cast<qint64>(journalClears)},
                     {QStringLiteral("channels"), channelArray}};
    if (journalsBuilt)
        root.insert(QStringLiteral("journals"), journalsToJson(*this));
    // QSaveFile writes a temporary file and renames it, so a failed write keeps the previous state.
    // Unbuffered, so a short write (a full disk) shows in write()'s count: a buffered QSaveFile
    // reports a failed final flush as committed and replaces the file with a truncated one.
    const QByteArray text = QJsonDocument(root).toJson();
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || out.write(text) != text.size() ||
        !out.commit()) {
        setError(error, out.errorString());
        return false;
    }
    return true;
}

bool DeviceModel::load(const QString &file, QString *error)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        setError(error, in.errorString());
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(in.readAll(), &parseError);
    if (!document.isObject()) {
        setError(error, parseError.errorString());
        return false;
    }
    const QJsonObject o = document.object();
    DeviceModel m;
    qint64 format = 0, addr = 0, version = 0, build = 0, day = 0, access = 0, offset = 0, clears = 0;
    quint32 speed = 0, ident = 0, medium = 0, software = 0, code = 0, status = 0;
    const QJsonValue manufacturerValue = o.value(QStringLiteral("manufacturer"));
    const QJsonArray channelArray = o.value(QStringLiteral("channels")).toArray();
    if (!readInt(o, "format", kStateFormat, kStateFormat, &format) || !readInt(o, "address", 0, 255, &addr) ||
        !readInt(o, "mbusVersion", 0, 255, &version) || !readInt(o, "buildNumber", 0, 0xFFFF, &build) ||
        !readInt(o, "reportDay", 1, 31, &day) || !readInt(o, "accessNumber", 0, 255, &access) ||
        !readInt(o, "clockOffsetSecs", -(1LL << 40), 1LL << 40, &offset) ||
        !readInt(o, "journalClears", 0, 0xFFFFFFFFLL, &clears) || !readHex(o, "speedCode", 0xFF, &speed) ||
        baudRateOf(static_cast<quint8>(speed)) == 0 || !readHex(o, "identification", 0xFFFFFFFFu, &ident) ||
        !readHex(o, "medium", 0xFF, &medium) || !readHex(o, "softwareVersion", 0xFFFF, &software) ||
        !readHex(o, "softwareCode", 0xFFFF, &code) || !readHex(o, "status", 0xFF, &status) ||
        !manufacturerValue.isString() || manufacturerValue.toString().size() != 3 ||
        channelArray.size() != kChannels) {
        setError(error, QStringLiteral("malformed state file"));
        return false;
    }
    for (int i = 0; i < kChannels; ++i) {
        if (!channelFromJson(channelArray.at(i).toObject(), &m.channels[static_cast<size_t>(i)])) {
            setError(error, QStringLiteral("malformed channel %1 in the state file").arg(i + 1));
            return false;
        }
    }
    // A state file from before the journals keeps its device; the history is then built afresh.
    if (o.contains(QStringLiteral("journals")) &&
        !journalsFromJson(o.value(QStringLiteral("journals")).toObject(), &m)) {
        setError(error, QStringLiteral("malformed journals in the state file"));
        return false;
    }
    m.address = static_cast<quint8>(addr);
    m.speedCode = static_cast<quint8>(speed);
    m.identification = ident;
    m.manufacturer = manufacturerValue.toString();
    m.mbusVersion = static_cast<quint8>(version);
    m.medium = static_cast<quint8>(medium);
    m.softwareVersion = static_cast<quint16>(software);
    m.softwareCode = static_cast<quint16>(code);
    m.buildNumber = static_cast<quint16>(build);
    m.reportDay = static_cast<quint8>(day);
    m.accessNumber = static_cast<quint8>(access);
    m.status = static_cast<quint8>(status);
    m.clockOffsetSecs = offset;
    m.journalClears = static_cast<quint32>(clears);
    *this = m;
    return true;
}

} // namespace sim
