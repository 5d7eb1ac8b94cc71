#include "common/file_dialogs.h"

#include <QFileDialog>

namespace {
SaveFileNameChooser currentChooser;
}

void setSaveFileNameChooser(SaveFileNameChooser chooser)
{
    currentChooser = std::move(chooser);
}

QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter)
{
    if (currentChooser)
        return currentChooser(parent, caption, dir, filter);
    return QFileDialog::getSaveFileName(parent, caption, dir, filter);
}
