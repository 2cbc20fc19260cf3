#include "library/LibraryCtr.h"

#include "library/TrackRemoval.h"
#include "library/WriteID3.h"
#include "platform/desktop/FileManager.h"
#include "platform/media/MoviePlayer.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "views/controls/TextButton.h"
#include "views/library/MusicToolKitView.h"
#include "views/library/MyTableView.h"
#include "views/window/LibraryPage.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <utility>

namespace {

// Rows of the tree, counted from its top.
constexpr int kNewlyRecordedRow = 1;
constexpr int kAllMusicRow = 2;
constexpr int kUntaggedRow = 3;

QString newlyRecorded() { return localizedString("Newly Recorded"); }
QString allMusic() { return localizedString("All Music"); }
QString untaggedMusic() { return localizedString("Untagged Music"); }
QString musicToolKit() { return localizedString("Music ToolKit"); }

// The sort is stable, and so leaves alone what is in order.
bool isSorted(const SongArray &songs, const QList<SortDescriptor> &descriptors) {
    SongArray sorted = songs;
    sortUsingDescriptors(sorted, descriptors);
    return sorted == songs;
}

} // namespace

LibraryCtr::LibraryCtr(LibraryCtrDelegate &delegate, const LibraryViews &views)
    : delegate_(delegate),
      views_(views),
      strCategory_(newlyRecorded()),
      sortArray_{{QStringLiteral("addedDate"), /*ascending=*/false, SortComparison::Compare}},
      listViewCtr_(std::make_unique<ListViewCtr>(*this)) {
    if (const auto remembered = ListViewCtr::rememberedSortArray(); !remembered.isEmpty())
        sortArray_ = remembered;
    listViewCtr_->setSongArray(lists_.newRecordArray());
    listViewCtr_->setIsCanSorted(false);
    listViewCtr_->setSortArray(sortArray_);
    // Tab goes from the left to the right.
    categoryViewCtr_ = std::make_unique<CategoryViewCtr>(*this);
    views_.page.setCategoryView(categoryViewCtr_->view());
    views_.page.setDisplayView(listViewCtr_->view());
    playCtr_ = std::make_unique<PlayCtr>(*this, *listViewCtr_, views_.playBtn, views_.playMusicView);
    searchCtr_ = std::make_unique<SearchCtr>(*this, lists_, *listViewCtr_, views_.searchFeild, views_.buttons);
    editCtr_ = std::make_unique<EditCtr>(*this, lists_, views_.page);
    identifyCtr_ = std::make_unique<IdentifyCtr>(*this, lists_, *listViewCtr_, *editCtr_);
    pageControls_ = std::make_unique<PageControls>(*this, lists_);
    importCtr_ = std::make_unique<ImportCtr>(*this, lists_, views_.page);
    connect(views_.buttons.filterBtn, &QAbstractButton::clicked, this, &LibraryCtr::filterAds);
    connect(views_.buttons.showInFinderBtn, &QAbstractButton::clicked, listViewCtr_.get(), &ListViewCtr::showInFinder);
    connect(&views_.editBtn, &QAbstractButton::clicked, this, &LibraryCtr::toggleEdit);
    updateEmptyText();

    auto &center = NotificationCenter::defaultCenter();
    center.addObserver(this, "DoubleClickNotification", [this](const auto &) { playCtr_->doubleClickForPlay(); });
    center.addObserver(this, "RightMouseDownNotification", [this](const auto &) { playCtr_->RightMouseDownForPlay(); });
    center.addObserver(this, "SpaceDownNotification", [this](const auto &) { playCtr_->play(); });
    center.addObserver(this, "DeleteNotification", [this](const Notification &news) {
        if (listViewCtr_->tableView()->selectedRow() < 0)
            return;
        const bool *isAsked = std::any_cast<bool>(&news.object);
        if (isAsked && *isAsked)
            deleteSongItems(news.userInfo.value("SongArray").value<SongArray>());
        else
            askAndDelete(selectedSongs());
    });
}

LibraryCtr::~LibraryCtr() = default;

void LibraryCtr::takeTracks(TrackLists loaded) {
    lists_.takeTracks(std::move(loaded));
    identifyCtr_->modifyGetingID3Status();
    isLoaded_ = true;
    if (strCategory_ != newlyRecorded())
        showCategory(strCategory_);
    refreshCounts();
}

// Categories

bool LibraryCtr::isToolKitShown() const { return strCategory_ == musicToolKit(); }

void LibraryCtr::outlineViewSelectionDidChange(const OutlineItem &item) {
    strCategory_ = item.category;
    showCategory(strCategory_);
}

