// The menus of the track list, and what their items do.
#include "platform/desktop/ImageNamed.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/Look.h"
#include "views/library/CustomWindow.h"
#include "views/library/ListViewCtr.h"
#include "views/library/MyMenuViewController.h"
#include "views/library/TrackCell.h"
#include "views/library/TrackTableModel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileInfo>
#include <QMenu>
#include <QPainter>

namespace {

constexpr QSize kMenuButtonSize(14, 14);

/// The small button at the title of the row under the pointer. The row's menu opens by key, too, so it takes no focus.
class MenuButton : public QAbstractButton {
public:
    explicit MenuButton(QWidget *parent) : QAbstractButton(parent) {
        setFocusPolicy(Qt::NoFocus);
        setCursor(Qt::ArrowCursor);
        setAccessibleName(localizedString("More"));
        resize(kMenuButtonSize);
        hide();
    }

    void setImage(const QString &name) {
        image_ = name;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.drawPixmap(0, 0, imageNamed(image_, kMenuButtonSize, devicePixelRatioF()));
    }

private:
    QString image_;
};

bool isIdentifiable(const SongItem &song) {
    const auto status = static_cast<ID3Status>(song.getID3Status());
    return status != ID3Status::Waiting && status != ID3Status::Searching && status != ID3Status::FetchingCover;
}

} // namespace

void ListViewCtr::makeMenu() {
    Look::shared().dress(*menu_);
    const auto add = [this](const char *title, void (ListViewCtr::*action)()) {
        QAction *item = menu_->addAction(localizedString(title));
        connect(item, &QAction::triggered, this, action);
        return item;
    };
    playMenuItem_ = add("Play", &ListViewCtr::play);
    identifyMenuItem_ = add("Identify Track Info", &ListViewCtr::getMusicTags);
    showFinderMenuItem_ = add("Show in Finder", &ListViewCtr::showInFinder);
    editMenuItem_ = add("Edit Music Tags", &ListViewCtr::editMusicTags);
    menu_->addSeparator();
    add("Select All", &ListViewCtr::selectAll);
    menu_->addSeparator();
    add("Delete", &ListViewCtr::deleteSongItem);
    connect(menu_, &QMenu::aboutToShow, this, &ListViewCtr::menuWillOpen);

    auto *button = new MenuButton(tableView_->viewport());
    menuBtn_ = button;
    connect(button, &QAbstractButton::clicked, this,
            [this] { openMainLevel(menuButtonRow_, menuBtn_->pos(), /*isByKey=*/false); });
    NotificationCenter &center = NotificationCenter::defaultCenter();
    center.addObserver(this, QString::fromLatin1(kMenuItemClickNotification), [this](const Notification &news) {
        menuItemClickNotificationEvent(news.userInfo.value(QStringLiteral("title")).toString());
    });
    center.addObserver(this, QStringLiteral("ScrollWheelNotification"),
                       [this](const Notification &) { closeMenuWindows(); });
}

void ListViewCtr::menuWillOpen() {
    const SongArray songs = selectedSongs();
    const bool isSingle = songs.size() < 2;
    playMenuItem_->setVisible(isSingle);
    showFinderMenuItem_->setVisible(isSingle);
    if (isSingle && !songs.isEmpty()) {
        const char *title = "Play";
        if (songs.first() == playItem_ && playItem_->status() == static_cast<int>(SongStatus::Playing))
            title = "Pause";
        else if (songs.first() == playItem_ && playItem_->status() != static_cast<int>(SongStatus::Paused))
            title = "Stop";
        playMenuItem_->setText(localizedString(title));
    }
    playMenuItem_->setEnabled(!delegate_.isRecording());
    editMenuItem_->setEnabled(delegate_.canEditTags());
    identifyMenuItem_->setEnabled(delegate_.canIdentify() && std::ranges::any_of(songs, [](const SongPtr &song) {
                                      return isIdentifiable(*song);
                                  }));
}

// Actions

void ListViewCtr::play() {
    const SongPtr song = firstSelectedSong();
    if (song && isSongItemExist(song, /*isWarning=*/true))
        NotificationCenter::defaultCenter().postNotification(QStringLiteral("RightMouseDownNotification"));
}

