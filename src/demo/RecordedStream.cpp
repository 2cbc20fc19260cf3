#include "demo/RecordedStream.h"

#include "capture/SilenceWatch.h"
#include "demo/DecodedAudio.h"
#include "demo/FrameCamera.h"
#include "demo/PrivateMachine.h"
#include "demo/RunningProgram.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"

#include <QDir>
#include <QJsonObject>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <optional>

namespace {
void prepareHome(const RecordingPlan &plan) {
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    defaults.setInteger(static_cast<qint64>(plan.type), "DefaultExportFileType");
    for (auto setting = plan.settings.cbegin(); setting != plan.settings.cend(); ++setting)
        defaults.setObject(setting.value(), setting.key());
    defaults.synchronize();
}

QString recordOn(const RecordingPlan &plan, PrivateMachine &machine) {
    RunningProgram program(plan.program, plan.outFolder + "/corvidia.log");
    if (!program.isReady())
        return "the program did not come up, see corvidia.log";
    if (!program.startRecording())
        return "no sound arrived from the capture device, see corvidia.log";
    std::optional<FrameCamera> camera;
    if (!plan.framesFolder.isNull())
        camera.emplace(plan.framesFolder);
    if (plan.play ? !plan.play(machine.sound()) : !machine.sound().play(plan.wavPath))
        return "the file could not be played: " + machine.sound().errorText();
    QThread::sleep(2);
    if (QString error = camera ? camera->stop() : QString(); !error.isNull())
        return error;
    if (!program.activateAction("stop"))
        return "the program does not answer";
    if (plan.settle && !plan.settle(program))
        return "not all of it came, see corvidia.log";
    QThread::msleep(500); // for the picture only: the last track's card comes up
    if (!machine.desktop().screenshot(plan.outFolder + "/screenshot.png"))
        return "no picture could be taken";
    if (!program.activateAction("quit") || !program.endsWell())
        return "the program did not end as it should";
    return {};
}

/// Empties a folder of an earlier run. One that holds anything else is left alone.
QString makeRoom(const QDir &out) {
    constexpr const char *kMark = ".recorded-stream";
    if (out.exists() && !out.isEmpty() && !out.exists(kMark))
        return out.path() + " holds other files; please name a new folder";
    QDir(out.path()).removeRecursively();
    if (!out.mkpath("home") || !QFile(out.filePath(kMark)).open(QIODevice::WriteOnly))
        return out.path() + " cannot be made";
    return {};
}

struct Alignment {
    double likeness = 0; ///< 1 for the same sound
    int64_t start = 0;   ///< frame of the stream at which the file starts
};

/// Where in the stream the file starts, by comparing a second of sound from half a second into the song.
Alignment align(const DecodedAudio &kept, const SongStream &stream, const SongStream::Song &song) {
    constexpr int64_t kReach = 4096;
    constexpr size_t kWindow = kSampleRate;
    const size_t at = song.firstFrame + kSampleRate / 2;
    Alignment best;
    for (int64_t shift = -kReach; shift <= kReach; ++shift) {
        // The frame of the file that is to hold the stream's frame `at`, were its start `shift` frames off the song's.
        const int64_t from = kSampleRate / 2 - shift;
        if (from < 0 || from + static_cast<int64_t>(kWindow) > static_cast<int64_t>(kept.frames()))
            continue;
        double both = 0, played = 0, recorded = 0;
        for (size_t i = 0; i < kWindow; i += 3) {
            const double a = stream.left(at + i);
            const double b = kept.left[static_cast<size_t>(from) + i];
            both += a * b;
            played += a * a;
            recorded += b * b;
        }
        const double likeness = both / std::sqrt(played * recorded + 1e-12);
        if (likeness > best.likeness)
            best = {likeness, static_cast<int64_t>(song.firstFrame) + shift};
    }
    return best;
}
} // namespace

QString recordStream(const RecordingPlan &plan) {
    const QDir out(plan.outFolder);
    if (QString error = makeRoom(out); !error.isNull())
        return error;
    // Behind that, since the pictures may be wanted in there.
    if (!plan.framesFolder.isNull() && !QDir().mkpath(plan.framesFolder))
        return plan.framesFolder + " cannot be made";
    qputenv("HOME", out.absoluteFilePath("home").toUtf8());
    PrivateMachine machine(plan.server);
    if (QString error = machine.start(); !error.isNull())
        return error;
    prepareHome(plan);
    RecordingPlan absolute = plan;
    absolute.outFolder = out.absolutePath();
    return recordOn(absolute, machine);
}

QJsonArray tracksOfLibrary(const QString &outFolder) {
    DataBaseManager &library = DataBaseManager::defaultManager();
    library.loadDataBase(outFolder + "/home/.local/share/Tessarine Corvidia/Library.db");
    auto songs = library.getAllSongItems().value_or(QList<std::shared_ptr<SongItem>>());
    library.closeDataBase();
    std::stable_sort(songs.begin(), songs.end(),
                     [](const auto &a, const auto &b) { return a->songID() < b->songID(); });
    QJsonArray tracks;
    for (const auto &song : songs)
        tracks.append(QJsonObject{
            {"path", song->songPath()},
            {"title", song->title()},
            {"artist", song->artist()},
            {"album", song->album()},
            {"year", song->year()},
            {"cover", song->coverImages().value(song->coverImageIndex())},
            {"seconds", static_cast<double>(song->length()) / 1000},
            {"frames", static_cast<qint64>(decodeAudio(song->songPath()).frames())},
            {"type", song->encodeKind() == "MP3 audio" ? "MP3" : "M4A"},
            {"songID", song->songID()},
        });
    return tracks;
}

QStringList complaintsAbout(const QJsonArray &tracks, const SongStream &stream, bool keepsShort) {
    std::vector<SongStream::Song> songs = stream.songs;
    if (!keepsShort)
        std::erase_if(songs, [](const SongStream::Song &song) { return song.isFragment; });
    QStringList complaints;
    if (tracks.size() != static_cast<qsizetype>(songs.size()))
        complaints << QStringLiteral("%1 tracks were kept of %2 songs").arg(tracks.size()).arg(songs.size());
    const size_t both = std::min(songs.size(), static_cast<size_t>(tracks.size()));
    for (size_t i = 0; i < both; ++i) {
        const SongStream::Song &song = songs[i];
        const QString title = tracks[static_cast<qsizetype>(i)].toObject()["title"].toString();
        const DecodedAudio kept = decodeAudio(tracks[static_cast<qsizetype>(i)].toObject()["path"].toString());
        const Alignment found = align(kept, stream, song);
        const auto early = static_cast<int64_t>(song.firstFrame) - found.start;
        if (found.likeness < 0.95)
            complaints
                << QStringLiteral("%1 does not sound like song %2 (%3)").arg(title).arg(i + 1).arg(found.likeness);
        // A block that begins in silence and has little of the song counts as silent, and is left out.
        else if (std::abs(early) > static_cast<int64_t>(kBlockFrames))
            complaints << QStringLiteral("%1 starts %2 frames before song %3").arg(title).arg(early).arg(i + 1);
        // The song and the silence up to the split; the last one ends wherever the recording was stopped.
        const size_t least = song.frames();
        const size_t most = i + 1 == songs.size() ? least + 4 * kSampleRate : least + 28 * kBlockFrames;
        if (kept.frames() < least || kept.frames() > most)
            complaints << QStringLiteral("%1 has %2 frames, song %3 has %4")
                              .arg(title)
                              .arg(kept.frames())
                              .arg(i + 1)
                              .arg(least);
    }
    return complaints;
}
