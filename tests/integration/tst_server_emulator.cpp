#include "server/upload_request.h"
#include "sim/server_emulator.h"
#include "tests/support/emulator_reply.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace
{

constexpr int kWaitMs = 10000;
const QByteArray kMultipart = QByteArrayLiteral("multipart/form-data; boundary=Config999");
const QByteArray kForm = QByteArrayLiteral("application/x-www-form-urlencoded");

QByteArray fixtureFrame(const char *name)
{
    QFile file(QStringLiteral(ZORVA_SHARED_DIR "/mbus-frames/test-frames/") + QLatin1String(name) + ".hex");
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", qPrintable(file.fileName()));
    return QByteArray::fromHex(file.readAll().simplified().replace(' ', ""));
}

// A request with Connection: close: a GET when body is null, else a POST; a null contentLength
// leaves its header out.
QByteArray http(const char *script, const QByteArray &body = {}, const QByteArray &contentType = kMultipart,
                QByteArray contentLength = "auto")
{
    QByteArray request = (body.isNull() ? QByteArray("GET ") : QByteArray("POST ")) + script +
                         " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n";
    if (body.isNull())
        return request + "\r\n";
    if (contentLength == "auto")
        contentLength = QByteArray::number(body.size());
    if (!contentType.isNull())
        request += "Content-Type: " + contentType + "\r\n";
    if (!contentLength.isNull())
        request += "Content-Length: " + contentLength + "\r\n";
    return request + "\r\n" + body;
}

} // namespace

// The emulator's own checks, each over real HTTP on loopback.
class TestServerEmulator : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void answers_data();
    void answers();
    void storage();
    void startAndStopAtOnce();
    void commandLine();

private:
    QString storageDir() const { return m_storage->filePath(QStringLiteral("uploads")); }

    std::unique_ptr<QTemporaryDir> m_storage;
    std::unique_ptr<ServerEmulator> m_emulator;
};

void TestServerEmulator::init()
{
    m_storage = std::make_unique<QTemporaryDir>();
    QVERIFY(m_storage->isValid());
    m_emulator = std::make_unique<ServerEmulator>(
        ServerEmulator::Settings{{{QStringLiteral("engineer"), QStringLiteral("zorva")}}, storageDir()});
    QString error;
    QVERIFY2(m_emulator->start(0, &error), qPrintable(error));
}

void TestServerEmulator::cleanup()
{
    m_emulator.reset();
    m_storage.reset();
}

void TestServerEmulator::answers_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("stored"); // null: nothing stored

    const char *upload = "/bin/velmora.cgi";
    const QByteArray frame = fixtureFrame("GWF-MTKcoder");
    const QByteArray two = frame + fixtureFrame("kamstrup_multical_601");
    QByteArray badSum = frame;
    badSum[badSum.size() - 2] = char(badSum.at(badSum.size() - 2) ^ 0x5A);
    QByteArray badLength = frame;
    badLength[2] = char(badLength.at(2) + 1);
    const QByteArray body = upload::body(frame);
    const auto edited = [&body](const char *from, const char *to) {
        return QByteArray(body).replace(from, to);
    };
    const QByteArray none;

    QTest::newRow("configurator's body, two frames") << http(upload, upload::body(two)) << 0 << two;
    QTest::newRow("configurator's body, CRLF and epilogue after it")
        << http(upload, body + "\r\nx") << 0 << frame;
    QTest::newRow("configurator's body, empty DATA") << http(upload, upload::body("")) << 18 << none;
    QTest::newRow("no CMD part") << http(upload, edited("name=\"CMD\"", "name=\"CM\"")) << 2 << none;
    QTest::newRow("CMD not DevVal") << http(upload, edited("DevVal", "DevVals")) << 1 << none;
    QTest::newRow("no DATA part") << http(upload, edited("name=\"DATA\"", "name=\"DAT\"")) << 156 << none;
    QTest::newRow("frame with a wrong checksum") << http(upload, upload::body(frame + badSum)) << 162 << none;
    QTest::newRow("length bytes disagree") << http(upload, upload::body(badLength)) << 167 << none;
    QTest::newRow("frame cut short") << http(upload, upload::body(frame.chopped(3))) << 165 << none;
    QTest::newRow("not M-Bus") << http(upload, upload::body("zorva: not a frame")) << 157 << none;
    QTest::newRow("no closing delimiter") << http(upload, body.chopped(2)) << 176 << none;
    QTest::newRow("part without Content-Disposition")
        << http(upload, edited("Content-Disposition: form-data; name=\"DATA\"\r\n", "")) << 176 << none;
    QTest::newRow("boundary missing from the body")
        << http(upload, body, "multipart/form-data; boundary=Other") << 174 << none;
    QTest::newRow("not multipart") << http(upload, frame, "application/octet-stream") << 173 << none;
    QTest::newRow("Content-Length not a number") << http(upload, body, kMultipart, "12abc") << 171 << none;
    QTest::newRow("no Content-Length") << http(upload, body, kMultipart, QByteArray()) << 171 << none;
    QTest::newRow("body shorter than announced")
        << http(upload, body, kMultipart, QByteArray::number(body.size() + 10)) << 172 << none;
    QTest::newRow("upload by GET") << http(upload) << 170 << none;

    const char *login = "/client.cgi";
    QTest::newRow("login without CMD") << http(login, "Login=engineer&Password=zorva", kForm) << 2 << none;
    QTest::newRow("no Login") << http(login, "CMD=Get_UserData&Password=zorva", kForm) << 284 << none;
    QTest::newRow("login by GET") << http(login) << 25 << none;
}

