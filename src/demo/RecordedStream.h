// The main job from outside: the real program on a machine of its own records what a player plays.
#pragma once

#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "demo/SongStream.h"
#include "platform/sound/AudioTypes.h"

#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>

/// What to record and how.
struct RecordingPlan {
    QString program;   ///< path of the program
    QString wavPath;   ///< what is played
    QString outFolder; ///< takes the home folder, the log, tracks.json and the
                       ///< screenshot; must be new, empty, or of an earlier run
    PrivateSoundServer::Kind server = PrivateSoundServer::Kind::PulseAudio;
    ExportType type = ExportType::M4A;
    QVariantMap settings = {}; ///< of the program, beside the format
    QString framesFolder = {}; ///< takes pictures of the window, every 200 ms of the recording; null for none
    /// What is done in place of playing the file; false when it failed.
    std::function<bool(PrivateSoundServer &sound)> play = {};
    /// What is waited for behind the recording; false when it did not come.
    std::function<bool(const RunningProgram &program)> settle = {};
};

/// Brings up sound server, display and session bus, starts the program, records exactly what is played of the WAV file
/// and two seconds more, and ends the program. Everything is ended again. The answer is what went wrong, null when
/// nothing did.
QString recordStream(const RecordingPlan &plan);

/// The tracks of the library below `outFolder`, in order of time: path, title, artist, album, year, cover (path of the
/// picture, empty without one), seconds (as in the library), frames (decoded, at 44100 Hz), type ("M4A" or "MP3"),
/// songID.
QJsonArray tracksOfLibrary(const QString &outFolder);

/// Compares the kept files with what was played: one line for each song that is lost, merged, cut short or not where it
/// should start, and for each track too many.
QStringList complaintsAbout(const QJsonArray &tracks, const SongStream &stream, bool keepsShort = false);
