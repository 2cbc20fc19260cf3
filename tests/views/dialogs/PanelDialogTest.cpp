// Questions to the user as dialogs.
#include "views/dialogs/PanelDialog.h"
#include "support/Gestures.h"

#include <QCheckBox>
#include <QTimer>
#include <gtest/gtest.h>

TEST(PanelDialog, EnterTakesTheFirstButtonAndEscapeOrTheEndOfItsWindowTheLast) {
    const Panel panel{.message = "Install <it>?",
                      .text = "A text",
                      .buttons = {"Install", "Later", "Cancel"},
                      .suppression = "Don't ask me again"};
    for (const auto &[key, isBoxTicked, button] : {
             std::tuple<Qt::Key, bool, int>{Qt::Key_Return, false, 0},
             {Qt::Key_Return, true, 0},
             {Qt::Key_Escape, true, 2},
         }) {
        SCOPED_TRACE(key);
        QTimer::singleShot(0, qApp, [key = key, isBoxTicked = isBoxTicked] {
            QWidget *dialog = QApplication::activeModalWidget();
            ASSERT_NE(dialog, nullptr);
            dialog->findChild<QCheckBox *>()->setChecked(isBoxTicked);
            press(*dialog, key);
        });
        const PanelAnswer answer = answerWithDialog(/*parent=*/nullptr, panel);
        EXPECT_EQ(answer.button, button);
        EXPECT_EQ(answer.suppressed, isBoxTicked);
    }
    auto *window = new QWidget;
    QTimer::singleShot(0, qApp, [window] { delete window; });
    EXPECT_EQ(answerWithDialog(window, panel).button, 2);
}
