// How long reading a library of 100,000 tracks takes, beside a bare SQLite loop that copies the same columns, and the
// memory that a track takes. The goal is at most 2.5 times the bare loop.
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace {

constexpr int kTracks = 100'000;

struct PlainSong {
    int songID, length, isImported, biteRate, sampleRate, coverImageIndex, isHasLocalCover, isAds, getID3Status;
    double size;
    std::string title, artist, album, genre, year, addedDate, path, encodeKind, covers;
};

// A library of albums of twelve tracks, in a home folder of its own.
class Library {
public:
    Library() {
        qputenv("HOME", home_.path().toUtf8());
        setLogSink([](const QString &) {});
        QDir(home_.path()).mkpath(".local/share/Tessarine Corvidia/CoverImage");
        path_ = home_.filePath(".local/share/Tessarine Corvidia/Library.db").toUtf8();
        DataBaseManager::defaultManager().loadDataBase();

        sqlite3 *connection = nullptr;
        sqlite3_open(path_.constData(), &connection);
        sqlite3_exec(connection, "BEGIN", nullptr, nullptr, nullptr);
        for (int i = 1; i <= kTracks; ++i) {
            const QString row =
                QStringLiteral("INSERT INTO Song VALUES(%1,'Title of track %1','Artist number %2','Album number "
                               "%3','Genre',%4,%5,0,'%6','2026-11-21 10:15:%7 +0000','/home/somebody/Music/Tessarine "
                               "Corvidia/Artist number %2/Title of track %1.m4a',256000,44100,'M4A audio','',-1,0,1,6)")
                    .arg(i)
                    .arg(i / 60)
                    .arg(i / 12)
                    .arg(180000 + i)
                    .arg(5000000 + i)
                    .arg(1960 + i / 12 % 60)
                    .arg(10 + i % 50);
            sqlite3_exec(connection, row.toUtf8().constData(), nullptr, nullptr, nullptr);
        }
        sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(connection);
    }

    static const QByteArray &path() {
        static const Library library;
        return library.path_;
    }

private:
    QTemporaryDir home_;
    QByteArray path_;
};

std::string copyOf(sqlite3_stmt *row, int column) {
    return {reinterpret_cast<const char *>(sqlite3_column_text(row, column)),
            static_cast<size_t>(sqlite3_column_bytes(row, column))};
}

std::vector<PlainSong> readPlainly(sqlite3 *connection) {
    std::vector<PlainSong> songs;
    sqlite3_stmt *row = nullptr;
    sqlite3_prepare_v2(connection, "SELECT * FROM Song", -1, &row, nullptr);
    const auto number = [&row](int column) { return sqlite3_column_int(row, column); };
    while (sqlite3_step(row) == SQLITE_ROW)
        songs.push_back({.songID = number(0),
                         .length = number(5),
                         .isImported = number(7),
                         .biteRate = number(11),
                         .sampleRate = number(12),
                         .coverImageIndex = number(15),
                         .isHasLocalCover = number(16),
                         .isAds = number(17),
                         .getID3Status = number(18),
                         .size = sqlite3_column_double(row, 6),
                         .title = copyOf(row, 1),
                         .artist = copyOf(row, 2),
                         .album = copyOf(row, 3),
                         .genre = copyOf(row, 4),
                         .year = copyOf(row, 8),
                         .addedDate = copyOf(row, 9),
                         .path = copyOf(row, 10),
                         .encodeKind = copyOf(row, 13),
                         .covers = copyOf(row, 14)});
    sqlite3_finalize(row);
    return songs;
}

void BareLoop(benchmark::State &state) {
    sqlite3 *connection = nullptr;
    sqlite3_open(Library::path().constData(), &connection);
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(readPlainly(connection));
    sqlite3_close(connection);
}
BENCHMARK(BareLoop)->Unit(benchmark::kMillisecond);

void GetAllSongItems(benchmark::State &state) {
    Library::path();
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(DataBaseManager::defaultManager().getAllSongItems());
    const size_t before = mallinfo2().uordblks;
    const auto songs = DataBaseManager::defaultManager().getAllSongItems();
    state.counters["bytes_per_track"] = static_cast<double>(mallinfo2().uordblks - before) / kTracks;
}
BENCHMARK(GetAllSongItems)->Unit(benchmark::kMillisecond);

} // namespace
