// What a library of 100,000 tracks costs, in time beside SQLite or a bare loop on the same tracks in the same run, and
// in memory. The goals: reading at most 0.9 of a bare loop that copies the same columns, a keystroke in the search
// field 0.1 of LIKE, a sort 0.5 of ORDER BY, a search for duplicates 0.3 of GROUP BY; at most 900 bytes a track in all.
#include "MadeLibrary.h"
#include "library/DuplicateSearch.h"
#include "library/TrackLists.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "store/SortDescriptor.h"

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

// In a home folder of its own.
class Library {
public:
    Library() {
        qputenv("HOME", home_.path().toUtf8());
        path_ = makeLibrary(kTracks);
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
    const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
    const auto songs = DataBaseManager::defaultManager().getAllSongItems();
    state.counters["bytes_per_track"] =
        static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd - before) / kTracks;
}
BENCHMARK(GetAllSongItems)->Unit(benchmark::kMillisecond);

class Connection {
public:
    Connection() { sqlite3_open(Library::path().constData(), &handle_); }
    ~Connection() { sqlite3_close(handle_); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Runs `query` with `text` as its parameter; the number of rows, each of which is looked at.
    int rows(const char *query, const QByteArray &text = {}) {
        sqlite3_stmt *row = nullptr;
        sqlite3_prepare_v2(handle_, query, -1, &row, nullptr);
        sqlite3_bind_text(row, 1, text.constData(), static_cast<int>(text.size()), SQLITE_STATIC);
        int count = 0;
        for (; sqlite3_step(row) == SQLITE_ROW; ++count)
            benchmark::DoNotOptimize(sqlite3_column_int(row, 0));
        sqlite3_finalize(row);
        return count;
    }

private:
    sqlite3 *handle_ = nullptr;
};

SongArray loadedSongs() {
    Library::path();
    return DataBaseManager::defaultManager().getAllSongItems().value_or(SongArray());
}

// What a keystroke leaves in the search field: a letter that most tracks have, parts of the names of a quarter of them,
// the beginning of a name, what one track has and what none has.
constexpr const char *kTexts[] = {"e", "Straße", "песн", "夜明", "Title of", "track 77777", "nowhere"};

void SearchWithLike(benchmark::State &state) {
    Connection connection;
    const char *text = kTexts[state.range(0)];
    int found = 0;
    for ([[maybe_unused]] auto iteration : state)
        found = connection.rows("SELECT SongID FROM Song WHERE Title LIKE ?1 OR Artist LIKE ?1 OR Album LIKE ?1",
                                QByteArray("%") + text + '%');
    state.SetLabel(text);
    state.counters["found"] = found;
}

void Search(benchmark::State &state) {
    TrackLists lists(loadedSongs());
    const char *text = kTexts[state.range(0)];
    benchmark::DoNotOptimize(lists.search(lists.allSongArray(), "x"));
    qsizetype found = 0;
    for ([[maybe_unused]] auto iteration : state)
        found = lists.search(lists.allSongArray(), text)->size();
    state.SetLabel(text);
    state.counters["found"] = static_cast<double>(found);
}
BENCHMARK(SearchWithLike)->DenseRange(0, std::size(kTexts) - 1)->Unit(benchmark::kMillisecond);
BENCHMARK(Search)->DenseRange(0, std::size(kTexts) - 1)->Unit(benchmark::kMillisecond);

void SortWithOrderBy(benchmark::State &state) {
    Connection connection;
    for ([[maybe_unused]] auto iteration : state)
        connection.rows("SELECT SongID FROM Song ORDER BY Title COLLATE NOCASE");
}
BENCHMARK(SortWithOrderBy)->Unit(benchmark::kMillisecond);

void Sort(benchmark::State &state) {
    const SongArray songs = loadedSongs();
    SongArray sorted;
    for ([[maybe_unused]] auto iteration : state) {
        sorted = songs;
        sortUsingDescriptors(sorted, {{"title", /*ascending=*/true, SortComparison::CaseInsensitiveCompare}});
    }
}
BENCHMARK(Sort)->Unit(benchmark::kMillisecond);

void SortWhatIsSorted(benchmark::State &state) {
    SongArray songs = loadedSongs();
    for ([[maybe_unused]] auto iteration : state)
        sortUsingDescriptors(songs, {{"title", /*ascending=*/true, SortComparison::CaseInsensitiveCompare}});
}
BENCHMARK(SortWhatIsSorted)->Unit(benchmark::kMillisecond);

void CountUntaggedWithLike(benchmark::State &state) {
    Connection connection;
    for ([[maybe_unused]] auto iteration : state)
        connection.rows("SELECT count(*) FROM Song WHERE Title = '' OR Artist = '' OR Title LIKE '%Track%' OR Artist = "
                        "'Unknown Artist'");
}
BENCHMARK(CountUntaggedWithLike)->Unit(benchmark::kMicrosecond);

void CountUntaggedAfterAChange(benchmark::State &state) {
    TrackLists lists(loadedSongs());
    const SongPtr song = lists.allSongArray()->last();
    for ([[maybe_unused]] auto iteration : state) {
        song->setArtist(song->artist().isEmpty() ? "Somebody" : "");
        lists.songChanged(song);
        benchmark::DoNotOptimize(lists.untaggedCount());
    }
}
BENCHMARK(CountUntaggedAfterAChange)->Unit(benchmark::kMicrosecond);

void GetUntagged(benchmark::State &state) {
    TrackLists lists(loadedSongs());
    for ([[maybe_unused]] auto iteration : state)
        benchmark::DoNotOptimize(lists.getUntaggedMusic());
}
BENCHMARK(GetUntagged)->Unit(benchmark::kMicrosecond);

void AddOneToVectors(benchmark::State &state) {
    const SongArray songs = loadedSongs();
    std::vector<SongPtr> all(songs.begin(), songs.end());
    for ([[maybe_unused]] auto iteration : state)
        all.insert(all.begin(), std::make_shared<SongItem>());
}
BENCHMARK(AddOneToVectors)->Iterations(500)->Unit(benchmark::kMicrosecond);

void AddOne(benchmark::State &state) {
    TrackLists lists(loadedSongs());
    benchmark::DoNotOptimize(lists.search(lists.allSongArray(), "x"));
    for ([[maybe_unused]] auto iteration : state)
        lists.insertNewRecording(std::make_shared<SongItem>());
}
BENCHMARK(AddOne)->Iterations(500)->Unit(benchmark::kMicrosecond);

void RemoveFromVector(benchmark::State &state) {
    const SongArray songs = loadedSongs();
    std::vector<SongPtr> all(songs.begin(), songs.end());
    for ([[maybe_unused]] auto iteration : state)
        std::erase(all, all[all.size() / 2]);
}
BENCHMARK(RemoveFromVector)->Iterations(500)->Unit(benchmark::kMicrosecond);

// One track, and a thousand of them at once.
void Remove(benchmark::State &state) {
    TrackLists lists(loadedSongs());
    benchmark::DoNotOptimize(lists.search(lists.allSongArray(), "x"));
    for ([[maybe_unused]] auto iteration : state)
        lists.remove(lists.allSongArray()->mid(lists.allSongArray()->size() / 2, state.range(0)));
}
BENCHMARK(Remove)->Arg(1)->Arg(1000)->Iterations(50)->Unit(benchmark::kMicrosecond);

// Every title and artist `copies` times, far from each other.
void GroupBy(benchmark::State &state) {
    Connection connection;
    const auto songs = kTracks / state.range(0);
    connection.rows(
        QStringLiteral("CREATE TEMP TABLE Copies AS SELECT one.SongID, other.Title, other.Artist FROM Song one "
                       "JOIN Song other ON other.SongID = one.SongID % %1 + 1")
            .arg(songs)
            .toUtf8()
            .constData());
    int groups = 0;
    for ([[maybe_unused]] auto iteration : state)
        groups = connection.rows("SELECT count(*), Title, Artist FROM Copies GROUP BY Title, Artist");
    state.counters["groups"] = groups;
}
BENCHMARK(GroupBy)->ArgName("copies")->Arg(1)->Arg(2)->Arg(10)->Unit(benchmark::kMillisecond);

// With the copy of what it needs that the search is given.
void SearchForDuplicates(benchmark::State &state) {
    SongArray songs = loadedSongs();
    const auto count = kTracks / state.range(0);
    for (qsizetype i = count; i < songs.size(); ++i) {
        const SongPtr &same = songs.at(i % count);
        songs.at(i)->setTitle(QString(same->title().constData(), same->title().size()));
        songs.at(i)->setArtist(QString(same->artist().constData(), same->artist().size()));
    }
    size_t found = 0;
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<DuplicateCandidate> tracks;
        tracks.reserve(kTracks);
        for (const SongPtr &song : std::as_const(songs))
            tracks.push_back({song->title(), song->artist(), song->length()});
        const DuplicateCandidates candidates(tracks);
        found = duplicatesAmong(candidates).size();
    }
    state.counters["found"] = static_cast<double>(found);
}
BENCHMARK(SearchForDuplicates)->ArgName("copies")->Arg(1)->Arg(2)->Arg(10)->Unit(benchmark::kMillisecond);

// What the start does on a thread of its own, and then on the main thread.
void MakeLists(benchmark::State &state) {
    const SongArray songs = loadedSongs();
    size_t bytes = 0;
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        SongArray loaded(songs.begin(), songs.end());
        const size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
        state.ResumeTiming();
        const TrackLists lists(std::move(loaded));
        state.PauseTiming();
        bytes = mallinfo2().uordblks + mallinfo2().hblkhd - before;
        state.ResumeTiming();
    }
    state.counters["bytes_per_track"] = static_cast<double>(bytes) / kTracks;
}
BENCHMARK(MakeLists)->Unit(benchmark::kMillisecond);

void TakeTracks(benchmark::State &state) {
    const SongArray songs = loadedSongs();
    for ([[maybe_unused]] auto iteration : state) {
        state.PauseTiming();
        TrackLists loaded(songs);
        TrackLists lists;
        state.ResumeTiming();
        lists.takeTracks(std::move(loaded));
    }
}
BENCHMARK(TakeTracks)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace
