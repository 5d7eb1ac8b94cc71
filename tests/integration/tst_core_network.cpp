#include "common/server_error_text.h"
#include "sdk/core_interfaces.h"
#include "sim/server_emulator.h"
#include "tests/support/host_fixture.h"
#include "tests/support/raw_http_server.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace
{

const char *const kBaseVariable = "VELMORA_SERVER_URL";
const QString kNoCode = QStringLiteral("Ответ сервера не содержит кода результата.");
const QString kLinkError = QStringLiteral("Ошибка связи с сервером: ");
const QString kSpecialPassword = QStringLiteral("p+ss w&rd=%1;é");

QStringList loggedMessages;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    loggedMessages << message;
}

} // namespace

Q_DECLARE_METATYPE(RawHttpServer::Behaviour)

// The host's network service: base address, the login request on the wire, and its verdicts from
// the metering-server emulator and from test servers.
class TestCoreNetwork : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void baseAddressOrder();
    void verdictFromEmulator_data();
    void verdictFromEmulator();
    void replies_data();
    void replies();
    void unsupportedMode();

private:
    bool login(const QString &command, const QList<QPair<QString, QString>> &fields);

    QTemporaryDir m_dir;
    std::unique_ptr<CoreServices> m_services;
    CoreNetworkInterface *m_network = nullptr;
};

void TestCoreNetwork::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       m_dir.filePath(QStringLiteral("settings")));
    m_services = std::make_unique<CoreServices>();
    m_network = findCoreService<CoreNetworkInterface>(m_services->modules(), QStringLiteral("core_network"));
    QVERIFY(m_network);
}

void TestCoreNetwork::cleanup()
{
    qunsetenv(kBaseVariable);
    QSettings(QStringLiteral("velmora"), QStringLiteral("zorva-host")).remove(QStringLiteral("serverUrl"));
}

bool TestCoreNetwork::login(const QString &command, const QList<QPair<QString, QString>> &fields)
{
    m_network->beginRequest(command);
    for (const auto &field : fields)
        m_network->addField(field.first, field.second);
    return m_network->send(2, 0, QStringLiteral("client.cgi"));
}

void TestCoreNetwork::baseAddressOrder()
{
    qunsetenv(kBaseVariable);
    QCOMPARE(m_network->serverBaseAddress(), QStringLiteral("http://127.0.0.1:8080/"));
    QSettings(QStringLiteral("velmora"), QStringLiteral("zorva-host"))
        .setValue(QStringLiteral("serverUrl"), QStringLiteral("https://saved.example/"));
    QCOMPARE(m_network->serverBaseAddress(), QStringLiteral("https://saved.example/"));
    qputenv(kBaseVariable, "http://environment.example/");
    QCOMPARE(m_network->serverBaseAddress(), QStringLiteral("http://environment.example/"));
}

void TestCoreNetwork::verdictFromEmulator_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password"); // null: no Password field
    QTest::addColumn<int>("code");
    const QString command = QStringLiteral("Get_UserData");
    const QString engineer = QStringLiteral("engineer");
    const QString zorva = QStringLiteral("zorva");
    QTest::newRow("reserved characters in the password")
        << command << QStringLiteral("инженер") << kSpecialPassword << 0;
    QTest::newRow("unknown command") << QStringLiteral("Get_Everything") << engineer << zorva << 1;
    QTest::newRow("no Password field") << command << engineer << QString() << 218;
}

void TestCoreNetwork::verdictFromEmulator()
{
    QFETCH(QString, command);
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(int, code);
    ServerEmulator emulator({{{QStringLiteral("engineer"), QStringLiteral("zorva")},
                              {QStringLiteral("инженер"), kSpecialPassword}},
                             {}});
    QVERIFY(emulator.start());
    qputenv(kBaseVariable, emulator.baseAddress().toUtf8());
    QList<QPair<QString, QString>> fields{{QStringLiteral("Login"), login}};
    if (!password.isNull())
        fields.append({QStringLiteral("Password"), password});
    QCOMPARE(this->login(command, fields), code == 0);
    QCOMPARE(m_network->lastError(), code == 0 ? QString() : serverErrorText(quint16(code)));
    QCOMPARE(emulator.exchanges().size(), 1);
    QCOMPARE(emulator.exchanges().first().resultCode, code);
}

