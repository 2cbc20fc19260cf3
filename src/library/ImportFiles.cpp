#include "library/ImportFiles.h"

#include "platform/run/Log.h"
#include "store/DataBaseManager.h"

#include <QFile>
#include <QSet>
#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

bool isMusic(const QByteArray &path) {
    const QByteArray ending = path.right(4).toLower();
    return ending == ".mp3" || ending == ".m4a";
}

struct FolderCloser {
    void operator()(DIR *folder) const { closedir(folder); }
};

// Bytes in place of text wherever the disk is asked: a name that is no UTF-8 would become that of another file.
class FileFinder {
public:
    FileFinder(const QStringList &known, const std::function<bool()> &isCancelled)
        : known_(known), isCancelled_(isCancelled) {}

    void look(const QString &path) {
        // As what was no UTF-8 reached us.
        if (path.contains(QChar::ReplacementCharacter) || path.contains(QChar::Null)) {
            fail(path);
            return;
        }
        pending_.push_back(QFile::encodeName(path));
        bool isFirst = true;
        while (!pending_.empty() && !isCancelled_()) {
            const QByteArray next = std::move(pending_.back());
            pending_.pop_back();
            lookAt(next, /*isChosen=*/isFirst);
            isFirst = false;
        }
    }

    QList<ImportFile> takeFiles() { return std::move(files_); }

private:
    using Identity = std::pair<dev_t, ino_t>;

    void fail(const QString &path) { files_.append({path, /*isReadable=*/false}); }

    void lookAt(const QByteArray &bytes, bool isChosen) {
        const QString path = QFile::decodeName(bytes);
        if (DataBaseManager::defaultManager().isTheFileInDataBase(path)) {
            leaveOut(path);
            return;
        }
        struct stat info {};
        if (::stat(bytes.constData(), &info) != 0) {
            // What can't be asked for may be a folder full of music; a link to nothing is none.
            if (errno == EACCES || isChosen || isMusic(bytes))
                fail(path);
            return;
        }
        const Identity identity(info.st_dev, info.st_ino);
        if (S_ISDIR(info.st_mode)) {
            if (!seen_.contains(identity) && !openFolder(bytes))
                fail(path);
            seen_.insert(identity);
        } else if (isMusic(bytes)) {
            if (!S_ISREG(info.st_mode) || QFile::encodeName(path) != bytes)
                fail(path);
            else if (isKnownFile(identity))
                leaveOut(path);
            else
                files_.append({path});
        }
    }

    static void leaveOut(const QString &path) { logLine(QStringLiteral("the File %1 is existed!").arg(path)); }

    bool isKnownFile(const Identity &identity) {
        if (!std::exchange(hasKnownFiles_, true))
            for (auto path = known_.cbegin(); path != known_.cend() && !isCancelled_(); ++path) {
                struct stat info {};
                if (::stat(QFile::encodeName(*path).constData(), &info) == 0)
                    seen_.insert({info.st_dev, info.st_ino});
            }
        if (seen_.contains(identity))
            return true;
        seen_.insert(identity);
        return false;
    }

    bool openFolder(const QByteArray &path) {
        const std::unique_ptr<DIR, FolderCloser> folder(::opendir(path.constData()));
        if (!folder)
            return false;
        std::vector<QByteArray> entries;
        const QByteArray start = path.endsWith('/') ? path : path + '/';
        while (const dirent *entry = ::readdir(folder.get())) {
            if (isCancelled_())
                return true;
            const QByteArray name(entry->d_name);
            const bool mayBeFolder = entry->d_type == DT_DIR || entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
            if (!name.startsWith('.') && (mayBeFolder || isMusic(name)))
                entries.push_back(start + name);
        }
        // What is pending is taken from the end.
        std::ranges::sort(entries, std::greater());
        std::ranges::move(entries, std::back_inserter(pending_));
        return true;
    }

    const QStringList &known_;
    const std::function<bool()> &isCancelled_;
    bool hasKnownFiles_ = false;
    QSet<Identity> seen_; // folders that were opened, new files, and known ones once hasKnownFiles_
    std::vector<QByteArray> pending_;
    QList<ImportFile> files_;
};

} // namespace

QList<ImportFile> filesToImport(const QStringList &paths, const QStringList &known,
                                const std::function<bool()> &isCancelled) {
    FileFinder finder(known, isCancelled);
    for (const QString &path : paths) {
        if (isCancelled())
            break;
        finder.look(path);
    }
    return finder.takeFiles();
}
