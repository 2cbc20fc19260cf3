// The track list as mouse, keys and the library meet it.
#include "views/library/ListViewCtr.h"

#include "platform/desktop/Panel.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "support/Gestures.h"
#include "support/MadeAudio.h"
#include "support/Songs.h"
#include "views/library/CustomWindow.h"
#include "views/library/MyMenuViewController.h"
#include "views/library/MyTableViewHeadView.h"
#include "views/library/TrackCell.h"
#include "views/library/TrackTableModel.h"

#include <QAbstractButton>
#include <QDataStream>
#include <QDir>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QTextLayout>
#include <QUrl>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

struct FakeLibrary final : ListViewCtrDelegate {
    SongArray all;
    int selections = 0, edits = 0;
    bool recording = false, identifies = true, edits_ = true, imports = true;
    SongArray asked;
    bool isMutableGet = false;
    std::optional<QStringList> playlists;
    QStringList handedOver, shown;
    QString playlist = "nothing";

    void selectedDidChange() override { ++selections; }
    void showEditTagsPanel() override { ++edits; }
    void toggleEdit() override { ++edits; }
    bool isRecording() const override { return recording; }
    const SongArray &allSongArray() const override { return all; }
    bool canIdentify() const override { return identifies; }
    bool canEditTags() const override { return edits_; }
    void getID3WithSongItem(const SongPtr &song) override { asked.append(song); }
    void getID3WithSongItems(const SongArray &songs, bool isMutable) override {
        asked += songs;
        isMutableGet = isMutable;
    }
    std::optional<QStringList> customPlaylists() const override { return playlists; }
    void addTrackItems(const QStringList &paths, const QString &name) override {
        handedOver = paths;
        playlist = name;
    }
    void showFile(const QString &path) override { shown.append(path); }
    bool canImport() const override { return imports; }
};

struct Paintings final : QObject {
    explicit Paintings(QObject &watched) { watched.installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override {
        count += event->type() == QEvent::Paint;
        return false;
    }
    int count = 0;
};

struct ListView : testing::Test {
    ListView() {
        for (const char *name : {"DoubleClickNotification", "RightMouseDownNotification", "SpaceDownNotification",
                                 "DeleteNotification", "HasImportedFiles", kMenuItemClickNotification})
            NotificationCenter::defaultCenter().addObserver(&owner, name,
                                                            [this](const Notification &news) { heard.append(news); });
        setPanelAnswerer([this](const Panel &panel) {
            panels.append(panel.text);
            return PanelAnswer{answer, false};
        });
        list.view()->resize(713, 501);
        list.view()->show();
    }

    SongPtr add(const QString &title, ID3Status status = ID3Status::NotAsked, bool hasFile = true) {
        SongPtr song = songWith({.title = title, .path = inHome(title + ".m4a"), .length = 1000 * title.size()});
        song->setGetID3Status(static_cast<int>(status));
        if (hasFile)
            makeFile(song->songPath(), "");
        list.songArray()->append(song);
        library.all.append(song);
        show();
        return song;
    }
    void fill(const QStringList &titles) {
        for (const QString &title : titles)
            add(title);
    }
    void show() {
        list.setSongArray(list.songArray());
        list.reloadData();
    }

    QPoint middle(int row, int column) { return table.cellRect(row, column).center(); }
    void hover(const QPoint &point) { mouse(viewport, QEvent::MouseMove, point, Qt::NoButton); }
    /// In the table itself.
    void key(int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {}) {
        press(table, key, modifiers, text);
    }
    QStringList heardNames() {
        QStringList names;
        for (const Notification &news : std::exchange(heard, {}))
            names.append(news.name);
        return names;
    }
    void clickHeader(int column) { emit table.headerView()->sectionClicked(column); }
    QStringList titles() const { return titlesOf(*list.songArray()); }
    CustomWindow *openWindow(int level) {
        for (CustomWindow *window : table.findChildren<CustomWindow *>())
            if (window->isOpen() && window->viewCtr()->menuLevel() == level)
                return window;
        throw std::runtime_error("no menu is open");
    }

