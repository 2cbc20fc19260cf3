// Makes the copy of a picture that becomes a cover.
//
// Threads: any.
#pragma once

#include "views/pictures/PictureFile.h"

#include <QSize>

class ThumbnailComposer {
public:
    /// Copies the picture into a new temporary file, scaled down to fit `imgSize` with its proportions; a smaller one
    /// keeps its size, and of a moving one the first picture is taken. Its path; null, and in `trouble` why, if that
    /// can't be done.
    static QString prepareThumbnailWithImage(const QString &path, const QSize &imgSize,
                                             PictureTrouble *trouble = nullptr);
    /// The same of a picture that is no file.
    static QString prepareThumbnailWithImage(QIODevice &picture, const QSize &imgSize,
                                             PictureTrouble *trouble = nullptr);

    /// What a picture of `size` measures when it fits `imgSize`.
    static QSize fittingSize(const QSize &size, const QSize &imgSize);
};
