#pragma once

// A configurator form talking to a simulated ZORVA over a real pseudo-terminal: starts the
// simulator, loads the core services, records the boxes, builds and initialises the form, types the
// simulator's port into the port list and clicks "Открыть порт". Boxes and traffic seen while the
// page opens are kept apart (startupBoxes) so a test starts from a clean record.

#include "form/form.h"
#include "sim/device_simulator.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QString>
#include <QVector>
#include <memory>

class QTextBrowser;

class FormOnSimulator
{
public:
    struct Options {
        quint8 address = 1;   // the simulated device's primary address
        bool openPort = true; // type the port and click "Открыть порт"
    };

    FormOnSimulator();
    explicit FormOnSimulator(const Options &options);
    ~FormOnSimulator();

    // False when the simulator, the form or the port could not be brought up; error() says why.
    bool ready() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }

    Form &form() { return *m_form; }
    sim::DeviceSimulator &sim() { return *m_sim; }
    BoxRecorder &boxes() { return *m_boxes; }
    const QVector<BoxRequest> &startupBoxes() const { return m_startupBoxes; }

    // A widget of the form by its object name; a missing widget is a broken test, so it aborts.
    template <typename T> T *w(const QString &name) const
    {
        T *widget = m_form->findChild<T *>(name);
        if (!widget)
            qFatal("the form has no %s named %s", T::staticMetaObject.className(), qPrintable(name));
        return widget;
    }

    // Plain text of the service log (textBrowser) and of the developer log (textBrowser_2).
    QString log() const;
    QString log2() const;
    void clearLogs();

    // Types a path into the port list and clicks the open/close toggle.
    void typePortAndToggle(const QString &path);

private:
    std::unique_ptr<sim::DeviceSimulator> m_sim;
    std::unique_ptr<CoreServices> m_services;
    std::unique_ptr<BoxRecorder> m_boxes;
    std::unique_ptr<Form> m_form;
    QVector<BoxRequest> m_startupBoxes;
    QString m_error;
};
