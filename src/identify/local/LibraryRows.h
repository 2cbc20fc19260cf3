// The library as the sources read it: by a connection of their own, so that they need neither the main thread nor a
// copy of anything that could go out of date.
//
// Threads: any.
#pragma once

#include "identify/recognition/RecogniserSource.h"
#include "store/LibraryFile.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

/// One track. A number may be given out again after its track was deleted: number and date together name a track.
struct LibraryRow {
    int32_t songID = 0;
    QByteArray addDate;
    bool isIdentified = false;
    QString path;
};

struct LibraryTags {
    QByteArray addDate;
    bool isIdentified = false;
    int64_t milliseconds = 0;
    Recognition tags;
};

class LibraryRows {
public:
    explicit LibraryRows(QString path = defaultLibraryPath()) : path_(std::move(path)) {}

    /// Every track, or nothing when the library can't be read just now.
    std::optional<QList<LibraryRow>> all() const;
    /// Nothing for a track that isn't there.
    std::optional<LibraryTags> tagsOf(int32_t songID) const;

private:
    QString path_;
};
