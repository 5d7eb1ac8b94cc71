#include "common/mbus_vif.h"

#include "common/vocabulary.h"

namespace mbus
{

namespace
{

// How the codes of one range differ from each other.
enum class Step {
    Single,   // one code
    Exponent, // each next code is ten times the previous
    Time,     // each next code is the next time unit
};

struct VifRange {
    quint8 first;
    quint8 last;
    Step step;
    Quantity quantity;
    BaseUnit baseUnit;
    int exponent; // of the first code, relative to the base unit
    int descriptionPower;
    TimeUnit timeUnit; // of the first code
    DescriptionStyle style;
    const char *name;
    const char *unit;
};

using Q = Quantity;
using B = BaseUnit;
using T = TimeUnit;
using D = DescriptionStyle;

const VifRange kPrimary[] = {
    {0x00, 0x07, Step::Exponent, Q::Energy, B::WattHour, -3, 0, T::None, D::JoinedPrefix, "Energy", "Wh"},
    {0x08, 0x0F, Step::Exponent, Q::Energy, B::Joule, 0, 0, T::None, D::JoinedPrefix, "Energy", "J"},
    {0x10, 0x17, Step::Exponent, Q::Volume, B::CubicMetre, -6, 0, T::None, D::SpacedPrefix, "Volume", "m^3"},
    {0x18, 0x1F, Step::Exponent, Q::Mass, B::Kilogram, -3, 0, T::None, D::SpacedPrefix, "Mass", "kg"},
    {0x20, 0x23, Step::Time, Q::OnTime, B::None, 0, 0, T::Seconds, D::TimeUnitName, "On time", ""},
    {0x24, 0x27, Step::Time, Q::OperatingTime, B::None, 0, 0, T::Seconds, D::TimeUnitName, "Operating time",
     ""},
    {0x28, 0x2F, Step::Exponent, Q::Power, B::Watt, -3, 0, T::None, D::JoinedPrefix, "Power", "W"},
    {0x30, 0x37, Step::Exponent, Q::Power, B::JoulePerHour, 0, 0, T::None, D::JoinedPrefix, "Power", "J/h"},
    {0x38, 0x3F, Step::Exponent, Q::VolumeFlow, B::CubicMetrePerHour, -6, 0, T::None, D::SpacedPrefix,
     "Volume flow", "m^3/h"},
    {0x40, 0x47, Step::Exponent, Q::VolumeFlow, B::CubicMetrePerMinute, -7, 0, T::None, D::SpacedPrefix,
     "Volume flow", "m^3/min"},
    {0x48, 0x4F, Step::Exponent, Q::VolumeFlow, B::CubicMetrePerSecond, -9, 0, T::None, D::SpacedPrefix,
     "Volume flow", "m^3/s"},
    {0x50, 0x57, Step::Exponent, Q::MassFlow, B::KilogramPerHour, -3, 0, T::None, D::SpacedPrefix,
     "Mass flow", "kg/h"},
    {0x58, 0x5B, Step::Exponent, Q::FlowTemperature, B::Celsius, -3, 0, T::None, D::SpacedPrefix,
     "Flow temperature", "deg C"},
    {0x5C, 0x5F, Step::Exponent, Q::ReturnTemperature, B::Celsius, -3, 0, T::None, D::SpacedPrefix,
     "Return temperature", "deg C"},
    {0x60, 0x63, Step::Exponent, Q::TemperatureDifference, B::Kelvin, -3, 0, T::None, D::SpacedPrefix,
     "Temperature Difference", "deg C"},
    {0x64, 0x67, Step::Exponent, Q::ExternalTemperature, B::Celsius, -3, 0, T::None, D::SpacedPrefix,
     "External temperature", "deg C"},
    {0x68, 0x6B, Step::Exponent, Q::Pressure, B::Bar, -3, 0, T::None, D::SpacedPrefix, "Pressure", "bar"},
    {0x6C, 0x6C, Step::Single, Q::Date, B::None, 0, 0, T::None, D::NameOnly, "Time Point (date)", ""},
    {0x6D, 0x6D, Step::Single, Q::DateTime, B::None, 0, 0, T::None, D::NameOnly, "Time Point (time & date)",
     ""},
    {0x6E, 0x6E, Step::Single, Q::HcaUnits, B::None, 0, 0, T::None, D::NameOnly, "Units for H.C.A.", ""},
    {0x70, 0x73, Step::Time, Q::AveragingDuration, B::None, 0, 0, T::Seconds, D::TimeUnitName,
     "Averaging Duration", ""},
    {0x74, 0x77, Step::Time, Q::ActualityDuration, B::None, 0, 0, T::Seconds, D::TimeUnitName,
     "Actuality Duration", ""},
    {0x78, 0x78, Step::Single, Q::FabricationNumber, B::None, 0, 0, T::None, D::NameOnly,
     "Fabrication number", ""},
    {0x79, 0x79, Step::Single, Q::EnhancedIdentification, B::None, 0, 0, T::None, D::NameOnly,
     "Enhanced identification", ""},
    {0x7A, 0x7A, Step::Single, Q::BusAddress, B::None, 0, 0, T::None, D::NameOnly, "Bus address", ""},
    {0x7C, 0x7C, Step::Single, Q::PlainText, B::None, 0, 0, T::None, D::NameOnly, "Plain text", ""},
    {0x7E, 0x7E, Step::Single, Q::AnyVif, B::None, 0, 0, T::None, D::NameOnly, "Any VIF", ""},
    {0x7F, 0x7F, Step::Single, Q::ManufacturerSpecific, B::None, 0, 0, T::None, D::NameOnly,
     "Manufacturer specific", ""},
};

// Extension table 0xFB as EN 13757-3:2018 lists it. Codes the 2004 edition withdrew and the 2018
// edition leaves reserved (US gallons 0x22..0x26, degrees Fahrenheit 0x58..0x67 and 0x70..0x73)
// keep their earlier meaning: no later code took their place, and older meters still send them.
// The heat cost allocator rating factors 0x68..0x6E are sent as raw numbers (K, Kc, Kcr, Kch, Kt
// and KD in steps of 2^-12) and are shown as sent.
const VifRange kExtensionFb[] = {
    {0x00, 0x01, Step::Exponent, Q::Energy, B::WattHour, 5, 6, T::None, D::DecimalFactor, "Energy", "MWh"},
    {0x02, 0x03, Step::Exponent, Q::ReactiveEnergy, B::VarHour, 3, 3, T::None, D::DecimalFactor,
     "Reactive energy", "kVARh"},
    {0x04, 0x05, Step::Exponent, Q::ApparentEnergy, B::VoltAmpereHour, 3, 3, T::None, D::DecimalFactor,
     "Apparent energy", "kVAh"},
    {0x08, 0x09, Step::Exponent, Q::Energy, B::Joule, 8, 9, T::None, D::DecimalFactor, "Energy", "GJ"},
    {0x0C, 0x0F, Step::Exponent, Q::Energy, B::Calorie, 5, 6, T::None, D::DecimalFactor, "Energy", "MCal"},
    {0x10, 0x11, Step::Exponent, Q::Volume, B::CubicMetre, 2, 0, T::None, D::DecimalFactor, "Volume", "m^3"},
    {0x14, 0x17, Step::Exponent, Q::ReactivePower, B::Var, 0, 3, T::None, D::DecimalFactor, "Reactive power",
     "kVAR"},
    {0x18, 0x19, Step::Exponent, Q::Mass, B::Kilogram, 5, 3, T::None, D::DecimalFactor, "Mass", "t"},
    {0x1A, 0x1B, Step::Exponent, Q::RelativeHumidity, B::Percent, -1, 0, T::None, D::DecimalFactor,
     "Relative humidity", "%"},
    {0x20, 0x20, Step::Single, Q::Volume, B::CubicFoot, 0, 0, T::None, D::DecimalFactor, "Volume", "feet^3"},
    {0x21, 0x21, Step::Single, Q::Volume, B::CubicFoot, -1, 0, T::None, D::DecimalFactor, "Volume", "feet^3"},
    {0x22, 0x22, Step::Single, Q::Volume, B::UsGallon, -1, 0, T::None, D::DecimalFactor, "Volume",
     "american gallon"},
    {0x23, 0x23, Step::Single, Q::Volume, B::UsGallon, 0, 0, T::None, D::DecimalFactor, "Volume",
     "american gallon"},
    {0x24, 0x24, Step::Single, Q::VolumeFlow, B::UsGallonPerMinute, -3, 0, T::None, D::DecimalFactor,
     "Volume flow", "american gallon/min"},
    {0x25, 0x25, Step::Single, Q::VolumeFlow, B::UsGallonPerMinute, 0, 0, T::None, D::DecimalFactor,
     "Volume flow", "american gallon/min"},
    {0x26, 0x26, Step::Single, Q::VolumeFlow, B::UsGallonPerHour, 0, 0, T::None, D::DecimalFactor,
     "Volume flow", "american gallon/h"},
    {0x28, 0x29, Step::Exponent, Q::Power, B::Watt, 5, 6, T::None, D::DecimalFactor, "Power", "MW"},
    {0x2A, 0x2A, Step::Single, Q::PhaseVoltageToVoltage, B::Degree, -1, 0, T::None, D::DecimalFactor,
     "Phase U-U", "deg"},
    {0x2B, 0x2B, Step::Single, Q::PhaseVoltageToCurrent, B::Degree, -1, 0, T::None, D::DecimalFactor,
     "Phase U-I", "deg"},
    {0x2C, 0x2F, Step::Exponent, Q::Frequency, B::Hertz, -3, 0, T::None, D::DecimalFactor, "Frequency", "Hz"},
    {0x30, 0x31, Step::Exponent, Q::Power, B::JoulePerHour, 8, 9, T::None, D::DecimalFactor, "Power", "GJ/h"},
    {0x34, 0x37, Step::Exponent, Q::ApparentPower, B::VoltAmpere, 0, 3, T::None, D::DecimalFactor,
     "Apparent power", "kVA"},
    {0x58, 0x5B, Step::Exponent, Q::FlowTemperature, B::Fahrenheit, -3, 0, T::None, D::SpacedPrefix,
     "Flow temperature", "deg F"},
    {0x5C, 0x5F, Step::Exponent, Q::ReturnTemperature, B::Fahrenheit, -3, 0, T::None, D::SpacedPrefix,
     "Return temperature", "deg F"},
    {0x60, 0x63, Step::Exponent, Q::TemperatureDifference, B::Fahrenheit, -3, 0, T::None, D::SpacedPrefix,
     "Temperature Difference", "deg F"},
    {0x64, 0x67, Step::Exponent, Q::ExternalTemperature, B::Fahrenheit, -3, 0, T::None, D::SpacedPrefix,
     "External temperature", "deg F"},
    {0x68, 0x68, Step::Single, Q::RatingFactorK, B::None, 0, 0, T::None, D::NameOnly,
     "Resulting rating factor K", ""},
    {0x69, 0x69, Step::Single, Q::RatingFactorKq, B::None, 0, 0, T::None, D::NameOnly,
     "Thermal output rating factor Kq", ""},
    {0x6A, 0x6A, Step::Single, Q::RatingFactorKc, B::None, 0, 0, T::None, D::NameOnly,
     "Thermal coupling rating factor overall Kc", ""},
    {0x6B, 0x6B, Step::Single, Q::RatingFactorKcr, B::None, 0, 0, T::None, D::NameOnly,
     "Thermal coupling rating factor room side Kcr", ""},
    {0x6C, 0x6C, Step::Single, Q::RatingFactorKch, B::None, 0, 0, T::None, D::NameOnly,
     "Thermal coupling rating factor heater side Kch", ""},
    {0x6D, 0x6D, Step::Single, Q::RatingFactorKt, B::None, 0, 0, T::None, D::NameOnly,
     "Low temperature rating factor Kt", ""},
    {0x6E, 0x6E, Step::Single, Q::ScalingFactorKd, B::None, 0, 0, T::None, D::NameOnly,
     "Display output scaling factor KD", ""},
    {0x70, 0x73, Step::Exponent, Q::TemperatureLimit, B::Fahrenheit, -3, 0, T::None, D::SpacedPrefix,
     "Cold / Warm Temperature Limit", "deg F"},
    {0x74, 0x77, Step::Exponent, Q::TemperatureLimit, B::Celsius, -3, 0, T::None, D::SpacedPrefix,
     "Cold / Warm Temperature Limit", "deg C"},
    {0x78, 0x7F, Step::Exponent, Q::CumulativeMaxPower, B::Watt, -3, 0, T::None, D::JoinedPrefix,
     "Cumul. count max power", "W"},
};

// Extension table 0xFD as EN 13757-3:2018 lists it. English names of the older codes stay as M-Bus
// tools have always printed them (0x08 is the access number the 2018 edition calls the unique
// message identification, 0x09 the medium it calls the device type).
const VifRange kExtensionFd[] = {
    {0x00, 0x03, Step::Exponent, Q::Credit, B::Currency, -3, 0, T::None, D::SpacedPrefix, "Credit",
     "local currency units"},
    {0x04, 0x07, Step::Exponent, Q::Debit, B::Currency, -3, 0, T::None, D::SpacedPrefix, "Debit",
     "local currency units"},
    {0x08, 0x08, Step::Single, Q::AccessNumber, B::None, 0, 0, T::None, D::NameOnly,
     "Access number (transmission count)", ""},
    {0x09, 0x09, Step::Single, Q::MediumField, B::None, 0, 0, T::None, D::NameOnly,
     "Medium (as in fixed header)", ""},
    {0x0A, 0x0A, Step::Single, Q::ManufacturerField, B::None, 0, 0, T::None, D::NameOnly,
     "Manufacturer (as in fixed header)", ""},
    {0x0B, 0x0B, Step::Single, Q::ParameterSetIdentification, B::None, 0, 0, T::None, D::NameOnly,
     "Parameter set identification", ""},
    {0x0C, 0x0C, Step::Single, Q::ModelVersion, B::None, 0, 0, T::None, D::NameOnly, "Model / Version", ""},
    {0x0D, 0x0D, Step::Single, Q::HardwareVersion, B::None, 0, 0, T::None, D::NameOnly, "Hardware version",
     ""},
    {0x0E, 0x0E, Step::Single, Q::FirmwareVersion, B::None, 0, 0, T::None, D::NameOnly, "Firmware version",
     ""},
    {0x0F, 0x0F, Step::Single, Q::SoftwareVersion, B::None, 0, 0, T::None, D::NameOnly, "Software version",
     ""},
    {0x10, 0x10, Step::Single, Q::CustomerLocation, B::None, 0, 0, T::None, D::NameOnly, "Customer location",
     ""},
    {0x11, 0x11, Step::Single, Q::Customer, B::None, 0, 0, T::None, D::NameOnly, "Customer", ""},
    {0x12, 0x12, Step::Single, Q::AccessCodeUser, B::None, 0, 0, T::None, D::NameOnly, "Access Code User",
     ""},
    {0x13, 0x13, Step::Single, Q::AccessCodeOperator, B::None, 0, 0, T::None, D::NameOnly,
     "Access Code Operator", ""},
    {0x14, 0x14, Step::Single, Q::AccessCodeSystemOperator, B::None, 0, 0, T::None, D::NameOnly,
     "Access Code System Operator", ""},
    {0x15, 0x15, Step::Single, Q::AccessCodeDeveloper, B::None, 0, 0, T::None, D::NameOnly,
     "Access Code Developer", ""},
    {0x16, 0x16, Step::Single, Q::Password, B::None, 0, 0, T::None, D::NameOnly, "Password", ""},
    {0x17, 0x17, Step::Single, Q::ErrorFlags, B::None, 0, 0, T::None, D::NameOnly, "Error flags", ""},
    {0x18, 0x18, Step::Single, Q::ErrorMask, B::None, 0, 0, T::None, D::NameOnly, "Error mask", ""},
    {0x19, 0x19, Step::Single, Q::SecurityKey, B::None, 0, 0, T::None, D::NameOnly, "Security key", ""},
    {0x1A, 0x1A, Step::Single, Q::DigitalOutput, B::None, 0, 0, T::None, D::NameOnly,
     "Digital output (binary)", ""},
    {0x1B, 0x1B, Step::Single, Q::DigitalInput, B::None, 0, 0, T::None, D::NameOnly, "Digital input (binary)",
     ""},
    {0x1C, 0x1C, Step::Single, Q::BaudRate, B::Baud, 0, 0, T::None, D::SpacedPrefix, "Baud rate", "Baud"},
    {0x1D, 0x1D, Step::Single, Q::ResponseDelay, B::BitTime, 0, 0, T::None, D::SpacedPrefix,
     "Response delay time", "bittimes"},
    {0x1E, 0x1E, Step::Single, Q::Retry, B::None, 0, 0, T::None, D::NameOnly, "Retry", ""},
    {0x1F, 0x1F, Step::Single, Q::RemoteControl, B::None, 0, 0, T::None, D::NameOnly, "Remote control", ""},
    {0x20, 0x20, Step::Single, Q::FirstStorageNumber, B::None, 0, 0, T::None, D::NameOnly,
     "First storage # for cyclic storage", ""},
    {0x21, 0x21, Step::Single, Q::LastStorageNumber, B::None, 0, 0, T::None, D::NameOnly,
     "Last storage # for cyclic storage", ""},
    {0x22, 0x22, Step::Single, Q::StorageBlockSize, B::None, 0, 0, T::None, D::NameOnly,
     "Size of storage block", ""},
    {0x23, 0x23, Step::Single, Q::TariffSubunitDescriptor, B::None, 0, 0, T::None, D::NameOnly,
     "Descriptor for tariff and subunit", ""},
    {0x24, 0x27, Step::Time, Q::StorageInterval, B::None, 0, 0, T::Seconds, D::TimeUnitName,
     "Storage interval", ""},
    {0x28, 0x29, Step::Time, Q::StorageInterval, B::None, 0, 0, T::Months, D::TimeUnitName,
     "Storage interval", ""},
    {0x2A, 0x2A, Step::Single, Q::OperatorSpecificData, B::None, 0, 0, T::None, D::NameOnly,
     "Operator specific data", ""},
    {0x2B, 0x2B, Step::Single, Q::TimePointSecond, B::None, 0, 0, T::None, D::NameOnly, "Time point second",
     ""},
    {0x2C, 0x2F, Step::Time, Q::DurationSinceReadout, B::None, 0, 0, T::Seconds, D::TimeUnitName,
     "Duration since last readout", ""},
    {0x30, 0x30, Step::Single, Q::TariffStart, B::None, 0, 0, T::None, D::NameOnly,
     "Start (date/time) of tariff", ""},
    {0x31, 0x33, Step::Time, Q::TariffDuration, B::None, 0, 0, T::Minutes, D::TimeUnitName,
     "Duration of tariff", ""},
    {0x34, 0x37, Step::Time, Q::TariffPeriod, B::None, 0, 0, T::Seconds, D::TimeUnitName, "Period of tariff",
     ""},
    {0x38, 0x39, Step::Time, Q::TariffPeriod, B::None, 0, 0, T::Months, D::TimeUnitName, "Period of tariff",
     ""},
    {0x3A, 0x3A, Step::Single, Q::Dimensionless, B::None, 0, 0, T::None, D::NameOnly,
     "dimensionless / no VIF", ""},
    {0x3B, 0x3B, Step::Single, Q::WirelessContainer, B::None, 0, 0, T::None, D::NameOnly,
     "Data container for wireless M-Bus protocol", ""},
    {0x3C, 0x3F, Step::Time, Q::TransmissionPeriod, B::None, 0, 0, T::Seconds, D::TimeUnitName,
     "Period of nominal data transmissions", ""},
    {0x40, 0x4F, Step::Exponent, Q::Voltage, B::Volt, -9, 0, T::None, D::UnitOnly, "Voltage", "V"},
    {0x50, 0x5F, Step::Exponent, Q::Current, B::Ampere, -12, 0, T::None, D::UnitOnly, "Current", "A"},
    {0x60, 0x60, Step::Single, Q::ResetCounter, B::None, 0, 0, T::None, D::NameOnly, "Reset counter", ""},
    {0x61, 0x61, Step::Single, Q::CumulationCounter, B::None, 0, 0, T::None, D::NameOnly,
     "Cumulation counter", ""},
    {0x62, 0x62, Step::Single, Q::ControlSignal, B::None, 0, 0, T::None, D::NameOnly, "Control signal", ""},
    {0x63, 0x63, Step::Single, Q::DayOfWeek, B::None, 0, 0, T::None, D::NameOnly, "Day of week", ""},
    {0x64, 0x64, Step::Single, Q::WeekNumber, B::None, 0, 0, T::None, D::NameOnly, "Week number", ""},
    {0x65, 0x65, Step::Single, Q::DayChangeTime, B::None, 0, 0, T::None, D::NameOnly,
     "Time point of day change", ""},
    {0x66, 0x66, Step::Single, Q::ParameterActivationState, B::None, 0, 0, T::None, D::NameOnly,
     "State of parameter activation", ""},
    {0x67, 0x67, Step::Single, Q::SpecialSupplierInformation, B::None, 0, 0, T::None, D::NameOnly,
     "Special supplier information", ""},
    {0x68, 0x6B, Step::Time, Q::DurationSinceCumulation, B::None, 0, 0, T::Hours, D::TimeUnitName,
     "Duration since last cumulation", ""},
    {0x6C, 0x6F, Step::Time, Q::BatteryOperatingTime, B::None, 0, 0, T::Hours, D::TimeUnitName,
     "Operating time battery", ""},
    {0x70, 0x70, Step::Single, Q::BatteryChangeTime, B::None, 0, 0, T::None, D::NameOnly,
     "Date and time of battery change", ""},
    {0x71, 0x71, Step::Single, Q::Rssi, B::DecibelMilliwatt, 0, 0, T::None, D::SpacedPrefix, "RSSI", "dBm"},
    {0x72, 0x72, Step::Single, Q::DaylightSaving, B::None, 0, 0, T::None, D::NameOnly,
     "Daylight saving (beginning, ending, deviation)", ""},
    {0x73, 0x73, Step::Single, Q::ListeningWindow, B::None, 0, 0, T::None, D::NameOnly,
     "Listening window management", ""},
    {0x74, 0x74, Step::Single, Q::RemainingBatteryLifetime, B::None, 0, 0, T::Days, D::TimeUnitName,
     "Remaining battery life time", ""},
    {0x75, 0x75, Step::Single, Q::MeterStopCount, B::None, 0, 0, T::None, D::NameOnly,
     "Number of times the meter was stopped", ""},
    {0x76, 0x76, Step::Single, Q::ManufacturerContainer, B::None, 0, 0, T::None, D::NameOnly,
     "Data container for manufacturer specific protocol", ""},
};

// The ZORVA's own codes: the first VIFE after VIF 0xFF, from the device's protocol description.
const VifRange kZorva[] = {
    {0x1A, 0x1A, Step::Single, Q::ReportDay, B::None, 0, 0, T::None, D::NameOnly, "Report day", ""},
    {0x1D, 0x1D, Step::Single, Q::PulseDuration, B::Millisecond, 0, 0, T::None, D::SpacedPrefix,
     "Pulse duration", "ms"},
    {0x1E, 0x1E, Step::Single, Q::PulseWeight, B::None, 0, 0, T::None, D::NameOnly, "Pulse weight", ""},
    {0x1F, 0x1F, Step::Single, Q::InputAppointment, B::None, 0, 0, T::None, D::NameOnly, "Input appointment",
     ""},
    {0x20, 0x20, Step::Single, Q::JournalKind, B::None, 0, 0, T::None, D::NameOnly, "Journal kind", ""},
    {0x21, 0x21, Step::Single, Q::JournalFirstRecord, B::None, 0, 0, T::None, D::NameOnly,
     "First journal record", ""},
    {0x22, 0x22, Step::Single, Q::JournalRecordCount, B::None, 0, 0, T::None, D::NameOnly,
     "Journal record count", ""},
    {0x23, 0x23, Step::Single, Q::JournalRangeStart, B::None, 0, 0, T::None, D::NameOnly,
     "Journal range start", ""},
    {0x24, 0x24, Step::Single, Q::JournalRangeEnd, B::None, 0, 0, T::None, D::NameOnly, "Journal range end",
     ""},
    {0x25, 0x25, Step::Single, Q::JournalEvent, B::None, 0, 0, T::None, D::NameOnly, "Journal event", ""},
};

template <int N> VifMeaning lookup(const VifRange (&table)[N], quint8 code, const char *unassigned)
{
    const quint8 low = code & 0x7F;
    for (const VifRange &range : table) {
        if (low < range.first || low > range.last)
            continue;
        const int offset = low - range.first;
        VifMeaning meaning;
        meaning.quantity = range.quantity;
        meaning.baseUnit = range.baseUnit;
        meaning.exponent = range.exponent + (range.step == Step::Exponent ? offset : 0);
        meaning.descriptionPower = range.descriptionPower;
        meaning.timeUnit = range.step == Step::Time ? TimeUnit(int(range.timeUnit) + offset) : range.timeUnit;
        meaning.style = range.style;
        meaning.name = range.name;
        meaning.unit = range.unit;
        return meaning;
    }
    VifMeaning unknown;
    unknown.name = unassigned;
    return unknown;
}

// "m", "k", "10 k", "1e-2 " ...: the scale written in front of an energy or power unit.
QString joinedPrefix(int exponent)
{
    if (exponent == -3)
        return QStringLiteral("m");
    if (exponent < 0 || exponent > 11)
        return QStringLiteral("1e%1 ").arg(exponent);
    static const char *const kLetters[] = {"", "k", "M", "G"};
    static const char *const kFactors[] = {"", "10 ", "100 "};
    return QLatin1String(kFactors[exponent % 3]) + QLatin1String(kLetters[exponent / 3]);
}

QString decimalFactor(int exponent)
{
    if (exponent == 0)
        return QString();
    if (exponent > 0)
        return QLatin1Char('1') + QString(exponent, QLatin1Char('0')) + QLatin1Char(' ');
    return QStringLiteral("0.") + QString(-exponent - 1, QLatin1Char('0')) + QStringLiteral("1 ");
}

QString timeUnitWord(TimeUnit unit)
{
    switch (unit) {
    case TimeUnit::None:
        return QString();
    case TimeUnit::Seconds:
        return QStringLiteral("seconds");
    case TimeUnit::Minutes:
        return QStringLiteral("minutes");
    case TimeUnit::Hours:
        return QStringLiteral("hours");
    case TimeUnit::Days:
        return QStringLiteral("days");
    case TimeUnit::Months:
        return QStringLiteral("months");
    case TimeUnit::Years:
        return QStringLiteral("years");
    }
    return QString();
}

} // namespace

QString spacedUnitText(int exponent, const QString &unit)
{
    switch (exponent) {
    case 0:
        return unit;
    case -3:
        return QStringLiteral("m ") + unit;
    case -6:
        return QStringLiteral("my ") + unit;
    case -9:
        return QStringLiteral("n ") + unit;
    }
    return QStringLiteral("1e%1 ").arg(exponent) + unit;
}

VifMeaning primaryVif(quint8 code)
{
    return lookup(kPrimary, code, "");
}

VifMeaning extensionFbVif(quint8 code)
{
    return lookup(kExtensionFb, code, "Reserved VIF extension");
}

VifMeaning extensionFdVif(quint8 code)
{
    return lookup(kExtensionFd, code, "Reserved VIF extension");
}

VifMeaning zorvaVif(quint8 code)
{
    VifMeaning meaning = lookup(kZorva, code, "Manufacturer specific");
    if (meaning.quantity == Quantity::Unknown)
        meaning.quantity = Quantity::ManufacturerSpecific;
    return meaning;
}

QString vifDescription(const VifMeaning &meaning, quint8 code)
{
    const QString name = QString::fromLatin1(meaning.name);
    const QString unit = QString::fromLatin1(meaning.unit);
    const int exponent = meaning.exponent - meaning.descriptionPower;
    if (meaning.quantity == Quantity::Unknown && name.isEmpty())
        return QStringLiteral("Unknown (VIF=") + hexCode(code & 0x7F, 2) + QLatin1Char(')');
    switch (meaning.style) {
    case DescriptionStyle::JoinedPrefix:
        return name + QStringLiteral(" (") + joinedPrefix(exponent) + unit + QLatin1Char(')');
    case DescriptionStyle::SpacedPrefix:
        return name + QStringLiteral(" (") + spacedUnitText(exponent, unit) + QLatin1Char(')');
    case DescriptionStyle::DecimalFactor:
        return name + QStringLiteral(" (") + decimalFactor(exponent) + unit + QLatin1Char(')');
    case DescriptionStyle::UnitOnly:
        return spacedUnitText(exponent, unit);
    case DescriptionStyle::TimeUnitName:
        return name + QStringLiteral(" (") + timeUnitWord(meaning.timeUnit) + QLatin1Char(')');
    case DescriptionStyle::NameOnly:
        return name;
    }
    return name;
}

bool correctionExponent(quint8 vifeCode, int *exponent)
{
    const quint8 low = vifeCode & 0x7F;
    if (low >= 0x70 && low <= 0x77) {
        *exponent = int(low & 0x07) - 6;
        return true;
    }
    if (low == 0x7D) {
        *exponent = 3;
        return true;
    }
    return false;
}

} // namespace mbus
