// One ringtone of the library file's second table, which no library made by this program has.
//
// Threads: the main thread.
#pragma once

#include <QDateTime>
#include <QString>
#include <cstdint>

/// A null string is an absent one. An absent date is an invalid one.
class RingtoneItem {
public:
    int32_t ringtoneID() const { return ringtoneID_; }
    void setRingtoneID(int32_t ringtoneID) { ringtoneID_ = ringtoneID; }
    const QString &title() const { return strTitle_; }
    void setTitle(QString title) { strTitle_ = std::move(title); }
    const QString &artist() const { return strArtist_; }
    void setArtist(QString artist) { strArtist_ = std::move(artist); }
    const QString &album() const { return strAlbum_; }
    void setAlbum(QString album) { strAlbum_ = std::move(album); }
    qint64 length() const { return length_; }
    void setLength(qint64 length) { length_ = length; }
    qint64 size() const { return size_; }
    void setSize(qint64 size) { size_ = size; }
    const QDateTime &madeDate() const { return madeDate_; }
    void setMadeDate(QDateTime madeDate) { madeDate_ = std::move(madeDate); }
    const QString &ringtonePath() const { return strRingtonePath_; }
    void setRingtonePath(QString ringtonePath) { strRingtonePath_ = std::move(ringtonePath); }
    const QString &coverImagePath() const { return strcoverImagePath_; }
    void setCoverImagePath(QString coverImagePath) { strcoverImagePath_ = std::move(coverImagePath); }
    int32_t status() const { return status_; }
    void setStatus(int32_t status) { status_ = status; }

    /// Ringtones show neither; both texts are absent.
    QString songSize() const { return {}; }
    QString playLength() const { return {}; }

private:
    int32_t ringtoneID_ = 0;
    QString strTitle_;
    QString strArtist_;
    QString strAlbum_;
    qint64 length_ = 0; // milliseconds
    qint64 size_ = 0;   // bytes
    QDateTime madeDate_;
    QString strRingtonePath_;
    QString strcoverImagePath_;
    int32_t status_ = 0;
};
