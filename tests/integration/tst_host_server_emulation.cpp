#include "form/form.h"
#include "host/server_emulation.h"
#include "server/dialog_authorization.h"
#include "server/upload_request.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

// The host run with --simulate: an engineer logs in with the emulated account and uploads.
class TestHostServerEmulation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void engineerLogsInAndUploads();
    void uploadWithDataIsStored();
    void hostWithoutPagesExitsAtOnce();

private:
    ServerEmulation m_emulation;
};

void TestHostServerEmulation::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)).removeRecursively();
    qunsetenv("VELMORA_SERVER_URL");
    QString error;
    QVERIFY2(m_emulation.start(&error), qPrintable(error));
    QCOMPARE(qEnvironmentVariable("VELMORA_SERVER_URL"), m_emulation.baseAddress());
}

void TestHostServerEmulation::cleanupTestCase()
{
    QDir(m_emulation.storageDir()).removeRecursively();
}

void TestHostServerEmulation::engineerLogsInAndUploads()
{
    BoxRecorder boxes;
    CoreServices services;
    Form form;
    QVERIFY2(form.initialize(services.modules()), qPrintable(form.errorString()));

    QTimer::singleShot(0, this, [] {
        auto *dialog = qobject_cast<DialogAuthorization *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        dialog->findChild<QLineEdit *>("lineEdit_EnterLogin")
            ->setText(QLatin1String(ServerEmulation::kLogin));
        dialog->findChild<QLineEdit *>("lineEdit_EnterPassword")
            ->setText(QLatin1String(ServerEmulation::kPassword));
        dialog->findChild<QPushButton *>("pushButton_EnterOK")->click();
        if (dialog->isVisible())
            dialog->reject();
    });
    form.findChild<QPushButton *>("pushButton_authorization")->click();
    auto *upload = form.findChild<QPushButton *>("pushButton_connectToServer");
    QVERIFY(upload->isEnabled());

    // Nothing has been read from a device yet: the server says there is nothing to store.
    upload->click();
    QTRY_COMPARE_WITH_TIMEOUT(boxes.boxes.size(), 1, 5000);
    QCOMPARE(boxes.boxes.first().title, QStringLiteral("Ответ сервера"));
    QCOMPARE(boxes.boxes.first().text, QStringLiteral("Нет данных для сохранения."));
}

void TestHostServerEmulation::uploadWithDataIsStored()
{
    const QByteArray data =
        QByteArray::fromHex("681B1B6808017207201800E61E35074C0000000C78072018000C16690200009616");
    const QByteArray body = upload::body(data);
    QNetworkAccessManager manager;
    std::unique_ptr<QNetworkReply> reply(
        manager.post(upload::request(m_emulation.baseAddress(), body), body));
    QTRY_VERIFY_WITH_TIMEOUT(reply->isFinished(), 5000);
    QCOMPARE(reply->readAll().mid(21, 3), QByteArray("000"));
    const QFileInfoList stored =
        QDir(m_emulation.storageDir()).entryInfoList({QStringLiteral("*.bin")}, QDir::Files);
    QCOMPARE(stored.size(), 1);
    QFile file(stored.first().filePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), data);
}

// The emulator is started before the host finds it has no page to show; the process still ends.
void TestHostServerEmulation::hostWithoutPagesExitsAtOnce()
{
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("VELMORA_SERVER_URL"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess host;
    host.setProcessEnvironment(environment);
    host.start(CoreServices::stageDir() + QStringLiteral("/bin/zorva-host"),
               {QStringLiteral("--simulate"), QStringLiteral("--modules"), home.path()});
    QVERIFY(host.waitForFinished(10000));
    const QByteArray log = host.readAllStandardError();
    QVERIFY2(log.contains("Metering server emulated at"), log.constData());
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(host.exitCode(), 1);
}

QTEST_MAIN(TestHostServerEmulation)
#include "tst_host_server_emulation.moc"
