#include "identify/local/FingerprintFile.h"

#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/LibraryFile.h"
#include "store/Statement.h"

#include <QFile>
#include <QtEndian>

namespace {

// Fingerprints of another version are not comparable, and made anew.
constexpr int kVersion = 1;

constexpr const char *kTables =
    "CREATE TABLE IF NOT EXISTS Fingerprint(SongID INTEGER PRIMARY KEY, AddDate TEXT NOT NULL, Items BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS HeardName(SongID INTEGER PRIMARY KEY, AddDate TEXT NOT NULL, Title TEXT, Artist TEXT,"
    "Album TEXT, Cover TEXT)";

FingerprintFile::Items itemsIn(QByteArrayView bytes) {
    FingerprintFile::Items items(static_cast<size_t>(bytes.size()) / sizeof(uint32_t));
    qFromLittleEndian<uint32_t>(bytes.data(), static_cast<qsizetype>(items.size()), items.data());
    return items;
}

QByteArray bytesOf(std::span<const uint32_t> items) {
    QByteArray bytes(static_cast<qsizetype>(items.size_bytes()), Qt::Uninitialized);
    qToLittleEndian<uint32_t>(items.data(), static_cast<qsizetype>(items.size()), bytes.data());
    return bytes;
}

bool isDamage(int code) { return (code & 0xff) == SQLITE_NOTADB || (code & 0xff) == SQLITE_CORRUPT; }

int makeTables(sqlite3 *connection) {
    // Bits of it may be missing after a power cut, but nothing is read wrongly.
    sqlite3_exec(connection, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(connection, kLibraryBusyMilliseconds);
    int version = 0;
    {
        Statement statement(connection, "PRAGMA user_version");
        if (!statement || statement.step() != SQLITE_ROW)
            return sqlite3_errcode(connection);
        version = statement.integer(0);
    }
    if (version != kVersion) {
        const QByteArray renewal =
            "DROP TABLE IF EXISTS Fingerprint; PRAGMA user_version=" + QByteArray::number(kVersion);
        if (const int code = sqlite3_exec(connection, renewal, nullptr, nullptr, nullptr); code != SQLITE_OK)
            return code;
    }
    return sqlite3_exec(connection, kTables, nullptr, nullptr, nullptr);
}

} // namespace

QString defaultFingerprintPath() { return applicationSupportFolder() + "/Fingerprints.sqlite"; }

FingerprintFile::FingerprintFile(QString path, Clock::duration retry) : path_(std::move(path)), retry_(retry) {}

FingerprintFile::~FingerprintFile() { sqlite3_close(connection_); }

sqlite3 *FingerprintFile::opened() {
    if (connection_ || Clock::now() < nextTry_)
        return connection_;
    if (!open()) {
        nextTry_ = Clock::now() + retry_;
        logLine(QStringLiteral("%1 can't be used: no track is known again").arg(path_));
    }
    return connection_;
}

bool FingerprintFile::open() {
    for (const bool isLastTry : {false, true}) {
        sqlite3 *connection = nullptr;
        int code = sqlite3_open(QFile::encodeName(path_).constData(), &connection);
        if (code == SQLITE_OK)
            code = makeTables(connection);
        if (code == SQLITE_OK) {
            connection_ = connection;
            return true;
        }
        sqlite3_close(connection);
        if (isLastTry || !isDamage(code) || setAsideLibrary(path_).isNull())
            break;
    }
    return false;
}

/// Under the lock. `work` answers the code of its last step. Damage that shows only now is dealt with by the next open.
bool FingerprintFile::run(const char *sql, const std::function<int(Statement &statement)> &work) {
    sqlite3 *connection = opened();
    int code = SQLITE_ERROR;
    {
        Statement statement(connection, sql);
        code = statement ? work(statement) : sqlite3_errcode(connection);
    }
    if (code == SQLITE_DONE || code == SQLITE_ROW)
        return true;
    if (!connection)
        return false;
    logLine(QStringLiteral("%1: error %2").arg(path_).arg(code));
    if (isDamage(code)) {
        sqlite3_close(std::exchange(connection_, nullptr));
        if (setAsideLibrary(path_).isNull())
            nextTry_ = Clock::now() + retry_;
    }
    return false;
}

bool FingerprintFile::keepFingerprint(int32_t songID, const QByteArray &addDate, std::span<const uint32_t> items) {
    const std::lock_guard guard(lock_);
    return run("INSERT OR REPLACE INTO Fingerprint VALUES(?,?,?)", [&](Statement &statement) {
        return statement.bindInt(songID).bindText(addDate).bindBlob(bytesOf(items)).step();
    });
}

FingerprintFile::Items FingerprintFile::fingerprintOf(int32_t songID) {
    const std::lock_guard guard(lock_);
    Items items;
    run("SELECT Items FROM Fingerprint WHERE SongID = ?", [&](Statement &row) {
        const int code = row.bindInt(songID).step();
        if (code == SQLITE_ROW)
            items = itemsIn(row.blob(0));
        return code;
    });
    return items;
}

bool FingerprintFile::forEachFingerprint(const std::function<void(int32_t songID, const Items &items)> &take) {
    const std::lock_guard guard(lock_);
    return run("SELECT SongID, Items FROM Fingerprint", [&](Statement &row) {
        int code = row.step();
        for (; code == SQLITE_ROW; code = row.step())
            take(row.integer(0), itemsIn(row.blob(1)));
        return code;
    });
}

bool FingerprintFile::keepName(int32_t songID, const HeardTrack &heard) {
    const std::lock_guard guard(lock_);
    return run("INSERT OR REPLACE INTO HeardName VALUES(?,?,?,?,?,?)", [&](Statement &statement) {
        return statement.bindInt(songID)
            .bindText(heard.addDate)
            .bindText(heard.name.title.toUtf8())
            .bindText(heard.name.artist.toUtf8())
            .bindText(heard.name.album.toUtf8())
            .bindText(heard.name.cover.toEncoded())
            .step();
    });
}

std::optional<HeardTrack> FingerprintFile::nameOf(int32_t songID) {
    const std::lock_guard guard(lock_);
    std::optional<HeardTrack> heard;
    run("SELECT AddDate, Title, Artist, Album, Cover FROM HeardName WHERE SongID = ?", [&](Statement &row) {
        const int code = row.bindInt(songID).step();
        if (code != SQLITE_ROW)
            return code;
        const auto text = [&row](int column) {
            const QString stored = row.text(column);
            return stored.isEmpty() ? QString() : stored;
        };
        heard = HeardTrack{row.bytes(0).toByteArray(), {}};
        heard->name.title = text(1);
        heard->name.artist = text(2);
        heard->name.album = text(3);
        heard->name.cover = QUrl::fromEncoded(row.bytes(4).toByteArray());
        return code;
    });
    return heard;
}

QHash<int32_t, QByteArray> FingerprintFile::dates(const char *sql) {
    const std::lock_guard guard(lock_);
    QHash<int32_t, QByteArray> dates;
    run(sql, [&dates](Statement &row) {
        int code = row.step();
        for (; code == SQLITE_ROW; code = row.step())
            dates.insert(row.integer(0), row.bytes(1).toByteArray());
        return code;
    });
    return dates;
}

QHash<int32_t, QByteArray> FingerprintFile::fingerprintedTracks() {
    return dates("SELECT SongID, AddDate FROM Fingerprint");
}

QHash<int32_t, QByteArray> FingerprintFile::namedTracks() { return dates("SELECT SongID, AddDate FROM HeardName"); }

void FingerprintFile::forget(const QList<int32_t> &songIDs) {
    const std::lock_guard guard(lock_);
    for (const char *sql : {"DELETE FROM Fingerprint WHERE SongID = ?", "DELETE FROM HeardName WHERE SongID = ?"})
        run(sql, [&songIDs](Statement &statement) {
            int code = SQLITE_DONE;
            for (const int32_t songID : songIDs) {
                code = statement.bindInt(songID).step();
                statement.reset();
            }
            return code;
        });
}