    QObject owner;
    FakeLibrary library;
    ListViewCtr list{library};
    MyTableView &table = *list.tableView();
    QWidget &viewport = *table.viewport();
    QList<Notification> heard;
    QStringList panels;
    int answer = 1;
};

} // namespace

TEST_F(ListView, ShowsEachStateOfATrackAndNothingBeyondTheArray) {
    for (const auto &[status, identification, image, identified, spoken, tip] : {
             std::tuple<SongStatus, ID3Status, const char *, const char *, const char *, const char *>{
                 SongStatus::Idle, ID3Status::NotAsked, "", "", "Identify", ""},
             {SongStatus::Missing, ID3Status::Waiting, "notExisted", "", "Waiting", ""},
             {SongStatus::Playing, ID3Status::Identified, "playing_status", "successed", "Identified", "Identified"},
             {SongStatus::Paused, ID3Status::NotFound, "pause_status", "", "Edit", ""},
         }) {
        SCOPED_TRACE(spoken);
        list.songArray()->clear();
        add("A", identification)->setStatus(static_cast<int>(status));
        EXPECT_EQ(list.imageForRow(0, kStatusColumn, /*isSelected=*/false), image);
        EXPECT_EQ(list.imageForRow(0, kStatusColumn, /*isSelected=*/true), *image ? QString(image) + "_sel" : "");
        EXPECT_EQ(list.imageForRow(0, kIdentifyColumn, /*isSelected=*/true), identified);
        const QModelIndex cell = table.model()->index(0, kIdentifyColumn);
        EXPECT_EQ(cell.data(Qt::AccessibleTextRole).toString(), spoken);
        EXPECT_EQ(cell.data(Qt::ToolTipRole).toString(), tip);
    }
    list.songArray()->clear(); // the table has not been told yet
    EXPECT_FALSE(table.model()->index(0, kTitleColumn).data().isValid());
    table.grab();
    EXPECT_EQ(list.imageForRow(0, kStatusColumn, /*isSelected=*/false), "");
}

TEST_F(ListView, BusyRowsShowOneFrameAfterTheOther) {
    for (const ID3Status busy : {ID3Status::Searching, ID3Status::FetchingCover, ID3Status::Reserved})
        add("A", busy);
    list.startGettingID3();
    QStringList frames;
    for (int i = 0; i < 7; ++i)
        frames += list.imageForRow(i % 3, kIdentifyColumn, /*isSelected=*/false);
    EXPECT_EQ(frames.first(), "progress_01.png");
    EXPECT_EQ(frames.mid(5), (QStringList{"progress_06.png", "progress_01.png"}));
}

TEST_F(ListView, KeepsSelectedRowNumbersOverAReload) {
    fill({"A", "B", "C", "D"});
    table.selectRowIndexes({3, 1, 9, -1});
    EXPECT_EQ(table.selectedRowIndexes(), (QList<int>{1, 3}));
    EXPECT_EQ(library.selections, 1);
    EXPECT_EQ(list.imageFlowView()->selectedIndex(), 1);
    list.reloadData();
    list.songArray()->prepend(list.songArray()->last());
    list.reloadData();
    table.selectRowIndexes({1, 3});
    EXPECT_EQ(library.selections, 1);
    list.songArray()->resize(2);
    list.reloadData();
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{1});
    EXPECT_EQ(library.selections, 2);
}

