#include "device/channel_frames.h"
#include "device/channel_readings.h"
#include "device/identification.h"
#include "device/unit_files.h"

#include <QtTest>

// The channel record's text readers, the channel frames, the readings and the unit files. Expected
// frames were worked out byte by byte from the frame layouts, checksums summed by hand.
class TestChannelCodecs : public QObject
{
    Q_OBJECT

private slots:
    void difeChain_data();
    void difeChain();
    void textReaders_data();
    void textReaders();
    void pulseWeight_data();
    void pulseWeight();
    void frames_data();
    void frames();
    void replyDecode_data();
    void replyDecode();
    void readings_data();
    void readings();
    void unitFiles_data();
    void unitFiles();
};

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

device::ChannelRecord record(int channel, quint16 vif)
{
    device::ChannelRecord r;
    r.channelNumber = qint16(channel);
    r.deviceNumberBytes = device::deviceNumberBcd(QStringLiteral("12345678"));
    r.manufacturerCode = device::packManufacturer(QStringLiteral("ZRV"));
    r.version = 1;
    r.deviceType = 0x07;
    r.vif = vif;
    r.weight = 10;
    r.durationMs = 50;
    r.appointment = 1;
    r.presetValue = 12.5f;
    return r;
}

device::FetchReplyFields reply()
{
    return {hex("01000010"), hex("566A"), 1, 7, hex("0000803F")};
}

device::ChannelWriteChoice choose(bool identification, bool weight, bool unit, bool duration,
                                  bool appointment)
{
    device::ChannelWriteChoice c;
    c.identification = identification;
    c.weight = weight;
    c.unit = unit;
    c.duration = duration;
    c.appointment = appointment;
    return c;
}

} // namespace

void TestChannelCodecs::difeChain_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QByteArray>("chain");
    QTest::newRow("channel 1") << 1 << hex("40");
    QTest::newRow("channel 2") << 2 << hex("8040");
    QTest::newRow("channel 5") << 5 << hex("C08040");
    QTest::newRow("channel 10") << 10 << hex("80C08040");
    QTest::newRow("channel 16") << 16 << hex("8080808040");
}

void TestChannelCodecs::difeChain()
{
    QFETCH(int, channel);
    QFETCH(QByteArray, chain);
    QCOMPARE(device::difeChain(channel).toHex(' '), chain.toHex(' '));
    QCOMPARE(device::lastOneBitPosition(channel) + 1, chain.size());
}

void TestChannelCodecs::textReaders_data()
{
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("number 12345678") << "number"
                                     << "12345678" << hex("78563412");
    QTest::newRow("number 123") << "number"
                                << "123" << hex("23010000");
    QTest::newRow("number with a letter") << "number"
                                          << "12a4" << hex("04120000");
    QTest::newRow("number of ten digits") << "number"
                                          << "1234567890" << hex("78563412");
    QTest::newRow("manufacturer ZRV") << "manufacturer"
                                      << "ZRV" << hex("6A56");
    QTest::newRow("manufacturer zrv") << "manufacturer"
                                      << "zrv" << hex("6A56");
    QTest::newRow("manufacturer empty") << "manufacturer"
                                        << "" << hex("F7C0");
    QTest::newRow("manufacturer of one letter") << "manufacturer"
                                                << "A" << hex("FBC0");
    QTest::newRow("manufacturer of two letters") << "manufacturer"
                                                 << "AB" << hex("0400");
    QTest::newRow("VIF 3B") << "vif"
                            << "3B" << hex("3B");
    QTest::newRow("VIF 02FB") << "vif"
                              << "02FB" << hex("FB02");
    QTest::newRow("VIF of three bytes") << "vif"
                                        << "FD3A01" << QByteArray();
    QTest::newRow("VIF not hex") << "vif"
                                 << "G1" << QByteArray();
}

void TestChannelCodecs::textReaders()
{
    QFETCH(QString, reader);
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    if (reader == QLatin1String("number")) {
        QCOMPARE(device::deviceNumberWire(device::deviceNumberBcd(text)).toHex(), bytes.toHex());
    } else if (reader == QLatin1String("manufacturer")) {
        const quint16 code = device::packManufacturer(text);
        QCOMPARE(code, quint16(quint8(bytes.at(0)) << 8 | quint8(bytes.at(1))));
        if (text.size() == 3)
            QCOMPARE(device::unpackManufacturer(code), text.toUpper());
    } else {
        const std::optional<quint16> vif = device::typedVif(text);
        QCOMPARE(vif.has_value(), !bytes.isEmpty());
        if (vif)
            QCOMPARE(device::vifWireBytes(*vif).toHex(), bytes.toHex());
    }
}

