#include "platform/run/UserDefaults.h"

#include "support/MadeAudio.h"
#include "support/SmallDisk.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QSettings>
#include <array>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

TEST(UserDefaults, LaysWhatIsStoredOverWhatIsRegisteredAndReadsItsOwnFileBack) {
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    EXPECT_FALSE(defaults.contains("AutoSplitMusic"));
    defaults.registerDefaults({{"AutoSplitMusic", true}, {"AutoSplitTimeInterval", 300}});
    EXPECT_TRUE(defaults.boolForKey("AutoSplitMusic"));
    defaults.setBool(/*value=*/false, "AutoSplitMusic");
    defaults.setInteger(1000, "AutoSplitTimeInterval");
    EXPECT_FALSE(defaults.boolForKey("AutoSplitMusic"));
    defaults.removeObjectForKey("AutoSplitMusic");
    EXPECT_TRUE(defaults.boolForKey("AutoSplitMusic"));

    // What comes back from the file, or from a user's editor, is text.
    defaults.synchronize();
    QSettings file(QSettings::IniFormat, QSettings::UserScope, "Tessarine", "Corvidia");
    EXPECT_EQ(file.value("AutoSplitTimeInterval").toString(), "1000");
    using Case = std::tuple<const char *, bool, qint64>;
    for (const auto &[text, asBool, asInteger] :
         {Case{"YES", true, 0}, Case{"true", true, 1}, Case{"no", false, 0}, Case{"0", false, 0}, Case{"7x", true, 7},
          Case{"-12", false, -12}, Case{"", false, 0}}) {
        defaults.setObject(QString(text), "Typed");
        EXPECT_EQ(defaults.boolForKey("Typed"), asBool) << text;
        EXPECT_EQ(defaults.integerForKey("Typed"), asInteger) << text;
    }
}

TEST(UserDefaults, KeepWhatStandsOnADiskWithoutRoom) {
    const QString folder = QDir::homePath() + "/.config";
    ASSERT_TRUE(QDir().mkpath(folder));
    if (!mountSmallDisk(folder, "256k"))
        GTEST_SKIP() << "this machine lets nobody mount a small disk";
    const auto unmount = qScopeGuard([&] { umount2(qPrintable(folder), MNT_DETACH); });
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    int told = 0;
    defaults.setWriteFailed([&](const QString &) { ++told; });
    const auto onDisk = [&] { return QByteArray::fromStdString(bytesOf(folder + "/Tessarine/Corvidia.ini")); };
    for (int freePages = 0; freePages <= 10; ++freePages) {
        SCOPED_TRACE(freePages);
        defaults.setObject(QString(100, 'k'), "MusicsOutputLocation");
        ASSERT_TRUE(defaults.synchronize());
        const QByteArray before = onDisk();
        QFile filler(folder + "/filler");
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'x')) == 4096) {
        }
        ASSERT_TRUE(filler.resize(filler.size() / 4096 * 4096 - freePages * 4096));

        defaults.setObject(QString(5000, 'n'), "MusicsOutputLocation");
        defaults.setInteger(freePages, "TrackID");
        QCoreApplication::processEvents(); // writes by itself
        EXPECT_EQ(defaults.integerForKey("TrackID"), freePages);
        const bool isWritten = onDisk().contains("TrackID=" + QByteArray::number(freePages) + '\n');
        EXPECT_EQ(onDisk() == before, !isWritten) << "neither the old file nor the new one";
        EXPECT_EQ(isWritten, defaults.synchronize());
        EXPECT_TRUE(freePages > 0 || !isWritten);
        EXPECT_TRUE(freePages < 10 || isWritten);
        ASSERT_TRUE(filler.remove());
    }
    EXPECT_EQ(told, 1);
    EXPECT_EQ(QDir(folder + "/Tessarine").entryList(QDir::Files), QStringList{"Corvidia.ini"});
}

TEST(UserDefaults, WriteIntoTheFileBehindAllLinksAndOverNothingThatCannotBeRead) {
    const QString folder = QDir::homePath() + "/.config/Tessarine/";
    ASSERT_TRUE(QDir().mkpath(folder));
    const auto real = [&] { return QByteArray::fromStdString(bytesOf(folder + "real.ini")); };
    makeFile(".config/Tessarine/real.ini", "[General]\nTrackID=7\n");
    makeFile(".config/Tessarine.ini", "[General]\nOfAllPrograms=1\n");
    ASSERT_TRUE(QFile::link("real.ini", folder + "middle.ini") && QFile::link("middle.ini", folder + "Corvidia.ini"));
    UserDefaults &defaults = UserDefaults::standardUserDefaults();
    defaults.setInteger(5, "RateLaunchTimes");
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(defaults.integerForKey("OfAllPrograms"), 1);
    const QByteArray written = real();
    EXPECT_EQ(written, "[General]\nRateLaunchTimes=5\nTrackID=7\n");

    __user_cap_header_struct version{_LINUX_CAPABILITY_VERSION_3, 0};
    const std::array<__user_cap_data_struct, 2> none{};
    ASSERT_EQ(syscall(SYS_capset, &version, none.data()), 0) << "root, too, heeds the mode of a file now";
    ASSERT_TRUE(QFile::resize(folder + "real.ini", written.size() + 1) &&
                QFile::setPermissions(folder + "real.ini", {}));
    defaults.setInteger(6, "RateLaunchTimes");
    EXPECT_FALSE(defaults.synchronize());
    ASSERT_TRUE(QFile::setPermissions(folder + "real.ini", QFile::ReadOwner | QFile::WriteOwner));
    EXPECT_FALSE(defaults.synchronize()) << "what it holds is not known";
    EXPECT_TRUE(real().startsWith(written));
}
