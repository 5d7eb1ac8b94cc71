// Every code of every vocabulary table against the documented tables (kept as data), and the
// unit-word parser.

#include "common/vocabulary.h"
#include "tests/support/tsv_rows.h"

#include <QtTest>
#include <functional>

namespace
{

struct Table {
    std::function<QString(int)> lookup;
    int domain; // codes 0 .. domain-1
};

const QMap<QString, Table> &tables()
{
    static const QMap<QString, Table> kTables{
        {QStringLiteral("valueKind"), {[](int c) { return valueKindName(quint8(c)); }, 0x100}},
        {QStringLiteral("unit"), {[](int c) { return unitName(quint8(c)); }, 0x100}},
        {QStringLiteral("medium"), {[](int c) { return mediumName(quint8(c)); }, 0x100}},
        {QStringLiteral("userType"), {[](int c) { return userTypeName(quint16(c)); }, 0x10000}},
        {QStringLiteral("userState"), {[](int c) { return userStateName(quint8(c)); }, 0x100}},
        {QStringLiteral("resourceType"), {[](int c) { return resourceTypeName(quint16(c)); }, 0x10000}},
        {QStringLiteral("deviceState"), {[](int c) { return deviceStateName(quint16(c)); }, 0x10000}},
        {QStringLiteral("objectType"), {[](int c) { return objectTypeName(quint16(c)); }, 0x10000}},
        {QStringLiteral("meterModel"), {[](int c) { return meterModelName(quint8(c)); }, 0x100}},
        {QStringLiteral("event"), {[](int c) { return eventName(quint8(c)); }, 0x100}},
    };
    return kTables;
}

// The text a code missing from its table gets, by the table's fallback rule.
QString fallbackText(const QString &rule, int code)
{
    if (rule == QLatin1String("empty"))
        return QString();
    if (rule.startsWith(QLatin1String("text:")))
        return rule.mid(5);
    const int digits = rule.mid(3, 1).toInt();
    const QString hex = QString::number(code, 16).toUpper();
    return QStringLiteral("0x") + QString(digits - hex.size(), QLatin1Char('0')) + hex + rule.mid(5);
}

} // namespace

class TestVocabulary : public QObject
{
    Q_OBJECT

private slots:
    void everyCodeOfEachTable_data();
    void everyCodeOfEachTable();
    void readingsWithUnitWords_data();
    void readingsWithUnitWords();
    void valueKindFollowsTheMedium_data();
    void valueKindFollowsTheMedium();
};

void TestVocabulary::everyCodeOfEachTable_data()
{
    QTest::addColumn<QString>("table");
    for (const QString &name : tables().keys())
        QTest::newRow(qPrintable(name)) << name;
}

void TestVocabulary::everyCodeOfEachTable()
{
    QFETCH(QString, table);
    const QVector<QStringList> rows = tsvRows(QStringLiteral("vocabulary_tables.tsv"));
    QMap<int, QString> listed;
    QString rule;
    for (const QStringList &row : rows) {
        if (row.at(0) == table)
            (row.at(1) == QLatin1String("*") ? rule : listed[row.at(1).toInt()]) = row.at(2);
    }
    QVERIFY2(!rule.isEmpty() && !listed.isEmpty(), "table missing from the data file");
    const Table &lookup = tables().value(table);
    for (int code = 0; code < lookup.domain; ++code) {
        const QString expected = listed.contains(code) ? listed.value(code) : fallbackText(rule, code);
        const QString actual = lookup.lookup(code);
        if (actual != expected)
            QFAIL(qPrintable(
                QStringLiteral("code %1: \"%2\", expected \"%3\"").arg(code).arg(actual, expected)));
    }
    // The documented edge cases, written out in full.
    for (const QStringList &row : rows) {
        if (row.at(0) == QLatin1String("case") && row.at(1) == table)
            QCOMPARE(lookup.lookup(row.at(2).toInt()), row.value(3));
    }
}

void TestVocabulary::readingsWithUnitWords_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("unitCode");
    for (const QStringList &row : tsvRows(QStringLiteral("vocabulary_tables.tsv"))) {
        // Each unit word gives its code; a word compared lower-cased also matches in upper case.
        if (row.at(0) == QLatin1String("unitWord")) {
            QTest::newRow(qPrintable("4,25 " + row.at(1)))
                << "4,25 " + row.at(1) << true << 4.25 << row.at(3).toInt();
            if (row.at(2) == QLatin1String("lower"))
                QTest::newRow(qPrintable("1 " + row.at(1).toUpper()))
                    << "1 " + row.at(1).toUpper() << true << 1.0 << row.at(3).toInt();
        } else if (row.at(0) == QLatin1String("parse")) {
            const bool ok = row.at(2) == QLatin1String("ok");
            QTest::newRow(qPrintable(QLatin1Char('"') + row.at(1) + QLatin1Char('"')))
                << row.at(1) << ok << (ok ? row.at(3).toDouble() : 0.0) << (ok ? row.at(4).toInt() : 0);
        }
    }
}

void TestVocabulary::readingsWithUnitWords()
{
    QFETCH(QString, input);
    QFETCH(bool, ok);
    QFETCH(double, value);
    QFETCH(int, unitCode);
    double parsed = -1;
    quint8 code = 0xEE;
    QCOMPARE(parseValueWithUnit(0x02, input, &parsed, &code), ok);
    QCOMPARE(parsed, ok ? value : -1.0); // outputs untouched on failure
    QCOMPARE(int(code), ok ? unitCode : 0xEE);
}

void TestVocabulary::valueKindFollowsTheMedium_data()
{
    QTest::addColumn<int>("medium");
    QTest::addColumn<int>("unitCode");
    QTest::addColumn<QString>("kind");
    QTest::newRow("Gcal on a heat meter (inlet)") << 0x0C << 9 << QStringLiteral("Тепловая энергия");
    QTest::newRow("kWh on a pulse counter") << 0x19 << 2 << QStringLiteral("Энергия");
    QTest::newRow("m3 on a cold water meter") << 0x16 << 10 << QStringLiteral("Объем воды");
    QTest::newRow("l on a gas meter") << 0x03 << 11 << QStringLiteral("Объем газа");
    QTest::newRow("m3 on a heat meter") << 0x04 << 10 << QStringLiteral("Объем теплоносителя");
    QTest::newRow("m3 on other media") << 0x00 << 10 << QStringLiteral("Объем");
    QTest::newRow("m3/h on a heat meter") << 0x04 << 25 << QStringLiteral("Расход теплоносителя");
    QTest::newRow("kW on a water meter") << 0x07 << 37 << QStringLiteral("Мощность");
    QTest::newRow("% says nothing") << 0x07 << 40 << QString();
}

void TestVocabulary::valueKindFollowsTheMedium()
{
    QFETCH(int, medium);
    QFETCH(int, unitCode);
    QFETCH(QString, kind);
    QCOMPARE(valueKindName(valueKindFor(quint8(medium), quint8(unitCode))), kind);
}

QTEST_GUILESS_MAIN(TestVocabulary)
#include "tst_vocabulary.moc"
