#pragma once

#include "sdk/core_interfaces.h"

#include <QObject>

// The host's modem service. The configurator only needs it to be present.
class CoreModem : public QObject, public CoreModemInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CoreModemInterface_iid)
    Q_INTERFACES(CoreModemInterface)

public:
    QString modemDescription() const override { return QStringLiteral("Direct serial line"); }
};
