// The list of tracks: the table with its header, its popup menu and context menu, and the cover flow above it.
//
// Threads: main.
#pragma once

#include "store/SongArray.h"
#include "store/SortDescriptor.h"
#include "views/library/ImageFlow.h"
#include "views/library/MyTableView.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>

class CustomWindow;
class MyMenuViewController;
class QAbstractButton;
class QAction;

/// What the list says, and what it asks for that others have. Outlives its ListViewCtr.
class ListViewCtrDelegate {
public:
    /// Another row of the table was selected.
    virtual void selectedDidChange() {}
    virtual void showEditTagsPanel() {}
    virtual bool isEditPanelExpend() const { return false; }
    virtual void toggleEdit() {}

    virtual bool isRecording() const { return false; }
    /// Every track of the library, which the double-click rule looks a row up in.
    virtual const SongArray &allSongArray() const = 0;

    /// Whether there is somebody who can identify tracks, and edit them. What asks for either is disabled otherwise.
    virtual bool canIdentify() const { return false; }
    virtual bool canEditTags() const { return false; }
    virtual void getID3WithSongItem([[maybe_unused]] const SongPtr &song) {}
    virtual void getID3WithSongItems([[maybe_unused]] const SongArray &songs, [[maybe_unused]] bool isMutableGet) {}

    /// The playlists that tracks can be handed to, in their own order; std::nullopt while there is nobody to hand to:
    /// what leads there is then not shown.
    virtual std::optional<QStringList> customPlaylists() const { return std::nullopt; }
    /// An empty `playlist` is the music library.
    virtual void addTrackItems([[maybe_unused]] const QStringList &paths, [[maybe_unused]] const QString &playlist) {}

    /// Shows the file in the desktop's file manager.
    virtual void showFile([[maybe_unused]] const QString &path) {}
    /// Whether dropped files start an import. Without it drops are refused.
    virtual bool canImport() const { return false; }

protected:
    ~ListViewCtrDelegate() = default;
};

class ListViewCtr final : public QObject,
                          public ImageFlowDataSource,
                          public ImageFlowDelegate,
                          public MyTableViewDelegate {
    Q_OBJECT
public:
    /// `delegate` outlives this object.
    explicit ListViewCtr(ListViewCtrDelegate &delegate);
    ~ListViewCtr() override;

    /// Cover flow and table; whoever shows it takes it over.
    QWidget *view() const { return view_; }
    MyTableView *tableView() const { return tableView_; }
    IKImageFlowView *imageFlowView() const { return imageFlowView_; }

    /// The rows, shared with the library: whoever changes them calls reloadData().
    void setSongArray(SharedSongArray songs);
    const SharedSongArray &songArray() const;

    bool isCanDrop() const { return isCanDrop_; }
    void setIsCanDrop(bool isCanDrop) { isCanDrop_ = isCanDrop; }
    bool isCanSorted() const { return isCanSorted_; }
    void setIsCanSorted(bool isCanSorted);
    /// The sort in force, one element or none.
    const QList<SortDescriptor> &sortArray() const { return sortArray_; }
    void setSortArray(const QList<SortDescriptor> &sortArray) { sortArray_ = sortArray; }
    /// The sort that the user chose last, in this run or an earlier one; empty when there was none.
    static QList<SortDescriptor> rememberedSortArray();
    void setIsNeedChangeTableViewSelected(bool isNeeded) { isNeedChangeTableViewSelected_ = isNeeded; }
    /// The track that plays, for the menu's first item; may be null.
    void setPlayItem(const SongPtr &song) { playItem_ = song; }

    /// Looks at the rows again, table and cover flow. Selected row numbers stay as far as there are such rows.
    void reloadData();
    /// The table only, in which rows were changed and none came or went.
    void reloadTable();
    void reloadAndSort();
    void startGettingID3();
    void stopGettingID3();
    void setImageFlowSelectedIndex(int index);
    void updateTrackingAreas();
    /// With `isWarning` a missing file is told to the user, who may remove the track. A missing file sets the status.
    bool isSongItemExist(const SongPtr &song, bool isWarning);
    /// The sentence shown in place of rows when there are none, and the picture above it where there is room.
    void setEmptyText(const QString &text, const QString &picture = {});

    // Actions of menus and buttons on the selected rows
    void play();
    void showInFinder();
    void addToITunes(QWidget &button);
    void editMusicTags();
    void getMusicTags();
    void selectAll();
    void deleteSongItem();

    int numberOfItemsInImageFlow(IKImageFlowView &flow) const override;
    SongPtr itemAtIndex(IKImageFlowView &flow, int index) const override;
    void didSelectItemAtIndex(IKImageFlowView &flow, int index) override;
    void cellWasDoubleClickedAtIndex(IKImageFlowView &flow, int index) override;

    void tableViewSelectionDidChange() override;
    void sortDescriptorsDidChange() override;
    void doubleAction() override;
    bool isDoubleClickOnLastColumn(int row) const override;
    QString imageForRow(int row, int column, bool isSelected) override;
    bool isButtonEnabled(int row) const override;
    void buttonWasPressed() override;
    void mouseMovedToRow(int row) override;
    void showFloatMenu(int row) override;
    QMenu *menu() override { return menu_; }
    bool validateDrop(const QMimeData &data) const override;
    bool acceptDrop(const QMimeData &data) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeMenu();
    void menuWillOpen();
    SongPtr firstSelectedSong() const;
    SongArray selectedSongs() const;
    void getMusicTagsWithSongItem(const SongPtr &song);
    void buttonAction(const SongPtr &song);
    void editMusicTagsForButtonCell();
    void updateTimer();
    bool isAnyBusyInSight() const;
    QString changeImage();
    QPoint getLocation(int row) const;
    void updateMenuButton();
    void openMainLevel(int row, const QPoint &button, bool isByKey);
    void getMainLevel();
    void getiTunesCustomWindow(const QStringList &playlists);
    void menuItemClickNotificationEvent(const QString &title);
    void openPlaylistsLevel(const QPoint &topLeft, bool isByKey);
    void showAddToiTunesMenuWindow();
    void performAddDataToITunes(const QString &title);
    void closeMenuWindows();

    ListViewCtrDelegate &delegate_;
    QPointer<QWidget> view_;         // whoever shows it may delete it first
    IKImageFlowView *imageFlowView_; // made before the table, so that Tab comes to it first
    MyTableView *tableView_;
    SharedSongArray marrSongs_ = std::make_shared<SongArray>();
    bool isCanDrop_ = true;
    bool isCanSorted_ = false;
    QList<SortDescriptor> sortArray_;
    // False lets the next word of the cover flow pass without a selection in the table: it only echoes the table.
    bool isNeedChangeTableViewSelected_ = true;
    bool isGettingID3_ = false;
    QTimer timer_; // of the busy pictures; stands still while nobody sees them
    SongPtr playItem_;

    QMenu *menu_;
    QAction *playMenuItem_ = nullptr;
    QAction *identifyMenuItem_ = nullptr;
    QAction *showFinderMenuItem_ = nullptr;
    QAction *editMenuItem_ = nullptr;
    QAbstractButton *menuBtn_;
    int menuButtonRow_ = -1;
    CustomWindow *menuWindowLev1_ = nullptr;
    CustomWindow *menuWindowLev2_ = nullptr;
};
