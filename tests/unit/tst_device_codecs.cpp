#include "common/mbus_telegram.h"
#include "device/clock_codec.h"
#include "device/device_information.h"
#include "device/identification.h"
#include "device/raw_command.h"
#include "device/register_answer.h"
#include "device/user_input.h"

#include <QDir>
#include <QRegularExpression>
#include <QtTest>

Q_DECLARE_METATYPE(device::InformationFault)
Q_DECLARE_METATYPE(device::RawCommandFault)
Q_DECLARE_METATYPE(device::RegisterAnswerFault)

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

// A configuration answer of address 5: identification 12345678, "ZRV", M-Bus version 1,
// software version 0410, software code a107, build 300, report day 25, clock 15.11.2009 14:30:05.
const char *const kGoodAnswer = "682a2a6808057278563412566a01021100000002fd0e100402fd0f07a102fd0c2c0101ff1a19"
                                "066d051eee2f1b007716";

// Rewrites the checksum byte of a long frame so that only the deliberate fault remains.
QByteArray withFixedSum(QByteArray frame)
{
    quint8 sum = 0;
    for (int i = 4; i < frame.size() - 2; ++i)
        sum = static_cast<quint8>(sum + static_cast<quint8>(frame.at(i)));
    frame[frame.size() - 2] = static_cast<char>(sum);
    return frame;
}

QByteArray withByte(QByteArray frame, int index, char value)
{
    frame[index] = value;
    return frame;
}

} // namespace

class TestDeviceCodecs : public QObject
{
    Q_OBJECT

private slots:
    void informationAnswerChecks_data();
    void informationAnswerChecks();
    void informationAnswerFields();
    void channelCount_data();
    void channelCount();
    void identityFieldsOfCapturedTelegrams_data();
    void identityFieldsOfCapturedTelegrams();
    void identificationBytes_data();
    void identificationBytes();
    void mbusDateTimeEncoding_data();
    void mbusDateTimeEncoding();
    void mbusDateTimeRoundTrip_data();
    void mbusDateTimeRoundTrip();
    void registerClock_data();
    void registerClock();
    void rawCommand_data();
    void rawCommand();
    void registerAnswerEntries_data();
    void registerAnswerEntries();
    void typedNumbers_data();
    void typedNumbers();
};

void TestDeviceCodecs::informationAnswerChecks_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<device::InformationFault>("fault");
    QTest::addColumn<QString>("text");

    using F = device::InformationFault;
    const QByteArray good = hex(kGoodAnswer);
    QTest::newRow("48 bytes, intact") << good << F::None << QString();
    QTest::newRow("empty") << QByteArray() << F::WrongLength << QStringLiteral("Неверная длина ответа");
    QTest::newRow("checksum wrong, stop byte 17 reported")
        << withByte(withByte(good, 46, '\x00'), 47, '\x17') << F::WrongChecksum
        << QStringLiteral("Ошибка контрольной суммы17");
    QTest::newRow("data byte flipped")
        << withByte(good, 37, '\x18') << F::WrongChecksum << QStringLiteral("Ошибка контрольной суммы16");
    QTest::newRow("C field 09, checksum wrong: checksum first")
        << withByte(good, 4, '\x09') << F::WrongChecksum << QStringLiteral("Ошибка контрольной суммы16");
    QTest::newRow("C field 07, checksum right") << withFixedSum(withByte(good, 4, '\x07')) << F::WrongHeader
                                                << QStringLiteral("Неверный ответ с байта 4");
    QTest::newRow("start byte 10") << withByte(good, 0, '\x10') << F::WrongHeader
                                   << QStringLiteral("Неверный ответ с байта 0");
    QTest::newRow("second L field 2B")
        << withByte(good, 2, '\x2B') << F::WrongHeader << QStringLiteral("Неверный ответ с байта 2");
}

void TestDeviceCodecs::informationAnswerChecks()
{
    QFETCH(QByteArray, answer);
    QFETCH(device::InformationFault, fault);
    QFETCH(QString, text);
    const device::InformationCheck check = device::checkInformationAnswer(answer);
    QCOMPARE(check.fault, fault);
    QCOMPARE(device::informationFaultText(check), text);
}

