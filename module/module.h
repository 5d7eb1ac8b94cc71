#pragma once

#include "sdk/module_interface.h"

#include <QObject>

// The plug-in's root object: the identity record the host lists, and the factory of the
// configurator page.
class Module : public QObject, public module::Interface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "velmora.mod_configzorvaMbus.ModuleInterface" FILE "module.json")
    Q_INTERFACES(module::Interface)

public:
    explicit Module(QObject *parent = nullptr);

    bool isModule() const override { return true; }
    QString name() const override { return m_name; }
    QString author() const override { return m_author; }
    QString description() const override { return m_description; }
    QString version() const override { return m_version; }
    QString iconName() const override { return QStringLiteral("automatic"); }
    QString title() const override { return m_title; }
    bool hasWidget() const override { return true; }
    QString group() const override { return m_group; }
    bool isVisibleInMenu() const override { return true; }
    bool isEnabled() const override { return true; }
    bool isSingleInstance() const override { return false; }
    bool canClose() const override { return true; }
    bool isCore() const override { return false; }
    int properties() const override { return 0x700; }
    QObject *object() const override { return nullptr; }
    QWidget *createWidget(QWidget *parent) override;
    void setModules(const TModuleMap &modules) override { m_modules = modules; }
    bool isReady() const override { return true; }
    void notify() override {}

signals:
    void showBusy(QString text);
    void hideBusy();
    void callModule(QString name, TStringMap *parameters);
    void exitNow();

private:
    TModuleMap m_modules;
    QString m_name;
    QString m_version;
    QString m_description;
    QString m_group;
    QString m_title;
    QString m_author;
};
