#include "common/mbus_telegram.h"

#include "common/hex_dump.h"
#include "common/vocabulary.h"

#include <QCoreApplication>
#include <cstring>

namespace mbus
{

namespace
{

class TelegramTexts
{
    Q_DECLARE_TR_FUNCTIONS(TelegramTexts)

public:
    static QString errorText(TelegramError error);
};

constexpr quint8 kAck = 0xE5;
constexpr quint8 kLongStart = 0x68;
constexpr quint8 kStop = 0x16;
constexpr int kFrameOverhead = 6;     // 68 L L 68 ... CS 16
constexpr int kMinimumFrame = 9;      // 68 03 03 68 C A CI CS 16
constexpr int kUserDataStart = 7;     // first byte after CI
constexpr quint8 kControlMask = 0xCF; // ACD and DFC bits left out
constexpr quint8 kRspUd = 0x08;
constexpr quint8 kCiApplicationError = 0x70;
constexpr quint8 kCiVariableData = 0x72;
constexpr quint8 kCiFixedData = 0x73;
constexpr quint8 kCiVariableDataMsbFirst = 0x76;
constexpr quint8 kCiFixedDataMsbFirst = 0x77;
constexpr quint8 kCiVariableDataNoHeader = 0x78;
constexpr quint8 kCiVariableDataShortHeader = 0x7A;
constexpr int kVariableHeaderSize = 12;
constexpr int kShortHeaderSize = 4;
constexpr quint8 kUnknownMedium = 0x0F;
constexpr int kFixedDataSize = 16;
constexpr int kMaxExtensions = 10; // DIFEs, and VIFEs, per record
constexpr quint8 kDifManufacturerData = 0x0F;
constexpr quint8 kDifMoreRecordsFollow = 0x1F;
constexpr quint8 kDifFiller = 0x2F;
constexpr quint8 kExtensionBit = 0x80;
constexpr quint8 kVifExtensionFb = 0xFB;
constexpr quint8 kVifExtensionFd = 0xFD;
constexpr quint8 kVifPlainText = 0x7C;
constexpr quint8 kVifManufacturer = 0x7F;
constexpr quint8 kVifeManufacturer = 0x7F;

QByteArray reversed(const QByteArray &bytes)
{
    QByteArray out(bytes.size(), '\0');
    for (int i = 0; i < bytes.size(); ++i)
        out[i] = bytes.at(bytes.size() - 1 - i);
    return out;
}

// Reads forward through the user data; `end` is the position of the checksum byte. Values come out
// least significant byte first whatever order the telegram sends them in.
class Cursor
{
public:
    Cursor(const QByteArray &frame, int position, int end, bool msbFirst)
        : m_frame(frame), m_position(position), m_end(end), m_msbFirst(msbFirst)
    {
    }

