#pragma once

// The ports the configurator offers. Besides the system's serial ports, a host that runs a simulated
// device publishes the simulator's port paths as a dynamic property of the application object, so the
// module (loaded as a plug-in into that host) can offer and preselect them.

#include <QStringList>

namespace ports
{

constexpr char kSimulatedPortsProperty[] = "zorva.simulatedPorts";

struct PortChoices {
    QStringList names;
    int current; // index to select; -1 when there is no port at all
};

// The system ports in their order, then the simulated ports not already listed. The first simulated
// port is selected when there is one, else the last system port.
PortChoices portChoices(const QStringList &available, const QStringList &simulated);

// The simulated ports published on the application object (empty without an application object).
QStringList simulatedPorts();
void publishSimulatedPort(const QString &path);

} // namespace ports
