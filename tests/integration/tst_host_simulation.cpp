// The host's --simulate: the simulated device's port is offered by the configurator page that the
// host builds from the plug-in, opens, and a command typed on the page reaches the device; the host
// executable itself starts the device at the --sim-address given, or rejects a bad one.

#include "host/device_simulation.h"
#include "host/host_window.h"
#include "link/frames.h"
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

class TestHostSimulation : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void pageOffersTheSimulatedPortAndTalksToIt();
    void hostProcess_data();
    void hostProcess();
};

void TestHostSimulation::cleanup()
{
    qApp->setProperty(ports::kSimulatedPortsProperty, QVariant());
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
    window.findChild<QToolButton *>(QStringLiteral("toolButton_openPort"))->click();

    // SND_NKE to the device's address, typed on the developer page: the device acknowledges.
    window.findChild<QLineEdit *>(QStringLiteral("lineEdit_command"))->setText(QStringLiteral("104005"));
    window.findChild<QPushButton *>(QStringLiteral("pushButton_sendCommand"))->click();
    const QString log = window.findChild<QTextBrowser *>(QStringLiteral("textBrowser"))->toPlainText();
    QVERIFY2(log.contains(QStringLiteral("dataAnswer e5")), qPrintable(log));
    QCOMPARE(boxes.texts(), QStringList());
}

void TestHostSimulation::hostProcess_data()
{
    QTest::addColumn<QString>("address"); // the --sim-address value
    QTest::addColumn<bool>("accepted");
    QTest::newRow("7") << QStringLiteral("7") << true;
    QTest::newRow("250") << QStringLiteral("250") << true;
    QTest::newRow("251, beyond the primary addresses") << QStringLiteral("251") << false;
    QTest::newRow("letters") << QStringLiteral("zorva") << false;
    QTest::newRow("empty") << QString() << false;
}

void TestHostSimulation::hostProcess()
{
    QFETCH(QString, address);
    QFETCH(bool, accepted);
    QProcess host; // killed with the object however the test ends
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    host.setProcessEnvironment(environment);
    host.start(CoreServices::stageDir() + QStringLiteral("/bin/zorva-host"),
               {QStringLiteral("--simulate"), QStringLiteral("--sim-address"), address});
    if (!accepted) {
        QVERIFY(host.waitForFinished(10000));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 2);
        QVERIFY(QString::fromLocal8Bit(host.readAllStandardError()).contains("--sim-address"));
        return;
    }
    QString stderrText;
    const QRegularExpression announced(
        QStringLiteral("Simulated ZORVA at address %1 on (\\S+)").arg(address));
    QRegularExpressionMatch match;
    QTRY_VERIFY_WITH_TIMEOUT((stderrText += QString::fromLocal8Bit(host.readAllStandardError()),
                              match = announced.match(stderrText), match.hasMatch()),
                             15000);

    // The announced port is the device at that address, answering on the host's event loop at 2400 8E1.
    QSerialPort line(match.captured(1));
    line.setBaudRate(2400);
    line.setParity(QSerialPort::EvenParity);
    QVERIFY2(line.open(QIODevice::ReadWrite), qPrintable(line.errorString()));
    line.write(frames::mbusShort(0x40, quint8(address.toUInt())));
    QByteArray answer;
    QTRY_COMPARE_WITH_TIMEOUT((answer += line.readAll()).toHex(), QByteArray("e5"), 3000);
    host.terminate();
    QVERIFY(host.waitForFinished(5000));
}

QTEST_MAIN(TestHostSimulation)
#include "tst_host_simulation.moc"
