// Standalone host: loads the core services and every module of the modules folder, hands each
// module the table of loaded modules and shows its page.

#include "host/device_simulation.h"
#include "host/host_options.h"
#include "host/host_window.h"
#include "host/module_registry.h"
#include "host/server_emulation.h"
#include "link/fast_exchange.h"
#include "sdk/module_interface.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QPluginLoader>
#include <QSettings>
#include <cstdio>

namespace
{

QDir installRoot()
{
    return QDir(QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("..")));
}

} // namespace

int main(int argc, char *argv[])
{
    // Help is printed without a display: no GUI application is needed for it.
    if (HostOptions::onlyAsksForHelp(argc, argv)) {
        QCoreApplication app(argc, argv);
        HostOptions options(installRoot(), QString());
        options.parser.process(app);
        return 0;
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("velmora"));
    QApplication::setApplicationName(QStringLiteral("zorva-host"));

    const QDir root = installRoot();
    QSettings settings;
    HostOptions options(root, settings.value(QStringLiteral("modulesDir")).toString());
    QCommandLineParser &parser = options.parser;
    parser.process(app);
    quint8 simulatedAddress = 0;
    if (!DeviceSimulation::parseAddress(parser.value(options.simAddress), &simulatedAddress)) {
        std::fprintf(stderr, "--sim-address: a primary address 0..250 is expected, not \"%s\"\n",
                     qPrintable(parser.value(options.simAddress)));
        return 2;
    }

    if (parser.isSet(options.server))
        settings.setValue(QStringLiteral("serverUrl"), parser.value(options.server));

    // Fast exchange reaches the module's page through the application object; the page publishes
    // every change there, and what it holds at exit is remembered for the next start.
    exchange::FastExchangeSettings fast;
    fast.enabled =
        parser.isSet(options.fastExchange) || settings.value(QStringLiteral("fastExchange")).toBool();
    fast.marginMs =
        settings.value(QStringLiteral("fastExchangeMarginMs"), exchange::kDefaultMarginMs).toInt();
    exchange::publishFastExchange(fast);

    ServerEmulation serverEmulation;
    if (parser.isSet(options.simulate) && !parser.isSet(options.server) &&
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
    if (parser.isSet(options.simulate)) {
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
    modules.loadFolder(parser.value(options.modules));
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
                     qPrintable(parser.value(options.modules)));
        return 1;
    }
    window.showMaximized();
    const int status = app.exec();
    fast = exchange::publishedFastExchange();
    settings.setValue(QStringLiteral("fastExchange"), fast.enabled);
    settings.setValue(QStringLiteral("fastExchangeMarginMs"), fast.marginMs);
    return status;
}
