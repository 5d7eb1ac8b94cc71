#include "sim/server_emulator.h"
#include "tests/support/form_on_simulator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDirIterator>
#include <QLineEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <cstdio>
#include <unistd.h>

// A password typed into the login dialog reaches the server and nothing else: no Qt message, no
// line on the terminal, no log pane of the page, no exchange the emulator keeps, no file it writes,
// no settings file.

namespace
{

QStringList messages;

void recordMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    messages << message;
}

// Everything written to the terminal (standard output and error) while it lives goes to a file.
class TerminalCapture
{
public:
    explicit TerminalCapture(const QString &path)
    {
        std::fflush(stdout);
        std::fflush(stderr);
        m_stdout = dup(STDOUT_FILENO);
        m_stderr = dup(STDERR_FILENO);
        std::FILE *file = std::fopen(qPrintable(path), "w");
        if (file) {
            dup2(fileno(file), STDOUT_FILENO);
            dup2(fileno(file), STDERR_FILENO);
            std::fclose(file);
        }
    }
    ~TerminalCapture()
    {
        std::fflush(stdout);
        std::fflush(stderr);
        dup2(m_stdout, STDOUT_FILENO);
        dup2(m_stderr, STDERR_FILENO);
        close(m_stdout);
        close(m_stderr);
    }

private:
    int m_stdout;
    int m_stderr;
};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestPasswordPrivacy : public QObject
{
    Q_OBJECT

private slots:
    void passwordStaysPrivate_data();
    void passwordStaysPrivate();
};

void TestPasswordPrivacy::passwordStaysPrivate_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("right password") << QStringLiteral("Pr1vate-Pass") << true;
    QTest::newRow("wrong password") << QStringLiteral("Wr0ng-Secret") << false;
}

void TestPasswordPrivacy::passwordStaysPrivate()
{
    QFETCH(QString, password);
    QFETCH(bool, accepted);
    QTemporaryDir storage;
    QVERIFY(storage.isValid());
    ServerEmulator server({{{QStringLiteral("tech"), QStringLiteral("Pr1vate-Pass")}}, storage.path()});
    QString error;
    QVERIFY2(server.start(0, &error), qPrintable(error));
    qputenv("VELMORA_SERVER_URL", server.baseAddress().toUtf8());

    FormOnSimulator f;
    QVERIFY2(f.ready(), qPrintable(f.error()));
    const QString terminal = storage.filePath(QStringLiteral("terminal.txt"));
    messages.clear();
    bool dialogSeen = false;
    QTimer::singleShot(200, [&] {
        QWidget *dialog = QApplication::activeModalWidget();
        if (!dialog)
            return;
        dialogSeen = true;
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterLogin"))
            ->setText(QStringLiteral("tech"));
        dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_EnterPassword"))->setText(password);
        dialog->findChild<QAbstractButton *>(QStringLiteral("pushButton_EnterOK"))->click();
        if (!accepted)
            QTimer::singleShot(500, dialog, &QWidget::close);
    });
    {
        TerminalCapture capture(terminal);
        const QtMessageHandler previous = qInstallMessageHandler(recordMessage);
        f.w<QAbstractButton>(QStringLiteral("pushButton_authorization"))->click();
        qInstallMessageHandler(previous);
    }
    QVERIFY(dialogSeen);
    QCOMPARE(f.w<QAbstractButton>(QStringLiteral("pushButton_connectToServer"))->isEnabled(), accepted);
    QVERIFY(!server.exchanges().isEmpty());
    QCOMPARE(server.exchanges().last().resultCode, accepted ? 0 : 139);

    const QByteArray secret = password.toUtf8();
    for (const QString &message : qAsConst(messages))
        QVERIFY2(!message.contains(password), qPrintable(message));
    QVERIFY2(!readAll(terminal).contains(secret), readAll(terminal).constData());
    QVERIFY(!f.log().contains(password) && !f.log2().contains(password));
    for (const ServerEmulator::Exchange &exchange : server.exchanges())
        QVERIFY(!exchange.login.contains(password) && !exchange.storedFile.contains(password));
    QDirIterator files(storage.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        QVERIFY2(!readAll(file).contains(secret), qPrintable(file));
    }
    QSettings settings;
    settings.sync();
    QVERIFY2(!readAll(settings.fileName()).contains(secret), qPrintable(settings.fileName()));
}

QTEST_MAIN(TestPasswordPrivacy)
#include "tst_password_privacy.moc"
