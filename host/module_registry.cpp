#include "host/module_registry.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QPluginLoader>

ModuleRegistry::ModuleRegistry(QObject *parent) : QObject(parent) {}

QString ModuleRegistry::moduleNameOf(const QString &fileName)
{
    QString base = QFileInfo(fileName).completeBaseName();
    if (base.startsWith(QLatin1String("lib")))
        base.remove(0, 3);
    return base.section(QLatin1Char('.'), 0, 0);
}

QStringList ModuleRegistry::loadFolder(const QString &folder)
{
    QStringList loaded;
    const QDir dir(folder);
    const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        if (!QLibrary::isLibrary(file.fileName()))
            continue;
        auto *loader = new QPluginLoader(file.absoluteFilePath(), this);
        if (!loader->load()) {
            m_errors << loader->errorString();
            delete loader;
            continue;
        }
        const QString name = moduleNameOf(file.fileName());
        m_modules.insert(name, loader);
        loaded << name;
    }
    return loaded;
}
