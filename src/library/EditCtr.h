// The tag editor beside the list: slides it in and out, gives it the selected track, and carries every change into the
// file, the database and the lists.
//
// Threads: main.
#pragma once

#include "library/TrackLists.h"
#include "tags/access/TagWriteOutcome.h"
#include "views/library/ID3ViewCtr.h"

#include <QObject>
#include <QTimer>

class LibraryPage;
class TextButton;

/// What the editor needs of the library. Outlives its EditCtr.
class EditCtrDelegate {
public:
    /// The first selected row's track, or null.
    virtual SongPtr getSelectedItem() const = 0;
    /// Title, artist or cover of the track are others now.
    virtual void notficateUpdateForSongItem(const SongPtr &song) = 0;
    /// Any value is; the order of the lists may no longer be true.
    virtual void songDidChange(const SongPtr &song) = 0;
    /// The tags go into the file, and its name may follow them; the lists and the status line know it.
    virtual TagWriteOutcome writeID3inFile(const SongPtr &song, bool isNeedChangeCover, bool isNeedChangeFileName) = 0;
    /// The list takes the keyboard again.
    virtual void focusList() = 0;
    /// The list has its final width.
    virtual void updateTrackingAreas() = 0;
    /// The track has its new values, its file has not.
    virtual void tagsWereNotWritten(const SongItem &song, TagWriteOutcome outcome) = 0;
    virtual void coverWasRefused(const QString &reason) = 0;
    /// The track has its new values until the program ends.
    virtual void libraryWasNotWritten(const QString &consequence) = 0;

protected:
    ~EditCtrDelegate() = default;
};

class EditCtr final : public QObject, private ID3ViewCtrDelegate {
    Q_OBJECT
public:
    EditCtr(EditCtrDelegate &delegate, const TrackLists &lists, LibraryPage &page);
    ~EditCtr() override;

    /// Opens the editor, or closes it. `sender` gets the sign for what it does next; without one none does.
    void toggleEdit(TextButton *sender);
    bool isEditPanelExpend() const;
    /// As the list's own menu has it.
    void showEditTagsPanel() { toggleEdit(/*sender=*/nullptr); }

    /// Another row may be selected: the editor follows a moment later, so that rapid moves cost it nothing.
    void selectedDidChange();
    /// What is selected now is shown at once.
    void changeID3Edit();
    /// Shows `song` again if it is the selected one: somebody else has changed it.
    void refresh(const SongPtr &song);
    /// Takes over what is typed.
    void endEditing() { id3ViewCtr_.endEditing(); }
    /// The same, if it is typed for one of `songs`.
    void endEditing(const SongArray &songs);
    /// The same, and waits for covers on their way: the program ends.
    void finish();

    ID3ViewCtr &id3ViewCtr() { return id3ViewCtr_; }

private:
    void panelDidSlide();
    void id3DataDidChange(const SongPtr &song, const QVariantMap &changes) override;
    void coverWasRefused(const QString &reason) override { delegate_.coverWasRefused(reason); }
    void editorWasLeft() override { delegate_.focusList(); }

    EditCtrDelegate &delegate_;
    const TrackLists &lists_;
    LibraryPage &page_;
    ID3ViewCtr id3ViewCtr_;
    QTimer timerForChangeID3_;
};
