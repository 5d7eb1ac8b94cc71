#include "host/core_network/core_network.h"

void CoreNetwork::beginRequest(const QString &command)
{
    m_fields.clear();
    m_fields.addQueryItem(QStringLiteral("CMD"), command);
}

void CoreNetwork::addField(const QString &name, const QString &value)
{
    m_fields.addQueryItem(name, value);
}

bool CoreNetwork::send(int, int, const QString &)
{
    m_lastError = tr("Сервер не настроен");
    return false;
}

QString CoreNetwork::serverBaseAddress() const
{
    return QStringLiteral("http://127.0.0.1:8080/");
}
