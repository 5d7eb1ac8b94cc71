#include "common/file_dialogs.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QVariant>

namespace
{

// The installed chooser lives on the application object, so a plug-in's copy of this code and the
// host's (or a test's) copy share it, as the box presenter does.
const char *const kChooserProperty = "_zorva_saveFileChooser";

SaveFileChooser *installedChooser()
{
    if (QCoreApplication *app = QCoreApplication::instance()) {
        const QVariant installed = app->property(kChooserProperty);
        if (installed.isValid())
            return static_cast<SaveFileChooser *>(installed.value<void *>());
    }
    return nullptr;
}

} // namespace

void setSaveFileChooser(SaveFileChooser *chooser)
{
    QCoreApplication::instance()->setProperty(kChooserProperty,
                                              chooser ? QVariant::fromValue<void *>(chooser) : QVariant());
}

QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter)
{
    if (SaveFileChooser *chooser = installedChooser())
        return chooser->chooseSaveFileName(parent, caption, dir, filter);
    return QFileDialog::getSaveFileName(parent, caption, dir, filter);
}
