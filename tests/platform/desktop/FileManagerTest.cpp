#include "platform/desktop/FileManager.h"

#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"
#include "support/MadeAudio.h"
#include "support/NoRoomOnDisk.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
const char *const kTrash = ".local/share/Trash";

/// The folder of the desktop's file manager, on a bus of the test's own.
struct FakeFileManager final : QDBusVirtualObject {
    QVariantList asked;
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override {
        asked = QVariantList{message.member()} + message.arguments();
        bus.send(message.createReply());
        return true;
    }
};

/// What the desktop is asked to open.
class OpenedUrls : public QObject {
    Q_OBJECT
public:
    OpenedUrls() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler("file"); }
    QList<QUrl> urls;
public slots:
    void open(const QUrl &url) { urls << url; }
};
} // namespace

TEST(FileManager, AFileOfAnyNameGoesToTheTrashAndItsNoteSaysWhereItWas) {
    const QString longName = QString(240, 'x') + ".mp3";
    const QString wide = QString(80, QChar(0x4e2d)) + ".mp3"; // 244 bytes
    QString error;
    for (const QString &name : {QString("a.mp3"), QString("a.mp3"), longName, longName, wide,
                                QString("-rf %n\n<b>.mp3"), QFile::decodeName("\xff\xfe.mp3")}) {
        const QString path = makeFile(name, "sound");
        EXPECT_TRUE(moveToTrash(path, &error)) << qPrintable(name + ": " + error);
        EXPECT_FALSE(QFile::exists(path));
    }
    const QStringList files = QDir(inHome(kTrash) + "/files").entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(files.size(), 7);
    EXPECT_EQ(QDir(inHome(kTrash) + "/info").entryList(QDir::Files).size(), 7);
    EXPECT_TRUE(files.contains("a.mp3") && files.contains("a.mp3.2"));
    const QString note = QString::fromStdString(bytesOf(inHome(kTrash) + "/info/-rf %n\n<b>.mp3.trashinfo"));
    EXPECT_TRUE(note.startsWith("[Trash Info]\nPath=" + QDir::homePath() + "/-rf%20%25n%0A%3Cb%3E.mp3\nDeletionDate=2"))
        << qPrintable(note);
    // Where a crowd has one name, the lowest free number is not looked for.
    QSet<QByteArray> crowd;
    for (int i = 0; i < 300; ++i) {
        TrashedFile trashed;
        ASSERT_TRUE(moveToTrash(makeFile("a.mp3", "sound"), &error, &trashed)) << qPrintable(error);
        crowd.insert(trashed.file);
    }
    EXPECT_EQ(crowd.size(), 300);
}

