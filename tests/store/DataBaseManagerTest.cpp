#include "store/DataBaseManager.h"

#include "platform/files/Folders.h"
#include "store/LibraryFile.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"
#include "support/SmallDisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QScopeGuard>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

namespace {

constexpr const char *kSongTable =
    "CREATE TABLE Song(SongID int PRIMARY KEY,Title varchar,Artist varchar,Album varchar,Genre varchar,SongLength "
    "double,SongSize double,IsImported BOOL,Year varchar,AddDate vachar NOT NULL,FilePath varchar NOT NULL,BiteRate "
    "int,SampleRate int,EncodeKind varchar,CoverImages varchar,CoverImageIndex int,IsHasLocalCover BOOL,IsAds "
    "BOOL,GetID3Status int)";

// The second reader and writer of the library file.
class Connection {
public:
    explicit Connection(const QString &path) {
        sqlite3_open(path.toUtf8().constData(), &handle_);
        sqlite3_busy_timeout(handle_, 5000); // the library's log may be on its way into the file
    }
    ~Connection() { sqlite3_close(handle_); }
    Q_DISABLE_COPY(Connection)

    // The last row's columns joined by '|', or the error.
    QString run(const QString &sql) {
        QString result;
        const auto keep = [](void *text, int count, char **values, char **) {
            QStringList columns;
            for (int i = 0; i < count; ++i)
                columns << (values[i] ? QString(values[i]) : "NULL");
            *static_cast<QString *>(text) = columns.join('|');
            return 0;
        };
        const int code = sqlite3_exec(handle_, sql.toUtf8().constData(), keep, &result, nullptr);
        return code == SQLITE_OK ? result : QString("error: ") + sqlite3_errmsg(handle_);
    }

private:
    sqlite3 *handle_ = nullptr;
};

struct Library : testing::Test {
    Library() { QDir().mkpath(coverImageFolder()); }

    static QString cover(const char *name) { return coverImageFolder() + '/' + name; }
    QList<std::shared_ptr<SongItem>> reload() {
        EXPECT_TRUE(manager_.closeDataBase());
        EXPECT_TRUE(manager_.loadDataBase());
        return manager_.getAllSongItems().value_or(QList<std::shared_ptr<SongItem>>());
    }

