#include "identify/online/AcoustID.h"

#include <QByteArrayList>
#include <gtest/gtest.h>

namespace {

using Outcome = AcoustIDAnswer::Outcome;

// A recording 1 or 2, with more behind its identifier.
QByteArray recording(char number, const QByteArray &more) {
    return QByteArray(R"({"id":"00000000-0000-0000-0000-00000000000)") + number + '"' + more + '}';
}

QByteArray result(const char *score, const QByteArrayList &recordings) {
    return QByteArray(R"({"score":)") + score + R"(,"recordings":[)" + recordings.join(',') + "]}";
}

const QByteArray kA = recording('1', R"(,"title":"A")"), kB = recording('2', R"(,"title":"B")");

struct LookupCase {
    const char *name;
    QByteArrayList results;
    Outcome outcome;
    char recording = 0; // the number of the one found
};

TEST(AcoustID, TakesOnlyWhatIsSure) {
    using enum AcoustIDAnswer::Outcome;
    for (const auto &[name, results, outcome, number] : {
             LookupCase{"nothing", {}, NoMatch},
             LookupCase{"one", {result("0.98", {kA})}, Found, '1'},
             LookupCase{"what nobody has named", {R"({"score":0.98,"id":"x"})"}, NoMatch},
             LookupCase{"not sure", {result("0.49", {kA})}, Ambiguous},
             LookupCase{"just sure, told as a text", {result("\"0.5\"", {kA})}, Found, '1'},
             LookupCase{"two titles, near each other", {result("0.95", {kA}), result("0.86", {kB})}, Ambiguous},
             LookupCase{"two titles, far from each other, in the wrong order",
                        {result("0.85", {kA}), result("0.95", {kB})},
                        Found,
                        '2'},
             LookupCase{"two titles of one sound", {result("1", {kA, kB})}, Ambiguous},
             LookupCase{"one title, twice: the one that is as long",
                        {result("1", {recording('1', R"(,"title":"Été","duration":300)"),
                                      recording('2', R"(,"title":"ETE!","duration":205)")})},
                        Found,
                        '2'},
             LookupCase{"one title, twice: the one that was sent in more often",
                        {result("1", {recording('1', R"(,"title":"A","sources":2)"),
                                      recording('2', R"(,"title":"A","sources":"9")")})},
                        Found,
                        '2'},
             LookupCase{"only a number", {result("1", {recording('1', R"(,"title":null)")})}, Found, '1'},
             LookupCase{"two numbers", {result("1", {recording('1', {}), recording('2', {})})}, Ambiguous},
             LookupCase{"no title beside one that has one", {result("1", {recording('1', {}), kB})}, Found, '2'},
             LookupCase{
                 "what is no identifier", {result("1", {R"({"id":"../../x","title":"A"})", "null", "3"})}, NoMatch},
             LookupCase{"what is no result", {"null", "7", "[]"}, NoMatch},
         }) {
        const AcoustIDAnswer answer =
            acoustIDAnswer(R"({"status":"ok","results":[)" + results.join(',') + "]}", /*seconds=*/200);
        EXPECT_EQ(answer.outcome, outcome) << name;
        EXPECT_EQ(answer.recording.identifier.right(1), number ? QString(QChar::fromLatin1(number)) : QString())
            << name;
    }
}

TEST(AcoustID, TellsErrorsApart) {
    const auto outcome = [](const QByteArray &body) { return acoustIDAnswer(body, /*seconds=*/200).outcome; };
    EXPECT_EQ(outcome(R"({"error":{"code":4,"message":"invalid API key"},"status":"error"})"), Outcome::WrongKey);
    EXPECT_EQ(outcome(R"({"error":{"code":"14"},"status":"error"})"), Outcome::Failed);
    EXPECT_EQ(outcome(R"({"status":"ok","results":null})"), Outcome::NoMatch);
    const QByteArray nested = R"({"status":"ok","results":)" + QByteArray(100'000, '[');
    for (const QByteArray &body : {QByteArray(), QByteArray("<html>"), QByteArray("[]"), QByteArray("{"),
                                   QByteArray("null"), nested, nested + QByteArray(100'000, ']') + '}'})
        EXPECT_EQ(outcome(body), Outcome::Failed) << body.left(20).toStdString();
}

TEST(AcoustID, IsAskedWithoutMistakes) {
    EXPECT_TRUE(acoustIDForm("k&y", "AQ_-", 200.6, 30).endsWith("&maxdurationdiff=30"));
    const QByteArrayList parts = acoustIDForm("k&y", "AQ_-", 200.6).split('&');
    EXPECT_TRUE(parts.contains("client=k%26y"));
    EXPECT_TRUE(parts.contains("duration=201"));
    EXPECT_EQ(parts.last(), "fingerprint=AQ_-");
}

} // namespace
