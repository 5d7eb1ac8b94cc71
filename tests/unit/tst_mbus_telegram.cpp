// Decoder edge cases on hand-made replies, the status byte texts and the Russian rendering.

#include "common/hex_dump.h"
#include "common/mbus_status_text.h"
#include "common/mbus_telegram.h"
#include "common/mbus_telegram_text.h"
#include "common/vocabulary.h"
#include "sim/protocol_engine.h"

#include <QMetaEnum>
#include <QtTest>

using namespace mbus;

namespace
{

QByteArray hex(const char *text)
{
    QByteArray bytes;
    parseHexDump(QString::fromLatin1(text), &bytes);
    return bytes;
}

// 68 L L 68 C A CI data CS 16 with L and CS worked out.
QByteArray longFrame(quint8 control, quint8 ci, const QByteArray &data)
{
    QByteArray body;
    body.append(char(control)).append(char(0x01)).append(char(ci)).append(data);
    quint8 sum = 0;
    for (char c : body)
        sum += quint8(c);
    QByteArray frame;
    frame.append(char(0x68)).append(char(body.size())).append(char(body.size())).append(char(0x68));
    return frame + body + char(sum) + char(0x16);
}

// A variable-data reply of a water meter 12345678 (manufacturer PAD, version 1, access 0x55).
QByteArray reply(const char *records, quint8 medium = 0x07)
{
    QByteArray header = hex("78 56 34 12 24 40 01");
    header.append(char(medium)).append(hex("55 00 00 00"));
    return longFrame(0x08, 0x72, header + hex(records));
}

QString errorName(TelegramError error)
{
    return QString::fromLatin1(QMetaEnum::fromType<TelegramError>().valueToKey(int(error)));
}

} // namespace

class TestMbusTelegram : public QObject
{
    Q_OBJECT

private slots:
    void recordsDecode_data();
    void recordsDecode();
    void dateAndTimeFields_data();
    void dateAndTimeFields();
    void addressingAcrossDifes_data();
    void addressingAcrossDifes();
    void malformedRecordsAreNamed_data();
    void malformedRecordsAreNamed();
    void framingErrorsAreNamed_data();
    void framingErrorsAreNamed();
    void fixedStructureWithBinaryCounters();
    void simulatedDeviceDataTelegram();
    void statusTexts_data();
    void statusTexts();
    void russianText_data();
    void russianText();
};

