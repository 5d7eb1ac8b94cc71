// Decoder edge cases on hand-made replies, the status byte texts and the Russian rendering.

#include "common/mbus_status_text.h"
#include "common/mbus_telegram.h"
#include "common/mbus_telegram_text.h"
#include "link/frames.h"
#include "sim/protocol_engine.h"
#include "tests/support/tsv_rows.h"

#include <QtTest>

using namespace mbus;

namespace
{

QByteArray hex(const QString &text)
{
    return QByteArray::fromHex(text.toLatin1());
}

// A variable-data reply of a water meter 12345678 (manufacturer PAD, version 1, access 0x55); its
// records start at byte 19.
QByteArray reply(const QString &records, quint8 medium = 0x07)
{
    return frames::mbusLong(0x08, 1, 0x72,
                            hex("78 56 34 12 24 40 01") + char(medium) + hex("55 00 00 00") + hex(records));
}

// The same reply from a ZORVA (manufacturer ZRV = 0x6A56, medium other).
QByteArray zorvaReply(const QString &records)
{
    return frames::mbusLong(0x08, 1, 0x72, hex("78 56 34 12 56 6A 01 00 55 00 00 00") + hex(records));
}

// "unit | value as sent | value in the vocabulary unit | unit code | value kind", then the time flags.
QString summary(const DataRecord &record)
{
    QStringList parts{record.unitDescription, rawValueText(record), scaledValueText(record),
                      QString::number(record.unitCode), QString::number(record.valueKind)};
    if (record.time.invalid)
        parts << QStringLiteral("invalid");
    if (record.time.summerTime)
        parts << QStringLiteral("summer");
    return parts.join(QStringLiteral(" | "));
}

// Every record's summary, or the error and its faulty byte.
QString decoded(const QByteArray &frame)
{
    Telegram telegram;
    int errorOffset = -1;
    const TelegramError error = decodeTelegram(frame, &telegram, &errorOffset);
    if (error != TelegramError::None)
        return QStringLiteral("%1 at byte %2").arg(enumName(error)).arg(errorOffset);
    QStringList records;
    for (const DataRecord &record : telegram.records)
        records << summary(record);
    return records.join(QStringLiteral(" ; "));
}

} // namespace

class TestMbusTelegram : public QObject
{
    Q_OBJECT

private slots:
    void handMadeReplies_data();
    void handMadeReplies();
    void statusTexts_data();
    void statusTexts();
    void russianText_data();
    void russianText();
};

