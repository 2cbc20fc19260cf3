// One track of the library.
//
// Threads: the main thread. A worker may fill a new item before anyone else has it.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>
#include <memory>
#include <optional>

/// Playback and presence of a track. Not stored.
enum class SongStatus : int32_t { Idle = 0, Missing = 1, Playing = 2, Paused = 3 };

/// How far the identification of a track is. Stored, so a track may come back in any of them.
enum class ID3Status : int32_t {
    NotAsked = 0,
    Waiting = 1,       ///< in the queue
    Searching = 2,     ///< the service is being asked now
    NotFound = 3,      ///< asked for and not found, or skipped
    FetchingCover = 4, ///< tags arrived, covers are on their way
    Reserved = 5,      ///< read as FetchingCover, never set
    Identified = 6,
};

/// There is one live object per row of the library, shared by every list and view that shows the track.
/// A null string is an absent one. An absent date is an invalid one.
class SongItem {
public:
    /// One of the item's values; what is absent gives an invalid QVariant.
    using ValueGetter = QVariant (*)(const SongItem &song);

    /// The getter behind `key`, for loops over many items; null for a key that no item has.
    static ValueGetter valueGetterForKey(const QString &key);

    /// The value of the property or derived text `key`, as in "title" or "playLength"; invalid for an unknown key.
    QVariant valueForKey(const QString &key) const;

    int32_t songID() const { return songID_; }
    void setSongID(int32_t songID) { songID_ = songID; }
    const QString &title() const { return strTitle_; }
    void setTitle(QString title) { strTitle_ = std::move(title); }
    const QString &artist() const { return strArtist_; }
    void setArtist(QString artist) { strArtist_ = std::move(artist); }
    const QString &album() const { return strAlbum_; }
    void setAlbum(QString album) { strAlbum_ = std::move(album); }
    const QString &genre() const { return strGenre_; }
    void setGenre(QString genre) { strGenre_ = std::move(genre); }
    qint64 length() const { return length_; }
    void setLength(qint64 length) { length_ = length; }
    qint64 size() const { return size_; }
    void setSize(qint64 size) { size_ = size; }
    bool isImported() const { return isImported_; }
    void setIsImported(bool isImported) { isImported_ = isImported; }
    const QString &year() const { return strYear_; }
    void setYear(QString year) { strYear_ = std::move(year); }
    const QDateTime &addedDate() const { return addedDate_; }
    void setAddedDate(QDateTime addedDate) { addedDate_ = std::move(addedDate); }
    const QString &songPath() const { return strSongPath_; }
    void setSongPath(QString songPath) { strSongPath_ = std::move(songPath); }
    int32_t biteRate() const { return biteRate_; }
    void setBiteRate(int32_t biteRate) { biteRate_ = biteRate; }
    int32_t sampleRate() const { return sampleRate_; }
    void setSampleRate(int32_t sampleRate) { sampleRate_ = sampleRate; }
    const QString &encodeKind() const { return strEncodeKind_; }
    void setEncodeKind(QString encodeKind) { strEncodeKind_ = std::move(encodeKind); }
    const QStringList &coverImages() const { return marrCoverImages_; }
    void setCoverImages(QStringList coverImages) { marrCoverImages_ = std::move(coverImages); }
    int32_t coverImageIndex() const { return coverImageIndex_; }
    void setCoverImageIndex(int32_t coverImageIndex) { coverImageIndex_ = coverImageIndex; }
    bool isHasLocalCover() const { return isHasLocalCover_; }
    void setIsHasLocalCover(bool isHasLocalCover) { isHasLocalCover_ = isHasLocalCover; }
    int32_t status() const { return status_; }
    void setStatus(int32_t status) { status_ = status; }
    bool isNewRecording() const { return isNewRecording_; }
    void setIsNewRecording(bool isNewRecording) { isNewRecording_ = isNewRecording; }
    bool isAds() const { return isAds_; }
    void setIsAds(bool isAds) { isAds_ = isAds; }
    int32_t getID3Status() const { return getID3Status_; }
    void setGetID3Status(int32_t getID3Status) { getID3Status_ = getID3Status; }
    int32_t version() const { return version_; }
    void setVersion(int32_t version) { version_ = version; }
    bool deleteForDuplicate() const { return deleteForDuplicate_; }
    void setDeleteForDuplicate(bool deleteForDuplicate) { deleteForDuplicate_ = deleteForDuplicate; }
    int32_t trackID() const { return ntrackID_; }
    void setTrackID(int32_t trackID) { ntrackID_ = trackID; }
    const QString &trackPerID() const { return trackPerID_; }
    void setTrackPerID(QString trackPerID) { trackPerID_ = std::move(trackPerID); }
    const QString &kind() const { return strKind_; }
    void setKind(QString kind) { strKind_ = std::move(kind); }
    const QDateTime &modifiedDate() const { return modifiedDate_; }
    void setModifiedDate(QDateTime modifiedDate) { modifiedDate_ = std::move(modifiedDate); }
    bool isPurchased() const { return isPurchased_; }
    void setIsPurchased(bool isPurchased) { isPurchased_ = isPurchased; }
    int32_t trackNO() const { return trackNO_; }
    void setTrackNO(int32_t trackNO) { trackNO_ = trackNO; }

