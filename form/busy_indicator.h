#pragma once

#include <QString>

class Form;

// Shows the host's busy indicator with a text saying what runs, for as long as it lives.
class BusyIndicator
{
public:
    BusyIndicator(Form *form, const QString &text);
    ~BusyIndicator();
    BusyIndicator(const BusyIndicator &) = delete;
    BusyIndicator &operator=(const BusyIndicator &) = delete;

private:
    Form *m_form;
};
