// zorva-server-sim: the metering-server emulator on loopback, until SIGINT or SIGTERM.

#include "sim/server_emulator.h"
#include "sim/stop_signals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <cstdio>

namespace
{

constexpr quint16 kDefaultPort = 8080;
const char *const kDefaultUsers = "engineer:zorva";

// "login:password,login2:password2"; a password may contain ':' (the first one separates).
bool parseUsers(const QString &text, emulator::Users *users)
{
    for (const QString &entry : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const int colon = entry.indexOf(QLatin1Char(':'));
        if (colon <= 0)
            return false;
        users->insert(entry.left(colon), entry.mid(colon + 1));
    }
    return !users->isEmpty();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zorva-server-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Metering-server emulator on 127.0.0.1: the login script client.cgi and the upload script "
        "bin/velmora.cgi. Accepted uploads are stored as files in the storage folder."));
    parser.addHelpOption();
    const QCommandLineOption portOption(QStringLiteral("port"),
                                        QStringLiteral("Port to listen on (0 picks a free one)."),
                                        QStringLiteral("port"), QString::number(kDefaultPort));
    const QCommandLineOption usersOption(QStringLiteral("users"),
                                         QStringLiteral("Accounts, as login:password,login2:password2."),
                                         QStringLiteral("list"), QLatin1String(kDefaultUsers));
    const QCommandLineOption storageOption(
        QStringLiteral("storage"), QStringLiteral("Folder for accepted uploads."), QStringLiteral("dir"),
        QDir::current().filePath(QStringLiteral("zorva-uploads")));
    parser.addOption(portOption);
    parser.addOption(usersOption);
    parser.addOption(storageOption);
    parser.process(app);

    bool portOk = false;
    const uint port = parser.value(portOption).toUInt(&portOk);
    if (!portOk || port > 65535) {
        std::fprintf(stderr, "Invalid port: %s\n", qPrintable(parser.value(portOption)));
        return 2;
    }
    ServerEmulator::Settings settings;
    if (!parseUsers(parser.value(usersOption), &settings.users)) {
        std::fprintf(stderr, "Invalid --users: expected login:password[,login:password...]\n");
        return 2;
    }
    settings.storageDir = QDir(parser.value(storageOption)).absolutePath();

    // Before the server's threads start, so that they inherit the blocked stop signals.
    if (!quitOnStopSignals(app)) {
        std::fprintf(stderr, "Cannot install the signal handlers\n");
        return 1;
    }

    ServerEmulator server(settings);
    server.setObserver([](const ServerEmulator::Exchange &exchange) {
        std::fprintf(stderr, "%s%s%s -> %03d%s%s\n", qPrintable(exchange.script),
                     exchange.login.isNull() ? "" : " Login=", qPrintable(exchange.login),
                     exchange.resultCode, exchange.storedFile.isEmpty() ? "" : ", stored in ",
                     qPrintable(exchange.storedFile));
    });
    QString error;
    if (!server.start(quint16(port), &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s\n", qPrintable(server.baseAddress()));
    std::fflush(stdout);
    std::fprintf(stderr, "Accounts: %s; uploads stored in %s\n",
                 qPrintable(QStringList(settings.users.keys()).join(QLatin1String(", "))),
                 qPrintable(settings.storageDir));

    app.exec();
    server.stop();
    return 0;
}
