#include "common/server_error_text.h"
#include "sdk/core_interfaces.h"
#include "sim/server_emulator.h"
#include "tests/support/host_fixture.h"
#include "tests/support/raw_http_server.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char *const kBaseVariable = "VELMORA_SERVER_URL";
const QString kNoCode = QStringLiteral("Ответ сервера не содержит кода результата.");
const QString kLinkError = QStringLiteral("Ошибка связи с сервером: ");
const QString kSpecialPassword = QStringLiteral("p+ss w&rd=%1;é");

QStringList loggedMessages;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    loggedMessages << message;
}

quint16 closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

QByteArray withCode(const QByteArray &code)
{
    return QByteArrayLiteral("<velmoraData><Result>") + code + "</Result></velmoraData>";
}

} // namespace

// The host's network service: base address, the login request on the wire, and its verdicts from
// the metering-server emulator and from broken servers.
class TestCoreNetwork : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void baseAddressOrder();
    void loginOnTheWire();
    void verdictFromEmulator_data();
    void verdictFromEmulator();
    void brokenReplies_data();
    void brokenReplies();
    void refusedConnection();
    void silentServerTimesOut();
    void unsupportedMode();

private:
    bool login(const QString &command, const QList<QPair<QString, QString>> &fields);

    QTemporaryDir m_dir;
    std::unique_ptr<CoreServices> m_services;
    CoreNetworkInterface *m_network = nullptr;
    std::unique_ptr<ServerEmulator> m_emulator;
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

void TestCoreNetwork::init()
{
    ServerEmulator::Settings settings;
    settings.users.insert(QStringLiteral("engineer"), QStringLiteral("zorva"));
    settings.users.insert(QStringLiteral("инженер"), kSpecialPassword);
    settings.storageDir = m_dir.filePath(QStringLiteral("uploads"));
    m_emulator = std::make_unique<ServerEmulator>(settings);
    QString error;
    QVERIFY2(m_emulator->start(0, &error), qPrintable(error));
    qputenv(kBaseVariable, m_emulator->baseAddress().toUtf8());
}

void TestCoreNetwork::cleanup()
{
    m_emulator.reset();
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

void TestCoreNetwork::loginOnTheWire()
{
    RawHttpServer server;
    QVERIFY(server.listen());
    server.setResponse(RawHttpServer::okResponse(withCode("000")));
    qputenv(kBaseVariable, server.baseAddress().toUtf8());
    loggedMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
    const bool accepted =
        login(QStringLiteral("Get_UserData"), {{QStringLiteral("Login"), QStringLiteral("инженер")},
                                               {QStringLiteral("Password"), kSpecialPassword}});
    qInstallMessageHandler(previous);
    QVERIFY2(accepted, qPrintable(m_network->lastError()));

    QCOMPARE(server.requests().size(), 1);
    const RawRequest request = RawRequest::parse(server.requests().first());
    QCOMPARE(request.requestLine, QByteArray("POST /client.cgi HTTP/1.1"));
    QCOMPARE(request.header("Content-Type"), QByteArray("application/x-www-form-urlencoded"));
    QCOMPARE(request.body, QByteArray("CMD=Get_UserData&Login=%D0%B8%D0%BD%D0%B6%D0%B5%D0%BD%D0%B5%D1%80"
                                      "&Password=p%2Bss%20w%26rd%3D%251%3B%C3%A9"));
    for (const QString &message : qAsConst(loggedMessages))
        QVERIFY2(!message.contains(QStringLiteral("p+ss")) && !message.contains(QStringLiteral("p%2Bss")),
                 qPrintable(message));
}

void TestCoreNetwork::verdictFromEmulator_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password"); // null: no Password field
    QTest::addColumn<int>("code");
    QTest::newRow("right login and password") << "Get_UserData"
                                              << "engineer"
                                              << "zorva" << 0;
    QTest::newRow("reserved characters in the password") << "Get_UserData"
                                                         << "инженер" << kSpecialPassword << 0;
    QTest::newRow("wrong password") << "Get_UserData"
                                    << "engineer"
                                    << "zorva " << 139;
    QTest::newRow("unknown login") << "Get_UserData"
                                   << "nobody"
                                   << "zorva" << 139;
    QTest::newRow("empty login") << "Get_UserData"
                                 << ""
                                 << "zorva" << 139;
    QTest::newRow("unknown command") << "Get_Everything"
                                     << "engineer"
                                     << "zorva" << 1;
    QTest::newRow("no Password field") << "Get_UserData"
                                       << "engineer" << QString() << 218;
}

