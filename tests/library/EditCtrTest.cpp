// Edits on their way into the file, the database and the lists; read back by programs that others wrote.
#include "library/WriteID3.h"

#include "LibraryOnPage.h"
#include "demo/RunningProgram.h"
#include "support/MadePictures.h"
#include "support/NoRoomOnDisk.h"
#include "support/OtherProgram.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "views/library/MyTableView.h"
#include "views/library/TagField.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

struct Edits : LibraryOnPage {
    void tagsWereNotWritten(const SongItem &, TagWriteOutcome outcome) override { outcomes << outcome; }

    void libraryWasNotWritten(const QString &consequence) override { consequences << consequence; }

    SongPtr add(const QString &path, const QString &title, bool isImported = false) {
        SongPtr song = songWith({.title = title, .artist = "Band", .path = path});
        song->setIsImported(isImported);
        songs.append(inserted(song));
        library->takeTracks(TrackLists(songs));
        library->categoryViewCtr().selectRow(2);
        click(song);
        library->editCtr().changeID3Edit();
        return song;
    }
    void click(const SongPtr &song) {
        const auto row = static_cast<int>(library->listViewCtr().songArray()->indexOf(song));
        library->listViewCtr().tableView()->selectRowIndexes({row});
    }
    ID3ViewCtr &editor() { return library->editCtr().id3ViewCtr(); }
    void edit(const char *key, const QString &text) {
        editor().field(key)->selectAll();
        editor().field(key)->insert(text);
        library->editCtr().endEditing();
    }

    QList<TagWriteOutcome> outcomes;
    QStringList consequences;
    SongArray songs;
};

// The distribution's Python, which has its packages.
QJsonObject mutagen(const QString &script, const QString &path) {
    const QStringList arguments{"-c", "import json, sys\nfrom mutagen import *\n" + script, path};
    return QJsonDocument::fromJson(QByteArray::fromStdString(outputOf("/usr/bin/python3", arguments))).object();
}

const QString kGiveTwoCovers = R"(from mutagen import id3, mp4; f = File(sys.argv[1])
if 'TSSE' in f.tags: f.tags.setall('APIC', [id3.APIC(type=t, desc=str(t), data=b'old') for t in (3, 4)])
else: f['covr'] = [mp4.MP4Cover(b'old')] * 2
f.save())";

const QString kRead = R"(f = File(sys.argv[1])
covers = [p.data for p in f.tags.getall('APIC')] if 'TIT2' in f.tags else f.tags.get('covr', [])
tags = {key: texts[0] for key, texts in File(sys.argv[1], easy=True).tags.items()}
print(json.dumps(tags | {'covers': [bytes(c[:2]).hex() for c in covers]})))";

} // namespace

TEST_F(Edits, GoIntoTheRowTheFileAndTheLists) {
    const SongPtr song = add(makeTone("Track12.mp3"), "Track12");
    EXPECT_EQ(library->pageControls().badgeCount(3), 1);
    song->setGetID3Status(3);
    edit("title", "What? Ömer");
    EXPECT_EQ(library->pageControls().badgeCount(3), 0);
    EXPECT_EQ(song->getID3Status(), 6);
    EXPECT_EQ(song->songPath(), inHome("What_ Ömer_Band.mp3"));
    EXPECT_EQ(stored(song)->title(), "What? Ömer");
    EXPECT_EQ(stored(song)->songPath(), song->songPath());
    EXPECT_EQ(song->size(), QFileInfo(song->songPath()).size());
    EXPECT_TRUE(library->listViewCtr().tableView()->sortDescriptors().isEmpty());
    search.setText("omer");
    EXPECT_EQ(library->listViewCtr().songArray()->size(), 1);
}

