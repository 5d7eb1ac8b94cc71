#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDir>

// The host's command line. Defaults come from the installed tree (root) and the saved settings.
struct HostOptions {
    explicit HostOptions(const QDir &root, const QString &savedModulesDir);

    QCommandLineParser parser;
    QCommandLineOption modules;
    QCommandLineOption server;
    QCommandLineOption simulate;
    QCommandLineOption simAddress;
    QCommandLineOption fastExchange;

    // True when the command line only asks for help or the version, which needs no display.
    static bool onlyAsksForHelp(int argc, char *argv[]);
};
