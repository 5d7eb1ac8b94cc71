// The decoder against captured M-Bus replies and their expected decodings (shared fixtures).

#include "common/hex_dump.h"
#include "common/mbus_telegram.h"

#include <QDir>
#include <QFile>
#include <QMetaEnum>
#include <QTextCodec>
#include <QXmlStreamReader>
#include <QtTest>

using namespace mbus;

namespace
{

const QString kCorpus = QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames");
const QString kData = QStringLiteral(ZORVA_SOURCE_DIR "/tests/unit/data");

using Fields = QMap<QString, QString>;

struct Expected {
    Fields slave;
    QVector<Fields> records;
};

QString readFixtureText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const QByteArray bytes = file.readAll();
    QTextCodec::ConverterState state;
    const QString utf8 =
        QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 ? utf8 : QString::fromLatin1(bytes);
}

// <MBusData><SlaveInformation>...</SlaveInformation><DataRecord id="n">...</DataRecord>...
bool readExpected(const QString &path, Expected *expected)
{
    QXmlStreamReader xml(readFixtureText(path));
    Fields *current = nullptr;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        const QString name = xml.name().toString();
        if (name == QLatin1String("SlaveInformation")) {
            current = &expected->slave;
        } else if (name == QLatin1String("DataRecord")) {
            expected->records.append(Fields());
            current = &expected->records.last();
        } else if (current && name != QLatin1String("MBusData")) {
            current->insert(name, xml.readElementText());
        }
    }
    return !xml.hasError();
}

// Spacing in the expected unit texts is irregular ("Volume (1e-2  m^3)", "Volume ( m^3)"):
// runs of spaces count as one, and none after an opening bracket or at either end.
QString normalizedUnit(QString unit)
{
    return unit.simplified().replace(QStringLiteral("( "), QStringLiteral("("));
}

bool loadFrame(const QString &path, QByteArray *frame)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    return parseHexDump(QString::fromLatin1(file.readAll()), frame);
}

QString errorName(TelegramError error)
{
    return QString::fromLatin1(QMetaEnum::fromType<TelegramError>().valueToKey(int(error)));
}

// Rows of a tab-separated data file, '#' lines and blank lines left out.
QVector<QStringList> readTable(const QString &path)
{
    QVector<QStringList> rows;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return rows;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.trimmed().isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        rows.append(line.split(QLatin1Char('\t')));
    }
    return rows;
}

// A field where our decoding knowingly differs from the fixture: frame, record, field, the
// fixture's text and ours.
struct Deviation {
    QString expected;
    QString ours;
};

QMap<QString, Deviation> readDeviations()
{
    QMap<QString, Deviation> deviations;
    for (const QStringList &row : readTable(kData + QStringLiteral("/mbus_corpus_deviations.tsv"))) {
        if (row.size() >= 5)
            deviations.insert(row.at(0) + QLatin1Char('/') + row.at(1) + QLatin1Char('/') + row.at(2),
                              {row.at(3), row.at(4)});
    }
    return deviations;
}

QByteArray withChecksum(QByteArray frame)
{
    const int length = frame.size() - 6;
    frame[1] = char(length);
    frame[2] = char(length);
    quint8 sum = 0;
    for (int i = 4; i < 4 + length; ++i)
        sum += quint8(frame.at(i));
    frame[4 + length] = char(sum);
    return frame;
}

bool sameRecordValue(const DataRecord &a, const DataRecord &b)
{
    return a.offset == b.offset && a.dib == b.dib && a.vib == b.vib && rawValueText(a) == rawValueText(b);
}

// One field of the expected decoding next to ours.
struct Comparison {
    QString where; // "header", "record 3"
    QString field; // the fixture's element name
    QString expected;
    QString ours;
    bool real = false; // compare as numbers: the fixture prints 32-bit reals with six decimals
};

