#include "host/device_simulation.h"

#include "link/port_list.h"
#include "sim/device_simulator.h"

DeviceSimulation::DeviceSimulation() = default;

DeviceSimulation::~DeviceSimulation() = default;

bool DeviceSimulation::start(quint8 address, QString *error)
{
    auto simulator = std::make_unique<sim::DeviceSimulator>();
    simulator->model().address = address;
    if (!simulator->start(error))
        return false;
    m_simulator = std::move(simulator);
    ports::publishSimulatedPort(m_simulator->portPath());
    return true;
}

bool DeviceSimulation::isRunning() const
{
    return m_simulator != nullptr;
}

QString DeviceSimulation::portPath() const
{
    return m_simulator ? m_simulator->portPath() : QString();
}

bool DeviceSimulation::parseAddress(const QString &text, quint8 *address)
{
    return sim::DeviceModel::parseAddress(text, address);
}