void TestMbusTelegram::handMadeReplies_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QString>("expected");
    for (const QStringList &row : tsvRows(QStringLiteral("mbus_records.tsv")))
        QTest::newRow(qPrintable(row.at(0)))
            << reply(row.at(2), quint8(row.at(1).toUInt(nullptr, 16))) << row.at(3);

    const QByteArray good = reply("0C 13 01 00 00 00");
    const int end = good.size();
    const auto with = [&good](int index, int byte) {
        QByteArray frame = good;
        frame[index] = char(byte);
        return frame;
    };
    const QString at = QStringLiteral("%1 at byte %2");
    QTest::newRow("nothing") << QByteArray() << at.arg("FrameTooShort").arg(0);
    QTest::newRow("single character E5") << hex("E5") << at.arg("FrameTooShort").arg(1);
    QTest::newRow("short frame REQ_UD2") << hex("10 7B FE 79 16") << at.arg("FrameTooShort").arg(5);
    QTest::newRow("checksum off by one")
        << with(end - 2, good.at(end - 2) + 1) << at.arg("BadChecksum").arg(end - 2);
    QTest::newRow("stop byte 17") << with(end - 1, 0x17) << at.arg("BadStop").arg(end - 1);
    QTest::newRow("the two L fields differ") << with(2, good.at(2) + 1) << at.arg("LengthMismatch").arg(1);
    QTest::newRow("a byte after the stop byte") << good + char(0x16) << at.arg("LengthMismatch").arg(1);
    QTest::newRow("second start byte 69") << with(3, 0x69) << at.arg("BadStart").arg(3);
    QTest::newRow("CI 51") << frames::mbusLong(0x08, 1, 0x51, hex("01 7A 08"))
                           << at.arg("UnsupportedCi").arg(6);
    QTest::newRow("C 28 (ACD and DFC set) is a reply")
        << frames::mbusLong(0x28, 1, 0x72, good.mid(7, end - 9))
        << QStringLiteral("Volume (m m^3) | 1 | 1 | 11 | 44");
    // Status bit 7: the counters are binary. Unit 3E: counter 2 is a stored value in counter 1's unit.
    const QByteArray fixed = hex("78 56 34 12 0A 80 E9 7E 01 00 00 00 35 01 00 00");
    QTest::newRow("fixed structure, binary counters")
        << frames::mbusLong(0x08, 1, 0x73, fixed)
        << QStringLiteral("l | 1 | 1 | 11 | 44 ; same but historic | 309 | 309 | 11 | 44");
    QTest::newRow("fixed structure of 17 bytes")
        << frames::mbusLong(0x08, 1, 0x73, fixed + char(0)) << at.arg("FixedDataLength").arg(1);
    QTest::newRow("CI 77, fixed structure most significant byte first")
        << frames::mbusLong(0x08, 1, 0x77, hex("12 34 56 78 0A 80 E9 7E 00 00 00 01 00 00 01 35"))
        << QStringLiteral("l | 1 | 1 | 11 | 44 ; same but historic | 309 | 309 | 11 | 44");

    // Variable data behind the other application headers; the medium is unknown without the long one.
    const QByteArray volume = hex("0C 13 01 00 00 00");
    QTest::newRow("CI 78, no header")
        << frames::mbusLong(0x08, 1, 0x78, volume) << QStringLiteral("Volume (m m^3) | 1 | 1 | 11 | 5");
    QTest::newRow("CI 7A, short header") << frames::mbusLong(0x08, 1, 0x7A, hex("55 00 00 00") + volume)
                                         << QStringLiteral("Volume (m m^3) | 1 | 1 | 11 | 5");
    QTest::newRow("CI 7A with 3 header bytes")
        << frames::mbusLong(0x08, 1, 0x7A, hex("55 00 00")) << at.arg("HeaderTruncated").arg(10);
    // BCD 00000102, type F 2014-03-13 11:11 in summer, and text sent first character first.
    QTest::newRow("CI 76, values most significant byte first")
        << frames::mbusLong(0x08, 1, 0x76,
                            hex("12 34 56 78 40 24 01 07 55 00 00 00 0C 13 00 00 01 02 04 6D 13 CD 8B 0B "
                                "0D 78 03 41 42 43"))
        << QStringLiteral("Volume (m m^3) | 102 | 102 | 11 | 44 ; Time Point (time & date) | "
                          "2014-03-13T11:11:00 |  | 0 | 25 | summer ; Fabrication number | ABC |  | 0 | 0");

    // Long binary numbers: LVAR F0..F4 announce 4*(LVAR-EC) bytes, F5 48 and F6 64. Records start at
    // byte 19, so the data follows the LVAR at byte 23.
    const struct {
        int lvar;
        int size;
    } lengths[] = {{0xF0, 16}, {0xF4, 32}, {0xF5, 48}, {0xF6, 64}};
    for (const auto &length : lengths) {
        const QString lvar = QString::number(length.lvar, 16).toUpper();
        const QString data = QStringLiteral("11 ").repeated(length.size).trimmed();
        QTest::newRow(qPrintable(QStringLiteral("LVAR %1 with %2 bytes").arg(lvar).arg(length.size)))
            << reply("0D FD 3A " + lvar + ' ' + data)
            << QStringLiteral("dimensionless / no VIF | %1 |  | 0 | 0").arg(data);
        QTest::newRow(qPrintable(QStringLiteral("LVAR %1 with %2 bytes").arg(lvar).arg(length.size - 1)))
            << reply("0D FD 3A " + lvar + ' ' + data.mid(3)) << at.arg("DataTruncated").arg(23);
    }
}

