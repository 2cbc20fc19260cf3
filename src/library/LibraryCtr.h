// The library page: which list is shown, how a track enters it and leaves it.
//
// The page has a class for each of its subjects: PlayCtr (playback), SearchCtr (search field, status line), EditCtr
// (the tag editor), IdentifyCtr (what identification finds), PageControls (menus and badges), ToolKitCtr (the page of
// tools), ImportCtr, FilterAdsController. This one stands in their middle: it owns them, the lists (TrackLists), and
// the table and tree that show them.
//
// Threads: main.
#pragma once

#include "library/EditCtr.h"
#include "library/FilterAdsController.h"
#include "library/IdentifyCtr.h"
#include "library/ImportCtr.h"
#include "library/PageControls.h"
#include "library/PlayCtr.h"
#include "library/SearchCtr.h"
#include "library/ToolKitCtr.h"
#include "library/TrackLists.h"
#include "views/library/CategoryViewCtr.h"
#include "views/library/ListViewCtr.h"

#include <QObject>
#include <memory>

class LibraryPage;
class TrackRemoval;

/// Hears what the library has to say, and answers what it asks for. Outlives its LibraryCtr.
class LibraryCtrDelegate {
public:
    /// Text for the status line; null clears it.
    virtual void displayStatus([[maybe_unused]] const QString &status) {}
    virtual bool isRecording() const { return false; }
    /// Files that are being recorded.
    virtual QStringList pathsInProgress() const { return {}; }
    virtual bool isDisplayRecordView() const { return false; }
    /// True: the spectrum takes the top box. False: the play panel does, unless something records.
    virtual void showPlayView([[maybe_unused]] bool isSpectrum) {}
    /// A track was opened for playing.
    virtual void didPlaySong() {}
    virtual void playbackDidChange() {}
    virtual void playbackDidSeek() {}
    /// An edit is in the library, and not in the file.
    virtual void tagsWereNotWritten([[maybe_unused]] const SongItem &song, [[maybe_unused]] TagWriteOutcome outcome) {}
    virtual void coverWasRefused([[maybe_unused]] const QString &reason) {}
    /// The user wants these tracks identified.
    virtual void getID3WithSongItem([[maybe_unused]] const SongPtr &song) {}
    virtual void getID3WithSongItems([[maybe_unused]] const SongArray &songs, [[maybe_unused]] bool isMutableGet) {}
    /// The program ends.
    virtual bool mainExiting() const { return false; }
    /// The library file did not take a change; what that means for the user.
    virtual void libraryWasNotWritten([[maybe_unused]] const QString &consequence) {}

protected:
    ~LibraryCtrDelegate() = default;
};

/// The parts of the main window that the library fills and drives; all outlive it.
struct LibraryViews {
    LibraryPage &page;
    SketchButton &playBtn;
    PlayPanel &playMusicView;
    QLineEdit &searchFeild;
    ListButtons buttons;
    TextButton &editBtn;
};

