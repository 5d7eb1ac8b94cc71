#include "module/module.h"

#include "common/message_boxes.h"
#include "form/form.h"

Module::Module(QObject *parent)
    : QObject(parent), m_name(tr("mod_configzorvaMbus")), m_version(tr("0.0.1")),
      m_description(tr("Модуль для работы с ZORVA. Опрос и управление приборами.")),
      m_group(tr("Конфигураторы")), m_title(tr("Конфигуратор ZORVA MBus")), m_author(tr("Команда ZORVA"))
{
}

QWidget *Module::createWidget(QWidget *parent)
{
    auto *form = new Form(parent);
    connect(form, &Form::showBusy, this, &Module::showBusy);
    connect(form, &Form::hideBusy, this, &Module::hideBusy);
    connect(form, &Form::callModule, this, &Module::callModule);
    if (form->initialize(m_modules))
        return form;
    showErrorBox(form->errorString(), parent);
    form->close();
    form->deleteLater();
    return nullptr;
}
