#include "form/form.h"
#include "server/dialog_authorization.h"
#include "sim/server_emulator.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kRed = QStringLiteral("QLabel {color: red}");
const QString kGreen = QStringLiteral("QLabel {color: green}");

template <class T> T *child(QWidget *parent, const char *name)
{
    T *widget = parent->findChild<T *>(QLatin1String(name));
    if (!widget)
        qFatal("no %s", name);
    return widget;
}

quint16 closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
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
    void refusedBeforeSending_data();
    void refusedBeforeSending();
    void serverVerdict_data();
    void serverVerdict();
    void noNetworkService();
    void serverDown();
    void formEnablesUploadOnlyOnLogin_data();
    void formEnablesUploadOnlyOnLogin();

private:
    std::unique_ptr<DialogAuthorization> makeDialog(const QStringList &withoutServices = {});
    void fillAndSubmit(DialogAuthorization *dialog, const QString &login, const QString &password);

    QTemporaryDir m_storage;
    std::unique_ptr<ServerEmulator> m_emulator;
    std::unique_ptr<CoreServices> m_services;
};

void TestAuthorization::initTestCase()
{
    // The icons live in the widget library, which reaches this test through a static archive.
    Q_INIT_RESOURCE(icons);
    QVERIFY(m_storage.isValid());
}

void TestAuthorization::init()
{
    ServerEmulator::Settings settings;
    settings.users.insert(QStringLiteral("engineer"), QStringLiteral("zorva"));
    settings.storageDir = m_storage.path();
    m_emulator = std::make_unique<ServerEmulator>(settings);
    QString error;
    QVERIFY2(m_emulator->start(0, &error), qPrintable(error));
    qputenv("VELMORA_SERVER_URL", m_emulator->baseAddress().toUtf8());
}

void TestAuthorization::cleanup()
{
    m_services.reset();
    m_emulator.reset();
    qunsetenv("VELMORA_SERVER_URL");
}

std::unique_ptr<DialogAuthorization> TestAuthorization::makeDialog(const QStringList &withoutServices)
{
    m_services = std::make_unique<CoreServices>(withoutServices);
    auto dialog = std::make_unique<DialogAuthorization>(m_services->modules());
    dialog->show();
    dialog->activateWindow();
    if (!QTest::qWaitForWindowActive(dialog.get()))
        qWarning("the dialog did not become active");
    return dialog;
}

void TestAuthorization::fillAndSubmit(DialogAuthorization *dialog, const QString &login,
                                      const QString &password)
{
    child<QLineEdit>(dialog, "lineEdit_EnterLogin")->setText(login);
    child<QLineEdit>(dialog, "lineEdit_EnterPassword")->setText(password);
    // The focus starts elsewhere, so a check that moves it is seen.
    child<QLineEdit>(dialog, "lineEdit_EnterPassword")->setFocus();
    QTest::mouseClick(child<QPushButton>(dialog, "pushButton_EnterOK"), Qt::LeftButton);
}

void TestAuthorization::layout()
{
    const auto dialog = makeDialog();
    QCOMPARE(dialog->objectName(), QStringLiteral("DialogAuthorization"));
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Вход"));
    QVERIFY(dialog->minimumSize().isValid() && dialog->maximumSize().width() < QWIDGETSIZE_MAX);
    const auto *title = child<QLabel>(dialog.get(), "label_EnterLoginTitle");
    QCOMPARE(title->text(), QStringLiteral("Введите логин и пароль"));
    QCOMPARE(title->font().family(), QStringLiteral("MS Shell Dlg"));
    QVERIFY(child<QLabel>(dialog.get(), "label_inf")->isHidden());
    for (const char *icon : {"label_2", "label_3"})
        QVERIFY2(!child<QLabel>(dialog.get(), icon)->pixmap(Qt::ReturnByValue).isNull(), icon);
    QCOMPARE(child<QLineEdit>(dialog.get(), "lineEdit_EnterLogin")->placeholderText(),
             QStringLiteral("Login"));
    const auto *password = child<QLineEdit>(dialog.get(), "lineEdit_EnterPassword");
    QCOMPARE(password->placeholderText(), QStringLiteral("Password"));
    QCOMPARE(password->echoMode(), QLineEdit::Password);
    QVERIFY(!child<QPushButton>(dialog.get(), "pushButton_EnterOK")->icon().isNull());
}

void TestAuthorization::refusedBeforeSending_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty login") << QString() << QStringLiteral("zorva") << QStringLiteral("Укажите логин");
    QTest::newRow("empty password") << QStringLiteral("engineer") << QString()
                                    << QStringLiteral("Вы не указали пароль");
    QTest::newRow("both empty") << QString() << QString() << QStringLiteral("Укажите логин");
}

