#pragma once

// Host plug-in interface. The vtable layout is part of the host's ABI: the 24 virtual operations
// below are declared in slot order and nothing virtual precedes slot 0 (the destructor is
// protected and non-virtual for that reason). Do not reorder, insert or remove members.

#include "sdk/tstringmap.h"

#include <QObject>
#include <QString>

class QWidget;

namespace module
{

class Interface
{
public:
    virtual bool isModule() const = 0;                      // slot 0
    virtual QString name() const = 0;                       // slot 1
    virtual QString author() const = 0;                     // slot 2
    virtual QString description() const = 0;                // slot 3
    virtual QString version() const = 0;                    // slot 4
    virtual QString iconName() const = 0;                   // slot 5
    virtual QString title() const = 0;                      // slot 6
    virtual bool hasWidget() const = 0;                     // slot 7
    virtual QString group() const = 0;                      // slot 8
    virtual bool isVisibleInMenu() const = 0;               // slot 9
    virtual bool isEnabled() const = 0;                     // slot 10
    virtual bool isSingleInstance() const = 0;              // slot 11
    virtual bool canClose() const = 0;                      // slot 12
    virtual bool isCore() const = 0;                        // slot 13
    virtual int properties() const = 0;                     // slot 14
    virtual QObject *object() const = 0;                    // slot 15
    virtual QWidget *createWidget(QWidget *parent) = 0;     // slot 16
    virtual void setModules(const TModuleMap &modules) = 0; // slot 17
    virtual bool isReady() const = 0;                       // slot 18
    virtual void notify() = 0;                              // slot 19

    // Signals, implemented by the plug-in's meta-object.
    virtual void showBusy(QString text) = 0;                           // slot 20
    virtual void hideBusy() = 0;                                       // slot 21
    virtual void callModule(QString name, TStringMap *parameters) = 0; // slot 22
    virtual void exitNow() = 0;                                        // slot 23

protected:
    ~Interface() = default;
};

} // namespace module

#define ModuleInterface_iid "velmora.Application.ModuleInterface/1.0"
Q_DECLARE_INTERFACE(module::Interface, ModuleInterface_iid)