void TestCoreNetwork::verdictFromEmulator()
{
    QFETCH(QString, command);
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(int, code);
    QList<QPair<QString, QString>> fields{{QStringLiteral("Login"), login}};
    if (!password.isNull())
        fields.append({QStringLiteral("Password"), password});
    QCOMPARE(this->login(command, fields), code == 0);
    QCOMPARE(m_network->lastError(), code == 0 ? QString() : serverErrorText(quint16(code)));
    QCOMPARE(m_emulator->exchanges().size(), 1);
    QCOMPARE(m_emulator->exchanges().first().resultCode, code);
}

void TestCoreNetwork::brokenReplies_data()
{
    QTest::addColumn<int>("behaviour");
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("errorStart");
    const int answer = int(RawHttpServer::Behaviour::Answer);
    QTest::newRow("empty body") << answer << RawHttpServer::okResponse({}) << false << kNoCode;
    QTest::newRow("21-byte body") << answer << RawHttpServer::okResponse(QByteArray(21, 'x')) << false
                                  << kNoCode;
    QTest::newRow("\"0\" and two non-digits")
        << answer << RawHttpServer::okResponse(withCode("0ab")) << false << kNoCode;
    QTest::newRow("code 40, known to the common lookup only")
        << answer << RawHttpServer::okResponse(withCode("040")) << false
        << QStringLiteral("Параметр CompanyId не найден.");
    QTest::newRow("code 316, unknown to the common lookup")
        << answer << RawHttpServer::okResponse(withCode("316")) << false
        << QStringLiteral("Неизвестная ошибка.");
    QTest::newRow("\"000\" in a 6 MiB body")
        << answer << RawHttpServer::okResponse(withCode("000") + QByteArray(6 * 1024 * 1024, '.')) << true
        << QString();
    QTest::newRow("HTTP 404") << answer << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n")
                              << false << kLinkError;
    QTest::newRow("cut off mid-transfer")
        << int(RawHttpServer::Behaviour::CutOff) << QByteArray() << false << kLinkError;
}

void TestCoreNetwork::brokenReplies()
{
    QFETCH(int, behaviour);
    QFETCH(QByteArray, response);
    QFETCH(bool, accepted);
    QFETCH(QString, errorStart);
    RawHttpServer server;
    QVERIFY(server.listen());
    server.setBehaviour(RawHttpServer::Behaviour(behaviour));
    server.setResponse(response);
    qputenv(kBaseVariable, server.baseAddress().toUtf8());
    QCOMPARE(login(QStringLiteral("Get_UserData"), {{QStringLiteral("Login"), QStringLiteral("a")},
                                                    {QStringLiteral("Password"), QStringLiteral("b")}}),
             accepted);
    QVERIFY2(m_network->lastError().startsWith(errorStart), qPrintable(m_network->lastError()));
    QCOMPARE(m_network->lastError().isEmpty(), accepted);
}

void TestCoreNetwork::refusedConnection()
{
    qputenv(kBaseVariable, QStringLiteral("http://127.0.0.1:%1/").arg(closedPort()).toUtf8());
    QVERIFY(!login(QStringLiteral("Get_UserData"), {}));
    QCOMPARE(m_network->lastError(), kLinkError + QStringLiteral("Connection refused"));
}

void TestCoreNetwork::silentServerTimesOut()
{
    RawHttpServer server;
    QVERIFY(server.listen());
    server.setBehaviour(RawHttpServer::Behaviour::Silent);
    qputenv(kBaseVariable, server.baseAddress().toUtf8());
    // Events keep flowing during the wait.
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, [&ticks] { ++ticks; });
    ticker.start(100);
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(!login(QStringLiteral("Get_UserData"), {}));
    QVERIFY(elapsed.elapsed() >= 14000 && elapsed.elapsed() < 20000);
    QVERIFY(ticks > 100);
    QCOMPARE(m_network->lastError(), QStringLiteral("Сервер не ответил за 15 с."));
}

void TestCoreNetwork::unsupportedMode()
{
    m_network->beginRequest(QStringLiteral("Get_UserData"));
    QVERIFY(!m_network->send(1, 0, QStringLiteral("client.cgi")));
    QVERIFY(!m_network->lastError().isEmpty());
    QVERIFY(m_emulator->exchanges().isEmpty());
}

QTEST_MAIN(TestCoreNetwork)
#include "tst_core_network.moc"