void TestMbusTelegram::recordsDecode_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("unit");   // English description
    QTest::addColumn<QString>("raw");    // value as sent
    QTest::addColumn<QString>("scaled"); // value in the vocabulary unit
    QTest::addColumn<int>("unitCode");
    QTest::addColumn<int>("valueKind");

    QTest::newRow("BCD volume of a water meter, litres") << reply("0C 13 78 56 34 12") << "Volume (m m^3)"
                                                         << "12345678"
                                                         << "12345678" << 11 << 44;
    QTest::newRow("BCD with a leading F is negative")
        << reply("0B 61 18 00 F0") << "Temperature Difference (1e-2 deg C)"
        << "-18"
        << "-0.18" << 30 << 12;
    QTest::newRow("BCD with hex digits is no number") << reply("3B 3B BD EB DD") << "Volume flow (m m^3/h)"
                                                      << "DDEBBD"
                                                      << "" << 25 << 10;
    QTest::newRow("24-bit integer is signed") << reply("03 FD 59 BE FF FF") << "m A"
                                              << "-66"
                                              << "-0.066" << 0 << 0;
    QTest::newRow("48-bit integer") << reply("06 FD 0C FC 03 6D 00 2D 00") << "Model / Version"
                                    << "193280672764"
                                    << "193280672764" << 0 << 18;
    QTest::newRow("64-bit integer of all ones") << reply("07 03 FF FF FF FF FF FF FF FF") << "Energy (Wh)"
                                                << "-1"
                                                << "-1" << 1 << 1;
    QTest::newRow("32-bit real power in kW") << reply("05 2E B1 D1 2E BE", 0x04) << "Power (kW)"
                                             << "-0.1707218"
                                             << "-0.1707218" << 37 << 29;
    QTest::newRow("10 Wh steps shown in kWh") << reply("04 04 D2 04 00 00", 0x02) << "Energy (10 Wh)"
                                              << "1234"
                                              << "12.34" << 2 << 2;
    QTest::newRow("mWh shown in Wh") << reply("02 00 05 00", 0x02) << "Energy (mWh)"
                                     << "5"
                                     << "0.005" << 1 << 2;
    QTest::newRow("hours of operation") << reply("0B 26 53 65 08") << "Operating time (hours)"
                                        << "86553"
                                        << "86553" << 17 << 37;
    QTest::newRow("extension table FB: 0.1 MWh") << reply("0C FB 00 78 56 34 12", 0x04) << "Energy (0.1 MWh)"
                                                 << "12345678"
                                                 << "1234567.8" << 34 << 4;
    QTest::newRow("extension table FD: volts, manufacturer VIFE") << reply("02 FD C8 FF 01 6A 09") << "1e-1 V"
                                                                  << "2410"
                                                                  << "241.0" << 0 << 0;
    QTest::newRow("plain-text unit with a 1e-2 correction")
        << reply("02 FC 03 48 52 25 74 22 15") << "1e-2 %RH"
        << "5410"
        << "54.10" << 0 << 0;
    QTest::newRow("correction VIFE 7D multiplies by 1000") << reply("02 93 7D 05 00") << "Volume (m^3)"
                                                           << "5"
                                                           << "5" << 10 << 44;
    QTest::newRow("VIFE 3B leaves the unit alone") << reply("04 86 3B 23 00 00 00", 0x04) << "Energy (kWh)"
                                                   << "35"
                                                   << "35" << 2 << 4;
    QTest::newRow("ten VIFEs are allowed")
        << reply("04 93 80 80 80 80 80 80 80 80 80 00 01 00 00 00") << "Volume (m m^3)"
        << "1"
        << "1" << 11 << 44;
    QTest::newRow("manufacturer-specific VIF") << reply("04 FF 12 01 00 00 00") << "Manufacturer specific"
                                               << "1"
                                               << "1" << 0 << 0;
    QTest::newRow("unassigned VIF 6F") << reply("01 6F 05") << "Unknown (VIF=0x6F)"
                                       << "5"
                                       << "5" << 0 << 48;
    QTest::newRow("variable text, last character first") << reply("0D 78 03 43 42 41") << "Fabrication number"
                                                         << "ABC"
                                                         << "" << 0 << 0;
    QTest::newRow("variable text reading \"12,5 kWh\"")
        << reply("0D FD 3A 08 68 57 6B 20 35 2C 32 31", 0x02) << "dimensionless / no VIF"
        << "12,5 kWh"
        << "12.5" << 2 << 2;
    QTest::newRow("variable positive BCD") << reply("0D 13 C2 34 12") << "Volume (m m^3)"
                                           << "1234"
                                           << "1234" << 11 << 44;
    QTest::newRow("variable negative BCD") << reply("0D 13 D2 34 12") << "Volume (m m^3)"
                                           << "-1234"
                                           << "-1234" << 11 << 44;
    QTest::newRow("variable binary, most significant byte first")
        << reply("0D FD 17 E3 01 02 03") << "Error flags"
        << "03 02 01"
        << "" << 0 << 22;
    QTest::newRow("no data (data field 0)") << reply("00 13") << "Volume (m m^3)"
                                            << ""
                                            << "" << 11 << 44;
    QTest::newRow("manufacturer data after DIF 0F") << reply("0F 01 02 03") << ""
                                                    << "01 02 03"
                                                    << "" << 0 << 0;
    QTest::newRow("more records follow (DIF 1F), no data") << reply("1F") << ""
                                                           << ""
                                                           << "" << 0 << 0;
    QTest::newRow("idle fillers are skipped") << reply("2F 2F 0C 13 01 00 00 00") << "Volume (m m^3)"
                                              << "1"
                                              << "1" << 11 << 44;
}

void TestMbusTelegram::recordsDecode()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, unit);
    QFETCH(QString, raw);
    QFETCH(QString, scaled);
    QFETCH(int, unitCode);
    QFETCH(int, valueKind);
    Telegram telegram;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram)), errorName(TelegramError::None));
    QCOMPARE(telegram.records.size(), 1);
    const DataRecord &record = telegram.records.first();
    QCOMPARE(record.unitDescription, unit);
    QCOMPARE(rawValueText(record), raw);
    QCOMPARE(scaledValueText(record), scaled);
    QCOMPARE(int(record.unitCode), unitCode);
    QCOMPARE(int(record.valueKind), valueKind);
}

