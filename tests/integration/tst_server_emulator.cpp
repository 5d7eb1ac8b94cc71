#include "server/upload_request.h"
#include "sim/server_emulator.h"

#include <QDir>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kWaitMs = 10000;
const QByteArray kMultipart = QByteArrayLiteral("multipart/form-data; boundary=Config999");

QByteArray fixtureFrame(const char *name)
{
    QFile file(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames/") + QLatin1String(name) + ".hex");
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", qPrintable(file.fileName()));
    return QByteArray::fromHex(file.readAll().simplified().replace(' ', ""));
}

QByteArray part(const QByteArray &headers, const QByteArray &content)
{
    return QByteArrayLiteral("--Config999\r\n") + headers + "\r\n\r\n" + content + "\r\n";
}

QByteArray commandPart(const QByteArray &command)
{
    return part("Content-Disposition: form-data; name=\"CMD\"\r\nContent-Type: text/plain", command);
}

QByteArray dataPart(const QByteArray &data)
{
    return part("Content-Disposition: form-data; name=\"DATA\"\r\nContent-Type: application/octet-stream",
                data);
}

// A whole request; contentLength "auto" is the body's length, a null one leaves the header out.
QByteArray rawRequest(const QByteArray &method, const QByteArray &path, const QByteArray &contentType,
                      const QByteArray &contentLength, const QByteArray &body)
{
    QByteArray request = method + ' ' + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n";
    if (!contentType.isNull())
        request += "Content-Type: " + contentType + "\r\n";
    if (contentLength == "auto")
        request += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    else if (!contentLength.isNull())
        request += "Content-Length: " + contentLength + "\r\n";
    return request + "\r\n" + body;
}

// Sends the request and returns the body of the answer (empty when the server sent none).
QByteArray exchange(quint16 port, const QByteArray &request, bool keepOpen = false)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(kWaitMs))
        return {};
    socket.write(request);
    QByteArray answer;
    QElapsedTimer elapsed;
    elapsed.start();
    while (elapsed.elapsed() < kWaitMs) {
        if (socket.waitForReadyRead(100))
            answer += socket.readAll();
        const int headerEnd = answer.indexOf("\r\n\r\n");
        if (headerEnd >= 0) {
            const int length = answer.mid(answer.toLower().indexOf("content-length:") + 15)
                                   .split('\r')
                                   .first()
                                   .trimmed()
                                   .toInt();
            if (answer.size() >= headerEnd + 4 + length)
                return answer.mid(headerEnd + 4, length);
        }
        if (!keepOpen && socket.state() != QAbstractSocket::ConnectedState && !socket.bytesAvailable())
            break;
    }
    return {};
}

int codeOf(const QByteArray &answerBody)
{
    return answerBody.size() >= 24 ? answerBody.mid(21, 3).toInt() : -1;
}

} // namespace

// The emulator's own checks, each over real HTTP on loopback.
class TestServerEmulator : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void upload_data();
    void upload();
    void login_data();
    void login();
    void bodyShorterThanAnnounced();
    void everyUploadKeptInItsOwnFile();
    void unwritableStorage();
    void startAndStopAtOnce();
    void commandLine();

private:
    std::unique_ptr<QTemporaryDir> m_storage;
    std::unique_ptr<ServerEmulator> m_emulator;
};

void TestServerEmulator::init()
{
    m_storage = std::make_unique<QTemporaryDir>();
    QVERIFY(m_storage->isValid());
    ServerEmulator::Settings settings;
    settings.users.insert(QStringLiteral("engineer"), QStringLiteral("zorva"));
    settings.storageDir = m_storage->filePath(QStringLiteral("uploads"));
    m_emulator = std::make_unique<ServerEmulator>(settings);
    QString error;
    QVERIFY2(m_emulator->start(0, &error), qPrintable(error));
}

void TestServerEmulator::cleanup()
{
    m_emulator.reset();
    m_storage.reset();
}

