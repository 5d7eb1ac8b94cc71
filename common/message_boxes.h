#pragma once

// Every user-facing box of the configurator goes through here, so titles and buttons stay uniform
// and tests can replace the modal boxes with a recorder (setBoxPresenter).

#include <QString>
#include <QStringList>

class QWidget;

enum class BoxKind { Error, Information, Warning, Confirmation, Question };

struct BoxRequest {
    BoxKind kind;
    QString title;
    QString text;
    QStringList buttonTexts; // confirmation only; the other kinds use standard buttons
};

// Shows a box and returns the answer: the pressed button's index for a confirmation,
// 1 for Yes / 0 otherwise for a question, 0 for the rest.
class BoxPresenter
{
public:
    virtual ~BoxPresenter() = default;
    virtual int present(const BoxRequest &request, QWidget *parent) = 0;
};

// Installs a presenter (not owned) for the whole application, plug-ins included; nullptr
// restores the real modal QMessageBox presenter.
void setBoxPresenter(BoxPresenter *presenter);

void showErrorBox(const QString &text, QWidget *parent);       // "Ошибка", Ok
void showInformationBox(const QString &text, QWidget *parent); // "Информация", Ok
void showWarningBox(const QString &text, QWidget *parent);     // "Внимание", Ok
int showConfirmationBox(const QString &text, QWidget *parent); // "Подтверждение", "Да"/"Отмена"
bool showQuestionBox(const QString &text, QWidget *parent); // "Вопрос", Yes/No

// A box of the given kind under a caller's own title (file saves, server replies).
void showTitledBox(BoxKind kind, const QString &title, const QString &text, QWidget *parent);
