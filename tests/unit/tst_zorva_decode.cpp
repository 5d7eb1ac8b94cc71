// The built zorva-decode tool, run as engineers run it: on fixture files and on standard input.

#include "common/hex_dump.h"
#include "sim/protocol_engine.h"

#include <QtTest>
#include <numeric>

namespace
{

const QString kTool = QStringLiteral(ZORVA_STAGE_DIR "/bin/zorva-decode");
const QString kFrames = QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/");
constexpr int kRunTimeoutMs = 10000;

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

Run runTool(const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.start(kTool, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(kRunTimeoutMs) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class TestZorvaDecode : public QObject
{
    Q_OBJECT

private slots:
    void printsEveryCorpusFrame();
    void input_data();
    void input();
    void simulatorAnswers();
};

// All captured replies in one stream: a telegram each, with as many records as their expected decodings.
void TestZorvaDecode::printsEveryCorpusFrame()
{
    const QDir dir(kFrames + "test-frames");
    QByteArray stream;
    QVector<int> records;
    for (const QString &name : dir.entryList({"*.hex"}, QDir::Files, QDir::Name)) {
        QFile hex(dir.filePath(name)), xml(dir.filePath(name.chopped(4) + ".xml"));
        QVERIFY(hex.open(QIODevice::ReadOnly) && xml.open(QIODevice::ReadOnly));
        stream += hex.readAll() + '\n';
        records << xml.readAll().count("<DataRecord");
    }
    const Run text = runTool({}, stream);
    QCOMPARE(text.exitCode, 0);
    const auto lines = [&text](const char *pattern) {
        return text.out.count(QRegularExpression(pattern, QRegularExpression::MultilineOption));
    };
    QCOMPARE(lines("^Идентификационный номер: \\d+"), records.size());
    QCOMPARE(lines("^\\d+\\. "), std::accumulate(records.begin(), records.end(), 0));

    const Run json = runTool({"--json"}, stream);
    QCOMPARE(json.exitCode, 0);
    const QJsonArray pieces = QJsonDocument::fromJson(json.out.toUtf8())["pieces"].toArray();
    QCOMPARE(pieces.size(), records.size());
    for (int i = 0; i < pieces.size(); ++i)
        QCOMPARE(pieces.at(i)["records"].toArray().size(), records.at(i));
}

void TestZorvaDecode::input_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("printed"); // on standard output when the input is hex, else on standard error
    QTest::newRow("\"-\", hex in lines, tabs and either case")
        << QStringList{"-"}
        << QByteArray(
               "681b1b680801720720\r\n1800E61E35074C000000\t0C 78 07 20 18 00 0C 16 69 02 00 00 96 16\n")
        << 0 << "2. Объем воды = 269 м.куб (текущее значение, хранение 0)";
    QTest::newRow("type F in summer time, JSON")
        << QStringList{"--json"}
        << QByteArray("68 15 15 68 08 01 72 78 56 34 12 24 40 01 07 55 00 00 00 04 6D 0B 8B CD 13 37 16") << 0
        << "\"summerTime\": true";
    QTest::newRow("too many DIFEs, JSON") << QStringList{"--json", kFrames + "error-frames/too_many_dife.hex"}
                                          << QByteArray() << 1 << "\"error\": \"TooManyDifes\"";
    QTest::newRow("single digit D") << QStringList{kFrames + "unsupported-frames/manual_frame1.hex"}
                                    << QByteArray() << 2
                                    << "Неверные шестнадцатеричные данные: \"D\" (группа 1)";
    QTest::newRow("a letter that is no hex digit")
        << QStringList() << QByteArray("68 04 0G") << 2 << "\"0G\" (группа 3)";
    QTest::newRow("empty input") << QStringList() << QByteArray(" \n") << 2 << "Нет данных для разбора.";
    QTest::newRow("missing file") << QStringList{"/nonexistent/frame.hex"} << QByteArray() << 2
                                  << "Не удалось открыть /nonexistent/frame.hex";
}

void TestZorvaDecode::input()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(int, exitCode);
    QFETCH(QString, printed);
    const Run run = runTool(arguments, input);
    QCOMPARE(run.exitCode, exitCode);
    const bool refused = exitCode == 2;
    QVERIFY2((refused ? run.err : run.out).contains(printed), qPrintable(run.out + run.err));
    QCOMPARE(refused ? run.out : run.err, QString());
}

// The simulated device's information, channel configuration and data answers in one stream: every
// record named in the text, and the same record lines in JSON.
void TestZorvaDecode::simulatorAnswers()
{
    sim::DeviceModel model;
    sim::ProtocolEngine engine(model);
    const QDateTime now(QDate(2024, 7, 1), QTime(12, 0), Qt::UTC);
    const QByteArray stream =
        hexDump(engine.informationAnswer(now) + engine.channelAnswer(1) + engine.dataTelegram(now))
            .toLatin1();
    const Run text = runTool({}, stream);
    QCOMPARE(text.exitCode, 0);
    for (const char *line : {"4. Отчетный день = 1 (текущее значение, хранение 0)",
                             "2. Вес импульса = 1 (текущее значение, хранение 0)",
                             "3. Длительность импульса = 50 мс (текущее значение, хранение 0)",
                             "4. Назначение входа = 1 (текущее значение, хранение 0)"})
        QVERIFY2(text.out.contains(line), qPrintable(text.out));
    QVERIFY2(!text.out.contains("ошибка записи"), qPrintable(text.out));

    const Run json = runTool({"--json"}, stream);
    QCOMPARE(json.exitCode, 0);
    QStringList jsonLines;
    for (const QJsonValue piece : QJsonDocument::fromJson(json.out.toUtf8())["pieces"].toArray()) {
        const QJsonArray records = piece["records"].toArray();
        for (int i = 0; i < records.size(); ++i)
            jsonLines << QStringLiteral("%1. %2").arg(i + 1).arg(records.at(i)["text"].toString());
    }
    const QStringList textLines =
        text.out.split('\n').filter(QRegularExpression(QStringLiteral("^\\d+\\. ")));
    QCOMPARE(jsonLines.size(), 5 + 6 + model.channelCount() + 1);
    QCOMPARE(jsonLines, textLines);
}

QTEST_GUILESS_MAIN(TestZorvaDecode)
#include "tst_zorva_decode.moc"
