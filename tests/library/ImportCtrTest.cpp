// Files that the user has already come into the library: the order of events, what becomes of each file, and files made
// to do harm. Real files, a real library.
#include "library/ImportCtr.h"

#include "demo/RunningProgram.h"
#include "platform/files/Folders.h"
#include "platform/run/LocalizedString.h"
#include "platform/run/NotificationCenter.h"
#include "platform/run/UserDefaults.h"
#include "store/DataBaseManager.h"
#include "support/Gestures.h"
#include "support/MadePictures.h"
#include "support/SmallDisk.h"
#include "support/Songs.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioFileHelper.h"
#include "views/controls/ProgressLine.h"
#include "views/dialogs/ImportResultView.h"
#include "views/dialogs/OpenMusicPanel.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QListView>
#include <QProcess>
#include <QScopeGuard>
#include <QTimer>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

template <typename View>
View *shown() {
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *view = qobject_cast<View *>(window); view && view->isVisible())
            return view;
    return nullptr;
}

struct Import : testing::Test, ImportCtrDelegate {
    void SetUp() override {
        ASSERT_TRUE(QDir().mkpath(coverImageFolder()));
        ASSERT_TRUE(DataBaseManager::defaultManager().loadDataBase());
        page.show();
        importCtr.emplace(*this, lists, page);
    }
    const QString &category() const override { return shownCategory; }
    void showAllMusic() override { shownCategory = localizedString("All Music"); }
    void didImport() override {
        ++imports;
        rowsWhenTold = lists.allSongArray()->size();
        isSheetUpWhenTold = shown<ImportFileView>() != nullptr;
    }
    void displayStatus(const QString &text) override { status = text; }
    void libraryWasNotWritten(const QString &consequence) override { consequences << consequence; }
    QStringList pathsInProgress() const override { return inProgress; }

    void begin(const QStringList &paths) {
        NotificationCenter::defaultCenter().postNotification("HasImportedFiles", paths);
    }
    /// Drops `paths` and waits for the end; the titles that the library has then.
    QStringList drop(const QStringList &paths) {
        begin(paths);
        EXPECT_TRUE(waitUntil([this] { return !importCtr->isImporting(); }));
        return titles();
    }
    QStringList titles() const { return titlesOf(*lists.allSongArray()); }
    /// The names in the result window, which is closed then; empty if there is none.
    static QStringList failures() {
        auto *result = shown<ImportResultView>();
        if (!result)
            return {};
        QStringList names{result->findChild<QLabel *>()->text()};
        const QAbstractItemModel &model = *result->findChild<QListView *>()->model();
        for (int row = 0; row < model.rowCount(); ++row)
            names << model.index(row, 0).data().toString();
        delete result;
        return names;
    }
    static QString tagged(const QString &name, const QVariantMap &tags, double seconds = 1) {
        QString path = makeTone(name, {}, seconds);
        EXPECT_TRUE(TagLibHelper::setID3Info(path, tags));
        return path;
    }
    static QString titled(const QString &name, const char *title) { return tagged(name, {{TagKey::kTitle, title}}); }
    static qsizetype rowsInDatabase() { return DataBaseManager::defaultManager().getAllSongItems()->size(); }

    QWidget page;
    TrackLists lists;
    QString shownCategory = "Newly Recorded";
    QString status;
    QStringList inProgress, consequences;
    int imports = 0;
    qsizetype rowsWhenTold = 0;
    bool isSheetUpWhenTold = false;
    std::optional<ImportCtr> importCtr;
};

/// An MP3 whose tag holds `picture`, whatever that is.
QString withPicture(const QString &name, const QByteArray &picture) {
    QString path = makeTone(name);
    const char *script =
        "import sys\nfrom mutagen import id3\ntags = id3.ID3(sys.argv[1])\n"
        "tags.add(id3.APIC(mime='image/png', type=3, data=open(sys.argv[2], 'rb').read()))\ntags.save()\n";
    const QString data = makeFile("picture", picture.toStdString());
    EXPECT_EQ(QProcess::execute("/usr/bin/python3", {"-c", script, path, data}), 0);
    return path;
}

QByteArray converted(const QStringList &arguments, const QString &program = "convert") {
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished());
    return process.readAllStandardOutput();
}

} // namespace

