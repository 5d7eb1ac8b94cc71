#include "form/busy_indicator.h"

#include "form/form.h"

BusyIndicator::BusyIndicator(Form *form, const QString &text) : m_form(form)
{
    emit m_form->showBusy(text);
}

BusyIndicator::~BusyIndicator()
{
    emit m_form->hideBusy();
}