TEST(FileManager, WhatCannotGoToTheTrashStaysAndTheReasonIsTold) {
    const QString linked = makeFile("linked.mp3", "sound");
    ASSERT_TRUE(QDir::home().mkpath("folder/inner"));
    for (const QString &path : {inHome("missing.mp3"), inHome("folder"), QString(), QDir::homePath(), QString("/"),
                                linked + QChar(0), inHome("none/a.mp3")}) {
        QString error;
        EXPECT_FALSE(moveToTrash(path, &error)) << qPrintable(path);
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_TRUE(QFile::exists(inHome("folder/inner")));
    for (const auto &[room, failure] : {std::pair{0, EFBIG}, std::pair{20, ENOSPC}}) {
        const NoRoomOnDisk noRoom(room);
        QString error;
        EXPECT_FALSE(moveToTrash(linked, &error));
        EXPECT_EQ(error, qt_error_string(failure)) << room;
    }
    // A link goes and what it names stays.
    ASSERT_TRUE(QFile::link(linked, inHome("link.mp3")));
    EXPECT_TRUE(moveToTrash(inHome("link.mp3")));
    EXPECT_TRUE(QFile::exists(linked));
    // A Trash that is somebody else's folder takes nothing.
    ASSERT_TRUE(QDir(inHome(kTrash)).removeRecursively());
    ASSERT_TRUE(QFile::link(inHome("folder"), inHome(kTrash)));
    EXPECT_FALSE(moveToTrash(linked));
    EXPECT_TRUE(QFile::exists(linked));
}

TEST(FileManager, AFileComesBackFromTheTrashBesideWhatTookItsPlace) {
    const auto trashed = [](const QString &path) {
        TrashedFile file;
        EXPECT_TRUE(moveToTrash(path, nullptr, &file));
        return file;
    };
    ASSERT_TRUE(QDir::home().mkpath("folder"));
    const TrashedFile file = trashed(makeFile("folder/a.b.mp3", "first"));
    ASSERT_TRUE(QDir::home().rmdir("folder"));
    EXPECT_EQ(restoreFromTrash(file), inHome("folder/a.b.mp3"));
    EXPECT_EQ(bytesOf(inHome("folder/a.b.mp3")), "first");
    EXPECT_TRUE(QDir(inHome(kTrash) + "/info").isEmpty());
    QString error;
    EXPECT_EQ(restoreFromTrash(file, &error), QString()); // it is back already
    EXPECT_FALSE(error.isEmpty());

    const TrashedFile second = trashed(inHome("folder/a.b.mp3"));
    for (const char *name : {"folder/a.b.mp3", "folder/a.b 2.mp3"})
        makeFile(name, "new");
    EXPECT_EQ(restoreFromTrash(second), inHome("folder/a.b 3.mp3"));
    EXPECT_EQ(bytesOf(inHome("folder/a.b.mp3")), "new");

    // The Trash was emptied, and has another file of the name.
    const TrashedFile lost = trashed(inHome("folder/a.b 3.mp3"));
    ASSERT_EQ(::rename(lost.file.constData(), qPrintable(inHome("elsewhere"))), 0);
    ASSERT_TRUE(QFile::remove(QFile::decodeName(lost.note)));
    trashed(makeFile("folder/a.b 3.mp3", "other"));
    EXPECT_EQ(restoreFromTrash(lost, &error), QString());
    EXPECT_FALSE(QFile::exists(inHome("folder/a.b 3.mp3")));
}

TEST(FileManager, AnotherFileSystemHasATrashOfItsOwn) {
    const QTemporaryDir folder("/dev/shm/corvidia-XXXXXX");
    struct stat here {
    }, home{};
    if (!folder.isValid() || stat(qPrintable(folder.path()), &here) != 0 ||
        stat(qPrintable(QDir::homePath()), &home) != 0 || here.st_dev == home.st_dev)
        GTEST_SKIP() << "there is one file system only";
    const QString name = QFileInfo(folder.path()).fileName() + ".mp3";
    ASSERT_TRUE(QFile(folder.filePath(name)).open(QIODevice::WriteOnly));
    struct stat above {};
    const bool isMount = stat("/dev", &above) == 0 && above.st_dev != here.st_dev;
    const QString trash = QString(isMount ? "/dev/shm" : "/dev") + "/.Trash-" + QString::number(geteuid());
    const bool wasThere = QFile::exists(trash);
    EXPECT_TRUE(moveToTrash(folder.filePath(name)));
    EXPECT_TRUE(QFile::remove(trash + "/files/" + name));
    const QString note = trash + "/info/" + name + ".trashinfo";
    EXPECT_NE(bytesOf(note).find(isMount ? "\nPath=corvidia-" : "\nPath=shm/corvidia-"), std::string::npos);
    QFile::remove(note);
    if (!wasThere)
        QDir(trash).removeRecursively();
}

TEST(FileManager, ShowsAFileInTheFileManagerOrElseOpensItsFolder) {
    PrivateDesktop desktop(QDir::homePath());
    ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
    OpenedUrls opened;
    const QString path = QDir::homePath() + "/50% #1\n?.mp3";
    selectFileInFileManager(path);
    ASSERT_TRUE(waitUntil([&] { return !opened.urls.isEmpty(); }));
    EXPECT_EQ(opened.urls.first().toLocalFile(), QDir::homePath());

    FakeFileManager manager;
    QDBusConnection bus = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "manager");
    ASSERT_TRUE(bus.registerVirtualObject("/org/freedesktop/FileManager1", &manager));
    ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
    selectFileInFileManager(path);
    ASSERT_TRUE(waitUntil([&] { return !manager.asked.isEmpty(); }));
    EXPECT_EQ(manager.asked.at(0), "ShowItems");
    EXPECT_EQ(manager.asked.at(1).toStringList(),
              QStringList("file://" + QDir::homePath() + "/50%25%20%231%0A%3F.mp3"));
    EXPECT_EQ(opened.urls.size(), 1);
}

#include "FileManagerTest.moc"
