// Which files an import reads, in a folder with everything in it that a disk may hold.
#include "library/ImportFiles.h"

#include "platform/files/Folders.h"
#include "store/DataBaseManager.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct ImportFiles : testing::Test {
    void SetUp() override {
        QDir::home().mkpath("Music/B/Deep");
        for (const char *name : {"Music/2.MP3", "Music/10.mp3", "Music/1.m4a", "Music/B/Deep/3.mp3", "Music/notes.txt",
                                 "Music/.hidden.mp3", "known.mp3"})
            makeFile(name, "x");
    }

    /// Names below the home; those that can't be read in brackets.
    QStringList found(const QStringList &chosen, const QStringList &known = {}) {
        QStringList paths;
        for (const QString &name : chosen)
            paths << inHome(name);
        QStringList names;
        for (const ImportFile &file : filesToImport(paths, known, [] { return false; })) {
            const QString name = QString(file.path).remove(QDir::homePath() + '/');
            names << (file.isReadable ? name : '[' + name + ']');
        }
        return names;
    }

    KeptLog log;
};

QByteArray home(const char *name) { return QFile::encodeName(inHome(name)); }

} // namespace

TEST_F(ImportFiles, TakesAFolderByTheNamesInIt) {
    const QStringList all{"Music/1.m4a", "Music/10.mp3", "Music/2.MP3", "Music/B/Deep/3.mp3"};
    EXPECT_EQ(found({"Music"}), all);
    EXPECT_EQ(found({"Music/"}), all);
    EXPECT_EQ(found({"Music/2.MP3", "Music", "Music/notes.txt"}),
              (QStringList{"Music/2.MP3", "Music/1.m4a", "Music/10.mp3", "Music/B/Deep/3.mp3"}));
}

TEST_F(ImportFiles, FollowsLinksAndNoneTwice) {
    symlink(home("Music").constData(), home("Music/B/up").constData());
    symlink(home("Music/B/loop").constData(), home("Music/B/loop").constData());
    symlink(home("known.mp3").constData(), home("Music/B/other.mp3").constData());
    symlink(home("Music/2.MP3").constData(), home("Music/B/again.mp3").constData());
    QDir::home().mkpath("elsewhere");
    makeFile("elsewhere/4.mp3", "x");
    symlink(home("elsewhere").constData(), home("Music/B/there").constData());
    EXPECT_EQ(found({"Music"}), (QStringList{"Music/1.m4a", "Music/10.mp3", "Music/2.MP3", "Music/B/Deep/3.mp3",
                                             "Music/B/other.mp3", "Music/B/there/4.mp3"}));
}

TEST_F(ImportFiles, KnowsAFileByEachOfItsPaths) {
    QDir().mkpath(coverImageFolder());
    SongItem song;
    song.setSongPath(inHome("gone.mp3"));
    ASSERT_GT(DataBaseManager::defaultManager().insertSongItem(song), 0);
    EXPECT_EQ(found({"gone.mp3"}), QStringList()); // as the library says, whether it is there or not
    EXPECT_EQ(log, QStringList{"the File " + inHome("gone.mp3") + " is existed!"});

    const QStringList known{inHome("known.mp3"), inHome("gone.mp3")};
    symlink(home("known.mp3").constData(), home("link.mp3").constData());
    link(home("known.mp3").constData(), home("hard.mp3").constData());
    symlink(home("Music").constData(), home("Other").constData());
    EXPECT_EQ(found({"link.mp3", "hard.mp3", "Music/../known.mp3"}, known), QStringList());
    EXPECT_EQ(found({"Music/10.mp3", "Other/10.mp3"}, known), QStringList{"Music/10.mp3"});
    // A path with a quote is never known to the library, its file is.
    makeFile("\"q\".mp3", "x");
    EXPECT_EQ(found({"\"q\".mp3"}, {inHome("\"q\".mp3")}), QStringList());
}

TEST_F(ImportFiles, OpensNothingButFiles) {
    ASSERT_EQ(mkfifo(home("Music/pipe.mp3").constData(), 0600), 0);
    symlink("/dev/zero", home("Music/zero.m4a").constData());
    symlink("nowhere", home("Music/broken.mp3").constData());
    symlink("nowhere", home("Music/broken").constData());
    QFile::remove(inHome("Music/1.m4a"));
    QDir::home().mkpath("Music/folder.mp3");
    makeFile("Music/folder.mp3/5.mp3", "x");
    EXPECT_EQ(found({"missing.mp3", "Music"}),
              (QStringList{"[missing.mp3]", "Music/10.mp3", "Music/2.MP3", "Music/B/Deep/3.mp3", "[Music/broken.mp3]",
                           "Music/folder.mp3/5.mp3", "[Music/pipe.mp3]", "[Music/zero.m4a]"}));
    EXPECT_EQ(found({"Music/pipe.mp3", "no folder"}), (QStringList{"[Music/pipe.mp3]", "[no folder]"}));
}

TEST_F(ImportFiles, TakesANameThatIsNoTextForNoOtherFile) {
    makeFile(QString("Music/B/\uFFFD.mp3"), "the other file");
    const QByteArray name = home("Music/B/") + "\xFF.mp3";
    ASSERT_EQ(rename(home("Music/10.mp3").constData(), name.constData()), 0);
    EXPECT_EQ(found({"Music/B"}), (QStringList{"Music/B/Deep/3.mp3", "Music/B/\uFFFD.mp3", "[Music/B/\uFFFD.mp3]"}));
    EXPECT_EQ(found({"Music/B/\uFFFD.mp3"}), QStringList{"[Music/B/\uFFFD.mp3]"}); // as a drag would bring it
    EXPECT_EQ(found({QString("Music/2.MP3") + QChar(QChar::Null) + ".mp3"}).size(), 1);
}

TEST_F(ImportFiles, StopsWhenItIsCancelled) {
    int asked = 0;
    const auto isCancelled = [&asked] { return ++asked > 4; };
    EXPECT_LT(filesToImport({inHome("Music")}, {}, isCancelled).size(), 3);
}