// Decodes a frame of test-frames/ and pairs every field of its .xml with ours.
bool compareWithFixture(const QString &name, QVector<Comparison> *comparisons, QString *problem)
{
    const QString base = kCorpus + QStringLiteral("/test-frames/") + name;
    QByteArray frame;
    Expected expected;
    if (!loadFrame(base + QStringLiteral(".hex"), &frame) ||
        !readExpected(base + QStringLiteral(".xml"), &expected)) {
        *problem = QStringLiteral("fixture unreadable");
        return false;
    }
    Telegram telegram;
    int errorOffset = 0;
    const TelegramError error = decodeTelegram(frame, &telegram, &errorOffset);
    if (error != TelegramError::None) {
        *problem = QStringLiteral("%1 at byte %2").arg(errorName(error)).arg(errorOffset);
        return false;
    }
    const auto add = [comparisons](const QString &where, const char *field, const QString &want,
                                   const QString &ours) {
        comparisons->append({where, QLatin1String(field), want, ours});
    };
    const Fields &slave = expected.slave;
    const SlaveHeader &header = telegram.header;
    const QString h = QStringLiteral("header");
    add(h, "Id", slave.value(QStringLiteral("Id")), identificationText(header.identification));
    add(h, "Medium", slave.value(QStringLiteral("Medium")), mediumDescription(telegram));
    add(h, "AccessNumber", slave.value(QStringLiteral("AccessNumber")), QString::number(header.accessNumber));
    add(h, "Status", slave.value(QStringLiteral("Status")),
        QStringLiteral("%1").arg(header.status, 2, 16, QLatin1Char('0')).toUpper());
    if (slave.contains(QStringLiteral("Manufacturer"))) {
        add(h, "Manufacturer", slave.value(QStringLiteral("Manufacturer")),
            manufacturerLetters(header.manufacturer));
        add(h, "Version", slave.value(QStringLiteral("Version")), QString::number(header.version));
        add(h, "Signature", slave.value(QStringLiteral("Signature")),
            QStringLiteral("%1").arg(header.signature, 4, 16, QLatin1Char('0')).toUpper());
    }
    add(h, "records", QString::number(expected.records.size()), QString::number(telegram.records.size()));
    for (int i = 0; i < qMin(expected.records.size(), telegram.records.size()); ++i) {
        const Fields &want = expected.records.at(i);
        const DataRecord &record = telegram.records.at(i);
        const QString where = QStringLiteral("record %1").arg(i);
        add(where, "Function", want.value(QStringLiteral("Function")),
            recordFunctionDescription(record.function));
        if (want.contains(QStringLiteral("StorageNumber")))
            add(where, "StorageNumber", want.value(QStringLiteral("StorageNumber")),
                QString::number(record.storageNumber));
        // Tariff and subunit are listed exactly when the record has DIFEs.
        add(where, "has DIFEs", want.contains(QStringLiteral("Tariff")) ? "yes" : "no",
            record.difeCount > 0 ? "yes" : "no");
        if (record.difeCount > 0) {
            add(where, "Tariff", want.value(QStringLiteral("Tariff")), QString::number(record.tariff));
            add(where, "Device", want.value(QStringLiteral("Device")), QString::number(record.subunit));
        }
        if (want.contains(QStringLiteral("Unit")))
            add(where, "Unit", normalizedUnit(want.value(QStringLiteral("Unit"))),
                normalizedUnit(record.unitDescription));
        const QString value = want.value(QStringLiteral("Value"));
        if (record.type == ValueType::Real)
            comparisons->append(
                {where, QStringLiteral("Value"), value, QString::number(record.real, 'f', 9), true});
        else if (record.type == ValueType::DateTime && record.time.invalid)
            add(where, "Value", value, QStringLiteral("1900-01-00T00:00:00")); // the fixtures' invalid time
        else
            add(where, "Value", value, rawValueText(record));
    }
    return true;
}

bool agrees(const Comparison &c)
{
    if (!c.real)
        return c.expected == c.ours;
    bool ok = false;
    const double expected = c.expected.toDouble(&ok);
    return ok && qAbs(expected - c.ours.toDouble()) <= 1e-6;
}

} // namespace

class TestMbusCorpus : public QObject
{
    Q_OBJECT

private slots:
    void validFramesMatchTheirDecoding_data();
    void validFramesMatchTheirDecoding();
    void listedDeviationsStillHold();
    void errorFramesAreRejectedOrDecodedAsApplicationErrors_data();
    void errorFramesAreRejectedOrDecodedAsApplicationErrors();
    void truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords_data();
    void truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords();

private:
    const QMap<QString, Deviation> m_deviations = readDeviations();
};

void TestMbusCorpus::validFramesMatchTheirDecoding_data()
{
    QTest::addColumn<QString>("name");
    const QDir dir(kCorpus + QStringLiteral("/test-frames"));
    const QStringList frames = dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name);
    QVERIFY(frames.size() >= 70);
    for (const QString &file : frames)
        QTest::newRow(qPrintable(file)) << file.chopped(4);
}

void TestMbusCorpus::validFramesMatchTheirDecoding()
{
    QFETCH(QString, name);
    QVector<Comparison> comparisons;
    QString problem;
    QVERIFY2(compareWithFixture(name, &comparisons, &problem), qPrintable(problem));
    QStringList mismatches;
    for (const Comparison &c : comparisons) {
        const QString key = name + QLatin1Char('/') + c.where + QLatin1Char('/') + c.field;
        if (!agrees(c) && !m_deviations.contains(key))
            mismatches << QStringLiteral("%1: %2 is \"%3\", expected \"%4\"")
                              .arg(c.where, c.field, c.ours, c.expected);
    }
    QVERIFY2(mismatches.isEmpty(), qPrintable(mismatches.join(QStringLiteral("; "))));
}

