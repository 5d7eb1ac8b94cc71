#include "host/host_window.h"

#include "sdk/module_interface.h"

#include <QDebug>
#include <QGuiApplication>
#include <QLabel>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QTabWidget>

HostWindow::HostWindow(QWidget *parent)
    : QMainWindow(parent), m_tabs(new QTabWidget(this)), m_busyLabel(new QLabel(this)),
      m_busyIndicator(new QProgressBar(this))
{
    setWindowTitle(tr("ZORVA: сервисная программа"));
    setCentralWidget(m_tabs);
    m_busyIndicator->setRange(0, 0); // an endless "working" bar
    m_busyIndicator->setMaximumWidth(160);
    statusBar()->addWidget(m_busyLabel, 1);
    statusBar()->addPermanentWidget(m_busyIndicator);
    m_busyLabel->hide();
    m_busyIndicator->hide();
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        resize(screen->availableGeometry().size());
}

bool HostWindow::addModule(module::Interface *module, QObject *moduleObject)
{
    connect(moduleObject, SIGNAL(showBusy(QString)), this, SLOT(showBusy(QString)));
    connect(moduleObject, SIGNAL(hideBusy()), this, SLOT(hideBusy()));
    connect(moduleObject, SIGNAL(callModule(QString, TStringMap *)), this,
            SLOT(callModule(QString, TStringMap *)));
    QWidget *page = module->createWidget(m_tabs);
    if (!page)
        return false;
    m_tabs->addTab(page, page->windowIcon(), module->title());
    return true;
}

bool HostWindow::isBusy() const
{
    return !m_busyIndicator->isHidden();
}

QString HostWindow::busyText() const
{
    return m_busyLabel->text();
}

void HostWindow::showBusy(const QString &text)
{
    m_busyLabel->setText(text);
    m_busyLabel->show();
    m_busyIndicator->show();
}

void HostWindow::hideBusy()
{
    m_busyLabel->clear();
    m_busyLabel->hide();
    m_busyIndicator->hide();
}

void HostWindow::callModule(const QString &name, TStringMap *parameters)
{
    qInfo().noquote() << "callModule" << name << (parameters ? *parameters : TStringMap());
}
