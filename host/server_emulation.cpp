#include "host/server_emulation.h"

#include "sim/server_emulator.h"

#include <QDir>
#include <QStandardPaths>

namespace
{

const char *const kBaseAddressVariable = "VELMORA_SERVER_URL";

} // namespace

ServerEmulation::ServerEmulation() = default;

ServerEmulation::~ServerEmulation() = default;

bool ServerEmulation::start(QString *error)
{
    m_storageDir = QDir(QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation))
                       .filePath(QStringLiteral("server-uploads"));
    ServerEmulator::Settings settings;
    settings.users.insert(QLatin1String(kLogin), QLatin1String(kPassword));
    settings.storageDir = m_storageDir;
    m_emulator = std::make_unique<ServerEmulator>(settings);
    if (!m_emulator->start(0, error)) {
        m_emulator.reset();
        return false;
    }
    qputenv(kBaseAddressVariable, m_emulator->baseAddress().toUtf8());
    return true;
}

QString ServerEmulation::baseAddress() const
{
    return m_emulator ? m_emulator->baseAddress() : QString();
}

QString ServerEmulation::storageDir() const
{
    return m_storageDir;
}