TEST_F(Import, ATrackGetsWhatItsFileSays) {
    for (const char *name : {"full.mp3", "full.m4a"}) {
        SCOPED_TRACE(name);
        const QString path = tagged(
            name, {{TagKey::kTitle, "Title"}, {TagKey::kCover, QVariantList{pictureOf(Qt::cyan, {300, 300})}}}, 3);
        drop({path});
        const SongPtr song = lists.allSongArray()->first();
        EXPECT_EQ(song->songPath(), path);
        EXPECT_EQ(song->encodeKind(), path.endsWith("3") ? "MP3 audio" : "M4A audio");
        EXPECT_EQ(song->sampleRate(), 44100);
        EXPECT_GT(song->biteRate(), 30'000);
        EXPECT_EQ(song->length(), static_cast<qint64>(AudioFileHelper::fileDuration(path) * 1000.0));
        EXPECT_EQ(song->size(), QFileInfo(path).size());
        EXPECT_TRUE(song->isImported() && song->isAds());
        EXPECT_EQ(song->getID3Status(), 0);
        EXPECT_LT(song->addedDate().msecsTo(QDateTime::currentDateTimeUtc()), 20'000);
        const auto row = DataBaseManager::defaultManager().getAllSongItems()->last();
        EXPECT_EQ(row->songID(), song->songID());
        EXPECT_TRUE(row->isImported());
        EXPECT_EQ(row->coverImages(), song->coverImages());
    }
    const SongPtr song = lists.allSongArray()->last();
    ASSERT_EQ(song->coverImages().size(), 1);
    EXPECT_EQ(QFileInfo(song->coverImages().first()).path(), coverImageFolder());
    EXPECT_TRUE(song->isHasLocalCover());
    EXPECT_EQ(song->coverImageIndex(), 0);
    QImageReader cover(song->coverImages().first());
    cover.setDecideFormatFromContent(true);
    EXPECT_EQ(cover.format(), "tiff");
    EXPECT_EQ(cover.size(), QSize(300, 300));
    EXPECT_TRUE(lists.newRecordArray()->isEmpty());
}

TEST_F(Import, AFileWithoutTagsKeepsTheDefaults) {
    drop({makeTone("plain.mp3", "-map_metadata -1 -id3v2_version 0")});
    const SongPtr song = lists.allSongArray()->first();
    EXPECT_EQ(song->title() + song->artist() + song->album(), "Unknown TitleUnknown ArtistUnknown Album");
    EXPECT_EQ(song->year(), "0"); // the number's text, as files without a year have always come in
    EXPECT_EQ(song->coverImageIndex(), -1);
    EXPECT_FALSE(song->isHasLocalCover());
}

TEST_F(Import, TheLastFileComesFirstAndOneThatFailsIsTold) {
    const QString first = titled("1.mp3", "One"), third = titled("3.m4a", "Three");
    const QString second = makeTone("2.wav");
    ASSERT_TRUE(QFile::rename(second, inHome("2.mp3"))); // the content counts
    EXPECT_EQ(drop({first, inHome("2.mp3"), third}), (QStringList{"Three", "One"}));
    EXPECT_EQ(shownCategory, "All Music");
    EXPECT_EQ(imports, 1);
    EXPECT_EQ(rowsWhenTold, 2);
    EXPECT_EQ(rowsInDatabase(), 2);
    EXPECT_EQ(failures(), (QStringList{"Import finished. 1 file(s) added failed.", "2.mp3"}));
    drop({first, third});
    EXPECT_EQ(status, "There is nothing new to import.");
    EXPECT_EQ(imports, 1);
}

TEST_F(Import, WhatIsNoTrackIsToldInItsOrder) {
    makeFile("empty.mp3", "");
    makeFile("text.m4a", "<b>not music</b>");
    makeFile("4GiB.mp3", "");
    ASSERT_EQ(truncate(QFile::encodeName(inHome("4GiB.mp3")).constData(), 1LL << 32), 0);
    ASSERT_TRUE(QFile::copy(makeTone("tone.aac"), inHome("adts.m4a")));
    const QString cut = titled("cut.m4a", "Cut");
    ASSERT_EQ(truncate(QFile::encodeName(cut).constData(), QFileInfo(cut).size() / 2), 0);
    QStringList paths;
    const QStringList names{"gone.mp3", "empty.mp3", "text.m4a", "4GiB.mp3", "adts.m4a", "<b>.mp3"};
    makeFile("<b>.mp3", "ID3");
    for (const QString &name : names)
        paths << inHome(name);
    EXPECT_EQ(drop(paths + QStringList{titled("good.mp3", "Good")}), QStringList{"Good"});
    EXPECT_EQ(failures(), QStringList{"Import finished. 6 file(s) added failed."} + names);
}

TEST_F(Import, WhatItHasNoRightsToIsTold) {
    const QString tone = makeTone("tone.mp3");
    for (const QString name : {"closed", "listed/folder"})
        ASSERT_TRUE(QDir().mkpath(inHome("in/" + name)));
    for (const QString name : {"open.mp3", "secret.mp3", "closed/a.mp3", "listed/b.mp3", "listed/folder/c.mp3"})
        ASSERT_TRUE(QFile::copy(tone, inHome("in/" + name)));
    __user_cap_header_struct version{_LINUX_CAPABILITY_VERSION_3, 0};
    const std::array<__user_cap_data_struct, 2> none{};
    ASSERT_EQ(syscall(SYS_capset, &version, none.data()), 0) << "root, too, heeds the mode of a file now";
    for (const auto &[name, mode] : {std::pair{"secret.mp3", 0}, {"closed", 0}, {"listed", 0444}})
        ASSERT_EQ(chmod(qPrintable(inHome("in/") + name), mode), 0);
    EXPECT_EQ(drop({inHome("in")}).size(), 1);
    EXPECT_EQ(failures(),
              (QStringList{"Import finished. 4 file(s) added failed.", "closed", "b.mp3", "folder", "secret.mp3"}));
    for (const char *name : {"closed", "listed"}) // for whoever clears up
        ASSERT_EQ(chmod(qPrintable(inHome("in/") + name), 0700), 0);
}

TEST_F(Import, CancelEndsItWhateverHangs) {
    const QStringList paths{titled("1.mp3", "One"), titled("2.mp3", "Two"), titled("3.mp3", "Three")};
    // Whoever opens a leased file waits until the lease is given back, which closing the descriptor does.
    std::signal(SIGIO, SIG_IGN);
    const int leased = ::open(QFile::encodeName(paths[1]).constData(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(fcntl(leased, F_SETLEASE, F_WRLCK), 0);
    begin(paths);
    begin(paths); // there is one import at a time
    EXPECT_TRUE(waitUntil([] {
        auto *sheet = shown<ImportFileView>();
        return sheet && sheet->findChild<ProgressLine *>()->value() == 1;
    }));
    EXPECT_EQ(shown<ImportFileView>()->findChild<ProgressLine *>()->maximum(), 3);
    shown<ImportFileView>()->reject(); // as Escape does
    EXPECT_FALSE(shown<ImportFileView>()->findChild<QPushButton *>()->isEnabled());
    EXPECT_TRUE(waitUntil([this] { return !importCtr->isImporting(); }));
    EXPECT_EQ(shown<ImportFileView>(), nullptr);
    EXPECT_EQ(titles(), QStringList{"One"});
    EXPECT_TRUE(isSheetUpWhenTold);
    EXPECT_EQ(status, "");
    // The next one need not wait for the thread that hangs, which comes back to nobody.
    EXPECT_EQ(drop({paths[2]}), (QStringList{"Three", "One"}));
    importCtr.reset();
    ::close(leased);
    QTimer::singleShot(200, qApp, [] { QApplication::exit(); });
    QApplication::exec();
    EXPECT_EQ(rowsInDatabase(), 2);
}

TEST_F(Import, WhatIsBeingRecordedComesInAsARecordingOnly) {
    ASSERT_TRUE(QDir::home().mkpath("Music"));
    for (const char *name : {"ended.mp3", "growing.mp3", "other.mp3"})
        titled(QString("Music/") + name, name);
    inProgress = {inHome("Music/growing.mp3")};
    begin({inHome("Music")});
    lists.insertNewRecording(songWith({.title = "recording", .path = inHome("Music/ended.mp3")}));
    EXPECT_TRUE(waitUntil([this] { return !importCtr->isImporting(); }));
    EXPECT_EQ(titles(), (QStringList{"other.mp3", "recording"}));
    EXPECT_TRUE(failures().isEmpty());
}

TEST_F(Import, OnePictureTakesTheDisksRoomOnce) {
    QStringList paths;
    for (const auto &[name, side] : {std::pair{"1.mp3", 200}, {"2.mp3", 200}, {"3.mp3", 201}})
        paths << tagged(name, {{TagKey::kCover, QVariantList{pictureOf(Qt::cyan, {side, side})}}});
    drop(paths);
    QList<quint64> inodes;
    for (const SongPtr &song : *lists.allSongArray()) {
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(song->coverImages().value(0)).constData(), &info), 0);
        inodes << info.st_ino;
    }
    EXPECT_EQ(inodes[1], inodes[2]);
    EXPECT_NE(inodes[0], inodes[1]);
    // Each can go by itself.
    DataBaseManager::defaultManager().deleteSongItem(*lists.allSongArray()->at(2));
    EXPECT_EQ(QImage(lists.allSongArray()->at(1)->coverImages().first()).size(), QSize(200, 200));
    EXPECT_TRUE(QDir(applicationSupportFolder() + "/Import").isEmpty());
}

TEST_F(Import, NoPictureDoesHarm) {
    const QByteArray photo = converted({"-size", "400x400", "plasma:", "jpg:-"});
    // As no tool of the day writes one.
    const QByteArray vast =
        converted({"-c", "import sys, struct, zlib\n"
                         "def chunk(kind, data):\n"
                         "    return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', "
                         "zlib.crc32(kind + data))\n"
                         "sys.stdout.buffer.write(b'\\x89PNG\\r\\n\\x1a\\n' + chunk(b'IHDR', "
                         "struct.pack('>IIBBBBB', 60000, 60000, 1, 0, 0, 0, 0)) + chunk(b'IDAT', "
                         "zlib.compress(bytes(7501 * 60000))) + chunk(b'IEND', b''))\n"},
                  "python3");
    ASSERT_GT(vast.size(), 100'000);
    QByteArray none = converted({"-size", "4x4", "xc:red", "png:-"});
    none.replace(16, 8, QByteArray(8, '\0'));
    QStringList paths;
    const QList<std::tuple<const char *, QByteArray, bool>> cases{
        {"cmyk.mp3", converted({"-size", "64x64", "plasma:", "-colorspace", "CMYK", "jpg:-"}), true},
        {"moving.mp3", converted({"-size", "16x16", "xc:red", "xc:blue", "gif:-"}), true},
        {"vast.mp3", vast, false},
        {"none.mp3", none, false},
        {"rubbish.mp3", "\x89PNG\r\n\x1a\nrubbish", false},
    };
    for (const auto &[name, picture, isTaken] : cases)
        paths << withPicture(name, picture);
    paths << withPicture("cut.mp3", photo.left(photo.size() / 2)); // the upper half shows or nothing
    drop(paths);
    ASSERT_EQ(lists.allSongArray()->size(), cases.size() + 1);
    for (qsizetype i = 0; i < cases.size(); ++i) {
        const auto &[name, picture, isTaken] = cases[i];
        SCOPED_TRACE(name);
        const SongPtr song = lists.allSongArray()->at(cases.size() - i);
        EXPECT_TRUE(song->songPath().endsWith(name));
        EXPECT_EQ(song->isHasLocalCover(), isTaken);
        EXPECT_EQ(!QImage(song->coverImages().value(0)).isNull(), isTaken);
    }
}

TEST_F(Import, ACoverThatCannotBeWrittenIsNoFailure) {
    qputenv("TMPDIR", QFile::encodeName(makeFile("no folder", "")));
    drop({tagged("1.mp3", {{TagKey::kTitle, "One"}, {TagKey::kCover, QVariantList{pictureOf(Qt::cyan, {50, 50})}}})});
    EXPECT_EQ(titles(), QStringList{"One"});
    EXPECT_FALSE(lists.allSongArray()->first()->isHasLocalCover());
    EXPECT_TRUE(failures().isEmpty());
    EXPECT_FALSE(ImportFileController::writeImageToPath({}, inHome("nothing.jpg")));
    EXPECT_FALSE(QFile::exists(inHome("nothing.jpg")));
    // Room where it is made, but none in the library's folder.
    qunsetenv("TMPDIR");
    makeFile(applicationSupportFolder() + "/Import", "no folder");
    drop({tagged("2.mp3", {{TagKey::kTitle, "Two"}, {TagKey::kCover, QVariantList{pictureOf(Qt::cyan, {50, 50})}}})});
    EXPECT_EQ(titles(), QStringList({"Two", "One"}));
}

TEST_F(Import, ACoverThatTheDiskCutsShortTakesNoRoomFromTheNext) {
    const QString folder = applicationSupportFolder() + "/Import";
    ASSERT_TRUE(QDir().mkpath(folder));
    if (!mountSmallDisk(folder, "64k"))
        GTEST_SKIP() << "this machine lets nobody mount a small disk";
    const auto unmount = qScopeGuard([&] { umount2(qPrintable(folder), MNT_DETACH); });
    QStringList paths;
    for (const char *size : {"300x300", "130x130", "135x135", "20x20"}) // two that miss by a buffer of the copy
        paths << withPicture(QString(size) + ".mp3", converted({"-size", size, "xc:", "-seed", "1", "+noise", "Random",
                                                                "-depth", "8", "png:-"}));
    drop(paths);
    QList<int> widths;
    for (const SongPtr &song : *lists.allSongArray())
        widths << (song->isHasLocalCover() ? QImage(song->coverImages().value(0)).width() : -1);
    EXPECT_EQ(widths, (QList<int>{20, -1, -1, -1}));
    EXPECT_TRUE(QDir(folder).isEmpty());
}

TEST_F(Import, TracksThatTheLibraryRefusesAreToldAndLeaveNoCovers) {
    ASSERT_EQ(system("sqlite3 \"$HOME/.local/share/Tessarine Corvidia/Library.db\" 'DROP TABLE Song'"), 0);
    const QVariantMap tags{{TagKey::kCover, QVariantList{pictureOf(Qt::cyan, {50, 50})}}};
    drop({tagged("1.mp3", tags), tagged("2.mp3", tags)});
    EXPECT_EQ(titles(), QStringList());
    EXPECT_EQ(consequences, QStringList{"2 of the tracks could not be added."});
    for (const QString &folder : {coverImageFolder(), applicationSupportFolder() + "/Import"})
        EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList());
}

TEST_F(Import, ThePanelStartsInTheMusicFolderAndTakesAFolder) {
    QDir::home().mkpath("Music/Album");
    makeTone("Music/Album/1.mp3");
    importCtr->importLocalFiles();
    importCtr->importLocalFiles(); // there is one panel at a time
    auto *panel = shown<OpenMusicPanel>();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->directory().path(), inHome("Music"));
    EXPECT_EQ(shownCategory, "All Music");
    panel->reject();
    EXPECT_TRUE(waitUntil([] { return !shown<OpenMusicPanel>(); }));
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey("IsFirstImportLocalFile"));

    importCtr->importLocalFiles();
    panel = shown<OpenMusicPanel>();
    panel->setDirectory(inHome("Music/Album"));
    buttonOf(*panel, "Import This Folder").click();
    EXPECT_TRUE(waitUntil([this] { return lists.allSongArray()->size() == 1; }));
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey("IsFirstImportLocalFile"));
    EXPECT_TRUE(waitUntil([this] { return !importCtr->isImporting(); }));
    importCtr->importLocalFiles();
    EXPECT_EQ(shown<OpenMusicPanel>()->directory().path(), inHome("Music/Album"));
    delete shown<OpenMusicPanel>();
}