void LibraryCtr::showCategory(const QString &category) {
    playCtr_->categoryWillChange(category);
    searchCtr_->clear();
    const bool isToolKit = category == musicToolKit();
    if (isToolKit) {
        showToolKit();
    } else {
        views_.page.setDisplayView(listViewCtr_->view());
        views_.searchFeild.setVisible(!isDisplayRecordView());
        views_.editBtn.setEnabled(true);
        sortArray_ = listViewCtr_->sortArray();
        listViewCtr_->setIsCanDrop(true);
        if (category == newlyRecorded()) {
            isChangeID3Sort_ = false;
            listViewCtr_->setSongArray(lists_.newRecordArray());
            listViewCtr_->setIsCanSorted(false);
            listViewCtr_->tableView()->setSortDescriptors({});
        } else if (category == allMusic()) {
            showSorted(lists_.allSongArray(), /*isSortedInPlace=*/true);
        } else {
            showSorted(lists_.getUntaggedMusic(), /*isSortedInPlace=*/false);
        }
    }
    playCtr_->categoryDidChange();
    updateEmptyText();
    listViewCtr_->reloadData();
    if (!listViewCtr_->songArray()->isEmpty()) {
        selectRow(0);
        listViewCtr_->setIsNeedChangeTableViewSelected(true);
        selectedDidChange();
    } else {
        editCtr_->changeID3Edit();
    }
    playCtr_->changePlayStatus();
    searchCtr_->updateStatus();
    if (isToolKit)
        showToolKitControls();
}

void LibraryCtr::showSorted(const SharedSongArray &songs, bool isSortedInPlace) {
    listViewCtr_->setSongArray(songs);
    listViewCtr_->setIsCanSorted(false);
    if (std::exchange(isChangeID3Sort_, false)) {
        listViewCtr_->setSortArray({});
        listViewCtr_->tableView()->setSortDescriptors({});
    } else if (!sortArray_.isEmpty()) {
        sortArray_ = {sortArray_.first()};
        if (isSortedInPlace)
            sortUsingDescriptors(*songs, sortArray_);
        listViewCtr_->setSortArray(sortArray_);
        listViewCtr_->tableView()->setSortDescriptors(sortArray_);
        listViewCtr_->tableView()->setIsSortShown(isSortedInPlace || isSorted(*songs, sortArray_));
    }
    listViewCtr_->setIsCanSorted(true);
}

void LibraryCtr::selectRow(int row) {
    listViewCtr_->setImageFlowSelectedIndex(row);
    listViewCtr_->tableView()->selectRowIndexes({row});
    listViewCtr_->tableView()->scrollRowToVisible(row);
}

void LibraryCtr::showToolKit() {
    if (!toolKitCtr_)
        toolKitCtr_ = std::make_unique<ToolKitCtr>(*this);
    views_.page.setDisplayView(toolKitCtr_->view());
}

void LibraryCtr::showToolKitControls() {
    views_.searchFeild.hide();
    for (QAbstractButton *button :
         {views_.buttons.filterBtn, views_.buttons.showInFinderBtn, views_.buttons.addToItunesBtn})
        button->setEnabled(false);
    views_.editBtn.setEnabled(false);
    displayStatus(QStringLiteral(""));
    if (isEditPanelExpend())
        toggleEdit();
}

void LibraryCtr::updateEmptyText() {
    const QString microphone = QStringLiteral("0010000.png");
    if (searchCtr_->isSearching())
        listViewCtr_->setEmptyText(localizedString("Nothing here has this text in its title, artist or album."));
    else if (strCategory_ == newlyRecorded())
        listViewCtr_->setEmptyText(localizedString("What you record appears here. Press Record, then play music."),
                                   microphone);
    else if (!isLoaded_)
        listViewCtr_->setEmptyText({});
    else if (strCategory_ == untaggedMusic())
        listViewCtr_->setEmptyText(localizedString("Every track has a title and an artist."));
    else
        listViewCtr_->setEmptyText(localizedString("The library is empty. Press Record, then play music."), microphone);
}

SharedSongArray LibraryCtr::categoryArray() {
    if (strCategory_ == newlyRecorded())
        return lists_.newRecordArray();
    if (strCategory_ != allMusic()) {
        listViewCtr_->tableView()->setIsSortShown(false);
        return lists_.getUntaggedMusic();
    }
    lists_.sortAllSongs(listViewCtr_->sortArray());
    return lists_.allSongArray();
}

void LibraryCtr::searchDidChange() {
    updateEmptyText();
    editCtr_->changeID3Edit();
    playCtr_->changePlayStatus();
}

void LibraryCtr::pageDidChange() {
    if (!isDisplayRecordView())
        MoviePlayer::prepare();
    if (!isDisplayRecordView() && isToolKitShown())
        showToolKitControls();
    else
        searchCtr_->updateStatus();
    playCtr_->changePlayStatus();
}

void LibraryCtr::refreshCounts() {
    categoryViewCtr_->reloadData();
    searchCtr_->updateStatus();
    playCtr_->changePlayStatus();
}

void LibraryCtr::reloadData() {
    if (!searchCtr_->isSearching())
        listViewCtr_->setSongArray(lists_.allSongArray());
    listViewCtr_->reloadData(); // a search for blanks shows the array itself
    listViewCtr_->tableView()->setSortDescriptors({});
    listViewCtr_->setSortArray({});
    refreshCounts();
}

void LibraryCtr::showAllMusic() { categoryViewCtr_->selectRow(kAllMusicRow); }

