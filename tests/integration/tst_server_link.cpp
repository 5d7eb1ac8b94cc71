#include "form/form.h"
#include "server/upload_request.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"
#include "tests/support/raw_http_server.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QtTest>

namespace {

constexpr int kBoxWaitMs = 5000;

const QByteArray kEmptyDataBody = QByteArrayLiteral("--Config999\r\n"
                                                    "Content-Disposition: form-data; name=\"CMD\"\r\n"
                                                    "Content-Type: text/plain\r\n"
                                                    "\r\n"
                                                    "DevVal\r\n"
                                                    "--Config999\r\n"
                                                    "Content-Disposition: form-data; name=\"DATA\"\r\n"
                                                    "Content-Type: application/octet-stream\r\n"
                                                    "\r\n"
                                                    "\r\n"
                                                    "--Config999--");

QByteArray withCode(const QByteArray &code)
{
    return QByteArrayLiteral("<velmoraData><Result>") + code + "</Result></velmoraData>";
}

// A port nothing listens on.
quint16 closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

} // namespace

// The upload from the form: the request on the wire and the box each reply ends in.
class TestServerLink : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void emptyBufferOnTheWire();
    void filledBufferOnTheWire();
    void baseWithoutTrailingSlash();
    void replyBoxes_data();
    void replyBoxes();
    void transportErrorBoxes_data();
    void transportErrorBoxes();
    void silentServerEndsInErrorBox();
    void everyClickGetsItsOwnReply();
    void noNetworkServiceEndsInErrorBox();

private:
    void makeForm(const QStringList &withoutServices = {});
    void clickUpload() { m_form->findChild<QPushButton *>("pushButton_connectToServer")->click(); }

    std::unique_ptr<CoreServices> m_services;
    std::unique_ptr<Form> m_form;
    std::unique_ptr<BoxRecorder> m_boxes;
    std::unique_ptr<RawHttpServer> m_server;
};

void TestServerLink::init()
{
    m_server = std::make_unique<RawHttpServer>();
    QVERIFY(m_server->listen());
    qputenv("VELMORA_SERVER_URL", m_server->baseAddress().toUtf8());
    m_boxes = std::make_unique<BoxRecorder>();
    makeForm();
}

void TestServerLink::cleanup()
{
    m_form.reset();
    m_services.reset();
    m_boxes.reset();
    m_server.reset();
    qunsetenv("VELMORA_SERVER_URL");
}

void TestServerLink::makeForm(const QStringList &withoutServices)
{
    m_form.reset();
    m_services = std::make_unique<CoreServices>(withoutServices);
    m_form = std::make_unique<Form>();
    QVERIFY2(m_form->initialize(m_services->modules()), qPrintable(m_form->errorString()));
    // As after a successful login.
    m_form->findChild<QPushButton *>("pushButton_connectToServer")->setEnabled(true);
}

void TestServerLink::emptyBufferOnTheWire()
{
    m_server->setResponse(RawHttpServer::okResponse(withCode("018")));
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, kBoxWaitMs);

    const RawRequest request = RawRequest::parse(m_server->requests().first());
    QCOMPARE(request.requestLine, QByteArray("POST /bin/velmora.cgi HTTP/1.1"));
    QVERIFY2(request.headerLines.contains("Content-type: multipart/form-data; boundary=Config999"),
             request.headerLines.join(" | ").constData());
    // The header's own CR LF CR LF does not reach the wire: the length stands on its own line and the
    // headers go on after it.
    QVERIFY2(request.headerLines.contains("Content-Length: " + QByteArray::number(kEmptyDataBody.size())),
             request.headerLines.join(" | ").constData());
    QCOMPARE(request.body, kEmptyDataBody);
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, kBoxWaitMs);
}

// The same builders the form uses, posted with a buffer the journal reading would have filled.
void TestServerLink::filledBufferOnTheWire()
{
    const QByteArray buffer =
        QByteArray::fromHex("681B1B6808017207201800E61E35074C0000000C78072018000C16690200009616") + '\0';
    const QByteArray body = upload::body(buffer);
    const QNetworkRequest built = upload::request(m_server->baseAddress(), body);
    // As built, the length carries its CR LF CR LF; Qt writes its own Content-Length line instead.
    QCOMPARE(built.rawHeader("Content-Length"), QByteArray::number(body.size()) + "\r\n\r\n");
    m_server->setResponse(RawHttpServer::okResponse(withCode("000")));
    QNetworkAccessManager manager;
    std::unique_ptr<QNetworkReply> reply(manager.post(built, body));
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, kBoxWaitMs);

    const RawRequest request = RawRequest::parse(m_server->requests().first());
    QCOMPARE(request.requestLine, QByteArray("POST /bin/velmora.cgi HTTP/1.1"));
    QCOMPARE(request.header("Content-type"), QByteArray("multipart/form-data; boundary=Config999"));
    QCOMPARE(request.header("Content-Length"), QByteArray::number(body.size()));
    const int closing = int(qstrlen("\r\n--Config999--"));
    QCOMPARE(request.body, kEmptyDataBody.chopped(closing) + buffer + kEmptyDataBody.right(closing));
}