void ListViewCtr::showInFinder() {
    const SongPtr song = firstSelectedSong();
    if (song && isSongItemExist(song, /*isWarning=*/true))
        delegate_.showFile(song->songPath());
}

void ListViewCtr::editMusicTags() { delegate_.toggleEdit(); }

void ListViewCtr::selectAll() { tableView_->selectAll(); }

void ListViewCtr::deleteSongItem() {
    NotificationCenter::defaultCenter().postNotification(QStringLiteral("DeleteNotification"));
}

void ListViewCtr::buttonAction(const SongPtr &song) { getMusicTagsWithSongItem(song); }

void ListViewCtr::getMusicTagsWithSongItem(const SongPtr &song) {
    if (isSongItemExist(song, /*isWarning=*/true))
        delegate_.getID3WithSongItem(song);
}

void ListViewCtr::editMusicTagsForButtonCell() {
    tableView_->selectRowIndexes({tableView_->clickedRow()});
    delegate_.toggleEdit();
}

void ListViewCtr::getMusicTags() {
    const SongArray songs = selectedSongs();
    if (songs.size() == 1 && !isSongItemExist(songs.first(), /*isWarning=*/true))
        return;
    SongArray wanted;
    for (const SongPtr &song : songs)
        if (isIdentifiable(*song) && isSongItemExist(song, /*isWarning=*/false))
            wanted.append(song);
    if (!wanted.isEmpty())
        delegate_.getID3WithSongItems(wanted, /*isMutableGet=*/songs.size() > 1);
    tableView_->reloadData();
}

// The hover button

void ListViewCtr::mouseMovedToRow(int row) {
    if (QApplication::activeModalWidget() && row >= 0)
        return;
    menuButtonRow_ = marrSongs_->value(row) ? row : -1;
    updateMenuButton();
}

// Behind the title, as far as it is shown.
QPoint ListViewCtr::getLocation(int row) const {
    constexpr int kRoomForButton = 30;
    constexpr int kGap = 6;
    const QRect cell = tableView_->cellRect(row, kTitleColumn);
    const QFontMetrics metrics(lookFont(kListPixels, QFont::DemiBold));
    const int room = cell.width() - kRoomForButton;
    const QString title = textForCell(marrSongs_->at(row)->title(), metrics, room);
    const int width = qMin(metrics.horizontalAdvance(title), room);
    return {cell.left() + width + kGap, cell.top() + (cell.height() - kMenuButtonSize.height()) / 2};
}

void ListViewCtr::updateMenuButton() {
    menuBtn_->setVisible(menuButtonRow_ >= 0);
    if (menuButtonRow_ < 0)
        return;
    static_cast<MenuButton *>(menuBtn_)->setImage(
        tableView_->isRowSelected(menuButtonRow_) ? QStringLiteral("Menu_More_Select") : QStringLiteral("Menu_More"));
    menuBtn_->move(getLocation(menuButtonRow_));
}

// The popup menu

void ListViewCtr::showFloatMenu(int row) {
    if (!marrSongs_->value(row))
        return;
    tableView_->scrollRowToVisible(row);
    openMainLevel(row, getLocation(row), /*isByKey=*/true);
}

void ListViewCtr::openMainLevel(int row, const QPoint &button, bool isByKey) {
    if (!marrSongs_->value(row))
        return;
    tableView_->selectRowIndexes({row});
    if (!menuWindowLev1_) {
        menuWindowLev1_ = new CustomWindow(tableView_);
        menuWindowLev1_->setAccessibleName(localizedString("More"));
        menuWindowLev1_->setViewCtr(new MyMenuViewController(menuWindowLev1_));
    }
    getMainLevel();
    const QPoint corner = button + QPoint(kMenuButtonSize.width() - 5, -16);
    menuWindowLev1_->setFrameTopLeftPoint(tableView_->viewport()->mapToGlobal(corner));
    menuWindowLev1_->beginFakeMenu();
    if (isByKey)
        menuWindowLev1_->viewCtr()->selectTopRow();
}