void TestMbusTelegram::dateAndTimeFields_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("raw");
    QTest::addColumn<bool>("invalid");
    QTest::addColumn<bool>("summer");
    QTest::newRow("date, type G") << reply("02 6C BF 1C") << "2013-12-31" << false << false;
    QTest::newRow("date of all zeros") << reply("02 6C 00 00") << "2000-00-00" << false << false;
    QTest::newRow("date and time, type F")
        << reply("04 6D 0B 0B CD 13") << "2014-03-13T11:11:00" << false << false;
    QTest::newRow("type F flagged invalid")
        << reply("04 6D A1 15 E9 17") << "2015-07-09T21:33:00" << true << false;
    QTest::newRow("type F in summer time")
        << reply("04 6D 0B 8B CD 13") << "2014-03-13T11:11:00" << false << true;
    QTest::newRow("type F year 95 without hundreds")
        << reply("04 6D 00 00 E1 B1") << "1995-01-01T00:00:00" << false << false;
    QTest::newRow("type F year 95 in the next hundred")
        << reply("04 6D 00 20 E1 B1") << "2095-01-01T00:00:00" << false << false;
    QTest::newRow("date and time with seconds, type I")
        << reply("06 6D 1E 00 08 16 27 00") << "2016-07-22T08:00:30" << false << false;
    QTest::newRow("date behind VIFE 7E (future value)")
        << reply("42 EC 7E FF 1C") << "2015-12-31" << false << false;
}

void TestMbusTelegram::dateAndTimeFields()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, raw);
    QFETCH(bool, invalid);
    QFETCH(bool, summer);
    Telegram telegram;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram)), errorName(TelegramError::None));
    QCOMPARE(telegram.records.size(), 1);
    QCOMPARE(rawValueText(telegram.records.first()), raw);
    QCOMPARE(telegram.records.first().time.invalid, invalid);
    QCOMPARE(telegram.records.first().time.summerTime, summer);
}

void TestMbusTelegram::addressingAcrossDifes_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("function");
    QTest::addColumn<quint64>("storage");
    QTest::addColumn<quint32>("tariff");
    QTest::addColumn<quint32>("subunit");
    QTest::addColumn<int>("difes");
    QTest::newRow("no DIFE, storage bit of the DIF")
        << reply("44 13 01 00 00 00") << "Instantaneous value" << quint64(1) << 0u << 0u << 0;
    // DIF C4: storage 1; DIFE 9A: storage A, tariff 1, subunit 0; DIFE 65: storage 5, tariff 2, subunit 1.
    QTest::newRow("two DIFEs") << reply("C4 9A 65 13 01 00 00 00") << "Instantaneous value"
                               << quint64(1 + (0xA << 1) + (0x5 << 5)) << (1u | 2u << 2) << 2u << 2;
    QTest::newRow("ten DIFEs, storage in the last")
        << reply("84 80 80 80 80 80 80 80 80 80 0F 13 01 00 00 00") << "Instantaneous value"
        << (quint64(0xF) << 37) << 0u << 0u << 10;
    QTest::newRow("maximum") << reply("14 13 01 00 00 00") << "Maximum value" << quint64(0) << 0u << 0u << 0;
    QTest::newRow("minimum") << reply("24 13 01 00 00 00") << "Minimum value" << quint64(0) << 0u << 0u << 0;
    QTest::newRow("value during error state")
        << reply("34 13 01 00 00 00") << "Value during error state" << quint64(0) << 0u << 0u << 0;
}

void TestMbusTelegram::addressingAcrossDifes()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, function);
    QFETCH(quint64, storage);
    QFETCH(quint32, tariff);
    QFETCH(quint32, subunit);
    QFETCH(int, difes);
    Telegram telegram;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram)), errorName(TelegramError::None));
    QCOMPARE(telegram.records.size(), 1);
    const DataRecord &record = telegram.records.first();
    QCOMPARE(recordFunctionDescription(record.function), function);
    QCOMPARE(record.storageNumber, storage);
    QCOMPARE(record.tariff, tariff);
    QCOMPARE(record.subunit, subunit);
    QCOMPARE(record.difeCount, difes);
    QCOMPARE(rawValueText(record), QStringLiteral("1"));
}

