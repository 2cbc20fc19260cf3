// What comes of an identification: the track takes the tags and covers that were found, its file gets them and a
// recording its name, and whatever shows the track follows.
//
// Threads: main; a file is written before the operation returns.
#pragma once

#include "store/SongArray.h"
#include "tags/access/TagWriteOutcome.h"

#include <QStringList>
#include <QVariantMap>

class EditCtr;
class ListViewCtr;
class TrackLists;

/// What the results need of the library. Outlives its IdentifyCtr.
class IdentifyCtrDelegate {
public:
    /// The tags go into the file, and its name may follow them; the lists and the status line know it.
    virtual TagWriteOutcome writeID3inFile(const SongPtr &song, bool isNeedChangeCover, bool isNeedChangeFileName) = 0;
    /// Whoever shows the tracks of this run is to look at this one again.
    virtual void notficateUpdateForSongItem(const SongPtr &song) = 0;
    /// A text of the track is another now; the order of the lists may no longer be true.
    virtual void songDidChange(const SongPtr &song) = 0;
    virtual bool mainExiting() const = 0;
    /// The track has its new values, its file has not.
    virtual void tagsWereNotWritten(const SongItem &song, TagWriteOutcome outcome) = 0;
    /// The library could not be written, with this consequence.
    virtual void libraryWasNotWritten(const QString &consequence) = 0;

protected:
    ~IdentifyCtrDelegate() = default;
};

/// No queue works on `song` any more: it can be asked for again, or keeps what it got. False if it was in no queue.
bool leaveQueue(SongItem &song);

class IdentifyCtr {
public:
    IdentifyCtr(IdentifyCtrDelegate &delegate, const TrackLists &lists, ListViewCtr &list, EditCtr &editor);

    /// A track was queued.
    void changeID3GetingStatus(const SongPtr &song);
    /// Its turn has come.
    void upDateSongItemForSearchingID3(int32_t songID);
    /// "MusicTitle", "AlbumTitle", "AlbumArtist", "AlbumYeas", "AlbumGenres"; a text that is absent stays as it was.
    void getID3DidFinish(const QVariantMap &info, int32_t RecorderIndex);
    /// The paths of pictures, the best first; those that can't be read don't count.
    void upDateSongItemForSearchID3Fininshed(const QStringList &paths, int32_t RecorderIndex);
    /// There are no tags; or there are, and no covers.
    void getID3Failed(int32_t songID);
    /// Takes back what no queue works on any more. At the start and at the end of the program.
    void modifyGetingID3Status();

private:
    SongPtr songWithID(const char *operation, int32_t songID) const;
    /// `path`: what the file was called before its tags were written, with `outcome`.
    void save(const SongPtr &song, const QString &path, TagWriteOutcome outcome);

    IdentifyCtrDelegate &delegate_;
    bool hasToldLoss_ = false, hasToldOfTags_ = false;
    const TrackLists &lists_;
    ListViewCtr &listViewCtr_;
    EditCtr &editCtr_;
};
