#include "sim/server_emulator.h"
#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

// An engineer's whole session in the host's setting: read the device's data telegram, log in to
// the metering server, send the readings, and find them stored on the server.
class TestCommissioningSession : public QObject
{
    Q_OBJECT

private slots:
    void readLogInAndUpload();
};

void TestCommissioningSession::readLogInAndUpload()
{
    Q_INIT_RESOURCE(icons);
    QTemporaryDir storage;
    ServerEmulator server({{{QStringLiteral("engineer"), QStringLiteral("zorva")}}, storage.path()});
    QString error;
    QVERIFY2(server.start(0, &error), qPrintable(error));
    qputenv("VELMORA_SERVER_URL", server.baseAddress().toUtf8());

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    f.w<QLineEdit>(QStringLiteral("lineEdit_oneAddress"))->setText(QStringLiteral("1"));
    f.sim().model().channels[0].counter = 4711;
    f.w<QAbstractButton>(QStringLiteral("pushButton_REQ_UD2"))->click();
    const QByteArray telegram = f.sim().sent();
    QVERIFY(telegram.startsWith('\x68'));

    auto *send = f.w<QAbstractButton>(QStringLiteral("pushButton_connectToServer"));
    QVERIFY(!send->isEnabled());
    QTimer::singleShot(200, [] {
        QWidget *dialog = QApplication::activeModalWidget();
        QVERIFY(dialog);
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterLogin"))->setText(QStringLiteral("engineer"));
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterPassword"))->setText(QStringLiteral("zorva"));
        dialog->findChild<QAbstractButton *>(QStringLiteral("pushButton_EnterOK"))->click();
    });
    f.w<QAbstractButton>(QStringLiteral("pushButton_authorization"))->click();
    QVERIFY(send->isEnabled());

    send->click();
    QTRY_COMPARE_WITH_TIMEOUT(f.boxes().boxes.size(), 1, 10000);
    QCOMPARE(f.boxes().boxes.first().title, QStringLiteral("Ответ сервера"));
    QCOMPARE(f.boxes().boxes.first().text, QStringLiteral("OK."));
    const ServerEmulator::Exchange upload = server.exchanges().last();
    QCOMPARE(upload.resultCode, 0);
    QFile stored(upload.storedFile);
    QVERIFY(stored.open(QIODevice::ReadOnly));
    QCOMPARE(stored.readAll().toHex(' '), telegram.toHex(' '));
    qunsetenv("VELMORA_SERVER_URL");
}

QTEST_MAIN(TestCommissioningSession)
#include "tst_commissioning_session.moc"