void TestMbusTelegram::malformedRecordsAreNamed_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("offset"); // of the faulty byte; records start at 19
    QTest::newRow("11 DIFEs") << reply("84 80 80 80 80 80 80 80 80 80 80 00 13 01 00 00 00") << "TooManyDifes"
                              << 30;
    QTest::newRow("11 VIFEs") << reply("04 93 80 80 80 80 80 80 80 80 80 80 00 01 00 00 00") << "TooManyVifes"
                              << 31;
    QTest::newRow("DIF announces a DIFE at the end") << reply("84") << "DifeMissing" << 20;
    QTest::newRow("record ends after the DIF") << reply("04") << "VifMissing" << 20;
    QTest::newRow("VIF FB without its VIFE") << reply("04 FB") << "VifeMissing" << 21;
    QTest::newRow("VIF announces a VIFE at the end") << reply("04 93") << "VifeMissing" << 21;
    QTest::newRow("plain-text unit longer than the frame")
        << reply("04 7C 05 41") << "PlainTextTruncated" << 21;
    QTest::newRow("plain-text VIF without its length") << reply("04 7C") << "PlainTextTruncated" << 21;
    QTest::newRow("32-bit data, 3 bytes left") << reply("04 13 01 02 03") << "DataTruncated" << 21;
    QTest::newRow("variable length without LVAR") << reply("0D 13") << "DataTruncated" << 21;
    QTest::newRow("variable text longer than the frame") << reply("0D 13 05 01 02") << "DataTruncated" << 22;
    QTest::newRow("reserved LVAR CA") << reply("0D 13 CA 00") << "ReservedVariableLength" << 21;
    QTest::newRow("global readout DIF 7F") << reply("7F") << "ReservedDif" << 19;
    QTest::newRow("second record broken") << reply("01 13 01 04 13 01") << "DataTruncated" << 24;
}

void TestMbusTelegram::malformedRecordsAreNamed()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, error);
    QFETCH(int, offset);
    Telegram telegram;
    int errorOffset = -1;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram, &errorOffset)), error);
    QCOMPARE(errorOffset, offset);
}

void TestMbusTelegram::framingErrorsAreNamed_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("error");
    const QByteArray good = reply("0C 13 01 00 00 00");
    QByteArray badSum = good;
    badSum[badSum.size() - 2] = char(badSum.at(badSum.size() - 2) + 1);
    QByteArray badStop = good;
    badStop[badStop.size() - 1] = char(0x17);
    QByteArray lengthsDiffer = good;
    lengthsDiffer[2] = char(good.at(2) + 1);
    QByteArray badStart = good;
    badStart[3] = char(0x69);
    QTest::newRow("nothing") << QByteArray() << "FrameTooShort";
    QTest::newRow("single character E5") << hex("E5") << "FrameTooShort";
    QTest::newRow("short frame REQ_UD2") << hex("10 7B FE 79 16") << "FrameTooShort";
    QTest::newRow("checksum off by one") << badSum << "BadChecksum";
    QTest::newRow("stop byte 17") << badStop << "BadStop";
    QTest::newRow("the two L fields differ") << lengthsDiffer << "LengthMismatch";
    QTest::newRow("a byte after the stop byte") << good + char(0x16) << "LengthMismatch";
    QTest::newRow("second start byte 69") << badStart << "BadStart";
    QTest::newRow("SND_UD from a master, C 53") << longFrame(0x53, 0x51, hex("01 7A 08")) << "NotSlaveReply";
    QTest::newRow("CI 51") << longFrame(0x08, 0x51, hex("01 7A 08")) << "UnsupportedCi";
    QTest::newRow("header of 11 bytes")
        << longFrame(0x08, 0x72, hex("78 56 34 12 24 40 01 07 55 00 00")) << "HeaderTruncated";
    QTest::newRow("fixed structure of 17 bytes")
        << longFrame(0x08, 0x73, hex("78 56 34 12 0A 00 E9 7E 01 00 00 00 35 01 00 00 00"))
        << "FixedDataLength";
    QTest::newRow("C 28 (ACD and DFC set) is a reply")
        << longFrame(0x28, 0x72, good.mid(7, good.size() - 9)) << "None";
}

void TestMbusTelegram::framingErrorsAreNamed()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, error);
    Telegram telegram;
    int errorOffset = -1;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram, &errorOffset)), error);
    if (error != QLatin1String("None")) {
        QVERIFY(errorOffset >= 0 && errorOffset <= frame.size());
        QVERIFY(!telegramErrorText(decodeTelegram(frame, &telegram)).isEmpty());
    }
}

