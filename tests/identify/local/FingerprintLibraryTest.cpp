#include "identify/local/FingerprintLibrary.h"
#include "demo/RunningProgram.h"
#include "identify/local/LibraryFiller.h"
#include "identify/local/LibrarySource.h"
#include "identify/local/PlayerSource.h"
#include "identify/recognition/Fingerprint.h"
#include "identify/recognition/RecognitionSettings.h"
#include "platform/files/Folders.h"
#include "store/DataBaseManager.h"
#include "support/MadeAudio.h"
#include "support/Songs.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <random>
#include <semaphore>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Items = FingerprintFile::Items;

const QByteArray kDate = "2026-11-21 14:03:22 +0000";

/// A minute of a song: each number keeps most bits of the one before, as those of music do.
Items madeItems(uint32_t seed, size_t count = FingerprintLibrary::kMostItems) {
    std::mt19937 random(seed);
    Items items{static_cast<uint32_t>(random())};
    while (items.size() < count)
        items.push_back(items.back() ^ (1U << random() % 32) ^ (1U << random() % 32) ^ (random() % 4 ? 0 : random()));
    return items;
}

/// The same from number `from` on, with so many of a thousand bits turned.
Items worn(const Items &items, size_t from, unsigned perMille, uint32_t seed) {
    std::mt19937 random(seed);
    Items result(items.begin() + static_cast<ptrdiff_t>(from), items.end());
    for (uint32_t &item : result)
        for (int bit = 0; bit < 32; ++bit)
            item ^= (random() % 1000 < perMille ? 1U : 0U) << bit;
    return result;
}

std::vector<int32_t> found(FingerprintLibrary &library, const Items &items) {
    std::vector<int32_t> songIDs;
    for (const auto &match : library.matches(items))
        songIDs.push_back(match.songID);
    return songIDs;
}

struct FingerprintLibraryTest : testing::Test {
    void SetUp() override {
        QDir().mkpath(applicationSupportFolder());
        RecognitionSettings::refresh();
    }

    FingerprintFile file{defaultFingerprintPath(), 0s};
    FingerprintLibrary library{file};
    DataBaseManager &database = DataBaseManager::defaultManager();
};

/// What a source says of the file as the track `songID`, by default as one that the library has not.
RecogniserAnswer answerOf(RecogniserSource &source, const QString &path, int32_t songID = 99,
                          const std::stop_token &stop = {}, int64_t milliseconds = 0) {
    return source.recognise({.songID = songID, .songPath = path, .milliseconds = milliseconds}, stop);
}

/// 24 seconds of a song of two voices over a beat, all of which `seed` decides.
QString song(int seed, const QString &name, const QString &arguments = {}) {
    const QString voices = QStringLiteral("0.2*sin(2*PI*t*%1*pow(2,floor(mod(t*%2,%3))/12))+0.2*sin(2*PI*t*%4*"
                                          "pow(2,floor(mod(t*%5,%6)*1.7)/12))+0.1*sin(2*PI*t*%7)*lt(mod(t,0.5),0.1)")
                               .arg(110 + 13 * seed % 97)
                               .arg(1.3 + 0.37 * (seed % 5))
                               .arg(5 + seed % 7)
                               .arg(290 + 31 * seed % 211)
                               .arg(2.1 + 0.23 * (seed % 7))
                               .arg(6 + seed % 11)
                               .arg(900 + 17 * seed % 500);
    return makeSound(name, "aevalsrc='" + voices + "':d=24:s=44100,aformat=channel_layouts=stereo", arguments);
}

Items itemsOf(const QString &path) { return fingerprintOfFile(path, kComparedTime, {}).value_or(Fingerprint()).raw; }