void TestServerEmulator::answers()
{
    QFETCH(QByteArray, request);
    QFETCH(int, code);
    QFETCH(QByteArray, stored);
    QCOMPARE(replyCodeFor(m_emulator->port(), request), code);
    QCOMPARE(m_emulator->exchanges().size(), 1);
    QCOMPARE(m_emulator->exchanges().first().resultCode, code);
    // The upload as it came; its decoded copy beside it is the commissioning session's to check.
    const QFileInfoList files = QDir(storageDir()).entryInfoList({QStringLiteral("*.bin")}, QDir::Files);
    QCOMPARE(files.size(), stored.isNull() ? 0 : 1);
    QFile file(files.value(0).filePath());
    QCOMPARE(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), stored);
}

// Every accepted upload gets a file of its own; a storage folder that cannot be made is reported.
void TestServerEmulator::storage()
{
    const QByteArray request = http("/bin/velmora.cgi", upload::body(fixtureFrame("GWF-MTKcoder")));
    QCOMPARE(replyCodeFor(m_emulator->port(), request), 0);
    QCOMPARE(replyCodeFor(m_emulator->port(), request), 0);
    QCOMPARE(QDir(storageDir()).entryList({QStringLiteral("*.bin")}, QDir::Files).size(), 2);
    // The folder's path taken by a plain file.
    QVERIFY(QDir(storageDir()).removeRecursively());
    QFile blocker(storageDir());
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    QCOMPARE(replyCodeFor(m_emulator->port(), request), 61);
    QVERIFY(QFileInfo(storageDir()).isFile());
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
    QCOMPARE(replyCodeFor(m_emulator->port(), http("/client.cgi")), 25);
    const quint16 port = m_emulator->port();
    m_emulator->stop();
    QCOMPARE(replyCodeFor(port, http("/client.cgi")), -1);
}

void TestServerEmulator::commandLine()
{
    QProcess process;
    process.start(QStringLiteral(ZORVA_STAGE_DIR "/bin/zorva-server-sim"),
                  {QStringLiteral("--port"), QStringLiteral("0"), QStringLiteral("--users"),
                   QStringLiteral("tech:s3cret-pw,other:x:y"), QStringLiteral("--storage"), storageDir()});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine(), kWaitMs);
    const QUrl base(QString::fromUtf8(process.readLine().trimmed()));
    QCOMPARE(base.host(), QStringLiteral("127.0.0.1"));
    for (const char *form :
         {"CMD=Get_UserData&Login=tech&Password=s3cret-pw", "CMD=Get_UserData&Login=other&Password=x%3Ay"})
        QCOMPARE(replyCodeFor(quint16(base.port()), http("/client.cgi", form, kForm)), 0);
    process.terminate();
    QVERIFY(process.waitForFinished(kWaitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    const QByteArray log = process.readAllStandardError();
    QVERIFY2(log.contains("/client.cgi Login=tech -> 000") && !log.contains("s3cret"), log.constData());
}

QTEST_GUILESS_MAIN(TestServerEmulator)
#include "tst_server_emulator.moc"
