// Edits on their way into the file, the database and the lists; read back by programs that others wrote.
#include "library/EditCtr.h"
#include "library/LibraryCtr.h"
#include "library/WriteID3.h"
#include "platform/desktop/Panel.h"
#include "platform/files/Folders.h"
#include "platform/run/NotificationCenter.h"
#include "store/DataBaseManager.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"
#include "views/controls/SketchButton.h"
#include "views/controls/TextButton.h"
#include "views/library/MyTableView.h"
#include "views/library/TagField.h"
#include "views/window/LibraryPage.h"
#include "views/window/PlayPanel.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

/// Handles events until `isDone`, or for ten seconds.
bool waitFor(const std::function<bool()> &isDone) {
    const QDeadlineTimer deadline(10'000);
    while (!isDone() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return isDone();
}

struct Edits : testing::Test, LibraryCtrDelegate {
    Edits() {
        EXPECT_TRUE(QDir().mkpath(coverImageFolder()));
        library.emplace(*this, LibraryViews{page, playBtn, playPanel, search, {&filter, &show, &handOver}, editBtn});
        page.resize(900, 501);
        page.show();
    }
    void tagsWereNotWritten(const SongItem &, TagWriteOutcome outcome) override { outcomes << outcome; }

    SongPtr add(const QString &path, const QString &title, bool isImported = false) {
        auto song = std::make_shared<SongItem>();
        song->setTitle(title);
        song->setArtist("Band");
        song->setSongPath(path);
        song->setIsImported(isImported);
        song->setAddedDate(QDateTime::currentDateTimeUtc());
        song->setSongID(DataBaseManager::defaultManager().insertSongItem(*song));
        songs.append(song);
        library->takeTracks(TrackLists(songs));
        library->categoryViewCtr().selectRow(2);
        select(song);
        return song;
    }
    void select(const SongPtr &song) {
        const auto row = static_cast<int>(library->listViewCtr().songArray()->indexOf(song));
        library->listViewCtr().tableView()->selectRowIndexes({row});
        EXPECT_TRUE(waitFor([&] { return editor().songItem() == song; }));
    }
    ID3ViewCtr &editor() { return library->editCtr().id3ViewCtr(); }
    void edit(const char *key, const QString &text) {
        editor().field(key)->selectAll();
        editor().field(key)->insert(text);
        library->editCtr().endEditing();
    }
    static SongPtr stored(const SongPtr &song) {
        const SongArray rows = *DataBaseManager::defaultManager().getAllSongItems();
        for (const SongPtr &row : rows)
            if (row->songID() == song->songID())
                return row;
        return nullptr;
    }

    LibraryPage page{nullptr};
    SketchButton playBtn{{}, {38, 38}, "Play", /*parent=*/nullptr};
    PlayPanel playPanel{nullptr};
    QLineEdit search;
    QPushButton filter, show, handOver;
    TextButton editBtn{"Info", /*parent=*/nullptr};
    QList<TagWriteOutcome> outcomes;
    SongArray songs;
    std::optional<LibraryCtr> library;
};

// Keys in lower letters: each container has its own.
QJsonObject ffprobeTags(const QString &path) {
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-show_format", "-of", "json", path});
    EXPECT_TRUE(probe.waitForFinished());
    return QJsonDocument::fromJson(probe.readAllStandardOutput())["format"]["tags"].toObject();
}

// The distribution's, which has its packages.
const QString kPython = QStringLiteral("/usr/bin/python3");

void giveOldCovers(const QString &path) {
    static const QString script = QStringLiteral("import sys\nfrom mutagen.mp4 import MP4, MP4Cover\n"
                                                 "f = MP4(sys.argv[1])\nf['covr'] = [MP4Cover(b'old')] * 2\nf.save()");
    EXPECT_EQ(QProcess::execute(kPython, {"-c", script, path}), 0);
}

QJsonObject mutagenTags(const QString &path) {
    static const QString script = QStringLiteral(R"(
import json, sys, mutagen
f = mutagen.File(sys.argv[1])
names = dict(title=('TIT2', '\xa9nam'), artist=('TPE1', '\xa9ART'), album=('TALB', '\xa9alb'),
             date=('TDRC', '\xa9day'), genre=('TCON', '\xa9gen'))
tags = {k: str(t[0]) for k, n in names.items() for t in [f.tags.get(n[0]) or f.tags.get(n[1])] if t}
tags = {k: str(f.tags[n].text[0]) if n in f.tags and hasattr(f.tags[n], 'text') else tags.get(k)
        for k, ns in names.items() for n in [ns[0] if ns[0] in f.tags else ns[1]]}
covers = [p.data for p in f.tags.getall('APIC')] if hasattr(f.tags, 'getall') else [bytes(c) for c in f.tags.get('covr', [])]
tags['covers'] = str(len(covers))
tags['jpeg'] = str(all(c[:2] == b'\xff\xd8' for c in covers))
print(json.dumps(tags))
)");
    QProcess reader;
    reader.start(kPython, {"-c", script, path});
    EXPECT_TRUE(reader.waitForFinished());
    EXPECT_EQ(reader.readAllStandardError(), QByteArray());
    return QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
}

} // namespace

TEST_F(Edits, GoIntoTheRowTheFileAndTheLists) {
    const SongPtr song = add(makeTone("Track12.mp3"), "Track12");
    EXPECT_EQ(library->pageControls().badgeCount(3), 1);
    song->setGetID3Status(3);
    int updates = 0;
    NotificationCenter::defaultCenter().addObserver(&page, "UpDateSongItemNotification",
                                                    [&](const auto &) { ++updates; });
    edit("title", "What? Ömer");
    EXPECT_EQ(library->pageControls().badgeCount(3), 0);
    EXPECT_EQ(song->getID3Status(), 6);
    EXPECT_EQ(song->songPath(), inHome("What_ Ömer_Band.mp3"));
    EXPECT_TRUE(ffprobeReads(song->songPath(), "What? Ömer"));
    EXPECT_EQ(stored(song)->title(), "What? Ömer");
    EXPECT_EQ(stored(song)->songPath(), song->songPath());
    EXPECT_EQ(song->size(), QFileInfo(song->songPath()).size());
    EXPECT_TRUE(library->listViewCtr().tableView()->sortDescriptors().isEmpty());
    search.setText("omer");
    EXPECT_EQ(library->listViewCtr().songArray()->size(), 1);
    EXPECT_TRUE(outcomes.isEmpty());
    EXPECT_EQ(updates, 0); // it is none of this run's recordings
    const int version = song->version();
    edit("album", "Quay");
    EXPECT_EQ(song->version(), version);
}

TEST_F(Edits, NameTheFilesOfRecordingsOnly) {
    struct Case {
        const char *name;
        QString title;
        bool isImported;
        QString file;
    };
    makeFile("Song_Band.mp3", "taken");
    makeFile("What__Band.mp3", "taken");
    const QString tone = makeTone("tone.mp3");
    const QString home = QDir::homePath();
    const QString tail = QString(300, 'x');
    for (const auto &[name, title, isImported, file] : {
             Case{"plain", "Hill", false, "Hill_Band.mp3"},
             Case{"taken", "Song", false, "Song_Band(2).mp3"},
             Case{"taken when cleaned: the number comes to the raw title", "What?", false, "What?_Band(2).mp3"},
             Case{"a slash is a folder", "a/b", false, "r.mp3"},
             Case{"never out of its folder", "../b", false, "r.mp3"},
             Case{"imported", "Hill 2", true, "r.mp3"},
             Case{"too long", tail, false, (home + '/' + tail).left(251).mid(home.size() + 1) + ".mp3"},
         }) {
        SCOPED_TRACE(name);
        SongItem song;
        song.setTitle(title);
        song.setArtist("Band");
        song.setIsImported(isImported);
        song.setSongPath(inHome("r.mp3"));
        QFile::remove(song.songPath());
        ASSERT_TRUE(QFile::copy(tone, song.songPath()));
        const WriteID3Result result = writeID3inFile(song, /*isNeedChangeCover=*/false, /*isNeedChangeFileName=*/true);
        EXPECT_EQ(result.outcome, TagWriteOutcome::Written);
        EXPECT_EQ(song.songPath(), inHome(file));
        EXPECT_TRUE(QFile::exists(song.songPath()));
        EXPECT_TRUE(writeID3inFile(song, /*isNeedChangeCover=*/false, /*isNeedChangeFileName=*/true).isStatusStale !=
                    (title == "Hill" || title == tail));
    }
    EXPECT_EQ(theValidPath("/a*b/*|:\"<>?\\x.mp3"), "/a*b/________x.mp3");
}

TEST_F(Edits, StayInTheLibraryWhereTheFileTakesThemNot) {
    const SongPtr gone = add(inHome("gone.mp3"), "Gone", /*isImported=*/true);
    edit("album", "Quay");
    EXPECT_EQ(outcomes, QList{TagWriteOutcome::OtherFormat});
    const SongPtr full = add(makeTone("full.mp3"), "Full", /*isImported=*/true);
    const std::string before = bytesOf(full->songPath());
    {
        // The database, too, is on it, but has room left.
        const NoRoomOnDisk noRoom(static_cast<rlim_t>(before.size() / 2));
        edit("artist", "Else");
    }
    EXPECT_EQ(outcomes.value(1), TagWriteOutcome::DiskFull);
    EXPECT_EQ(bytesOf(full->songPath()), before);
    EXPECT_EQ(full->artist(), "Else");
    const SongPtr text = add(makeFile("text.mp3", "no sound"), "Text", /*isImported=*/true);
    edit("year", "2019");
    EXPECT_EQ(outcomes.size(), 3);
    for (const SongPtr &song : {gone, text})
        EXPECT_EQ(stored(song)->album() + stored(song)->year(), song->album() + song->year());
}

TEST_F(Edits, KeepToTheTrackThatIsShown) {
    const SongPtr first = add(makeTone("1.mp3"), "First", /*isImported=*/true);
    const SongPtr second = add(makeTone("2.mp3"), "Second", /*isImported=*/true);
    const int row = static_cast<int>(library->listViewCtr().songArray()->indexOf(first));
    editor().field("album")->selectAll();
    editor().field("album")->insert("Quay");
    library->listViewCtr().tableView()->selectRowIndexes({row}); // the editor follows a moment later
    library->editCtr().endEditing();
    EXPECT_EQ(second->album(), "Quay");
    EXPECT_EQ(first->album(), "Unknown Album");
    EXPECT_EQ(ffprobeTags(first->songPath())["album"].toString(), "");
    EXPECT_EQ(ffprobeTags(second->songPath())["album"].toString(), "Quay");
    EXPECT_TRUE(waitFor([&] { return editor().songItem() == first; }));
    library->listViewCtr().tableView()->selectAll(); // several: the first one's
    EXPECT_TRUE(waitFor([&] { return editor().songItem() == library->getSelectedItem(); }));
    edit("album", "Salt");
    EXPECT_NE(first->album() == "Salt", second->album() == "Salt");
}

TEST_F(Edits, AreReachedByTheButtonAndTheMenu) {
    add(makeTone("1.mp3"), "First");
    const auto finished = [this] { return page.editBox()->isVisible() == page.isExpanded(); };
    const QString closed = editBtn.shownImage();
    library->editCtr().showEditTagsPanel();
    EXPECT_TRUE(library->editCtr().isEditPanelExpend());
    EXPECT_EQ(editBtn.shownImage(), closed); // the list's own menu leaves the button as it is
    ASSERT_TRUE(waitFor(finished));
    editBtn.click();
    EXPECT_FALSE(library->editCtr().isEditPanelExpend());
    editBtn.click();
    EXPECT_NE(editBtn.shownImage(), closed);
    library->categoryViewCtr().selectRow(5);
    EXPECT_FALSE(library->editCtr().isEditPanelExpend()); // the tools have no tracks
    EXPECT_FALSE(editBtn.isEnabled());
}

TEST_F(Edits, AreReadByOtherPrograms) {
    const QMap<QString, QString> texts{{"title", "Größe 東京 😀"},
                                       {"artist", QString(255, QChar(0xe9))},
                                       {"album", "مرحبا"},
                                       {"year", "2019"},
                                       {"genre", "Chanson d'été"}};
    QImage image(700, 700, QImage::Format_RGB32);
    image.fill(Qt::green);
    ASSERT_TRUE(image.save(inHome("cover.png")));
    for (const QString &name : {QString("a.mp3"), QString("b.m4a")}) {
        SCOPED_TRACE(name.toStdString());
        const SongPtr song = add(makeTone(name), "Old", /*isImported=*/true);
        for (auto text = texts.cbegin(); text != texts.cend(); ++text)
            edit(text.key().toLatin1(), text.value());
        if (name.endsWith("m4a")) // which gets pictures only where it has some
            giveOldCovers(song->songPath());
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(inHome("cover.png"))});
        EXPECT_TRUE(editor().takeCover(data));
        EXPECT_EQ(outcomes.size(), 0);
        const QJsonObject probed = ffprobeTags(song->songPath());
        const QJsonObject read = mutagenTags(song->songPath());
        for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
            const QString key = text.key() == "year" ? "date" : text.key();
            EXPECT_EQ(probed[key].toString(), text.value());
            EXPECT_EQ(read[key].toString(), text.value());
        }
        EXPECT_EQ(read["covers"].toString() + read["jpeg"].toString(), "1True");
        const SongPtr row = stored(song);
        ASSERT_EQ(row->coverImages().size(), 1);
        EXPECT_EQ(QImage(row->coverImages().at(0)).size(), QSize(600, 600));
        EXPECT_EQ(row->coverImages(), song->coverImages());
    }
}
