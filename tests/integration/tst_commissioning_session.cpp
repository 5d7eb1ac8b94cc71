#include "sim/server_emulator.h"
#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

// An engineer's whole session in the host's setting: read the device's daily journal, log in to
// the metering server, send it, and find it stored on the server as it came and decoded.
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
    f.sim().model().softwareVersion = 0x0310;
    f.sim().model().channels[0].counter = 4711;
    f.sim().model().channels[1].counter = 900000;
    f.w<QAbstractButton>(QStringLiteral("pushButton_readZorvaConfig"))->click();
    f.w<QAbstractButton>(QStringLiteral("radioButton_days"))->click();
    f.w<QSpinBox>(QStringLiteral("spinBox_startNote"))->setValue(1);
    f.w<QSpinBox>(QStringLiteral("spinBox_notesNumber"))->setValue(12);
    f.sim().clearTraffic();
    f.w<QAbstractButton>(QStringLiteral("pushButton_readJournal"))->click();
    // The reset's and the selection's E5, then the journal telegrams.
    const QByteArray line = f.sim().sent();
    QVERIFY(line.startsWith("\xE5\xE5\x68"));
    const QByteArray telegrams = line.mid(2);

    auto *send = f.w<QAbstractButton>(QStringLiteral("pushButton_connectToServer"));
    QVERIFY(!send->isEnabled());
    QTimer::singleShot(200, [] {
        QWidget *dialog = QApplication::activeModalWidget();
        QVERIFY(dialog);
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterLogin"))
            ->setText(QStringLiteral("engineer"));
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterPassword"))
            ->setText(QStringLiteral("zorva"));
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
    QCOMPARE(stored.readAll().toHex(' '), telegrams.toHex(' '));

    QFile decoded(upload.decodedFile);
    QVERIFY(decoded.open(QIODevice::ReadOnly));
    const QJsonObject json = QJsonDocument::fromJson(decoded.readAll()).object();
    QCOMPARE(json.value(QStringLiteral("kind")).toString(), QStringLiteral("daily"));
    QCOMPARE(
        json.value(QStringLiteral("device")).toObject().value(QStringLiteral("identification")).toString(),
        QStringLiteral("12345678"));
    QStringList records, expected;
    for (const QJsonValue &r : json.value(QStringLiteral("records")).toArray()) {
        const QJsonArray counters = r.toObject().value(QStringLiteral("counters")).toArray();
        records << QStringLiteral("%1 %2 %3 %4")
                       .arg(r.toObject().value(QStringLiteral("number")).toInt())
                       .arg(r.toObject().value(QStringLiteral("time")).toString())
                       .arg(qint64(counters.at(0).toDouble()))
                       .arg(qint64(counters.at(1).toDouble()));
    }
    const auto &daily = f.sim().model().journals[size_t(sim::JournalKind::Daily)];
    for (int n = 1; n <= 12; ++n)
        expected << QStringLiteral("%1 %2 %3 %4")
                        .arg(n)
                        .arg(QDateTime::fromSecsSinceEpoch(daily.at(n - 1).time, Qt::UTC)
                                 .toString(QStringLiteral("yyyy-MM-ddTHH:mm")))
                        .arg(daily.at(n - 1).counters.at(0))
                        .arg(daily.at(n - 1).counters.at(1));
    QCOMPARE(records, expected);
    qunsetenv("VELMORA_SERVER_URL");
}

QTEST_MAIN(TestCommissioningSession)
#include "tst_commissioning_session.moc"
