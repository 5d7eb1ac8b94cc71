#include "host/host_options.h"

#include <cstring>

HostOptions::HostOptions(const QDir &root, const QString &savedModulesDir)
    : modules(QStringList{QStringLiteral("m"), QStringLiteral("modules")},
              QStringLiteral("Folder with the modules to load."), QStringLiteral("dir"),
              savedModulesDir.isEmpty() ? root.absoluteFilePath(QStringLiteral("modules")) : savedModulesDir),
      server(QStringLiteral("server"), QStringLiteral("Base address of the metering server (remembered)."),
             QStringLiteral("url")),
      simulate(QStringLiteral("simulate"),
               QStringLiteral("Run a simulated ZORVA device and, unless --server or VELMORA_SERVER_URL "
                              "names one, a local metering server.")),
      simAddress(QStringLiteral("sim-address"),
                 QStringLiteral("Primary address of the simulated device, 0..250."),
                 QStringLiteral("address"), QStringLiteral("1")),
      fastExchange(
          QStringLiteral("fast-exchange"),
          QStringLiteral("Start the configurator with fast exchange ticked: answers are taken as soon as "
                         "they are whole, silence ends at EN 13757-2's answer window (remembered)."))
{
    parser.setApplicationDescription(
        QStringLiteral("Standalone host for the ZORVA M-Bus configurator module."));
    parser.addHelpOption();
    parser.addOptions({modules, server, simulate, simAddress, fastExchange});
}

bool HostOptions::onlyAsksForHelp(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i)
        for (const char *help : {"-h", "--help", "-?", "--help-all"})
            if (std::strcmp(argv[i], help) == 0)
                return true;
    return false;
}
