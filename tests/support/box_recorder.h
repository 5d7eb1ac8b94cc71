#pragma once

#include "common/message_boxes.h"

#include <QList>
#include <QVector>

// Replaces the modal boxes while it lives: records every box and answers from a script
// (0 when the script is used up).
class BoxRecorder : public BoxPresenter
{
public:
    BoxRecorder();
    ~BoxRecorder() override;

    int present(const BoxRequest &request, QWidget *parent) override;

    QVector<BoxRequest> boxes;
    QList<int> answers;

    QStringList texts() const;
    void clear() { boxes.clear(); }
};
