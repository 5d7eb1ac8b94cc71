#include "common/message_boxes.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QVariant>

namespace
{

QString trBox(const char *text)
{
    return QCoreApplication::translate("QObject", text);
}

class ModalBoxPresenter : public BoxPresenter
{
public:
    int present(const BoxRequest &request, QWidget *parent) override
    {
        switch (request.kind) {
        case BoxKind::Error:
            QMessageBox::critical(parent, request.title, request.text, QMessageBox::Ok);
            return 0;
        case BoxKind::Information:
            QMessageBox::information(parent, request.title, request.text, QMessageBox::Ok);
            return 0;
        case BoxKind::Warning:
            QMessageBox::warning(parent, request.title, request.text, QMessageBox::Ok);
            return 0;
        case BoxKind::Confirmation:
            return confirm(request, parent);
        case BoxKind::Question:
            return QMessageBox::question(parent, request.title, request.text,
                                         QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
        }
        return 0;
    }

private:
    // A question box with text buttons; the default is the first, there is no escape button,
    // and the answer is the index of the pressed button.
    static int confirm(const BoxRequest &request, QWidget *parent)
    {
        QMessageBox box(QMessageBox::Question, request.title, request.text, QMessageBox::NoButton, parent);
        QList<QPushButton *> buttons;
        for (const QString &caption : request.buttonTexts)
            buttons << box.addButton(caption, QMessageBox::ActionRole);
        if (!buttons.isEmpty())
            box.setDefaultButton(buttons.first());
        box.setEscapeButton(static_cast<QAbstractButton *>(nullptr));
        box.exec();
        return buttons.indexOf(static_cast<QPushButton *>(box.clickedButton()));
    }
};

ModalBoxPresenter modalPresenter;

// The installed presenter lives on the application object, so a plug-in's copy of this code
// and the host's (or a test's) copy share it.
const char *const kPresenterProperty = "_zorva_boxPresenter";

BoxPresenter *activePresenter()
{
    if (QCoreApplication *app = QCoreApplication::instance()) {
        const QVariant installed = app->property(kPresenterProperty);
        if (installed.isValid())
            return static_cast<BoxPresenter *>(installed.value<void *>());
    }
    return &modalPresenter;
}

int present(BoxKind kind, const QString &title, const QString &text, QWidget *parent,
            const QStringList &buttons = {})
{
    return activePresenter()->present(BoxRequest{kind, title, text, buttons}, parent);
}

} // namespace

void setBoxPresenter(BoxPresenter *presenter)
{
    QCoreApplication::instance()->setProperty(
        kPresenterProperty, presenter ? QVariant::fromValue<void *>(presenter) : QVariant());
}

void showErrorBox(const QString &text, QWidget *parent)
{
    present(BoxKind::Error, trBox("Ошибка"), text, parent);
}

void showInformationBox(const QString &text, QWidget *parent)
{
    present(BoxKind::Information, trBox("Информация"), text, parent);
}

void showWarningBox(const QString &text, QWidget *parent)
{
    present(BoxKind::Warning, trBox("Внимание"), text, parent);
}

int showConfirmationBox(const QString &text, QWidget *parent)
{
    return present(BoxKind::Confirmation, trBox("Подтверждение"), text, parent,
                   {trBox("Да"), trBox("Отмена")});
}

bool showQuestionBox(const QString &text, QWidget *parent)
{
    return present(BoxKind::Question, trBox("Вопрос"), text, parent) == 1;
}

void showTitledBox(BoxKind kind, const QString &title, const QString &text, QWidget *parent)
{
    present(kind, title, text, parent);
}
