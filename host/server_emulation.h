#pragma once

// --simulate: the metering-server emulator in the host's own process, with one account, made the
// server of this process, so that the configurator's login and upload work without a real server.

#include <QString>
#include <memory>

class ServerEmulator;

class ServerEmulation
{
public:
    static constexpr char kLogin[] = "engineer";
    static constexpr char kPassword[] = "zorva";

    ServerEmulation();
    ~ServerEmulation();

    // Starts the emulator on a free loopback port, storing uploads under the host's data folder,
    // and points the host's network service at it (the process's VELMORA_SERVER_URL).
    bool start(QString *error);
    QString baseAddress() const;
    QString storageDir() const;

private:
    std::unique_ptr<ServerEmulator> m_emulator;
    QString m_storageDir;
};
