#include "form/form.h"
#include "server/dialog_authorization.h"
#include "sim/server_emulator.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

enum class Server { Emulator, NoNetworkService, Down };
Q_DECLARE_METATYPE(Server)

namespace
{

template <class T> T *child(QWidget *parent, const char *name)
{
    T *widget = parent->findChild<T *>(QLatin1String(name));
    if (!widget)
        qFatal("no %s", name);
    return widget;
}

void fillAndSubmit(QWidget *dialog, const QString &login, const QString &password)
{
    child<QLineEdit>(dialog, "lineEdit_EnterLogin")->setText(login);
    child<QLineEdit>(dialog, "lineEdit_EnterPassword")->setText(password);
    // The focus starts elsewhere, so a check that moves it is seen.
    child<QLineEdit>(dialog, "lineEdit_EnterPassword")->setFocus();
    QTest::mouseClick(child<QPushButton>(dialog, "pushButton_EnterOK"), Qt::LeftButton);
}

} // namespace

// The login dialog against the host's network service and the metering-server emulator.
class TestAuthorization : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void layout();
    void submit_data();
    void submit();

private:
    std::unique_ptr<ServerEmulator> m_emulator;
};

void TestAuthorization::initTestCase()
{
    // The icons live in the widget library, which reaches this test through a static archive.
    Q_INIT_RESOURCE(icons);
}

void TestAuthorization::init()
{
    m_emulator = std::make_unique<ServerEmulator>(
        ServerEmulator::Settings{{{QStringLiteral("engineer"), QStringLiteral("zorva")}}, {}});
    QString error;
    QVERIFY2(m_emulator->start(0, &error), qPrintable(error));
    qputenv("VELMORA_SERVER_URL", m_emulator->baseAddress().toUtf8());
}

void TestAuthorization::cleanup()
{
    m_emulator.reset();
    qunsetenv("VELMORA_SERVER_URL");
}