TEST_F(ListView, TableAndCoverFlowStayOnTheSameTrack) {
    fill({"A", "B", "C", "D"});
    list.setImageFlowSelectedIndex(2);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{2});
    table.selectRowIndexes({1, 3}); // the flow's echo does not collapse it
    EXPECT_EQ(table.selectedRowIndexes(), (QList<int>{1, 3}));
    EXPECT_EQ(list.imageFlowView()->selectedIndex(), 1);
    list.setImageFlowSelectedIndex(0);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{0});
    list.setIsNeedChangeTableViewSelected(false);
    list.setImageFlowSelectedIndex(3);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{0});
    list.setImageFlowSelectedIndex(2);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{2});
    table.selectRowIndexes({});
    list.cellWasDoubleClickedAtIndex(*list.imageFlowView(), 2);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{2}) << "what plays is a selected row";
}

TEST_F(ListView, SortsByTheHeaderAndKeepsTheSelectedTracks) {
    fill({"Quay", "low", "Sundial"});
    table.selectRowIndexes({0, 1});
    clickHeader(kTitleColumn);
    EXPECT_EQ(titles(), (QStringList{"Quay", "low", "Sundial"})) << "a list that keeps its order";

    list.setIsCanSorted(true);
    clickHeader(kTitleColumn);
    EXPECT_EQ(titles(), (QStringList{"low", "Quay", "Sundial"}));
    EXPECT_EQ(table.selectedRowIndexes(), (QList<int>{0, 1}));
    clickHeader(kTitleColumn);
    EXPECT_EQ(titles(), (QStringList{"Sundial", "Quay", "low"}));
    EXPECT_EQ(table.selectedRowIndexes(), (QList<int>{1, 2}));
    EXPECT_EQ(ListViewCtr::rememberedSortArray(), list.sortArray());
    EXPECT_FALSE(list.sortArray().first().ascending);
    clickHeader(kStatusColumn);
    clickHeader(kTimeColumn);
    EXPECT_TRUE(table.headerView()->isTimeColumnSorted());
    EXPECT_EQ(titles(), (QStringList{"low", "Quay", "Sundial"}));

    table.selectRowIndexes({1});
    clickHeader(kTimeColumn); // "Quay" stays in the middle, and so does the cover flow
    list.setImageFlowSelectedIndex(2);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{2});
    clickHeader(kTimeColumn);

    add("a");
    list.reloadAndSort();
    EXPECT_EQ(titles().first(), "a");
    UserDefaults::standardUserDefaults().setObject("-no such key", "LibrarySort");
    EXPECT_TRUE(ListViewCtr::rememberedSortArray().isEmpty());
}

TEST_F(ListView, DoubleClicksPlayButNotOnARowsButton) {
    const SongPtr song = add("A");
    for (const auto &[name, column, status, recording, plays] : {
             std::tuple<const char *, int, ID3Status, bool, bool>{"title", kTitleColumn, ID3Status::NotAsked, false,
                                                                  true},
             {"while recording", kTitleColumn, ID3Status::NotAsked, true, false},
             {"button", kIdentifyColumn, ID3Status::NotAsked, false, false},
             {"waiting", kIdentifyColumn, ID3Status::Waiting, false, false},
             {"not found", kIdentifyColumn, ID3Status::NotFound, false, true},
             {"identified", kIdentifyColumn, ID3Status::Identified, false, true},
         }) {
        const auto another = std::make_shared<SongItem>();
        another->setGetID3Status(static_cast<int>(status));
        library.all = {another};
        library.recording = recording;
        show();
        doubleClick(viewport, middle(0, column));
        EXPECT_EQ(heardNames(), plays ? QStringList{"DoubleClickNotification"} : QStringList{}) << name;
    }
    library.recording = false;
    doubleClick(viewport, {200, 200}); // below the rows
    EXPECT_EQ(heardNames(), QStringList{});
    EXPECT_EQ(table.clickedRow(), -1);
    mouse(viewport, QEvent::MouseButtonDblClick,
          middle(0, kTitleColumn)); // the first click closed a question that stood here
    EXPECT_EQ(heardNames(), QStringList{});
}

