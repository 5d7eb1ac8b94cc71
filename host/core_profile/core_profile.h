#pragma once

#include "sdk/core_interfaces.h"

#include <QObject>

// The host's profile service: the folder the application was installed to (the one that
// holds data/).
class CoreProfile : public QObject, public CoreProfileInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CoreProfileInterface_iid)
    Q_INTERFACES(CoreProfileInterface)

public:
    QString appFullPath() const override;
};
