// The one owner of the library file and of the folder of cover images.
//
// An SQLite file with the table Song; each statement commits by itself. Every operation opens the default library
// first if none is open. A failure is told by the result and by a line in the log, never to the user. A library that
// another program has locked is waited for briefly and then counts as a failure.
//
// Threads: the main thread, but for getAllSongItems() and isTheFileInDataBase().
#pragma once

#include "store/RingtoneItem.h"
#include "store/SongItem.h"

#include <QList>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

struct sqlite3;
class Statement;

class DataBaseManager {
public:
    /// The place of the file's own or the user's picture among a track's covers; fetched ones take their index.
    static constexpr int kLocalCoverSlot = 3;

    static DataBaseManager &defaultManager();
    DataBaseManager(const DataBaseManager &) = delete;
    DataBaseManager &operator=(const DataBaseManager &) = delete;

    /// Opens the library at `path`, or the default one for a null path, and makes it where no file exists. A file that
    /// opens is not examined, so this is true for a file that is no library too: see libraryStateOf().
    bool loadDataBase(const QString &path = {});

    /// Opens `path` and makes the table Song; false if either fails, as it does where the table exists.
    bool createDataBase(const QString &path);

    /// Whether the table Song has all its columns.
    bool checkDB();

    /// Closes the library; also true when none is open.
    bool closeDataBase();

    /// Reads the highest song number into lastSongID_; 0 for an empty table and on failure.
    void LastSongID();
    /// The same for ringtones.
    void lastRingtoneID();
    /// The highest song number given out; 0 as well while it can't be read.
    int32_t getMaxSongID();

    /// Moves the covers into the cover folder, renames them in `song` and adds a row. The new number or -1; `song`'s
    /// own songID is neither used nor changed. A highest number that could not be read is read again first, and while
    /// that fails nothing is inserted: the number would be that of another track.
    int32_t insertSongItem(SongItem &song);
    /// The same for many, in one transaction: the number of each, or -1. Either all that got a number are in the
    /// library or none is, whatever becomes of the program meanwhile.
    QList<int32_t> insertSongItems(const QList<std::shared_ptr<SongItem>> &songs);

    /// Every track in the file's order, or nothing if the library can't be read. Covers whose file is gone are left
    /// out. The rows before a damaged place are given. Any thread while a library is open; the main thread may change
    /// the library meanwhile, without waiting, and what it adds may or may not be among them.
    std::optional<QList<std::shared_ptr<SongItem>>> getAllSongItems();

    /// Copies the covers into the cover folder, renames them in `song` and changes its row. Length, import flag, date,
    /// rates and format stay as they were inserted. True also when there is no such row. A cover that can't be copied
    /// stays where it is, and so does the picture in its place; `isCoverLost` becomes true then.
    bool updateSongItem(SongItem &song, bool *isCoverLost = nullptr);

    /// The same for many, in one transaction.
    void updateSongItems(const QList<std::shared_ptr<SongItem>> &songs);

    /// Does `work`, which changes many rows, in one transaction; `name` is for the log. Whether it was kept.
    bool inOneTransaction(const char *name, const std::function<void()> &work);

    /// Called behind every change of the library, by the thread that made it, which is the main thread.
    void setLibraryDidChange(std::function<void()> libraryDidChange) {
        libraryDidChange_ = std::move(libraryDidChange);
    }

    /// Whether a track has this path. Never for a path that holds a double quote. Any thread while a library is open;
    /// only on the main thread does it open one.
    bool isTheFileInDataBase(const QString &path);

    /// Deletes the row and the cover files; the audio file stays.
    bool deleteSongItem(const SongItem &song);
    /// The same for many, in one transaction: at once for any number of them. Where the library can't be written rows
    /// and covers stay, and the answer is no.
    bool deleteSongItems(const QList<std::shared_ptr<SongItem>> &songs);

    // No library made by this program has a table Ringtone, so on those all of these fail.

    /// The new number; 0 without the table; -1 if the row was refused.
    int32_t insertRingtoneItem(const RingtoneItem &ringtone);
    std::optional<QList<std::shared_ptr<RingtoneItem>>> getAllRingtoneItems();
    /// Changes title, artist and album.
    bool updateRingtoneItem(const RingtoneItem &ringtone);
    bool deleteRingtoneItem(const RingtoneItem &ringtone);

private:
    DataBaseManager() = default;
    ~DataBaseManager();

    [[nodiscard]] std::unique_lock<std::mutex> holdOnThisThread();
    bool openConnection(const QString &path);
    sqlite3 *openedDataBase();
    int32_t insertSongItem(SongItem &song, Statement &statement);
    bool deleteRow(const SongItem &song);
    std::optional<int> highestNumber(const char *sql, const char *failure);
    QString coverTarget(const SongItem &song, int32_t number, qsizetype index) const;

    // Held while dataBase_ or the folder changes, and while another thread than the main one uses them.
    std::mutex connection_;
    sqlite3 *dataBase_ = nullptr; // null until a library was opened
    int32_t lastSongID_ = 0;
    bool isLastSongIDKnown_ = false; // lastSongID_ was read from the open library
    int32_t lastRingtoneID_ = 0;     // starts at 0 in each run
    QString strDefaultImagesDir_;
    std::function<void()> libraryDidChange_ = [] {};
};
