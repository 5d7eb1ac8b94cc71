#pragma once

// The channel being edited on the channel page, and the readers that turn the edit controls' texts
// into its fields. Each field is stored as it will go on the wire.

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <optional>

namespace device
{

constexpr int kFirstChannel = 1;
constexpr int kLastChannel = 16;
constexpr quint8 kMediumElectricity = 0x02;

// Input appointment codes: 0 not connected, 1 counting, 2 alarm, 3 NAMUR counting, 4 NAMUR alarm.
constexpr quint8 kHighestAppointment = 4;

struct ChannelRecord {
    qint16 channelNumber = 1;          // channelNumberFromLineEdit: 1..16
    quint16 manufacturerCode = 0xF7C0; // manufacturerSum: three letters packed (empty text)
    QByteArray deviceNumberBytes;      // deviceNumberFromLineEditArray: BCD, most significant pair first
    qint32 deviceNumberValue = 0;      // the same text read as a decimal number
    quint16 version = 0;               // versionNumberFromLineEdit: low byte used
    quint16 deviceType = 0;            // M-Bus medium code: low byte used
    quint16 vif = 0;                   // VIFToInt: written low byte first when two bytes long
    quint16 appointment = 0;           // appointment code: low byte used
    quint16 durationMs = 0;            // durationFromLineEdit, tauPulseInt
    float weight = 0;                  // weightPulseFloat: quantity per pulse
    float presetValue = 0;             // presetValue
};

// "12345678" -> 12 34 56 78. The text is right-justified to eight characters with "0" (a longer text is
// kept whole) and read in pairs; a character that is not a decimal digit reads as 0.
QByteArray deviceNumberBcd(const QString &text);

// The four identification bytes as they go on the wire: the first four BCD bytes, least significant
// pair first ("123" -> 23 01 00 00).
QByteArray deviceNumberWire(const QByteArray &bcdMostSignificantFirst);

// ((L1 - 64) * 1024 + (L2 - 64) * 32 + (L3 - 64)) mod 65536 over the upper-cased letters; a missing
// letter counts as code 0, so an empty text gives 0xF7C0.
quint16 packManufacturer(const QString &text);
// The three letters back: ((code >> 10) & 31) + 64, ((code >> 5) & 31) + 64, (code & 31) + 64.
QString unpackManufacturer(quint16 code);

// The weight text with a comma read as a point. For an electricity channel the number typed is a pulse
// constant in pulses per unit and is inverted by the unit: "Втч" and "ВАРч" 1000 / w, "кВтч" and
// "кВАРч" 1 / w. Nothing for a text that is not a number.
std::optional<float> pulseWeight(const QString &text, bool electricity, const QString &unitText);

// A float typed with a comma or a point.
std::optional<float> typedFloat(const QString &text);

// A VIF typed in hexadecimal, one or two bytes ("3B", "FD17").
std::optional<quint16> typedVif(const QString &text);

// A decimal number in 0..65535 (pulse duration).
std::optional<quint16> typedDuration(const QString &text);

// The short appointment texts of the channel table, and the long forms of the NAMUR inputs.
QString appointmentShortText(quint8 code);
QString appointmentTableText(quint8 code);

} // namespace device
