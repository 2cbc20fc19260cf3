// What identification finds on its way into the track, its file, the database and the views.
#include "library/IdentifyCtr.h"

#include "platform/files/Folders.h"
#include "platform/run/Log.h"
#include "store/DataBaseManager.h"
#include "support/MadeAudio.h"
#include "support/PageViews.h"
#include "support/Songs.h"
#include "tags/access/TagLibHelper.h"
#include "views/library/MyTableView.h"
#include "views/library/TagField.h"

#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <gtest/gtest.h>

namespace {

struct Results : testing::Test, PageViews, LibraryCtrDelegate {
    Results() {
        setLogSink([this](const QString &line) { log << line; });
        EXPECT_TRUE(QDir().mkpath(coverImageFolder()));
        library.emplace(*this, all());
        page.resize(900, 501);
        page.show();
    }
    ~Results() override {
        library.reset();
        setLogSink({});
    }
    bool mainExiting() const override { return exits; }
    void libraryWasNotWritten(const QString &) override { ++losses; }
    void tagsWereNotWritten(const SongItem &, TagWriteOutcome) override { ++refusals; }

    static SongPtr add(const QString &title, ID3Status status, const QString &path = "/gone.mp3") {
        SongPtr song = songWith({.title = title, .artist = "Somebody", .path = path});
        song->setGetID3Status(static_cast<int32_t>(status));
        song->setAddedDate(QDateTime::currentDateTimeUtc());
        song->setSongID(DataBaseManager::defaultManager().insertSongItem(*song));
        return song;
    }
    /// The one track of the library, and selected.
    SongPtr show(const SongPtr &song) {
        library->takeTracks(TrackLists({song}));
        library->categoryViewCtr().selectRow(2);
        library->editCtr().changeID3Edit();
        return song;
    }
    static SongPtr stored(const SongPtr &song) {
        const SongArray rows = *DataBaseManager::defaultManager().getAllSongItems();
        return *std::ranges::find(rows, song->songID(), &SongItem::songID);
    }
    IdentifyCtr &results() { return library->identifyCtr(); }
    QString shown(const char *key) { return library->editCtr().id3ViewCtr().field(key)->text(); }
    static QString picture(const QString &name, Qt::GlobalColor colour) {
        QImage image(8, 8, QImage::Format_RGB32);
        image.fill(colour);
        EXPECT_TRUE(image.save(inHome(name)));
        return inHome(name);
    }

    QStringList log;
    bool exits = false;
    int losses = 0, refusals = 0;
    std::optional<LibraryCtr> library;
};

const QVariantMap kFound{{"MusicTitle", "Hill"},
                         {"AlbumArtist", "Band"},
                         {"AlbumTitle", "Quay"},
                         {"AlbumYeas", "1999"},
                         {"AlbumGenres", "Folk"}};

} // namespace

TEST_F(Results, MoveTheTrackFromStateToState) {
    using enum ID3Status;
    using Event = std::function<void(int32_t)>;
    const Event begin = [this](int32_t id) { results().upDateSongItemForSearchingID3(id); };
    const Event tags = [this](int32_t id) { results().getID3DidFinish(kFound, id); };
    const Event covers = [this](int32_t id) { results().upDateSongItemForSearchID3Fininshed({"/no"}, id); };
    const Event noPaths = [this](int32_t id) { results().upDateSongItemForSearchID3Fininshed({}, id); };
    const Event fails = [this](int32_t id) { results().getID3Failed(id); };
    const Event failsAtTheEnd = [this](int32_t id) {
        exits = true;
        results().getID3Failed(id);
        exits = false;
    };
    for (const auto &[from, event, to] : QList<std::tuple<ID3Status, Event, ID3Status>>{
             {Waiting, begin, Searching},
             {Searching, tags, FetchingCover},
             {FetchingCover, covers, Identified},
             {FetchingCover, noPaths, FetchingCover},
             {FetchingCover, fails, Identified},
             {FetchingCover, failsAtTheEnd, Identified},
             {Searching, fails, NotFound},
             {Identified, fails, NotFound},
             {Searching, failsAtTheEnd, Searching},
         }) {
        const SongPtr song = show(add("Song", NotAsked));
        song->setGetID3Status(static_cast<int32_t>(from));
        event(song->songID());
        EXPECT_EQ(song->getID3Status(), static_cast<int>(to));
    }
    EXPECT_EQ(losses, 0);
    EXPECT_EQ(refusals, 1) << "there is no such file, which is told once";
    show(add("Song", Searching))->setSongID(-2); // of a library that can't be written
    tags(-2);
    covers(-2);
    EXPECT_EQ(losses, 1);
    log.clear();
    tags(4711); // was deleted meanwhile
    EXPECT_EQ(log, QStringList({"getID3DidFinish songID= 4711", "error,the songID 4711 not find songItem"}));
}

TEST_F(Results, TakeBackAtTheStartWhatNoQueueWorksOn) {
    SongArray songs;
    for (const int status : {1, 2, 4, 5, 3, 6})
        songs << add("Song", static_cast<ID3Status>(status));
    library->takeTracks(TrackLists(songs));
    QList<int> states, kept;
    for (const SongPtr &song : songs) {
        states << song->getID3Status();
        kept << stored(song)->getID3Status();
    }
    EXPECT_EQ(states, QList<int>({0, 0, 6, 6, 3, 6}));
    EXPECT_EQ(kept, states);
}

