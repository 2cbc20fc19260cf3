// What an import shows, and other work that takes its time.
#include "views/dialogs/ImportFileView.h"
#include "views/dialogs/ImportResultView.h"

#include "support/Gestures.h"
#include "views/controls/ProgressLine.h"
#include "views/dialogs/BusyTurns.h"

#include <QClipboard>
#include <QLabel>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

struct Cancelled final : ImportFileViewDelegate {
    void cancelButtonClick() override { ++times; }
    int times = 0;
};

} // namespace

TEST(ImportFileView, IsLeftByItsButtonEscapeAndClose) {
    Cancelled delegate;
    QWidget window;
    window.show();
    ImportFileView view(delegate, &window);
    view.show();
    EXPECT_EQ(QApplication::activeModalWidget(), &view);
    press(view, Qt::Key_Return);
    EXPECT_EQ(delegate.times, 0);
    press(view, Qt::Key_Escape);
    view.findChild<QPushButton *>()->click();
    view.close();
    EXPECT_EQ(delegate.times, 3);
    EXPECT_TRUE(view.isVisible()); // until the import has ended
    view.disableCancel();
    press(view, Qt::Key_Escape);
    EXPECT_EQ(delegate.times, 3);
    view.setMessage("/" + QString(5000, u'x') + "/<b>Harbour\nBells</b>.m4a"); // of a path, the end tells most
    EXPECT_TRUE(view.findChild<QLabel *>()->text().endsWith("/<b>Harbour Bells</b>.m4a"));
}

TEST(ImportResultView, ListsNamesAndGoesWithItsButton) {
    QWidget window;
    window.show();
    QPointer<ImportResultView> view = new ImportResultView(&window);
    view->setFiles({});
    view->setFiles({"/a/<b>.mp3", "/a/", "/a/two\nlines.m4a"});
    view->runModal();
    EXPECT_EQ(QApplication::activeModalWidget(), view);
    EXPECT_EQ(view->findChild<QLabel *>()->text(), "Import finished. 3 file(s) added failed.");
    auto *list = view->findChild<QListView *>();
    ASSERT_EQ(list->model()->rowCount(), 2);
    EXPECT_EQ(list->model()->index(0, 0).data(), "<b>.mp3");
    EXPECT_EQ(list->model()->index(0, 0).data(Qt::ToolTipRole), "<span>/a/&lt;b&gt;.mp3</span>");
    list->selectAll();
    list->setFocus();
    emit list->findChild<QShortcut *>()->activated();
    EXPECT_EQ(QApplication::clipboard()->text(), "<b>.mp3\ntwo lines.m4a");
    view->findChild<QPushButton *>()->click();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(view.isNull());
}

TEST(BusyTurns, LetsOthersWorkAndHoldsTheUserOffTheWindow) {
    QWidget window;
    QDialog question(&window);
    window.show();
    question.setWindowModality(Qt::WindowModal);
    question.show();
    {
        bool hasHadItsTurn = false;
        QTimer::singleShot(0, &window, [&] { hasHadItsTurn = true; });
        BusyTurns turns(&window, "Removing...", 1'000'000);
        for (int i = 0; i < 1'000'000 && QApplication::activeModalWidget() == &question; ++i) {
            QThread::usleep(100);
            turns.next();
        }
        EXPECT_TRUE(hasHadItsTurn);
        auto *sheet = qobject_cast<ProgressSheet *>(QApplication::activeModalWidget());
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(sheet->parentWidget(), &question);
        press(*sheet, Qt::Key_Escape);
        EXPECT_TRUE(sheet->isVisible());
        EXPECT_GT(sheet->findChild<ProgressLine *>()->value(), 100);
    }
    EXPECT_EQ(QApplication::activeModalWidget(), &question);
}
