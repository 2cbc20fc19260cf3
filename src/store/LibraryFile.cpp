#include "store/LibraryFile.h"

#include "platform/files/Folders.h"
#include "store/Statement.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <array>

namespace {

// Rows are read by position, so the order counts. A column behind these does no harm.
constexpr std::array kColumns = {"SongID",          "Title",           "Artist",     "Album",       "Genre",
                                 "SongLength",      "SongSize",        "IsImported", "Year",        "AddDate",
                                 "FilePath",        "BiteRate",        "SampleRate", "EncodeKind",  "CoverImages",
                                 "CoverImageIndex", "IsHasLocalCover", "IsAds",      "GetID3Status"};

bool hasOurColumns(const Statement &statement) {
    if (sqlite3_column_count(statement.handle()) < static_cast<int>(kColumns.size()))
        return false;
    for (size_t i = 0; i < kColumns.size(); ++i)
        if (qstricmp(sqlite3_column_name(statement.handle(), static_cast<int>(i)), kColumns[i]) != 0)
            return false;
    return true;
}

// Damage is only what SQLite calls so. A full disk, for one, keeps it from making the files beside the library, and
// that says nothing of the library.
LibraryState stateOfFailure(int code) {
    switch (code & 0xff) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return LibraryState::NotADatabase;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return LibraryState::Locked;
    case SQLITE_ERROR: // no such table
        return LibraryState::OtherColumns;
    default:
        return LibraryState::NotOpenable;
    }
}

struct Closer {
    void operator()(sqlite3 *connection) const { sqlite3_close(connection); }
};

} // namespace

QString defaultLibraryPath() { return applicationSupportFolder() + "/Library.db"; }

bool isLibraryToBeMade(const QString &path) {
    const QFileInfo library(path);
    return !library.exists() || (library.isFile() && library.size() == 0);
}

LibraryState libraryStateOf(const QString &path) {
    if (isLibraryToBeMade(path))
        return LibraryState::Missing;
    sqlite3 *opened = nullptr;
    // Writable, so that what a crash left in the write-ahead log is taken in; SQLite falls back by itself.
    const int code = sqlite3_open_v2(QFile::encodeName(path).constData(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, Closer> connection(opened);
    if (code != SQLITE_OK)
        return stateOfFailure(code);
    sqlite3_busy_timeout(opened, kLibraryBusyMilliseconds);

    const Statement allColumns(opened, "SELECT * FROM Song");
    if (!allColumns)
        return stateOfFailure(sqlite3_errcode(opened));
    if (!hasOurColumns(allColumns))
        return LibraryState::OtherColumns;
    Statement everyPage(opened, "SELECT count(*) FROM Song NOT INDEXED");
    if (!everyPage || everyPage.step() != SQLITE_ROW)
        return stateOfFailure(sqlite3_errcode(opened));
    return LibraryState::Readable;
}

QString setAsideLibrary(const QString &path, const QDateTime &now) {
    const QFileInfo library(path);
    const QString stem = library.absolutePath() + '/' + library.completeBaseName() + " (unreadable " +
                         now.toString(QStringLiteral("yyyy-MM-dd HH.mm.ss"));
    QString target = stem + ")." + library.suffix();
    for (int copy = 2; QFileInfo::exists(target); ++copy)
        target = stem + ' ' + QString::number(copy) + ")." + library.suffix();

    // The log goes first: one left behind would be taken for the next library's.
    QStringList renamed;
    for (const char *part : {"-wal", "-shm", ""}) {
        if (!QFileInfo::exists(path + part))
            continue;
        if (!QFile::rename(path + part, target + part)) {
            for (const QString &done : renamed)
                QFile::rename(target + done, path + done); // if this fails too, nothing more can be done
            return {};
        }
        renamed << part;
    }
    return renamed.contains(QString("")) ? target : QString();
}
