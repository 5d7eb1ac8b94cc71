#pragma once

// Decoder of M-Bus slave replies (RSP_UD long frames) into a header and data records.
//
// Long frame:   68 L L 68 C A CI user-data... CS 16   (L counts C..last data byte, CS = their sum)
// CI 0x72, variable data, 12-byte long header then data records:
//   [0..3] identification, BCD, low pair first  [4..5] manufacturer, 3 letters of 5 bits
//   [6] version  [7] medium  [8] access number  [9] status  [10..11] signature
// CI 0x7A, variable data, 4-byte short header: [0] access number [1] status [2..3] signature
// CI 0x78, variable data, no header: the records start right after CI
// CI 0x76, variable data as 0x72, and CI 0x77, fixed data as 0x73, with every multi-byte field
//   (identification, manufacturer, signature, counters, record values, texts) sent most
//   significant byte first: the mode bit (CI bit 2) of EN 1434-3 and the 1998 M-Bus edition,
//   reserved in EN 13757-7:2018 but still sent by older meters
// Data record:  DIF [DIFE x0..10] VIF [VIFE x0..10] data
//   DIF   bit 7 extension, bit 6 storage LSB, bits 5-4 function, bits 3-0 data field
//   DIFE  bit 7 extension, bit 6 subunit, bits 5-4 tariff, bits 3-0 storage
//   VIF   bit 7 extension, bits 6-0 value information (0x7B/0x7D with the extension bit: the first
//         VIFE is the true VIF from the 0xFB / 0xFD table; 0x7C: a length byte and the unit as text,
//         last character first, come right after the VIF; 0x7F: every VIFE that follows is the
//         manufacturer's own, as is every VIFE after a VIFE 0x7F)
//   data field 0xD: LVAR byte, then 00..BF text of LVAR characters (last character first),
//         C0..C9 / D0..D9 positive / negative BCD of LVAR-C0 / LVAR-D0 bytes, E0..EF binary number
//         of LVAR-E0 bytes, F0..F4 binary number of 4*(LVAR-EC) bytes, F5 of 48, F6 of 64 bytes
//   DIF 0x0F / 0x1F: manufacturer data up to the checksum (0x1F: more records follow); 0x2F: filler
// CI 0x73, fixed data, 16 bytes:
//   [0..3] identification  [4] access number  [5] status (bit 7: counters binary, else BCD)
//   [6..7] bits 5-0 of each: unit of counter 1 / 2, bits 7-6 of [7] then [6]: medium
//   [8..11] counter 1  [12..15] counter 2
// CI 0x70, application error: [0] error code (absent: unspecified error)
//
// The decoder never reads past the frame: every field is checked against the bytes left.

#include "common/mbus_vif.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QVector>
#include <QtGlobal>

namespace mbus
{

Q_NAMESPACE

enum class TelegramError {
    None,
    FrameTooShort,
    BadStart,
    LengthMismatch,
    BadChecksum,
    BadStop,
    NotSlaveReply,
    UnsupportedCi,
    HeaderTruncated,
    FixedDataLength,
    DifeMissing,
    TooManyDifes,
    ReservedDif,
    VifMissing,
    VifeMissing,
    TooManyVifes,
    PlainTextTruncated,
    DataTruncated,
    ReservedVariableLength,
};
Q_ENUM_NS(TelegramError)

// Russian description of a decoding error.
QString telegramErrorText(TelegramError error);

// Fixed-structure unit codes: none (a variable-data record), and "same but historic" (counter 2
// holds a stored value in counter 1's unit).
constexpr quint8 kNoFixedUnit = 0xFF;
constexpr quint8 kFixedUnitSameButHistoric = 0x3E;

enum class TelegramKind { VariableData, FixedData, ApplicationError };

enum class RecordFunction {
    Instantaneous,
    Maximum,
    Minimum,
    ValueDuringError,
    Actual, // a counter of the fixed data structure
    ManufacturerSpecific,
    MoreRecordsFollow,
};

enum class ValueType {
    None,     // no data (data field 0 or 8)
    Integer,  // signed binary, 1..8 bytes
    Bcd,      // BCD digits; may hold hex digits (meters use them in error states)
    Real,     // 32-bit IEEE 754
    Date,     // type G
    DateTime, // type F or I
    Text,     // variable length ISO 8859-1 text
    Binary,   // variable length binary number
    ManufacturerData,
};

struct TimePoint {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    bool invalid = false; // the meter flags the time as invalid
    bool summerTime = false;
};

struct DataRecord {
    int offset = 0; // position of the DIF in the frame
    QByteArray dib; // DIF and DIFEs as received
    QByteArray vib; // VIF and VIFEs as received (plain-text unit bytes left out)
    RecordFunction function = RecordFunction::Instantaneous;
    int difeCount = 0;
    quint64 storageNumber = 0;
    quint32 tariff = 0;
    quint32 subunit = 0;

