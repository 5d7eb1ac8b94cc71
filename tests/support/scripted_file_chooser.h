#pragma once

#include "common/file_dialogs.h"

#include <QStringList>

// Replaces the save dialog while it lives: records each question and answers from a script
// (an empty name, as a cancelled dialog, when the script is used up).
class ScriptedFileChooser : public SaveFileChooser
{
public:
    ScriptedFileChooser();
    ~ScriptedFileChooser() override;

    QString chooseSaveFileName(QWidget *parent, const QString &caption, const QString &dir,
                               const QString &filter) override;

    struct Question {
        QString caption, dir, filter;
    };
    QList<Question> questions;
    QStringList answers;
};
