#include "library/EditCtr.h"

#include "library/WriteID3.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "views/window/LibraryPage.h"

namespace {

constexpr int kSelectionMilliseconds = 200;

// A track that no service could name counts as identified once the user has named it.
bool isNamed(const SongItem &song) {
    return !song.artist().isEmpty() && !song.title().isEmpty() && song.artist() != localizedString("Unknown Artist") &&
           !song.title().contains(localizedString("Track"));
}

} // namespace

EditCtr::EditCtr(EditCtrDelegate &delegate, const TrackLists &lists, LibraryPage &page)
    : delegate_(delegate), lists_(lists), page_(page), id3ViewCtr_(*this) {
    page_.setEditView(id3ViewCtr_.view());
    connect(&page_, &LibraryPage::expansionFinished, this, &EditCtr::panelDidSlide);
    timerForChangeID3_.setSingleShot(true);
    timerForChangeID3_.setInterval(kSelectionMilliseconds);
    connect(&timerForChangeID3_, &QTimer::timeout, this, &EditCtr::changeID3Edit);
}

EditCtr::~EditCtr() = default;

bool EditCtr::isEditPanelExpend() const { return page_.isExpanded(); }

void EditCtr::toggleEdit(TextButton *sender) {
    const bool isExpanded = !page_.isExpanded();
    if (isExpanded)
        changeID3Edit(); // nobody shall type into the track that was selected before
    else
        endEditing();
    if (sender)
        setEditImages(*sender, isExpanded);
    page_.setExpanded(isExpanded, /*animated=*/true);
}

void EditCtr::endEditing(const SongArray &songs) {
    if (songs.contains(id3ViewCtr_.songItem()))
        id3ViewCtr_.endEditing();
}

void EditCtr::finish() {
    id3ViewCtr_.endEditing();
    id3ViewCtr_.finishCovers();
}

void EditCtr::panelDidSlide() {
    if (page_.isVisible()) {
        if (page_.isExpanded())
            id3ViewCtr_.setTitleFirstResonder();
        else
            delegate_.focusList();
    }
    delegate_.updateTrackingAreas();
}

void EditCtr::selectedDidChange() { timerForChangeID3_.start(); }

void EditCtr::changeID3Edit() {
    timerForChangeID3_.stop();
    const SongPtr song = delegate_.getSelectedItem();
    if (!song || song != id3ViewCtr_.songItem())
        id3ViewCtr_.setSongItem(song);
}

void EditCtr::refresh(const SongPtr &song) {
    if (song == delegate_.getSelectedItem())
        id3ViewCtr_.setSongItem(song);
}

// The track is the one that the editor shows: the selection may be elsewhere already when the typing ends.
void EditCtr::id3DataDidChange(const SongPtr &song, const QVariantMap &changes) {
    logLine(QStringLiteral("id3DataDidChange ... %1").arg(QStringList(changes.keys()).join(',')));
    if (!lists_.allSongArray()->contains(song))
        return; // it has been deleted meanwhile
    const bool isCover = changes.contains(QStringLiteral("cover")) || changes.contains(QStringLiteral("coverindex"));
    if (isCover)
        song->setVersion(song->version() + 1);
    const bool isName = changes.contains(QStringLiteral("artist")) || changes.contains(QStringLiteral("title"));
    if (song->getID3Status() == static_cast<int32_t>(ID3Status::NotFound) && isNamed(*song))
        song->setGetID3Status(static_cast<int32_t>(ID3Status::Identified));
    const QString path = song->songPath();
    const TagWriteOutcome outcome = delegate_.writeID3inFile(song, isCover, isName);
    if (isCover || isName)
        delegate_.notficateUpdateForSongItem(song);
    bool isCoverLost = false;
    const bool isStored = saveWritten(*song, path, &isCoverLost);
    delegate_.songDidChange(song);
    if (!isStored)
        delegate_.libraryWasNotWritten(
            localizedString(outcome == TagWriteOutcome::Written
                                ? "The file of \"%1\" has what you changed, the library only until the program ends."
                                : "What you changed in \"%1\" is lost when the program ends: its file has it neither.")
                .arg(song->title()));
    else if (outcome != TagWriteOutcome::Written)
        delegate_.tagsWereNotWritten(*song, outcome);
    if (isCoverLost && isCover)
        delegate_.coverWasRefused(textOf(PictureTrouble::NoRoom));
}
