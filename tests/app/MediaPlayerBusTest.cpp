#include "app/MediaPlayerBus.h"

#include "demo/PrivateDesktop.h"
#include "demo/RunningProgram.h"
#include "support/OtherProgram.h"
#include "support/Songs.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDir>
#include <gtest/gtest.h>
#include <limits>

namespace {

struct FakeProgram final : MediaPlayerBusDelegate {
    void raiseWindow() override { done << "raise"; }
    void quitProgram() override { done << "quit"; }
    void playPause() override { done << "playPause"; }
    void startPlaying() override { done << "play"; }
    void pausePlaying() override { done << "pause"; }
    void stopPlaying() override { done << "stop"; }
    void playNext() override { done << "next"; }
    void playPrevious() override { done << "previous"; }
    void seekTo(qint64 milliseconds) override { done << "seek " + QString::number(milliseconds); }
    void changeVolume(double toVolume) override { done << "volume " + QString::number(toVolume); }
    SongPtr playedSong() const override { return song; }
    bool isPlaying() const override { return isPlayingNow; }
    bool canPlay() const override { return true; }
    bool canGoNext() const override { return hasNext; }
    bool canGoPrevious() const override { return true; }
    qint64 playedMilliseconds() const override { return 61'500; }
    qint64 durationMilliseconds() const override { return 180'000; }
    double volume() const override { return 0.7; }

    QStringList done;
    SongPtr song;
    bool isPlayingNow = false;
    bool hasNext = true;
};

struct MediaPlayerBusTest : testing::Test {
    void SetUp() override {
        ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText());
        ASSERT_TRUE(bus.connectToBus());
        song->setCoverImages({"/covers/a.jpg", "/covers/b b.jpg"});
        song->setCoverImageIndex(1);
    }
    void play() {
        program.song = song;
        program.isPlayingNow = true;
        bus.changed();
    }
    /// What playerctl, the client that users have, answers.
    static std::string playerctl(const QStringList &arguments) {
        return outputOf("playerctl", QStringList{"-p", "Corvidia"} + arguments);
    }
    /// Asks as programs of less care do; what the program did.
    QStringList ask(const char *member, const QVariantList &arguments) {
        program.done.clear();
        QDBusMessage call = QDBusMessage::createMethodCall("org.mpris.MediaPlayer2.Corvidia", "/org/mpris/MediaPlayer2",
                                                           "org.mpris.MediaPlayer2.Player", member);
        call.setArguments(arguments);
        const QDBusPendingCall answer = client().asyncCall(call);
        EXPECT_TRUE(waitUntil([&] { return answer.isFinished(); }));
        waitUntil([] { return false; }, 10); // what is done behind the answer
        return program.done;
    }
    static QDBusConnection client() {
        return QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), "client");
    }

    PrivateDesktop desktop{QDir::homePath()};
    FakeProgram program;
    MediaPlayerBus bus{program, /*parent=*/nullptr};
    SongPtr song = songWith({.title = "Tide", .artist = "The Shore", .path = "/music/100% #1.mp3", .id = 7});
};

/// Hears what the bus is told.
class Listener : public QObject {
    Q_OBJECT
public:
    QList<QVariantMap> changes;
    QList<qlonglong> seeks;
public slots:
    void changed(const QString &, const QVariantMap &properties, const QStringList &) { changes << properties; }
    void seeked(qlonglong position) { seeks << position; }
};

} // namespace

TEST_F(MediaPlayerBusTest, PlayerctlSeesWhatPlays) {
    EXPECT_EQ(playerctl({"status"}), "Stopped");
    play();
    EXPECT_EQ(playerctl({"metadata", "--format",
                         "{{status}}|{{artist}}|{{title}}|{{xesam:url}}|{{mpris:artUrl}}|{{mpris:length}}"}),
              "Playing|The Shore|Tide|file:///music/100%25%20%231.mp3|file:///covers/b%20b.jpg|180000000");
    EXPECT_EQ(playerctl({"volume"}), "0.700000");
}

TEST_F(MediaPlayerBusTest, WhatNobodyShouldAskDoesNoHarm) {
    const auto track = [](int id) {
        return QVariant::fromValue(QDBusObjectPath(QString("/com/tessarine/Corvidia/Track/%1").arg(id)));
    };
    EXPECT_EQ(ask("Seek", {1'000'000LL}), QStringList());
    EXPECT_EQ(ask("SetPosition", {track(7), 1'000'000LL}), QStringList());
    play();
    constexpr auto kMost = std::numeric_limits<qlonglong>::max();
    const QStringList nothing;
    for (const auto &[member, arguments, done] : {
             std::tuple{"Seek", QVariantList{-500'000LL}, QStringList("seek 61000")},
             std::tuple{"Seek", QVariantList{-kMost - 1}, QStringList("seek 0")},
             std::tuple{"Seek", QVariantList{kMost}, QStringList("next")},
             std::tuple{"SetPosition", QVariantList{track(7), 2'000'000LL}, QStringList("seek 2000")},
             std::tuple{"SetPosition", QVariantList{track(6), 2'000'000LL}, nothing},
             std::tuple{"SetPosition", QVariantList{track(7), -1LL}, nothing},
             std::tuple{"SetPosition", QVariantList{track(7), kMost}, nothing},
             std::tuple{"OpenUri", QVariantList{"file:///etc/passwd"}, nothing},
         })
        EXPECT_EQ(ask(member, arguments), done) << member;
    program.hasNext = false;
    EXPECT_EQ(ask("Next", {}), QStringList());
    EXPECT_EQ(ask("Seek", {kMost}), QStringList("stop"));
    song->setTitle(QString(100'000, 'x') + QChar(0) + QChar(0xd800) + QString::fromUtf8("\u202e<b>%n\n"));
    EXPECT_EQ(playerctl({"metadata", "title"}), std::string(100'000, 'x') + "?\u202e<b>%n");
}

TEST_F(MediaPlayerBusTest, TellsOnceATurnWhatIsDifferent) {
    Listener listener;
    ASSERT_TRUE(client().connect({}, "/org/mpris/MediaPlayer2", "org.freedesktop.DBus.Properties", "PropertiesChanged",
                                 &listener, SLOT(changed(QString, QVariantMap, QStringList))));
    ASSERT_TRUE(client().connect({}, "/org/mpris/MediaPlayer2", "org.mpris.MediaPlayer2.Player", "Seeked", &listener,
                                 SLOT(seeked(qlonglong))));
    play();
    song->setTitle("Later");
    bus.changed();
    bus.seeked(1500);
    ASSERT_TRUE(waitUntil([&] { return !listener.changes.isEmpty(); }));
    program.isPlayingNow = false;
    bus.changed();
    ASSERT_TRUE(waitUntil([&] { return listener.changes.size() > 1; }));
    bus.changed(); // nothing is
    waitUntil([&] { return listener.changes.size() > 2; }, 100);
    ASSERT_EQ(listener.changes.size(), 2);
    EXPECT_EQ(QStringList(listener.changes[0].keys()),
              QStringList({"CanPause", "CanSeek", "Metadata", "PlaybackStatus"}));
    EXPECT_EQ(listener.changes[1], QVariantMap({{"PlaybackStatus", "Paused"}}));
    EXPECT_EQ(listener.seeks, QList<qlonglong>{1'500'000});
}

#include "MediaPlayerBusTest.moc"
