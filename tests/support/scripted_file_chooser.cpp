#include "tests/support/scripted_file_chooser.h"

ScriptedFileChooser::ScriptedFileChooser()
{
    setSaveFileChooser(this);
}

ScriptedFileChooser::~ScriptedFileChooser()
{
    setSaveFileChooser(nullptr);
}

QString ScriptedFileChooser::chooseSaveFileName(QWidget *, const QString &caption, const QString &dir,
                                                const QString &filter)
{
    questions.append({caption, dir, filter});
    return answers.isEmpty() ? QString() : answers.takeFirst();
}