void TestDeviceCodecs::informationAnswerFields()
{
    const QByteArray answer = hex(kGoodAnswer);
    QCOMPARE(device::checkInformationAnswer(answer).computedSum, quint8(0x77));
    const device::DeviceInformation info = device::decodeInformationAnswer(answer);
    QCOMPARE(info.identification, QStringLiteral("12345678"));
    QCOMPARE(info.manufacturerCode, quint16(0x6A56));
    QCOMPARE(info.manufacturer, QStringLiteral("ZRV"));
    QCOMPARE(info.mbusVersion, quint8(1));
    QCOMPARE(info.softwareVersion, QStringLiteral("0410"));
    QCOMPARE(info.softwareCode, QStringLiteral("a107"));
    QCOMPARE(info.buildNumber, quint16(300));
    QCOMPARE(info.reportDay, quint8(25));
    QCOMPARE(info.dateTimeBytes, hex("051eee2f1b00"));
    QCOMPARE(info.dateTime.date(), QDate(2009, 11, 15));
    QCOMPARE(info.dateTime.time(), QTime(14, 30, 5));
}

void TestDeviceCodecs::channelCount_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<int>("channels");
    QTest::newRow("0310") << "0310" << 2;
    QTest::newRow("0410") << "0410" << 2;
    QTest::newRow("0300") << "0300" << 4;
    QTest::newRow("0400") << "0400" << 4;
    QTest::newRow("0320") << "0320" << 10;
    QTest::newRow("0420") << "0420" << 10;
    QTest::newRow("0330") << "0330" << 16;
    QTest::newRow("0430") << "0430" << 16;
    QTest::newRow("0500") << "0500" << 0;
    QTest::newRow("upper-case 043A is no version") << "043A" << 0;
    QTest::newRow("empty") << "" << 0;
}

void TestDeviceCodecs::channelCount()
{
    QFETCH(QString, version);
    QFETCH(int, channels);
    QCOMPARE(int(device::channelCountForVersion(version)), channels);
}

// The identification, manufacturer and version bytes sit at the same offsets in every variable
// data telegram, so real meters' telegrams and their decoded results check the two codecs.
void TestDeviceCodecs::identityFieldsOfCapturedTelegrams_data()
{
    QTest::addColumn<QByteArray>("telegram");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("manufacturer");
    QTest::addColumn<int>("version");

    const QDir dir(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames"));
    const QStringList names = dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name);
    QVERIFY2(names.size() > 50, qPrintable(dir.path()));
    int used = 0;
    for (const QString &name : names) {
        QFile hexFile(dir.filePath(name));
        QFile xmlFile(dir.filePath(name.chopped(4) + QStringLiteral(".xml")));
        QVERIFY(hexFile.open(QIODevice::ReadOnly) && xmlFile.open(QIODevice::ReadOnly));
        const QByteArray telegram = QByteArray::fromHex(hexFile.readAll().simplified().replace(' ', ""));
        if (telegram.size() < 14 || quint8(telegram.at(6)) != 0x72)
            continue; // fixed-structure telegrams carry no manufacturer
        const QString xml = QString::fromLatin1(xmlFile.readAll());
        auto field = [&xml](const char *tag) {
            const QRegularExpression re(QStringLiteral("<%1>(.*)</%1>").arg(QLatin1String(tag)));
            return re.match(xml).captured(1);
        };
        QTest::newRow(qPrintable(name))
            << telegram << field("Id") << field("Manufacturer") << field("Version").toInt();
        ++used;
    }
    QVERIFY(used > 50);
}

void TestDeviceCodecs::identityFieldsOfCapturedTelegrams()
{
    QFETCH(QByteArray, telegram);
    QFETCH(QString, id);
    QFETCH(QString, manufacturer);
    QFETCH(int, version);

    const QString text = device::identificationText(telegram.mid(7, 4));
    QCOMPARE(text.size(), 8);
    // The decoded results drop leading zeros and print non-BCD digits in upper case.
    QString expected = id.toLower();
    expected = QString(8 - expected.size(), QLatin1Char('0')) + expected;
    QCOMPARE(text, expected);
    const quint16 code = static_cast<quint16>(quint8(telegram.at(11)) | quint8(telegram.at(12)) << 8);
    QCOMPARE(mbus::manufacturerLetters(code), manufacturer);
    QCOMPARE(int(quint8(telegram.at(13))), version);
}

void TestDeviceCodecs::identificationBytes_data()
{
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("10203040") << quint32(10203040) << hex("40302010");
    QTest::newRow("12345678") << quint32(12345678) << hex("78563412");
    QTest::newRow("7, leading zeros") << quint32(7) << hex("07000000");
    QTest::newRow("0") << quint32(0) << hex("00000000");
    QTest::newRow("99999999") << quint32(99999999) << hex("99999999");
    QTest::newRow("100000000, nine digits") << quint32(100000000) << QByteArray();
}