void TestServerEmulator::upload_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("contentLength");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("code");

    const QByteArray frame = fixtureFrame("GWF-MTKcoder");
    const QByteArray second = fixtureFrame("kamstrup_multical_601");
    QByteArray badSum = frame;
    badSum[badSum.size() - 2] = char(badSum.at(badSum.size() - 2) ^ 0x5A);
    QByteArray badLength = frame;
    badLength[2] = char(badLength.at(2) + 1);
    const QByteArray close = QByteArrayLiteral("--Config999--");

    QTest::newRow("configurator's body, one frame")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(frame) << 0;
    QTest::newRow("configurator's body, two frames")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(frame + second) << 0;
    QTest::newRow("configurator's body, empty DATA")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body({}) << 18;
    QTest::newRow("CRLF and epilogue after the closing delimiter")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(frame) + "\r\nepilogue"
        << 0;
    QTest::newRow("no CMD part") << QByteArray("POST") << kMultipart << QByteArray("auto")
                                 << dataPart(frame) + close << 2;
    QTest::newRow("CMD not DevVal") << QByteArray("POST") << kMultipart << QByteArray("auto")
                                    << commandPart("DevVals") + dataPart(frame) + close << 1;
    QTest::newRow("no DATA part") << QByteArray("POST") << kMultipart << QByteArray("auto")
                                  << commandPart("DevVal") + close << 156;
    QTest::newRow("frame with a wrong checksum")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(frame + badSum) << 162;
    QTest::newRow("length bytes disagree")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(badLength) << 167;
    QTest::newRow("frame cut short") << QByteArray("POST") << kMultipart << QByteArray("auto")
                                     << upload::body(frame.left(frame.size() - 3)) << 165;
    QTest::newRow("not M-Bus") << QByteArray("POST") << kMultipart << QByteArray("auto")
                               << upload::body("zorva: not a frame") << 157;
    QTest::newRow("no closing delimiter")
        << QByteArray("POST") << kMultipart << QByteArray("auto") << upload::body(frame).chopped(2) << 176;
    QTest::newRow("part without Content-Disposition")
        << QByteArray("POST") << kMultipart << QByteArray("auto")
        << commandPart("DevVal") + part("Content-Type: application/octet-stream", frame) + close << 176;
    QTest::newRow("boundary missing from the body")
        << QByteArray("POST") << QByteArray("multipart/form-data; boundary=Other") << QByteArray("auto")
        << upload::body(frame) << 174;
    QTest::newRow("no boundary parameter") << QByteArray("POST") << QByteArray("multipart/form-data")
                                           << QByteArray("auto") << upload::body(frame) << 174;
    QTest::newRow("not multipart") << QByteArray("POST") << QByteArray("application/octet-stream")
                                   << QByteArray("auto") << frame << 173;
    QTest::newRow("Content-Length not a number")
        << QByteArray("POST") << kMultipart << QByteArray("12abc") << upload::body(frame) << 171;
    QTest::newRow("no Content-Length")
        << QByteArray("POST") << kMultipart << QByteArray() << upload::body(frame) << 171;
    QTest::newRow("GET") << QByteArray("GET") << QByteArray() << QByteArray() << QByteArray() << 170;
}

void TestServerEmulator::upload()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, contentLength);
    QFETCH(QByteArray, body);
    QFETCH(int, code);
    const QByteArray answer = exchange(
        m_emulator->port(), rawRequest(method, "/bin/velmora.cgi", contentType, contentLength, body));
    QVERIFY2(answer.startsWith("<velmoraData><Result>"), answer.constData());
    QCOMPARE(codeOf(answer), code);
    const QVector<ServerEmulator::Exchange> exchanges = m_emulator->exchanges();
    QCOMPARE(exchanges.size(), 1);
    QCOMPARE(exchanges.first().resultCode, code);
    const QStringList stored = QDir(m_storage->filePath(QStringLiteral("uploads"))).entryList(QDir::Files);
    QCOMPARE(stored.size(), code == 0 ? 1 : 0);
}

void TestServerEmulator::login_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("form");
    QTest::addColumn<int>("code");
    QTest::newRow("accepted") << QByteArray("POST")
                              << QByteArray("CMD=Get_UserData&Login=engineer&Password=zorva") << 0;
    QTest::newRow("wrong password") << QByteArray("POST")
                                    << QByteArray("CMD=Get_UserData&Login=engineer&Password=zorva1") << 139;
    QTest::newRow("no CMD") << QByteArray("POST") << QByteArray("Login=engineer&Password=zorva") << 2;
    QTest::newRow("no Login") << QByteArray("POST") << QByteArray("CMD=Get_UserData&Password=zorva") << 284;
    QTest::newRow("GET") << QByteArray("GET") << QByteArray() << 25;
}

void TestServerEmulator::login()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, form);
    QFETCH(int, code);
    const QByteArray type = method == "POST" ? QByteArray("application/x-www-form-urlencoded") : QByteArray();
    const QByteArray answer =
        exchange(m_emulator->port(),
                 rawRequest(method, "/client.cgi", type, form.isNull() ? QByteArray() : "auto", form));
    QCOMPARE(codeOf(answer), code);
}

