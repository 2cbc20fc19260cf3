#include "views/library/DroppedFiles.h"

#include <QFileInfo>
#include <QMimeData>
#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

constexpr std::chrono::milliseconds kPatience{25};

bool isMusic(const QString &path) {
    const QStringView ending = QStringView(path).right(4);
    return ending.compare(QLatin1String(".mp3"), Qt::CaseInsensitive) == 0 ||
           ending.compare(QLatin1String(".m4a"), Qt::CaseInsensitive) == 0;
}

/// The path in a URL of a file; a host in front of it is this one. Null for other URLs. Bytes that are no UTF-8 show as
/// replacement characters.
QString localPath(QByteArrayView url) {
    constexpr QByteArrayView kScheme("file:");
    if (url.size() < kScheme.size() || qstrnicmp(url.data(), kScheme.data(), kScheme.size()) != 0)
        return {};
    QByteArrayView path = url.sliced(kScheme.size());
    if (path.startsWith("//")) {
        const qsizetype start = path.indexOf('/', 2);
        path = start < 0 ? QByteArrayView() : path.sliced(start);
    }
    const auto end = std::find_if(path.begin(), path.end(), [](char letter) { return letter == '?' || letter == '#'; });
    return QString::fromUtf8(QByteArray::fromPercentEncoding(QByteArray(path.begin(), end - path.begin())));
}

/// Calls `work` with each local path, until it says that it has enough. By hand: of a hundred thousand, QUrl would make
/// a wait.
template <typename Work>
void forEachPath(const QMimeData &data, Work work) {
    const QByteArray list = data.data(QStringLiteral("text/uri-list"));
    for (qsizetype start = 0; start < list.size();) {
        const qsizetype newline = list.indexOf('\n', start);
        const qsizetype end = newline < 0 ? list.size() : newline;
        const QString path = localPath(QByteArrayView(list).sliced(start, end - start).trimmed());
        if (!path.isEmpty() && work(path))
            return;
        start = end + 1;
    }
}

struct FolderLook {
    QStringList paths;
    std::mutex mutex; // guards what follows
    std::condition_variable ended;
    QList<bool> mayBeFolder;
    bool hasEnded = false; // or nobody waits any longer
};

void lookForFolders(const std::shared_ptr<FolderLook> &look) {
    for (qsizetype i = 0; i < look->paths.size(); ++i) {
        const QString &path = look->paths.at(i);
        const bool isFolder = path.contains(QChar::ReplacementCharacter) || QFileInfo(path).isDir();
        const std::lock_guard guard(look->mutex);
        if (look->hasEnded)
            return;
        look->mayBeFolder[i] = isFolder;
    }
    const std::lock_guard guard(look->mutex);
    look->hasEnded = true;
    look->ended.notify_all();
}

QList<bool> mayBeFolders(const QStringList &paths) {
    const auto look = std::make_shared<FolderLook>();
    look->paths = paths;
    look->mayBeFolder.fill(true, paths.size());
    std::thread([look] { lookForFolders(look); }).detach();
    std::unique_lock lock(look->mutex);
    look->ended.wait_for(lock, kPatience, [&look] { return look->hasEnded; });
    look->hasEnded = true;
    return look->mayBeFolder;
}

} // namespace

QStringList droppedMusic(const QMimeData &data) {
    QStringList paths;
    QStringList others;
    forEachPath(data, [&](const QString &path) {
        paths << path;
        if (!isMusic(path))
            others << path;
        return false;
    });
    if (others.isEmpty())
        return paths;
    const QList<bool> isFolder = mayBeFolders(others);
    qsizetype other = 0;
    paths.removeIf([&](const QString &path) { return !isMusic(path) && !isFolder.at(other++); });
    return paths;
}

bool holdsMusic(const QMimeData &data) {
    bool hasMusic = false;
    QStringList others;
    forEachPath(data, [&](const QString &path) {
        hasMusic = isMusic(path);
        others << path;
        return hasMusic;
    });
    return hasMusic || (!others.isEmpty() && mayBeFolders(others).contains(true));
}
