#include "platform/files/SafeFileChange.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {
QByteArray at(const char *name) { return QFile::encodeName(QDir::homePath() + '/') + name; }
QByteArray read(const char *name) {
    QFile file(at(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
void write(const char *name, const QByteArray &content) {
    QFile file(at(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}
QStringList files() { return QDir(QDir::homePath()).entryList(QDir::Files | QDir::Hidden); }

TEST(SafeFileChange, KeepsWhatAUserExpects) {
    write("real", "old");
    ASSERT_EQ(::symlink("real", at("link").constData()), 0);
    ASSERT_EQ(::link(at("real").constData(), at("hard").constData()), 0);
    const bool hasAttribute = ::setxattr(at("real").constData(), "user.note", "x", 1, 0) == 0;
    const timespec times[2] = {{1'000, 0}, {2'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("real").constData(), times, 0), 0);
    ASSERT_EQ(::chmod(at("real").constData(), 0640), 0);

    SafeFileChange change(QFile::decodeName(at("link")));
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
    EXPECT_TRUE(QFileInfo(QFile::decodeName(at("link"))).isSymLink());
    char value = 0;
    EXPECT_TRUE(!hasAttribute || (::getxattr(at("real").constData(), "user.note", &value, 1) == 1 && value == 'x'));
    EXPECT_EQ(files(), (QStringList{"hard", "link", "real"}));
}

TEST(SafeFileChange, LeavesNothingBehind) {
    write("file", "old");
    { const SafeFileChange dropped(QFile::decodeName(at("file"))); }
    EXPECT_EQ(files().filter("file"), QStringList{"file"});

    SafeFileChange late(QFile::decodeName(at("file")));
    write("file", "somebody else's");
    EXPECT_FALSE(late.commit());
    EXPECT_EQ(read("file"), "somebody else's");
    EXPECT_EQ(files().filter("file"), QStringList{"file"});

    // What a killed writer left goes; what another is working on stays.
    write(".corvidia-1-0-file", "left");
    write(".corvidia-1-1-file", "in use");
    const int other = ::open(at(".corvidia-1-1-file").constData(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    EXPECT_TRUE(SafeFileChange(QFile::decodeName(at("file"))).commit());
    EXPECT_EQ(files().filter("file"), (QStringList{".corvidia-1-1-file", "file"}));
    ::close(other);
    EXPECT_FALSE(SafeFileChange(QDir::homePath()).isOpen());
    EXPECT_FALSE(SafeFileChange(QDir::homePath() + "/nowhere").isOpen());
    EXPECT_FALSE(SafeFileChange("/dev/null").isOpen());
}
} // namespace