SongPtr insertedSong(const QString &path, const QString &title, ID3Status status = ID3Status::Identified) {
    SongPtr item = songWith({.title = title, .artist = "The Shore", .path = path, .length = 24'000});
    item->setAlbum("Unknown Album");
    item->setGetID3Status(static_cast<int32_t>(status));
    return inserted(item);
}

} // namespace

TEST_F(FingerprintLibraryTest, FindsOneOfAThousandSongsAndNoOther) {
    constexpr int32_t kSongs = 1000;
    for (int32_t id = 1; id <= kSongs; ++id)
        ASSERT_TRUE(library.add(id, kDate, madeItems(static_cast<uint32_t>(id))));
    for (int32_t id = 1; id <= kSongs; id += 7) {
        const Items original = madeItems(static_cast<uint32_t>(id));
        ASSERT_EQ(found(library, worn(original, 24, 60, 1)), std::vector{id}) << "three seconds later, with 6 % errors";
        ASSERT_EQ(found(library, madeItems(static_cast<uint32_t>(id + kSongs))), std::vector<int32_t>());
    }
}

TEST_F(FingerprintLibraryTest, SaysNothingWithoutEvidence) {
    const Items original = madeItems(1);
    Items tone(200, 0x12345678);
    ASSERT_TRUE(library.add(1, kDate, original));
    ASSERT_TRUE(library.add(2, kDate, tone));
    for (const auto &[name, asked, isFound] : {
             std::tuple{"the same", original, true},
             std::tuple{"its last twelve seconds and some", worn(original, 485 - 100, 0, 1), true},
             std::tuple{"less", worn(original, 485 - 90, 0, 1), false},
             std::tuple{"badly worn", worn(original, 0, 120, 1), true},
             std::tuple{"worn beyond the bound", worn(original, 0, 300, 1), false},
             std::tuple{"a tone", tone, false},
             std::tuple{"nothing", Items(), false},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(found(library, asked), isFound ? std::vector{1} : std::vector<int32_t>());
    }
    // What is asked for may begin before the known one as well.
    ASSERT_TRUE(library.add(3, kDate, worn(madeItems(3), 30, 0, 1)));
    EXPECT_EQ(found(library, madeItems(3)), std::vector{3});
}

TEST_F(FingerprintLibraryTest, FollowsWhatIsAddedAndForgotten) {
    library.add(1, kDate, madeItems(1));
    library.add(2, kDate, madeItems(1));
    EXPECT_EQ(found(library, madeItems(1)).size(), 2U);
    library.forget({1});
    library.add(2, kDate, madeItems(2));
    library.add(3, kDate, madeItems(3));
    EXPECT_EQ(found(library, madeItems(1)), std::vector<int32_t>());
    EXPECT_EQ(found(library, madeItems(2)), std::vector{2});
    FingerprintFile reopened;
    FingerprintLibrary next(reopened);
    EXPECT_EQ(found(next, madeItems(3)), std::vector{3});
    EXPECT_EQ(next.tracks(), (QHash<int32_t, QByteArray>{{2, kDate}, {3, kDate}}));
}

TEST_F(FingerprintLibraryTest, ADamagedFileIsSetAsideAndANewOneBegun) {
    {
        FingerprintFile whole;
        for (int32_t id = 2; id < 200; ++id)
            whole.keepFingerprint(id, kDate, madeItems(static_cast<uint32_t>(id)));
    }
    for (const qint64 damagedFrom : {50'000, 0}) { // seen when it is read, or opened
        QFile bytes(defaultFingerprintPath());
        ASSERT_TRUE(bytes.open(QIODevice::ReadWrite) && bytes.seek(damagedFrom));
        bytes.write(QByteArray(100'000, 'x'));
        bytes.close();
        FingerprintFile damaged;
        FingerprintLibrary next(damaged);
        EXPECT_EQ(found(next, madeItems(1)), std::vector<int32_t>());
        ASSERT_TRUE(next.add(1, kDate, madeItems(1)));
        EXPECT_EQ(found(next, madeItems(1)), std::vector{1});
    }
    EXPECT_EQ(QDir(applicationSupportFolder()).entryList({"Fingerprints (unreadable*).sqlite"}).size(), 2);
}

TEST_F(FingerprintLibraryTest, ASongIsKnownAgainHoweverItWasRecorded) {
    const SongPtr original = insertedSong(song(1, "original.wav"), "Tide");
    for (int seed = 1; seed < 4; ++seed) {
        const SongPtr one =
            seed == 1 ? original : insertedSong(song(seed, QString("other%1.wav").arg(seed)), "Another");
        library.add(one->songID(), kDate, itemsOf(one->songPath()));
    }
    LibrarySource source(library, LibraryRows());
    const auto titleOf = [&source](const QString &path, int64_t milliseconds = 0) {
        return answerOf(source, path, 99, {}, milliseconds).found.title;
    };
    for (const auto &[name, arguments] : {
             std::pair{"m4a.m4a", "-b:a 96k"},
             std::pair{"mp3.mp3", "-b:a 128k"},
             std::pair{"low.mp3", "-b:a 64k -ar 22050 -ac 1"},
             std::pair{"late.mp3", "-af atrim=start=3"},
             std::pair{"early.m4a", "-af atrim=end=21"},
             std::pair{"odd.m4a", "-af atrim=start=2.937:end=21.04"},
             std::pair{"quiet.m4a", "-af volume=-6dB -b:a 128k"},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(titleOf(makeSound(name, "amovie=" + original->songPath(), arguments)), "Tide");
    }
    EXPECT_EQ(titleOf(song(20, "unknown.mp3")), QString());
    EXPECT_EQ(titleOf(inHome("mp3.mp3"), 26'000), "Tide");
    EXPECT_EQ(titleOf(inHome("mp3.mp3"), 180'000), QString()) << "it holds more than the song";
    EXPECT_EQ(titleOf(inHome("missing.mp3")), QString());
}

TEST_F(FingerprintLibraryTest, AnswersTheTagsThatTheLibraryHasNow) {
    using enum RecogniserAnswer::Outcome;
    const QString path = song(1, "original.mp3");
    const Items items = itemsOf(path);
    const SongPtr first = insertedSong(path, "Tide");
    library.add(first->songID(), kDate, items);
    LibrarySource source(library, LibraryRows());
    const auto ask = [&] { return answerOf(source, path); };
    EXPECT_EQ(ask().found.title, "Tide");
    EXPECT_EQ(ask().found.album, QString()) << "unknown to the library, too";
    EXPECT_EQ(answerOf(source, path, first->songID()).outcome, NotFound) << "the track itself";

    first->setTitle("High Tide");
    database.updateSongItem(*first);
    EXPECT_EQ(ask().found.title, "High Tide");
    const SongPtr second = insertedSong(path, "HIGH TIDE");
    library.add(second->songID(), kDate, items);
    EXPECT_EQ(ask().outcome, Found);
    second->setTitle("Low Tide");
    database.updateSongItem(*second);
    EXPECT_EQ(ask().outcome, NotFound) << "two names";
    second->setGetID3Status(static_cast<int32_t>(ID3Status::NotFound));
    database.updateSongItem(*second);
    EXPECT_EQ(ask().outcome, Found) << "the second is no name";
    database.deleteSongItem(*first);
    EXPECT_EQ(ask().outcome, NotFound);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(answerOf(source, path, 99, stop.get_token()).outcome, Failed);
}

// What is made beside the library

struct LibraryFillerTest : FingerprintLibraryTest {
    /// Whether these tracks, and no others, come to have a fingerprint.
    bool fills(const QList<SongPtr> &songs) {
        QSet<int32_t> wanted;
        for (const SongPtr &one : songs)
            wanted << one->songID();
        return waitUntil([&] {
            const QList<int32_t> known = library.tracks().keys();
            return QSet<int32_t>(known.begin(), known.end()) == wanted;
        });
    }
    std::unique_ptr<LibraryFiller> fillerWith(HeardNames &heard) {
        const auto fingerprintOf = [this](const QString &path, const std::stop_token &) {
            ++asked;
            return path.contains("mute") ? std::nullopt : std::optional(madeItems(qHash(path, 1)));
        };
        return std::make_unique<LibraryFiller>(LibraryRows(), library, file, heard, fingerprintOf,
                                               LibraryFiller::Pace{.settle = 1ms, .rest = 0});
    }

    std::atomic<int> asked = 0;
    HeardNames names{file, LibraryRows(), 50ms};
    std::unique_ptr<LibraryFiller> filler = fillerWith(names);
};

TEST_F(LibraryFillerTest, KeepsInStepWithTheLibrary) {
    const SongPtr named = insertedSong("/a.mp3", "A");
    const SongPtr unnamed = insertedSong("/b.mp3", "Track2", ID3Status::NotFound);
    insertedSong("/mute.mp3", "C");
    names.keep(unnamed->songID(), Recognition());
    ASSERT_TRUE(QDir().mkpath(defaultFingerprintPath())); // nothing can be kept for now
    filler->start();
    EXPECT_TRUE(waitUntil([this] { return asked > 0; }));
    ASSERT_TRUE(QDir().rmdir(defaultFingerprintPath()));
    filler->libraryDidChange();
    EXPECT_TRUE(fills({named}));
    unnamed->setGetID3Status(static_cast<int32_t>(ID3Status::Identified));
    database.updateSongItem(*unnamed);
    filler->libraryDidChange();
    EXPECT_TRUE(fills({named, unnamed}));
    database.deleteSongItem(*named);
    filler->libraryDidChange();
    EXPECT_TRUE(fills({unnamed}));
    filler->stop();
    EXPECT_LE(asked, 4) << "what has no sound is not asked for again";
    EXPECT_TRUE(file.nameOf(unnamed->songID()));
}

TEST_F(LibraryFillerTest, ANumberThatIsGivenOutAgainIsAnotherTrack) {
    const SongPtr named = insertedSong("/a.mp3", "A");
    Recognition heard;
    heard.title = "Tide";
    heard.artist = "The Shore";
    heard.cover = QUrl("file:///c.png");
    names.keep(named->songID(), heard);
    filler->start();
    EXPECT_TRUE(fills({named}));
    filler->stop();
    HeardNames nextRun(file, LibraryRows());
    const auto name = nextRun.nameOf(named->songID(), {});
    ASSERT_TRUE(name);
    EXPECT_EQ(name->title + name->artist + name->album + name->cover.toString(), "TideThe Shorefile:///c.png");
    EXPECT_TRUE(name->album.isNull());

    database.deleteSongItem(*named);
    database.closeDataBase();
    database.loadDataBase();
    auto other = *named;
    other.setAddedDate(QDateTime(QDate(2030, 1, 1), QTime(1, 2, 3)));
    ASSERT_EQ(database.insertSongItem(other), named->songID());
    EXPECT_FALSE(nextRun.nameOf(named->songID(), {}));
    asked = 0;
    const auto next = fillerWith(nextRun);
    next->start();
    EXPECT_TRUE(waitUntil([this] { return asked > 0; }));
    next->stop();
    EXPECT_FALSE(file.nameOf(named->songID()));
}

TEST_F(LibraryFillerTest, AFileThatDoesNotAnswerIsLeftToItself) {
    insertedSong("/hung.mp3", "A");
    std::binary_semaphore isAsked(0), answer(0);
    const auto hang = [&](const QString &, const std::stop_token &) {
        isAsked.release();
        answer.acquire();
        return std::nullopt;
    };
    LibraryFiller hung(LibraryRows(), library, file, names, hang, {.settle = 1ms, .end = 1ms});
    hung.start();
    isAsked.acquire();
    hung.stop();
    answer.release();
}

TEST_F(LibraryFillerTest, ANameIsWaitedForWhileItIsExpected) {
    using enum RecogniserAnswer::Outcome;
    HeardNames patient(file, LibraryRows(), 60s);
    PlayerSource source(patient);
    patient.expect(1);
    patient.expect(2);
    patient.expect(3);
    std::stop_source stop;
    {
        const std::jthread named([&] { EXPECT_EQ(answerOf(source, {}, 1).found.title, "Tide"); });
        const std::jthread nameless([&] { EXPECT_EQ(answerOf(source, {}, 2).outcome, NotFound); });
        const std::jthread stopped([&] { EXPECT_EQ(answerOf(source, {}, 3, stop.get_token()).outcome, Failed); });
        Recognition tide;
        tide.title = "Tide";
        patient.keep(1, tide);
        patient.keep(2, std::nullopt);
        stop.request_stop();
    }
    names.expect(4); // for 50 ms
    EXPECT_FALSE(names.nameOf(4, {}));
    EXPECT_FALSE(names.nameOf(5, {})) << "of which nothing was ever heard";
}
