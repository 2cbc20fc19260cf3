#include "identify/local/LibraryRows.h"

#include "platform/files/Folders.h"
#include "platform/run/LocalizedString.h"
#include "store/SongItem.h"
#include "store/Statement.h"

#include <QFile>

namespace {

struct Closer {
    void operator()(sqlite3 *connection) const { sqlite3_close(connection); }
};
using Connection = std::unique_ptr<sqlite3, Closer>;

Connection opened(const QString &path) {
    sqlite3 *connection = nullptr;
    // Writable, as the files beside a library with a write-ahead log have to be.
    sqlite3_open_v2(QFile::encodeName(path).constData(), &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                    nullptr);
    sqlite3_busy_timeout(connection, kLibraryBusyMilliseconds);
    return Connection(connection);
}

bool isIdentified(int status) { return status == static_cast<int>(ID3Status::Identified); }

/// A text that stands for none is none.
QString tag(const QString &text, const char *placeholder) {
    return text.isEmpty() || text == placeholder || text == localizedString(placeholder) ? QString() : text;
}

QUrl chosenCover(const QString &names, int index) {
    const QString name = names.split(',', Qt::SkipEmptyParts).value(index);
    const QString path = coverImageFolder() + '/' + name;
    return name.isEmpty() || !QFile::exists(path) ? QUrl() : QUrl::fromLocalFile(path);
}

} // namespace

std::optional<QList<LibraryRow>> LibraryRows::all() const {
    const Connection connection = opened(path_);
    Statement row(connection.get(), "SELECT SongID, AddDate, GetID3Status, FilePath FROM Song");
    if (!row)
        return std::nullopt;
    QList<LibraryRow> rows;
    int code = row.step();
    for (; code == SQLITE_ROW; code = row.step())
        rows.append({row.integer(0), row.bytes(1).toByteArray(), isIdentified(row.integer(2)), row.text(3)});
    if (code != SQLITE_DONE)
        return std::nullopt;
    return rows;
}

std::optional<LibraryTags> LibraryRows::tagsOf(int32_t songID) const {
    const Connection connection = opened(path_);
    Statement row(connection.get(), "SELECT AddDate, GetID3Status, SongLength, Title, Artist, Album, Year, Genre, "
                                    "CoverImages, CoverImageIndex FROM Song WHERE SongID = ?");
    if (!row || row.bindInt(songID).step() != SQLITE_ROW)
        return std::nullopt;
    LibraryTags tags;
    tags.addDate = row.bytes(0).toByteArray();
    tags.isIdentified = isIdentified(row.integer(1));
    tags.milliseconds = row.cutDouble(2);
    tags.tags.title = tag(row.text(3), "Unknown Title");
    tags.tags.artist = tag(row.text(4), "Unknown Artist");
    tags.tags.album = tag(row.text(5), "Unknown Album");
    tags.tags.year = tag(row.text(6), "");
    tags.tags.genre = tag(row.text(7), "Unknown Genre");
    tags.tags.cover = chosenCover(row.text(8), row.integer(9));
    return tags;
}
