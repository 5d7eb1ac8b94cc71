#include "tests/support/box_recorder.h"

BoxRecorder::BoxRecorder()
{
    setBoxPresenter(this);
}

BoxRecorder::~BoxRecorder()
{
    setBoxPresenter(nullptr);
}

int BoxRecorder::present(const BoxRequest &request, QWidget *)
{
    boxes << request;
    return answers.isEmpty() ? 0 : answers.takeFirst();
}

QStringList BoxRecorder::texts() const
{
    QStringList result;
    for (const BoxRequest &box : boxes)
        result << box.text;
    return result;
}
