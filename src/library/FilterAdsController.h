// The filter: weeds the tracks of the shown list, those that are short and those that are there twice.
//
// A mark in the list of short tracks goes into the track itself when something is removed; a mark in the list of
// duplicates lasts until the list is left. Whoever owns this one deletes the tracks.
//
// Threads: main; a search for duplicates has a thread of its own, which works on a copy of what it needs.
#pragma once

#include "library/DuplicateSearch.h"
#include "views/dialogs/FilterView.h"

#include <QPointer>
#include <QSet>
#include <thread>

/// What the filter asks for. Outlives its FilterAdsController.
class FilterAdsControllerDelegate {
public:
    /// Deletes the tracks up to getCurrentFilterType() that may be removed, and saves the marks of the others.
    virtual void deleteShortFiles() {}
    /// Deletes the tracks that are marked so.
    virtual void deleteDuplicateFiles() {}
    /// Brings back what the last of these deletions took, as far as that is possible. The tracks that came back.
    virtual SongArray undoDeletion() { return {}; }
    /// Whether another undoDeletion() may bring back more.
    virtual bool canUndoDeletion() const { return false; }
    /// The last deletion stays.
    virtual void forgetDeletion() {}
    /// Plays a track, or pauses the one that plays. False if its file is gone.
    virtual bool playSong([[maybe_unused]] const SongPtr &song) { return true; }

protected:
    ~FilterAdsControllerDelegate() = default;
};

class FilterAdsController final : private FilterViewDelegate {
public:
    explicit FilterAdsController(FilterAdsControllerDelegate &delegate) : delegate_(delegate) {}
    ~FilterAdsController();
    FilterAdsController(const FilterAdsController &) = delete;
    FilterAdsController &operator=(const FilterAdsController &) = delete;

    /// The tracks to weed.
    void setAdverts(const SongArray &songs);
    void setCategoryName(const QString &categoryName) { categoryName_ = categoryName; }
    /// Shows the window, which blocks `window`, and returns.
    void runModal(QWidget *window);
    /// The chosen length in milliseconds.
    int getCurrentFilterType() const;
    /// Whether `song` is one of the tracks to weed: others may have come into the list since.
    bool isGiven(const SongPtr &song) const { return given_.contains(song.get()); }
    /// Tracks began or ended to play.
    void playbackDidChange();

    /// Null before and after the window is shown.
    FilterView *view() const { return view_; }

private:
    /// What a removal took out of the lists, and what it changed.
    struct Removal {
        FilterAdsItems adverts;
        FilterAdsItems allMusicItems;
        FilterAdsItems duplicateItems;
        FilterAdsItems removed;
        SongArray imported;
        int search = 0;
    };

    void didSelectTab(FilterTab tab) override;
    void filterChange() override;
    void didMark(FilterTab tab) override;
    void removeButtonClick() override;
    void removeDuplicateSongs() override;
    void undo() override;
    void playSong(const SongPtr &song) override;
    void setAutomicFilterAction(bool isOn) override;
    void setFilterTime(int seconds) override;
    void windowDidClose() override;

    bool hasAds();
    bool hasWaitingDeleteItem() const;
    static void removeInArray(FilterAdsItems &items, const FilterAdsItems &objectSameWithArray);
    void searchForDuplicateSongs();
    void upstateAfterSearchingDuplicatesFinish(const std::vector<DuplicateRow> &rows);
    void refreshDuplicateItemsState();
    void cancelSearch();
    FilterAdsItems arrangedObjects() const;
    void showShortRows();
    void showDuplicates();
    void updateButtons();
    void updateSummary();
    void noteRemoval(const FilterAdsItems &removed);
    void tellOfRemoval();

    FilterAdsControllerDelegate &delegate_;
    QPointer<FilterView> view_;
    QString categoryName_;
    FilterAdsItems adverts_;       // the given tracks of at most a minute
    FilterAdsItems allMusicItems_; // all the given tracks; other objects than those of adverts_
    FilterAdsItems duplicateItems_;
    QSet<const SongItem *> given_;
    Removal lastRemoval_;
    bool isProposal_ = false; // the marks of the duplicates are as the search left them
    bool isSearching_ = false;
    int searches_ = 0;
    std::jthread duplicateThread_;
};