TEST_F(ListView, TellsOfAMissingFileAndLetsTheUserRemoveIt) {
    const SongPtr song = add("Wren 100%@", ID3Status::NotAsked, /*hasFile=*/false);
    doubleClick(viewport, middle(0, kTitleColumn));
    EXPECT_TRUE(panels.value(0).startsWith("The song \"Wren 100%@\" could not be used"));
    EXPECT_EQ(heardNames(), QStringList{});
    EXPECT_EQ(song->status(), 1);
    song->setStatus(0);
    QApplication::processEvents();
    Paintings paintings(*table.viewport());
    EXPECT_FALSE(list.isSongItemExist(song, /*isWarning=*/false));
    QApplication::processEvents();
    EXPECT_GT(paintings.count, 0);
    EXPECT_EQ(panels.size(), 1);
    answer = 0;
    EXPECT_FALSE(list.isSongItemExist(song, /*isWarning=*/true));
    ASSERT_EQ(heard.size(), 1);
    EXPECT_TRUE(std::any_cast<bool>(heard.first().object));
    EXPECT_EQ(heard.first().userInfo["SongArray"].value<SongArray>(), SongArray{song});
}

TEST_F(ListView, ButtonsOfARowWorkWhereSomebodyCanDoIt) {
    const SongPtr fresh = add("A");
    add("B", ID3Status::NotFound);
    add("C", ID3Status::Waiting);
    for (int row = 0; row < 3; ++row)
        click(viewport, middle(row, kIdentifyColumn));
    EXPECT_EQ(library.asked, SongArray{fresh});
    EXPECT_EQ(library.edits, 1);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{2}); // a button that waits is a part of its row
    library.identifies = library.edits_ = false;
    click(viewport, middle(0, kIdentifyColumn));
    click(viewport, middle(1, kIdentifyColumn));
    EXPECT_EQ(library.asked.size(), 1);
    EXPECT_EQ(library.edits, 1);
}

TEST_F(ListView, MenuSaysWhatCanBeDoneWithTheSelection) {
    const SongPtr song = add("A");
    add("B", ID3Status::Searching);
    EXPECT_EQ(table.menuForEvent(0), nullptr) << "nothing is selected";
    table.selectRowIndexes({1});
    EXPECT_EQ(table.menuForEvent(7), nullptr);
    QMenu *menu = table.menuForEvent(0);
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{0});
    const auto open = [&] { emit menu->aboutToShow(); };
    const auto item = [&](int i) { return menu->actions().at(i); };
    open();
    EXPECT_EQ(item(0)->text(), "Play");
    list.setPlayItem(song);
    for (const auto &[status, title] : std::initializer_list<std::pair<SongStatus, const char *>>{
             {SongStatus::Playing, "Pause"}, {SongStatus::Paused, "Play"}, {SongStatus::Idle, "Stop"}}) {
        song->setStatus(static_cast<int>(status));
        open();
        EXPECT_EQ(item(0)->text(), title);
    }
    EXPECT_TRUE(item(1)->isEnabled());
    library.recording = true;
    table.selectRowIndexes({1});
    open();
    EXPECT_FALSE(item(0)->isEnabled());
    EXPECT_FALSE(item(1)->isEnabled()) << "it is being identified";
    table.selectRowIndexes({0, 1});
    library.edits_ = false;
    open();
    EXPECT_FALSE(item(0)->isVisible());
    EXPECT_FALSE(item(2)->isVisible());
    EXPECT_TRUE(item(1)->isEnabled());
    EXPECT_FALSE(item(3)->isEnabled());
}

TEST_F(ListView, IdentifiesWhatIsNeitherWaitingNorBusyNorMissing) {
    const SongPtr fresh = add("A");
    add("B", ID3Status::Waiting);
    const SongPtr known = add("C", ID3Status::Identified);
    const SongPtr missing = add("D", ID3Status::NotFound, /*hasFile=*/false);
    table.selectRowIndexes({1});
    list.getMusicTags();
    EXPECT_TRUE(library.asked.isEmpty());
    table.selectRowIndexes({3});
    list.getMusicTags();
    EXPECT_EQ(panels.size(), 1);
    list.selectAll();
    list.getMusicTags();
    EXPECT_EQ(library.asked, (SongArray{fresh, known}));
    EXPECT_TRUE(library.isMutableGet);
    EXPECT_EQ(missing->status(), 1);
    EXPECT_EQ(panels.size(), 1);
}

