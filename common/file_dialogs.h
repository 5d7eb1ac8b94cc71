#pragma once

// The one place the configurator asks for a file name to save to; tests script the answer.

#include <QString>
#include <functional>

class QWidget;

using SaveFileNameChooser =
    std::function<QString(QWidget *parent, const QString &caption, const QString &dir, const QString &filter)>;

// Installs a chooser; an empty function restores QFileDialog::getSaveFileName.
void setSaveFileNameChooser(SaveFileNameChooser chooser);

// The chosen file name, or an empty string when the dialog was cancelled.
QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter);