void TestServerEmulator::bodyShorterThanAnnounced()
{
    const QByteArray body = upload::body(fixtureFrame("GWF-MTKcoder"));
    const QByteArray request =
        rawRequest("POST", "/bin/velmora.cgi", kMultipart, QByteArray::number(body.size() + 10), body);
    QCOMPARE(codeOf(exchange(m_emulator->port(), request, true)), 172);
    QVERIFY(QDir(m_storage->filePath(QStringLiteral("uploads"))).entryList(QDir::Files).isEmpty());
}

void TestServerEmulator::everyUploadKeptInItsOwnFile()
{
    const QByteArray first = fixtureFrame("GWF-MTKcoder");
    const QByteArray second = fixtureFrame("kamstrup_multical_601");
    for (const QByteArray &data : {first, second}) {
        const QByteArray body = upload::body(data);
        QCOMPARE(codeOf(exchange(m_emulator->port(),
                                 rawRequest("POST", "/bin/velmora.cgi", kMultipart, "auto", body))),
                 0);
    }
    const QVector<ServerEmulator::Exchange> exchanges = m_emulator->exchanges();
    QCOMPARE(exchanges.size(), 2);
    QVERIFY(exchanges.at(0).storedFile != exchanges.at(1).storedFile);
    const QByteArray expected[] = {first, second};
    for (int i = 0; i < 2; ++i) {
        QFile stored(exchanges.at(i).storedFile);
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), expected[i]);
    }
    QCOMPARE(QDir(m_storage->filePath(QStringLiteral("uploads"))).entryList(QDir::Files).size(), 2);
}

void TestServerEmulator::unwritableStorage()
{
    // The storage folder's path is taken by a plain file.
    QFile blocker(m_storage->filePath(QStringLiteral("blocked")));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    ServerEmulator::Settings settings;
    settings.storageDir = blocker.fileName();
    ServerEmulator emulator(settings);
    QVERIFY(emulator.start());
    const QByteArray body = upload::body(fixtureFrame("GWF-MTKcoder"));
    QCOMPARE(
        codeOf(exchange(emulator.port(), rawRequest("POST", "/bin/velmora.cgi", kMultipart, "auto", body))),
        61);
    QVERIFY(QFileInfo(blocker.fileName()).isFile());
}

// Whatever moment the accept loop has reached, stopping returns and the port is freed.
void TestServerEmulator::startAndStopAtOnce()
{
    QElapsedTimer elapsed;
    elapsed.start();
    ServerEmulator never({});
    never.stop();
    for (int i = 0; i < 50; ++i) {
        ServerEmulator destroyed({});
        QVERIFY(destroyed.start());
        QVERIFY(!m_emulator->start());
        m_emulator->stop();
        m_emulator->stop();
        QVERIFY(m_emulator->start());
    }
    QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
    const QByteArray get = "GET /client.cgi HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
    QCOMPARE(codeOf(exchange(m_emulator->port(), get)), 25);
    const quint16 port = m_emulator->port();
    m_emulator->stop();
    QCOMPARE(exchange(port, get), QByteArray());
}

void TestServerEmulator::commandLine()
{
    QProcess process;
    process.start(QStringLiteral(ZORVA_STAGE_DIR "/bin/zorva-server-sim"),
                  {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--users"),
                   QStringLiteral("tech:s3cret-pw,other:x:y"), QStringLiteral("--storage"),
                   m_storage->filePath(QStringLiteral("cli"))});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine(), kWaitMs);
    const QUrl base(QString::fromUtf8(process.readLine().trimmed()));
    QCOMPARE(base.host(), QStringLiteral("127.0.0.1"));
    QCOMPARE(base.path(), QStringLiteral("/"));
    const auto port = quint16(base.port());

    const QByteArray form = "CMD=Get_UserData&Login=tech&Password=s3cret-pw";
    QCOMPARE(codeOf(exchange(
                 port, rawRequest("POST", "/client.cgi", "application/x-www-form-urlencoded", "auto", form))),
             0);
    const QByteArray colon = "CMD=Get_UserData&Login=other&Password=x%3Ay";
    QCOMPARE(codeOf(exchange(port, rawRequest("POST", "/client.cgi", "application/x-www-form-urlencoded",
                                              "auto", colon))),
             0);
    process.terminate();
    QVERIFY(process.waitForFinished(kWaitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    const QByteArray log = process.readAllStandardError();
    QVERIFY2(log.contains("/client.cgi Login=tech -> 000"), log.constData());
    QVERIFY2(!log.contains("s3cret"), log.constData());
}

QTEST_GUILESS_MAIN(TestServerEmulator)
#include "tst_server_emulator.moc"