void TestDeviceCodecs::identificationBytes()
{
    QFETCH(quint32, number);
    QFETCH(QByteArray, bytes);
    QCOMPARE(device::identificationBytes(number), bytes);
    if (!bytes.isEmpty())
        QCOMPARE(device::identificationText(bytes),
                 QStringLiteral("%1").arg(number, 8, 10, QLatin1Char('0')));
}

void TestDeviceCodecs::mbusDateTimeEncoding_data()
{
    QTest::addColumn<QDateTime>("dateTime");
    QTest::addColumn<int>("yearTwoDigits");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("15.11.2009 14:30:05, a Sunday")
        << QDateTime(QDate(2009, 11, 15), QTime(14, 30, 5)) << 9 << hex("051eee2f1b00");
    QTest::newRow("10.03.2024 08:00:00, a Sunday: year bits 0 and 3")
        << QDateTime(QDate(2024, 3, 10), QTime(8, 0, 0)) << 24 << hex("0000e80a3300");
    QTest::newRow("01.01.2000 00:00:00, a Saturday")
        << QDateTime(QDate(2000, 1, 1), QTime(0, 0, 0)) << 0 << hex("0000c0010100");
    QTest::newRow("31.12.2099 23:59:59, a Thursday")
        << QDateTime(QDate(2099, 12, 31), QTime(23, 59, 59)) << 99 << hex("3b3b977fcc00");
}

void TestDeviceCodecs::mbusDateTimeEncoding()
{
    QFETCH(QDateTime, dateTime);
    QFETCH(int, yearTwoDigits);
    QFETCH(QByteArray, bytes);
    const device::MbusDateTimeEncoding e = device::encodeMbusDateTime(dateTime.date(), dateTime.time());
    QCOMPARE(e.yearTwoDigits, yearTwoDigits);
    QCOMPARE(e.bytes(), bytes);
    const device::MbusDateTimeFields back = device::decodeMbusDateTime(bytes);
    QCOMPARE(back.date(), dateTime.date());
    QCOMPARE(back.time(), dateTime.time());
}

void TestDeviceCodecs::mbusDateTimeRoundTrip_data()
{
    QTest::addColumn<QDate>("date");
    for (int year = 2000; year <= 2099; year += 7)
        for (int month : {1, 2, 6, 12})
            QTest::newRow(qPrintable(QStringLiteral("%1-%2").arg(year).arg(month))) << QDate(year, month, 28);
}

void TestDeviceCodecs::mbusDateTimeRoundTrip()
{
    QFETCH(QDate, date);
    const QTime time(23, 59, 58);
    const QByteArray bytes = device::encodeMbusDateTime(date, time).bytes();
    QCOMPARE(int(quint8(bytes.at(2)) >> 5), date.dayOfWeek());
    const device::MbusDateTimeFields fields = device::decodeMbusDateTime(bytes);
    QCOMPARE(fields.date(), date);
    QCOMPARE(fields.time(), time);
}

void TestDeviceCodecs::registerClock_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("utc");
    QTest::newRow("register 9 = 0001: 65536 s") << hex("01030400000001ffff") << "01.01.1970 18:12:16";
    QTest::newRow("1700000000 s") << hex("010304f10065530000") << "14.11.2023 22:13:20";
    QTest::newRow("all ones: last second of the counter") << hex("010304ffffffff") << "07.02.2106 06:28:15";
}

void TestDeviceCodecs::registerClock()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, utc);
    const QDateTime shown = device::registerClockUtc(device::registerClockSeconds(answer));
    QCOMPARE(shown.timeSpec(), Qt::UTC);
    QCOMPARE(shown.toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")), utc);
}

void TestDeviceCodecs::rawCommand_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<device::RawCommandFault>("fault");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("text");

    using F = device::RawCommandFault;
    QTest::newRow("lower case, spaces between pairs")
        << "10 7b fe" << F::None << hex("107bfe7916") << QString();
    QTest::newRow("long start shorter than its header") << "6803" << F::None << hex("68030016") << QString();
    QTest::newRow("only spaces") << "   " << F::Empty << QByteArray() << QStringLiteral("Команда не введена");
    QTest::newRow("10 4, odd length with a space") << "10 4" << F::OddDigits << QByteArray()
                                                   << QStringLiteral("Неверная команда: 10 4. Нечётное число "
                                                                     "шестнадцатеричных цифр, каждый байт "
                                                                     "набирается двумя цифрами");
    QTest::newRow("0x10, a prefix") << "0x10" << F::NotHex << QByteArray()
                                    << QStringLiteral("Неверная команда: 0x10. Допустимы только "
                                                      "шестнадцатеричные цифры 0-9 и A-F");
}

