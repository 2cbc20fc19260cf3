#include "identify/online/OnlineSource.h"
#include "MadeClock.h"
#include "OnlineSettings.h"
#include "support/KeptLog.h"
#include "support/MadeAudio.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using Answer = RecognitionServer::Answer;
using Outcome = RecogniserAnswer::Outcome;

struct OnlineSources : testing::Test {
    OnlineSources() {
        server.setSongs({song});
        setRecognition(server.address());
    }

    RecogniserAnswer recognised(double seconds = 200) {
        return source.recognise({.songID = 1, .songPath = path, .milliseconds = static_cast<int64_t>(seconds * 1000)},
                                {});
    }
    QStringList asked() const {
        QStringList paths;
        const QStringList requests = server.requests();
        for (const QString &request : requests)
            paths << request.section(' ', 1).section('?', 0, 0).section('/', 1, 3);
        return paths;
    }

    KeptLog log;
    const QString path = makeSound("a.mp3", "anoisesrc=d=5:seed=1");
    const RecognitionServer::Song song{.title = "Title", .artist = "Artist", .album = "Album", .seconds = 200};
    RecognitionServer server;
    MadeClock clock;
    OnlineSource source{std::make_shared<HttpClient>(clock, HttpClient::Limits{.time = 30s})};
};

TEST_F(OnlineSources, NameATrackAndAskOnce) {
    for (int i = 0; i < 2; ++i) {
        const auto [outcome, found] = recognised();
        ASSERT_EQ(outcome, Outcome::Found);
        EXPECT_EQ(QStringList({found.title, found.artist, found.album, found.year, found.genre}).join('|'),
                  "Title|Artist|Album|2001|rock");
        EXPECT_EQ(found.releaseID + found.releaseGroupID, song.releaseID() + song.releaseGroupID());
    }
    EXPECT_EQ(asked(), (QStringList{"v2/lookup", "ws/2/recording"}));
}

TEST_F(OnlineSources, BearWithLengthsThatAreOffAndGuessNothing) {
    for (const auto &[seconds, outcome, requests] : {std::tuple<double, Outcome, qsizetype>{206.4, Outcome::Found, 2},
                                                     {185, Outcome::Found, 2 + 3 - 1}, // the names are known by then
                                                     {231, Outcome::NotFound, 4 + 2},
                                                     {231, Outcome::NotFound, 6 + 2}}) { // asked for once more
        EXPECT_EQ(recognised(seconds).outcome, outcome) << seconds;
        EXPECT_EQ(asked().size(), requests) << seconds;
    }
}

TEST_F(OnlineSources, AskNobodyWithoutConsentKeyOrSound) {
    for (const auto &[isOnline, key] : {std::pair{false, RecognitionServer::kKey}, std::pair{true, ""}}) {
        setRecognition(server.address(), isOnline, key);
        EXPECT_FALSE(source.isUsable());
        EXPECT_EQ(recognised().outcome, Outcome::Failed);
    }
    setRecognition(server.address());
    EXPECT_TRUE(source.isUsable());
    EXPECT_EQ(source.recognise({.songID = 1, .songPath = inHome("gone.mp3"), .milliseconds = 200'000}, {}).outcome,
              Outcome::Failed);
    EXPECT_EQ(asked(), QStringList());
}

TEST_F(OnlineSources, TellOfAWrongKeyOnceAndAskNoMore) {
    setRecognition(server.address(), /*isOnline=*/true, "another");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(recognised().outcome, Outcome::Failed);
    EXPECT_EQ(asked().size(), 1);
    EXPECT_EQ(log.filter("key").size(), 1);
    EXPECT_FALSE(source.isUsable());
    setRecognition(server.address());
    EXPECT_EQ(recognised().outcome, Outcome::Found);
}

TEST_F(OnlineSources, FailWhereAServiceFailsAndCanBeAskedAgain) {
    for (const auto &[name, where, answer] : {
             std::tuple<const char *, const char *, Answer>{"HTML", "/v2", {200, "<html>"}},
             {"refused", "/v2", {429, R"({"status":"error","error":{"code":14}})"}},
             {"cut", "/ws", {200, "{\"id\":1}", {}, Answer::Trouble::Cut}},
             {"busy", "/ws", {503, "<html>busy"}},
             {"other server", "/ws", {404, "<html>"}},
             {"numbers for texts", "/ws", {200, R"({"id":1,"title":2})"}},
         }) {
        SCOPED_TRACE(name);
        RecognitionServer own;
        own.setSongs({song});
        own.setAnswers(where, {answer});
        setRecognition(own.address());
        EXPECT_EQ(recognised().outcome, Outcome::Failed);
        own.setAnswers(where, {});
        EXPECT_EQ(recognised().outcome, Outcome::Found);
    }
    setRecognition("http://127.0.0.1:1");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(recognised().outcome, Outcome::Failed);
    EXPECT_EQ(log.filter("Connection refused").size(), 1);
}

TEST_F(OnlineSources, KeepTheTitleOfARecordingThatWasMerged) {
    server.setAnswers("/ws", {{404, R"({"error":"Not Found"})"}});
    const auto [outcome, found] = recognised();
    EXPECT_EQ(outcome, Outcome::Found);
    EXPECT_EQ(found.title + found.artist, "TitleArtist");
    EXPECT_TRUE(found.album.isNull());
}

} // namespace