TEST_F(ListView, PopupMenuIsDrivenByKeysAndByMouse) {
    const SongPtr song = add("A");
    table.selectRowIndexes({0});
    library.edits_ = false;
    key(Qt::Key_Down, Qt::AltModifier);
    CustomWindow *first = openWindow(1);
    EXPECT_EQ(first->viewCtr()->menuItemArray().size(), 2) << "nobody to hand over to";
    EXPECT_EQ(first->viewCtr()->selectedMenuItemIndex(), 0) << "the top row is disabled";
    first->viewCtr()->chooseItem(1);
    EXPECT_EQ(heardNames(), QStringList{});
    press(*first->viewCtr(), Qt::Key_Return);
    EXPECT_EQ(library.shown, QStringList{song->songPath()});
    EXPECT_FALSE(first->isOpen());

    library.playlists = {"Evening", "Running"};
    library.edits_ = true;
    key(Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(first->viewCtr()->selectedMenuItemIndex(), 2);
    press(*first->viewCtr(), Qt::Key_Down);
    press(*first->viewCtr(), Qt::Key_Right);
    CustomWindow *second = openWindow(2);
    EXPECT_TRUE(first->isOpen());
    EXPECT_EQ(second->pos(), first->pos() + QPoint(first->width() - 15, 24));
    QStringList rows;
    for (const MyMenuItemController &item : second->viewCtr()->menuItemArray())
        rows.prepend(item.title);
    EXPECT_EQ(rows, (QStringList{"Music Library", "Evening", "Running"}));
    press(*second->viewCtr(), Qt::Key_Left);
    EXPECT_FALSE(second->isOpen());
    press(*first->viewCtr(), Qt::Key_Right);
    press(*second->viewCtr(), Qt::Key_End);
    press(*second->viewCtr(), Qt::Key_Return);
    EXPECT_EQ(library.playlist, "Running");
    EXPECT_EQ(library.handedOver, QStringList{song->songPath()});
    EXPECT_FALSE(first->isOpen() || second->isOpen());
    NotificationCenter::defaultCenter().postNotification(kMenuItemClickNotification, {}, {{"title", "Music Library"}});
    EXPECT_EQ(library.playlist, "");

    hover(middle(0, kTitleColumn));
    table.viewport()->findChild<QAbstractButton *>()->click();
    ASSERT_TRUE(first->isOpen());
    EXPECT_EQ(first->viewCtr()->selectedMenuItemIndex(), -1);
    heardNames();
    press(*first->viewCtr(), Qt::Key_Delete); // means nothing here, closes and goes on to the table
    EXPECT_FALSE(first->isOpen());
    first->endFakeMenu();
}

TEST_F(ListView, PopupMenuLeavesClicksBesideItToWhatLiesThere) {
    const auto clickOn = [](QWidget &widget, QObject &receiver, const QPointF &point, Qt::MouseButton button) {
        QMouseEvent event(QEvent::MouseButtonPress, point, widget.mapToGlobal(point), button, button, Qt::NoModifier);
        QApplication::sendEvent(&receiver, &event);
    };
    fill({"A", "B", "C", "D", "E", "F"});
    table.selectRowIndexes({0});
    key(Qt::Key_Down, Qt::AltModifier);
    CustomWindow *window = openWindow(1);
    QWidget &rows = *window->viewCtr()->viewport();
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton})
        clickOn(rows, rows, QPointF(rows.width() / 2.0, rows.height() - 5), button);
    EXPECT_EQ(heardNames(), QStringList{});
    EXPECT_TRUE(window->isOpen());
    clickOn(*table.viewport(), *window->windowHandle(), middle(5, kTitleColumn), Qt::LeftButton);
    EXPECT_FALSE(window->isOpen());
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{5});
}