void TestMbusTelegram::handMadeReplies()
{
    QFETCH(QByteArray, frame);
    QFETCH(QString, expected);
    QCOMPARE(decoded(frame), expected);
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
    QTest::newRow("1C power low, permanent and temporary error")
        << 0x1C << false << QStringList{"Низкое напряжение питания", "Постоянная ошибка", "Временная ошибка"};
    QTest::newRow("E0 manufacturer bits")
        << 0xE0 << false
        << QStringList{"Ошибок нет", "Флаг изготовителя (бит 5)", "Флаг изготовителя (бит 6)",
                       "Флаг изготовителя (бит 7)"};
    QTest::newRow("E0 in the fixed structure")
        << 0xE0 << true
        << QStringList{"Ошибок нет", "Флаг изготовителя (бит 5)", "Счетчики: значения на фиксированную дату",
                       "Счетчики в двоичном коде"};
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
    // DIF C4: storage 1; DIFE 9A: storage A, tariff 1; DIFE 65: storage 5, tariff 2, subunit 1.
    QTest::newRow("two DIFEs and a VIFE note")
        << reply("C4 9A 65 93 28 01 00 00 00")
        << QStringList{"1. Объем воды = 1 л (текущее значение, хранение 181, тариф 9, подустройство 2, "
                       "приращение на импульс входа 0)"};
    QTest::newRow("ten DIFEs, storage in the last")
        << reply("84 80 80 80 80 80 80 80 80 80 0F 13 01 00 00 00")
        << QStringList{
               "1. Объем воды = 1 л (текущее значение, хранение 2061584302080, тариф 0, подустройство 0)"};
    QTest::newRow("maximum, invalid time in summer")
        << reply("14 6D A1 95 E9 17")
        << QStringList{
               "1. Время, переданное устройством = 09.07.2015 21:33:00 (летнее время) (время недостоверно) "
               "(максимум, хранение 0)"};
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
        << frames::mbusLong(0x08, 1, 0x73, hex("78 56 34 12 0A 00 E9 7E 01 00 00 00 35 01 00 00"))
        << QStringList{"Статус: 0x00 (Ошибок нет)", "1. Объем воды = 1 л (текущее значение)",
                       "2. Объем воды = 135 л (текущее значение, архивное значение)"};
    QTest::newRow("acknowledgement, then a reply")
        << hex("E5") + hex("68 04 04 68 08 01 70 08 81 16")
        << QStringList{"Подтверждение E5", "", "Ответ прибора: адрес 1, C 0x08, CI 0x70"};
    QTest::newRow("reply cut short")
        << hex("68 1B 1B 68 08 01 72 07 20")
        << QStringList{"Не удалось разобрать телеграмму: Длина кадра не совпадает с полем L (байт 1)",
                       "68 1B 1B 68 08 01 72 07 20"};
    QTest::newRow("good reply, then a broken record")
        << hex("68 04 04 68 08 01 70 08 81 16") + reply("84")
        << QStringList{"Ошибка прибора: Приложение занято", "",
                       "Не удалось разобрать телеграмму: Запись обрывается: нет байта DIFE (байт 30)"};
    QTest::newRow("nothing received") << QByteArray() << QStringList{"Нет принятых данных"};
    QTest::newRow("short header") << frames::mbusLong(0x08, 1, 0x7A, hex("55 00 00 00 0C 13 01 00 00 00"))
                                  << QStringList{"Ответ прибора: адрес 1, C 0x08, CI 0x7A",
                                                 "Короткий заголовок: без идентификации прибора",
                                                 "Номер доступа: 85",
                                                 "Статус: 0x00 (Ошибок нет)",
                                                 "Подпись: 0x0000",
                                                 "1. Объем = 1 л (текущее значение, хранение 0)"};
    // After VIF FF every VIFE is the manufacturer's; after VIFE 7F the rest of them are.
    QTest::newRow("another manufacturer's codes")
        << reply("01 FF 1A 05 04 93 FF 01 01 00 00 00")
        << QStringList{"1. Величина изготовителя 0x1A = 5 (текущее значение, хранение 0)",
                       "2. Объем воды = 1 л (текущее значение, хранение 0, с признаком изготовителя 0x01)"};
    // Range from 2018-01-01 00:00 to 2018-12-31 23:59 (type F), event 4.
    QTest::newRow("ZORVA journal records")
        << zorvaReply("01 FF 20 02 02 FF 21 05 00 02 FF 22 0A 00 04 FF 23 00 00 41 21 04 FF 24 3B 17 5F 2C "
                      "01 FF 25 04")
        << QStringList{"1. Вид журнала = 2 (текущее значение, хранение 0)",
                       "2. Первая запись = 5 (текущее значение, хранение 0)",
                       "3. Количество записей = 10 (текущее значение, хранение 0)",
                       "4. Начало диапазона = 01.01.2018 00:00:00 (текущее значение, хранение 0)",
                       "5. Конец диапазона = 31.12.2018 23:59:00 (текущее значение, хранение 0)",
                       "6. Событие = 4 (CASE_OPEN) (текущее значение, хранение 0)"};

    // The simulator's REQ_UD2 answer: a counter per channel with the channel as the subunit, then the clock.
    sim::DeviceModel model;
    for (int k = 0; k < sim::DeviceModel::kChannels; ++k)
        model.channels[size_t(k)].counter = quint32(1000 * k + 7);
    const QDateTime now(QDate(2024, 5, 17), QTime(13, 45), Qt::UTC);
    model.setClockUtc(now, now);
    const int count = model.channelCount();
    QStringList lines{"Идентификационный номер: 12345678", "Изготовитель: ZRV",
                      QStringLiteral("Записей данных: %1").arg(count + 1)};
    for (int k = 1; k <= count; ++k)
        lines << QStringLiteral("%1. Безразмерная величина = %2 (текущее значение, хранение 0, тариф 0, "
                                "подустройство %1)")
                     .arg(k)
                     .arg(1000 * (k - 1) + 7);
    lines << QStringLiteral("%1. Время, переданное устройством = 17.05.2024 13:45:00 (текущее значение, "
                            "хранение 0)")
                 .arg(count + 1);
    QTest::newRow("the simulated device's data telegram")
        << sim::ProtocolEngine(model).dataTelegram(now) << lines;

    // Its information answer: versions, the report day (FF 1A) and the clock (type I).
    model.reportDay = 15;
    model.setClockUtc(now.addSecs(30), now);
    QTest::newRow("the simulated device's information answer")
        << sim::ProtocolEngine(model).informationAnswer(now)
        << QStringList{
               "Изготовитель: ZRV", "Записей данных: 5",
               "4. Отчетный день = 15 (текущее значение, хранение 0)",
               "5. Время, переданное устройством = 17.05.2024 13:45:30 (текущее значение, хранение 0)"};
    // A channel's configuration: value in litres, then FF 1E weight, FF 1D duration, FF 1F appointment.
    sim::ChannelState &channel = model.channels[0];
    channel.value = 12.5f;
    channel.weight = 0.25f;
    channel.durationMs = 150;
    channel.appointment = 3;
    channel.counter = 50;
    QTest::newRow("the simulated device's channel configuration answer")
        << sim::ProtocolEngine(model).channelAnswer(1)
        << QStringList{"Записей данных: 6",
                       "1. Объем воды = 12.5 л (текущее значение, хранение 0)",
                       "2. Вес импульса = 0.25 (текущее значение, хранение 0)",
                       "3. Длительность импульса = 150 мс (текущее значение, хранение 0)",
                       "4. Назначение входа = 3 (текущее значение, хранение 0)",
                       "6. Безразмерная величина = 50 (текущее значение, хранение 0)"};
}

void TestMbusTelegram::russianText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, lines);
    const QString text = telegramToRussianText(bytes);
    QVERIFY2(!text.contains(QStringLiteral("ошибка записи")), qPrintable(text));
    const QStringList shown = text.split(QLatin1Char('\n'));
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
