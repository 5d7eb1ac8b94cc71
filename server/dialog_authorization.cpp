#include "server/dialog_authorization.h"
#include "ui_dialog_authorization.h"

namespace
{

const char *const kErrorStyle = "QLabel {color: red}";
const char *const kSuccessStyle = "QLabel {color: green}";
const char *const kLoginScript = "client.cgi";
const char *const kLoginCommand = "Get_UserData";
// send(): the fields posted as a form, no flags.
constexpr int kSendMode = 2;
constexpr int kSendFlags = 0;

} // namespace

DialogAuthorization::DialogAuthorization(const TModuleMap &modules, QWidget *parent)
    : QDialog(parent), ui(new Ui::DialogAuthorization)
{
    profile = findCoreService<CoreProfileInterface>(modules, QStringLiteral("core_profile"));
    network = findCoreService<CoreNetworkInterface>(modules, QStringLiteral("core_network"));
    ui->setupUi(this);
    ui->label_inf->hide();
}

DialogAuthorization::~DialogAuthorization()
{
    delete ui;
}

void DialogAuthorization::showStatus(const QString &text, bool success)
{
    ui->label_inf->setText(text);
    ui->label_inf->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    ui->label_inf->setStyleSheet(QLatin1String(success ? kSuccessStyle : kErrorStyle));
    ui->label_inf->setVisible(true);
}

void DialogAuthorization::on_pushButton_EnterOK_clicked()
{
    if (ui->lineEdit_EnterLogin->text().isEmpty()) {
        showStatus(tr("Укажите логин"), false);
        ui->lineEdit_EnterLogin->setFocus();
        return;
    }
    if (ui->lineEdit_EnterPassword->text().isEmpty()) {
        showStatus(tr("Вы не указали пароль"), false);
        // The login field, not the password field, takes the focus here.
        ui->lineEdit_EnterLogin->setFocus();
        return;
    }
    if (!requestUserData())
        return;
    showStatus(tr("Вход выполнен успешно"), true);
    accept();
    ui->lineEdit_EnterPassword->clear();
}

bool DialogAuthorization::requestUserData()
{
    if (!network) {
        showStatus(QStringLiteral("Core module not load"), false);
        return false;
    }
    network->beginRequest(QLatin1String(kLoginCommand));
    network->addField(QStringLiteral("Login"), ui->lineEdit_EnterLogin->text().trimmed());
    network->addField(QStringLiteral("Password"), ui->lineEdit_EnterPassword->text().trimmed());
    if (network->send(kSendMode, kSendFlags, QLatin1String(kLoginScript)))
        return true;
    showStatus(network->lastError(), false);
    return false;
}
