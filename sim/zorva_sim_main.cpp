// zorva-sim: a ZORVA device on a pseudo-terminal. Prints the port to open and runs until SIGINT or
// SIGTERM.

#include "sim/device_simulator.h"
#include "sim/stop_signals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <cstdio>

namespace
{

int fail(const QString &text)
{
    std::fprintf(stderr, "zorva-sim: %s\n", qPrintable(text));
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zorva-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "ZORVA device simulator on a pseudo-terminal. Prints the port path, then answers requests "
        "on it until interrupted."));
    parser.addHelpOption();
    const QCommandLineOption linkOption(
        QStringLiteral("link"), QStringLiteral("Stable symbolic link to the port."), QStringLiteral("path"));
    const QCommandLineOption addressOption(QStringLiteral("address"),
                                           QStringLiteral("Primary M-Bus address, 0..250 (default 1)."),
                                           QStringLiteral("n"));
    const QCommandLineOption versionOption(
        QStringLiteral("version"),
        QStringLiteral("Software version in hex, e.g. 0330 (16 channels) or 0410 (2 channels)."),
        QStringLiteral("hex"));
    const QCommandLineOption speedOption(
        QStringLiteral("speed"), QStringLiteral("Line speed: 1200, 2400, 4800 or 9600 (default 2400)."),
        QStringLiteral("baud"));
    const QCommandLineOption stateOption(
        QStringLiteral("state"), QStringLiteral("JSON state file: loaded at start, saved on every change."),
        QStringLiteral("file"));
    const QCommandLineOption faultOption(
        QStringLiteral("fault"),
        QStringLiteral("Fault in every answer: %1.").arg(sim::faultNames().join(QStringLiteral(", "))),
        QStringLiteral("name"));
    const QCommandLineOption turnaroundOption(QStringLiteral("turnaround"),
                                              QStringLiteral("Pause before answering, ms (default %1).")
                                                  .arg(sim::DeviceSimulator::kDefaultTurnaroundMs),
                                              QStringLiteral("ms"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
                                           QStringLiteral("Print every request and answer on stderr."));
    parser.addOptions({linkOption, addressOption, versionOption, speedOption, stateOption, faultOption,
                       turnaroundOption, verboseOption});
    parser.process(app);

    sim::DeviceSimulator device;
    sim::DeviceModel &model = device.model();
    const QString stateFile = parser.value(stateOption);
    QString error;
    if (!stateFile.isEmpty() && QFileInfo::exists(stateFile) && !model.load(stateFile, &error))
        return fail(QStringLiteral("cannot load %1: %2").arg(stateFile, error));

    if (parser.isSet(addressOption) &&
        !sim::DeviceModel::parseAddress(parser.value(addressOption), &model.address))
        return fail(QStringLiteral("the address must be 0..250"));
    bool ok = true;
    if (parser.isSet(versionOption)) {
        const QString text = parser.value(versionOption);
        const uint version = text.toUInt(&ok, 16);
        if (!ok || text.size() != 4)
            return fail(QStringLiteral("the version must be four hex digits, e.g. 0330"));
        model.softwareVersion = static_cast<quint16>(version);
    }
    if (parser.isSet(speedOption)) {
        const int baud = parser.value(speedOption).toInt();
        quint8 code = 0xBA;
        while (code <= 0xBD && sim::DeviceModel::baudRateOf(code) != baud)
            ++code;
        if (code > 0xBD)
            return fail(QStringLiteral("the speed must be 1200, 2400, 4800 or 9600"));
        model.speedCode = code;
    }
    if (parser.isSet(faultOption)) {
        sim::Fault fault = sim::Fault::None;
        if (!sim::faultFromName(parser.value(faultOption), &fault))
            return fail(QStringLiteral("unknown fault; one of: %1")
                            .arg(sim::faultNames().join(QStringLiteral(", "))));
        device.setFault(fault, true);
    }
    if (parser.isSet(turnaroundOption)) {
        const int ms = parser.value(turnaroundOption).toInt(&ok);
        if (!ok || ms < 0)
            return fail(QStringLiteral("the turnaround must be a number of milliseconds"));
        device.setTurnaroundMs(ms);
    }

    if (!stateFile.isEmpty()) {
        const auto save = [&model, stateFile] {
            QString saveError;
            if (!model.save(stateFile, &saveError))
                fail(QStringLiteral("cannot save %1: %2").arg(stateFile, saveError));
        };
        save();
        QObject::connect(&device, &sim::DeviceSimulator::modelChanged, &app, save);
    }
    if (parser.isSet(verboseOption)) {
        QObject::connect(&device, &sim::DeviceSimulator::requestHandled, &app,
                         [](const QByteArray &request, const QByteArray &answer) {
                             std::fprintf(stderr, "-> %s\n<- %s\n", request.toHex(' ').constData(),
                                          answer.isEmpty() ? "(silence)" : answer.toHex(' ').constData());
                         });
    }

    if (!quitOnStopSignals(app))
        return fail(QStringLiteral("cannot install the signal handlers"));

    if (!device.start(&error))
        return fail(QStringLiteral("cannot open a pseudo-terminal: %1").arg(error));
    if (parser.isSet(linkOption) && !device.makeSymlink(parser.value(linkOption), &error))
        return fail(error);
    std::printf("%s\n", qPrintable(parser.isSet(linkOption) ? parser.value(linkOption) : device.portPath()));
    std::fflush(stdout);
    return app.exec();
}