// Status bit 7: the counters are binary. Unit 3E: counter 2 is a stored value in counter 1's unit.
void TestMbusTelegram::fixedStructureWithBinaryCounters()
{
    const QByteArray frame = longFrame(0x08, 0x73, hex("78 56 34 12 0A 80 E9 7E 01 00 00 00 35 01 00 00"));
    Telegram telegram;
    QCOMPARE(errorName(decodeTelegram(frame, &telegram)), errorName(TelegramError::None));
    QCOMPARE(int(telegram.kind), int(TelegramKind::FixedData));
    QCOMPARE(identificationText(telegram.header.identification), QStringLiteral("12345678"));
    QCOMPARE(mediumDescription(telegram), QStringLiteral("Water"));
    QCOMPARE(int(telegram.header.medium), 0x07);
    QCOMPARE(telegram.records.size(), 2);
    QCOMPARE(rawValueText(telegram.records.at(0)), QStringLiteral("1"));
    QCOMPARE(rawValueText(telegram.records.at(1)), QStringLiteral("309"));
    QCOMPARE(telegram.records.at(0).unitDescription, QStringLiteral("l"));
    QCOMPARE(telegram.records.at(1).unitDescription, QStringLiteral("same but historic"));
    QCOMPARE(int(telegram.records.at(1).unitCode), 11);
    QCOMPARE(valueKindName(telegram.records.at(1).valueKind), QStringLiteral("Объем воды"));
}

// The simulator's REQ_UD2 answer: one counter record per channel, the channel as the subunit, then the
// device clock.
void TestMbusTelegram::simulatedDeviceDataTelegram()
{
    DeviceModel model;
    for (int k = 0; k < DeviceModel::kChannels; ++k)
        model.channels[size_t(k)].counter = quint32(1000 * k + 7);
    const QDateTime now(QDate(2024, 5, 17), QTime(13, 45), Qt::UTC);
    model.setClockUtc(now, now);
    ProtocolEngine engine(model);
    Telegram telegram;
    QCOMPARE(errorName(decodeTelegram(engine.dataTelegram(now), &telegram)), errorName(TelegramError::None));
    QCOMPARE(identificationText(telegram.header.identification), QStringLiteral("12345678"));
    QCOMPARE(manufacturerLetters(telegram.header.manufacturer), QStringLiteral("ZRV"));
    QCOMPARE(telegram.records.size(), model.channelCount() + 1);
    const QStringList lines = telegramToRussianText(engine.dataTelegram(now)).split(QLatin1Char('\n'));
    for (int k = 1; k <= model.channelCount(); ++k) {
        const DataRecord &record = telegram.records.at(k - 1);
        QCOMPARE(record.subunit, quint32(k));
        QCOMPARE(record.unitDescription, QStringLiteral("dimensionless / no VIF"));
        QCOMPARE(rawValueText(record), QString::number(1000 * (k - 1) + 7));
        QVERIFY(lines.contains(QStringLiteral("%1. Безразмерная величина = %2 (текущее значение, хранение 0, "
                                              "тариф 0, подустройство %1)")
                                   .arg(k)
                                   .arg(1000 * (k - 1) + 7)));
    }
    QCOMPARE(rawValueText(telegram.records.last()), QStringLiteral("2024-05-17T13:45:00"));
}

void TestMbusTelegram::statusTexts_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("fixed");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("00") << 0x00 << false << QStringList{"Ошибок нет"};
    QTest::newRow("01 busy") << 0x01 << false << QStringList{"Приложение занято"};
    QTest::newRow("02 application error") << 0x02 << false << QStringList{"Ошибка приложения"};
    QTest::newRow("03 abnormal") << 0x03 << false << QStringList{"Аварийное состояние"};
    QTest::newRow("04 power low") << 0x04 << false << QStringList{"Низкое напряжение питания"};
    QTest::newRow("08 permanent error") << 0x08 << false << QStringList{"Постоянная ошибка"};
    QTest::newRow("10 temporary error") << 0x10 << false << QStringList{"Временная ошибка"};
    QTest::newRow("E0 manufacturer bits")
        << 0xE0 << false
        << QStringList{"Ошибок нет", "Флаг изготовителя (бит 5)", "Флаг изготовителя (бит 6)",
                       "Флаг изготовителя (бит 7)"};
    QTest::newRow("80 in the fixed structure")
        << 0x80 << true << QStringList{"Ошибок нет", "Счетчики в двоичном коде"};
    QTest::newRow("42 in the fixed structure")
        << 0x42 << true << QStringList{"Ошибка приложения", "Счетчики: значения на фиксированную дату"};
}

void TestMbusTelegram::statusTexts()
{
    QFETCH(int, status);
    QFETCH(bool, fixed);
    QFETCH(QStringList, texts);
    QCOMPARE(mbusStatusTexts(quint8(status), fixed), texts);
}

