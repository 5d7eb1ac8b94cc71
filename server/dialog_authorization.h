#pragma once

#include "sdk/core_interfaces.h"
#include "sdk/tstringmap.h"

#include <QDialog>

namespace Ui
{
class DialogAuthorization;
}

// The login to the metering server: asks for a login and a password and sends "Get_UserData" to
// the server script "client.cgi" through the host's network service. A successful login closes
// the dialog as accepted.
class DialogAuthorization : public QDialog
{
    Q_OBJECT

public:
    // Takes the host's profile and network services from the module table; either may be missing.
    explicit DialogAuthorization(const TModuleMap &modules, QWidget *parent = nullptr);
    ~DialogAuthorization() override;

private slots:
    void on_pushButton_EnterOK_clicked();

private:
    // Sends the login request; true when the server accepted it. Shows its own failure.
    bool requestUserData();
    void showStatus(const QString &text, bool success);

    Ui::DialogAuthorization *ui;
    CoreProfileInterface *profile = nullptr;
    CoreNetworkInterface *network = nullptr;
};