    int position() const { return m_position; }
    bool atEnd() const { return m_position >= m_end; }
    int left() const { return m_end - m_position; }
    quint8 next() { return quint8(m_frame.at(m_position++)); }
    QByteArray take(int count)
    {
        const QByteArray bytes = m_frame.mid(m_position, count);
        m_position += count;
        return bytes;
    }
    // A multi-byte value, least significant byte first (texts: last character first).
    QByteArray takeValue(int count)
    {
        const QByteArray bytes = take(count);
        return m_msbFirst ? reversed(bytes) : bytes;
    }

private:
    const QByteArray &m_frame;
    int m_position;
    int m_end;
    bool m_msbFirst;
};

struct Failure {
    TelegramError error;
    int offset;
};

quint64 littleEndian(const QByteArray &bytes)
{
    quint64 value = 0;
    for (int i = bytes.size() - 1; i >= 0; --i)
        value = (value << 8) | quint8(bytes.at(i));
    return value;
}

qint64 signedLittleEndian(const QByteArray &bytes)
{
    const quint64 value = littleEndian(bytes);
    const int bits = bytes.size() * 8;
    if (bits >= 64)
        return qint64(value);
    const quint64 signBit = quint64(1) << (bits - 1);
    return qint64((value ^ signBit) - signBit);
}

QString hexDigitsOf(const QByteArray &bytes)
{
    QString digits;
    for (int i = bytes.size() - 1; i >= 0; --i)
        digits += QString::number(quint8(bytes.at(i)), 16).toUpper().rightJustified(2, QLatin1Char('0'));
    return digits;
}

bool allDecimal(const QString &digits)
{
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    return true;
}

void setBcd(DataRecord *record, const QByteArray &bytes, bool negative)
{
    QString digits = hexDigitsOf(bytes);
    if (!negative && digits.startsWith(QLatin1Char('F')) && allDecimal(digits.mid(1))) {
        negative = true;
        digits.remove(0, 1);
    }
    record->type = ValueType::Bcd;
    record->digits = digits;
    record->negative = negative;
}

QString reversedLatin1(const QByteArray &bytes)
{
    return QString::fromLatin1(reversed(bytes));
}

int fullYear(int year, int hundredYears)
{
    if (hundredYears > 0)
        return 1900 + 100 * hundredYears + year;
    return year <= 80 ? 2000 + year : 1900 + year;
}

// Date, type G: day in bits 0-4 of byte 0, month in bits 0-3 of byte 1, the year's 3 low bits in
// bits 5-7 of byte 0 and its 4 high bits in bits 4-7 of byte 1.
void setDateG(TimePoint *time, quint8 dayByte, quint8 monthByte)
{
    time->day = dayByte & 0x1F;
    time->month = monthByte & 0x0F;
    time->year = ((dayByte & 0xE0) >> 5) | ((monthByte & 0xF0) >> 1);
}

// Date and time, type F (4 bytes: minute, hour, then a type G date) or type I (6 bytes: second,
// minute, hour, then a type G date and one byte left aside). The minute byte's bit 7 flags an
// invalid time; the hour byte of type F carries the hundred years in bits 5-6 and summer time in 7.
TimePoint timePoint(const QByteArray &bytes)
{
    TimePoint time;
    const auto at = [&bytes](int i) { return quint8(bytes.at(i)); };
    if (bytes.size() == 2) {
        setDateG(&time, at(0), at(1));
        time.year = fullYear(time.year, 0);
        return time;
    }
    int hundredYears = 0;
    int i = 0;
    if (bytes.size() == 6)
        time.second = at(i++) & 0x3F;
    time.minute = at(i) & 0x3F;
    time.invalid = at(i++) & 0x80;
    time.hour = at(i) & 0x1F;
    if (bytes.size() == 4) {
        hundredYears = (at(i) >> 5) & 0x03;
        time.summerTime = at(i) & 0x80;
    }
    ++i;
    setDateG(&time, at(i), at(i + 1));
    time.year = fullYear(time.year, hundredYears);
    return time;
}

bool carriesTime(Quantity quantity)
{
    return quantity == Quantity::Date || quantity == Quantity::DateTime ||
           quantity == Quantity::TariffStart || quantity == Quantity::BatteryChangeTime ||
           quantity == Quantity::JournalRangeStart || quantity == Quantity::JournalRangeEnd;
}

// Data field length in bytes for the fixed-size codes; -1 for variable length (0xD).
int dataFieldSize(quint8 dataField)
{
    static const int kSizes[16] = {0, 1, 2, 3, 4, 4, 6, 8, 0, 1, 2, 3, 4, -1, 6, 8};
    return kSizes[dataField & 0x0F];
}

struct UnitOption {
    quint8 unitCode;
    int power;
};

// The vocabulary units a base unit can be shown in, smallest first.
QVector<UnitOption> unitOptions(BaseUnit unit)
{
    switch (unit) {
    case BaseUnit::WattHour:
        return {{1, 0}, {2, 3}, {34, 6}, {42, 9}};
    case BaseUnit::Joule:
        return {{5, 0}, {6, 3}, {35, 6}, {36, 9}};
    case BaseUnit::CubicMetre:
        return {{11, -3}, {10, 0}};
    case BaseUnit::Kilogram:
        return {{12, -3}, {13, 0}, {14, 3}};
    case BaseUnit::Watt:
        return {{21, 0}, {37, 3}, {38, 6}, {39, 9}};
    case BaseUnit::JoulePerHour:
        return {{22, 0}, {46, 3}, {47, 6}, {48, 9}};
    case BaseUnit::CubicMetrePerHour:
        return {{25, 0}};
    case BaseUnit::CubicMetrePerMinute:
        return {{26, 0}};
    case BaseUnit::CubicMetrePerSecond:
        return {{27, 0}};
    case BaseUnit::KilogramPerHour:
        return {{28, 0}};
    case BaseUnit::Celsius:
        return {{29, 0}};
    case BaseUnit::Kelvin:
        return {{30, 0}};
    case BaseUnit::Fahrenheit:
        return {{31, 0}};
    case BaseUnit::Bar:
        return {{32, 0}};
    case BaseUnit::DecibelMilliwatt:
        return {{41, 0}};
    case BaseUnit::Calorie:
        return {{7, 0}, {8, 3}, {23, 6}, {9, 9}};
    case BaseUnit::VarHour:
        return {{3, 0}, {4, 3}};
    case BaseUnit::Percent:
        return {{40, 0}};
    case BaseUnit::None:
    case BaseUnit::Volt:
    case BaseUnit::Ampere:
    case BaseUnit::CubicFoot:
    case BaseUnit::UsGallon:
    case BaseUnit::UsGallonPerMinute:
    case BaseUnit::UsGallonPerHour:
    case BaseUnit::Currency:
    case BaseUnit::Baud:
    case BaseUnit::BitTime:
    case BaseUnit::VoltAmpereHour:
    case BaseUnit::Var:
    case BaseUnit::VoltAmpere:
    case BaseUnit::Degree:
    case BaseUnit::Hertz:
    case BaseUnit::Millisecond:
        return {};
    }
    return {};
}

quint8 timeUnitCode(TimeUnit unit)
{
    switch (unit) {
    case TimeUnit::None:
        return 0;
    case TimeUnit::Seconds:
        return 15;
    case TimeUnit::Minutes:
        return 16;
    case TimeUnit::Hours:
        return 17;
    case TimeUnit::Days:
        return 18;
    case TimeUnit::Months:
        return 19;
    case TimeUnit::Years:
        return 20;
    }
    return 0;
}

// Picks the vocabulary unit: the smallest whose power is not below the record's exponent, so the
// value keeps its decimals (10 Wh steps show as kWh with two decimals); past the largest, the largest.
void chooseUnit(DataRecord *record)
{
    const VifMeaning &meaning = record->meaning;
    if (meaning.timeUnit != TimeUnit::None) {
        record->unitCode = timeUnitCode(meaning.timeUnit);
        record->unitScale = meaning.exponent;
        return;
    }
    const QVector<UnitOption> options = unitOptions(meaning.baseUnit);
    if (options.isEmpty()) {
        record->unitScale = meaning.exponent;
        return;
    }
    UnitOption chosen = options.last();
    for (const UnitOption &option : options) {
        if (option.power >= meaning.exponent) {
            chosen = option;
            break;
        }
    }
    record->unitCode = chosen.unitCode;
    record->unitScale = meaning.exponent - chosen.power;
}

// The value kind of quantities the unit alone cannot tell.
quint8 quantityValueKind(Quantity quantity)
{
    switch (quantity) {
    case Quantity::OnTime:
        return 7;
    case Quantity::OperatingTime:
        return 37;
    case Quantity::Energy:
        return 1;
    case Quantity::ReactiveEnergy:
        return 3;
    case Quantity::Volume:
        return 5;
    case Quantity::Mass:
        return 6;
    case Quantity::Power:
    case Quantity::CumulativeMaxPower:
        return 9;
    case Quantity::VolumeFlow:
        return 10;
    case Quantity::MassFlow:
        return 11;
    case Quantity::FlowTemperature:
        return 30;
    case Quantity::ReturnTemperature:
        return 31;
    case Quantity::TemperatureDifference:
        return 12;
    case Quantity::ExternalTemperature:
        return 13;
    case Quantity::Pressure:
        return 14;
    case Quantity::Date:
        return 24;
    case Quantity::DateTime:
        return 25;
    case Quantity::AveragingDuration:
        return 16;
    case Quantity::ActualityDuration:
    case Quantity::StorageInterval:
    case Quantity::DurationSinceReadout:
    case Quantity::TariffDuration:
    case Quantity::TariffPeriod:
    case Quantity::DurationSinceCumulation:
        return 15;
    case Quantity::ModelVersion:
        return 18;
    case Quantity::HardwareVersion:
        return 20;
    case Quantity::FirmwareVersion:
        return 49;
    case Quantity::SoftwareVersion:
        return 19;
    case Quantity::ErrorFlags:
        return 22;
    case Quantity::DigitalOutput:
    case Quantity::DigitalInput:
        return 21;
    case Quantity::Rssi:
        return 27;
    case Quantity::Unknown:
        return 48;
    case Quantity::TemperatureLimit:
        return 17;
    case Quantity::HcaUnits:
    case Quantity::FabricationNumber:
    case Quantity::EnhancedIdentification:
    case Quantity::BusAddress:
    case Quantity::PlainText:
    case Quantity::AnyVif:
    case Quantity::ManufacturerSpecific:
    case Quantity::Credit:
    case Quantity::Debit:
    case Quantity::AccessNumber:
    case Quantity::MediumField:
    case Quantity::ManufacturerField:
    case Quantity::ParameterSetIdentification:
    case Quantity::CustomerLocation:
    case Quantity::Customer:
    case Quantity::AccessCodeUser:
    case Quantity::AccessCodeOperator:
    case Quantity::AccessCodeSystemOperator:
    case Quantity::AccessCodeDeveloper:
    case Quantity::Password:
    case Quantity::ErrorMask:
    case Quantity::BaudRate:
    case Quantity::ResponseDelay:
    case Quantity::Retry:
    case Quantity::FirstStorageNumber:
    case Quantity::LastStorageNumber:
    case Quantity::StorageBlockSize:
    case Quantity::TariffStart:
    case Quantity::Dimensionless:
    case Quantity::Voltage:
    case Quantity::Current:
    case Quantity::ResetCounter:
    case Quantity::CumulationCounter:
    case Quantity::ControlSignal:
    case Quantity::DayOfWeek:
    case Quantity::WeekNumber:
    case Quantity::DayChangeTime:
    case Quantity::ParameterActivationState:
    case Quantity::SpecialSupplierInformation:
    case Quantity::BatteryOperatingTime:
    case Quantity::BatteryChangeTime:
    case Quantity::ApparentEnergy:
    case Quantity::ReactivePower:
    case Quantity::ApparentPower:
    case Quantity::RelativeHumidity:
    case Quantity::PhaseVoltageToVoltage:
    case Quantity::PhaseVoltageToCurrent:
    case Quantity::Frequency:
    case Quantity::RatingFactorK:
    case Quantity::RatingFactorKq:
    case Quantity::RatingFactorKc:
    case Quantity::RatingFactorKcr:
    case Quantity::RatingFactorKch:
    case Quantity::RatingFactorKt:
    case Quantity::ScalingFactorKd:
    case Quantity::SecurityKey:
    case Quantity::RemoteControl:
    case Quantity::TariffSubunitDescriptor:
    case Quantity::OperatorSpecificData:
    case Quantity::TimePointSecond:
    case Quantity::WirelessContainer:
    case Quantity::TransmissionPeriod:
    case Quantity::DaylightSaving:
    case Quantity::ListeningWindow:
    case Quantity::RemainingBatteryLifetime:
    case Quantity::MeterStopCount:
    case Quantity::ManufacturerContainer:
    case Quantity::ReportDay:
    case Quantity::PulseWeight:
    case Quantity::PulseDuration:
    case Quantity::InputAppointment:
    case Quantity::JournalKind:
    case Quantity::JournalFirstRecord:
    case Quantity::JournalRecordCount:
    case Quantity::JournalRangeStart:
    case Quantity::JournalRangeEnd:
    case Quantity::JournalEvent:
        return 0;
    }
    return 0;
}

// Quantities whose value kind depends on the meter's medium (energy of a heat meter is heat energy).
bool kindFollowsMedium(Quantity quantity)
{
    return quantity == Quantity::Energy || quantity == Quantity::Volume || quantity == Quantity::Mass ||
           quantity == Quantity::Power || quantity == Quantity::VolumeFlow;
}

// Unit code and value kind once the meaning and the value are known. A text value such as
// "12,5 kWh" is read through the vocabulary's unit words.
void classify(DataRecord *record, quint8 medium)
{
    chooseUnit(record);
    quint8 kind = quantityValueKind(record->meaning.quantity);
    if (record->type == ValueType::Text &&
        parseValueWithUnit(medium, record->text, &record->real, &record->unitCode)) {
        record->textReading = true;
        record->unitScale = 0;
        kind = 0;
    }
    const quint8 byUnit = valueKindFor(medium, record->unitCode);
    if ((kind == 0 || kindFollowsMedium(record->meaning.quantity)) && byUnit != 0)
        kind = byUnit;
    record->valueKind = kind;
}

// Reads the value information block after the DIB. Fails on a missing byte or too many VIFEs.
// `manufacturer` is the header's: records behind VIF 0xFF of the ZORVA's own code get their names.
bool readVib(Cursor *cursor, quint16 manufacturer, DataRecord *record, Failure *failure)
{
    const int vibStart = cursor->position();
    if (cursor->atEnd()) {
        *failure = {TelegramError::VifMissing, vibStart};
        return false;
    }
    const quint8 vif = cursor->next();
    record->vib.append(char(vif));
    int vifeCount = 0;
    bool extended = vif & kExtensionBit;
    quint8 definingCode = vif & 0x7F;
    if (vif == kVifExtensionFb || vif == kVifExtensionFd) {
        if (cursor->atEnd()) {
            *failure = {TelegramError::VifeMissing, cursor->position()};
            return false;
        }
        const quint8 trueVif = cursor->next();
        record->vib.append(char(trueVif));
        ++vifeCount;
        definingCode = trueVif & 0x7F;
        record->meaning = vif == kVifExtensionFb ? extensionFbVif(trueVif) : extensionFdVif(trueVif);
        extended = trueVif & kExtensionBit;
    } else {
        record->meaning = primaryVif(vif);
    }
    if ((vif & 0x7F) == kVifPlainText) {
        if (cursor->atEnd()) {
            *failure = {TelegramError::PlainTextTruncated, cursor->position()};
            return false;
        }
        const int lengthAt = cursor->position();
        const int length = cursor->next();
        if (length > cursor->left()) {
            *failure = {TelegramError::PlainTextTruncated, lengthAt};
            return false;
        }
        record->plainTextUnit = reversedLatin1(cursor->takeValue(length));
    }
    bool manufacturerCodes = (vif & 0x7F) == kVifManufacturer;
    while (extended) {
        if (vifeCount == kMaxExtensions) {
            *failure = {TelegramError::TooManyVifes, cursor->position()};
            return false;
        }
        if (cursor->atEnd()) {
            *failure = {TelegramError::VifeMissing, cursor->position()};
            return false;
        }
        const quint8 vife = cursor->next();
        record->vib.append(char(vife));
        ++vifeCount;
        extended = vife & kExtensionBit;
        if (manufacturerCodes) {
            record->manufacturerVifes.append(vife & 0x7F);
            continue;
        }
        int correction = 0;
        if ((vife & 0x7F) == kVifeManufacturer)
            record->manufacturerVife = manufacturerCodes = true;
        else if (correctionExponent(vife, &correction))
            record->meaning.exponent += correction;
        else
            record->vifes.append(vife & 0x7F);
    }
    if (record->meaning.quantity == Quantity::ManufacturerSpecific && manufacturer == kZorvaManufacturer &&
        !record->manufacturerVifes.isEmpty())
        record->meaning = zorvaVif(record->manufacturerVifes.first());
    if (record->meaning.quantity == Quantity::PlainText)
        record->unitDescription = spacedUnitText(record->meaning.exponent, record->plainTextUnit);
    else
        record->unitDescription = vifDescription(record->meaning, definingCode);
    return true;
}

// Reads the data field the DIF announces and fills the record's value.
bool readData(Cursor *cursor, quint8 dif, DataRecord *record, Failure *failure)
{
    const quint8 dataField = dif & 0x0F;
    int size = dataFieldSize(dataField);
    enum class Variable { No, Text, PositiveBcd, NegativeBcd, Binary } variable = Variable::No;
    if (size < 0) {
        if (cursor->atEnd()) {
            *failure = {TelegramError::DataTruncated, cursor->position()};
            return false;
        }
        const int lvarAt = cursor->position();
        const quint8 lvar = cursor->next();
        if (lvar <= 0xBF) {
            variable = Variable::Text;
            size = lvar;
        } else if (lvar >= 0xC0 && lvar <= 0xC9) {
            variable = Variable::PositiveBcd;
            size = lvar - 0xC0;
        } else if (lvar >= 0xD0 && lvar <= 0xD9) {
            variable = Variable::NegativeBcd;
            size = lvar - 0xD0;
        } else if (lvar >= 0xE0 && lvar <= 0xEF) {
            variable = Variable::Binary;
            size = lvar - 0xE0;
        } else if (lvar >= 0xF0 && lvar <= 0xF4) {
            variable = Variable::Binary;
            size = 4 * (lvar - 0xEC);
        } else if (lvar == 0xF5 || lvar == 0xF6) {
            variable = Variable::Binary;
            size = lvar == 0xF5 ? 48 : 64;
        } else {
            *failure = {TelegramError::ReservedVariableLength, lvarAt};
            return false;
        }
    }
    if (size > cursor->left()) {
        *failure = {TelegramError::DataTruncated, cursor->position()};
        return false;
    }
    const QByteArray bytes = cursor->takeValue(size);
    switch (variable) {
    case Variable::Text:
        record->type = ValueType::Text;
        record->text = reversedLatin1(bytes);
        return true;
    case Variable::PositiveBcd:
    case Variable::NegativeBcd:
        if (size > 0)
            setBcd(record, bytes, variable == Variable::NegativeBcd);
        return true;
    case Variable::Binary:
        // A binary number of up to 8 bytes is read as the fixed-length integers are (type B); a
        // longer one is shown as its bytes.
        if (size > 8) {
            record->type = ValueType::Binary;
            record->bytes = bytes;
        } else if (size > 0) {
            record->type = ValueType::Integer;
            record->integer = signedLittleEndian(bytes);
        }
        return true;
    case Variable::No:
        break;
    }
    if (size == 0)
        return true;
    const bool timeCode = carriesTime(record->meaning.quantity) &&
                          (dataField == 0x02 || dataField == 0x04 || dataField == 0x06);
    if (timeCode) {
        record->type = dataField == 0x02 ? ValueType::Date : ValueType::DateTime;
        record->time = timePoint(bytes);
    } else if (dataField == 0x05) {
        float value = 0;
        const quint32 bits = quint32(littleEndian(bytes));
        std::memcpy(&value, &bits, sizeof value);
        record->type = ValueType::Real;
        record->real = value;
    } else if (dataField >= 0x09) {
        setBcd(record, bytes, false);
    } else {
        record->type = ValueType::Integer;
        record->integer = signedLittleEndian(bytes);
    }
    return true;
}

// Reads the data records of a variable data structure, from the cursor to the checksum.
bool readRecords(Cursor *cursor, quint8 medium, quint16 manufacturer, QVector<DataRecord> *records,
                 Failure *failure)
{
    while (!cursor->atEnd()) {
        DataRecord record;
        record.offset = cursor->position();
        const quint8 dif = cursor->next();
        if (dif == kDifFiller)
            continue;
        record.dib.append(char(dif));
        if ((dif & 0x0F) == 0x0F) {
            if (dif != kDifManufacturerData && dif != kDifMoreRecordsFollow) {
                *failure = {TelegramError::ReservedDif, record.offset};
                return false;
            }
            record.function = dif == kDifManufacturerData ? RecordFunction::ManufacturerSpecific
                                                          : RecordFunction::MoreRecordsFollow;
            record.type = ValueType::ManufacturerData;
            record.bytes = cursor->take(cursor->left());
            records->append(record);
            return true;
        }
        record.function = RecordFunction((dif >> 4) & 0x03);
        record.storageNumber = (dif >> 6) & 0x01;
        bool extended = dif & kExtensionBit;
        while (extended) {
            if (record.difeCount == kMaxExtensions) {
                *failure = {TelegramError::TooManyDifes, cursor->position()};
                return false;
            }
            if (cursor->atEnd()) {
                *failure = {TelegramError::DifeMissing, cursor->position()};
                return false;
            }
            const quint8 dife = cursor->next();
            record.dib.append(char(dife));
            const int n = record.difeCount++;
            record.storageNumber |= quint64(dife & 0x0F) << (1 + 4 * n);
            record.tariff |= quint32((dife >> 4) & 0x03) << (2 * n);
            record.subunit |= quint32((dife >> 6) & 0x01) << n;
            extended = dife & kExtensionBit;
        }
        if (!readVib(cursor, manufacturer, &record, failure) || !readData(cursor, dif, &record, failure))
            return false;
        classify(&record, medium);
        records->append(record);
    }
    return true;
}

struct FixedUnit {
    const char *description;
    Quantity quantity;
    BaseUnit baseUnit;
    int exponent;
};

// Units of the fixed data structure, by their 6-bit code.
const FixedUnit kFixedUnits[64] = {
    {"h,m,s", Quantity::OnTime, BaseUnit::None, 0},
    {"D,M,Y", Quantity::Date, BaseUnit::None, 0},
    {"Wh", Quantity::Energy, BaseUnit::WattHour, 0},
    {"10 Wh", Quantity::Energy, BaseUnit::WattHour, 1},
    {"100 Wh", Quantity::Energy, BaseUnit::WattHour, 2},
    {"kWh", Quantity::Energy, BaseUnit::WattHour, 3},
    {"10 kWh", Quantity::Energy, BaseUnit::WattHour, 4},
    {"100 kWh", Quantity::Energy, BaseUnit::WattHour, 5},
    {"MWh", Quantity::Energy, BaseUnit::WattHour, 6},
    {"10 MWh", Quantity::Energy, BaseUnit::WattHour, 7},
    {"100 MWh", Quantity::Energy, BaseUnit::WattHour, 8},
    {"kJ", Quantity::Energy, BaseUnit::Joule, 3},
    {"10 kJ", Quantity::Energy, BaseUnit::Joule, 4},
    {"100 kJ", Quantity::Energy, BaseUnit::Joule, 5},
    {"MJ", Quantity::Energy, BaseUnit::Joule, 6},
    {"10 MJ", Quantity::Energy, BaseUnit::Joule, 7},
    {"100 MJ", Quantity::Energy, BaseUnit::Joule, 8},
    {"GJ", Quantity::Energy, BaseUnit::Joule, 9},
    {"10 GJ", Quantity::Energy, BaseUnit::Joule, 10},
    {"100 GJ", Quantity::Energy, BaseUnit::Joule, 11},
    {"W", Quantity::Power, BaseUnit::Watt, 0},
    {"10 W", Quantity::Power, BaseUnit::Watt, 1},
    {"100 W", Quantity::Power, BaseUnit::Watt, 2},
    {"kW", Quantity::Power, BaseUnit::Watt, 3},
    {"10 kW", Quantity::Power, BaseUnit::Watt, 4},
    {"100 kW", Quantity::Power, BaseUnit::Watt, 5},
    {"MW", Quantity::Power, BaseUnit::Watt, 6},
    {"10 MW", Quantity::Power, BaseUnit::Watt, 7},
    {"100 MW", Quantity::Power, BaseUnit::Watt, 8},
    {"kJ/h", Quantity::Power, BaseUnit::JoulePerHour, 3},
    {"10 kJ/h", Quantity::Power, BaseUnit::JoulePerHour, 4},
    {"100 kJ/h", Quantity::Power, BaseUnit::JoulePerHour, 5},
    {"MJ/h", Quantity::Power, BaseUnit::JoulePerHour, 6},
    {"10 MJ/h", Quantity::Power, BaseUnit::JoulePerHour, 7},
    {"100 MJ/h", Quantity::Power, BaseUnit::JoulePerHour, 8},
    {"GJ/h", Quantity::Power, BaseUnit::JoulePerHour, 9},
    {"10 GJ/h", Quantity::Power, BaseUnit::JoulePerHour, 10},
    {"100 GJ/h", Quantity::Power, BaseUnit::JoulePerHour, 11},
    {"ml", Quantity::Volume, BaseUnit::CubicMetre, -6},
    {"10 ml", Quantity::Volume, BaseUnit::CubicMetre, -5},
    {"100 ml", Quantity::Volume, BaseUnit::CubicMetre, -4},
    {"l", Quantity::Volume, BaseUnit::CubicMetre, -3},
    {"10 l", Quantity::Volume, BaseUnit::CubicMetre, -2},
    {"100 l", Quantity::Volume, BaseUnit::CubicMetre, -1},
    {"m^3", Quantity::Volume, BaseUnit::CubicMetre, 0},
    {"10 m^3", Quantity::Volume, BaseUnit::CubicMetre, 1},
    {"100 m^3", Quantity::Volume, BaseUnit::CubicMetre, 2},
    {"ml/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -6},
    {"10 ml/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -5},
    {"100 ml/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -4},
    {"l/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -3},
    {"10 l/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -2},
    {"100 l/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, -1},
    {"m^3/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, 0},
    {"10 m^3/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, 1},
    {"100 m^3/h", Quantity::VolumeFlow, BaseUnit::CubicMetrePerHour, 2},
    {"1e-3 deg C", Quantity::FlowTemperature, BaseUnit::Celsius, -3},
    {"Units for H.C.A.", Quantity::HcaUnits, BaseUnit::None, 0},
    {"reserved", Quantity::Unknown, BaseUnit::None, 0},
    {"reserved", Quantity::Unknown, BaseUnit::None, 0},
    {"reserved", Quantity::Unknown, BaseUnit::None, 0},
    {"reserved", Quantity::Unknown, BaseUnit::None, 0},
    {"same but historic", Quantity::Unknown, BaseUnit::None, 0},
    {"without units", Quantity::Dimensionless, BaseUnit::None, 0},
};

// Medium bytes of EN 13757-3 that the fixed structure's 4-bit media stand for; 0x0F: unknown.
const quint8 kFixedMediumBytes[16] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                                      0x08, 0x0F, 0x03, 0x04, 0x06, 0x07, 0x08, 0x0F};

DataRecord fixedCounter(const QByteArray &bytes, int offset, quint8 unitCode, bool binary, quint8 medium,
                        const DataRecord *first)
{
    DataRecord record;
    record.offset = offset;
    record.function = RecordFunction::Actual;
    record.fixedUnit = unitCode;
    const FixedUnit &unit = kFixedUnits[unitCode];
    record.unitDescription = QString::fromLatin1(unit.description);
    if (unitCode == kFixedUnitSameButHistoric && first)
        record.meaning = first->meaning; // a stored value of counter 1's quantity
    else {
        record.meaning.quantity = unit.quantity;
        record.meaning.baseUnit = unit.baseUnit;
        record.meaning.exponent = unit.exponent;
    }
    if (binary) {
        record.type = ValueType::Integer;
        record.integer = qint64(littleEndian(bytes));
    } else {
        setBcd(&record, bytes, false);
    }
    classify(&record, medium);
    return record;
}

// A multi-byte field of the header or a counter, least significant byte first.
QByteArray field(const QByteArray &frame, int at, int size, bool msbFirst)
{
    const QByteArray bytes = frame.mid(at, size);
    return msbFirst ? reversed(bytes) : bytes;
}

void decodeFixed(const QByteArray &frame, Telegram *telegram)
{
    const int d = kUserDataStart;
    const auto at = [&frame](int i) { return quint8(frame.at(i)); };
    SlaveHeader &header = telegram->header;
    const bool msb = header.msbFirst;
    header.identification = quint32(littleEndian(field(frame, d, 4, msb)));
    header.accessNumber = at(d + 4);
    header.status = at(d + 5);
    const quint8 unit1 = at(d + 6);
    const quint8 unit2 = at(d + 7);
    header.fixedMedium = quint8(((unit2 >> 6) << 2) | (unit1 >> 6));
    header.medium = kFixedMediumBytes[header.fixedMedium];
    const bool binary = header.status & 0x80;
    const DataRecord first =
        fixedCounter(field(frame, d + 8, 4, msb), d + 8, unit1 & 0x3F, binary, header.medium, nullptr);
    telegram->records.append(first);
    telegram->records.append(
        fixedCounter(field(frame, d + 12, 4, msb), d + 12, unit2 & 0x3F, binary, header.medium, &first));
}

// Size of the application header before the records of a variable data structure.
int variableHeaderSize(HeaderLayout layout)
{
    switch (layout) {
    case HeaderLayout::Long:
        return kVariableHeaderSize;
    case HeaderLayout::Short:
        return kShortHeaderSize;
    case HeaderLayout::None:
        return 0;
    }
    return 0;
}

void decodeVariableHeader(const QByteArray &frame, SlaveHeader *header)
{
    int d = kUserDataStart;
    const bool msb = header->msbFirst;
    const auto at = [&frame](int i) { return quint8(frame.at(i)); };
    switch (header->layout) {
    case HeaderLayout::None:
        header->medium = kUnknownMedium;
        return;
    case HeaderLayout::Short:
        header->medium = kUnknownMedium;
        d -= 8; // the access number, status and signature of the long header, nothing before them
        break;
    case HeaderLayout::Long:
        header->identification = quint32(littleEndian(field(frame, d, 4, msb)));
        header->manufacturer = quint16(littleEndian(field(frame, d + 4, 2, msb)));
        header->version = at(d + 6);
        header->medium = at(d + 7);
        break;
    }
    header->accessNumber = at(d + 8);
    header->status = at(d + 9);
    header->signature = quint16(littleEndian(field(frame, d + 10, 2, msb)));
}

// Size of the long frame at `from` as its length field announces it, or everything left when no
// long frame header starts there.
int announcedFrameSize(const QByteArray &bytes, int from)
{
    const int left = bytes.size() - from;
    if (left < 4 || quint8(bytes.at(from)) != kLongStart || quint8(bytes.at(from + 3)) != kLongStart ||
        bytes.at(from + 1) != bytes.at(from + 2))
        return left;
    return qMin(left, quint8(bytes.at(from + 1)) + kFrameOverhead);
}

Failure checkFrame(const QByteArray &frame)
{
    if (frame.size() < kMinimumFrame)
        return {TelegramError::FrameTooShort, frame.size()};
    if (quint8(frame.at(0)) != kLongStart || quint8(frame.at(3)) != kLongStart)
        return {TelegramError::BadStart, quint8(frame.at(0)) != kLongStart ? 0 : 3};
    const int length = quint8(frame.at(1));
    if (frame.at(1) != frame.at(2) || length < 3)
        return {TelegramError::LengthMismatch, 1};
    if (frame.size() != length + kFrameOverhead)
        return {TelegramError::LengthMismatch, 1};
    quint8 sum = 0;
    for (int i = 4; i < 4 + length; ++i)
        sum += quint8(frame.at(i));
    if (sum != quint8(frame.at(4 + length)))
        return {TelegramError::BadChecksum, 4 + length};
    if (quint8(frame.at(5 + length)) != kStop)
        return {TelegramError::BadStop, 5 + length};
    if ((quint8(frame.at(4)) & kControlMask) != kRspUd)
        return {TelegramError::NotSlaveReply, 4};
    return {TelegramError::None, 0};
}

} // namespace

bool DataRecord::isNumeric() const
{
    switch (type) {
    case ValueType::Integer:
    case ValueType::Real:
        return true;
    case ValueType::Bcd:
        return allDecimal(digits);
    case ValueType::Text:
        return textReading;
    case ValueType::None:
    case ValueType::Date:
    case ValueType::DateTime:
    case ValueType::Binary:
    case ValueType::ManufacturerData:
        return false;
    }
    return false;
}

TelegramError decodeTelegram(const QByteArray &frame, Telegram *telegram, int *errorOffset)
{
    Failure failure = checkFrame(frame);
    if (failure.error == TelegramError::None) {
        *telegram = Telegram();
        SlaveHeader &header = telegram->header;
        header.control = quint8(frame.at(4));
        header.address = quint8(frame.at(5));
        header.ci = quint8(frame.at(6));
        const int end = frame.size() - 2;
        const int dataSize = end - kUserDataStart;
        switch (header.ci) {
        case kCiApplicationError:
            telegram->kind = TelegramKind::ApplicationError;
            telegram->hasErrorCode = dataSize > 0;
            telegram->applicationError = dataSize > 0 ? quint8(frame.at(kUserDataStart)) : 0;
            break;
        case kCiFixedData:
        case kCiFixedDataMsbFirst:
            telegram->kind = TelegramKind::FixedData;
            header.msbFirst = header.ci == kCiFixedDataMsbFirst;
            if (dataSize != kFixedDataSize)
                failure = {TelegramError::FixedDataLength, 1};
            else
                decodeFixed(frame, telegram);
            break;
        case kCiVariableData:
        case kCiVariableDataMsbFirst:
        case kCiVariableDataShortHeader:
        case kCiVariableDataNoHeader: {
            telegram->kind = TelegramKind::VariableData;
            header.msbFirst = header.ci == kCiVariableDataMsbFirst;
            header.layout = header.ci == kCiVariableDataShortHeader ? HeaderLayout::Short
                            : header.ci == kCiVariableDataNoHeader  ? HeaderLayout::None
                                                                    : HeaderLayout::Long;
            const int headerSize = variableHeaderSize(header.layout);
            if (dataSize < headerSize) {
                failure = {TelegramError::HeaderTruncated, end};
                break;
            }
            decodeVariableHeader(frame, &header);
            Cursor cursor(frame, kUserDataStart + headerSize, end, header.msbFirst);
            readRecords(&cursor, header.medium, header.manufacturer, &telegram->records, &failure);
            break;
        }
        default:
            failure = {TelegramError::UnsupportedCi, 6};
        }
    }
    if (errorOffset)
        *errorOffset = failure.error == TelegramError::None ? -1 : failure.offset;
    return failure.error;
}

QVector<ReceivedPiece> decodeReceived(const QByteArray &bytes)
{
    QVector<ReceivedPiece> pieces;
    int position = 0;
    while (position < bytes.size()) {
        ReceivedPiece piece;
        piece.offset = position;
        if (quint8(bytes.at(position)) == kAck) {
            piece.kind = ReceivedPiece::Kind::Acknowledgement;
            piece.bytes = bytes.mid(position, 1);
            pieces.append(piece);
            ++position;
            continue;
        }
        piece.bytes = bytes.mid(position, announcedFrameSize(bytes, position));
        int errorOffset = -1;
        piece.error = decodeTelegram(piece.bytes, &piece.telegram, &errorOffset);
        if (piece.error != TelegramError::None) {
            piece.kind = ReceivedPiece::Kind::Failure;
            piece.bytes = bytes.mid(position);
            piece.errorOffset = position + errorOffset;
            pieces.append(piece);
            break;
        }
        piece.kind = ReceivedPiece::Kind::Telegram;
        pieces.append(piece);
        position += piece.bytes.size();
    }
    return pieces;
}

QString identificationText(quint32 identification)
{
    return QString::number(identification, 16).toUpper();
}

QString manufacturerLetters(quint16 code)
{
    QString letters;
    for (int shift : {10, 5, 0})
        letters += QChar(char(((code >> shift) & 0x1F) + 64));
    return letters;
}

QString rawValueText(const DataRecord &record)
{
    switch (record.type) {
    case ValueType::None:
        return QString();
    case ValueType::Integer:
        return QString::number(record.integer);
    case ValueType::Bcd: {
        QString digits = record.digits;
        while (digits.size() > 1 && digits.startsWith(QLatin1Char('0')))
            digits.remove(0, 1);
        if (digits.isEmpty())
            digits = QStringLiteral("0");
        return record.negative ? QLatin1Char('-') + digits : digits;
    }
    case ValueType::Real:
        return QString::number(record.real, 'g', 7);
    case ValueType::Date:
        return QStringLiteral("%1-%2-%3")
            .arg(record.time.year, 4, 10, QLatin1Char('0'))
            .arg(record.time.month, 2, 10, QLatin1Char('0'))
            .arg(record.time.day, 2, 10, QLatin1Char('0'));
    case ValueType::DateTime:
        return QStringLiteral("%1-%2-%3T%4:%5:%6")
            .arg(record.time.year, 4, 10, QLatin1Char('0'))
            .arg(record.time.month, 2, 10, QLatin1Char('0'))
            .arg(record.time.day, 2, 10, QLatin1Char('0'))
            .arg(record.time.hour, 2, 10, QLatin1Char('0'))
            .arg(record.time.minute, 2, 10, QLatin1Char('0'))
            .arg(record.time.second, 2, 10, QLatin1Char('0'));
    case ValueType::Text:
        return record.text;
    case ValueType::Binary: {
        QByteArray reversed;
        for (int i = record.bytes.size() - 1; i >= 0; --i)
            reversed.append(record.bytes.at(i));
        return hexDump(reversed);
    }
    case ValueType::ManufacturerData:
        return hexDump(record.bytes);
    }
    return QString();
}

namespace
{

// Moves the decimal point of a non-negative integer written in digits.
QString shiftDecimal(QString digits, int shift)
{
    while (digits.size() > 1 && digits.startsWith(QLatin1Char('0')))
        digits.remove(0, 1);
    if (shift >= 0)
        return digits == QLatin1String("0") ? digits : digits + QString(shift, QLatin1Char('0'));
    const int decimals = -shift;
    if (digits.size() <= decimals)
        digits = QString(decimals - digits.size() + 1, QLatin1Char('0')) + digits;
    digits.insert(digits.size() - decimals, QLatin1Char('.'));
    return digits;
}

} // namespace

QString scaledValueText(const DataRecord &record)
{
    if (!record.isNumeric())
        return QString();
    switch (record.type) {
    case ValueType::Integer: {
        const bool negative = record.integer < 0;
        const quint64 magnitude = negative ? 0 - quint64(record.integer) : quint64(record.integer);
        const QString text = shiftDecimal(QString::number(magnitude), record.unitScale);
        return negative ? QLatin1Char('-') + text : text;
    }
    case ValueType::Bcd: {
        const QString text = shiftDecimal(record.digits, record.unitScale);
        return record.negative ? QLatin1Char('-') + text : text;
    }
    case ValueType::Real:
    case ValueType::Text: {
        double value = record.real;
        for (int i = 0; i < record.unitScale; ++i)
            value *= 10;
        for (int i = 0; i > record.unitScale; --i)
            value /= 10;
        return QString::number(value, 'g', 7);
    }
    case ValueType::None:
    case ValueType::Date:
    case ValueType::DateTime:
    case ValueType::Binary:
    case ValueType::ManufacturerData:
        break;
    }
    return QString();
}

QString mediumDescription(const Telegram &telegram)
{
    if (telegram.kind == TelegramKind::FixedData) {
        static const char *const kFixed[16] = {"Other",
                                               "Oil",
                                               "Electricity",
                                               "Gas",
                                               "Heat",
                                               "Steam",
                                               "Hot water",
                                               "Water",
                                               "H.C.A.",
                                               "Reserved",
                                               "Gas Mode 2",
                                               "Heat Mode 2",
                                               "Hot water Mode 2",
                                               "Water Mode 2",
                                               "H.C.A. Mode 2",
                                               "Reserved"};
        return QString::fromLatin1(kFixed[telegram.header.fixedMedium & 0x0F]);
    }
    switch (telegram.header.medium) {
    case 0x00:
        return QStringLiteral("Other");
    case 0x01:
        return QStringLiteral("Oil");
    case 0x02:
        return QStringLiteral("Electricity");
    case 0x03:
        return QStringLiteral("Gas");
    case 0x04:
        return QStringLiteral("Heat: Outlet");
    case 0x05:
        return QStringLiteral("Steam");
    case 0x06:
        return QStringLiteral("Warm water (30-90\u00B0C)");
    case 0x07:
        return QStringLiteral("Water");
    case 0x08:
        return QStringLiteral("Heat Cost Allocator");
    case 0x09:
        return QStringLiteral("Compressed Air");
    case 0x0A:
        return QStringLiteral("Cooling load meter: Outlet");
    case 0x0B:
        return QStringLiteral("Cooling load meter: Inlet");
    case 0x0C:
        return QStringLiteral("Heat: Inlet");
    case 0x0D:
        return QStringLiteral("Heat / Cooling load meter");
    case 0x0E:
        return QStringLiteral("Bus/System");
    case 0x0F:
        return QStringLiteral("Unknown Medium");
    case 0x15:
        return QStringLiteral("Hot water (>=90\u00B0C)");
    case 0x16:
        return QStringLiteral("Cold water");
    case 0x17:
        return QStringLiteral("Dual register (hot/cold) Water");
    case 0x18:
        return QStringLiteral("Pressure");
    case 0x19:
        return QStringLiteral("A/D Converter");
    case 0x1A:
        return QStringLiteral("Smoke detector");
    case 0x1B:
        return QStringLiteral("Room sensor");
    case 0x1C:
        return QStringLiteral("Gas detector");
    case 0x20:
        return QStringLiteral("Breaker: Electricity");
    case 0x21:
        return QStringLiteral("Valve: Gas or Water");
    case 0x25:
        return QStringLiteral("Customer unit: Display device");
    case 0x28:
        return QStringLiteral("Waste water");
    case 0x29:
        return QStringLiteral("Garbage");
    case 0x2A:
        return QStringLiteral("Carbon dioxide");
    case 0x31:
        return QStringLiteral("Communication controller");
    case 0x32:
        return QStringLiteral("Unidirectional repeater");
    case 0x33:
        return QStringLiteral("Bidirectional repeater");
    case 0x36:
        return QStringLiteral("Radio converter (system side)");
    case 0x37:
        return QStringLiteral("Radio converter (meter side)");
    }
    return QStringLiteral("Reserved");
}

QString recordFunctionDescription(RecordFunction function)
{
    switch (function) {
    case RecordFunction::Instantaneous:
        return QStringLiteral("Instantaneous value");
    case RecordFunction::Maximum:
        return QStringLiteral("Maximum value");
    case RecordFunction::Minimum:
        return QStringLiteral("Minimum value");
    case RecordFunction::ValueDuringError:
        return QStringLiteral("Value during error state");
    case RecordFunction::Actual:
        return QStringLiteral("Actual value");
    case RecordFunction::ManufacturerSpecific:
        return QStringLiteral("Manufacturer specific");
    case RecordFunction::MoreRecordsFollow:
        return QStringLiteral("More records follow");
    }
    return QString();
}

QString telegramErrorText(TelegramError error)
{
    return TelegramTexts::errorText(error);
}

QString TelegramTexts::errorText(TelegramError error)
{
    switch (error) {
    case TelegramError::None:
        return QString();
    case TelegramError::FrameTooShort:
        return tr("Кадр слишком короткий");
    case TelegramError::BadStart:
        return tr("Кадр не начинается с 68 L L 68");
    case TelegramError::LengthMismatch:
        return tr("Длина кадра не совпадает с полем L");
    case TelegramError::BadChecksum:
        return tr("Неверная контрольная сумма кадра");
    case TelegramError::BadStop:
        return tr("Нет стоп-байта 16 в конце кадра");
    case TelegramError::NotSlaveReply:
        return tr("Кадр не является ответом прибора (RSP_UD)");
    case TelegramError::UnsupportedCi:
        return tr("Неподдерживаемое поле CI");
    case TelegramError::HeaderTruncated:
        return tr("Заголовок данных обрывается");
    case TelegramError::FixedDataLength:
        return tr("Неверная длина фиксированной структуры данных");
    case TelegramError::DifeMissing:
        return tr("Запись обрывается: нет байта DIFE");
    case TelegramError::TooManyDifes:
        return tr("В записи более 10 байтов DIFE");
    case TelegramError::ReservedDif:
        return tr("Зарезервированный код DIF");
    case TelegramError::VifMissing:
        return tr("Запись обрывается: нет байта VIF");
    case TelegramError::VifeMissing:
        return tr("Запись обрывается: нет байта VIFE");
    case TelegramError::TooManyVifes:
        return tr("В записи более 10 байтов VIFE");
    case TelegramError::PlainTextTruncated:
        return tr("Текстовая единица измерения выходит за конец кадра");
    case TelegramError::DataTruncated:
        return tr("Данные записи выходят за конец кадра");
    case TelegramError::ReservedVariableLength:
        return tr("Зарезервированный код длины переменных данных");
    }
    return QString();
}

} // namespace mbus
