#pragma once

// The host's core services. Each is found by module name in the host's module table and cast
// by its interface id. Virtual operations are in slot order; do not reorder.

#include "sdk/common_module_iface.h"

#include <QObject>
#include <QPluginLoader>
#include <QString>

// "core_modem": the host's modem and serial-line service.
class CoreModemInterface : public CommonCoreModIface
{
public:
    virtual QString modemDescription() const = 0; // slot 0

protected:
    ~CoreModemInterface() = default;
};

// "core_profile": the host's profile; gives the folder the application runs from.
class CoreProfileInterface : public CommonCoreModIface
{
public:
    virtual QString appFullPath() const = 0; // slot 0

protected:
    ~CoreProfileInterface() = default;
};

// "core_network": requests to the metering server's scripts.
class CoreNetworkInterface : public CommonCoreModIface
{
public:
    virtual void beginRequest(const QString &command) = 0;                // slot 0
    virtual void addField(const QString &name, const QString &value) = 0; // slot 1
    virtual bool send(int mode, int flags, const QString &script) = 0;    // slot 2
    virtual QString lastError() const = 0;                                // slot 3
    virtual QString serverBaseAddress() const = 0;                        // slot 4

protected:
    ~CoreNetworkInterface() = default;
};

#define CoreModemInterface_iid "velmora.Application.CoreModemInterface/1.0"
#define CoreProfileInterface_iid "velmora.Application.CoreProfileInterface/1.0"
#define CoreNetworkInterface_iid "velmora.Application.CoreNetworkInterface/1.0"
Q_DECLARE_INTERFACE(CoreModemInterface, CoreModemInterface_iid)
Q_DECLARE_INTERFACE(CoreProfileInterface, CoreProfileInterface_iid)
Q_DECLARE_INTERFACE(CoreNetworkInterface, CoreNetworkInterface_iid)

// Looks a service up in the module table and casts its root object to the interface;
// null when the module is missing or does not implement it.
template <class Service> Service *findCoreService(const TModuleMap &modules, const QString &name)
{
    QPluginLoader *loader = modules.value(name, nullptr);
    if (!loader)
        return nullptr;
    return qobject_cast<Service *>(loader->instance());
}
