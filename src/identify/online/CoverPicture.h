// Pictures from elsewhere: looked at before they are decoded, and kept as files.
//
// Threads: any.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

inline constexpr qint64 kLargestPictureBytes = 20 * 1024 * 1024;

/// The content of a picture file as it can be kept: JPEG or PNG as it is, WebP made into JPEG, and so a large one,
/// which becomes smaller. Empty for whatever else, whatever it is called, for what is larger than 8,000 points either
/// way, and for what can't be decoded in good time.
QByteArray keepablePicture(const QByteArray &bytes);

/// The content of the regular file at `path`; empty if it is none or too large.
QByteArray pictureFile(const QString &path);

/// Where fetched pictures wait for the library to take its copies.
class FetchedPictures {
public:
    /// What an earlier run has left there is nobody's. One at a time.
    FetchedPictures();

    /// Writes a picture, whole or not at all, and removes those that have waited for an hour. Its path; null if it
    /// could not be written. Any thread.
    static QString keep(const QByteArray &picture);
};
