// The decoder against captured M-Bus replies and their expected decodings (shared fixtures).

#include "common/hex_dump.h"
#include "common/mbus_telegram.h"
#include "link/frames.h"
#include "tests/support/tsv_rows.h"

#include <QDir>
#include <QTextCodec>
#include <QXmlStreamReader>
#include <QtTest>

using namespace mbus;

namespace
{

const QString kCorpus = QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/");

using Fields = QMap<QString, QString>;

bool loadFrame(const QString &path, QByteArray *frame)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && parseHexDump(QString::fromLatin1(file.readAll()), frame);
}

// Spacing in the expected unit texts is irregular ("Volume (1e-2  m^3)", "Volume ( m^3)"):
// runs of spaces count as one, and none after an opening bracket or at either end.
QString normalizedUnit(const QString &unit)
{
    return unit.simplified().replace(QStringLiteral("( "), QStringLiteral("("));
}

// <MBusData><SlaveInformation>...</SlaveInformation><DataRecord id="n">...</DataRecord>...</MBusData>
// as the slave information followed by one entry per record; the files are UTF-8 or Latin-1.
QVector<Fields> readExpected(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    QTextCodec::ConverterState state;
    const QString utf8 =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    QXmlStreamReader xml(state.invalidChars == 0 ? utf8 : QString::fromLatin1(bytes));
    QVector<Fields> entries;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("SlaveInformation") || xml.name() == QLatin1String("DataRecord"))
            entries.append(Fields());
        else if (!entries.isEmpty())
            entries.last().insert(xml.name().toString(), xml.readElementText());
    }
    if (xml.hasError())
        return {};
    for (Fields &entry : entries) {
        if (entry.contains(QStringLiteral("Unit")))
            entry[QStringLiteral("Unit")] = normalizedUnit(entry.value(QStringLiteral("Unit")));
    }
    return entries;
}

// Our decoding in the fixture's terms.
QVector<Fields> asFixture(const Telegram &telegram)
{
    const SlaveHeader &h = telegram.header;
    Fields slave{{"Id", identificationText(h.identification)},
                 {"Medium", mediumDescription(telegram)},
                 {"AccessNumber", QString::number(h.accessNumber)},
                 {"Status", QStringLiteral("%1").arg(h.status, 2, 16, QLatin1Char('0')).toUpper()}};
    if (telegram.kind == TelegramKind::VariableData) {
        slave.insert(QStringLiteral("Manufacturer"), manufacturerLetters(h.manufacturer));
        slave.insert(QStringLiteral("Version"), QString::number(h.version));
        slave.insert(QStringLiteral("Signature"),
                     QStringLiteral("%1").arg(h.signature, 4, 16, QLatin1Char('0')).toUpper());
    }
    QVector<Fields> entries{slave};
    for (const DataRecord &record : telegram.records) {
        QString value = rawValueText(record);
        if (record.type == ValueType::Real) // printed with six decimals
            value = QString::number(record.real, 'f', 6);
        else if (record.type == ValueType::DateTime && record.time.invalid)
            value = QStringLiteral("1900-01-00T00:00:00"); // how the fixtures write an invalid time
        Fields fields{{"Function", recordFunctionDescription(record.function)},
                      {"StorageNumber", QString::number(record.storageNumber)},
                      {"Unit", normalizedUnit(record.unitDescription)},
                      {"Value", value}};
        if (record.difeCount > 0) {
            fields.insert(QStringLiteral("Tariff"), QString::number(record.tariff));
            fields.insert(QStringLiteral("Device"), QString::number(record.subunit));
        }
        entries << fields;
    }
    return entries;
}

} // namespace

class TestMbusCorpus : public QObject
{
    Q_OBJECT

private slots:
    void validFramesMatchTheirDecoding_data();
    void validFramesMatchTheirDecoding();
    void errorFramesAreRejectedOrDecodedAsApplicationErrors_data();
    void errorFramesAreRejectedOrDecodedAsApplicationErrors();
    void truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords_data();
    void truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords();
};

void TestMbusCorpus::validFramesMatchTheirDecoding_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("deviations"); // "where/field: fixture's text -> ours"
    QMap<QString, QStringList> deviations;
    for (const QStringList &row : tsvRows(QStringLiteral("mbus_corpus_deviations.tsv")))
        deviations[row.at(0)]
            << QStringLiteral("%1/%2: %3 -> %4").arg(row.at(1), row.at(2), row.at(3), row.at(4));
    const QStringList frames = QDir(kCorpus + "test-frames").entryList({"*.hex"}, QDir::Files, QDir::Name);
    QVERIFY(frames.size() >= 70);
    for (const QString &file : frames)
        QTest::newRow(qPrintable(file)) << file.chopped(4) << deviations.take(file.chopped(4));
    QVERIFY2(deviations.isEmpty(), qPrintable(deviations.keys().join(' ') + " not in the corpus"));
}

