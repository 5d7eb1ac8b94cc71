// The pure codecs of the device-settings page, for the inputs the simulator never produces.

#include "device/clock_codec.h"
#include "device/device_information.h"
#include "device/identification.h"
#include "device/raw_command.h"
#include "device/register_answer.h"
#include "device/user_input.h"

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

// A configuration answer of address 5, identification 12345678, clock 15.11.2009 14:30:05, with
// some bytes changed.
QByteArray answerWith(std::initializer_list<std::pair<int, char>> changes)
{
    QByteArray frame = hex("682a2a6808057278563412566a01021100000002fd0e100402fd0f07a102fd0c2c01"
                           "01ff1a19066d051eee2f1b007716");
    for (const auto &change : changes)
        frame[change.first] = change.second;
    return frame;
}

} // namespace

class TestDeviceCodecs : public QObject
{
    Q_OBJECT

private slots:
    void informationChecksInOrder_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<device::InformationFault>("fault");
        QTest::addColumn<QString>("text");
        using F = device::InformationFault;
        QTest::newRow("checksum 00, stop byte 17")
            << answerWith({{46, '\x00'}, {47, '\x17'}}) << F::WrongChecksum
            << QStringLiteral("Ошибка контрольной суммы17");
        QTest::newRow("C field 09, checksum unchanged: the checksum first")
            << answerWith({{4, '\x09'}}) << F::WrongChecksum << QStringLiteral("Ошибка контрольной суммы16");
        QTest::newRow("start byte 10")
            << answerWith({{0, '\x10'}}) << F::WrongHeader << QStringLiteral("Неверный ответ с байта 0");
        QTest::newRow("second L field 2B")
            << answerWith({{2, '\x2B'}}) << F::WrongHeader << QStringLiteral("Неверный ответ с байта 2");
    }

    void informationChecksInOrder()
    {
        QFETCH(QByteArray, answer);
        QFETCH(device::InformationFault, fault);
        QFETCH(QString, text);
        const device::InformationCheck check = device::checkInformationAnswer(answer);
        QCOMPARE(check.fault, fault);
        QCOMPARE(device::informationFaultText(check), text);
    }

    void channelCount_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<int>("channels");
        QTest::newRow("0310") << "0310" << 2;
        QTest::newRow("0400") << "0400" << 4;
        QTest::newRow("0320") << "0320" << 10;
        QTest::newRow("0330") << "0330" << 16;
        QTest::newRow("upper-case 043A") << "043A" << 0;
    }

    void channelCount()
    {
        QFETCH(QString, version);
        QFETCH(int, channels);
        QCOMPARE(int(device::channelCountForVersion(version)), channels);
    }

    void identification_data()
    {
        QTest::addColumn<qint64>("number"); // -1: bytes from the line only
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("7, leading zeros") << qint64(7) << hex("07000000") << "00000007";
        QTest::newRow("99999999") << qint64(99999999) << hex("99999999") << "99999999";
        QTest::newRow("100000000, nine digits") << qint64(100000000) << QByteArray() << "";
        QTest::newRow("bytes 1a 00 00 e0, not BCD") << qint64(-1) << hex("1a0000e0") << "e000001a";
    }

    void identification()
    {
        QFETCH(qint64, number);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        if (number >= 0)
            QCOMPARE(device::identificationBytes(quint32(number)).toHex(), bytes.toHex());
        QCOMPARE(device::identificationText(bytes), text);
    }

    void mbusDateTime_data()
    {
        QTest::addColumn<QDateTime>("dateTime");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("01.01.2000 00:00:00, a Saturday")
            << QDateTime(QDate(2000, 1, 1), QTime(0, 0, 0)) << hex("0000c0010100");
        QTest::newRow("31.12.2099 23:59:59, a Thursday")
            << QDateTime(QDate(2099, 12, 31), QTime(23, 59, 59)) << hex("3b3b977fcc00");
    }

    void mbusDateTime()
    {
        QFETCH(QDateTime, dateTime);
        QFETCH(QByteArray, bytes);
        QCOMPARE(device::encodeMbusDateTime(dateTime.date(), dateTime.time()).bytes().toHex(), bytes.toHex());
        const device::MbusDateTimeFields back = device::decodeMbusDateTime(bytes);
        QCOMPARE(QDateTime(back.date(), back.time()), dateTime);
    }

    void registerClockAllOnes()
    {
        const QDateTime utc = device::registerClockUtc(device::registerClockSeconds(hex("010304ffffffff")));
        QCOMPARE(utc, QDateTime(QDate(2106, 2, 7), QTime(6, 28, 15), Qt::UTC));
    }

    void rawCommand_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<device::RawCommandFault>("fault");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QString>("text");
        using F = device::RawCommandFault;
        QTest::newRow("10 7b fe: lower case, spaces")
            << "10 7b fe" << F::None << hex("107bfe7916") << QString();
        QTest::newRow("6803, shorter than its header") << "6803" << F::None << hex("68030016") << QString();
        QTest::newRow("only spaces") << "   " << F::Empty << QByteArray()
                                     << QStringLiteral("Команда не введена");
        QTest::newRow("0x10") << "0x10" << F::NotHex << QByteArray()
                              << QStringLiteral("Неверная команда: 0x10. Допустимы только "
                                                "шестнадцатеричные цифры 0-9 и A-F");
    }

    void rawCommand()
    {
        QFETCH(QString, typed);
        QFETCH(device::RawCommandFault, fault);
        QFETCH(QByteArray, sent);
        QFETCH(QString, text);
        const device::RawCommand command = device::parseRawCommand(typed);
        QCOMPARE(command.fault, fault);
        QCOMPARE(device::rawCommandFaultText(command.fault, typed), text);
        QCOMPARE(command.bytes.isEmpty() ? QByteArray() : device::completeRawCommand(command.bytes).toHex(),
                 sent.toHex());
    }

    void registerAnswerEntries_data()
    {
        QTest::addColumn<QVector<QByteArray>>("entries");
        QTest::addColumn<QByteArray>("joined");
        QTest::addColumn<device::RegisterAnswerFault>("fault");
        using F = device::RegisterAnswerFault;
        const QByteArray clock = hex("01030400000001ffff");
        QTest::newRow("three chunks")
            << QVector<QByteArray>{clock.left(2), clock.mid(2, 3), clock.mid(5)} << clock << F::None;
        QTest::newRow("registers in after two chunks, E5 left out")
            << QVector<QByteArray>{clock.left(4), clock.mid(4, 3), hex("e5")} << clock.left(7) << F::None;
        QTest::newRow("five bytes in all")
            << QVector<QByteArray>{clock.left(3), clock.mid(3, 2)} << clock.left(5) << F::NotAnAnswer;
        QTest::newRow("E5") << QVector<QByteArray>{hex("e5")} << hex("e5") << F::NotAnAnswer;
    }

    void registerAnswerEntries()
    {
        QFETCH(QVector<QByteArray>, entries);
        QFETCH(QByteArray, joined);
        QFETCH(device::RegisterAnswerFault, fault);
        const QByteArray answer = device::joinAnswerEntries(entries, device::registerAnswerBytes(2));
        QCOMPARE(answer.toHex(' '), joined.toHex(' '));
        QCOMPARE(device::checkRegisterReadAnswer(answer, 2), fault);
    }

    void typedNumbers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("address"); // -1: rejected
        QTest::addColumn<int>("reportDay");
        QTest::newRow("0") << "0" << 0 << -1;
        QTest::newRow("25 with spaces") << " 25 " << 25 << 25;
        QTest::newRow("31") << "31" << 31 << 31;
        QTest::newRow("255") << "255" << 255 << -1;
        QTest::newRow("256") << "256" << -1 << -1;
        QTest::newRow("0x10") << "0x10" << -1 << -1;
        QTest::newRow("letters") << "abc" << -1 << -1;
    }

    void typedNumbers()
    {
        QFETCH(QString, text);
        QFETCH(int, address);
        QFETCH(int, reportDay);
        const std::optional<quint8> a = device::parseBusAddress(text);
        QCOMPARE(a ? int(*a) : -1, address);
        const std::optional<quint8> d = device::parseReportDay(text);
        QCOMPARE(d ? int(*d) : -1, reportDay);
    }
};

QTEST_GUILESS_MAIN(TestDeviceCodecs)
#include "tst_device_codecs.moc"