    DataBaseManager &manager_ = DataBaseManager::defaultManager();
    QString path_ = defaultLibraryPath();
    KeptLog log_;
};

TEST_F(Library, BeginsEmptyAndKeepsATrackThroughARestart) {
    EXPECT_EQ(manager_.getMaxSongID(), 0);
    SongItem song;
    song.setTitle("Rock, \"Paper\" & O'Neil 音楽");
    song.setGenre({});
    song.setLength(3'000'000'000);
    song.setSize((qint64(2) << 32) + 5);
    song.setAddedDate(QDateTime::fromSecsSinceEpoch(1'800'000'000, QTimeZone::utc()));
    song.setSongPath("/music/Tö ne.m4a");
    song.setIsImported(/*isImported=*/true);
    song.setIsAds(/*isAds=*/false);
    song.setGetID3Status(6);
    song.setSongID(99);
    EXPECT_EQ(manager_.insertSongItem(song), 1);
    EXPECT_EQ(song.songID(), 99);

    const auto songs = reload();
    ASSERT_EQ(songs.size(), 1);
    EXPECT_EQ(songs[0]->songID(), 1);
    EXPECT_EQ(songs[0]->title(), song.title());
    EXPECT_EQ(songs[0]->genre(), "");
    EXPECT_FALSE(songs[0]->genre().isNull());
    EXPECT_EQ(songs[0]->length(), static_cast<int32_t>(3'000'000'000)) << "the low 32 bits";
    EXPECT_EQ(songs[0]->size(), 5) << "the low 32 bits";
    EXPECT_EQ(songs[0]->addedDate(), song.addedDate());
    EXPECT_TRUE(songs[0]->isImported() && !songs[0]->isAds());
    EXPECT_EQ(songs[0]->getID3Status(), 6);
    EXPECT_EQ(songs[0]->coverImageIndex(), -1);
    EXPECT_EQ(Connection(path_).run("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(Connection(path_).run("SELECT AddDate, typeof(Genre) FROM Song"), "2027-01-15 08:00:00 +0000|text");
}

TEST_F(Library, ReadsALibraryMadeElsewhere) {
    Connection other(path_);
    other.run(kSongTable);
    other.run("INSERT INTO Song VALUES(41,'T',NULL,'A','G',61000,1e300,1,'1999','2011-03-04 05:06:07 +0100',"
              "'/a.mp3',320000,48000,'MP3 audio','gone_0.png,,there.png',1,1,0,5)");
    other.run("INSERT INTO Song(SongID,AddDate,FilePath,CoverImageIndex) VALUES(40,'','',-5)");
    makeFile(cover("there.png"), "png");
    const auto songs = reload();
    ASSERT_EQ(songs.size(), 2);
    EXPECT_EQ(songs[1]->coverImageIndex(), -1) << "no covers, so none is chosen";
    EXPECT_TRUE(songs[0]->artist().isNull());
    EXPECT_EQ(songs[0]->size(), 0) << "a number that no integer holds";
    EXPECT_EQ(songs[0]->addedDate(), QDateTime(QDate(2011, 3, 4), QTime(4, 6, 7), QTimeZone::utc()));
    EXPECT_EQ(songs[0]->coverImages(), QStringList{cover("there.png")});
    EXPECT_EQ(songs[0]->coverImageIndex(), -1);
    SongItem next;
    EXPECT_EQ(manager_.insertSongItem(next), 42);
    EXPECT_EQ(other.run("SELECT count(*) FROM Song"), "3") << "two programs may have the file open";
}

TEST_F(Library, CoversFollowTheirTrack) {
    Connection(path_).run(QString(kSongTable) +
                          ";INSERT INTO Song(SongID,AddDate,FilePath,CoverImages) VALUES(6,'','','')");
    SongItem song;
    song.setCoverImages({makeFile("a", "A"), makeFile("b", "B"), "/nowhere.png", makeFile("c", "C")});
    song.setCoverImageIndex(3);
    song.setIsHasLocalCover(/*isHasLocalCover=*/true);
    makeFile(cover("7_0.png"), "of a track that is gone");
    ASSERT_EQ(manager_.insertSongItem(song), 7);
    EXPECT_EQ(song.coverImages(), (QStringList{cover("7_0.png"), cover("7_1.png"), "/nowhere.png", cover("7_3.png")}));
    EXPECT_FALSE(QFile::exists(QDir::homePath() + "/a"));
    EXPECT_EQ(bytesOf(cover("7_0.png")) + bytesOf(cover("7_1.png")) + bytesOf(cover("7_3.png")), "ABC");
    EXPECT_TRUE(log_.contains("removeItemAtPath " + cover("7_0.png") + " isSuccessed 1"));
    EXPECT_EQ(log_.last(), "mstrCoverImages 7_0.png,7_1.png,(null),7_3.png");

    QFile::remove(cover("7_0.png"));
    const auto loaded = reload().last();
    EXPECT_EQ(loaded->coverImages(), (QStringList{cover("7_1.png"), cover("7_3.png")}));
    EXPECT_EQ(loaded->coverImageIndex(), -1);

    loaded->setTitle("New");
    EXPECT_TRUE(manager_.updateSongItem(*loaded));
    EXPECT_EQ(loaded->coverImages(), (QStringList{cover("7_0.png"), cover("7_3.png")})) << "renamed by position";
    EXPECT_EQ(bytesOf(cover("7_0.png")) + bytesOf(cover("7_1.png")), "BB") << "an update copies";
    EXPECT_EQ(Connection(path_).run("SELECT Title, CoverImages FROM Song WHERE SongID = 7"), "New|7_0.png,7_3.png");

    EXPECT_TRUE(manager_.deleteSongItem(*loaded));
    EXPECT_FALSE(QFile::exists(cover("7_0.png")) || QFile::exists(cover("7_3.png")));
    EXPECT_EQ(reload().size(), 1);
    EXPECT_EQ(manager_.getMaxSongID(), 6) << "the highest number is free again after a restart";
}

TEST_F(Library, AFullDiskTakesNoCoverAwayAndKeepsDeletedRows) {
    ASSERT_TRUE(manager_.loadDataBase());
    SongItem song;
    song.setCoverImages({makeFile("a", "A")});
    song.setIsHasLocalCover(/*isHasLocalCover=*/true);
    song.setSongID(manager_.insertSongItem(song));
    const QString kept = song.coverImages().value(0);
    const QString large = makeFile("large", std::string(1'000'000, 'L'));
    song.setCoverImages({large});
    bool isCoverLost = false;
    EXPECT_TRUE(
        withoutRoom([&] { return manager_.updateSongItem(song, &isCoverLost); }, 500'000)); // the rows need less
    EXPECT_TRUE(isCoverLost);
    EXPECT_EQ(bytesOf(kept), "A");
    EXPECT_EQ(reload().last()->coverImages(), QStringList{kept});
    EXPECT_EQ(song.coverImages(), QStringList{large});
    EXPECT_TRUE(manager_.updateSongItem(song)) << "with room again";
    EXPECT_EQ(bytesOf(kept).size(), 1'000'000U);
    EXPECT_EQ(QDir(coverImageFolder()).entryList(QDir::Files).size(), 1);

    const QList<std::shared_ptr<SongItem>> songs{std::make_shared<SongItem>(song), std::make_shared<SongItem>()};
    songs.last()->setCoverImages({makeFile("b", "B")});
    songs.last()->setSongID(manager_.insertSongItem(*songs.last()));
    EXPECT_FALSE(withoutRoom([&] { return manager_.deleteSongItems(songs); }));
    EXPECT_EQ(reload().last()->coverImages(), songs.last()->coverImages());
    EXPECT_TRUE(manager_.deleteSongItems(songs));
    EXPECT_EQ(QDir(coverImageFolder()).entryList(QDir::Files), QStringList());
}

TEST_F(Library, ACoverThatHasNoRoomOnAnotherDiskStaysWhereItIs) {
    if (!mountSmallDisk(coverImageFolder(), "16k"))
        GTEST_SKIP() << "this machine lets nobody mount a small disk";
    const auto unmount = qScopeGuard([] { umount2(qPrintable(coverImageFolder()), MNT_DETACH); });
    ASSERT_TRUE(manager_.loadDataBase());
    SongItem small, large;
    small.setCoverImages({makeFile("small", "S")});
    small.setSongID(manager_.insertSongItem(small));
    EXPECT_EQ(bytesOf(small.coverImages().value(0)), "S");
    const QString cover = makeFile("large", std::string(15'000, 'L')); // misses by less than a buffer
    large.setCoverImages({cover});
    EXPECT_EQ(manager_.insertSongItem(large), -1);
    EXPECT_EQ(bytesOf(cover).size(), 15'000U);
    EXPECT_EQ(QDir(coverImageFolder()).entryList(QDir::Files).size(), 1);
}

TEST_F(Library, IsReadOnAnotherThreadWhileTracksCome) {
    SongItem song;
    song.setSongPath("/before.mp3");
    for (int i = 0; i < 500; ++i)
        manager_.insertSongItem(song);
    for (int round = 0; round < 5; ++round) {
        qsizetype read = 0;
        std::thread reader(
            [&] { read = manager_.getAllSongItems().value_or(QList<std::shared_ptr<SongItem>>()).size(); });
        for (int i = 0; i < 20; ++i)
            EXPECT_GT(manager_.insertSongItem(song), 0);
        if (round == 4)
            manager_.closeDataBase(); // waits, or was first
        reader.join();
        EXPECT_TRUE(read >= 500 || (round == 4 && read == 0)) << read;
    }
}

TEST_F(Library, FindsAPathUnlessItHoldsADoubleQuote) {
    SongItem song;
    for (const char *path : {"/a's %1 100%.mp3", "/say \"yes\".mp3"}) {
        song.setSongPath(path);
        EXPECT_GT(manager_.insertSongItem(song), 0);
    }
    std::thread([&] { EXPECT_TRUE(manager_.isTheFileInDataBase("/a's %1 100%.mp3")); }).join(); // as an import asks
    EXPECT_TRUE(Connection(path_).run("EXPLAIN QUERY PLAN SELECT 1 FROM Song Where FilePath = ''").contains("INDEX"));
    for (const QString &path : {QString("/say \"yes\".mp3"), QString("\" OR 1=1 --"), QString("/A's %1 100%.mp3"),
                                QString("FilePath"), QString()})
        EXPECT_FALSE(manager_.isTheFileInDataBase(path)) << qPrintable(path);
}

TEST_F(Library, ARefusedInsertGivesItsNumberBackAndKeepsTheCoverAndManyComeOrNone) {
    ASSERT_TRUE(manager_.loadDataBase());
    Connection other(path_);
    SongItem song;
    song.setCoverImages({makeFile("a", "A")});
    QList<std::shared_ptr<SongItem>> songs;
    for (int i = 0; i < 3; ++i)
        songs << std::make_shared<SongItem>();
    songs[1]->setCoverImages({"/nowhere/cover"}); // left out, no reason to refuse the track
    other.run("BEGIN IMMEDIATE");
    EXPECT_EQ(manager_.insertSongItem(song), -1);
    EXPECT_TRUE(log_.last().startsWith("insertSongItem: sqlite3_step failed: 5"));
    EXPECT_EQ(manager_.insertSongItems(songs), (QList<int32_t>{-1, -1, -1}));
    song.setSongID(-1);
    EXPECT_FALSE(manager_.updateSongItem(song));
    EXPECT_FALSE(manager_.deleteSongItem(song));
    other.run("COMMIT");
    EXPECT_EQ(manager_.insertSongItem(song), 1);
    EXPECT_EQ(bytesOf(cover("1_0.png")), "A");
    EXPECT_EQ(manager_.insertSongItems(songs), (QList<int32_t>{2, 3, 4}));
    EXPECT_EQ(manager_.insertSongItems({}), QList<int32_t>());
    other.run("CREATE TRIGGER refuse BEFORE INSERT ON Song WHEN NEW.Title = 'no' BEGIN SELECT RAISE(ABORT, ''); END");
    songs[1]->setTitle("no");
    EXPECT_EQ(manager_.insertSongItems(songs), (QList<int32_t>{5, -1, 6}));
    EXPECT_EQ(reload().size(), 6);
}

TEST_F(Library, ALogThatGrowsComesIntoTheFileMeanwhile) {
    QList<std::shared_ptr<SongItem>> songs;
    for (int i = 0; i < 250; ++i) {
        songs << std::make_shared<SongItem>();
        songs.last()->setTitle(QString(20'000, u'x'));
    }
    ASSERT_EQ(manager_.insertSongItems(songs).last(), 250);
    QElapsedTimer clock;
    clock.start();
    while (QFileInfo(path_).size() < 5'000'000 && clock.elapsed() < 20'000) {
        SongItem more; // the library goes on
        ASSERT_GT(manager_.insertSongItem(more), 250);
    }
    EXPECT_GE(QFileInfo(path_).size(), 5'000'000);
    EXPECT_EQ(Connection(path_).run("PRAGMA integrity_check"), "ok");
}

TEST_F(Library, AFileThatIsNoLibraryIsAnsweredToldApartAndSetAside) {
    QString fewer(kSongTable);
    fewer.replace(",GetID3Status int", "");
    // Made by SQL or of these bytes; at last, whether reading gives a list.
    for (const auto &[name, state, sql, content, hasTable] : {
             std::tuple<const char *, LibraryState, QString, std::string, bool>{
                 "not SQLite", LibraryState::NotADatabase, {}, std::string(5000, 'x'), false},
             {"another table", LibraryState::OtherColumns, "CREATE TABLE Other(a)", "", false},
             {"18 columns", LibraryState::OtherColumns, fewer, "", true},
         }) {
        SCOPED_TRACE(name);
        makeFile(path_, content);
        Connection(path_).run(sql);
        EXPECT_EQ(libraryStateOf(path_), state);
        log_.clear();
        EXPECT_TRUE(manager_.loadDataBase()) << "an opened file is not examined";
        EXPECT_EQ(manager_.getAllSongItems().has_value(), hasTable);
        EXPECT_FALSE(manager_.checkDB());
        EXPECT_EQ(log_.last(), "Table Song Damage.");
        SongItem song;
        EXPECT_EQ(manager_.insertSongItem(song), -1);
        manager_.closeDataBase();
        EXPECT_TRUE(content.empty() || bytesOf(path_) == content) << "overwritten";

        const std::string kept = bytesOf(path_);
        const QString aside = setAsideLibrary(path_, QDateTime(QDate(2026, 11, 21), QTime(14, 3, 22)));
        EXPECT_EQ(bytesOf(aside), kept) << "never over an earlier one";
        EXPECT_EQ(libraryStateOf(path_), LibraryState::Missing);
    }
    EXPECT_TRUE(QFile::exists(applicationSupportFolder() + "/Library (unreadable 2026-11-21 14.03.22).db"));
    EXPECT_TRUE(setAsideLibrary(path_).isNull()) << "there is nothing to set aside";
}

TEST_F(Library, ALockedOrUnopenableLibraryFailsSoonAndIsNotTouched) {
    SongItem first;
    for (const rlim_t bytes : {0, 4096}) {
        const NoRoomOnDisk noRoom(bytes);
        EXPECT_EQ(manager_.insertSongItem(first), -1);
        EXPECT_EQ(libraryStateOf(path_), LibraryState::Missing) << "half a library is none";
    }
    ASSERT_EQ(manager_.insertSongItem(first), 1);
    EXPECT_EQ(libraryStateOf(path_), LibraryState::Readable);
    manager_.closeDataBase();
    EXPECT_EQ(withoutRoom([this] { return libraryStateOf(path_); }), LibraryState::NotOpenable)
        << "healthy, but nothing can stand beside it";
    Connection other(path_);
    other.run("PRAGMA journal_mode=DELETE");
    other.run("BEGIN EXCLUSIVE");
    EXPECT_EQ(libraryStateOf(path_), LibraryState::Locked);
    EXPECT_TRUE(manager_.loadDataBase());
    EXPECT_FALSE(manager_.getAllSongItems());
    EXPECT_FALSE(manager_.isTheFileInDataBase("/a"));
    SongItem song;
    EXPECT_EQ(manager_.insertSongItem(song), -1) << "its number is not known";
    other.run("COMMIT");
    EXPECT_EQ(manager_.getAllSongItems()->size(), 1);
    EXPECT_EQ(manager_.insertSongItem(song), 2);

    EXPECT_FALSE(manager_.loadDataBase(QDir::homePath())) << "a folder";
    EXPECT_EQ(log_.mid(log_.size() - 2), (QStringList{"SQLite open failed.", "Table Song Damage."}));
    EXPECT_FALSE(manager_.loadDataBase(QDir::homePath() + "/missing/Library.db"));
    EXPECT_EQ(log_.last(), "Create DB failed!");
    EXPECT_FALSE(QFile::exists(QDir::homePath() + "/missing"));
}

} // namespace