void TestAuthorization::refusedBeforeSending()
{
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(QString, message);
    const auto dialog = makeDialog();
    fillAndSubmit(dialog.get(), login, password);
    const auto *status = child<QLabel>(dialog.get(), "label_inf");
    QCOMPARE(status->text(), message);
    QCOMPARE(status->styleSheet(), kRed);
    QCOMPARE(status->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    QVERIFY(status->isVisible());
    QCOMPARE(dialog->focusWidget(), child<QLineEdit>(dialog.get(), "lineEdit_EnterLogin"));
    QVERIFY(dialog->isVisible());
    QVERIFY(m_emulator->exchanges().isEmpty());
}

void TestAuthorization::serverVerdict_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("loginSent");
    const QString wrong = QStringLiteral("Неверное имя пользователя или пароль.");
    const QString success = QStringLiteral("Вход выполнен успешно");
    QTest::newRow("right login and password") << "engineer"
                                              << "zorva" << true << success << "engineer";
    QTest::newRow("spaces around both, trimmed") << "  engineer "
                                                 << " zorva  " << true << success << "engineer";
    QTest::newRow("wrong password") << "engineer"
                                    << "Zorva" << false << wrong << "engineer";
    QTest::newRow("login of spaces, sent empty") << "   "
                                                 << "zorva" << false << wrong << "";
}

void TestAuthorization::serverVerdict()
{
    QFETCH(QString, login);
    QFETCH(QString, password);
    QFETCH(bool, accepted);
    QFETCH(QString, message);
    QFETCH(QString, loginSent);
    const auto dialog = makeDialog();
    fillAndSubmit(dialog.get(), login, password);

    const QVector<ServerEmulator::Exchange> exchanges = m_emulator->exchanges();
    QCOMPARE(exchanges.size(), 1);
    QCOMPARE(exchanges.first().script, QStringLiteral("/client.cgi"));
    QCOMPARE(exchanges.first().login, loginSent);
    const auto *status = child<QLabel>(dialog.get(), "label_inf");
    QCOMPARE(status->text(), message);
    QCOMPARE(status->styleSheet(), accepted ? kGreen : kRed);
    QVERIFY(!status->isHidden());
    QCOMPARE(dialog->result() == QDialog::Accepted, accepted);
    QCOMPARE(dialog->isVisible(), !accepted);
    QCOMPARE(child<QLineEdit>(dialog.get(), "lineEdit_EnterPassword")->text(),
             accepted ? QString() : password);
    QCOMPARE(child<QLineEdit>(dialog.get(), "lineEdit_EnterLogin")->text(), login);
}

void TestAuthorization::noNetworkService()
{
    const auto dialog = makeDialog({QStringLiteral("core_network")});
    fillAndSubmit(dialog.get(), QStringLiteral("engineer"), QStringLiteral("zorva"));
    const auto *status = child<QLabel>(dialog.get(), "label_inf");
    QCOMPARE(status->text(), QStringLiteral("Core module not load"));
    QCOMPARE(status->styleSheet(), kRed);
    QVERIFY(dialog->isVisible());
    QVERIFY(m_emulator->exchanges().isEmpty());
}

void TestAuthorization::serverDown()
{
    qputenv("VELMORA_SERVER_URL", QStringLiteral("http://127.0.0.1:%1/").arg(closedPort()).toUtf8());
    const auto dialog = makeDialog();
    fillAndSubmit(dialog.get(), QStringLiteral("engineer"), QStringLiteral("zorva"));
    const auto *status = child<QLabel>(dialog.get(), "label_inf");
    QVERIFY2(status->text().startsWith(QStringLiteral("Ошибка связи с сервером:")),
             qPrintable(status->text()));
    QCOMPARE(status->styleSheet(), kRed);
    QVERIFY(dialog->isVisible());
}

void TestAuthorization::formEnablesUploadOnlyOnLogin_data()
{
    QTest::addColumn<QString>("password"); // empty: the dialog is closed without logging in
    QTest::addColumn<bool>("enabled");
    QTest::newRow("closed without logging in") << QString() << false;
    QTest::newRow("wrong password, then closed") << QStringLiteral("nope") << false;
    QTest::newRow("logged in") << QStringLiteral("zorva") << true;
}

void TestAuthorization::formEnablesUploadOnlyOnLogin()
{
    QFETCH(QString, password);
    QFETCH(bool, enabled);
    BoxRecorder boxes;
    m_services = std::make_unique<CoreServices>();
    Form form;
    QVERIFY2(form.initialize(m_services->modules()), qPrintable(form.errorString()));
    auto *upload = child<QPushButton>(&form, "pushButton_connectToServer");
    QVERIFY(!upload->isEnabled());

    bool sawDialog = false;
    QTimer::singleShot(0, this, [&] {
        auto *dialog = qobject_cast<DialogAuthorization *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        sawDialog = true;
        if (!password.isEmpty())
            fillAndSubmit(dialog, QStringLiteral("engineer"), password);
        if (dialog->isVisible())
            dialog->reject();
    });
    QTest::mouseClick(child<QPushButton>(&form, "pushButton_authorization"), Qt::LeftButton);
    QVERIFY(sawDialog);
    QCOMPARE(upload->isEnabled(), enabled);
    QVERIFY(boxes.boxes.isEmpty());
}

QTEST_MAIN(TestAuthorization)
#include "tst_authorization.moc"
