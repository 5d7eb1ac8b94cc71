#pragma once

#include "sdk/tstringmap.h"

#include <QPluginLoader>
#include <QStringList>
#include <memory>
#include <vector>

// Loads the built core-service plug-ins the way the host does, so tests hand the form a real
// module table.
class CoreServices
{
public:
    // Loads core_modem, core_profile and core_network except those named in `without`.
    explicit CoreServices(const QStringList &without = {});

    const TModuleMap &modules() const { return m_modules; }

    static QString stageDir();

private:
    std::vector<std::unique_ptr<QPluginLoader>> m_loaders;
    TModuleMap m_modules;
};