// Anew at each opening: what can be done depends on who is there to do it.
void ListViewCtr::getMainLevel() {
    QList<MyMenuItemController> items = {
        {.title = localizedString("Show in Finder"), .image = QStringLiteral("Menu_Finder.png")}};
    if (delegate_.customPlaylists())
        items.append({.title = localizedString("Add to iTunes"),
                      .image = QStringLiteral("Menu_iTunes.png"),
                      .isAddItunesItem = true});
    items.append({.title = localizedString("Edit Music Tags"),
                  .image = QStringLiteral("Menu_Edit.png"),
                  .isEnabled = delegate_.canEditTags()});
    MyMenuViewController *rows = menuWindowLev1_->viewCtr();
    rows->setMenuItemArray(items);
    rows->setMenuLevel(1);
    rows->setAccessibleName(localizedString("More"));
    menuWindowLev1_->fitToView();
}

// The array's first row stands lowest, so the playlists begin with the last one.
void ListViewCtr::getiTunesCustomWindow(const QStringList &playlists) {
    QList<MyMenuItemController> items;
    for (auto name = playlists.crbegin(); name != playlists.crend(); ++name)
        items.append({.title = *name, .image = QStringLiteral("Menu_PlayList.png")});
    items.append({.title = localizedString("Music Library"), .image = QStringLiteral("Menu_MusicLibrary.png")});
    menuWindowLev2_ = new CustomWindow(tableView_);
    auto *rows = new MyMenuViewController(menuWindowLev2_);
    rows->setMenuItemArray(items);
    rows->setMenuLevel(2);
    rows->setAccessibleName(localizedString("Add to iTunes"));
    menuWindowLev2_->setAccessibleName(localizedString("Add to iTunes"));
    menuWindowLev2_->setViewCtr(rows);
    menuWindowLev2_->fitToView();
    connect(rows, &MyMenuViewController::didStepBack, menuWindowLev2_, &CustomWindow::endFakeMenu);
}

void ListViewCtr::menuItemClickNotificationEvent(const QString &title) {
    if (title == localizedString("Edit Music Tags")) {
        delegate_.showEditTagsPanel();
        if (menuWindowLev1_)
            menuWindowLev1_->endFakeMenu();
    } else if (title == localizedString("Add to iTunes")) {
        showAddToiTunesMenuWindow();
    } else if (title == localizedString("Show in Finder")) {
        showInFinder();
        if (menuWindowLev1_)
            menuWindowLev1_->endFakeMenu();
    } else {
        performAddDataToITunes(title);
    }
}

void ListViewCtr::openPlaylistsLevel(const QPoint &topLeft, bool isByKey) {
    const std::optional<QStringList> playlists = delegate_.customPlaylists();
    if (!playlists)
        return;
    if (!menuWindowLev2_)
        getiTunesCustomWindow(*playlists);
    menuWindowLev2_->setFrameTopLeftPoint(topLeft);
    menuWindowLev2_->beginFakeMenu();
    if (isByKey)
        menuWindowLev2_->viewCtr()->selectTopRow();
}

void ListViewCtr::showAddToiTunesMenuWindow() {
    if (!menuWindowLev1_)
        return;
    const QRect first = menuWindowLev1_->geometry();
    openPlaylistsLevel(first.topLeft() + QPoint(first.width() - 15, 24),
                       /*isByKey=*/!menuWindowLev1_->underMouse());
}

void ListViewCtr::addToITunes(QWidget &button) {
    openPlaylistsLevel(button.mapToGlobal(QPoint(button.width(), -10)), /*isByKey=*/!button.underMouse());
}

void ListViewCtr::performAddDataToITunes(const QString &title) {
    const SongArray songs = selectedSongs();
    closeMenuWindows();
    if (songs.size() == 1 && !isSongItemExist(songs.first(), /*isWarning=*/true))
        return;
    QStringList paths;
    for (const SongPtr &song : songs)
        if (isSongItemExist(song, /*isWarning=*/false))
            paths.append(song->songPath());
    const bool isLibrary = title == localizedString("Music Library");
    delegate_.addTrackItems(paths, isLibrary ? QString() : title);
    tableView_->reloadData();
}

void ListViewCtr::closeMenuWindows() {
    for (CustomWindow *window : {menuWindowLev2_, menuWindowLev1_})
        if (window && window->isOpen())
            window->endFakeMenu();
}
