#pragma once

// --simulate: a ZORVA device simulator in the host's own process. Its pseudo-terminal is published
// to the configurator's port list (and preselected there), so the port opens onto a working device.
// The simulator runs on the host's event loop, which the configurator's waits keep turning.

#include <QString>
#include <QtGlobal>
#include <memory>

namespace sim
{
class DeviceSimulator;
}

class DeviceSimulation
{
public:
    DeviceSimulation();
    ~DeviceSimulation();

    // Starts the device at the given primary address and publishes its port.
    bool start(quint8 address, QString *error);
    bool isRunning() const;
    QString portPath() const;

    // Reads the --sim-address value: a primary address 0..250.
    static bool parseAddress(const QString &text, quint8 *address);

private:
    std::unique_ptr<sim::DeviceSimulator> m_simulator;
};
