#include "server/upload_request.h"

#include <QtTest>

namespace {

// The body written out by hand, byte for byte.
QByteArray expectedBody(const QByteArray &buffer)
{
    return QByteArrayLiteral("--Config999\r\n"
                             "Content-Disposition: form-data; name=\"CMD\"\r\n"
                             "Content-Type: text/plain\r\n"
                             "\r\n"
                             "DevVal\r\n"
                             "--Config999\r\n"
                             "Content-Disposition: form-data; name=\"DATA\"\r\n"
                             "Content-Type: application/octet-stream\r\n"
                             "\r\n") +
           buffer + QByteArrayLiteral("\r\n--Config999--");
}

} // namespace

class TestUploadRequest : public QObject
{
    Q_OBJECT

private slots:
    void body_data();
    void body();
    void url_data();
    void url();
    void rawHeaders();
};

void TestUploadRequest::body_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::newRow("empty buffer") << QByteArray();
    QTest::newRow("one long frame") << QByteArray::fromHex(
        "681B1B6808017207201800E61E35074C0000000C78072018000C16690200009616");
    QTest::newRow("bytes that look like a delimiter") << QByteArray("\r\n--Config999--\r\n\x00\xff", 19);
}

void TestUploadRequest::body()
{
    QFETCH(QByteArray, buffer);
    QCOMPARE(upload::body(buffer), expectedBody(buffer));
}

void TestUploadRequest::url_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("url");
    QTest::newRow("base with trailing /") << "http://127.0.0.1:8080/"
                                          << "http://127.0.0.1:8080/bin/velmora.cgi";
    QTest::newRow("base with a folder") << "https://meter.example/velmora/"
                                        << "https://meter.example/velmora/bin/velmora.cgi";
    QTest::newRow("base without trailing /") << "http://meter.example/api"
                                             << "http://meter.example/apibin/velmora.cgi";
    QTest::newRow("host only, no /") << "http://meter.example"
                                     << "http://meter.examplebin/velmora.cgi";
    QTest::newRow("space, tolerated") << "http://meter.example/my dir/"
                                      << "http://meter.example/my%20dir/bin/velmora.cgi";
}

void TestUploadRequest::url()
{
    QFETCH(QString, base);
    QFETCH(QString, url);
    QCOMPARE(upload::url(base).toString(QUrl::FullyEncoded), url);
}

void TestUploadRequest::rawHeaders()
{
    const QByteArray body = upload::body("abc");
    const QNetworkRequest request = upload::request(QStringLiteral("http://127.0.0.1/"), body);
    QCOMPARE(request.rawHeader("Content-type"), QByteArray("multipart/form-data; boundary=Config999"));
    QCOMPARE(request.rawHeader("Content-Length"), QByteArray::number(body.size()) + "\r\n\r\n");
    QCOMPARE(request.rawHeaderList().first(), QByteArray("Content-type"));
    QCOMPARE(request.url(), QUrl("http://127.0.0.1/bin/velmora.cgi"));
    QVERIFY(request.transferTimeout() > 0);
}

QTEST_GUILESS_MAIN(TestUploadRequest)
#include "tst_upload_request.moc"
