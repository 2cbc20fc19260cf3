// How the filter weeds the shown list.
#include "library/LibraryCtr.h"

#include "library/Filtered.h"
#include "library/TrackRemoval.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "store/DataBaseManager.h"
#include "views/dialogs/BusyTurns.h"
#include "views/library/MyTableView.h"
#include "views/window/LibraryPage.h"

#include <QFile>

namespace {

constexpr qint64 kLongestAdvert = 60'000; // milliseconds

} // namespace

void LibraryCtr::filterAds() {
    // The window leaves the keyboard in its field, and a track that it removes takes nothing any more.
    editCtr_->endEditing();
    filterAdsController_ = std::make_unique<FilterAdsController>(*this);
    filterAdsController_->setAdverts(*listViewCtr_->songArray());
    filterAdsController_->setCategoryName(strCategory_);
    filterAdsController_->runModal(views_.page.window());
}

void LibraryCtr::deleteShortFiles() {
    const int longest = filterAdsController_->getCurrentFilterType();
    // A recording that came meanwhile has never been shown in the window.
    deleteFiltered(filtered(*listViewCtr_->songArray(), [&](const SongPtr &song) {
        return song->length() <= longest && song->isAds() && filterAdsController_->isGiven(song);
    }));
    saveKeptMarks();
}

void LibraryCtr::deleteDuplicateFiles() {
    saveKeptMarks();
    deleteFiltered(
        filtered(*listViewCtr_->songArray(), [](const SongPtr &song) { return song->deleteForDuplicate(); }));
}

void LibraryCtr::deleteFiltered(const SongArray &songs) {
    lastRemoval_.reset(); // before the next one begins to keep covers
    const auto removal = std::make_shared<TrackRemoval>(songs, lists_, *listViewCtr_->songArray());
    lastRemoval_ = removal;
    deleteSongItems(songs, /*isFilterAds=*/true, removal.get());
}

void LibraryCtr::saveKeptMarks() {
    DataBaseManager::defaultManager().updateSongItems(filtered(*listViewCtr_->songArray(), [](const SongPtr &song) {
        return song->length() <= kLongestAdvert && !song->isAds();
    }));
}

SongArray LibraryCtr::undoDeletion() {
    const auto removal = std::exchange(lastRemoval_, nullptr);
    if (!removal)
        return {};
    BusyTurns turns(views_.page.window(), localizedString("Bringing tracks back..."), removal->count());
    SongArray back = removal->bringBack(turns);
    removal->restore(back, lists_, listViewCtr_->songArray());
    // All tracks of this run, for whoever has shown those that went.
    NotificationCenter::defaultCenter().postNotification("HasRestoreSongItemNotification", *lists_.newRecordArray());
    listViewCtr_->reloadData();
    if (!listViewCtr_->songArray()->isEmpty())
        selectRow(0);
    updateEmptyText();
    refreshCounts();
    if (!removal->isUnfinished())
        return back;
    lastRemoval_ = removal;
    delegate_.libraryWasNotWritten(localizedString("The files of tracks that could not come back are in the Trash."));
    return back;
}

bool LibraryCtr::playSong(const SongPtr &song) {
    if (!QFile::exists(song->songPath()))
        return false;
    const qsizetype row = listViewCtr_->songArray()->indexOf(song);
    if (isRecording() || row < 0)
        return true;
    selectRow(static_cast<int>(row));
    playCtr_->RightMouseDownForPlay();
    return true;
}

void LibraryCtr::playbackDidChange() {
    if (filterAdsController_)
        filterAdsController_->playbackDidChange();
    delegate_.playbackDidChange();
}
