// The host's --simulate: the simulated device's port is offered by the configurator page that the
// host builds from the plug-in, opens, and a command typed on the page reaches the device; the
// host executable itself starts the device and rejects a bad --sim-address.

#include "host/device_simulation.h"
#include "host/host_window.h"
#include "link/port_list.h"
#include "sdk/module_interface.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPluginLoader>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTextBrowser>
#include <QToolButton>
#include <QtTest>
#include <memory>

namespace
{

QString hostPath()
{
    return CoreServices::stageDir() + QStringLiteral("/bin/zorva-host");
}

QProcessEnvironment offscreenEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return environment;
}

} // namespace

class TestHostSimulation : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void addressOption_data();
    void addressOption();
    void pageOffersTheSimulatedPortAndTalksToIt();
    void hostRejectsABadAddress_data();
    void hostRejectsABadAddress();
    void hostRunsTheDeviceOnItsEventLoop();
};

void TestHostSimulation::cleanup()
{
    qApp->setProperty(ports::kSimulatedPortsProperty, QVariant());
}

void TestHostSimulation::addressOption_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("address");
    QTest::newRow("1") << QStringLiteral("1") << true << 1;
    QTest::newRow("250") << QStringLiteral("250") << true << 250;
    QTest::newRow("251, beyond the primary addresses") << QStringLiteral("251") << false << 0;
    QTest::newRow("letters") << QStringLiteral("abc") << false << 0;
    QTest::newRow("empty") << QString() << false << 0;
}

void TestHostSimulation::addressOption()
{
    QFETCH(QString, text);
    QFETCH(bool, accepted);
    QFETCH(int, address);
    quint8 parsed = 99;
    QCOMPARE(DeviceSimulation::parseAddress(text, &parsed), accepted);
    QCOMPARE(int(parsed), accepted ? address : 99);
}

void TestHostSimulation::pageOffersTheSimulatedPortAndTalksToIt()
{
    DeviceSimulation simulation;
    QString error;
    QVERIFY2(simulation.start(5, &error), qPrintable(error));
    QCOMPARE(ports::simulatedPorts(), QStringList{simulation.portPath()});

    QPluginLoader loader(CoreServices::stageDir() + QStringLiteral("/modules/libmod_configzorvaMbus.so"));
    auto *module = qobject_cast<module::Interface *>(loader.instance());
    QVERIFY2(module, qPrintable(loader.errorString()));
    CoreServices services;
    BoxRecorder boxes;
    module->setModules(services.modules());
    HostWindow window;
    QVERIFY(window.addModule(module, loader.instance()));

    auto *ports = window.findChild<QComboBox *>(QStringLiteral("comboBox_portList"));
    QVERIFY(ports);
    QCOMPARE(ports->currentText(), simulation.portPath());
    auto *toggle = window.findChild<QToolButton *>(QStringLiteral("toolButton_openPort"));
    toggle->click();
    QCOMPARE(toggle->text(), QStringLiteral("Закрыть порт"));
    QCOMPARE(boxes.texts(), QStringList());

    // SND_NKE to the device's address, typed on the developer page: the device acknowledges.
    window.findChild<QLineEdit *>(QStringLiteral("lineEdit_command"))->setText(QStringLiteral("104005"));
    window.findChild<QPushButton *>(QStringLiteral("pushButton_sendCommand"))->click();
    const QString log = window.findChild<QTextBrowser *>(QStringLiteral("textBrowser"))->toPlainText();
    QVERIFY2(log.contains(QStringLiteral("dataAnswer e5")), qPrintable(log));
    QCOMPARE(boxes.texts(), QStringList());
    toggle->click();
}

void TestHostSimulation::hostRejectsABadAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("300") << QStringLiteral("300");
    QTest::newRow("letters") << QStringLiteral("zorva");
}

void TestHostSimulation::hostRejectsABadAddress()
{
    QFETCH(QString, address);
    QProcess host;
    host.setProcessEnvironment(offscreenEnvironment());
    host.start(hostPath(), {QStringLiteral("--simulate"), QStringLiteral("--sim-address"), address});
    QVERIFY(host.waitForFinished(10000));
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(host.exitCode(), 2);
    QVERIFY(QString::fromLocal8Bit(host.readAllStandardError()).contains("--sim-address"));
}

void TestHostSimulation::hostRunsTheDeviceOnItsEventLoop()
{
    QProcess host;
    // However the test ends, the host goes with it.
    const std::unique_ptr<QProcess, void (*)(QProcess *)> stopHost(&host, [](QProcess *process) {
        process->terminate();
        if (!process->waitForFinished(5000)) {
            process->kill();
            process->waitForFinished(5000);
        }
    });
    host.setProcessEnvironment(offscreenEnvironment());
    host.start(hostPath(),
               {QStringLiteral("--simulate"), QStringLiteral("--sim-address"), QStringLiteral("7")});
    QVERIFY(host.waitForStarted());
    QString stderrText;
    const QRegularExpression announced(QStringLiteral("Simulated ZORVA at address 7 on (\\S+)"));
    QRegularExpressionMatch match;
    QTRY_VERIFY_WITH_TIMEOUT((stderrText += QString::fromLocal8Bit(host.readAllStandardError()),
                              match = announced.match(stderrText), match.hasMatch()),
                             15000);

    // The announced port is the device, answering on the host's event loop at 2400 8E1.
    QSerialPort line(match.captured(1));
    line.setBaudRate(2400);
    line.setParity(QSerialPort::EvenParity);
    QVERIFY2(line.open(QIODevice::ReadWrite), qPrintable(line.errorString()));
    line.write(QByteArray::fromHex("1040074716"));
    QByteArray answer;
    QTRY_COMPARE_WITH_TIMEOUT((answer += line.readAll()).toHex(), QByteArray("e5"), 3000);
}

QTEST_MAIN(TestHostSimulation)
#include "tst_host_simulation.moc"
