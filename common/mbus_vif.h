#pragma once

// Meaning of the value information of an M-Bus data record (EN 13757-3): the primary VIF table,
// the two extension tables reached through VIF 0xFB and 0xFD, the combinable VIFE codes that
// rescale a value, and the ZORVA's own codes behind VIF 0xFF. Codes here are the 7 low bits; the
// extension bit is the caller's business.

#include <QString>
#include <QtGlobal>

namespace mbus
{

// What a record measures. Several VIF codes share one quantity and differ in scale or time unit.
enum class Quantity {
    Unknown, // reserved or unassigned code
    Energy,
    Volume,
    Mass,
    OnTime,
    OperatingTime,
    Power,
    VolumeFlow,
    MassFlow,
    FlowTemperature,
    ReturnTemperature,
    TemperatureDifference,
    ExternalTemperature,
    Pressure,
    Date,
    DateTime,
    HcaUnits,
    AveragingDuration,
    ActualityDuration,
    FabricationNumber,
    EnhancedIdentification,
    BusAddress,
    PlainText,
    AnyVif,
    ManufacturerSpecific,
    TemperatureLimit,
    CumulativeMaxPower,
    Credit,
    Debit,
    AccessNumber,
    MediumField,
    ManufacturerField,
    ParameterSetIdentification,
    ModelVersion,
    HardwareVersion,
    FirmwareVersion,
    SoftwareVersion,
    CustomerLocation,
    Customer,
    AccessCodeUser,
    AccessCodeOperator,
    AccessCodeSystemOperator,
    AccessCodeDeveloper,
    Password,
    ErrorFlags,
    ErrorMask,
    DigitalOutput,
    DigitalInput,
    BaudRate,
    ResponseDelay,
    Retry,
    FirstStorageNumber,
    LastStorageNumber,
    StorageBlockSize,
    StorageInterval,
    DurationSinceReadout,
    TariffStart,
    TariffDuration,
    TariffPeriod,
    Dimensionless,
    Voltage,
    Current,
    ResetCounter,
    CumulationCounter,
    ControlSignal,
    DayOfWeek,
    WeekNumber,
    DayChangeTime,
    ParameterActivationState,
    SpecialSupplierInformation,
    DurationSinceCumulation,
    BatteryOperatingTime,
    BatteryChangeTime,
    Rssi,
    // Added to the extension tables in the 2013 and 2018 editions.
    ReactiveEnergy,
    ApparentEnergy,
    ReactivePower,
    ApparentPower,
    RelativeHumidity,
    PhaseVoltageToVoltage,
    PhaseVoltageToCurrent,
    Frequency,
    RatingFactorK,
    RatingFactorKq,
    RatingFactorKc,
    RatingFactorKcr,
    RatingFactorKch,
    RatingFactorKt,
    ScalingFactorKd,
    SecurityKey,
    RemoteControl,
    TariffSubunitDescriptor,
    OperatorSpecificData,
    TimePointSecond,
    WirelessContainer,
    TransmissionPeriod,
    DaylightSaving,
    ListeningWindow,
    RemainingBatteryLifetime,
    MeterStopCount,
    ManufacturerContainer,
    // The ZORVA's own records (manufacturer "ZRV", VIF 0xFF and the first VIFE).
    ReportDay,
    PulseWeight,
    PulseDuration,
    InputAppointment,
    JournalKind,
    JournalFirstRecord,
    JournalRecordCount,
    JournalRangeStart,
    JournalRangeEnd,
    JournalEvent,
};

// The physical unit a scaled quantity is counted in. The exponent of a record is relative to this
// base unit: Energy 10 Wh is WattHour with exponent 1.
enum class BaseUnit {
    None,
    WattHour,
    Joule,
    CubicMetre,
    Kilogram,
    Watt,
    JoulePerHour,
    CubicMetrePerHour,
    CubicMetrePerMinute,
    CubicMetrePerSecond,
    KilogramPerHour,
    Celsius,
    Kelvin,
    Fahrenheit,
    Bar,
    Volt,
    Ampere,
    CubicFoot,
    UsGallon,
    UsGallonPerMinute,
    UsGallonPerHour,
    Currency,
    Baud,
    BitTime,
    DecibelMilliwatt,
    Calorie,
    VarHour,
    VoltAmpereHour,
    Var,
    VoltAmpere,
    Percent,
    Degree,
    Hertz,
    Millisecond,
};

enum class TimeUnit { None, Seconds, Minutes, Hours, Days, Months, Years };

// How the English description writes the scale, following common M-Bus tool output:
//   JoinedPrefix   "Energy (10 Wh)", "Energy (kWh)", "Power (1e-1 W)"
//   SpacedPrefix   "Volume (1e-2 m^3)", "Volume (m m^3)", "Volume (m^3)"
//   DecimalFactor  "Energy (0.1 MWh)", "Volume (100 m^3)"
//   UnitOnly       "1e-1 V", "m A" (quantity name left out)
//   TimeUnitName   "On time (hours)"
//   NameOnly       "Fabrication number"
enum class DescriptionStyle { JoinedPrefix, SpacedPrefix, DecimalFactor, UnitOnly, TimeUnitName, NameOnly };

struct VifMeaning {
    Quantity quantity = Quantity::Unknown;
    BaseUnit baseUnit = BaseUnit::None;
    int exponent = 0;         // value = raw * 10^exponent base units (after any correction VIFE)
    int descriptionPower = 0; // power of ten of the unit the description names, e.g. 6 for "MWh"
    TimeUnit timeUnit = TimeUnit::None;
    DescriptionStyle style = DescriptionStyle::NameOnly;
    const char *name = ""; // English quantity name, e.g. "Energy"
    const char *unit = ""; // English unit as the description writes it, e.g. "Wh", "MWh"
};

// Lookups by the 7 low bits of the code. An unassigned code gives Quantity::Unknown.
VifMeaning primaryVif(quint8 code);
VifMeaning extensionFbVif(quint8 code); // the true VIF after VIF 0xFB
VifMeaning extensionFdVif(quint8 code); // the true VIF after VIF 0xFD

// The ZORVA's manufacturer code: letters "ZRV" packed as (L1-64)*1024 + (L2-64)*32 + (L3-64).
constexpr quint16 kZorvaManufacturer = 0x6A56;

// The ZORVA's own record behind VIF 0xFF, by the first manufacturer VIFE (1A report day, 1D pulse
// duration, 1E pulse weight, 1F input appointment, 20..25 journal). Unknown codes give
// Quantity::ManufacturerSpecific.
VifMeaning zorvaVif(quint8 code);

// English description of a meaning, e.g. "Volume (1e-2 m^3)". `code` names an unknown VIF
// ("Unknown (VIF=0x7B)").
QString vifDescription(const VifMeaning &meaning, quint8 code);

// A unit with its scale in front, separated by a space: "1e-2 m^3", "m m^3", "my m^3", "V".
QString spacedUnitText(int exponent, const QString &unit);

// Combinable VIFE codes that rescale the value: 0x70..0x77 multiply by 10^(nnn-6), 0x7D by 1000.
// Returns false for any other code.
bool correctionExponent(quint8 vifeCode, int *exponent);

} // namespace mbus
