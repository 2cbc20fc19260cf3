#include "identify/online/HttpClient.h"
#include "MadeClock.h"
#include "demo/RecognitionServer.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Answer = RecognitionServer::Answer;
using Trouble = Answer::Trouble;

struct HttpClients : testing::Test {
    HttpAnswer fetched(const QString &path, HttpRequest request = {}) {
        request.url = QUrl(server.address() + path);
        return client.fetch(request, {});
    }
    qsizetype asked() const { return server.requests().size(); }

    RecognitionServer server;
    MadeClock clock;
    HttpClient client{clock, {.time = 10s}};
};

struct TroubleCase {
    const char *name;
    QList<Answer> answers;
    int status;
    qsizetype requests;
    double seconds; // that politeness took
    QByteArray form = {};
};

TEST(HttpClient, TakesWholeAnswersAndBearsWithTrouble) {
    const Answer good{200, "{}"};
    const Answer refused{429, "{}"};
    const Answer away{302, {}, "Location: /a\r\n"};
    for (const auto &[name, answers, status, requests, seconds, form] : {
             TroubleCase{"an answer", {good}, 200, 1, 0},
             TroubleCase{"an error in words", {{404, "none"}}, 404, 1, 0},
             TroubleCase{"a broken service", {{500, "oh"}}, 500, 1, 0},
             TroubleCase{"refused twice", {refused, {503, "<html>"}, good}, 200, 3, 1 + 2},
             TroubleCase{"refused for ever", {refused}, 429, 4, 1 + 2 + 4},
             TroubleCase{"five hops", {away, away, away, away, away, good}, 200, 6, 5},
             TroubleCase{"a loop", {away}, 0, 6, 5},
             TroubleCase{"a hop out of the web", {{302, {}, "Location: file:///etc/passwd\r\n"}}, 0, 1, 0},
             TroubleCase{"a hop to nowhere", {{302, {}}, good}, 302, 1, 0},
             TroubleCase{"a form is not sent elsewhere", {away, good}, 302, 1, 0, "a=b"},
             TroubleCase{"a cut body", {{200, QByteArray(5000, ' '), {}, Trouble::Cut}}, 0, 1, 0},
             TroubleCase{"silence", {{200, {}, {}, Trouble::Silence}}, 0, 1, 0},
             TroubleCase{"too much", {{200, QByteArray(100'001, ' ')}}, 0, 1, 0},
             TroubleCase{"just enough", {{200, QByteArray(100'000, ' ')}}, 200, 1, 0},
         }) {
        SCOPED_TRACE(name);
        RecognitionServer server;
        MadeClock clock;
        HttpClient client(clock, {.time = QByteArray(name) == "silence" ? 2s : 30s});
        server.setAnswers("/a", answers);
        const HttpAnswer answer =
            client.fetch({.url = QUrl(server.address() + "/a"), .form = form, .sizeLimit = 100'000}, {});
        EXPECT_EQ(answer.status, status) << qPrintable(answer.error);
        EXPECT_EQ(server.requests().size(), requests);
        EXPECT_EQ(clock.seconds(), seconds);
    }
}

TEST_F(HttpClients, AskOnlyTheWebAndNobodyWithAFalseCertificate) {
    const RecognitionServer secure(/*isSecure=*/true);
    for (const QString &address : {secure.address() + "/a", QString("file:///etc/passwd"), QString("data:,a"),
                                   QString("http://"), QString(), QString("http://nobody.invalid/")}) {
        SCOPED_TRACE(address.toStdString());
        const HttpAnswer answer = client.fetch({.url = QUrl(address)}, {});
        EXPECT_EQ(answer.status, 0);
        EXPECT_FALSE(answer.error.isEmpty());
    }
    EXPECT_EQ(secure.requests(), QStringList());
}

TEST_F(HttpClients, AskNobodyTwiceForWhatIsKnown) {
    server.setAnswers("/a", {{200, R"({"a":1})"}});
    server.setAnswers("/html", {{200, "<html>"}});
    server.setAnswers("/cut", {{200, R"({"a":)"}});
    server.setAnswers("/none", {{404, "<html>"}});
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(fetched("/a").body, R"({"a":1})");
        EXPECT_EQ(fetched("/none").status, 404);
    }
    EXPECT_EQ(asked(), 2);
    EXPECT_LT(fetched("/a").body.capacity(), 1000) << "what is kept of each of a night's answers";
    for (const HttpRequest &request : {HttpRequest{.url = {}, .form = "a=1"}, HttpRequest{.url = {}, .form = "a=2"},
                                       HttpRequest{.url = {}, .isRemembered = false}})
        EXPECT_EQ(fetched("/a", request).status, 200);
    EXPECT_EQ(asked(), 5);
    for (const char *path : {"/html", "/html", "/cut", "/cut"})
        fetched(path);
    EXPECT_EQ(asked(), 9) << "which were no answers";
}

TEST_F(HttpClients, EndSoonAfterAStop) {
    server.setAnswers("/a", {{200, {}, {}, Trouble::Silence}});
    PaceClock realClock;
    std::atomic<bool> mayAsk = true;
    HttpClient real(realClock, {.mayAsk = [&] { return mayAsk.load(); }}); // with 30 seconds
    for (const char *path : {"/a", "/b"}) {                                // the second waits for its turn
        std::stop_source stop;
        QElapsedTimer sinceStop;
        std::jthread stopping([&] {
            while (server.requests().isEmpty())
                std::this_thread::yield();
            sinceStop.start();
            stop.request_stop();
        });
        EXPECT_EQ(real.fetch({.url = QUrl(server.address() + path)}, stop.get_token()).status, 0);
        stopping.join();
        EXPECT_LT(sinceStop.elapsed(), 5000);
    }
    EXPECT_EQ(asked(), 1);

    server.setAnswers("/c", {{503}});
    std::jthread revoking([&] {
        while (asked() < 2)
            std::this_thread::yield();
        mayAsk = false;
    });
    EXPECT_EQ(real.fetch({.url = QUrl(server.address() + "/c")}, {}).status, 0);
    EXPECT_EQ(asked(), 2) << "the second try is no longer allowed";
}

} // namespace
