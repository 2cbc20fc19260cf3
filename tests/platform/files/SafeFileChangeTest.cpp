#include "platform/files/SafeFileChange.h"

#include "platform/files/Folders.h"
#include "platform/files/InPlaceWrite.h"
#include "support/MadeAudio.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/file.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {
QByteArray at(const char *name) { return QFile::encodeName(QDir::homePath() + '/') + name; }
QByteArray read(const char *name) { return QByteArray::fromStdString(bytesOf(inHome(name))); }
ino_t inode(const char *name) {
    struct stat info {};
    return ::stat(at(name).constData(), &info) == 0 ? info.st_ino : 0;
}

TEST(SafeFileChange, KeepsWhatAUserExpects) {
    makeFile("real", "old");
    ASSERT_EQ(::symlink("real", at("link").constData()), 0);
    ASSERT_EQ(::link(at("real").constData(), at("hard").constData()), 0);
    const bool hasAttribute = ::setxattr(at("real").constData(), "user.note", "x", 1, 0) == 0;
    const ino_t untouched = inode("real");
    EXPECT_TRUE(SafeFileChange(inHome("link")).commit());
    EXPECT_EQ(inode("real"), untouched) << "nothing was changed";
    const timespec times[2] = {{1'000, 0}, {2'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("real").constData(), times, 0), 0);
    ASSERT_EQ(::chmod(at("real").constData(), 0640), 0);

    SafeFileChange change(inHome("link"));
    ASSERT_TRUE(change.isOpen());
    ASSERT_EQ(::pwrite(change.descriptor(), "new", 3, 0), 3);
    EXPECT_EQ(read("real"), "old");
    ASSERT_EQ(::utimensat(AT_FDCWD, at("real").constData(), times, 0), 0); // the reading above was an access
    ASSERT_TRUE(change.commit());

    struct stat info {};
    ASSERT_EQ(::lstat(at("real").constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
    EXPECT_EQ(info.st_atim.tv_sec, 1'000);
    EXPECT_GT(info.st_mtim.tv_sec, 2'000);
    EXPECT_EQ(read("real"), "new");
    EXPECT_EQ(read("hard"), "old");
    EXPECT_TRUE(QFileInfo(inHome("link")).isSymLink());
    char value = 0;
    EXPECT_TRUE(!hasAttribute || (::getxattr(at("real").constData(), "user.note", &value, 1) == 1 && value == 'x'));
    EXPECT_EQ(filesInHome(), (QStringList{"hard", "link", "real"}));
}

TEST(SafeFileChange, LeavesNothingBehind) {
    makeFile("file", "old");
    { const SafeFileChange dropped(inHome("file")); }
    EXPECT_EQ(filesInHome().filter("file"), QStringList{"file"});

    SafeFileChange late(inHome("file"));
    makeFile("file", "somebody else's");
    EXPECT_FALSE(late.commit());
    EXPECT_EQ(late.error(), EBUSY);
    EXPECT_EQ(read("file"), "somebody else's");
    EXPECT_EQ(filesInHome().filter("file"), QStringList{"file"});

    // What a killed writer left goes, once in each folder; what another is working on stays.
    ASSERT_TRUE(QDir::home().mkdir("folder"));
    const auto files = [] { return QDir(inHome("folder")).entryList(QDir::Files | QDir::Hidden); };
    makeFile("folder/file", "old");
    makeFile("folder/.corvidia-1-0-file", "left");
    makeFile("folder/.corvidia-1-1-file", "in use");
    const int other = ::open(at("folder/.corvidia-1-1-file").constData(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    EXPECT_TRUE(SafeFileChange(inHome("folder/file")).commit());
    EXPECT_EQ(files(), (QStringList{".corvidia-1-1-file", "file"}));
    ::close(other);
    EXPECT_TRUE(SafeFileChange(inHome("folder/file")).commit());
    EXPECT_EQ(files().size(), 2);
    for (const QString &path : {QDir::homePath(), inHome("nowhere"), QString("/dev/null")})
        EXPECT_FALSE(SafeFileChange(path).isOpen());
}

// A process without root's rights may write the file and not its folder, and is killed at many instants.
TEST(SafeFileChange, InAFolderThatMayNotBeWrittenIsMadeInPlace) {
    ASSERT_TRUE(QDir::home().mkdir("folder"));
    makeFile("folder/file", "old");
    ASSERT_EQ(::chmod(at("").constData(), 0777), 0);
    ASSERT_EQ(::chmod(at("folder/file").constData(), 0666), 0);
    ASSERT_EQ(::chmod(at("folder").constData(), 0555), 0);
    const ino_t before = inode("folder/file");
    std::minstd_rand random(7);
    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (char turn = 'a'; ::geteuid() != 0 || ::setuid(65534) == 0; turn = turn == 'z' ? 'a' : turn + 1) {
                SafeFileChange change(inHome("folder/file"));
                const QByteArray bytes(4'000'000 + turn * 1'000, turn);
                if (::pwrite(change.descriptor(), bytes.constData(), bytes.size(), 0) != bytes.size() ||
                    ::ftruncate(change.descriptor(), bytes.size()) != 0 || !change.commit())
                    break;
            }
            ::_exit(1);
        }
        ::usleep(10'000 + random() % 60'000); // the instant itself is what varies
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        mendInterruptedWrites();
        const QByteArray left = read("folder/file");
        ASSERT_TRUE(left == "old" || left == QByteArray(4'000'000 + left[0] * 1'000, left[0])) << i;
    }
    EXPECT_NE(read("folder/file"), "old");
    EXPECT_EQ(inode("folder/file"), before);
    EXPECT_EQ(QDir(applicationSupportFolder() + "/Unfinished changes").entryList(QDir::Files), QStringList());
    ::chmod(at("folder").constData(), 0755);
}
} // namespace
