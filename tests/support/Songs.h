// Tracks as a test needs them.
#pragma once

#include "store/DataBaseManager.h"
#include "store/SongArray.h"

#include <QStringList>

struct SongData {
    QString title;
    QString artist = "Somebody";
    QString path = {};
    qint64 length = 0;
    int32_t id = 0;
};

inline SongPtr songWith(const SongData &data) {
    auto song = std::make_shared<SongItem>();
    song->setTitle(data.title);
    song->setArtist(data.artist);
    song->setSongPath(data.path);
    song->setLength(data.length);
    song->setSongID(data.id);
    return song;
}

/// `song` with a row in the database.
inline SongPtr inserted(SongPtr song) {
    song->setAddedDate(QDateTime::currentDateTimeUtc());
    song->setSongID(DataBaseManager::defaultManager().insertSongItem(*song));
    return song;
}

inline QStringList titlesOf(const SongArray &songs) {
    QStringList titles;
    for (const SongPtr &song : songs)
        titles << song->title();
    return titles;
}
