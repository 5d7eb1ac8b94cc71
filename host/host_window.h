#pragma once

#include "sdk/tstringmap.h"

#include <QMainWindow>

class QLabel;
class QProgressBar;
class QTabWidget;
namespace module
{
class Interface;
}

// The standalone host's main window: one tab per module page, and a busy indicator in the
// status bar between a module's showBusy() and hideBusy().
class HostWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit HostWindow(QWidget *parent = nullptr);

    // Creates the module's page and shows it; false when the module gives no widget.
    bool addModule(module::Interface *module, QObject *moduleObject);

    bool isBusy() const;
    QString busyText() const;

private slots:
    void showBusy(const QString &text);
    void hideBusy();
    void callModule(const QString &name, TStringMap *parameters);

private:
    QTabWidget *m_tabs;
    QLabel *m_busyLabel;
    QProgressBar *m_busyIndicator;
};
