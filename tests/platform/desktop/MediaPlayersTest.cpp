#include "platform/desktop/MediaPlayers.h"

#include "demo/PlayerOnBus.h"
#include "demo/PrivateDesktop.h"
#include "demo/PrivateSoundServer.h"
#include "demo/RunningProgram.h"
#include "platform/desktop/SoundingProcesses.h"
#include "platform/run/HostTime.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <ctime>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr const char *kPlayer = "org.mpris.MediaPlayer2.Player";

struct MediaPlayersTest : testing::Test, MediaPlayersDelegate {
    void SetUp() override { ASSERT_TRUE(desktop.start()) << qPrintable(desktop.errorText()); }
    void playedTitleDidChange(const std::optional<PlayedTitle> &title, uint64_t hostTime) override {
        told << (title ? title->title : QString());
        last = title;
        lastTime = hostTime;
    }
    bool hears(const QString &title) {
        return waitUntil([&] { return !told.isEmpty() && told.last() == title; }, 10'000);
    }
    void turn(int milliseconds) {
        waitUntil([] { return false; }, milliseconds);
    }

    PrivateDesktop desktop{QDir::homePath()};
    QStringList told; // a null text: nothing
    std::optional<PlayedTitle> last;
    uint64_t lastTime = 0;
    std::atomic<pid_t> sounding = 0;
    MediaPlayers players{*this, [this] { return std::optional(QSet<pid_t>{sounding}); }};
};

/// A player that sends whatever it likes, and answers when it likes.
class StrangePlayer final : QDBusVirtualObject {
public:
    explicit StrangePlayer(const QString &name)
        : bus_(QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), name)) {
        bus_.registerVirtualObject("/org/mpris/MediaPlayer2", this);
        EXPECT_TRUE(bus_.registerService("org.mpris.MediaPlayer2." + name));
    }
    void send(const QVariantList &arguments) {
        auto news = QDBusMessage::createSignal("/org/mpris/MediaPlayer2", "org.freedesktop.DBus.Properties",
                                               "PropertiesChanged");
        news.setArguments(arguments);
        bus_.send(news);
    }
    void sends(const QVariant &metadata, const QVariant &status = "Playing") {
        properties = {{"Metadata", metadata}, {"PlaybackStatus", status}};
        send({kPlayer, properties, QStringList()});
    }

    QVariantMap properties;
    bool answers = true;

private:
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override {
        message.setDelayedReply(true);
        if (answers)
            bus.send(message.createReply(properties));
        return true;
    }
    QDBusConnection bus_;
};

QVariantMap metadataOf(const QVariant &title) { return {{"xesam:title", title}, {"xesam:artist", QStringList("A")}}; }

} // namespace

