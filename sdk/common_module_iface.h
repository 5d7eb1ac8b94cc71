#pragma once

#include "sdk/tstringmap.h"

#include <QString>

// Base of a module's main widget: the host's module table goes in, a failure text comes out.
// Not polymorphic, so it adds nothing to the widget's vtable.
class CommonModuleIface
{
public:
    const TModuleMap &modules() const { return m_modules; }
    QString errorString() const { return m_errorString; }

protected:
    ~CommonModuleIface() = default;
    void setModules(const TModuleMap &modules) { m_modules = modules; }
    void setErrorString(const QString &text) { m_errorString = text; }

private:
    TModuleMap m_modules;
    QString m_errorString;
};

// Base of the host's core services. Deliberately without virtual members, so that each
// service's own operations start at slot 0 of its vtable.
class CommonCoreModIface
{
protected:
    ~CommonCoreModIface() = default;
};