void TestAuthorization::layout()
{
    CoreServices services;
    DialogAuthorization dialog(services.modules());
    QCOMPARE(dialog.objectName(), QStringLiteral("DialogAuthorization"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Вход"));
    QCOMPARE(child<QLabel>(&dialog, "label_EnterLoginTitle")->text(),
             QStringLiteral("Введите логин и пароль"));
    for (const char *icon : {"label_2", "label_3"})
        QVERIFY2(!child<QLabel>(&dialog, icon)->pixmap(Qt::ReturnByValue).isNull(), icon);
    QCOMPARE(child<QLineEdit>(&dialog, "lineEdit_EnterLogin")->placeholderText(), QStringLiteral("Login"));
    const auto *password = child<QLineEdit>(&dialog, "lineEdit_EnterPassword");
    QCOMPARE(password->placeholderText(), QStringLiteral("Password"));
    QCOMPARE(password->echoMode(), QLineEdit::Password);
    QVERIFY(!child<QPushButton>(&dialog, "pushButton_EnterOK")->icon().isNull());
}

void TestAuthorization::submit_data()
{
    QTest::addColumn<QString>("login"); // null: the dialog is closed untouched
    QTest::addColumn<QString>("password");
    QTest::addColumn<Server>("server");
    QTest::addColumn<QString>("message"); // null: no status shown
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("loginSent"); // null: nothing reached the server
    const QString wrong = QStringLiteral("Неверное имя пользователя или пароль.");
    const QString success = QStringLiteral("Вход выполнен успешно");
    const QString noLogin = QStringLiteral("Укажите логин");
    const QString engineer = QStringLiteral("engineer");
    const QString zorva = QStringLiteral("zorva");
    const QString empty = QStringLiteral("");
    const QString null;
    const Server emulator = Server::Emulator;
    QTest::newRow("closed untouched") << null << null << emulator << null << false << null;
    QTest::newRow("empty login") << empty << zorva << emulator << noLogin << false << null;
    QTest::newRow("empty password") << engineer << empty << emulator << QStringLiteral("Вы не указали пароль")
                                    << false << null;
    QTest::newRow("both empty") << empty << empty << emulator << noLogin << false << null;
    QTest::newRow("right login and password") << engineer << zorva << emulator << success << true << engineer;
    QTest::newRow("spaces around both, trimmed")
        << QStringLiteral("  engineer ") << QStringLiteral(" zorva  ") << emulator << success << true
        << engineer;
    QTest::newRow("wrong password, then closed")
        << engineer << QStringLiteral("Zorva") << emulator << wrong << false << engineer;
    QTest::newRow("login of spaces, sent empty")
        << QStringLiteral("   ") << zorva << emulator << wrong << false << empty;
    QTest::newRow("no network service") << engineer << zorva << Server::NoNetworkService
                                        << QStringLiteral("Core module not load") << false << null;
    QTest::newRow("server down") << engineer << zorva << Server::Down
                                 << QStringLiteral("Ошибка связи с сервером: Connection refused") << false
                                 << null;
}

// Through the form's button: the dialog is submitted, then closed if still open.
void TestAuthorization::submit()
{
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(Server, server);
    QFETCH(QString, message);
    QFETCH(bool, accepted);
    QFETCH(QString, loginSent);
    ServerEmulator down({});
    if (server == Server::Down) {
        QVERIFY(down.start());
        qputenv("VELMORA_SERVER_URL", down.baseAddress().toUtf8());
        down.stop();
    }
    CoreServices services(server == Server::NoNetworkService ? QStringList{QStringLiteral("core_network")}
                                                             : QStringList());
    BoxRecorder boxes;
    Form form;
    QVERIFY2(form.initialize(services.modules()), qPrintable(form.errorString()));
    auto *upload = child<QPushButton>(&form, "pushButton_connectToServer");
    QVERIFY(!upload->isEnabled());

    DialogAuthorization *dialog = nullptr;
    bool openAfterSubmit = false;
    QWidget *focus = nullptr;
    QTimer::singleShot(0, this, [&] {
        dialog = qobject_cast<DialogAuthorization *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        if (!login.isNull())
            fillAndSubmit(dialog, login, password);
        openAfterSubmit = dialog->isVisible();
        focus = dialog->focusWidget();
        if (openAfterSubmit)
            dialog->reject();
    });
    QTest::mouseClick(child<QPushButton>(&form, "pushButton_authorization"), Qt::LeftButton);
    QVERIFY(dialog);
    QCOMPARE(openAfterSubmit, !accepted);
    QCOMPARE(upload->isEnabled(), accepted);
    QVERIFY(boxes.boxes.isEmpty());

    const auto *status = child<QLabel>(dialog, "label_inf");
    QCOMPARE(status->isHidden() ? QString() : status->text(), message);
    if (!message.isNull()) {
        QCOMPARE(status->styleSheet(), accepted ? "QLabel {color: green}" : "QLabel {color: red}");
        QCOMPARE(status->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    }
    QCOMPARE(child<QLineEdit>(dialog, "lineEdit_EnterLogin")->text(), login);
    QCOMPARE(child<QLineEdit>(dialog, "lineEdit_EnterPassword")->text(), accepted ? QString() : password);
    // Refused before sending: the login field takes the focus.
    if (server == Server::Emulator && !message.isNull() && loginSent.isNull())
        QCOMPARE(focus, child<QLineEdit>(dialog, "lineEdit_EnterLogin"));
    const QVector<ServerEmulator::Exchange> exchanges = m_emulator->exchanges();
    QCOMPARE(exchanges.size(), loginSent.isNull() ? 0 : 1);
    if (!loginSent.isNull()) {
        QCOMPARE(exchanges.first().script, QStringLiteral("/client.cgi"));
        QCOMPARE(exchanges.first().login, loginSent);
    }
}

QTEST_MAIN(TestAuthorization)
#include "tst_authorization.moc"
