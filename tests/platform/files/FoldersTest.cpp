#include "platform/files/Folders.h"

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
