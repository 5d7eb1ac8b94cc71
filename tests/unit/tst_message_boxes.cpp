#include "common/message_boxes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QtTest>
#include <functional>

namespace
{

struct SeenBox {
    QString title;
    QString text;
    QStringList buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
};

// Waits for the modal box to come up, records what it shows and lets `act` close it.
void whenBoxShows(SeenBox *seen, std::function<void(QMessageBox *)> act)
{
    auto *poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, seen, act] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        poll->stop();
        poll->deleteLater();
        seen->title = box->windowTitle();
        seen->text = box->text();
        seen->icon = box->icon();
        for (QAbstractButton *button : box->buttons())
            seen->buttons << button->text();
        act(box);
    });
    poll->start(20);
}

QAbstractButton *buttonWithText(QMessageBox *box, const QString &text)
{
    for (QAbstractButton *button : box->buttons())
        if (button->text().remove(QLatin1Char('&')) == text)
            return button;
    return nullptr;
}

} // namespace

class TestMessageBoxes : public QObject
{
    Q_OBJECT

private slots:
    void realBoxesShowTheirTitlesAndButtons_data();
    void realBoxesShowTheirTitlesAndButtons();
    void confirmationReturnsPressedIndex_data();
    void confirmationReturnsPressedIndex();
    void questionClosedByWindowButtonIsNo();
    void questionYesIsTrue();
};

void TestMessageBoxes::realBoxesShowTheirTitlesAndButtons_data()
{
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QStringList>("buttons");
    QTest::newRow("error") << 0 << "Ошибка" << int(QMessageBox::Critical) << QStringList{"OK"};
    QTest::newRow("information") << 1 << "Информация" << int(QMessageBox::Information) << QStringList{"OK"};
    QTest::newRow("warning") << 2 << "Внимание" << int(QMessageBox::Warning) << QStringList{"OK"};
    QTest::newRow("confirmation") << 3 << "Подтверждение" << int(QMessageBox::Question)
                                  << QStringList{"Да", "Отмена"};
}

void TestMessageBoxes::realBoxesShowTheirTitlesAndButtons()
{
    QFETCH(int, which);
    QFETCH(QString, title);
    QFETCH(int, icon);
    QFETCH(QStringList, buttons);
    SeenBox seen;
    whenBoxShows(&seen, [](QMessageBox *box) { box->buttons().first()->click(); });
    const QString text = QStringLiteral("Нет ответа");
    switch (which) {
    case 0:
        showErrorBox(text, nullptr);
        break;
    case 1:
        showInformationBox(text, nullptr);
        break;
    case 2:
        showWarningBox(text, nullptr);
        break;
    default:
        showConfirmationBox(text, nullptr);
        break;
    }
    QCOMPARE(seen.title, title);
    QCOMPARE(seen.text, text);
    QCOMPARE(int(seen.icon), icon);
    QStringList shown;
    for (QString caption : seen.buttons)
        shown << caption.remove(QLatin1Char('&'));
    QCOMPARE(shown, buttons);
}

void TestMessageBoxes::confirmationReturnsPressedIndex_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("index");
    QTest::newRow("Да") << "Да" << 0;
    QTest::newRow("Отмена") << "Отмена" << 1;
}

void TestMessageBoxes::confirmationReturnsPressedIndex()
{
    QFETCH(QString, button);
    QFETCH(int, index);
    SeenBox seen;
    whenBoxShows(&seen, [button](QMessageBox *box) {
        QVERIFY(box->escapeButton() == nullptr);
        QCOMPARE(box->defaultButton()->text(), QStringLiteral("Да"));
        buttonWithText(box, button)->click();
    });
    QCOMPARE(showConfirmationBox(QStringLiteral("Очистить журналы?"), nullptr), index);
}

void TestMessageBoxes::questionClosedByWindowButtonIsNo()
{
    SeenBox seen;
    whenBoxShows(&seen, [](QMessageBox *box) { box->close(); });
    QCOMPARE(showQuestionBox(QStringLiteral("Продолжить?"), nullptr), false);
    QCOMPARE(seen.title, QStringLiteral("Вопрос"));
    QCOMPARE(seen.buttons.size(), 2);
}

void TestMessageBoxes::questionYesIsTrue()
{
    SeenBox seen;
    whenBoxShows(&seen, [](QMessageBox *box) { box->button(QMessageBox::Yes)->click(); });
    QCOMPARE(showQuestionBox(QStringLiteral("Продолжить?"), nullptr), true);
}

QTEST_MAIN(TestMessageBoxes)
#include "tst_message_boxes.moc"