void LibraryCtr::didImport() {
    reloadData();
    views_.page.activateWindow();
    listViewCtr_->tableView()->setFocus();
    if (!searchCtr_->isSearching())
        listViewCtr_->setImageFlowSelectedIndex(0);
    editCtr_->changeID3Edit(); // the selected row may be another track's now
}

// Tracks

SongPtr LibraryCtr::getSelectedItem() const {
    const SongArray &songs = *listViewCtr_->songArray();
    const int row = listViewCtr_->tableView()->selectedRow();
    return row >= 0 && row < songs.size() ? songs.at(row) : nullptr;
}

SongArray LibraryCtr::selectedSongs() const {
    const SongArray &songs = *listViewCtr_->songArray();
    SongArray selected;
    for (const int row : listViewCtr_->tableView()->selectedRowIndexes())
        if (row < songs.size())
            selected.append(songs.at(row));
    return selected;
}

void LibraryCtr::addNewRecordingSong(const SongPtr &song) {
    MyTableView &table = *listViewCtr_->tableView();
    QList<int> selected = table.selectedRowIndexes();
    lists_.insertNewRecording(song);
    if (searchCtr_->isSearching()) {
        listViewCtr_->reloadData();
    } else {
        if (strCategory_ == newlyRecorded()) {
            listViewCtr_->setSongArray(lists_.newRecordArray());
            isChangeID3Sort_ = true;
        } else {
            listViewCtr_->setSongArray(strCategory_ == allMusic() ? lists_.allSongArray() : lists_.getUntaggedMusic());
        }
        // The rows move down by one whether or not the new track is among those shown.
        if (listViewCtr_->songArray()->size() == 1)
            selected = {0};
        else
            for (int &row : selected)
                ++row;
        listViewCtr_->reloadData();
        if (!selected.isEmpty()) {
            listViewCtr_->setImageFlowSelectedIndex(selected.first());
            table.selectRowIndexes(selected);
            table.scrollRowToVisible(selected.first());
        }
    }
    listViewCtr_->setSortArray({});
    refreshCounts();
    if (strCategory_ == allMusic())
        table.setSortDescriptors({});
    else if (!searchCtr_->isSearching())
        table.setIsSortShown(false);
}

void LibraryCtr::showNewRecordItem(const SongPtr &song, bool isPlay) {
    categoryViewCtr_->selectRow(kNewlyRecordedRow);
    strCategory_ = newlyRecorded();
    showCategory(strCategory_);
    showRow(lists_.newRecordArray()->indexOf(song));
    if (isPlay)
        playCtr_->doubleClickForPlay();
}

void LibraryCtr::showPlayedItem() {
    const SongPtr song = playCtr_->playItem();
    if (!song)
        return;
    const QString &category = playCtr_->playInCategory();
    if (category != strCategory_)
        categoryViewCtr_->selectRow(category == newlyRecorded() ? kNewlyRecordedRow
                                    : category == allMusic()    ? kAllMusicRow
                                                                : kUntaggedRow);
    else if (searchCtr_->isSearching())
        searchCtr_->searchFeild().clear();
    showRow(listViewCtr_->songArray()->indexOf(song));
}

void LibraryCtr::showRow(qsizetype row) {
    if (row < 0)
        return;
    MyTableView &table = *listViewCtr_->tableView();
    table.selectRowIndexes({static_cast<int>(row)});
    table.scrollRowToVisible(static_cast<int>(row));
    table.setFocus();
}

void LibraryCtr::reloadWithSongItem(const SongPtr &song) {
    listViewCtr_->reloadTable();
    notficateUpdateForSongItem(song);
}

void LibraryCtr::notficateUpdateForSongItem(const SongPtr &song) {
    if (lists_.newRecordArray()->contains(song))
        NotificationCenter::defaultCenter().postNotification("UpDateSongItemNotification", song);
}

void LibraryCtr::showFile(const QString &path) { selectFileInFileManager(path); }

// The tag editor

void LibraryCtr::toggleEdit() { editCtr_->toggleEdit(&views_.editBtn); }

void LibraryCtr::showEditTagsPanel() { editCtr_->showEditTagsPanel(); }

void LibraryCtr::selectedDidChange() {
    if (editCtr_) // the list is there first
        editCtr_->selectedDidChange();
}

void LibraryCtr::focusList() { listViewCtr_->tableView()->setFocus(); }

TagWriteOutcome LibraryCtr::writeID3inFile(const SongPtr &song, bool isNeedChangeCover, bool isNeedChangeFileName) {
    const WriteID3Result written = ::writeID3inFile(*song, isNeedChangeCover, isNeedChangeFileName);
    lists_.songChanged(song); // the status line sums what it knows
    if (written.isStatusStale)
        searchCtr_->updateStatus();
    return written.outcome;
}

void LibraryCtr::songDidChange(const SongPtr &song) {
    if (song == playCtr_->playItem())
        playCtr_->updatePlayTitle();
    if (listViewCtr_->isCanSorted()) {
        listViewCtr_->tableView()->setSortDescriptors({});
    } else {
        isChangeID3Sort_ = true;
        listViewCtr_->setSortArray({});
    }
    listViewCtr_->reloadData();
    categoryViewCtr_->reloadData();
}
