#include "common/server_error_text.h"
#include "server/reply_codes.h"

#include <QFile>
#include <QtTest>

namespace {

const QString kUnknown = QStringLiteral("Неизвестная ошибка.");

struct Transcribed {
    int code;
    QString replyText; // null when the reply table has no row
    QString commonText;
};

// Every code 0..335 with its two texts, as transcribed from the server's documentation.
QVector<Transcribed> transcribedCodes()
{
    QFile file(QStringLiteral(ZORVA_SOURCE_DIR "/tests/unit/data/server_result_codes.tsv"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", qPrintable(file.fileName()));
    QVector<Transcribed> rows;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() != 3)
            qFatal("malformed line: %s", line.constData());
        const QString reply = QString::fromUtf8(fields.at(1));
        rows << Transcribed{fields.at(0).toInt(), reply == QLatin1String("-") ? QString() : reply,
                            QString::fromUtf8(fields.at(2))};
    }
    return rows;
}

// A reply whose bytes 21..23 are the given code text.
QByteArray replyWithCode(const QByteArray &code)
{
    return QByteArrayLiteral("<velmoraData><Result>") + code + "</Result></velmoraData>";
}

} // namespace

class TestServerCodes : public QObject
{
    Q_OBJECT

private slots:
    void transcriptionCoversEveryCode();
    void replyTableRow_data();
    void replyTableRow();
    void replyTableHasNothingElse();
    void serverErrorText_data();
    void serverErrorText();
    void replyMessage_data();
    void replyMessage();
};

void TestServerCodes::transcriptionCoversEveryCode()
{
    const QVector<Transcribed> rows = transcribedCodes();
    QCOMPARE(rows.size(), 336);
    for (int i = 0; i < rows.size(); ++i)
        QCOMPARE(rows.at(i).code, i);
}

void TestServerCodes::replyTableRow_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    for (const Transcribed &row : transcribedCodes())
        QTest::addRow("code %d", row.code) << row.code << row.replyText;
}

void TestServerCodes::replyTableRow()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    const QHash<int, QString> table = server::replyCodeTable();
    QCOMPARE(table.contains(code), !text.isNull());
    QCOMPARE(table.value(code), text);
}

void TestServerCodes::replyTableHasNothingElse()
{
    const QHash<int, QString> table = server::replyCodeTable();
    QCOMPARE(table.size(), 278);
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        QVERIFY2(it.key() >= 0 && it.key() <= 335, qPrintable(QString::number(it.key())));
}

void TestServerCodes::serverErrorText_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    for (const Transcribed &row : transcribedCodes())
        QTest::addRow("code %d", row.code) << row.code << row.commonText;
    // Written out by hand: the documented differences between the two tables.
    QTest::newRow("40, common lookup only") << 40 << QStringLiteral("Параметр CompanyId не найден.");
    QTest::newRow("18, longer wording")
        << 18
        << QStringLiteral("Отсутствуют показания и флаги состояний устройства. Нет данных для сохранения.");
    QTest::newRow("304, with a full stop") << 304 << QStringLiteral("Отсутствует параметр TaskId.");
    QTest::newRow("316, reply table only") << 316 << kUnknown;
    QTest::newRow("336") << 336 << kUnknown;
    QTest::newRow("65535") << 65535 << kUnknown;
}

void TestServerCodes::serverErrorText()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QCOMPARE(::serverErrorText(quint16(code)), text);
}

void TestServerCodes::replyMessage_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("codeText");
    QTest::addColumn<QString>("message");
    const QByteArray prefix(21, 'x');
    QTest::newRow("\"139\"") << replyWithCode("139") << QByteArray("139")
                             << QStringLiteral("Неверное имя пользователя или пароль.");
    QTest::newRow("\"0\" and two non-digits")
        << replyWithCode("0ab") << QByteArray("0ab") << QStringLiteral("OK.");
    QTest::newRow("not a number") << replyWithCode("abc") << QByteArray("abc") << QStringLiteral("OK.");
    QTest::newRow("code 40, absent from the reply table")
        << replyWithCode("040") << QByteArray("040") << QString("");
    QTest::newRow("code 316") << replyWithCode("316") << QByteArray("316")
                              << QStringLiteral("Не указаны приборы, подключенные к каналам.");
    QTest::newRow("code 999") << replyWithCode("999") << QByteArray("999") << QString("");
    QTest::newRow("empty body") << QByteArray() << QByteArray() << QStringLiteral("OK.");
    QTest::newRow("21 bytes") << prefix << QByteArray() << QStringLiteral("OK.");
    QTest::newRow("22 bytes: one code character")
        << prefix + "7" << QByteArray("7")
        << QStringLiteral("Отсутствует параметр HardVer, обязательный для "
                          "данного запроса.");
    QTest::newRow("23 bytes: two code characters")
        << prefix + "13" << QByteArray("13") << QStringLiteral("Отсутствует параметр wmbVer.");
    QTest::newRow("zero byte at offset 22")
        << prefix +
               QByteArray("1\0"
                          "9",
                          3) +
               "tail"
        << QByteArray("1") << QStringLiteral("Неизвестная команда (параметр CMD).");
    QTest::newRow("8 MiB body") << replyWithCode("018") + QByteArray(8 * 1024 * 1024, 'z')
                                << QByteArray("018") << QStringLiteral("Нет данных для сохранения.");
}

void TestServerCodes::replyMessage()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, codeText);
    QFETCH(QString, message);
    QCOMPARE(server::codeText(body), codeText);
    QCOMPARE(server::replyMessage(body), message);
}

QTEST_GUILESS_MAIN(TestServerCodes)
#include "tst_server_codes.moc"
