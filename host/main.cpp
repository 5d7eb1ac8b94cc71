// Standalone host: loads the core services and every module of the modules folder, hands each
// module the table of loaded modules and shows its page.

#include "host/device_simulation.h"
#include "host/host_window.h"
#include "host/module_registry.h"
#include "host/server_emulation.h"
#include "sdk/module_interface.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QPluginLoader>
#include <QSettings>
#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("velmora"));
    QApplication::setApplicationName(QStringLiteral("zorva-host"));

    const QDir root(QDir(QApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("..")));
    QSettings settings;

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Standalone host for the ZORVA M-Bus configurator module."));
    parser.addHelpOption();
    const QCommandLineOption modulesOption(QStringList{QStringLiteral("m"), QStringLiteral("modules")},
                                           QStringLiteral("Folder with the modules to load."),
                                           QStringLiteral("dir"),
                                           settings.value(QStringLiteral("modulesDir"),
                                                          root.absoluteFilePath(QStringLiteral("modules")))
                                               .toString());
    const QCommandLineOption serverOption(QStringLiteral("server"),
                                          QStringLiteral("Base address of the metering server (remembered)."),
                                          QStringLiteral("url"));
    const QCommandLineOption simulateOption(
        QStringLiteral("simulate"),
        QStringLiteral("Run a simulated ZORVA device and, unless --server or VELMORA_SERVER_URL names one, a "
                       "local metering server."));
    parser.addOption(modulesOption);
    parser.addOption(serverOption);
    parser.addOption(simulateOption);
    const QCommandLineOption simAddressOption(
        QStringLiteral("sim-address"), QStringLiteral("Primary address of the simulated device, 0..250."),
        QStringLiteral("address"), QStringLiteral("1"));
    parser.addOption(simAddressOption);
    parser.process(app);
    quint8 simulatedAddress = 0;
    if (!DeviceSimulation::parseAddress(parser.value(simAddressOption), &simulatedAddress)) {
        std::fprintf(stderr, "--sim-address: a primary address 0..250 is expected, not \"%s\"\n",
                     qPrintable(parser.value(simAddressOption)));
        return 2;
    }

    if (parser.isSet(serverOption))
        settings.setValue(QStringLiteral("serverUrl"), parser.value(serverOption));

    ServerEmulation serverEmulation;
    if (parser.isSet(simulateOption) && !parser.isSet(serverOption) &&
        qEnvironmentVariableIsEmpty("VELMORA_SERVER_URL")) {
        QString error;
        if (serverEmulation.start(&error))
            std::fprintf(stderr,
                         "Metering server emulated at %s: login \"%s\", password \"%s\"; uploads go to %s\n",
                         qPrintable(serverEmulation.baseAddress()), ServerEmulation::kLogin,
                         ServerEmulation::kPassword, qPrintable(serverEmulation.storageDir()));
        else
            std::fprintf(stderr, "Metering-server emulator not started: %s\n", qPrintable(error));
    }

    // Started before the module pages, whose port lists then offer and preselect its port.
    DeviceSimulation deviceSimulation;
    if (parser.isSet(simulateOption)) {
        QString error;
        if (deviceSimulation.start(simulatedAddress, &error))
            std::fprintf(stderr, "Simulated ZORVA at address %u on %s\n", unsigned(simulatedAddress),
                         qPrintable(deviceSimulation.portPath()));
        else
            std::fprintf(stderr, "Device simulator not started: %s\n", qPrintable(error));
    }

    ModuleRegistry cores;
    cores.loadFolder(root.absoluteFilePath(QStringLiteral("core")));
    ModuleRegistry modules;
    modules.loadFolder(parser.value(modulesOption));
    for (const QString &error : cores.errors() + modules.errors())
        std::fprintf(stderr, "%s\n", qPrintable(error));

    TModuleMap all = cores.modules();
    for (auto it = modules.modules().cbegin(); it != modules.modules().cend(); ++it)
        all.insert(it.key(), it.value());

    HostWindow window;
    int pages = 0;
    for (QPluginLoader *loader : modules.modules()) {
        QObject *instance = loader->instance();
        auto *module = qobject_cast<module::Interface *>(instance);
        if (!module)
            continue;
        module->setModules(all);
        if (window.addModule(module, instance))
            ++pages;
    }
    if (pages == 0) {
        std::fprintf(stderr, "No module page could be opened from %s\n",
                     qPrintable(parser.value(modulesOption)));
        return 1;
    }
    window.show();
    return app.exec();
}
