#include "common/server_error_text.h"
#include "server/reply_codes.h"

#include <QFile>
#include <QtTest>

namespace
{

const QString kUnknown = QStringLiteral("Неизвестная ошибка.");

struct Transcribed {
    int code;
    QString replyText; // null when the reply table has no row
    QString commonText;
};

// Every code 0..335 in order, with its two texts, as transcribed from the server's documentation.
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
        if (fields.size() != 3 || fields.at(0).toInt() != rows.size())
            qFatal("malformed or out-of-order line: %s", line.constData());
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
    void replyTable_data();
    void replyTable();
    void serverErrorText_data();
    void serverErrorText();
    void replyMessage_data();
    void replyMessage();
};

void TestServerCodes::replyTable_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text"); // null: no row
    const QVector<Transcribed> rows = transcribedCodes();
    QCOMPARE(rows.size(), 336);
    for (const Transcribed &row : rows)
        QTest::addRow("code %d", row.code) << row.code << row.replyText;
}

// Every code 0..335 against the transcription; 278 rows in all, so nothing outside that range.
void TestServerCodes::replyTable()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    const QHash<int, QString> table = server::replyCodeTable();
    QCOMPARE(table.size(), 278);
    QCOMPARE(table.contains(code), !text.isNull());
    QCOMPARE(table.value(code), text);
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
    QTest::addColumn<QString>("message");
    const QByteArray prefix(21, 'x');
    const QString ok = QStringLiteral("OK.");
    QTest::newRow("\"139\"") << replyWithCode("139")
                             << QStringLiteral("Неверное имя пользователя или пароль.");
    QTest::newRow("\"0\" and two non-digits") << replyWithCode("0ab") << ok;
    QTest::newRow("code 40, absent from the reply table") << replyWithCode("040") << QString("");
    QTest::newRow("empty body") << QByteArray() << ok;
    QTest::newRow("21 bytes") << prefix << ok;
    QTest::newRow("22 bytes: one code character")
        << prefix + "7" << QStringLiteral("Отсутствует параметр HardVer, обязательный для данного запроса.");
    QTest::newRow("23 bytes: two code characters")
        << prefix + "13" << QStringLiteral("Отсутствует параметр wmbVer.");
    QTest::newRow("zero byte at offset 22") << prefix + QByteArray::fromHex("310039") + "tail"
                                            << QStringLiteral("Неизвестная команда (параметр CMD).");
    QTest::newRow("8 MiB body") << replyWithCode("018") + QByteArray(8 * 1024 * 1024, 'z')
                                << QStringLiteral("Нет данных для сохранения.");
}

void TestServerCodes::replyMessage()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    QCOMPARE(server::replyMessage(body), message);
}

QTEST_GUILESS_MAIN(TestServerCodes)
#include "tst_server_codes.moc"