TEST_F(Edits, NameTheFilesOfRecordingsOnly) {
    makeFile("Song_Band.mp3", "taken");
    makeFile("What__Band.mp3", "taken");
    const QString tone = makeTone("tone.mp3");
    const QString home = QDir::homePath();
    const QString tail(300, 'x');
    for (const auto &[name, title, isImported, file] :
         std::initializer_list<std::tuple<const char *, QString, bool, QString>>{
             {"plain", "Hill", false, "Hill_Band.mp3"},
             {"taken", "Song", false, "Song_Band(2).mp3"},
             {"taken when cleaned: the number comes to the raw title", "What?", false, "What?_Band(2).mp3"},
             {"a slash is a folder", "a/b", false, "r.mp3"},
             {"never out of its folder", "../b", false, "r.mp3"},
             {"imported", "Hill 2", true, "r.mp3"},
             {"too long", tail, false, (home + '/' + tail).left(251).mid(home.size() + 1) + ".mp3"},
         }) {
        SCOPED_TRACE(name);
        const SongPtr made = songWith({.title = title, .artist = "Band", .path = inHome("r.mp3")});
        SongItem &song = *made;
        song.setIsImported(isImported);
        QFile::remove(song.songPath());
        ASSERT_TRUE(QFile::copy(tone, song.songPath()));
        EXPECT_EQ(writeID3inFile(song, /*isNeedChangeCover=*/false, /*isNeedChangeFileName=*/true).outcome,
                  TagWriteOutcome::Written);
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
    const SongPtr full = add(makeTone("full.mp3", "-b:a 256k", /*seconds=*/5), "Full", /*isImported=*/true);
    const std::string before = bytesOf(full->songPath());
    withoutRoom([this] { edit("artist", "Else"); }, before.size() / 2); // the database needs less
    EXPECT_EQ(outcomes.value(1), TagWriteOutcome::DiskFull);
    EXPECT_EQ(bytesOf(full->songPath()), before);
    EXPECT_EQ(stored(gone)->album(), "Quay");
    EXPECT_EQ(consequences, QStringList());
    withoutRoom([this] { edit("artist", "Nobody"); });
    EXPECT_EQ(outcomes.size(), 2) << "the library has not the new values";
    EXPECT_EQ(consequences.size(), 1);
    EXPECT_EQ(full->artist(), "Nobody");
    EXPECT_EQ(stored(full)->artist(), "Else");
    const SongPtr recorded = add(makeTone("recorded.mp3"), "Track1");
    withoutRoom([this] { edit("title", "Named"); });
    EXPECT_EQ(recorded->songPath(), inHome("recorded.mp3")) << "what the row says";
    EXPECT_TRUE(QFile::exists(recorded->songPath()));
}

TEST_F(Edits, KeepToTheTrackThatIsShown) {
    const SongPtr first = add(makeTone("1.mp3"), "First", /*isImported=*/true);
    const SongPtr second = add(makeTone("2.mp3"), "Second", /*isImported=*/true);
    click(first); // the editor follows a moment later
    edit("album", "Quay");
    EXPECT_EQ(first->album(), "Unknown Album");
    EXPECT_EQ(TagLibHelper::ID3Info(first->songPath())->value(TagKey::kAlbum).toString(), "");
    EXPECT_EQ(TagLibHelper::ID3Info(second->songPath())->value(TagKey::kAlbum).toString(), "Quay");
    EXPECT_TRUE(waitUntil([&] { return editor().songItem() == first; }));
    library->listViewCtr().tableView()->selectAll(); // several: the first one's
    library->editCtr().changeID3Edit();
    edit("album", "Salt");
    EXPECT_EQ(library->getSelectedItem()->album(), "Salt");
    EXPECT_NE(first->album(), second->album());
}

TEST_F(Edits, AreReachedByTheButtonAndTheMenu) {
    const SongPtr song = add(makeTone("1.mp3"), "First");
    const QString closed = editBtn.shownImage();
    library->editCtr().showEditTagsPanel();
    EXPECT_TRUE(library->editCtr().isEditPanelExpend());
    EXPECT_EQ(editBtn.shownImage(), closed); // the list's own menu leaves the button as it is
    editBtn.click();
    EXPECT_FALSE(library->editCtr().isEditPanelExpend());
    editBtn.click();
    EXPECT_NE(editBtn.shownImage(), closed);
    search.setText("nobody");
    EXPECT_EQ(editor().songItem(), nullptr);
    search.clear();
    EXPECT_EQ(editor().songItem(), song);
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
    QMimeData cover;
    cover.setImageData(pictureOf(Qt::green, {700, 700}));
    for (const QString &name : {QString("a.mp3"), QString("b.m4a")}) {
        SCOPED_TRACE(name.toStdString());
        const SongPtr song = add(makeTone(name), "Old", /*isImported=*/true);
        mutagen(kGiveTwoCovers, song->songPath()); // an M4A gets pictures only where it has some
        for (auto text = texts.cbegin(); text != texts.cend(); ++text)
            edit(text.key().toLatin1(), text.value());
        EXPECT_EQ(mutagen(kRead, song->songPath())["covers"].toArray().size(), 2);
        EXPECT_TRUE(editor().takeCover(cover));
        EXPECT_TRUE(ffprobeReads(song->songPath(), texts["title"]));
        const QJsonObject read = mutagen(kRead, song->songPath());
        for (auto text = texts.cbegin(); text != texts.cend(); ++text)
            EXPECT_EQ(read[text.key() == "year" ? "date" : text.key()].toString(), text.value());
        EXPECT_EQ(read["covers"].toArray(), QJsonArray{"ffd8"}); // the beginning of a JPEG
        EXPECT_EQ(QImage(stored(song)->coverImages().value(0)).size(), QSize(600, 600));
    }
}