TEST_F(MediaPlayersTest, TellsWhatIsPlayedAndFromWhenOn) {
    PlayerOnBus early("early");
    const QUrl cover("http://c.example/a.png");
    early.play({.title = "Tide", .artist = "The Shore", .album = "Sea", .milliseconds = 200'000, .cover = cover});
    players.setWatching(true);
    ASSERT_TRUE(hears("Tide"));
    EXPECT_EQ(*last, (PlayedTitle{"Tide", "The Shore", "Sea", 200'000, cover}));
    const uint64_t before = AudioGetCurrentHostTime();
    early.play({.title = "Ebb", .artist = "The Shore", .album = {}});
    turn(0);
    ASSERT_TRUE(hears("Ebb"));
    EXPECT_GE(lastTime, before);
    EXPECT_LT(lastTime - before, 150'000'000U) << "when it was said, and not when it was looked at";
    early.stop();
    ASSERT_TRUE(hears({}));
    {
        const PlayerOnBus ourselves("Corvidia"), mirror("playerctld");
        PlayerOnBus later("later.instance7");
        later.play({.title = "Flood", .artist = {}, .album = {}});
        ASSERT_TRUE(hears("Flood"));
    }
    ASSERT_TRUE(hears({})) << "it is gone";
    players.setWatching(false);
    early.play({.title = "Unheard", .artist = {}, .album = {}});
    turn(500);
    EXPECT_EQ(told, QStringList({"Tide", "Ebb", {}, "Flood", {}}));
    players.setWatching(true);
    EXPECT_TRUE(hears("Unheard"));
}

TEST_F(MediaPlayersTest, DISABLED_AnotherProcessPlays) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", qgetenv("CORVIDIA_TEST_BUS"));
    PlayerOnBus player("other");
    player.play({.title = "Other", .artist = {}, .album = {}});
    turn(60'000);
}

TEST_F(MediaPlayersTest, OfTwoThatPlayTheOneIsTakenThatSounds) {
    QProcess other;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("CORVIDIA_TEST_BUS", qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    other.setProcessEnvironment(environment);
    endWithParent(other);
    other.start(QCoreApplication::applicationFilePath(),
                {"--gtest_also_run_disabled_tests", "--gtest_filter=MediaPlayersTest.DISABLED_*"});
    players.setWatching(true);
    ASSERT_TRUE(hears("Other"));
    sounding = getpid();
    PlayerOnBus own("own");
    own.play({.title = "Own", .artist = {}, .album = {}});
    EXPECT_TRUE(hears("Own"));
    sounding = static_cast<pid_t>(other.processId());
    EXPECT_TRUE(hears("Other"));
    sounding = 1; // neither of them
    EXPECT_TRUE(hears({}));
    own.play({.title = "Other", .artist = {}, .album = {}});
    EXPECT_TRUE(hears("Other")) << "both say the same";
    other.kill();
    other.waitForFinished();
}

TEST_F(MediaPlayersTest, TakesNothingFromMetadataThatIsNone) {
    StrangePlayer strange("strange");
    players.setWatching(true);
    strange.sends(metadataOf("Known"));
    ASSERT_TRUE(hears("Known"));
    QVariant deep = "Deep";
    for (int depth = 0; depth < 3; ++depth)
        deep = QVariant::fromValue(QDBusVariant(deep));
    QVariantMap many = metadataOf("Many");
    for (int i = 0; i < 100'000; ++i)
        many.insert(QString::number(i), i);
    using Case = std::tuple<const char *, QVariant, QString>;
    for (const auto &[name, metadata, title] : {
             Case{"5,000 characters", metadataOf(QString(5000, 'x')), {}},
             Case{"control characters", metadataOf("a\x01\x1b[2Jb\n\tc\u202e\u200bd"), "a [2Jb cd"},
             Case{"half a character", metadataOf(QString("a") + QChar(0xd800)), {}},
             Case{"blanks", metadataOf(" \t "), {}},
             Case{"a number", metadataOf(7), {}},
             Case{"a list", metadataOf(QStringList{"One", "Two"}), "One, Two"},
             Case{"wrapped", metadataOf(deep), "Deep"},
             Case{"text for metadata", "text", {}},
             Case{"a list for metadata", QVariantList{1, "x"}, {}},
             Case{"a hundred thousand entries", many, {}},
             Case{"no track",
                  QVariantMap{{"mpris:trackid", "/org/mpris/MediaPlayer2/TrackList/NoTrack"}, {"xesam:title", "Old"}},
                  {}},
         }) {
        SCOPED_TRACE(name);
        strange.sends(metadataOf("Known"));
        ASSERT_TRUE(hears("Known"));
        strange.sends(metadata);
        ASSERT_TRUE(waitUntil([&] { return told.last() != "Known"; }, 10'000));
        EXPECT_TRUE(title.isNull() || hears(title)) << qPrintable(told.last());
    }
    strange.sends(QVariantMap{{"xesam:title", "T"},
                              {"xesam:artist", "One"},
                              {"mpris:length", "3000000"},
                              {"mpris:artUrl", "data:image/png;base64,AAAA"},
                              {"mpris:trackid", "spotify:ad:1"}});
    ASSERT_TRUE(hears("T"));
    EXPECT_EQ(*last, (PlayedTitle{.title = "T", .artist = "One", .milliseconds = 3000, .isAdvert = true}));
    strange.send({7, "x"});
    strange.send({});
    strange.send({kPlayer, QVariantMap{{"PlaybackStatus", 3}}, QStringList()});
    EXPECT_TRUE(hears({}));
}

TEST_F(MediaPlayersTest, APlayerThatFloodsOrHangsKeepsNobodyFromBeingHeard) {
    StrangePlayer hanging("hanging"), flooding("flooding");
    hanging.answers = false;
    players.setWatching(true);
    flooding.sends(metadataOf("First"), "Paused");
    PlayerOnBus good("good");
    good.play({.title = "Good", .artist = {}, .album = {}});
    ASSERT_TRUE(hears("Good"));
    good.stop();
    ASSERT_TRUE(hears({}));
    told.clear();
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; clock.elapsed() < 3000; ++i) {
        flooding.sends(metadataOf(QString::number(i)));
        if (i % 10 == 9)
            turn(10);
    }
    flooding.sends(metadataOf("Last"));
    EXPECT_TRUE(hears("Last"));
    EXPECT_LT(told.size(), 20);
    flooding.sends(QVariantMap(), "Stopped");
    hanging.sends(metadataOf("Hanging"));
    EXPECT_TRUE(hears("Hanging")) << "of what it says by itself";
}

TEST(SoundingProcesses, AreThoseThatPlayAndThoseThatStartedThem) {
    PrivateSoundServer server(PrivateSoundServer::Kind::PulseAudio, QDir::homePath());
    ASSERT_TRUE(server.start()) << qPrintable(server.errorText());
    EXPECT_EQ(soundingProcesses(), QSet<pid_t>());
    QProcess playing;
    endWithParent(playing);
    playing.start("pacat", {"--playback", "/dev/zero"});
    EXPECT_TRUE(waitUntil(
        [&] { return soundingProcesses().value_or(QSet<pid_t>()).contains(static_cast<pid_t>(playing.processId())); }));
    EXPECT_TRUE(soundingProcesses()->contains(getpid()));
    EXPECT_FALSE(soundingProcesses()->contains(server.processes().front()));
    server.control({"set-sink-input-mute", "0", "1"});
    EXPECT_TRUE(waitUntil([] { return soundingProcesses().value_or(QSet<pid_t>{1}).isEmpty(); }));
    playing.kill();
    playing.waitForFinished();
    server.kill();
    EXPECT_EQ(soundingProcesses(), std::nullopt);
}
