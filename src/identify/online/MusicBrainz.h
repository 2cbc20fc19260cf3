// The encyclopedia of recordings and of the releases that they are on.
//
// Threads: any.
#pragma once

#include "identify/recognition/RecogniserSource.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

/// Path and query behind the service's address.
QString recordingPath(const QString &identifier);
QString releaseSearchPath(const QString &artist, const QString &album);

/// What `body` says of a recording, for a track that lasts `seconds`; nothing for what is no answer. Names and album
/// are those of the release that fits best: an official album before a single before a compilation, the earliest of
/// them; where the recording has different lengths on different releases, only of those where it is as long as the
/// track.
std::optional<Recognition> recognitionOf(const QByteArray &body, double seconds);

struct FoundRelease {
    QString releaseID, releaseGroupID;
};

/// Those of the releases found that are by `artist` and called `album`, the best first.
QList<FoundRelease> releasesFound(const QByteArray &body, const QString &artist, const QString &album);
