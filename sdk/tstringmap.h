#pragma once

#include <QMap>
#include <QMetaType>
#include <QString>

class QPluginLoader;

// String-to-string parameter map passed along with callModule().
typedef QMap<QString, QString> TStringMap;

// The host's table of loaded modules: module name -> the loader that loaded it.
typedef QMap<QString, QPluginLoader *> TModuleMap;

Q_DECLARE_METATYPE(TStringMap *)
