#include "sdk/module_interface.h"
#include "tests/support/box_recorder.h"
#include "tests/support/host_fixture.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QtTest>

// The slot table as a vendor host sees it, declared from the table alone (other names, same
// order). Calling through it proves the plug-in's vtable matches the host's. It has external
// linkage on purpose: in an anonymous namespace the optimiser sees no implementation of it and
// turns the calls into pure-virtual calls.
namespace vendor_host
{

class VendorSlotTable
{
public:
    virtual bool s0() const = 0;
    virtual QString s1() const = 0;
    virtual QString s2() const = 0;
    virtual QString s3() const = 0;
    virtual QString s4() const = 0;
    virtual QString s5() const = 0;
    virtual QString s6() const = 0;
    virtual bool s7() const = 0;
    virtual QString s8() const = 0;
    virtual bool s9() const = 0;
    virtual bool s10() const = 0;
    virtual bool s11() const = 0;
    virtual bool s12() const = 0;
    virtual bool s13() const = 0;
    virtual int s14() const = 0;
    virtual QObject *s15() const = 0;
    virtual QWidget *s16(QWidget *) = 0;
    virtual void s17(const TModuleMap &) = 0;
    virtual bool s18() const = 0;
    virtual void s19() = 0;

protected:
    ~VendorSlotTable() = default;
};

} // namespace vendor_host

namespace
{

QString pluginPath()
{
    return CoreServices::stageDir() + QStringLiteral("/modules/libmod_configzorvaMbus.so");
}

} // namespace

class TestPluginLoading : public QObject
{
    Q_OBJECT

private slots:
    void metadataNamesTheModule();
    void instanceIsASingleton();
    void slotTableValues();
    void signalsInOrder();
    void missingRequiredServiceGivesNoWidget_data();
    void missingRequiredServiceGivesNoWidget();
    void allServicesGiveAWidget();
    void formSignalsReachTheHostThroughTheModule();

private:
    module::Interface *loadModule()
    {
        m_loader.setFileName(pluginPath());
        QObject *instance = m_loader.instance();
        if (!instance)
            qWarning() << m_loader.errorString();
        return qobject_cast<module::Interface *>(instance);
    }
    QPluginLoader m_loader;
};

void TestPluginLoading::metadataNamesTheModule()
{
    QPluginLoader loader(pluginPath());
    const QJsonObject meta = loader.metaData();
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("velmora.mod_configzorvaMbus.ModuleInterface"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("Module"));
    QVERIFY(!loader.isLoaded());
}

void TestPluginLoading::instanceIsASingleton()
{
    QPluginLoader first(pluginPath());
    QPluginLoader second(pluginPath());
    QObject *a = first.instance();
    QVERIFY2(a, qPrintable(first.errorString()));
    QCOMPARE(second.instance(), a);
    QCOMPARE(first.instance(), a);
    QVERIFY(qobject_cast<module::Interface *>(a));
    QCOMPARE(a->parent(), static_cast<QObject *>(nullptr));
}

// Calling through a table of another class is what a vendor host compiled apart from the plug-in
// does; UBSan's vptr check, which compares the object's dynamic type, has to be left out here.
#if defined(__GNUC__)
__attribute__((no_sanitize("vptr")))
#endif
void TestPluginLoading::slotTableValues()
{
    module::Interface *module = loadModule();
    QVERIFY(module);
    auto *vendor = reinterpret_cast<vendor_host::VendorSlotTable *>(module);
    QCOMPARE(vendor->s0(), true);
    QCOMPARE(vendor->s1(), QStringLiteral("mod_configzorvaMbus"));
    QVERIFY(!vendor->s2().isEmpty());
    QCOMPARE(vendor->s3(), QStringLiteral("Модуль для работы с ZORVA. Опрос и управление приборами."));
    QCOMPARE(vendor->s4(), QStringLiteral("0.0.1"));
    QCOMPARE(vendor->s5(), QStringLiteral("automatic"));
    QCOMPARE(vendor->s6(), QStringLiteral("Конфигуратор ZORVA MBus"));
    QCOMPARE(vendor->s7(), true);
    QCOMPARE(vendor->s8(), QStringLiteral("Конфигураторы"));
    QCOMPARE(vendor->s9(), true);
    QCOMPARE(vendor->s10(), true);
    QCOMPARE(vendor->s11(), false);
    QCOMPARE(vendor->s12(), true);
    QCOMPARE(vendor->s13(), false);
    QCOMPARE(vendor->s14(), 1792);
    QCOMPARE(vendor->s15(), static_cast<QObject *>(nullptr));
    QCOMPARE(vendor->s18(), true);
    vendor->s19();
}