class LibraryCtr final : public QObject,
                         public ListViewCtrDelegate,
                         public CategoryViewCtrDelegate,
                         public PlayCtrDelegate,
                         public SearchCtrDelegate,
                         public PageControlsDelegate,
                         public ToolKitCtrDelegate,
                         public ImportCtrDelegate,
                         public FilterAdsControllerDelegate,
                         public EditCtrDelegate,
                         public IdentifyCtrDelegate {
    Q_OBJECT
public:
    LibraryCtr(LibraryCtrDelegate &delegate, const LibraryViews &views);
    ~LibraryCtr() override;

    /// The tracks of the library file, which the program's start reads on another thread.
    void takeTracks(TrackLists loaded);

    const QString &category() const override { return strCategory_; }
    /// The first selected row's track, or null.
    SongPtr getSelectedItem() const override;

    /// A finished recording arrives.
    void addNewRecordingSong(const SongPtr &song);
    /// Goes to a track that was recorded in this run.
    void showNewRecordItem(const SongPtr &song, bool isPlay);
    /// Goes to the track that plays, in the category in which it was started.
    void showPlayedItem();

    /// The page came up, or went: what stands beside it follows.
    void pageDidChange();

    /// What Delete in the menu does: asks, unless the keyboard is in a text.
    void deleteItems();
    /// Opens the window that weeds the tracks of the shown list.
    void filterAds();
    FilterAdsController *filterAdsController() { return filterAdsController_.get(); }

    /// Opens the tag editor, or closes it.
    void toggleEdit() override;

    /// Something of the track is shown that is another now.
    void reloadWithSongItem(const SongPtr &song);

    PlayCtr &playCtr() { return *playCtr_; }
    EditCtr &editCtr() { return *editCtr_; }
    IdentifyCtr &identifyCtr() { return *identifyCtr_; }
    SearchCtr &searchCtr() { return *searchCtr_; }
    const PageControls &pageControls() const { return *pageControls_; }
    ImportCtr &importCtr() { return *importCtr_; }
    ListViewCtr &listViewCtr() { return *listViewCtr_; }
    CategoryViewCtr &categoryViewCtr() { return *categoryViewCtr_; }

    /// The list has the keyboard, or the tree.
    bool isListFocused() const;
    /// The page of tools stands in the place of the list.
    bool isToolKitShown() const;

private:
    void showCategory(const QString &category);
    void showToolKit();
    void showToolKitControls();
    void showSorted(const SharedSongArray &songs, bool isSortedInPlace);
    void selectRow(int row);
    void showRow(qsizetype row);
    SongArray selectedSongs() const;
    void updateEmptyText();
    void reloadData();
    void refreshCounts();

    void askAndDelete(const SongArray &songs);
    /// `isFilterAds`: what is left is shown from its first row. `removal`, if there is one, learns what went where.
    void deleteSongItems(SongArray songs, bool isFilterAds = false, TrackRemoval *removal = nullptr);
    void throwAway(const SongArray &songs, TrackRemoval *removal);
    void throwAway(const SongItem &song, TrackRemoval *removal);
    void deleteFiltered(const SongArray &songs);
    void saveKeptMarks();

    // What the list asks for
    const SongArray &allSongArray() const override { return *lists_.allSongArray(); }
    void showFile(const QString &path) override;
    bool canImport() const override { return !importCtr_->isImporting(); }
    void selectedDidChange() override;
    void showEditTagsPanel() override;
    bool isEditPanelExpend() const override { return editCtr_->isEditPanelExpend(); }
    bool canEditTags() const override { return true; }
    bool canIdentify() const override { return true; }
    void getID3WithSongItem(const SongPtr &song) override { delegate_.getID3WithSongItem(song); }
    void getID3WithSongItems(const SongArray &songs, bool isMutableGet) override {
        delegate_.getID3WithSongItems(songs, isMutableGet);
    }
    // The tag editor, and what identification finds
    TagWriteOutcome writeID3inFile(const SongPtr &song, bool isNeedChangeCover, bool isNeedChangeFileName) override;
    bool mainExiting() const override { return delegate_.mainExiting(); }
    void notficateUpdateForSongItem(const SongPtr &song) override;
    void songDidChange(const SongPtr &song) override;
    void focusList() override;
    void updateTrackingAreas() override { listViewCtr_->updateTrackingAreas(); }
    void tagsWereNotWritten(const SongItem &song, TagWriteOutcome outcome) override {
        delegate_.tagsWereNotWritten(song, outcome);
    }
    void coverWasRefused(const QString &reason) override { delegate_.coverWasRefused(reason); }
    void libraryWasNotWritten(const QString &consequence) override { delegate_.libraryWasNotWritten(consequence); }
    // The tree
    void outlineViewSelectionDidChange(const OutlineItem &item) override;
    int badgeCount(int row) const override { return pageControls_->badgeCount(row); }
    // Search, page controls, tools
    SharedSongArray categoryArray() override;
    void searchDidChange() override;
    const SongArray &shownArray() const override { return *listViewCtr_->songArray(); }
    bool isSearching() const override { return searchCtr_->isSearching(); }
    SongPtr playItem() const override { return playCtr_->playItem(); }
    bool isPlaying() const override { return playCtr_->isPlaying(); }
    const QString &playInCategory() const override { return playCtr_->playInCategory(); }
    bool changePlayStatus() override { return playCtr_->changePlayStatus(); }
    void removeFromLibrary(const SongArray &songs) override { deleteSongItems(songs); }
    void songDidMove(const SongPtr &song) override { reloadWithSongItem(song); }
    // The import
    void showAllMusic() override;
    void didImport() override;
    QStringList pathsInProgress() const override { return delegate_.pathsInProgress(); }
    // The filter
    void deleteShortFiles() override;
    void deleteDuplicateFiles() override;
    SongArray undoDeletion() override;
    bool canUndoDeletion() const override { return lastRemoval_ != nullptr; }
    void forgetDeletion() override { lastRemoval_.reset(); }
    bool playSong(const SongPtr &song) override;
    // Passed on
    bool isRecording() const override { return delegate_.isRecording(); }
    bool isDisplayRecordView() const override { return delegate_.isDisplayRecordView(); }
    void showPlayView(bool isSpectrum) override { delegate_.showPlayView(isSpectrum); }
    void displayStatus(const QString &status) override { delegate_.displayStatus(status); }
    void didPlaySong() override { delegate_.didPlaySong(); }
    void playbackDidChange() override;
    void playbackDidSeek() override { delegate_.playbackDidSeek(); }

    LibraryCtrDelegate &delegate_;
    LibraryViews views_;
    TrackLists lists_;
    QString strCategory_;
    bool isLoaded_ = false; // the tracks of the library file were read
    // The order of a list changed while the list shown could not be sorted again: the next visit drops the sort.
    bool isChangeID3Sort_ = false;
    QList<SortDescriptor> sortArray_;
    std::unique_ptr<ListViewCtr> listViewCtr_;
    std::unique_ptr<PlayCtr> playCtr_;
    std::unique_ptr<SearchCtr> searchCtr_;
    std::unique_ptr<EditCtr> editCtr_;
    std::unique_ptr<IdentifyCtr> identifyCtr_;
    std::unique_ptr<PageControls> pageControls_;
    std::unique_ptr<CategoryViewCtr> categoryViewCtr_;
    std::unique_ptr<ToolKitCtr> toolKitCtr_; // from the first visit on
    std::unique_ptr<ImportCtr> importCtr_;
    std::shared_ptr<TrackRemoval> lastRemoval_;                // by the filter, while its window is open
    std::unique_ptr<FilterAdsController> filterAdsController_; // from its first window on
};