void TestServerLink::baseWithoutTrailingSlash()
{
    qputenv("VELMORA_SERVER_URL", (m_server->baseAddress() + QStringLiteral("api")).toUtf8());
    m_server->setResponse(RawHttpServer::okResponse(withCode("000")));
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, kBoxWaitMs);
    QCOMPARE(RawRequest::parse(m_server->requests().first()).requestLine,
             QByteArray("POST /apibin/velmora.cgi HTTP/1.1"));
}

void TestServerLink::replyBoxes_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    QTest::newRow("\"139\"") << withCode("139") << QStringLiteral("Неверное имя пользователя или пароль.");
    QTest::newRow("\"000\"") << withCode("000") << QStringLiteral("OK.");
    QTest::newRow("\"0\" and two non-digits") << withCode("0xy") << QStringLiteral("OK.");
    QTest::newRow("22-byte body") << QByteArray(21, '<') + "1"
                                  << QStringLiteral("Неизвестная команда (параметр CMD).");
    QTest::newRow("code 40") << withCode("040") << QString("");
    QTest::newRow("code 316") << withCode("316")
                              << QStringLiteral("Не указаны приборы, подключенные к каналам.");
    QTest::newRow("empty body") << QByteArray() << QStringLiteral("OK.");
    QTest::newRow("20-byte body") << QByteArray(20, '9') << QStringLiteral("OK.");
    QTest::newRow("6 MiB body") << withCode("018") + QByteArray(6 * 1024 * 1024, ' ')
                                << QStringLiteral("Нет данных для сохранения.");
}

void TestServerLink::replyBoxes()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, text);
    m_server->setResponse(RawHttpServer::okResponse(body));
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, kBoxWaitMs);
    const BoxRequest box = m_boxes->boxes.first();
    QCOMPARE(box.kind, BoxKind::Information);
    QCOMPARE(box.title, QStringLiteral("Ответ сервера"));
    QCOMPARE(box.text, text);
}

void TestServerLink::transportErrorBoxes_data()
{
    QTest::addColumn<QString>("base"); // empty: the test server
    QTest::addColumn<int>("behaviour");
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QString>("errorPart");
    QTest::newRow("refused connection")
        << QStringLiteral("http://127.0.0.1:%1/").arg(closedPort()) << int(RawHttpServer::Behaviour::Answer)
        << QByteArray() << QStringLiteral("refused");
    QTest::newRow("cut off mid-transfer")
        << QString() << int(RawHttpServer::Behaviour::CutOff) << QByteArray() << QStringLiteral("closed");
    QTest::newRow("HTTP 500") << QString() << int(RawHttpServer::Behaviour::Answer)
                              << QByteArray("HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n")
                              << QStringLiteral("Internal Server Error");
    QTest::newRow("not HTTP at all") << QString() << int(RawHttpServer::Behaviour::Answer)
                                     << QByteArray("\x01\x02garbage\r\n\r\n") << QString();
}

void TestServerLink::transportErrorBoxes()
{
    QFETCH(QString, base);
    QFETCH(int, behaviour);
    QFETCH(QByteArray, response);
    QFETCH(QString, errorPart);
    if (!base.isEmpty())
        qputenv("VELMORA_SERVER_URL", base.toUtf8());
    m_server->setBehaviour(RawHttpServer::Behaviour(behaviour));
    m_server->setResponse(response);
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, kBoxWaitMs);
    const BoxRequest box = m_boxes->boxes.first();
    QCOMPARE(box.kind, BoxKind::Information);
    QCOMPARE(box.title, QStringLiteral("Error"));
    QVERIFY(!box.text.isEmpty());
    QVERIFY2(box.text.contains(errorPart, Qt::CaseInsensitive), qPrintable(box.text));
}

void TestServerLink::silentServerEndsInErrorBox()
{
    m_server->setBehaviour(RawHttpServer::Behaviour::Silent);
    QElapsedTimer elapsed;
    elapsed.start();
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, upload::kTransferTimeoutMs + kBoxWaitMs);
    QVERIFY(elapsed.elapsed() >= upload::kTransferTimeoutMs - 1000);
    QCOMPARE(m_boxes->boxes.first().title, QStringLiteral("Error"));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestServerLink::everyClickGetsItsOwnReply()
{
    m_server->setResponse(RawHttpServer::okResponse(withCode("139")));
    clickUpload();
    clickUpload();
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 3, kBoxWaitMs);
    QCOMPARE(m_server->requests().size(), 3);
    QTest::qWait(200);
    QCOMPARE(m_boxes->boxes.size(), 3);
}

void TestServerLink::noNetworkServiceEndsInErrorBox()
{
    makeForm({QStringLiteral("core_network")});
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, kBoxWaitMs);
    QCOMPARE(m_boxes->boxes.first().title, QStringLiteral("Error"));
    QVERIFY(m_server->requests().isEmpty());
}

QTEST_MAIN(TestServerLink)
#include "tst_server_link.moc"