void TestPluginLoading::signalsInOrder()
{
    QVERIFY(loadModule());
    const QMetaObject *meta = m_loader.instance()->metaObject();
    QStringList names;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        if (meta->method(i).methodType() == QMetaMethod::Signal)
            names << QString::fromLatin1(meta->method(i).methodSignature());
    QCOMPARE(names, (QStringList{"showBusy(QString)", "hideBusy()", "callModule(QString,TStringMap*)",
                                 "exitNow()"}));
}

void TestPluginLoading::missingRequiredServiceGivesNoWidget_data()
{
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("message");
    QTest::newRow("no core_modem") << "core_modem"
                                   << "Не найден модуль ядра <core_modem>.";
    QTest::newRow("no core_profile") << "core_profile"
                                     << "Не найден модуль ядра <core_profile>.";
}

void TestPluginLoading::missingRequiredServiceGivesNoWidget()
{
    QFETCH(QString, missing);
    QFETCH(QString, message);
    module::Interface *module = loadModule();
    QVERIFY(module);
    CoreServices services({missing});
    BoxRecorder boxes;
    module->setModules(services.modules());
    QWidget parent;
    QCOMPARE(module->createWidget(&parent), static_cast<QWidget *>(nullptr));
    QCOMPARE(boxes.boxes.size(), 1);
    QCOMPARE(boxes.boxes.first().kind, BoxKind::Error);
    QCOMPARE(boxes.boxes.first().text, message);
}

void TestPluginLoading::allServicesGiveAWidget()
{
    module::Interface *module = loadModule();
    QVERIFY(module);
    CoreServices services;
    BoxRecorder boxes; // a machine without serial ports says so in a box
    module->setModules(services.modules());
    QWidget parent;
    QWidget *page = module->createWidget(&parent);
    QVERIFY(page);
    QVERIFY(page->objectName().startsWith(QLatin1String("FormConfigZorva_")));
    QCOMPARE(page->parentWidget(), &parent);
    for (const BoxRequest &box : boxes.boxes)
        QCOMPARE(box.text, QStringLiteral("com портов не обнаружено"));
}

void TestPluginLoading::formSignalsReachTheHostThroughTheModule()
{
    module::Interface *module = loadModule();
    QVERIFY(module);
    CoreServices services;
    BoxRecorder boxes;
    module->setModules(services.modules());
    QWidget parent;
    QWidget *page = module->createWidget(&parent);
    QVERIFY(page);
    QSignalSpy busy(m_loader.instance(), SIGNAL(showBusy(QString)));
    QSignalSpy idle(m_loader.instance(), SIGNAL(hideBusy()));
    QVERIFY(busy.isValid() && idle.isValid());
    QMetaObject::invokeMethod(page, "showBusy", Q_ARG(QString, QStringLiteral("работа")));
    QMetaObject::invokeMethod(page, "hideBusy");
    QCOMPARE(busy.count(), 1);
    QCOMPARE(busy.first().first().toString(), QStringLiteral("работа"));
    QCOMPARE(idle.count(), 1);
}

QTEST_MAIN(TestPluginLoading)
#include "tst_plugin_loading.moc"