    VifMeaning meaning;
    QString plainTextUnit;             // unit of a plain-text VIF, in reading order
    QVector<quint8> vifes;             // combinable VIFE codes (7 bits) that are not corrections
    bool manufacturerVife = false;     // VIFE 0x7F: what follows belongs to the manufacturer
    QVector<quint8> manufacturerVifes; // the manufacturer's own VIFEs (7 bits), after VIF or VIFE 0x7F
    QString unitDescription;           // English, e.g. "Energy (10 Wh)"
    quint8 fixedUnit = kNoFixedUnit;   // the 6-bit unit code of a fixed-structure counter

    quint8 unitCode = 0;  // unit table of the vocabulary; 0 when no unit of it fits
    int unitScale = 0;    // the value in unitCode's unit is raw * 10^unitScale
    quint8 valueKind = 0; // value kind table of the vocabulary; 0 when no kind fits

    ValueType type = ValueType::None;
    qint64 integer = 0;
    QString digits;           // BCD digits, most significant first, sign nibble removed
    bool negative = false;    // BCD with a leading F nibble
    double real = 0;          // Real, or the number of a text reading such as "12,5 kWh"
    bool textReading = false; // a Text value that parsed as a number with a unit word
    TimePoint time;
    QString text;
    QByteArray bytes; // Binary (least significant byte first) and ManufacturerData (as received)

    bool isNumeric() const;
};

// Which application header came before the records (variable data) or the counters (fixed data).
enum class HeaderLayout {
    Long,  // identification, manufacturer, version, medium, access number, status, signature
    Short, // access number, status, signature
    None,
};

struct SlaveHeader {
    HeaderLayout layout = HeaderLayout::Long;
    bool msbFirst = false; // CI 0x76 / 0x77: multi-byte fields most significant byte first
    quint8 control = 0;
    quint8 address = 0;
    quint8 ci = 0;
    quint32 identification = 0; // BCD digits as a little-endian number
    quint16 manufacturer = 0;
    quint8 version = 0;
    quint8 medium = 0;      // EN 13757-3 medium byte (fixed data: mapped from its 4-bit code;
                            // without a long header 0x0F, unknown)
    quint8 fixedMedium = 0; // 4-bit medium code of the fixed data structure
    quint8 accessNumber = 0;
    quint8 status = 0;
    quint16 signature = 0;
};

struct Telegram {
    TelegramKind kind = TelegramKind::VariableData;
    SlaveHeader header;
    QVector<DataRecord> records;
    bool hasErrorCode = false; // application error: the code byte was present
    quint8 applicationError = 0;
};

// Decodes one whole long frame (nothing before or after it). On failure returns the error, leaves
// `telegram` unspecified and stores the frame offset of the faulty byte in `errorOffset`.
TelegramError decodeTelegram(const QByteArray &frame, Telegram *telegram, int *errorOffset = nullptr);

// One piece of a received byte stream.
struct ReceivedPiece {
    enum class Kind { Acknowledgement, Telegram, Failure } kind = Kind::Failure;
    int offset = 0;                            // where the piece starts in the stream
    QByteArray bytes;                          // the frame; for a failure everything from `offset` on
    Telegram telegram;                         // Kind::Telegram
    TelegramError error = TelegramError::None; // Kind::Failure
    int errorOffset = -1; // Kind::Failure: the faulty byte, counted from the stream's start
};

// Splits what a device sent into single-character acknowledgements (E5) and long frames, decoding
// each frame. The first frame that fails ends the list with a Failure piece holding the rest.
QVector<ReceivedPiece> decodeReceived(const QByteArray &bytes);

// Texts of the decoded fields.
QString identificationText(quint32 identification); // "182007", "500023E" (leading zeros dropped)
QString manufacturerLetters(quint16 code);          // "GWF", "@@@" for 0
QString rawValueText(const DataRecord &record);     // the value as sent, without scaling
QString scaledValueText(const DataRecord &record);  // the value in unitCode's unit; empty if not a number

// English descriptions, in the words common to M-Bus tools.
QString mediumDescription(const Telegram &telegram);
QString recordFunctionDescription(RecordFunction function);
QString applicationErrorDescription(bool hasCode, quint8 code);

} // namespace mbus
