// What identification finds on its way into the track, its file, the database and the views.
#include "library/IdentifyCtr.h"

#include "LibraryOnPage.h"
#include "support/KeptLog.h"
#include "support/MadePictures.h"
#include "tags/access/TagLibHelper.h"
#include "views/library/TagField.h"

#include <QDirIterator>

namespace {

struct Results : LibraryOnPage {
    void TearDown() override { library.reset(); }
    bool mainExiting() const override { return exits; }
    void libraryWasNotWritten(const QString &) override { ++losses; }
    void tagsWereNotWritten(const SongItem &, TagWriteOutcome) override { ++refusals; }

    static SongPtr add(const QString &title, ID3Status status, const QString &path = "/gone.mp3") {
        SongPtr song = songWith({.title = title, .artist = "Somebody", .path = path});
        song->setGetID3Status(static_cast<int32_t>(status));
        return inserted(song);
    }
    /// The one track of the library, and selected.
    SongPtr show(const SongPtr &song) {
        library->takeTracks(TrackLists({song}));
        library->categoryViewCtr().selectRow(2);
        library->editCtr().changeID3Edit();
        return song;
    }
    IdentifyCtr &results() { return library->identifyCtr(); }
    QString shown(const char *key) { return library->editCtr().id3ViewCtr().field(key)->text(); }

    KeptLog log;
    bool exits = false;
    int losses = 0, refusals = 0;
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
    for (const auto &[from, event, isAtTheEnd, to] : QList<std::tuple<ID3Status, Event, bool, ID3Status>>{
             {Waiting, begin, false, Searching},
             {Searching, tags, false, FetchingCover},
             {FetchingCover, covers, false, Identified},
             {FetchingCover, noPaths, false, FetchingCover},
             {FetchingCover, fails, false, Identified},
             {FetchingCover, fails, true, Identified},
             {Searching, fails, false, NotFound},
             {Identified, fails, false, NotFound},
             {Searching, fails, true, Searching},
         }) {
        const SongPtr song = show(add("Song", NotAsked));
        song->setGetID3Status(static_cast<int32_t>(from));
        exits = isAtTheEnd;
        event(song->songID());
        EXPECT_EQ(song->getID3Status(), static_cast<int>(to));
    }
    exits = false;
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
    const QString red = makePicture("red.png"), blue = makePicture("blue.jpg", Qt::blue),
                  text = makeFile("text.png", "no picture"), half = makeFile("half.jpg", bytesOf(blue).substr(0, 200));
    const QColor defaultCover = QImage(":/images/default_coverImage.png").pixelColor(0, 0);
    for (const auto &[name, hasOwn, found, count, index, inFile] : {
             std::tuple<const char *, bool, QStringList, int, int, QColor>{
                 "found and own", true, {half, text, blue, red}, 3, 0, Qt::blue},
             {"no room for the fourth", true, {blue, red, red, red}, 4, 0, Qt::blue},
             {"found", false, {red, blue}, 2, 0, Qt::red},
             {"own alone", true, {text}, 1, 0, Qt::green},
             {"none", false, {text, "/no", half}, 0, -1, defaultCover},
         }) {
        SCOPED_TRACE(name);
        const QString own = makePicture("own.png", Qt::green); // moves into the library
        const SongPtr song = add("Song", ID3Status::FetchingCover, makeTone("Song.mp3"));
        song->setCoverImages({own, own});
        song->setIsHasLocalCover(hasOwn);
        show(song);
        const std::string ownBytes = bytesOf(song->coverImages().last());
        const int version = song->version();
        results().upDateSongItemForSearchID3Fininshed(found, song->songID());
        EXPECT_EQ(song->coverImages().size(), count);
        EXPECT_EQ(song->coverImageIndex(), index);
        EXPECT_EQ(stored(song)->coverImages(), song->coverImages());
        EXPECT_EQ(song->version(), version + 1);
        EXPECT_TRUE(!hasOwn || bytesOf(song->coverImages().last()) == ownBytes);
        const QVariantList covers = TagLibHelper::ID3Info(song->songPath())->value("cover").toList();
        ASSERT_EQ(covers.size(), 1);
        const QColor colour = covers[0].value<QImage>().pixelColor(0, 0);
        EXPECT_NEAR(colour.red(), inFile.red(), 4);
        EXPECT_NEAR(colour.green(), inFile.green(), 4);
        EXPECT_NEAR(colour.blue(), inFile.blue(), 4);
    }
}

TEST_F(Results, TouchNothingButTheFileWhateverTheTitle) {
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
        QStringList folders; // of all such files
        for (QDirIterator files(QDir::homePath(), {"*.mp3"}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
             files.hasNext();)
            folders << QFileInfo(files.next()).path();
        EXPECT_EQ(folders, QStringList{inHome("music")});
        ASSERT_TRUE(QFile::remove(song->songPath()));
    }
}
