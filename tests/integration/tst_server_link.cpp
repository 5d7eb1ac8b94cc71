#include "form/form.h"
#include "server/upload_request.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"
#include "tests/support/raw_http_server.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QtTest>

namespace
{

constexpr int kBoxWaitMs = 5000;

// The configurator's body for an empty buffer, byte for byte.
const QByteArray kEmptyDataBody = QByteArrayLiteral(
    "--Config999\r\nContent-Disposition: form-data; name=\"CMD\"\r\nContent-Type: text/plain\r\n\r\n"
    "DevVal\r\n--Config999\r\nContent-Disposition: form-data; name=\"DATA\"\r\n"
    "Content-Type: application/octet-stream\r\n\r\n\r\n--Config999--");

} // namespace

Q_DECLARE_METATYPE(RawHttpServer::Behaviour)

// The upload from the form: the request on the wire and the box each reply ends in.
class TestServerLink : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void emptyBufferOnTheWire_data();
    void emptyBufferOnTheWire();
    void filledBufferOnTheWire();
    void replyBoxes_data();
    void replyBoxes();
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

void TestServerLink::emptyBufferOnTheWire_data()
{
    QTest::addColumn<QString>("baseSuffix");
    QTest::addColumn<QByteArray>("requestLine");
    QTest::newRow("base ending in /") << QString() << QByteArray("POST /bin/velmora.cgi HTTP/1.1");
    QTest::newRow("base without trailing /")
        << QStringLiteral("api") << QByteArray("POST /apibin/velmora.cgi HTTP/1.1");
}

void TestServerLink::emptyBufferOnTheWire()
{
    QFETCH(QString, baseSuffix);
    QFETCH(QByteArray, requestLine);
    qputenv("VELMORA_SERVER_URL", (m_server->baseAddress() + baseSuffix).toUtf8());
    m_server->setResponse(RawHttpServer::okResponse(RawHttpServer::resultBody("018")));
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, kBoxWaitMs);
    const RawRequest request = RawRequest::parse(m_server->requests().first());
    QCOMPARE(request.requestLine, requestLine);
    // The length's own CR LF CR LF does not reach the wire: it stands on its own line.
    for (const QByteArray &line : {QByteArray("Content-type: multipart/form-data; boundary=Config999"),
                                   "Content-Length: " + QByteArray::number(kEmptyDataBody.size())})
        QVERIFY2(request.headerLines.contains(line), request.headerLines.join(" | ").constData());
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
    m_server->setResponse(RawHttpServer::okResponse(RawHttpServer::resultBody("000")));
    QNetworkAccessManager manager;
    std::unique_ptr<QNetworkReply> reply(manager.post(built, body));
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, kBoxWaitMs);
    const RawRequest request = RawRequest::parse(m_server->requests().first());
    QCOMPARE(request.header("Content-Length"), QByteArray::number(body.size()));
    const int closing = int(qstrlen("\r\n--Config999--"));
    QCOMPARE(request.body, kEmptyDataBody.chopped(closing) + buffer + kEmptyDataBody.right(closing));
}

void TestServerLink::replyBoxes_data()
{
    QTest::addColumn<RawHttpServer::Behaviour>("behaviour");
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QString>("text"); // an "Error" box: a part of its text
    const auto answer = RawHttpServer::Behaviour::Answer;
    const auto ok = &RawHttpServer::okResponse;
    QTest::newRow("\"139\"") << answer << ok(RawHttpServer::resultBody("139"))
                             << "Неверное имя пользователя или пароль.";
    QTest::newRow("code 40, no row") << answer << ok(RawHttpServer::resultBody("040")) << "";
    QTest::newRow("empty body") << answer << ok({}) << "OK.";
    QTest::newRow("6 MiB body") << answer
                                << ok(RawHttpServer::resultBody("018") + QByteArray(6 * 1024 * 1024, ' '))
                                << "Нет данных для сохранения.";
    QTest::newRow("refused connection") << RawHttpServer::Behaviour::Refuse << QByteArray() << "refused";
    QTest::newRow("cut off mid-transfer") << RawHttpServer::Behaviour::CutOff << QByteArray() << "closed";
    QTest::newRow("HTTP 500") << answer
                              << QByteArray("HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n")
                              << "Internal Server Error";
    QTest::newRow("not HTTP at all") << answer << QByteArray("\x01\x02garbage\r\n\r\n") << "";
    QTest::newRow("never answers") << RawHttpServer::Behaviour::Silent << QByteArray() << "canceled";
}

void TestServerLink::replyBoxes()
{
    QFETCH(RawHttpServer::Behaviour, behaviour);
    QFETCH(QByteArray, response);
    QFETCH(QString, text);
    m_server->setBehaviour(behaviour);
    m_server->setResponse(response);
    clickUpload();
    QTRY_COMPARE_WITH_TIMEOUT(m_boxes->boxes.size(), 1, upload::kTransferTimeoutMs + kBoxWaitMs);
    const BoxRequest box = m_boxes->boxes.first();
    QCOMPARE(box.kind, BoxKind::Information);
    const bool replied = response.startsWith("HTTP/1.1 200");
    QCOMPARE(box.title, replied ? QStringLiteral("Ответ сервера") : QStringLiteral("Error"));
    if (replied)
        QCOMPARE(box.text, text);
    else
        QVERIFY2(!box.text.isEmpty() && box.text.contains(text, Qt::CaseInsensitive), qPrintable(box.text));
}

void TestServerLink::everyClickGetsItsOwnReply()
{
    m_server->setResponse(RawHttpServer::okResponse(RawHttpServer::resultBody("139")));
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