TEST_F(Results, NameTheTrackItsFileAndWhatShowsIt) {
    const SongPtr song = show(add("Track12", ID3Status::Searching, makeTone("Track12.mp3")));
    QVariantMap found = kFound;
    found.remove("AlbumGenres");
    song->setGenre("Jazz");
    results().getID3DidFinish(found, song->songID());
    EXPECT_EQ(song->songPath(), inHome("Hill_Band.mp3"));
    EXPECT_TRUE(ffprobeReads(song->songPath(), "Hill"));
    for (const SongPtr &track : {song, stored(song)}) {
        EXPECT_EQ(track->title() + track->artist() + track->album() + track->year() + track->genre(),
                  "HillBandQuay1999Jazz");
        EXPECT_EQ(track->songPath(), inHome("Hill_Band.mp3"));
    }
    EXPECT_EQ(shown("title") + shown("artist"), "HillBand");
    EXPECT_EQ(library->pageControls().badgeCount(3), 0); // not untagged any more
    search.setText("hill");
    EXPECT_EQ(library->listViewCtr().songArray()->size(), 1);
}

TEST_F(Results, KeepTheFilesOwnCoverBehindThoseFound) {
    const QString red = picture("red.png", Qt::red), blue = picture("blue.jpg", Qt::blue),
                  text = makeFile("text.png", "no picture"), half = makeFile("half.jpg", bytesOf(blue).substr(0, 200));
    struct Case {
        const char *name;
        bool hasOwn;
        QStringList found;
        int covers, index;
        QColor inFile;
    };
    const QColor defaultCover = QImage(":/images/default_coverImage.png").pixelColor(0, 0);
    for (const Case &row : QList<Case>{
             {"found and own", true, {half, text, blue, red}, 3, 0, Qt::blue},
             {"no room for the fourth", true, {blue, red, red, red}, 4, 0, Qt::blue},
             {"found", false, {red, blue}, 2, 0, Qt::red},
             {"own alone", true, {text}, 1, 0, Qt::green},
             {"none", false, {text, "/no", half}, 0, -1, defaultCover},
         }) {
        SCOPED_TRACE(row.name);
        const QString own = picture("own.png", Qt::green); // moves into the library
        const SongPtr song = add("Song", ID3Status::FetchingCover, makeTone("Song.mp3"));
        song->setCoverImages({own, own});
        song->setIsHasLocalCover(row.hasOwn);
        show(song);
        const std::string ownBytes = bytesOf(song->coverImages().last());
        const int version = song->version();
        results().upDateSongItemForSearchID3Fininshed(row.found, song->songID());
        EXPECT_EQ(song->coverImages().size(), row.covers);
        EXPECT_EQ(song->coverImageIndex(), row.index);
        EXPECT_EQ(stored(song)->coverImages(), song->coverImages());
        EXPECT_EQ(song->version(), version + 1);
        EXPECT_TRUE(!row.hasOwn || bytesOf(song->coverImages().last()) == ownBytes);
        const QVariantList covers = TagLibHelper::ID3Info(song->songPath())->value("cover").toList();
        ASSERT_EQ(covers.size(), 1);
        const QColor colour = covers[0].value<QImage>().pixelColor(0, 0);
        EXPECT_NEAR(colour.red(), row.inFile.red(), 4);
        EXPECT_NEAR(colour.green(), row.inFile.green(), 4);
        EXPECT_NEAR(colour.blue(), row.inFile.blue(), 4);
    }
}

TEST_F(Results, TouchNothingButTheFileWhateverTheTitle) {
    const auto everything = [] {
        QStringList paths;
        for (QDirIterator files(QDir::homePath(), {"*.mp3"}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
             files.hasNext();)
            paths << QFileInfo(files.next()).path();
        return paths;
    };
    ASSERT_TRUE(QDir::home().mkpath("music/a"));
    const std::string tone = bytesOf(makeTone("music/tone.mp3"));
    ASSERT_TRUE(QFile::remove(inHome("music/tone.mp3")));
    for (const QString &title : {QString("a/b"), QString("../../b"), QString(".."), QString("../.."), QString(".b"),
                                 QString(5000, 'x'), QString("a\nb\x1b[2J"), QString("a") + QChar::Null + "b",
                                 QString("/etc/b"), QString(400, QChar(0x4e2d)), QString("CON"), QString("")}) {
        SCOPED_TRACE(qPrintable(title.left(20)));
        const SongPtr song = show(add("Song", ID3Status::Searching, makeFile("music/Song.mp3", tone)));
        for (const char *artist : {"../x", "x"})
            results().getID3DidFinish({{"MusicTitle", title}, {"AlbumArtist", artist}}, song->songID());
        EXPECT_EQ(song->title(), title);
        EXPECT_EQ(everything(), QStringList{inHome("music")});
        ASSERT_TRUE(QFile::remove(song->songPath()));
    }
}