void TestMbusTelegram::russianText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("lines"); // each must appear as a whole line, in this order

    QTest::newRow("water meter, two records")
        << hex("68 1B 1B 68 08 01 72 07 20 18 00 E6 1E 35 07 4C 00 00 00 0C 78 07 20 18 00 0C 16 69 02 00 00 "
               "96 16")
        << QStringList{"Ответ прибора: адрес 1, C 0x08, CI 0x72",
                       "Идентификационный номер: 182007",
                       "Изготовитель: GWF",
                       "Версия: 53",
                       "Среда: Вода (счетчик) (0x07)",
                       "Номер доступа: 76",
                       "Статус: 0x00 (Ошибок нет)",
                       "Подпись: 0x0000",
                       "Записей данных: 2",
                       "1. Заводской номер = 182007 (текущее значение, хранение 0)",
                       "2. Объем воды = 269 м.куб (текущее значение, хранение 0)"};
    QTest::newRow("tariff, subunit and a VIFE note")
        << reply("C4 9A 65 93 28 01 00 00 00")
        << QStringList{"1. Объем воды = 1 л (текущее значение, хранение 181, тариф 9, подустройство 2, "
                       "приращение на импульс входа 0)"};
    QTest::newRow("one DIFE: tariff 1")
        << reply("84 10 13 01 00 00 00")
        << QStringList{"1. Объем воды = 1 л (текущее значение, хранение 0, тариф 1, "
                       "подустройство 0)"};
    QTest::newRow("invalid time in summer")
        << reply("04 6D A1 95 E9 17")
        << QStringList{
               "1. Время, переданное устройством = 09.07.2015 21:33:00 (летнее время) (время недостоверно) "
               "(текущее значение, хранение 0)"};
    QTest::newRow("hex digits in an error state")
        << reply("3B 3B BD EB DD")
        << QStringList{"1. Объемный расход = DDEBBD (не число: шестнадцатеричные цифры) (значение при "
                       "ошибке, хранение 0)"};
    QTest::newRow("voltage outside the unit table")
        << reply("02 FD 48 6A 09") << QStringList{"1. Напряжение = 241.0 В (текущее значение, хранение 0)"};
    QTest::newRow("manufacturer data")
        << reply("0F 01 02 03") << QStringList{"1. данные изготовителя: 01 02 03"};
    QTest::newRow("application error, busy")
        << hex("68 04 04 68 08 01 70 08 81 16") << QStringList{"Ошибка прибора: Приложение занято"};
    QTest::newRow("application error without a code")
        << hex("68 03 03 68 08 01 70 79 16") << QStringList{"Ошибка прибора: Неуказанная ошибка"};
    QTest::newRow("fixed structure")
        << longFrame(0x08, 0x73, hex("78 56 34 12 0A 00 E9 7E 01 00 00 00 35 01 00 00"))
        << QStringList{"Статус: 0x00 (Ошибок нет)", "1. Объем воды = 1 л (текущее значение)",
                       "2. Объем воды = 135 л (текущее значение, архивное значение)"};
    QTest::newRow("acknowledgement, then a reply")
        << hex("E5") + hex("68 04 04 68 08 01 70 08 81 16")
        << QStringList{"Подтверждение E5", "", "Ответ прибора: адрес 1, C 0x08, CI 0x70"};
    QTest::newRow("reply cut short")
        << hex("68 1B 1B 68 08 01 72 07 20")
        << QStringList{"Не удалось разобрать телеграмму: Длина кадра не совпадает с полем L "
                       "(байт 1)",
                       "68 1B 1B 68 08 01 72 07 20"};
    QTest::newRow("good reply, then a broken record")
        << hex("68 04 04 68 08 01 70 08 81 16") + reply("84")
        << QStringList{"Ошибка прибора: Приложение занято", "",
                       "Не удалось разобрать телеграмму: Запись обрывается: нет байта DIFE (байт 30)"};
    QTest::newRow("nothing received") << QByteArray() << QStringList{"Нет принятых данных"};
}

void TestMbusTelegram::russianText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, lines);
    const QStringList shown = telegramToRussianText(bytes).split(QLatin1Char('\n'));
    int from = 0;
    for (const QString &line : lines) {
        const int at = shown.indexOf(line, from);
        QVERIFY2(at >= 0,
                 qPrintable(QStringLiteral("missing line \"%1\" in:\n%2").arg(line, shown.join('\n'))));
        from = at + 1;
    }
}

QTEST_GUILESS_MAIN(TestMbusTelegram)
#include "tst_mbus_telegram.moc"
