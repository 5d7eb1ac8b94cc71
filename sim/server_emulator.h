#pragma once

// A metering server on loopback for commissioning without the real one: the login script
// (client.cgi) and the upload script (bin/velmora.cgi). It checks what it receives, answers with
// the server's result codes and keeps every accepted upload as a file in its storage folder, with
// the telegrams it carried decoded into a JSON file beside it.
// It serves on its own threads; the calls below may come from any thread.

#include "sim/server_rules.h"

#include <QString>
#include <QVector>
#include <functional>
#include <memory>

class ServerEmulator
{
public:
    struct Settings {
        emulator::Users users;
        QString storageDir;
    };

    // One request that reached a script. Passwords are never kept.
    struct Exchange {
        QString script;
        QString login; // login script: the Login field as received
        int resultCode = 0;
        QString storedFile;  // upload script: the file the accepted DATA went to
        QString decodedFile; // upload script: beside it, the telegrams read as JSON (sim/upload_decoding.h)
    };

    explicit ServerEmulator(const Settings &settings);
    ~ServerEmulator();
    ServerEmulator(const ServerEmulator &) = delete;
    ServerEmulator &operator=(const ServerEmulator &) = delete;

    // Listens on 127.0.0.1; port 0 picks a free one.
    bool start(quint16 port = 0, QString *error = nullptr);
    void stop();

    quint16 port() const;
    // "http://127.0.0.1:<port>/", ready for the scripts' names to be appended.
    QString baseAddress() const;

    QVector<Exchange> exchanges() const;
    // Called on a server thread after each exchange.
    void setObserver(std::function<void(const Exchange &)> observer);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
