#pragma once

#include "sdk/core_interfaces.h"

#include <QObject>
#include <QUrlQuery>

// The host's network service: requests to the metering server's scripts.
class CoreNetwork : public QObject, public CoreNetworkInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID CoreNetworkInterface_iid)
    Q_INTERFACES(CoreNetworkInterface)

public:
    void beginRequest(const QString &command) override;
    void addField(const QString &name, const QString &value) override;
    bool send(int mode, int flags, const QString &script) override;
    QString lastError() const override { return m_lastError; }
    QString serverBaseAddress() const override;

private:
    QUrlQuery m_fields;
    QString m_lastError;
};
