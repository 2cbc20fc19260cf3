// The window's frame: toolbar, lower bar, the library page's boxes, the picture for the tray.
#include "views/controls/PlaySliderBar.h"
#include "views/controls/SearchField.h"
#include "views/controls/SoundSlider.h"
#include "views/controls/TextButton.h"
#include "views/window/DisplayBox.h"
#include "views/window/DockContentView.h"
#include "views/window/LibraryPage.h"
#include "views/window/MainWindowView.h"
#include "views/window/PlayPanel.h"
#include "views/window/StatusLine.h"
#include "views/window/TabButton.h"

#include <QApplication>
#include <QEventLoop>
#include <QLabel>
#include <gtest/gtest.h>

namespace {

QImage picture(int side) { return DockContentView::shared().display().pixmap(QSize(side, side), 1.0).toImage(); }

} // namespace

TEST(LibraryPage, SlidesTheTagEditorInAndOut) {
    LibraryPage page(/*parent=*/nullptr);
    page.resize(900, 501);
    page.show();
    EXPECT_EQ(page.displayBox()->width(), 713);
    EXPECT_TRUE(page.editBox()->isHidden());
    page.setExpanded(/*isExpanded=*/true, /*animated=*/false);
    EXPECT_EQ(page.displayBox()->width(), 526);
    EXPECT_EQ(page.editBox()->geometry(), QRect(713, 0, 187, 501));
    page.resize(1200, 600);
    EXPECT_EQ(page.displayBox()->width(), 826);

    page.setExpanded(/*isExpanded=*/false, /*animated=*/true);
    EXPECT_FALSE(page.isExpanded());
    EXPECT_EQ(page.displayBox()->width(), 826);
    page.setExpanded(/*isExpanded=*/true, /*animated=*/true); // turned back on its way
    page.setExpanded(/*isExpanded=*/false, /*animated=*/true);
    QEventLoop loop;
    QObject::connect(&page, &LibraryPage::expansionFinished, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(page.displayBox()->width(), 1013);
    EXPECT_TRUE(page.editBox()->isHidden());

    page.setExpanded(/*isExpanded=*/true, /*animated=*/true);
    page.hide(); // nobody sees the rest of the way
    EXPECT_EQ(page.displayBox()->width(), 826);
}

TEST(LibraryPage, KeepsTheEarlierDisplayViewHidden) {
    LibraryPage page(/*parent=*/nullptr);
    auto *list = new QLabel("list");
    auto *tools = new QLabel("tools");
    page.setDisplayView(list);
    page.setDisplayView(tools);
    EXPECT_TRUE(list->isHidden() && !tools->isHidden());
    page.setDisplayView(list);
    EXPECT_TRUE(!list->isHidden() && tools->isHidden());
}

TEST(MainWindowView, SpreadsItsToolbarWithoutOverlap) {
    MainWindowView window;
    for (const int width : {900, 901, 1040, 1400, 3000}) {
        SCOPED_TRACE(width);
        window.resize(width, 700);
        window.show();
        int right = 0;
        for (const QWidget *control : std::initializer_list<QWidget *>{
                 window.recordingBtn(), window.cutBtn(), window.playBtn(), window.displayBox(), window.soundSlider(),
                 window.searchField(), window.recorderBtn()}) {
            EXPECT_GE(control->x(), right);
            right = control->x() + control->width();
        }
        EXPECT_LE(window.maxVolumeBtn()->geometry().right(), window.searchField()->x());
        EXPECT_LE(window.libraryBtn()->geometry().right(), width);
    }
}

TEST(MainWindowView, KeepsItsTextsInTheirPlacesInARightToLeftDesktop) {
    const auto look = [](Qt::LayoutDirection direction) {
        QApplication::setLayoutDirection(direction);
        MainWindowView window;
        window.setBelowHided(/*isHidden=*/false);
        window.editBtn()->show();
        window.lblStatus()->setText("120 tracks, 2.6 hours");
        window.displayBox()->showPlayPanel(/*isShown=*/true);
        window.displayBox()->playPanel()->setTitle("Old Signal");
        window.displayBox()->playPanel()->setLeftTime("-0:18");
        return window.grab().toImage();
    };
    EXPECT_EQ(look(Qt::RightToLeft), look(Qt::LeftToRight));
}

TEST(MainWindowView, TabReachesEveryControlFromLeftToRight) {
    MainWindowView window;
    LibraryPage page(/*parent=*/nullptr);
    auto *view = new QWidget;
    view->setFocusPolicy(Qt::StrongFocus);
    window.addPage(page);
    page.setDisplayView(view); // behind addPage(), as the program does it
    window.showPage(page);
    window.setButtonImage2(1);
    window.setBelowHided(/*isHidden=*/false);
    window.editBtn()->show();
    window.searchField()->show();
    window.show();
    window.activateWindow();
    window.recordingBtn()->setFocus();
    QWidgetList met;
    for (QWidget *next = window.recordingBtn()->nextInFocusChain(); next != window.recordingBtn();
         next = next->nextInFocusChain()) {
        if ((next->focusPolicy() & Qt::TabFocus) && next->isEnabled() && next->isVisible())
            met.append(next);
    }
    const QWidgetList toolbar = {window.cutBtn(),      window.playBtn(),      window.minVolumeBtn(),
                                 window.soundSlider(), window.maxVolumeBtn(), window.searchField(),
                                 window.recorderBtn(), window.libraryBtn()};
    const QWidgetList rest = {view, window.filteradsBtn(), window.showFinderBtn(), window.addToItunesBtn(),
                              window.editBtn()};
    EXPECT_EQ(met.mid(0, toolbar.size()), toolbar);
    EXPECT_EQ(met.mid(met.size() - rest.size()), rest);
    for (const QWidget *widget : met)
        EXPECT_TRUE(widget == view || !widget->accessibleName().isEmpty());
}

TEST(DisplayBox, ShowsWhatPlaysInPlaceOfARecording) {
    DisplayBox box(/*parent=*/nullptr);
    EXPECT_TRUE(box.playPanel()->isHidden() && box.recordSpectrum()->isHidden());
    box.showPlayPanel(/*isShown=*/true);
    EXPECT_TRUE(!box.playPanel()->isHidden() && box.recordSpectrum()->isHidden());
    PlayPanel &panel = *box.playPanel();
    panel.setPlayedTime("0:59  ");
    panel.setLeftTime("-3:00  ");
    const QRect narrow = panel.playSliderBar()->geometry();
    panel.setPlayedTime("100:00:59  ");
    EXPECT_LT(panel.playSliderBar()->width(), narrow.width());
    for (const QPixmap &cover : {QPixmap(), QPixmap(3, 900), QPixmap(1, 1)}) {
        panel.setCover(cover);
        EXPECT_FALSE(box.grab().isNull());
    }
    box.showPlayPanel(/*isShown=*/false);
    EXPECT_TRUE(panel.isHidden() && !box.recordSpectrum()->isHidden());
}

TEST(DockContentView, TellsStateAndCountInEverySizeAndItsDotsMoveOnlyWhileItRecords) {
    DockContentView &view = DockContentView::shared();
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256}) {
        SCOPED_TRACE(side);
        QList<QImage> seen;
        for (const int status : {0, 1, 2}) {
            for (const int count : {0, 9, 12, 128, 1234}) {
                view.setRecordStatus(status);
                view.setRecordedMusicCount(count);
                const QImage shown = picture(side);
                EXPECT_EQ(shown.size(), QSize(side, side));
                EXPECT_FALSE(seen.contains(shown));
                seen.append(shown);
            }
        }
    }
    view.setRecordStatus(2);
    const QImage one = picture(128), two = picture(128), three = picture(128);
    EXPECT_TRUE(one != two && two != three && three != one);
    EXPECT_EQ(picture(128), one);
    view.setRecordStatus(1);
    EXPECT_EQ(picture(128), picture(128));
}