void TestChannelCodecs::pulseWeight_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("electricity");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<double>("weight"); // NaN: not a number
    QTest::newRow("1000 imp/kWh") << "1000" << true << "кВтч" << 0.001;
    QTest::newRow("1000 imp/Wh") << "1000" << true << "Втч" << 1.0;
    QTest::newRow("500 imp/VARh") << "500" << true << "ВАРч" << 2.0;
    QTest::newRow("4 imp/kVARh") << "4" << true << "кВАРч" << 0.25;
    QTest::newRow("electricity in litres") << "10" << true << "л" << 10.0;
    QTest::newRow("water, comma") << "0,5" << false << "кВтч" << 0.5;
    QTest::newRow("not a number") << "десять" << false << "л" << qQNaN();
}

void TestChannelCodecs::pulseWeight()
{
    QFETCH(QString, text);
    QFETCH(bool, electricity);
    QFETCH(QString, unit);
    QFETCH(double, weight);
    const std::optional<float> stored = device::pulseWeight(text, electricity, unit);
    QCOMPARE(stored.has_value(), !qIsNaN(weight));
    if (stored)
        QCOMPARE(*stored, float(weight));
}

void TestChannelCodecs::frames_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("finalTraceLength"); // -1: no trace

    QTest::newRow("fetch, channel 3")
        << device::channelFetchRequest(1, 3) << hex("680505685301517F032716") << -1;
    const auto write = [](int channel, quint16 vif, const device::ChannelWriteChoice &choice) {
        return device::configurationFrame(1, record(channel, vif), choice, reply());
    };
    const device::ConfigurationFrame all = write(5, 0x13, choose(true, true, true, true, true));
    QTest::newRow("channel 5, all records") << all.frame
                                            << hex("68262668530151 87C0804079 78563412 566A 01 07 "
                                                   "05FF1E00002041 05130000803F 02FF1D3200 01FF1F01 CB16")
                                            << all.lengthTrace.last().second;
    const device::ConfigurationFrame channel1 = write(1, 0x13, choose(true, true, true, true, true));
    QTest::newRow("channel 1, all records: length 36") << channel1.frame.left(3) << hex("682424") << 36;
    const device::ConfigurationFrame channel16 = write(16, 0x13, choose(true, true, true, true, true));
    QTest::newRow("channel 16, all records: length 40") << channel16.frame.left(3) << hex("682828") << 40;
    const device::ConfigurationFrame identity = write(1, 0x13, choose(false, false, false, false, false));
    QTest::newRow("channel 1, identification from the reply only")
        << identity.frame << hex("680E0E6853015187407901000010566A0107BE16")
        << identity.lengthTrace.last().second;
    const device::ConfigurationFrame twoByte = write(16, 0x02FB, choose(true, false, true, false, false));
    QTest::newRow("channel 16, two-byte VIF unit")
        << twoByte.frame << hex("68191968530151 878080808040 79 78563412 566A 01 07 05FB02 0000803F 8216")
        << twoByte.lengthTrace.last().second;
    QTest::newRow("preset, channel 3, address 0 as FE")
        << device::presetFrame(0, record(3, 0x13))
        << hex("68151568 53FE51 87C04079 78563412 566A 01 07 0513 00004841 1F16") << -1;
}

void TestChannelCodecs::frames()
{
    QFETCH(QByteArray, frame);
    QFETCH(QByteArray, expected);
    QFETCH(int, finalTraceLength);
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
    if (finalTraceLength >= 0)
        QCOMPARE(quint8(frame.at(1)), quint8(finalTraceLength));
}

void TestChannelCodecs::replyDecode_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("litres, all records") << hex("6830306808017203000010566A01070500000005130000F74205FF1E0000"
                                                "204102FF1D320001FF1F0301FD170504FD3A671200006F16")
                                         << "10000003 ZRV 1 07 | 13 123.5 | 10 50 3 5 4711";
    QTest::newRow("two-byte VIF, weight only")
        << hex("681D1D6808017203000010566A01070500000005FB020000004005FF1E6F12833AFD16")
        << "10000003 ZRV 1 07 | FB02 2 | 0.001 - - - -";
    QTest::newRow("wrong checksum")
        << hex("681D1D6808017203000010566A01070500000005FB020000004005FF1E6F12833AFE16") << "";
    QTest::newRow("acknowledgement only") << hex("E5") << "";
}