void TestCoreNetwork::replies_data()
{
    QTest::addColumn<RawHttpServer::Behaviour>("behaviour");
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QString>("errorStart"); // empty: accepted
    const auto answer = RawHttpServer::Behaviour::Answer;
    const QByteArray none;
    QTest::newRow("empty body") << answer << RawHttpServer::okResponse({}) << kNoCode;
    QTest::newRow("21-byte body") << answer << RawHttpServer::okResponse(QByteArray(21, 'x')) << kNoCode;
    QTest::newRow("\"0\" and two non-digits")
        << answer << RawHttpServer::okResponse(RawHttpServer::resultBody("0ab")) << kNoCode;
    QTest::newRow("code 40, known to the common lookup only")
        << answer << RawHttpServer::okResponse(RawHttpServer::resultBody("040"))
        << QStringLiteral("Параметр CompanyId не найден.");
    QTest::newRow("\"000\" in a 6 MiB body")
        << answer
        << RawHttpServer::okResponse(RawHttpServer::resultBody("000") + QByteArray(6 * 1024 * 1024, '.'))
        << QString();
    QTest::newRow("HTTP 404") << answer << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n")
                              << kLinkError;
    QTest::newRow("cut off mid-transfer") << RawHttpServer::Behaviour::CutOff << none << kLinkError;
    QTest::newRow("refused connection")
        << RawHttpServer::Behaviour::Refuse << none << kLinkError + "Connection refused";
    QTest::newRow("never answers") << RawHttpServer::Behaviour::Silent << none
                                   << QStringLiteral("Сервер не ответил за 15 с.");
}

// The login as it goes out, then its verdict from the reply.
void TestCoreNetwork::replies()
{
    QFETCH(RawHttpServer::Behaviour, behaviour);
    QFETCH(QByteArray, response);
    QFETCH(QString, errorStart);
    RawHttpServer server;
    QVERIFY(server.listen());
    server.setBehaviour(behaviour);
    server.setResponse(response);
    qputenv(kBaseVariable, server.baseAddress().toUtf8());
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(50);
    QElapsedTimer elapsed;
    elapsed.start();
    loggedMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
    const bool accepted =
        login(QStringLiteral("Get_UserData"), {{QStringLiteral("Login"), QStringLiteral("инженер")},
                                               {QStringLiteral("Password"), kSpecialPassword}});
    qInstallMessageHandler(previous);
    QCOMPARE(accepted, errorStart.isEmpty());
    QVERIFY2(m_network->lastError().startsWith(errorStart), qPrintable(m_network->lastError()));
    QCOMPARE(m_network->lastError().isEmpty(), errorStart.isEmpty());
    // The wait never holds up the event loop, and the password reaches no log.
    QVERIFY2(ticks >= elapsed.elapsed() / 100, qPrintable(QStringLiteral("%1 ticks").arg(ticks)));
    for (const QString &message : qAsConst(loggedMessages))
        QVERIFY2(!message.contains(QStringLiteral("p+ss")) && !message.contains(QStringLiteral("p%2Bss")),
                 qPrintable(message));
    if (behaviour == RawHttpServer::Behaviour::Refuse)
        return;
    QCOMPARE(server.requests().size(), 1);
    const RawRequest request = RawRequest::parse(server.requests().first());
    QCOMPARE(request.requestLine, QByteArray("POST /client.cgi HTTP/1.1"));
    QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
    QCOMPARE(request.body, QByteArray("CMD=Get_UserData&Login=%D0%B8%D0%BD%D0%B6%D0%B5%D0%BD%D0%B5%D1%80"
                                      "&Password=p%2Bss%20w%26rd%3D%251%3B%C3%A9"));
}

void TestCoreNetwork::unsupportedMode()
{
    m_network->beginRequest(QStringLiteral("Get_UserData"));
    QVERIFY(!m_network->send(1, 0, QStringLiteral("client.cgi")));
    QCOMPARE(m_network->lastError(), QStringLiteral("Неподдерживаемый режим запроса к серверу (1, 0)."));
}

QTEST_MAIN(TestCoreNetwork)
#include "tst_core_network.moc"