// Each listed deviation must still be exactly what the list says, on both sides.
void TestMbusCorpus::listedDeviationsStillHold()
{
    QVERIFY(!m_deviations.isEmpty());
    for (auto it = m_deviations.constBegin(); it != m_deviations.constEnd(); ++it) {
        const QString frame = it.key().section(QLatin1Char('/'), 0, 0);
        QVector<Comparison> comparisons;
        QString problem;
        QVERIFY2(compareWithFixture(frame, &comparisons, &problem), qPrintable(problem));
        bool found = false;
        for (const Comparison &c : comparisons) {
            if (frame + QLatin1Char('/') + c.where + QLatin1Char('/') + c.field != it.key())
                continue;
            found = true;
            QCOMPARE(c.expected, it->expected);
            QCOMPARE(c.ours, it->ours);
        }
        QVERIFY2(found, qPrintable(it.key()));
    }
}

void TestMbusCorpus::errorFramesAreRejectedOrDecodedAsApplicationErrors_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expectedError");
    // Malformed frames name the error they must give; application errors come with their .xml.
    QMap<QString, QString> malformed;
    for (const QStringList &row : readTable(kData + QStringLiteral("/mbus_bad_frames.tsv"))) {
        if (row.size() >= 2)
            malformed.insert(row.at(0), row.at(1));
    }
    QVERIFY(!malformed.isEmpty());
    for (const QString &folder : {QStringLiteral("error-frames"), QStringLiteral("unsupported-frames")}) {
        const QDir dir(kCorpus + QLatin1Char('/') + folder);
        for (const QString &file : dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name)) {
            const QString path = dir.filePath(file);
            const QString relative = folder + QLatin1Char('/') + file;
            const bool applicationError = QFile::exists(path.chopped(4) + QStringLiteral(".xml"));
            QVERIFY2(applicationError || malformed.contains(relative),
                     qPrintable(relative + " is not listed"));
            QTest::newRow(qPrintable(relative)) << path << malformed.value(relative);
        }
    }
}

void TestMbusCorpus::errorFramesAreRejectedOrDecodedAsApplicationErrors()
{
    QFETCH(QString, path);
    QFETCH(QString, expectedError);
    QByteArray frame;
    const bool hexRead = loadFrame(path, &frame);
    if (expectedError == QLatin1String("NotHex")) {
        QVERIFY(!hexRead);
        return;
    }
    QVERIFY(hexRead);
    Telegram telegram;
    int errorOffset = -1;
    const TelegramError error = decodeTelegram(frame, &telegram, &errorOffset);
    if (expectedError.isEmpty()) {
        QCOMPARE(errorName(error), errorName(TelegramError::None));
        QCOMPARE(int(telegram.kind), int(TelegramKind::ApplicationError));
        Expected expected;
        QVERIFY(readExpected(path.chopped(4) + QStringLiteral(".xml"), &expected));
        QCOMPARE(applicationErrorDescription(telegram.hasErrorCode, telegram.applicationError),
                 expected.slave.value(QStringLiteral("Error")));
        return;
    }
    QCOMPARE(errorName(error), expectedError);
    if (error != TelegramError::None) {
        QVERIFY(errorOffset >= 0);
        QVERIFY(errorOffset <= frame.size());
    }
}

void TestMbusCorpus::truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords_data()
{
    QTest::addColumn<QString>("name");
    const QDir dir(kCorpus + QStringLiteral("/test-frames"));
    for (const QString &file : dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name))
        QTest::newRow(qPrintable(file)) << dir.filePath(file);
}

// Cuts the user data short at every position, with length and checksum made right again: the
// decoder must name an error inside the frame or give exactly the records that were complete.
void TestMbusCorpus::truncatedUserDataGivesAnErrorOrAPrefixOfTheRecords()
{
    QFETCH(QString, name);
    QByteArray whole;
    QVERIFY(loadFrame(name, &whole));
    Telegram full;
    QCOMPARE(errorName(decodeTelegram(whole, &full)), errorName(TelegramError::None));
    const int dataEnd = whole.size() - 2;
    for (int cut = 7; cut < dataEnd; ++cut) {
        const QByteArray shorter = withChecksum(whole.left(cut) + whole.right(2));
        Telegram part;
        int errorOffset = -1;
        const TelegramError error = decodeTelegram(shorter, &part, &errorOffset);
        if (error != TelegramError::None) {
            QVERIFY2(errorOffset >= 0 && errorOffset <= shorter.size(), qPrintable(QString::number(cut)));
            continue;
        }
        QVERIFY2(part.records.size() <= full.records.size(), qPrintable(QString::number(cut)));
        for (int i = 0; i < part.records.size(); ++i) {
            const DataRecord &record = part.records.at(i);
            const bool lastManufacturerData = record.type == ValueType::ManufacturerData;
            QVERIFY2(lastManufacturerData || sameRecordValue(record, full.records.at(i)),
                     qPrintable(QStringLiteral("cut %1, record %2").arg(cut).arg(i)));
        }
    }
}

QTEST_GUILESS_MAIN(TestMbusCorpus)
#include "tst_mbus_corpus.moc"
