#include "demo/NamedTracks.h"

#include "demo/PlayerOnBus.h"
#include "demo/RecognitionServer.h"
#include "identify/recognition/RecognitionSettings.h"

#include <QFile>
#include <QImage>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>
#include <array>

namespace {

constexpr double kSeconds = 24; // the queue asks for nothing below twenty
constexpr int kGap = 1500;      // milliseconds

struct NamedTrack {
    const char *title, *artist, *album;
    const char *source; // the settings' key of who names it
};
constexpr NamedTrack kPlayers{"Lighthouse Keeper", "The Paper Boats", "Harbour Lights", kIdentifyFromPlayers};
constexpr NamedTrack kServices{"Night Tram", "Anna & the Signal", "Last Stop", kIdentifyOnline};
constexpr NamedTrack kLibrarys{"Lighthouse Keeper", "The Paper Boats", "Harbour Lights", kIdentifyFromLibrary};
constexpr std::array kTracks{kPlayers, kServices, kLibrarys}; // as they are recorded

QVariantMap settingsFor(const RecognitionServer &services) {
    return {{kIdentifyOnline, true},
            {kAcoustIDKey, RecognitionServer::kKey},
            {kAcoustIDAddress, services.address()},
            {kMusicBrainzAddress, services.address()},
            {kCoverArtAddress, services.address()}};
}

bool isDone(const RunningProgram &program) {
    qsizetype done = 0;
    for (const char *line : {"get next !", "task finished", "tasks finished !"})
        done += program.count(line);
    return done >= static_cast<qsizetype>(kTracks.size());
}

} // namespace

QString recordAndIdentify(const RecordingPlan &plan) {
    const QTemporaryDir folder;
    const QString first = folder.filePath("first.wav");
    const QString second = folder.filePath("second.wav");
    const QString cover = folder.filePath("cover.png");
    QImage picture(300, 300, QImage::Format_RGB32);
    picture.fill(QColor(0x2f, 0x6f, 0x8f));
    if (!writeWav(makeSong(/*seed=*/1, /*root=*/220, kSeconds), first) ||
        !writeWav(makeSong(/*seed=*/2, /*root=*/293.66, kSeconds), second) || !picture.save(cover))
        return folder.path() + " cannot be written";

    RecognitionServer services;
    services.setSongs({{.title = QString::fromLatin1(kServices.title),
                        .artist = QString::fromLatin1(kServices.artist),
                        .album = QString::fromLatin1(kServices.album),
                        .seconds = kSeconds}});
    RecordingPlan named = plan;
    named.settings.insert(settingsFor(services));
    named.play = [&](PrivateSoundServer &sound) {
        PlayerOnBus player("demo");
        player.play({.title = QString::fromLatin1(kPlayers.title),
                     .artist = QString::fromLatin1(kPlayers.artist),
                     .album = QString::fromLatin1(kPlayers.album),
                     .milliseconds = static_cast<qint64>(kSeconds * 1000),
                     .cover = QUrl::fromLocalFile(cover)});
        if (!player.isThere() || !sound.play(first))
            return false;
        player.stop();
        for (const QString &song : {second, first}) {
            QThread::msleep(kGap);
            if (!sound.play(song))
                return false;
        }
        return true;
    };
    named.settle = [](const RunningProgram &program) {
        return waitUntil([&program] { return isDone(program); }, /*milliseconds=*/60'000);
    };
    return recordStream(named);
}

QStringList complaintsAboutNames(const QJsonArray &tracks, const QString &outFolder) {
    QFile log(outFolder + "/corvidia.log");
    const QByteArray lines = log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
    QStringList complaints;
    if (tracks.size() != static_cast<qsizetype>(kTracks.size()))
        complaints << QStringLiteral("%1 tracks were kept of %2 songs").arg(tracks.size()).arg(kTracks.size());
    for (qsizetype i = 0; i < qMin<qsizetype>(tracks.size(), kTracks.size()); ++i) {
        const QJsonObject track = tracks[i].toObject();
        const NamedTrack &wanted = kTracks.at(static_cast<size_t>(i));
        if (track["title"].toString() != QLatin1String(wanted.title) ||
            track["artist"].toString() != QLatin1String(wanted.artist) ||
            track["album"].toString() != QLatin1String(wanted.album))
            complaints << QStringLiteral("track %1 is called %2").arg(i + 1).arg(track["title"].toString());
        const QString line = QStringLiteral("%1 knows track %2").arg(wanted.source).arg(track["songID"].toInt());
        if (!lines.contains(line.toUtf8()))
            complaints << QStringLiteral("nowhere does the log say: %1").arg(line);
        if (const QString cover = track["cover"].toString(); cover.isEmpty() || QImage(cover).isNull())
            complaints << QStringLiteral("track %1 has no cover").arg(i + 1);
    }
    return complaints;
}