void TestDeviceCodecs::rawCommand()
{
    QFETCH(QString, typed);
    QFETCH(device::RawCommandFault, fault);
    QFETCH(QByteArray, sent);
    QFETCH(QString, text);
    const device::RawCommand command = device::parseRawCommand(typed);
    QCOMPARE(command.fault, fault);
    QCOMPARE(device::rawCommandFaultText(command.fault, typed), text);
    if (fault == device::RawCommandFault::None)
        QCOMPARE(device::completeRawCommand(command.bytes).toHex(' '), sent.toHex(' '));
    else
        QVERIFY(command.bytes.isEmpty());
}

void TestDeviceCodecs::registerAnswerEntries_data()
{
    QTest::addColumn<QVector<QByteArray>>("entries");
    QTest::addColumn<QByteArray>("joined");
    QTest::addColumn<device::RegisterAnswerFault>("fault");

    using F = device::RegisterAnswerFault;
    const QByteArray clock = hex("01030400000001ffff");
    QTest::newRow("one entry") << QVector<QByteArray>{clock} << clock << F::None;
    QTest::newRow("three chunks joined")
        << QVector<QByteArray>{clock.left(2), clock.mid(2, 3), clock.mid(5)} << clock << F::None;
    QTest::newRow("chunks stop once the registers are in")
        << QVector<QByteArray>{clock.left(4), clock.mid(4, 3), hex("e5")} << clock.left(7) << F::None;
    QTest::newRow("first entry long enough, later entries untouched")
        << QVector<QByteArray>{clock, hex("e5")} << clock << F::None;
    QTest::newRow("too few bytes ever arrive")
        << QVector<QByteArray>{clock.left(3), clock.mid(3, 2)} << clock.left(5) << F::NotAnAnswer;
    QTest::newRow("exception answer")
        << QVector<QByteArray>{hex("018302c0f1")} << hex("018302c0f1") << F::Exception;
    QTest::newRow("noise before the answer")
        << QVector<QByteArray>{hex("3122") + clock} << hex("3122") + clock << F::NotAnAnswer;
    QTest::newRow("an acknowledgement instead")
        << QVector<QByteArray>{hex("e5")} << hex("e5") << F::NotAnAnswer;
    QTest::newRow("nothing") << QVector<QByteArray>{} << QByteArray() << F::NoAnswer;
}

void TestDeviceCodecs::registerAnswerEntries()
{
    QFETCH(QVector<QByteArray>, entries);
    QFETCH(QByteArray, joined);
    QFETCH(device::RegisterAnswerFault, fault);
    const QByteArray answer = device::joinAnswerEntries(entries, device::registerAnswerBytes(2));
    QCOMPARE(answer.toHex(' '), joined.toHex(' '));
    QCOMPARE(device::checkRegisterReadAnswer(answer, 2), fault);
}

void TestDeviceCodecs::typedNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("address"); // -1: rejected
    QTest::addColumn<int>("reportDay");
    QTest::newRow("0") << "0" << 0 << -1;
    QTest::newRow("1") << "1" << 1 << 1;
    QTest::newRow("25 with spaces") << " 25 " << 25 << 25;
    QTest::newRow("31") << "31" << 31 << 31;
    QTest::newRow("32") << "32" << 32 << -1;
    QTest::newRow("255") << "255" << 255 << -1;
    QTest::newRow("256") << "256" << -1 << -1;
    QTest::newRow("-1") << "-1" << -1 << -1;
    QTest::newRow("0x10") << "0x10" << -1 << -1;
    QTest::newRow("letters") << "abc" << -1 << -1;
    QTest::newRow("empty") << "" << -1 << -1;
}

void TestDeviceCodecs::typedNumbers()
{
    QFETCH(QString, text);
    QFETCH(int, address);
    QFETCH(int, reportDay);
    const std::optional<quint8> a = device::parseBusAddress(text);
    QCOMPARE(a ? int(*a) : -1, address);
    const std::optional<quint8> d = device::parseReportDay(text);
    QCOMPARE(d ? int(*d) : -1, reportDay);
    if (!d)
        QVERIFY(!device::reportDayFaultText(text).isEmpty());
}

QTEST_GUILESS_MAIN(TestDeviceCodecs)
#include "tst_device_codecs.moc"
