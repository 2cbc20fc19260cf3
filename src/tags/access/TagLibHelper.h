// The one door through which the program reads and writes the tags of audio files.
//
// A file's handler is chosen by what decodes in it, never by its name. Tags travel in the dictionary of
// TagDictionary.h. Every write sees to it first that the file carries the marks of GracenoteHelper.
//
// Threads: any. Of two writes to one file at the same time one answers no.
#pragma once

#include "tags/access/TagWriteOutcome.h"

#include <QString>
#include <QVariantMap>
#include <optional>

class TagLibHelper {
public:
    /// The tags of an MP3 or M4A file; nothing for any other. All keys are there, texts that the file lacks as empty
    /// ones, the year as a number, and as covers what could be decoded.
    static std::optional<QVariantMap> ID3Info(const QString &path);

    /// Writes the keys that are there; the others stay as they are in the file. A year is written if above 0. A cover
    /// list replaces all pictures, each made anew as JPEG; an M4A gets pictures only if it has some and its marks: the
    /// write that marks it takes the old ones away. False for any other format, where the marks can't be written, and
    /// where the tags can't; in the last case an MP3 has got the marks, and an M4A is as it was.
    static bool setID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info);

    /// setID3Info(), and why not.
    [[nodiscard]] static TagWriteOutcome writeID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info);

    /// Whether the write that marks an M4A puts back the items that the marks replaced and `ID3Info` does not give:
    /// lyrics, numbers, the gapless data and whatever else there was. True at the start of the program; without it
    /// they are lost. Any thread, for the writes that begin later.
    static void setKeepsOtherTags(bool isKeeping);

    // The two routes, for a file whose format is known.

    static std::optional<QVariantMap> MP3ID3Info(const QString &path);
    static bool setMP3ID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info);
    static std::optional<QVariantMap> M4AID3Info(const QString &path);
    static bool setM4AID3Info(const QString &path, const std::optional<QVariantMap> &ID3Info);

    static bool setMP3GracenoteInfo(const QString &path);
    static bool setM4AGracenoteInfo(const QString &path);
};