TEST_F(ListView, SecondLevelShowsFiveRowsAndScrolls) {
    for (const auto &[rows, shown] : std::initializer_list<std::pair<int, int>>{{1, 1}, {5, 5}, {6, 5}, {40, 5}}) {
        CustomWindow window(&table);
        auto *menu = new MyMenuViewController(&window);
        menu->setMenuItemArray(QList<MyMenuItemController>(rows, {.title = "Evening", .image = "Menu_PlayList"}));
        menu->setMenuLevel(2);
        window.setViewCtr(menu);
        window.fitToView();
        EXPECT_EQ(window.height(), shown * MyMenuViewController::kRowHeight + 29);
        window.beginFakeMenu();
        window.grab();
        EXPECT_EQ(menu->verticalScrollBar()->maximum() > 0, rows > 5);
    }
}

TEST_F(ListView, HoverButtonStandsBehindTheTitle) {
    add("A");
    add(QString(100'000, 'W'), ID3Status::NotAsked, /*hasFile=*/false);
    auto *button = table.viewport()->findChild<QAbstractButton *>();
    hover(middle(0, kTitleColumn));
    EXPECT_TRUE(button->isVisible());
    const QRect cell = table.cellRect(1, kTitleColumn);
    hover(cell.center());
    EXPECT_LE(button->x(), cell.right() + 1 - 30 + 6);
    EXPECT_GT(button->x(), cell.right() - 50);
    hover({100, 200});
    EXPECT_FALSE(button->isVisible());
    hover(cell.center());
    list.reloadData();
    EXPECT_FALSE(button->isVisible());
}

TEST_F(ListView, KeysMoveAndPlay) {
    fill({"Alder", "Birch", "Cedar", "Beech"});
    table.selectRowIndexes({1});
    key(Qt::Key_Down, Qt::ShiftModifier); // goes on from the row that the program chose
    EXPECT_EQ(table.selectedRowIndexes(), (QList<int>{1, 2}));
    key(Qt::Key_End);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{3});
    key(Qt::Key_Home);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{0});
    key(Qt::Key_B, {}, "b");
    key(Qt::Key_E, {}, "e");
    key(Qt::Key_Space, {}, " ");
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ", /*autorep=*/true);
    QApplication::sendEvent(&table, &held);
    EXPECT_EQ(table.selectedRowIndexes(), QList<int>{3});
    key(Qt::Key_Return);
    EXPECT_EQ(heardNames(), (QStringList{"SpaceDownNotification", "DoubleClickNotification"}));
}

