#include "common/pause.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

class TestPause : public QObject
{
    Q_OBJECT

private slots:
    void zeroReturnsAfterOnePass();
    void waitsAtLeastTheDuration_data();
    void waitsAtLeastTheDuration();
    void timersAndSocketsAreServedDuringAPause();
};

void TestPause::zeroReturnsAfterOnePass()
{
    bool served = false;
    QMetaObject::invokeMethod(
        this, [&served] { served = true; }, Qt::QueuedConnection);
    QElapsedTimer clock;
    clock.start();
    nonBlockingPause(0);
    QVERIFY(served);
    QVERIFY(clock.elapsed() < 100);
}

void TestPause::waitsAtLeastTheDuration_data()
{
    QTest::addColumn<int>("msec");
    QTest::newRow("200 ms") << 200;
    QTest::newRow("400 ms") << 400;
}

void TestPause::waitsAtLeastTheDuration()
{
    QFETCH(int, msec);
    QElapsedTimer clock;
    clock.start();
    nonBlockingPause(msec);
    QVERIFY(clock.elapsed() >= msec);
    QVERIFY(clock.elapsed() < msec + 300);
}

void TestPause::timersAndSocketsAreServedDuringAPause()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QByteArray received;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *peer = server.nextPendingConnection();
        connect(peer, &QTcpSocket::readyRead, this, [&received, peer] { received += peer->readAll(); });
    });
    QTcpSocket client;
    connect(&client, &QTcpSocket::connected, this, [&client] { client.write("E5"); });
    client.connectToHost(QHostAddress::LocalHost, server.serverPort());
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
    ticker.start(20);

    nonBlockingPause(300);

    QCOMPARE(received, QByteArray("E5"));
    QVERIFY(ticks >= 5);
}

QTEST_MAIN(TestPause)
#include "tst_pause.moc"