// Every field the fixture lists must match, except the listed deviations, which must still occur.
void TestMbusCorpus::validFramesMatchTheirDecoding()
{
    QFETCH(QString, name);
    QFETCH(QStringList, deviations);
    QByteArray frame;
    QVERIFY(loadFrame(kCorpus + "test-frames/" + name + ".hex", &frame));
    const QVector<Fields> expected = readExpected(kCorpus + "test-frames/" + name + ".xml");
    QVERIFY(!expected.isEmpty());
    Telegram telegram;
    QCOMPARE(decodeTelegram(frame, &telegram), TelegramError::None);
    const QVector<Fields> ours = asFixture(telegram);
    QCOMPARE(ours.size(), expected.size());
    QStringList differences;
    for (int i = 0; i < ours.size(); ++i) {
        const QString where = i == 0 ? QStringLiteral("header") : QStringLiteral("record %1").arg(i - 1);
        for (auto it = ours[i].cbegin(); it != ours[i].cend(); ++it) {
            // Tariff and device are listed exactly for records with DIFEs, the rest where they apply.
            const bool compared = expected[i].contains(it.key()) || it.key() == QLatin1String("Tariff") ||
                                  it.key() == QLatin1String("Device");
            if (compared && expected[i].value(it.key()) != it.value())
                differences << QStringLiteral("%1/%2: %3 -> %4")
                                   .arg(where, it.key(), expected[i].value(it.key()), it.value());
        }
        if (expected[i].contains(QStringLiteral("Tariff")) && !ours[i].contains(QStringLiteral("Tariff")))
            differences << where + QStringLiteral("/Tariff: listed, but the record has no DIFE");
    }
    differences.sort();
    deviations.sort();
    QCOMPARE(differences, deviations);
}

void TestMbusCorpus::errorFramesAreRejectedOrDecodedAsApplicationErrors_data()
{
    QTest::addColumn<QString>("path");
    // "<error> at byte <n>", "NotHex" or "None"; empty for an application error.
    QTest::addColumn<QString>("expected");
    QMap<QString, QString> malformed;
    for (const QStringList &row : tsvRows(QStringLiteral("mbus_bad_frames.tsv")))
        malformed.insert(row.at(0), row.at(2).isEmpty() ? row.at(1) : row.at(1) + " at byte " + row.at(2));
    for (const QString folder : {"error-frames/", "unsupported-frames/"}) {
        for (const QString &file : QDir(kCorpus + folder).entryList({"*.hex"}, QDir::Files, QDir::Name)) {
            const QString path = kCorpus + folder + file;
            const bool applicationError = QFile::exists(path.chopped(4) + ".xml");
            QVERIFY2(applicationError || malformed.contains(folder + file),
                     qPrintable(file + " is not listed"));
            QTest::newRow(qPrintable(folder + file)) << path << malformed.value(folder + file);
        }
    }
}

void TestMbusCorpus::errorFramesAreRejectedOrDecodedAsApplicationErrors()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QByteArray frame;
    QCOMPARE(loadFrame(path, &frame), expected != QLatin1String("NotHex"));
    if (expected == QLatin1String("NotHex"))
        return;
    Telegram telegram;
    int errorOffset = -1;
    const TelegramError error = decodeTelegram(frame, &telegram, &errorOffset);
    if (!expected.isEmpty()) {
        const QString at =
            error == TelegramError::None ? QString() : " at byte " + QString::number(errorOffset);
        QCOMPARE(enumName(error) + at, expected);
        return;
    }
    QCOMPARE(error, TelegramError::None);
    QCOMPARE(telegram.kind, TelegramKind::ApplicationError);
    const QVector<Fields> xml = readExpected(path.chopped(4) + ".xml");
    QVERIFY(!xml.isEmpty());
    QCOMPARE(applicationErrorDescription(telegram.hasErrorCode, telegram.applicationError),
             xml.first().value(QStringLiteral("Error")));
}

void TestMbusCorpus::truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords_data()
{
    QTest::addColumn<QString>("path");
    for (const QString &file : QDir(kCorpus + "test-frames").entryList({"*.hex"}, QDir::Files, QDir::Name))
        QTest::newRow(qPrintable(file)) << kCorpus + "test-frames/" + file;
}

// Cuts the user data short at every position, with length and checksum made right again: the
// decoder must name an error inside the frame or give exactly the records that were complete.
void TestMbusCorpus::truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords()
{
    QFETCH(QString, path);
    QByteArray whole;
    QVERIFY(loadFrame(path, &whole));
    Telegram full;
    QCOMPARE(decodeTelegram(whole, &full), TelegramError::None);
    for (int cut = 7; cut < whole.size() - 2; ++cut) {
        const QByteArray shorter = frames::mbusLong(quint8(whole.at(4)), quint8(whole.at(5)),
                                                    quint8(whole.at(6)), whole.mid(7, cut - 7));
        Telegram part;
        int errorOffset = -1;
        if (decodeTelegram(shorter, &part, &errorOffset) != TelegramError::None) {
            QVERIFY2(errorOffset >= 0 && errorOffset <= shorter.size(), qPrintable(QString::number(cut)));
            continue;
        }
        QVERIFY2(part.records.size() <= full.records.size(), qPrintable(QString::number(cut)));
        for (int i = 0; i < part.records.size(); ++i) {
            const DataRecord &a = part.records.at(i), &b = full.records.at(i);
            // Manufacturer data runs to the end of the frame, so the last record may be cut.
            QVERIFY2(a.type == ValueType::ManufacturerData ||
                         (a.offset == b.offset && a.dib == b.dib && a.vib == b.vib &&
                          rawValueText(a) == rawValueText(b)),
                     qPrintable(QStringLiteral("cut %1, record %2").arg(cut).arg(i)));
        }
    }
}

QTEST_GUILESS_MAIN(TestMbusCorpus)
#include "tst_mbus_corpus.moc"