TEST_F(ListView, DragsCarryPathsAndDropsTakeMusicOnly) {
    const SongPtr song = add("A");
    const auto dragged = table.trackModel()->mimeDataForRows({0});
    ASSERT_NE(dragged, nullptr);
    QStringList paths;
    QDataStream stream(dragged->data("CorvidiaSongItemType"));
    stream >> paths;
    EXPECT_EQ(paths, QStringList{song->songPath()});
    EXPECT_EQ(dragged->urls(), QList<QUrl>{QUrl::fromLocalFile(song->songPath())});
    EXPECT_EQ(table.trackModel()->mimeDataForRows({0, 1}), nullptr);
    EXPECT_FALSE(list.validateDrop(*dragged)) << "from this table";

    QMimeData files;
    files.setUrls({QUrl("https://example.org/a.mp3"), QUrl::fromLocalFile("/a.txt"), QUrl::fromLocalFile("/b.MP3"),
                   QUrl::fromLocalFile(QDir::homePath()), QUrl::fromLocalFile("/c.m4a")});
    QMimeData text;
    text.setUrls({QUrl::fromLocalFile("/a.txt")});
    EXPECT_TRUE(list.validateDrop(files));
    EXPECT_FALSE(list.validateDrop(text));
    EXPECT_TRUE(list.acceptDrop(files));
    EXPECT_FALSE(list.acceptDrop(text));
    ASSERT_EQ(heard.size(), 1);
    EXPECT_EQ(std::any_cast<QStringList>(heard.first().object), (QStringList{"/b.MP3", QDir::homePath(), "/c.m4a"}));
    QMimeData raw; // as other programs write it
    raw.setData("text/uri-list",
                "# two\r\nfile://host/m/%C3%BC%20%25.Mp3\r\nfile:///m/%FF.m4a\r\nfile:///?x.mp3\r\nx\r\nfile:");
    EXPECT_TRUE(list.acceptDrop(raw));
    EXPECT_EQ(std::any_cast<QStringList>(heard.last().object),
              (QStringList{QString::fromUtf8("/m/ü %.Mp3"), QString::fromUtf8("/m/\uFFFD.m4a"), "/"}));
    library.imports = false;
    EXPECT_FALSE(list.validateDrop(files));
    library.imports = true;
    list.setIsCanDrop(false);
    EXPECT_FALSE(list.validateDrop(files) || list.acceptDrop(files));
}

TEST_F(ListView, ColumnsFillTheTableAndAreRemembered) {
    const auto width = [](MyTableView &shown) { return shown.headerView()->length(); };
    for (const int wide : {713, 526, 1213}) {
        list.view()->resize(wide, 501);
        EXPECT_EQ(width(table), table.viewport()->width());
        EXPECT_EQ(table.isColumnHidden(kDateColumn), wide == 526);
    }
    table.headerView()->resizeSection(kDateColumn, 200);
    table.headerView()->moveSection(table.headerView()->visualIndex(kTimeColumn), 6);
    table.headerView()->moveSection(table.headerView()->visualIndex(kAlbumColumn), 1);
    EXPECT_EQ(table.headerView()->visualIndex(kIdentifyColumn), 6);
    EXPECT_EQ(width(table), table.viewport()->width());
    emit table.headerView()->columnsWereArranged();

    const auto again = [&] {
        auto view = std::make_unique<MyTableView>(/*parent=*/nullptr);
        view->resize(713, 400);
        view->show();
        EXPECT_EQ(width(*view), view->viewport()->width());
        return view;
    };
    EXPECT_EQ(again()->headerView()->visualIndex(kAlbumColumn), 1);
    EXPECT_EQ(again()->columnWidth(kDateColumn), 200);
    UserDefaults::standardUserDefaults().setObject(
        QStringList{"", "title", "Music identify=-3", "artist=999999999999", "status=7", "title=5=5", "x=%n"},
        "LibraryColumns");
    const auto hostile = again();
    EXPECT_EQ(hostile->headerView()->visualIndex(kIdentifyColumn), 6);
    EXPECT_GE(hostile->columnWidth(kTitleColumn), 44);
}

TEST(TextForCell, LooksOnlyAtWhatCouldFit) {
    const QFontMetrics metrics{QFont()};
    EXPECT_EQ(textForCell(QString("a\nb") + QChar(u'\0') + "c", metrics, 500), "a b c");
    EXPECT_LT(textForCell(QString(100'000, 'i'), metrics, 120).size(), 120);
}

TEST(TextForCell, HasItsDotsWhereTheTextWouldGoOn) {
    const QString cut = textForCell(QString("أغنية طويلة ").repeated(5), QFontMetrics{QFont()}, 120);
    QTextLayout layout(cut);
    QTextOption leftToRight;
    leftToRight.setTextDirection(Qt::LeftToRight);
    layout.setTextOption(leftToRight);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    EXPECT_LT(line.cursorToX(static_cast<int>(cut.indexOf(u'…'))), line.cursorToX(1));
}
