#include "library/IdentifyCtr.h"

#include "library/EditCtr.h"
#include "library/TrackLists.h"
#include "library/WriteID3.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "views/library/ListViewCtr.h"

#include <QFile>
#include <QImageReader>
#include <utility>

namespace {

void setStatus(SongItem &song, ID3Status status) { song.setGetID3Status(static_cast<int32_t>(status)); }

ID3Status statusOf(const SongItem &song) { return static_cast<ID3Status>(song.getID3Status()); }

void takeTexts(SongItem &song, const QVariantMap &info) {
    using Setter = void (SongItem::*)(QString);
    for (const auto &[key, set] : std::initializer_list<std::pair<const char *, Setter>>{
             {"MusicTitle", &SongItem::setTitle},
             {"AlbumTitle", &SongItem::setAlbum},
             {"AlbumArtist", &SongItem::setArtist},
             {"AlbumYeas", &SongItem::setYear},
             {"AlbumGenres", &SongItem::setGenre},
         })
        if (const auto text = info.constFind(QString::fromLatin1(key)); text != info.cend())
            (song.*set)(text->toString());
}

bool hasEndOfPng(const QString &path) {
    static const QByteArray end("\0\0\0\0IEND\xae\x42\x60\x82", 12);
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.seek(file.size() - end.size()) && file.readAll() == end;
}

// Read in small: a JPEG of any size costs a fraction then, and a file that is cut short tells itself all the same. Of a
// PNG every point would have to be read, 45 ms for a large one; its end tells as much.
bool isPicture(const QString &path) {
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (size.isValid() && reader.format() == "png" && hasEndOfPng(path))
        return true;
    if (size.isValid())
        reader.setScaledSize((size / 8).expandedTo(QSize(1, 1)));
    return !reader.read().isNull();
}

// The cover that came with the file stays on offer behind those that were found, none of which may take its place.
QStringList coversOf(const SongItem &song, const QStringList &found) {
    const bool hasOwn = song.isHasLocalCover() && !song.coverImages().isEmpty();
    QStringList covers;
    for (const QString &path : found)
        if ((!hasOwn || covers.size() < DataBaseManager::kLocalCoverSlot) && isPicture(path))
            covers.append(path);
    if (hasOwn)
        covers.append(song.coverImages().last());
    return covers;
}

} // namespace

bool leaveQueue(SongItem &song) {
    switch (statusOf(song)) {
    case ID3Status::Waiting:
    case ID3Status::Searching:
        setStatus(song, ID3Status::NotAsked);
        return true;
    case ID3Status::FetchingCover:
    case ID3Status::Reserved:
        setStatus(song, ID3Status::Identified);
        return true;
    default:
        return false;
    }
}

IdentifyCtr::IdentifyCtr(IdentifyCtrDelegate &delegate, const TrackLists &lists, ListViewCtr &list, EditCtr &editor)
    : delegate_(delegate), lists_(lists), listViewCtr_(list), editCtr_(editor) {}

// A track may have been deleted while its answer was on the way.
SongPtr IdentifyCtr::songWithID(const char *operation, int32_t songID) const {
    logLine(QStringLiteral("%1 songID= %2").arg(QLatin1String(operation), QString::number(songID)));
    return lists_.getSongItemWithID(songID);
}

// Either is told once: nobody may be there to read it in a night of names.
void IdentifyCtr::save(const SongPtr &song, const QString &path, TagWriteOutcome outcome) {
    const bool isStored = saveWritten(*song, path);
    if (!isStored && !std::exchange(hasToldLoss_, true))
        delegate_.libraryWasNotWritten(
            localizedString("The files have the names that are found now, the library only until the program ends."));
    if (isStored && outcome != TagWriteOutcome::Written && !std::exchange(hasToldOfTags_, true))
        delegate_.tagsWereNotWritten(*song, outcome);
    delegate_.notficateUpdateForSongItem(song);
}

void IdentifyCtr::changeID3GetingStatus(const SongPtr &song) { delegate_.notficateUpdateForSongItem(song); }

void IdentifyCtr::upDateSongItemForSearchingID3(int32_t songID) {
    const SongPtr song = songWithID("upDateSongItemForSearchingID3", songID);
    if (!song)
        return;
    setStatus(*song, ID3Status::Searching);
    editCtr_.refresh(song);
    delegate_.notficateUpdateForSongItem(song);
    listViewCtr_.startGettingID3();
    listViewCtr_.reloadTable();
}

void IdentifyCtr::getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex) {
    const SongPtr song = songWithID("getID3DidFinish", RecorderIndex);
    if (!song)
        return;
    takeTexts(*song, info);
    setStatus(*song, ID3Status::FetchingCover);
    editCtr_.refresh(song);
    const QString path = song->songPath();
    // A recording gets its name now, before any cover is known.
    const TagWriteOutcome outcome =
        delegate_.writeID3inFile(song, /*isNeedChangeCover=*/false, /*isNeedChangeFileName=*/true);
    save(song, path, outcome);
    delegate_.songDidChange(song);
}

// An empty list leaves the track busy until the program ends.
void IdentifyCtr::upDateSongItemForSearchID3Fininshed(const QStringList &paths, int32_t RecorderIndex) {
    const SongPtr song = songWithID("upDateSongItemForSearchID3Fininshed", RecorderIndex);
    if (!song || paths.isEmpty())
        return;
    song->setCoverImages(coversOf(*song, paths));
    song->setCoverImageIndex(song->coverImages().isEmpty() ? -1 : 0);
    setStatus(*song, ID3Status::Identified);
    editCtr_.refresh(song);
    const TagWriteOutcome outcome =
        delegate_.writeID3inFile(song, /*isNeedChangeCover=*/true, /*isNeedChangeFileName=*/false);
    save(song, song->songPath(), outcome);
    listViewCtr_.stopGettingID3();
    song->setVersion(song->version() + 1);
    listViewCtr_.reloadData();
}

void IdentifyCtr::getID3Failed(int32_t songID) {
    const SongPtr song = songWithID("getID3Failed", songID);
    if (!song)
        return;
    if (statusOf(*song) == ID3Status::FetchingCover) // it keeps its tags
        setStatus(*song, ID3Status::Identified);
    else if (!delegate_.mainExiting())
        setStatus(*song, ID3Status::NotFound);
    editCtr_.refresh(song);
    save(song, song->songPath(), TagWriteOutcome::Written);
    listViewCtr_.startGettingID3(); // runs on until covers come for a later track
    listViewCtr_.reloadTable();
}

void IdentifyCtr::modifyGetingID3Status() {
    SongArray changed;
    for (const SongPtr &song : std::as_const(*lists_.allSongArray())) {
        // What this run has recorded may be in the queue before the library is read.
        if (!delegate_.mainExiting() && lists_.newRecordArray()->contains(song))
            continue;
        if (leaveQueue(*song))
            changed.append(song);
    }
    if (!changed.isEmpty())
        DataBaseManager::defaultManager().updateSongItems(changed);
}
