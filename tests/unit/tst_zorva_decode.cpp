// The built zorva-decode tool, run as engineers run it: on fixture files and on standard input.

#include "common/hex_dump.h"
#include "common/mbus_telegram.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>
#include <algorithm>

namespace
{

const QString kTool = QStringLiteral(ZORVA_STAGE_DIR "/bin/zorva-decode");
const QString kFrames = QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames");
constexpr int kRunTimeoutMs = 10000;

struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

Run runTool(const QStringList &arguments, const QByteArray &input = QByteArray())
{
    QProcess process;
    process.start(kTool, arguments);
    Run run;
    if (!process.waitForStarted(kRunTimeoutMs))
        return run;
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(kRunTimeoutMs))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

} // namespace

class TestZorvaDecode : public QObject
{
    Q_OBJECT

private slots:
    void printsEveryCorpusFrame_data();
    void printsEveryCorpusFrame();
    void readsStandardInputInAnyHexLayout();
    void badInputIsRefused_data();
    void badInputIsRefused();
    void undecodableFrameIsReported();
};

void TestZorvaDecode::printsEveryCorpusFrame_data()
{
    QTest::addColumn<QString>("path");
    const QDir dir(kFrames + QStringLiteral("/test-frames"));
    for (const QString &file : dir.entryList({QStringLiteral("*.hex")}, QDir::Files, QDir::Name))
        QTest::newRow(qPrintable(file)) << dir.filePath(file);
}

// Text: one numbered line per record. JSON: the same header and the records as decoded in-process.
void TestZorvaDecode::printsEveryCorpusFrame()
{
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray frame;
    QVERIFY(parseHexDump(QString::fromLatin1(file.readAll()), &frame));
    mbus::Telegram telegram;
    QCOMPARE(int(mbus::decodeTelegram(frame, &telegram)), int(mbus::TelegramError::None));

    const Run text = runTool({path});
    QCOMPARE(text.exitCode, 0);
    QVERIFY(text.out.contains(QStringLiteral("Идентификационный номер: ") +
                              mbus::identificationText(telegram.header.identification)));
    const QStringList lines = text.out.split(QLatin1Char('\n'));
    for (int i = 0; i < telegram.records.size(); ++i) {
        const QString number = QStringLiteral("%1. ").arg(i + 1);
        QVERIFY2(
            std::any_of(lines.begin(), lines.end(), [&](const QString &l) { return l.startsWith(number); }),
            qPrintable(QStringLiteral("no line for record %1").arg(i + 1)));
    }

    const Run json = runTool({QStringLiteral("--json"), path});
    QCOMPARE(json.exitCode, 0);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.out.toUtf8(), &error);
    QCOMPARE(error.error, QJsonParseError::NoError);
    const QJsonArray pieces = document.object().value(QStringLiteral("pieces")).toArray();
    QCOMPARE(pieces.size(), 1);
    const QJsonObject piece = pieces.first().toObject();
    QCOMPARE(piece.value(QStringLiteral("type")).toString(), QStringLiteral("telegram"));
    QCOMPARE(
        piece.value(QStringLiteral("header")).toObject().value(QStringLiteral("identification")).toString(),
        mbus::identificationText(telegram.header.identification));
    const QJsonArray records = piece.value(QStringLiteral("records")).toArray();
    QCOMPARE(records.size(), telegram.records.size());
    for (int i = 0; i < records.size(); ++i) {
        const QJsonObject record = records.at(i).toObject();
        QCOMPARE(record.value(QStringLiteral("value")).toString(),
                 mbus::rawValueText(telegram.records.at(i)));
        QCOMPARE(record.value(QStringLiteral("unit")).toString(), telegram.records.at(i).unitDescription);
    }
}

void TestZorvaDecode::readsStandardInputInAnyHexLayout()
{
    const Run run = runTool(
        {}, "681b1b680801720720\r\n1800E61E35074C000000\t0C 78 07 20 18 00 0C 16 69 02 00 00 96 16\n");
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains(QStringLiteral("2. Объем воды = 269 м.куб (текущее значение, хранение 0)")),
             qPrintable(run.out));
    const Run dash = runTool({QStringLiteral("-")}, "68 04 04 68 08 01 70 08 81 16");
    QCOMPARE(dash.exitCode, 0);
    QVERIFY(dash.out.contains(QStringLiteral("Ошибка прибора: Приложение занято")));
}

void TestZorvaDecode::badInputIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("message");
    QTest::newRow("single digit D (unsupported-frames/manual_frame1)")
        << QStringList{kFrames + QStringLiteral("/unsupported-frames/manual_frame1.hex")} << QByteArray()
        << QStringLiteral("Неверные шестнадцатеричные данные: \"D\" (группа 1)");
    QTest::newRow("a letter that is no hex digit")
        << QStringList() << QByteArray("68 04 0G") << QStringLiteral("\"0G\" (группа 3)");
    QTest::newRow("empty input") << QStringList() << QByteArray(" \n")
                                 << QStringLiteral("Нет данных для разбора.");
    QTest::newRow("missing file") << QStringList{QStringLiteral("/nonexistent/frame.hex")} << QByteArray()
                                  << QStringLiteral("Не удалось открыть /nonexistent/frame.hex");
}

void TestZorvaDecode::badInputIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QString, message);
    const Run run = runTool(arguments, input);
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    QVERIFY(run.out.isEmpty());
}

void TestZorvaDecode::undecodableFrameIsReported()
{
    const QString path = kFrames + QStringLiteral("/error-frames/too_many_dife.hex");
    const Run text = runTool({path});
    QCOMPARE(text.exitCode, 1);
    QVERIFY2(
        text.out.contains(QStringLiteral("Не удалось разобрать телеграмму: В записи более 10 байтов DIFE")),
        qPrintable(text.out));
    const Run json = runTool({QStringLiteral("--json"), path});
    QCOMPARE(json.exitCode, 1);
    const QJsonObject piece = QJsonDocument::fromJson(json.out.toUtf8())
                                  .object()
                                  .value(QStringLiteral("pieces"))
                                  .toArray()
                                  .last()
                                  .toObject();
    QCOMPARE(piece.value(QStringLiteral("type")).toString(), QStringLiteral("failure"));
    QCOMPARE(piece.value(QStringLiteral("error")).toString(), QStringLiteral("TooManyDifes"));
}

QTEST_GUILESS_MAIN(TestZorvaDecode)
#include "tst_zorva_decode.moc"
