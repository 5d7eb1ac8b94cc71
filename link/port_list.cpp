#include "link/port_list.h"

#include <QCoreApplication>
#include <QVariant>

namespace ports
{

PortChoices portChoices(const QStringList &available, const QStringList &simulated)
{
    PortChoices choices{available, available.isEmpty() ? -1 : int(available.size()) - 1};
    bool simulatedSelected = false;
    for (const QString &path : simulated) {
        if (path.isEmpty())
            continue;
        int index = choices.names.indexOf(path);
        if (index < 0) {
            choices.names << path;
            index = choices.names.size() - 1;
        }
        if (!simulatedSelected) {
            choices.current = index;
            simulatedSelected = true;
        }
    }
    return choices;
}

QStringList simulatedPorts()
{
    const QCoreApplication *app = QCoreApplication::instance();
    return app ? app->property(kSimulatedPortsProperty).toStringList() : QStringList();
}

void publishSimulatedPort(const QString &path)
{
    QCoreApplication *app = QCoreApplication::instance();
    if (!app)
        return;
    QStringList published = app->property(kSimulatedPortsProperty).toStringList();
    if (!published.contains(path))
        published << path;
    app->setProperty(kSimulatedPortsProperty, published);
}

} // namespace ports