    /// Absent: whoever writes tags assembles them.
    std::optional<QVariantMap> ID3Dictionary() const { return std::nullopt; }

    /// Day of addedDate in the user's time zone, as in "2026/11/21"; null without a date.
    QString dateString() const;
    /// ConvertSizeToString() of the size.
    QString songSize() const;
    /// ConvertTimeToHMS() of the length.
    QString playLength() const;
    /// A text that takes the length for seconds, not localised: "1 second" up to "1.0 hours".
    QString lengthString() const;
    /// Size in decimal units, not localised; "0 MB" for 0 or less.
    QString sizeString() const;
    /// The chosen cover, or the default cover's resource.
    QString imagePath() const;
    /// Whether `kind` names an audio file; an absent kind does.
    bool isAudio() const;

    // What an image browser asks of its items. A changed cover shows as a new identity.
    QString imageRepresentationType() const { return QStringLiteral("IKImageBrowserPathRepresentationType"); }
    QString imageRepresentation() const { return imagePath(); }
    QString imageTitle() const { return strTitle_; }
    QString imageSubtitle() const { return strArtist_; }
    QString imageUID() const;
    int32_t imageVersion() const { return 1; }

private:
    int32_t songID_ = 0; // library key, given out by the database
    QString strTitle_ = QStringLiteral("Unknown Title");
    QString strArtist_ = QStringLiteral("Unknown Artist");
    QString strAlbum_ = QStringLiteral("Unknown Album");
    QString strGenre_ = QStringLiteral("");
    qint64 length_ = 0;       // milliseconds
    qint64 size_ = 0;         // bytes
    bool isImported_ = false; // not a recording of this program: its file is never renamed or thrown away
    QString strYear_ = QStringLiteral("");
    QDateTime addedDate_;                        // when the track entered the library; invalid while unknown
    QString strSongPath_ = QStringLiteral("");   // absolute
    int32_t biteRate_ = 0;                       // bits per second
    int32_t sampleRate_ = 0;                     // hertz
    QString strEncodeKind_ = QStringLiteral(""); // "MP3 audio" or "M4A audio"
    QStringList marrCoverImages_;                // absolute paths of the candidate covers
    int32_t coverImageIndex_ = -1;               // the chosen one of coverImages; -1 for none
    bool isHasLocalCover_ = false;               // the last cover is the file's own or the user's, not a fetched one
    int32_t status_ = 0;                         // a SongStatus
    bool isNewRecording_ = false;
    bool isAds_ = true;               // the short-track filter may remove the track
    int32_t getID3Status_ = 0;        // an ID3Status
    int32_t version_ = 1;             // raised by one when the cover changes
    bool deleteForDuplicate_ = false; // mark of the duplicate filter
    int32_t ntrackID_ = 0;
    QString trackPerID_;
    QString strKind_;
    QDateTime modifiedDate_;
    bool isPurchased_ = false;
    int32_t trackNO_ = 0;
};
