#include "library/ToolKitCtr.h"

#include "platform/desktop/FileManager.h"
#include "platform/files/Folders.h"
#include "platform/run/MainThread.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QMultiHash>
#include <chrono>
#include <vector>

namespace {

constexpr int kProgressStep = 500; // tracks between two words to the page
constexpr std::chrono::milliseconds kPatience{200};

struct WantedFile {
    QString path;
    qint64 size = 0;
};

QString recordingsFolder() { return UserDefaults::standardUserDefaults().stringForKey("MusicsOutputLocation"); }

/// The regular files below the folders by name; links are followed nowhere.
QMultiHash<QString, QString> filesByName(const QStringList &folders, const std::atomic<bool> &isCancelled) {
    QMultiHash<QString, QString> files;
    for (const QString &folder : folders) {
        QDirIterator entries(folder, QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext() && !isCancelled) {
            const QString path = entries.next();
            files.insert(entries.fileName(), path);
        }
    }
    return files;
}

/// Where each file may have gone: a file of the same name and size; null where there is none, or more than one.
QStringList newPlaces(const std::vector<WantedFile> &missing, const QStringList &folders,
                      const std::atomic<bool> &isCancelled) {
    const auto files = missing.empty() ? QMultiHash<QString, QString>() : filesByName(folders, isCancelled);
    QStringList places;
    for (const WantedFile &wanted : missing) {
        QString place;
        int matches = 0;
        for (const QString &path : files.values(QFileInfo(wanted.path).fileName())) {
            if (QFileInfo(path).size() != wanted.size)
                continue;
            place = path;
            ++matches;
        }
        places << (matches == 1 ? place : QString());
    }
    return places;
}

} // namespace

ToolKitCtr::ToolKitCtr(ToolKitCtrDelegate &delegate)
    : delegate_(delegate), view_(new MusicToolKitView(*this, /*parent=*/nullptr)) {}

ToolKitCtr::~ToolKitCtr() { cancelSearch(); }

void ToolKitCtr::openRecordingsFolder() { openWithDesktop(recordingsFolder()); }

void ToolKitCtr::findMissingTracks() {
    cancelSearch();
    isCancelled_ = std::make_shared<std::atomic<bool>>(false);
    const SongArray songs = delegate_.allSongArray();
    std::vector<WantedFile> wanted;
    wanted.reserve(static_cast<size_t>(songs.size()));
    for (const SongPtr &song : songs)
        wanted.push_back({song->songPath(), song->size()});
    QStringList folders{recordingsFolder(), QFileInfo(defaultMusicFolder()).path()};
    folders.removeDuplicates();

    std::promise<void> ended;
    hasEnded_ = ended.get_future();
    search_ = std::thread([this, songs, wanted = std::move(wanted), folders, isCancelled = isCancelled_,
                           ended = std::move(ended)]() mutable {
        // Handed to the main thread, where a search that was ended meanwhile is forgotten.
        const auto tell = [isCancelled](std::function<void()> work) {
            performOnMainThread([isCancelled, work = std::move(work)] {
                if (!*isCancelled)
                    work();
            });
        };
        std::vector<WantedFile> missing;
        SongArray missingSongs;
        for (size_t i = 0; i < wanted.size() && !*isCancelled; ++i) {
            if (!QFileInfo::exists(wanted[i].path)) {
                missing.push_back(wanted[i]);
                missingSongs.append(songs.at(static_cast<qsizetype>(i)));
            }
            if (i % kProgressStep == 0)
                tell([this, i, all = wanted.size()] {
                    if (view_)
                        view_->showProgress(static_cast<int>(i), static_cast<int>(all));
                });
        }
        const QStringList places = newPlaces(missing, folders, *isCancelled);
        tell([this, missingSongs, places] {
            for (const SongPtr &song : missingSongs)
                song->setStatus(static_cast<int32_t>(SongStatus::Missing));
            if (view_)
                view_->showMissing(missingSongs, places);
        });
        ended.set_value();
    });
}

void ToolKitCtr::cancelSearch() {
    if (!search_.joinable())
        return;
    *isCancelled_ = true;
    // A folder on a network that does not answer shall not hold the program.
    if (hasEnded_.wait_for(kPatience) == std::future_status::ready)
        search_.join();
    else
        search_.detach();
}

void ToolKitCtr::removeTracks(const SongArray &songs) { delegate_.removeFromLibrary(songs); }

void ToolKitCtr::locateTrack(const SongPtr &song, const QString &path) {
    song->setSongPath(path);
    song->setStatus(static_cast<int32_t>(SongStatus::Idle));
    DataBaseManager::defaultManager().updateSongItem(*song);
    delegate_.songDidMove(song);
}
