#include "platform/files/Folders.h"

#include "support/MadeAudio.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

TEST(Folders, ResolvesLinksAboveWhatDoesNotExistYet) {
    const QString home = QDir(QDir::homePath()).canonicalPath();
    ASSERT_TRUE(QDir(home).mkpath(QStringLiteral("Platte 2/Töne \"neu\" 音楽")));
    ASSERT_TRUE(QFile::link(home + "/Platte 2/Töne \"neu\" 音楽", home + "/Music"));

    EXPECT_EQ(defaultMusicFolder(), home + "/Platte 2/Töne \"neu\" 音楽/Tessarine Corvidia");
    EXPECT_EQ(resolvingSymlinks(home + "/Music"), home + "/Platte 2/Töne \"neu\" 音楽");
    EXPECT_EQ(resolvingSymlinks("/"), "/");
    EXPECT_EQ(resolvingSymlinks("/nowhere/at all"), "/nowhere/at all");
}

TEST(Folders, FollowTheDesktopAndAnEarlierLibrary) {
    const QString home = QDir(QDir::homePath()).canonicalPath();
    for (const auto &[named, music] : {std::pair("$HOME/Musik", "/Musik"), std::pair("$HOME/", "/Music")}) {
        QDir().mkpath(home + "/.config");
        makeFile(".config/user-dirs.dirs", std::string("XDG_MUSIC_DIR=\"") + named + "\"\n");
        EXPECT_EQ(defaultMusicFolder(), home + music + "/Tessarine Corvidia");
    }
    EXPECT_EQ(applicationSupportFolder(), QDir::homePath() + "/.local/share/Tessarine Corvidia");
    qputenv("XDG_DATA_HOME", "relative");
    EXPECT_EQ(applicationSupportFolder(), QDir::homePath() + "/.local/share/Tessarine Corvidia");
    qputenv("XDG_DATA_HOME", "/data");
    EXPECT_EQ(applicationSupportFolder(), "/data/Tessarine Corvidia");
    const QString earlier = QDir::homePath() + "/Library/Application Support/Tessarine Corvidia";
    ASSERT_TRUE(QDir().mkpath(earlier));
    EXPECT_EQ(applicationSupportFolder(), earlier);
}
