#pragma once

#include "sdk/tstringmap.h"

#include <QObject>
#include <QStringList>

// Loads every plug-in of a folder and keeps the loaders, keyed by module name: the library's
// base name without the "lib" prefix ("libcore_modem.so" -> "core_modem").
class ModuleRegistry : public QObject
{
    Q_OBJECT

public:
    explicit ModuleRegistry(QObject *parent = nullptr);

    // Returns the names loaded from the folder; failures are described in errors().
    QStringList loadFolder(const QString &folder);

    const TModuleMap &modules() const { return m_modules; }
    QStringList errors() const { return m_errors; }

    static QString moduleNameOf(const QString &fileName);

private:
    TModuleMap m_modules;
    QStringList m_errors;
};
