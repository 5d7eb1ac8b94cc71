#include "tests/support/form_on_simulator.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTextBrowser>
#include <QToolButton>
#include <QtTest>

FormOnSimulator::FormOnSimulator() : FormOnSimulator(Options()) {}

FormOnSimulator::FormOnSimulator(const Options &options)
    : m_sim(std::make_unique<sim::DeviceSimulator>()), m_services(std::make_unique<CoreServices>()),
      m_boxes(std::make_unique<BoxRecorder>())
{
    m_sim->model().address = options.address;
    QString simError;
    if (!m_sim->start(&simError)) {
        m_error = QStringLiteral("the simulator did not start: ") + simError;
        return;
    }
    m_form = std::make_unique<Form>();
    if (!m_form->initialize(m_services->modules())) {
        m_error = QStringLiteral("the form did not initialise: ") + m_form->errorString();
        return;
    }
    if (options.openPort) {
        typePortAndToggle(m_sim->portPath());
        if (!w<QToolButton>(QStringLiteral("toolButton_openPort"))->isChecked())
            m_error = QStringLiteral("the port %1 did not open: %2")
                          .arg(m_sim->portPath(), m_boxes->texts().join(QStringLiteral("; ")));
    }
    m_startupBoxes = m_boxes->boxes;
    m_boxes->clear();
    m_sim->clearTraffic();
}

FormOnSimulator::~FormOnSimulator()
{
    // The form closes its port before the device goes away.
    m_form.reset();
    m_boxes.reset();
    m_sim.reset();
    m_services.reset();
}

QString FormOnSimulator::log() const
{
    return w<QTextBrowser>(QStringLiteral("textBrowser"))->toPlainText();
}

QString FormOnSimulator::log2() const
{
    return w<QTextBrowser>(QStringLiteral("textBrowser_2"))->toPlainText();
}

void FormOnSimulator::clearLogs()
{
    w<QTextBrowser>(QStringLiteral("textBrowser"))->clear();
    w<QTextBrowser>(QStringLiteral("textBrowser_2"))->clear();
}

void FormOnSimulator::typePortAndToggle(const QString &path)
{
    QLineEdit *edit = w<QComboBox>(QStringLiteral("comboBox_portList"))->lineEdit();
    edit->selectAll();
    for (const QChar c : path) {
        if (c.unicode() >= 0x20 && c.unicode() < 0x7F)
            QTest::keyClick(edit, char(c.unicode()));
        else
            QTest::sendKeyEvent(QTest::Click, edit, Qt::Key_unknown, QString(c), Qt::NoModifier);
    }
    // The list completes inline from its entries; the typed path is what counts.
    if (edit->hasSelectedText())
        QTest::keyClick(edit, Qt::Key_Delete);
    w<QToolButton>(QStringLiteral("toolButton_openPort"))->click();
}
