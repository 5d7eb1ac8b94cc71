#pragma once

// The one place the configurator asks for a file name to save to. Production shows
// QFileDialog::getSaveFileName; tests install a chooser that answers from a script.

#include <QString>

class QWidget;

class SaveFileChooser
{
public:
    virtual ~SaveFileChooser() = default;
    // The chosen file name, or an empty string for a cancelled dialog.
    virtual QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir,
                                       const QString &filter) = 0;
};

// Installs a chooser (not owned) for the whole application, plug-ins included; nullptr restores the
// real dialog.
void setSaveFileChooser(SaveFileChooser *chooser);

// The chosen file name, or an empty string when the dialog was cancelled.
QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir,
                           const QString &filter);
