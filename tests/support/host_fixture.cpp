#include "tests/support/host_fixture.h"

#include <QDir>
#include <QtTest>

CoreServices::CoreServices(const QStringList &without)
{
    const QDir core(stageDir() + QStringLiteral("/core"));
    for (const QString &name :
         {QStringLiteral("core_modem"), QStringLiteral("core_profile"), QStringLiteral("core_network")}) {
        if (without.contains(name))
            continue;
        auto loader = std::make_unique<QPluginLoader>(core.filePath(QStringLiteral("lib") + name + ".so"));
        if (!loader->load())
            qFatal("cannot load %s: %s", qPrintable(name), qPrintable(loader->errorString()));
        m_modules.insert(name, loader.get());
        m_loaders.push_back(std::move(loader));
    }
}

QString CoreServices::stageDir()
{
    return QStringLiteral(ZORVA_STAGE_DIR);
}