void TestChannelCodecs::replyDecode()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, decoded);
    const std::optional<device::ChannelConfiguration> c = device::decodeChannelReply(reply);
    QCOMPARE(c.has_value(), !decoded.isEmpty());
    if (!c)
        return;
    const auto optionalText = [](const auto &value) {
        return value ? QString::number(double(*value)) : QStringLiteral("-");
    };
    const QString text =
        QStringLiteral("%1 %2 %3 %4 | %5 %6 | %7 %8 %9 %10 %11")
            .arg(device::identificationText(c->deviceNumber), device::unpackManufacturer(c->manufacturer))
            .arg(c->version)
            .arg(c->medium, 2, 16, QLatin1Char('0'))
            .arg(QString::fromLatin1(c->unitVif.toHex().toUpper()))
            .arg(double(c->value))
            .arg(optionalText(c->weight), optionalText(c->durationMs), optionalText(c->appointment),
                 optionalText(c->errorFlags), optionalText(c->counter));
    QCOMPARE(text, decoded);
}

void TestChannelCodecs::readings_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<quint32>("number");
    QTest::addColumn<QString>("asFloat");
    QTest::newRow("counter 00 05 00 01") << hex("01030400050001ABCD") << 65541u << QString();
    QTest::newRow("value 00 00 41 20") << hex("01030400004120ABCD") << 0x41200000u << "10";
    QTest::newRow("answer cut after byte 5") << hex("010304001241") << 0x41000000u << "8";
}

void TestChannelCodecs::readings()
{
    QFETCH(QByteArray, answer);
    QFETCH(quint32, number);
    QFETCH(QString, asFloat);
    const QByteArray bytes = device::readingBytes(answer);
    QCOMPARE(device::readingNumber(bytes), number);
    if (!asFloat.isEmpty())
        QCOMPARE(QString::number(double(device::readingFloat(bytes)), 'g', 6), asFloat);
    QCOMPARE(device::counterWriteData(65541).toHex(' '), QByteArray("00 05 00 01"));
}

void TestChannelCodecs::unitFiles_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("entries"); // or the error
    QTest::newRow("units with a comment and CRLF")
        << "units" << QByteArray("# comment\r\nл\t13\r\n\r\nМВтч\t01FB\r\n") << "л=13 МВтч=1fb";
    QTest::newRow("units: one column")
        << "units" << QByteArray("л 13\n") << "строка 1: нужны два столбца через табуляцию";
    QTest::newRow("units: three-byte VIF")
        << "units" << QByteArray("л\t13\nx\tFD3A01\n")
        << "строка 2: VIF \"FD3A01\" не один или два байта в шестнадцатеричном виде";
    QTest::newRow("units: empty file") << "units" << QByteArray("\n# nothing\n") << "нет ни одной единицы";
    QTest::newRow("weights") << "weights" << QByteArray("л\t1 л/имп;0,5 л/имп\n") << "л=1 л/имп|0,5 л/имп";
    QTest::newRow("weights: no number")
        << "weights" << QByteArray("л\tмного\n") << "строка 1: вес \"много\" не начинается с числа";
}

void TestChannelCodecs::unitFiles()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, contents);
    QFETCH(QString, entries);
    QStringList found;
    QString error;
    if (kind == QLatin1String("units")) {
        const device::DataFile<device::UnitEntry> file = device::parseUnitFile(contents);
        for (const device::UnitEntry &unit : file.entries)
            found << unit.text + QLatin1Char('=') + QString::number(unit.vif, 16);
        error = file.error;
    } else {
        const device::DataFile<device::WeightEntry> file = device::parseWeightFile(contents);
        for (const device::WeightEntry &weight : file.entries)
            found << weight.unit + QLatin1Char('=') + weight.weights.join(QLatin1Char('|'));
        error = file.error;
    }
    QCOMPARE(error.isEmpty() ? found.join(QLatin1Char(' ')) : error, entries);
}

QTEST_GUILESS_MAIN(TestChannelCodecs)
#include "tst_channel_codecs.moc"
