// What a media player says it plays.
//
// Threads: any.
#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>
#include <cstdint>

/// Texts are of one line and without control characters; what is absent, or longer than any name, is null.
struct PlayedTitle {
    QString title = {}, artist = {}, album = {};
    int64_t milliseconds = 0; ///< its length; 0 where the player knows none, as of a radio
    QUrl cover = {};          ///< by http, by https, or a file of this machine; empty where there is none
    bool isAdvert = false;    ///< by the player's own word

    bool operator==(const PlayedTitle &) const = default;
};

/// Reads what came over the bus as "Metadata", whoever sent it.
PlayedTitle playedTitleOf(const QVariant &metadata);

/// The entries of a dictionary of the bus, "a{sv}"; of a very large one some, of anything else none.
QVariantMap dictionaryOf(const QVariant &value);
