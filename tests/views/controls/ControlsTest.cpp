// The toolbar's controls as keyboard and mouse meet them.
#include "support/Gestures.h"
#include "support/Songs.h"
#include "views/controls/SketchButton.h"
#include "views/recording/RunTracksView.h"
#include "views/window/MainWindowView.h"

#include <gtest/gtest.h>

TEST(SketchButton, ShowsItsStateAndIsPressedByTheKeyboard) {
    SketchButton button({.rest = "cut", .hover = "cut-hover", .pressed = "cut-down", .disabled = "cut-disabled"},
                        {38, 38}, "Cut", /*parent=*/nullptr);
    int clicks = 0;
    QObject::connect(&button, &SketchButton::clicked, &button, [&] { ++clicks; });
    EXPECT_EQ(button.shownImage(), "cut");
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
        press(button, key);
    EXPECT_EQ(clicks, 3);

    button.setEnabled(false);
    EXPECT_EQ(button.shownImage(), "cut-disabled");
    press(button, Qt::Key_Return);
    EXPECT_EQ(clicks, 3);

    button.setImages(recorderStopImages(), "Stop");
    EXPECT_EQ(button.shownImage(), "Recorder_Stop_On"); // it has no drawing for being disabled
    EXPECT_EQ(button.accessibleName(), "Stop");
}

TEST(RunTracksView, ShowsTheTracksOfThisRunNewestFirst) {
    RunTracksView view(/*parent=*/nullptr);
    const SongPtr first = songWith({.title = "Glass Hill", .path = "/music/Glass Hill.m4a", .length = 223'000});
    first->setSize(8'900'000);
    const SongPtr second = songWith({.title = "Track12"});
    view.addSongItemOnMainThread(first);
    view.addSongItemOnMainThread(second);

    const auto text = [&](int row, int role) { return view.model()->index(row, 0).data(role).toString(); };
    EXPECT_EQ(text(0, Qt::DisplayRole), "Track12");
    EXPECT_EQ(text(1, RunTracksModel::kSecondLineRole), "3:43 · 8.9 MB");
    EXPECT_EQ(text(1, Qt::AccessibleTextRole), "Glass Hill, 3:43, 8.9 MB");
    EXPECT_EQ(text(1, Qt::ToolTipRole), "/music/Glass Hill.m4a");

    first->setTitle("Morning Line");
    QList<int> changedRows;
    QObject::connect(view.model(), &QAbstractItemModel::dataChanged, &view,
                     [&](const QModelIndex &index) { changedRows.append(index.row()); });
    view.updateSongItemOnMainThread(first);
    view.updateSongItemOnMainThread(std::make_shared<SongItem>());
    EXPECT_EQ(changedRows, QList<int>{1});

    std::shared_ptr<SongItem> activated;
    QObject::connect(&view, &RunTracksView::itemActivated, &view,
                     [&](const std::shared_ptr<SongItem> &song) { activated = song; });
    view.setCurrentIndex(view.model()->index(1, 0));
    press(view, Qt::Key_Return);
    EXPECT_EQ(activated, first);

    view.removeSongItemOnMainThread(first);
    view.removeSongItemOnMainThread(first);
    EXPECT_EQ(view.countOfSongItems(), 1);
}
