#include "store/DataBaseManager.h"

#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/LibraryFile.h"
#include "store/Statement.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <atomic>
#include <thread>

namespace {

constexpr const char *kCreateSongTable =
    "CREATE TABLE Song(SongID int PRIMARY KEY,Title varchar,Artist varchar,Album varchar,Genre varchar,SongLength "
    "double,SongSize double,IsImported BOOL,Year varchar,AddDate vachar NOT NULL,FilePath varchar NOT NULL,BiteRate "
    "int,SampleRate int,EncodeKind varchar,CoverImages varchar,CoverImageIndex int,IsHasLocalCover BOOL,IsAds "
    "BOOL,GetID3Status int)";

constexpr const char *kSelectAllColumns =
    "SELECT SongID, Title, Artist, Album, Genre, SongLength, SongSize, IsImported, Year "
    ",AddDate,FilePath,BiteRate, SampleRate,EncodeKind,CoverImages,CoverImageIndex,IsHasLocalCover,IsAds, "
    "GetID3Status FROM Song";

// An import asks for every file whether it is there already.
constexpr const char *kIndexPaths = "CREATE INDEX IF NOT EXISTS SongFilePath ON Song(FilePath)";

constexpr int kPagesToCheckpoint = 1000; // as many as SQLite itself lets the log grow

/// Brings the log into the library file at `path`. Waits for the disk, but keeps nobody else waiting.
void checkpoint(const QByteArray &path) {
    sqlite3 *connection = nullptr;
    if (sqlite3_open_v2(path.constData(), &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) ==
        SQLITE_OK) // a connection that has read nothing knows of no log yet
        sqlite3_exec(connection, "PRAGMA user_version; PRAGMA wal_checkpoint(PASSIVE)", nullptr, nullptr, nullptr);
    sqlite3_close(connection); // what could not be brought in stays in the log
}

/// Called behind each change of the library, with the size of its log.
int logDidGrow(void *libraryDidChange, sqlite3 *connection, const char *name, int pages) {
    static std::atomic isBusy = false;
    static std::jthread worker;
    if (pages >= kPagesToCheckpoint && !isBusy.exchange(true))
        worker = std::jthread([path = QByteArray(sqlite3_db_filename(connection, name))] {
            checkpoint(path);
            isBusy = false;
        });
    (*static_cast<std::function<void()> *>(libraryDidChange))();
    return SQLITE_OK;
}

} // namespace

DataBaseManager &DataBaseManager::defaultManager() {
    static DataBaseManager manager;
    return manager;
}

DataBaseManager::~DataBaseManager() { sqlite3_close(dataBase_); }

bool DataBaseManager::loadDataBase(const QString &path) {
    {
        const std::lock_guard guard(connection_);
        strDefaultImagesDir_ = coverImageFolder();
    }
    const QString library = path.isNull() ? defaultLibraryPath() : path;
    if (isLibraryToBeMade(library)) {
        lastSongID_ = 0;
        lastRingtoneID_ = 0;
        if (!createDataBase(library))
            return false;
        isLastSongIDKnown_ = true;
        return true;
    }
    if (openConnection(library)) {
        // Where it can't be made (a read-only or locked file) the answers come, only later.
        sqlite3_exec(dataBase_, kIndexPaths, nullptr, nullptr, nullptr);
        LastSongID();
        return true;
    }
    logLine("SQLite open failed.");
    return checkDB();
}

bool DataBaseManager::createDataBase(const QString &path) {
    if (!openConnection(path)) {
        logLine("Create DB failed!");
        return false;
    }
    if (sqlite3_exec(dataBase_, kCreateSongTable, nullptr, nullptr, nullptr) != SQLITE_OK) {
        logLine("Create DB failed!");
        // Half a library would be taken for a damaged one; whoever needs it next begins anew.
        closeDataBase();
        QFile::resize(path, 0);
        return false;
    }
    sqlite3_exec(dataBase_, kIndexPaths, nullptr, nullptr, nullptr);
    return true;
}

bool DataBaseManager::checkDB() {
    const int code = dataBase_ ? sqlite3_exec(dataBase_, kSelectAllColumns, nullptr, nullptr, nullptr) : SQLITE_MISUSE;
    if (code != SQLITE_OK)
        logLine("Table Song Damage.");
    return code == SQLITE_OK;
}

bool DataBaseManager::closeDataBase() {
    const std::lock_guard guard(connection_);
    if (const int code = sqlite3_close(dataBase_); code != SQLITE_OK) {
        logLine(QStringLiteral("SQLite close failed: %1.").arg(code));
        return false;
    }
    // A worker's last result may still come in after the main window closed; it opens the library again.
    dataBase_ = nullptr;
    return true;
}

void DataBaseManager::LastSongID() {
    const auto highest = highestNumber("SELECT MAX(SongID) FROM Song", "LastSongID: sqlite3_prepare failed.");
    isLastSongIDKnown_ = highest.has_value();
    lastSongID_ = highest.value_or(0);
}

void DataBaseManager::lastRingtoneID() {
    lastRingtoneID_ =
        highestNumber("SELECT MAX(RingtoneID) FROM Ringtone", "lastRingtoneID: sqlite3_prepare failed.").value_or(0);
}

int32_t DataBaseManager::getMaxSongID() {
    openedDataBase();
    return lastSongID_;
}

bool DataBaseManager::openConnection(const QString &path) {
    const std::lock_guard guard(connection_);
    sqlite3_close(dataBase_);
    dataBase_ = nullptr;
    isLastSongIDKnown_ = false;
    sqlite3 *connection = nullptr;
    if (sqlite3_open(QFile::encodeName(path).constData(), &connection) != SQLITE_OK) {
        sqlite3_close(connection);
        return false;
    }
    dataBase_ = connection;
    sqlite3_busy_timeout(dataBase_, kLibraryBusyMilliseconds);
    // Write-ahead logging keeps the file whole through a power cut. Where it can't be had (a read-only or locked file)
    // the library works as before, so the result is of no interest; a file that is no library shows in the next step.
    sqlite3_exec(dataBase_, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    sqlite3_wal_hook(dataBase_, &logDidGrow, &libraryDidChange_);
    return true;
}

/// For what any thread may do: opens the library on the main thread, which alone changes it, and on another one keeps
/// it from being closed.
std::unique_lock<std::mutex> DataBaseManager::holdOnThisThread() {
    if (const auto *program = QCoreApplication::instance(); program && QThread::currentThread() != program->thread())
        return std::unique_lock(connection_);
    openedDataBase();
    return {};
}

// Null if no library could be opened; every statement then fails at its preparation.
sqlite3 *DataBaseManager::openedDataBase() {
    if (!dataBase_)
        loadDataBase();
    return dataBase_;
}

// Nothing when it can't be read.
std::optional<int> DataBaseManager::highestNumber(const char *sql, const char *failure) {
    Statement statement(dataBase_, sql);
    if (!statement) {
        logLine(failure);
        return std::nullopt;
    }
    if (statement.step() != SQLITE_ROW)
        return std::nullopt;
    return statement.integer(0); // of an empty table there is a row with nothing in it, which reads as 0
}
