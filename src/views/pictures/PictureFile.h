// Picture files of strangers: looked at before they are decoded.
//
// Threads: any; an object belongs to one thread at a time.
#pragma once

#include <QFile>
#include <QImageReader>
#include <QString>

enum class PictureTrouble {
    None,
    NotAPicture, ///< no regular file that may be read, or of a format that no cover has
    Empty,       ///< 0 points wide or high, or it does not say
    TooLarge,    ///< more than kMostPixels
    TooDeep,     ///< more than half as many, of 16 bits a colour
    Broken,      ///< it can't be decoded
    Elsewhere,   ///< only its address on the web came
    NoRoom       ///< its copy can't be written
};

inline constexpr qint64 kMostPixels = 100'000'000;

/// Opens what `file` is named after, if it is a regular file of reasonable size. A plain open of a pipe or a device
/// could wait for ever.
bool openRegularFile(QFile &file);

/// What speaks against decoding the picture, told by its format and its header.
PictureTrouble troubleOf(QImageReader &reader);

/// Whether a JPEG is cut off, or drawn so many times over that decoding it is an attack; never of another format.
/// Reads `picture` and goes back to its beginning.
bool isBrokenJpeg(QIODevice &picture);

/// Has the decoders take as much memory as the largest picture needs, and no more.
void limitPictureMemory();

/// Writes `image` as TIFF, whatever the path's ending says; nothing is left of a file that could not be written.
bool writeTiff(const QImage &image, const QString &path);

/// A trouble's text for the user.
QString textOf(PictureTrouble trouble);
