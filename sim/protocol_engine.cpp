#include "sim/protocol_engine.h"

#include "device/register_map.h"
#include "link/frames.h"
#include "sim/data_records.h"

#include <cmath>

namespace sim
{

namespace
{

namespace regs = device::registers;

constexpr quint8 kReqUd1 = 0x5A;
constexpr quint8 kReqUd1Fcb = 0x7A;
constexpr quint8 kCiReset = 0x50;
constexpr quint8 kCiVariableAnswer = 0x72;
constexpr quint8 kCiApplicationError = 0x70;
constexpr quint8 kSpeedFirst = 0xBA;
constexpr quint8 kSpeedLast = 0xBD;
constexpr int kMaxRegisters = 125;

// VIF values as parseDataRecords assembles them (first byte highest).
constexpr quint32 kVifDateTime = 0x6D;
constexpr quint32 kVifAddress = 0x7A;
constexpr quint32 kVifIdentification = 0x79;
constexpr quint32 kVifReportDay = 0xFF1A;
constexpr quint32 kVifDuration = 0xFF1D;
constexpr quint32 kVifWeight = 0xFF1E;
constexpr quint32 kVifAppointment = 0xFF1F;
constexpr quint32 kVifJournalFirst = 0xFF20; // the selection's records, FF 20 .. FF 24
constexpr quint32 kVifJournalLast = 0xFF24;
constexpr quint8 kDifInt8 = 0x01;
constexpr quint8 kDifInt16 = 0x02;
constexpr quint8 kDifInt32 = 0x04;
constexpr quint8 kDifReal = 0x05;
constexpr quint8 kDifInt48 = 0x06;
constexpr quint8 kDifInt64Chain = 0x87;
constexpr quint8 kDifBcd8 = 0x0C;
constexpr quint8 kHighestAppointment = 4;

quint8 byteAt(const QByteArray &bytes, int i)
{
    return static_cast<quint8>(bytes.at(i));
}

quint16 word(const QByteArray &bytes, int i)
{
    return static_cast<quint16>(byteAt(bytes, i) << 8 | byteAt(bytes, i + 1));
}

void appendWord(QByteArray &out, quint16 value)
{
    out.append(static_cast<char>(value >> 8));
    out.append(static_cast<char>(value & 0xFF));
}

void appendCrc(QByteArray &frame)
{
    appendLittleEndian(frame, frames::crc16(frame), 2);
}

bool isBcd(quint32 value)
{
    for (int nibble = 0; nibble < 8; ++nibble) {
        if (((value >> (4 * nibble)) & 0xF) > 9)
            return false;
    }
    return true;
}

quint32 deviceSeconds(const DeviceModel &model, const QDateTime &systemUtc)
{
    const qint64 seconds = model.clockUtc(systemUtc).toSecsSinceEpoch();
    return static_cast<quint32>(qBound<qint64>(0, seconds, 0xFFFFFFFFLL));
}

// Seven-bit year of the M-Bus date forms, counted from 2000.
int mbusYear(const QDate &date)
{
    return (date.year() - 2000) & 0x7F;
}

QByteArray dateTimeTypeI(const QDateTime &utc)
{
    const QDate date = utc.date();
    const QTime time = utc.time();
    const int y = mbusYear(date);
    QByteArray out;
    out.append(static_cast<char>(time.second() & 0x3F));
    out.append(static_cast<char>(time.minute() & 0x3F));
    out.append(static_cast<char>(time.hour() & 0x1F));
    out.append(static_cast<char>(date.day() | (y & 7) << 5));
    out.append(static_cast<char>(date.month() | (y >> 3) << 4));
    out.append('\0');
    return out;
}

QByteArray dateTimeTypeF(const QDateTime &utc)
{
    return dateTimeTypeI(utc).mid(1, 4);
}

// The device's clock fields from a 6-byte date-time record; the day-of-week bits are ignored.
bool decodeDateTime(const QByteArray &data, QDateTime *utc)
{
    const int second = byteAt(data, 0) & 0x3F;
    const int minute = byteAt(data, 1) & 0x3F;
    const int hour = byteAt(data, 2) & 0x1F;
    const int day = byteAt(data, 3) & 0x1F;
    const int month = byteAt(data, 4) & 0x0F;
    const int year = 2000 + (((byteAt(data, 3) & 0xE0) >> 5) | ((byteAt(data, 4) & 0xF0) >> 1));
    const QDate date(year, month, day);
    const QTime time(hour, minute, second);
    if (!date.isValid() || !time.isValid())
        return false;
    *utc = QDateTime(date, time, Qt::UTC);
    return true;
}

void appendRecord(QByteArray &out, const QByteArray &difAndVif, const QByteArray &data)
{
    out.append(difAndVif);
    out.append(data);
}

QByteArray vifBytes(quint16 vif)
{
    QByteArray out;
    if (vif > 0xFF)
        out.append(static_cast<char>(vif >> 8));
    out.append(static_cast<char>(vif & 0xFF));
    return out;
}

} // namespace

ProtocolEngine::Target ProtocolEngine::target(quint8 address) const
{
    if (address == model_.address || address == kPointToPoint)
        return Target::Answered;
    if (address == kBroadcast)
        return Target::Silent;
    return Target::Foreign;
}

EngineReply ProtocolEngine::handle(const RequestFrame &request, const QDateTime &systemUtc)
{
    // The request finder hands over whole, intact frames only; anything else is line noise.
    const QByteArray &bytes = request.bytes;
    switch (request.framing) {
    case RequestFraming::Register: {
        const bool read = bytes.size() == 8 && byteAt(bytes, 1) == frames::kReadRegisters;
        const bool write = bytes.size() >= 9 && byteAt(bytes, 1) == frames::kWriteRegisters &&
                           bytes.size() == 9 + byteAt(bytes, 6);
        if ((!read && !write) || !frames::crcIntact(bytes))
            return {};
        return handleRegister(bytes, systemUtc);
    }
    case RequestFraming::MBus: {
        const frames::FrameCheck check = frames::checkMbus(bytes);
        if (check.state != frames::Completeness::Complete || check.frameLength != bytes.size() ||
            bytes.size() == 1)
            return {};
        if (bytes.size() == 5)
            return handleShort(bytes, systemUtc);
        return handleLong(bytes, systemUtc);
    }
    }
    return {};
}

QByteArray ProtocolEngine::registerException(quint8 address, quint8 function, quint8 code)
{
    QByteArray out;
    out.append(static_cast<char>(address));
    out.append(static_cast<char>(function | 0x80));
    out.append(static_cast<char>(code));
    appendCrc(out);
    return out;
}

QByteArray ProtocolEngine::applicationError(quint8 address)
{
    return frames::mbusLong(frames::kRspUd, address, kCiApplicationError, QByteArray(1, '\0'));
}

bool ProtocolEngine::readRegister(quint16 reg, const QDateTime &systemUtc, quint16 *value) const
{
    const int channels = model_.channelCount();
    if (reg == regs::kAddress) {
        *value = model_.address;
    } else if (reg == regs::kSpeed) {
        *value = static_cast<quint16>(model_.speedCode - kSpeedFirst);
    } else if (reg == regs::kClock || reg == regs::kClock + 1) {
        const quint32 seconds = deviceSeconds(model_, systemUtc);
        *value = static_cast<quint16>(reg == regs::kClock ? seconds & 0xFFFF : seconds >> 16);
    } else if (reg >= regs::kCounters && reg < regs::kCounters + 2 * channels) {
        const quint32 counter = model_.channels[static_cast<size_t>((reg - regs::kCounters) / 2)].counter;
        *value = static_cast<quint16>((reg - regs::kCounters) % 2 == 0 ? counter & 0xFFFF : counter >> 16);
    } else if (reg >= regs::kValues && reg < regs::kValues + 2 * channels) {
        const QByteArray bits =
            floatBytes(model_.channels[static_cast<size_t>((reg - regs::kValues) / 2)].value);
        const quint32 raw = static_cast<quint32>(littleEndian(bits));
        *value = static_cast<quint16>((reg - regs::kValues) % 2 == 0 ? raw & 0xFFFF : raw >> 16);
    } else {
        return false;
    }
    return true;
}

EngineReply ProtocolEngine::handleRegister(const QByteArray &frame, const QDateTime &systemUtc)
{
    const Target to = target(byteAt(frame, 0));
    if (to == Target::Foreign)
        return {};
    const quint8 self = model_.address;
    const quint8 function = byteAt(frame, 1);
    readout_ = Readout::Idle;
    const quint16 start = word(frame, 2);
    const int count = word(frame, 4);
    const auto answerIf = [to](const QByteArray &answer, bool changed) {
        return EngineReply{to == Target::Answered ? answer : QByteArray(), changed};
    };

    if (function == frames::kReadRegisters) {
        if (count < 1 || count > kMaxRegisters)
            return answerIf(registerException(self, function, kIllegalValue), false);
        QByteArray answer;
        answer.append(static_cast<char>(self));
        answer.append(static_cast<char>(function));
        answer.append(static_cast<char>(2 * count));
        for (int i = 0; i < count; ++i) {
            quint16 value = 0;
            if (!readRegister(static_cast<quint16>(start + i), systemUtc, &value))
                return answerIf(registerException(self, function, kIllegalAddress), false);
            appendWord(answer, value);
        }
        appendCrc(answer);
        return answerIf(answer, false);
    }

    // Register write: journal clearing, or counters preset in their register pairs.
    const int byteCount = byteAt(frame, 6);
    if (count < 1 || byteCount != 2 * count)
        return answerIf(registerException(self, function, kIllegalValue), false);
    const int channels = model_.channelCount();
    const bool journal = start == regs::kJournalClear && count == 1;
    const bool counters = start >= regs::kCounters && start + count <= regs::kCounters + 2 * channels;
    if (!journal && !counters)
        return answerIf(registerException(self, function, kIllegalAddress), false);
    if (journal) {
        ++model_.journalClears;
        clearJournals(model_, model_.clockUtc(systemUtc));
    } else {
        for (int i = 0; i < count; ++i) {
            const int reg = start + i - regs::kCounters;
            quint32 &counter = model_.channels[static_cast<size_t>(reg / 2)].counter;
            const quint32 half = word(frame, 7 + 2 * i);
            counter = reg % 2 == 0 ? (counter & 0xFFFF0000u) | half : (counter & 0xFFFFu) | half << 16;
        }
    }
    QByteArray answer = frame.left(6);
    answer[0] = static_cast<char>(self);
    appendCrc(answer);
    return answerIf(answer, true);
}

EngineReply ProtocolEngine::handleShort(const QByteArray &frame, const QDateTime &systemUtc)
{
    const quint8 control = byteAt(frame, 1);
    const Target to = target(byteAt(frame, 2));
    if (to != Target::Answered)
        return {};
    const QByteArray journalAnswer = journalTelegram(control, byteAt(frame, 2));
    if (!journalAnswer.isEmpty())
        return {journalAnswer, false};
    switch (control) {
    case frames::kSndNke:
    case kReqUd1:
    case kReqUd1Fcb:
        return {QByteArray(1, static_cast<char>(frames::kAck)), false};
    case frames::kReqUd2:
    case frames::kReqUd2Fcb:
        return {dataTelegram(systemUtc), false};
    default:
        return {};
    }
}

EngineReply ProtocolEngine::handleLong(const QByteArray &frame, const QDateTime &systemUtc)
{
    const quint8 control = byteAt(frame, 4);
    const Target to = target(byteAt(frame, 5));
    const quint8 ci = byteAt(frame, 6);
    const QByteArray data = frame.mid(7, frame.size() - 9);
    if (to == Target::Foreign || (control != frames::kSndUd && control != frames::kSndUdFcb))
        return {};
    const bool answered = to == Target::Answered;
    // Any SND_UD ends a journal readout; a new selection starts the next one.
    readout_ = Readout::Idle;
    const QByteArray ack(1, static_cast<char>(frames::kAck));

    if (ci == kCiReset && data.size() <= 1)
        return {answered ? ack : QByteArray(), false};
    if (ci >= kSpeedFirst && ci <= kSpeedLast && data.isEmpty()) {
        const bool changed = model_.speedCode != ci;
        model_.speedCode = ci;
        return {answered ? ack : QByteArray(), changed};
    }
    if (ci != frames::kCiDataSend)
        return {};
    if (data.size() == 2 && byteAt(data, 0) == frames::kReadConfiguration) {
        const int channel = byteAt(data, 1);
        if (!answered || channel > model_.channelCount())
            return {};
        return {channel == 0 ? informationAnswer(systemUtc) : channelAnswer(channel), false};
    }
    return handleRecords(data, answered, systemUtc);
}

EngineReply ProtocolEngine::handleRecords(const QByteArray &bytes, bool answered, const QDateTime &systemUtc)
{
    QList<DataRecord> records;
    if (!parseDataRecords(bytes, &records) || records.isEmpty())
        return {};
    if (records.first().vif >= kVifJournalFirst && records.first().vif <= kVifJournalLast)
        return startJournalReadout(records, answered, systemUtc);
    // Changes go to a copy first, so a telegram with one bad record changes nothing.
    DeviceModel next = model_;
    ChannelState *channel = nullptr;
    for (const DataRecord &r : records) {
        const bool plain = r.difeCount == 0;
        if (r.dif == kDifInt48 && r.vif == kVifDateTime && plain) {
            QDateTime utc;
            if (!decodeDateTime(r.data, &utc))
                return {};
            next.setClockUtc(utc, systemUtc);
        } else if (r.dif == kDifInt8 && r.vif == kVifAddress && plain) {
            if (byteAt(r.data, 0) > DeviceModel::kHighestPrimaryAddress)
                return {};
            next.address = byteAt(r.data, 0);
        } else if (r.dif == kDifBcd8 && r.vif == kVifIdentification && plain) {
            const quint32 number = static_cast<quint32>(littleEndian(r.data));
            // All-FF prepares an identification write; the number itself stays as it is.
            if (number != 0xFFFFFFFFu) {
                if (!isBcd(number))
                    return {};
                next.identification = number;
            }
        } else if (r.dif == kDifInt8 && r.vif == kVifReportDay && plain) {
            const quint8 day = byteAt(r.data, 0);
            if (day == 0 || day > 31)
                return {};
            next.reportDay = day;
        } else if (r.dif == kDifInt64Chain && r.vif == kVifIdentification) {
            if (r.subunit < 1 || r.subunit > next.channelCount())
                return {};
            channel = &next.channels[static_cast<size_t>(r.subunit - 1)];
            channel->identification = static_cast<quint32>(littleEndian(r.data.left(4)));
            channel->manufacturer = static_cast<quint16>(littleEndian(r.data.mid(4, 2)));
            channel->version = byteAt(r.data, 6);
            channel->medium = byteAt(r.data, 7);
        } else if (channel && plain && r.dif == kDifReal && r.vif == kVifWeight) {
            const float weight = floatFromBytes(r.data);
            if (!std::isfinite(weight))
                return {};
            channel->weight = weight;
        } else if (channel && plain && r.dif == kDifInt16 && r.vif == kVifDuration) {
            channel->durationMs = static_cast<quint16>(littleEndian(r.data));
        } else if (channel && plain && r.dif == kDifInt8 && r.vif == kVifAppointment) {
            if (byteAt(r.data, 0) > kHighestAppointment)
                return {};
            channel->appointment = byteAt(r.data, 0);
        } else if (channel && plain && r.dif == kDifReal && r.vifLength <= 2) {
            const float value = floatFromBytes(r.data);
            if (!std::isfinite(value))
                return {};
            channel->vif = static_cast<quint16>(r.vif);
            channel->value = value;
        } else {
            return {};
        }
    }
    model_ = next;
    return {answered ? QByteArray(1, static_cast<char>(frames::kAck)) : QByteArray(), true};
}

EngineReply ProtocolEngine::startJournalReadout(const QList<DataRecord> &records, bool answered,
                                                const QDateTime &systemUtc)
{
    JournalSelection selection;
    if (!parseJournalSelection(records, &selection))
        return {};
    // A device without a history in its state file starts with one, kept from then on.
    const bool built = !model_.journalsBuilt;
    if (built)
        buildJournals(model_, model_.clockUtc(systemUtc));
    journal_ = JournalReadout(model_, selection);
    readout_ = Readout::Reading;
    lastTelegram_.clear();
    return {answered ? QByteArray(1, static_cast<char>(frames::kAck)) : QByteArray(), built};
}

QByteArray ProtocolEngine::journalTelegram(quint8 control, quint8 address)
{
    const bool request = control == frames::kReqUd2 || control == frames::kReqUd2Fcb;
    const bool fcb = control == frames::kReqUd2Fcb;
    const bool repeat = !lastTelegram_.isEmpty() && fcb == lastFcb_;
    if (readout_ == Readout::Finished && request && repeat && address == model_.address)
        return lastTelegram_;
    if (readout_ != Readout::Reading || !request) {
        readout_ = Readout::Idle;
        return {};
    }
    if (repeat)
        return lastTelegram_;
    bool final = false;
    const QByteArray records = journal_.advance(model_, &final);
    const QByteArray head =
        header(model_.identification, model_.manufacturerCode(), model_.mbusVersion, model_.medium);
    lastTelegram_ = rspUd(kCiVariableAnswer, head, records);
    lastFcb_ = fcb;
    if (final)
        readout_ = Readout::Finished;
    return lastTelegram_;
}

QByteArray ProtocolEngine::header(quint32 identification, quint16 manufacturer, quint8 version, quint8 medium)
{
    QByteArray out;
    appendLittleEndian(out, identification, 4);
    appendLittleEndian(out, manufacturer, 2);
    out.append(static_cast<char>(version));
    out.append(static_cast<char>(medium));
    out.append(static_cast<char>(model_.accessNumber++));
    out.append(static_cast<char>(model_.status));
    out.append(2, '\0');
    return out;
}

QByteArray ProtocolEngine::rspUd(quint8 ci, const QByteArray &head, const QByteArray &records)
{
    return frames::mbusLong(frames::kRspUd, model_.address, ci, head + records);
}

QByteArray ProtocolEngine::informationAnswer(const QDateTime &systemUtc)
{
    QByteArray records;
    appendRecord(records, QByteArray::fromHex("02FD0E"), QByteArray());
    appendLittleEndian(records, model_.softwareVersion, 2);
    appendRecord(records, QByteArray::fromHex("02FD0F"), QByteArray());
    appendLittleEndian(records, model_.softwareCode, 2);
    appendRecord(records, QByteArray::fromHex("02FD0C"), QByteArray());
    appendLittleEndian(records, model_.buildNumber, 2);
    appendRecord(records, QByteArray::fromHex("01FF1A"), QByteArray(1, static_cast<char>(model_.reportDay)));
    appendRecord(records, QByteArray::fromHex("066D"), dateTimeTypeI(model_.clockUtc(systemUtc)));
    const QByteArray head =
        header(model_.identification, model_.manufacturerCode(), model_.mbusVersion, model_.medium);
    return rspUd(kCiVariableAnswer, head, records);
}

QByteArray ProtocolEngine::channelAnswer(int channel)
{
    const ChannelState &c = model_.channels[static_cast<size_t>(channel - 1)];
    QByteArray records;
    records.append(static_cast<char>(kDifReal));
    appendRecord(records, vifBytes(c.vif), floatBytes(c.value));
    appendRecord(records, QByteArray::fromHex("05FF1E"), floatBytes(c.weight));
    appendRecord(records, QByteArray::fromHex("02FF1D"), QByteArray());
    appendLittleEndian(records, c.durationMs, 2);
    appendRecord(records, QByteArray::fromHex("01FF1F"), QByteArray(1, static_cast<char>(c.appointment)));
    appendRecord(records, QByteArray::fromHex("01FD17"), QByteArray(1, static_cast<char>(c.errorFlags)));
    appendRecord(records, QByteArray::fromHex("04FD3A"), QByteArray());
    appendLittleEndian(records, c.counter, 4);
    return rspUd(kCiVariableAnswer, header(c.identification, c.manufacturer, c.version, c.medium), records);
}

QByteArray ProtocolEngine::dataTelegram(const QDateTime &systemUtc)
{
    QByteArray records;
    for (int k = 1; k <= model_.channelCount(); ++k) {
        records.append(static_cast<char>(kDifInt32 | 0x80));
        records.append(channelDifeChain(k));
        records.append(QByteArray::fromHex("FD3A"));
        appendLittleEndian(records, model_.channels[static_cast<size_t>(k - 1)].counter, 4);
    }
    appendRecord(records, QByteArray::fromHex("046D"), dateTimeTypeF(model_.clockUtc(systemUtc)));
    const QByteArray head =
        header(model_.identification, model_.manufacturerCode(), model_.mbusVersion, model_.medium);
    return rspUd(kCiVariableAnswer, head, records);
}

} // namespace sim