TEST_F(Import, TakesInWhatOthersHaveTagged) {
    const QString longTitle(255, u'ü');
    const QList<QStringList> all{{"Größe", "Ärzte", "Übung", "1999", "Jazz"},
                                 {"夜に駆ける", "초콜릿", "Ещё раз", "2024", "J-Pop"},
                                 {"🎵 x", "🐦", "👩‍👩‍👧", "2001", "Rock"},
                                 {longTitle, longTitle, longTitle, "2020", "Pop"}};
    const char *script = "import sys, mutagen\n"
                         "file = mutagen.File(sys.argv[1], easy=True)\n"
                         "if file.tags is None: file.add_tags()\n"
                         "for key, value in zip(['title','artist','album','date','genre'], sys.argv[2:]):\n"
                         "    file[key] = value\n"
                         "file.save()\n";
    for (const char *ending : {".mp3", ".m4a"}) {
        const QString source = makeTone(QString("source") + ending, "-map_metadata -1");
        for (qsizetype i = 0; i < all.size(); ++i) {
            const QString path = inHome(QString::number(i) + ending);
            SCOPED_TRACE(path.toStdString());
            QFile::copy(source, path);
            ASSERT_EQ(QProcess::execute("/usr/bin/python3", QStringList{"-c", script, path} + all[i]), 0);
            drop({path});
            const SongPtr song = lists.allSongArray()->first();
            EXPECT_EQ((QStringList{song->title(), song->artist(), song->album(), song->year(), song->genre()}), all[i]);
        }
    }
}
