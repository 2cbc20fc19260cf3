// Rows of the table Song, and the covers that belong to them.
#include "platform/files/FileCopy.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "store/DateText.h"
#include "store/LibraryFile.h"
#include "store/Statement.h"
#include "store/TimeAndSizeText.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <utility>

namespace {

constexpr const char *kInsertSong =
    "INSERT INTO Song (SongID, Title, Artist, Album, Genre,   SongLength, SongSize, IsImported, Year ,AddDate,    "
    "FilePath,BiteRate, SampleRate\t,EncodeKind,CoverImages,   CoverImageIndex,IsHasLocalCover,IsAds,GetID3Status) "
    "VALUES(?,?,?,?,?, ?,?,?,?,?, ?,?,?,?,?, ?,?,?,?)";

constexpr const char *kUpdateSong =
    "UPDATE Song SET Title = ?, Artist = ?, Album = ?,Genre = ?,Year = ?, CoverImages = ?,FilePath = "
    "?,CoverImageIndex = ?,IsHasLocalCover = ?,\tIsAds = ?,GetID3Status = ? ,SongSize = ? WHERE SongID = ?";

void logRemoval(const QString &path, bool isSuccessed) {
    logLine(QStringLiteral("removeItemAtPath %1 isSuccessed %2").arg(path, QString::number(isSuccessed)));
}

QString fileName(const QString &path) { return path.mid(path.lastIndexOf('/') + 1); }

// Puts a copy of `cover` at `target` and `cover` there. What stands at `target` goes only when the copy is whole; where
// there is no room for one, `cover` stays what it is, so that the next change of the track tries again.
bool keepCover(QString &cover, const QString &target) {
    const bool isTargetTaken = QFileInfo::exists(target);
    if (isTargetTaken && cover == target)
        return true;
    const QString copy = target + QStringLiteral(".new");
    QFile::remove(copy); // of a program that was killed
    const bool isCopied = QFile::copy(cover, copy);
    if (!isCopied && QFileInfo::exists(cover))
        return false;
    if (isTargetTaken)
        logRemoval(target, QFile::remove(target));
    logRemoval(target, isCopied && QFile::rename(copy, target)); // the copy has always been logged in these words
    cover = target;
    return true;
}

void removeCovers(const SongItem &song) {
    for (const QString &cover : song.coverImages())
        QFile::remove(cover); // one that stays behind is overwritten when its number is given out again
}

QStringList existingCovers(QByteArrayView names, const QString &folder) {
    QStringList covers;
    if (names.isEmpty())
        return covers;
    for (const QString &name : QString::fromUtf8(names).split(',', Qt::SkipEmptyParts))
        if (const QString cover = folder + '/' + name; QFileInfo::exists(cover))
            covers << cover;
    return covers;
}

// Columns whose texts repeat from row to row share one string with the row before: it saves the memory and the
// conversion.
class RepeatedText {
public:
    const QString &of(QByteArrayView utf8) {
        if (text_.isNull() || utf8 != utf8_) {
            utf8_ = utf8.toByteArray();
            text_ = QString::fromUtf8(utf8);
        }
        return text_;
    }

private:
    QByteArray utf8_;
    QString text_;
};

/// A second connection to the library that `connection` has open. Who reads for long by it keeps nobody waiting, and as
/// one thread alone uses it, it needs no locks.
class Reader {
public:
    explicit Reader(sqlite3 *connection) {
        if (!connection)
            return;
        sqlite3_open_v2(sqlite3_db_filename(connection, nullptr), &connection_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
        sqlite3_busy_timeout(connection_, kLibraryBusyMilliseconds);
    }
    ~Reader() { sqlite3_close(connection_); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;
    sqlite3 *connection() const { return connection_; }

private:
    sqlite3 *connection_ = nullptr;
};

} // namespace

QString DataBaseManager::coverTarget(const SongItem &song, int32_t number, qsizetype index) const {
    const bool isLocal = song.isHasLocalCover() && index == song.coverImages().size() - 1;
    return QStringLiteral("%1/%2_%3.png")
        .arg(strDefaultImagesDir_, QString::number(number), QString::number(isLocal ? kLocalCoverSlot : index));
}

int32_t DataBaseManager::insertSongItem(SongItem &song) {
    Statement statement(openedDataBase(), kInsertSong);
    return insertSongItem(song, statement);
}

int32_t DataBaseManager::insertSongItem(SongItem &song, Statement &statement) {
    if (!isLastSongIDKnown_)
        LastSongID();
    if (!isLastSongIDKnown_) {
        logLine("insertSongItem: the highest number can't be read");
        return -1;
    }
    const int32_t number = ++lastSongID_;

    QStringList covers = song.coverImages();
    QStringList names;
    for (qsizetype i = 0; i < covers.size(); ++i) {
        const QString source = covers.at(i);
        const QString target = coverTarget(song, number, i);
        if (!QFileInfo::exists(source)) {
            names << QStringLiteral("(null)"); // no such file exists, so loading drops it
            continue;
        }
        // A cover that a refused insert has already moved stays where it is.
        if (source != target) {
            if (QFileInfo::exists(target))
                logRemoval(target, QFile::remove(target));
            if (!moveFile(QFile::encodeName(source).constData(), QFile::encodeName(target).constData())) {
                logLine(QStringLiteral("文件移动失败 %1  %2").arg(qt_error_string(), source));
                song.setCoverImages(covers);
                --lastSongID_;
                return -1;
            }
            covers[i] = target;
        }
        names << fileName(target);
    }
    song.setCoverImages(covers);
    if (!names.isEmpty())
        logLine("mstrCoverImages " + names.join(','));

    if (!statement) {
        logLine("insertSongItem: sqlite3_prepare failed");
        return -1;
    }
    statement.bindInt(number)
        .bindText(covertStringTochar(song.title()))
        .bindText(covertStringTochar(song.artist()))
        .bindText(covertStringTochar(song.album()))
        .bindText(covertStringTochar(song.genre()))
        .bindInt(static_cast<int32_t>(song.length()))
        .bindInt(static_cast<int32_t>(song.size()))
        .bindInt(song.isImported())
        .bindText(covertStringTochar(song.year()))
        .bindText(dateText(song.addedDate()))
        .bindText(covertStringTochar(song.songPath()))
        .bindInt(song.biteRate())
        .bindInt(song.sampleRate())
        .bindText(covertStringTochar(song.encodeKind()))
        .bindText(covertStringTochar(names.join(',')))
        .bindInt(song.coverImageIndex())
        .bindInt(song.isHasLocalCover())
        .bindInt(song.isAds())
        .bindInt(song.getID3Status());
    if (const int code = statement.step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("insertSongItem: sqlite3_step failed: %1").arg(code));
        --lastSongID_;
        return -1;
    }
    return number;
}

QList<int32_t> DataBaseManager::insertSongItems(const QList<std::shared_ptr<SongItem>> &songs) {
    // At once for writing: a library that somebody holds is waited for here, and not again with each row.
    if (const int code = sqlite3_exec(openedDataBase(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
        code != SQLITE_OK) {
        logLine(QStringLiteral("insertSongItems: BEGIN failed: %1").arg(code));
        return QList<int32_t>(songs.size(), -1);
    }
    QList<int32_t> numbers;
    numbers.reserve(songs.size());
    {
        Statement statement(dataBase_, kInsertSong);
        for (const auto &song : songs) {
            numbers << insertSongItem(*song, statement);
            statement.reset();
        }
    }
    if (const int code = sqlite3_exec(dataBase_, "COMMIT", nullptr, nullptr, nullptr); code != SQLITE_OK) {
        logLine(QStringLiteral("insertSongItems: COMMIT failed: %1").arg(code));
        sqlite3_exec(dataBase_, "ROLLBACK", nullptr, nullptr, nullptr);
        LastSongID();
        numbers.fill(-1);
    }
    return numbers;
}

std::optional<QList<std::shared_ptr<SongItem>>> DataBaseManager::getAllSongItems() {
    auto guard = holdOnThisThread();
    const Reader reader(dataBase_);
    const QString imagesDir = strDefaultImagesDir_;
    guard = {};
    Statement row(reader.connection(), "SELECT * FROM Song");
    if (!row) {
        logLine("getDownloadTask: sqlite3_prepare failed.");
        return std::nullopt;
    }

    QList<std::shared_ptr<SongItem>> songs;
    RepeatedText artist;
    RepeatedText album;
    RepeatedText genre;
    RepeatedText year;
    RepeatedText encodeKind;
    int code = row.step();
    for (; code == SQLITE_ROW; code = row.step()) {
        auto song = std::make_shared<SongItem>();
        song->setSongID(row.integer(0));
        song->setTitle(row.text(1));
        song->setArtist(artist.of(row.bytes(2)));
        song->setAlbum(album.of(row.bytes(3)));
        song->setGenre(genre.of(row.bytes(4)));
        song->setLength(row.integer(5));
        song->setSize(row.cutDouble(6));
        song->setIsImported(row.integer(7) != 0);
        song->setYear(year.of(row.bytes(8)));
        song->setAddedDate(dateFromText(row.bytes(9)));
        song->setSongPath(row.text(10));
        song->setBiteRate(row.integer(11));
        song->setSampleRate(row.integer(12));
        song->setEncodeKind(encodeKind.of(row.bytes(13)));
        song->setCoverImages(existingCovers(row.bytes(14), imagesDir));
        const int32_t index = row.integer(15);
        const bool isNoneChosen = song->coverImages().isEmpty() || index >= song->coverImages().size();
        song->setCoverImageIndex(isNoneChosen ? -1 : index);
        song->setIsHasLocalCover(row.integer(16) != 0);
        song->setIsAds(row.integer(17) != 0);
        song->setGetID3Status(row.integer(18));
        songs << std::move(song);
    }
    if (code != SQLITE_DONE) {
        logLine(QStringLiteral("getAllSongItems: sqlite3_step failed: %1").arg(code));
        if (songs.isEmpty())
            return std::nullopt; // a library that is locked is not an empty one
    }
    return songs;
}

bool DataBaseManager::updateSongItem(SongItem &song, bool *isCoverLost) {
    openedDataBase();
    if (song.songID() < 0) {
        logLine(QStringLiteral("songItem songID is invalid: %1 == NULL").arg(song.songID()));
        return false;
    }

    QStringList covers = song.coverImages();
    QStringList names;
    for (qsizetype i = 0; i < covers.size(); ++i) {
        const QString target = coverTarget(song, song.songID(), i);
        const bool isKept = keepCover(covers[i], target);
        if (!isKept && isCoverLost)
            *isCoverLost = true;
        const bool isInFolder = covers.at(i).startsWith(strDefaultImagesDir_ + '/');
        names << fileName(isInFolder ? covers.at(i) : target);
    }
    song.setCoverImages(covers);

    Statement statement(dataBase_, kUpdateSong);
    if (!statement) {
        logLine("updateSongItem: sqlite3_prepare failed");
        return false;
    }
    statement.bindText(covertStringTochar(song.title()))
        .bindText(covertStringTochar(song.artist()))
        .bindText(covertStringTochar(song.album()))
        .bindText(covertStringTochar(song.genre()))
        .bindText(covertStringTochar(song.year()))
        .bindText(covertStringTochar(names.join(',')))
        .bindText(covertStringTochar(song.songPath()))
        .bindInt(song.coverImageIndex())
        .bindInt(song.isHasLocalCover())
        .bindInt(song.isAds())
        .bindInt(song.getID3Status())
        .bindInt(static_cast<int32_t>(song.size()))
        .bindInt(song.songID());
    if (const int code = statement.step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("updateSongItem: sqlite3_step failed: %1").arg(code));
        return false;
    }
    return true;
}

bool DataBaseManager::isTheFileInDataBase(const QString &path) {
    // A path with a double quote was never found, and callers live with that.
    if (path.isNull() || path.contains('"'))
        return false;
    const auto guard = holdOnThisThread();
    Statement statement(dataBase_, "SELECT 1 FROM Song Where FilePath = ? LIMIT 1");
    return statement && statement.bindText(covertStringTochar(path)).step() == SQLITE_ROW;
}

bool DataBaseManager::deleteRow(const SongItem &song) {
    Statement statement(openedDataBase(), "DELETE FROM Song WHERE SongID = ?");
    if (!statement) {
        logLine("deleteSongItem: sqlite3_prepare failed");
        return false;
    }
    if (const int code = statement.bindInt(song.songID()).step(); code != SQLITE_DONE) {
        logLine(QStringLiteral("deleteSongItem: sqlite3_step failed: %1").arg(code));
        return false;
    }
    return true;
}

bool DataBaseManager::deleteSongItem(const SongItem &song) {
    const bool isDeleted = deleteRow(song);
    if (isDeleted)
        removeCovers(song);
    return isDeleted;
}

bool DataBaseManager::deleteSongItems(const QList<std::shared_ptr<SongItem>> &songs) {
    QList<std::shared_ptr<SongItem>> deleted;
    const bool isKept = inOneTransaction("deleteSongItems", [&] {
        std::ranges::copy_if(songs, std::back_inserter(deleted), [this](const auto &song) { return deleteRow(*song); });
    });
    // A row that a full disk brings back has its covers still.
    if (isKept)
        for (const auto &song : std::as_const(deleted))
            removeCovers(*song);
    return isKept && deleted.size() == songs.size();
}

void DataBaseManager::updateSongItems(const QList<std::shared_ptr<SongItem>> &songs) {
    inOneTransaction("updateSongItems", [&] {
        for (const auto &song : songs)
            updateSongItem(*song);
    });
}

bool DataBaseManager::inOneTransaction(const char *name, const std::function<void()> &work) {
    sqlite3_exec(openedDataBase(), "BEGIN", nullptr, nullptr, nullptr);
    work();
    // Without a transaction, since somebody holds the library, each row was on its own.
    if (const int code = sqlite3_exec(dataBase_, "COMMIT", nullptr, nullptr, nullptr); code != SQLITE_OK) {
        logLine(QStringLiteral("%1: COMMIT failed: %2").arg(QLatin1String(name)).arg(code));
        sqlite3_exec(dataBase_, "ROLLBACK", nullptr, nullptr, nullptr);
        return false;
    }
    return true;
}
