#include "identify/local/HeardTitles.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

constexpr uint64_t kEvening = 1'000'000'000'000; // some host time
uint64_t at(double seconds) { return kEvening + static_cast<uint64_t>(seconds * 1e9); }

/// Hears an evening; what is known of each recording, in the order in which they were made.
struct Evening final : HeardTitlesDelegate {
    void trackWasHeard(int32_t songID, const std::optional<Recognition> &name) override {
        EXPECT_EQ(names[songID - 1], "waits") << "told twice";
        names[songID - 1] = name ? name->artist + ": " + name->title : QString();
    }
    HeardTitles heard{*this};
    QStringList names;
};

/// An evening's news in the order in which they come, times in seconds.
using News = std::function<void(Evening &)>;

News says(double time, const QString &title, const QString &artist = "The Shore", int seconds = 0) {
    return [=](Evening &evening) {
        evening.heard.titleDidChange(PlayedTitle{title, artist, {}, seconds * 1000}, at(time));
    };
}
News radioSays(double time, const char *title) { return says(time, title, /*artist=*/{}); }
News saysNothing(double time) {
    return [=](Evening &evening) { evening.heard.titleDidChange(std::nullopt, at(time)); };
}
News recorded(double from, double to) {
    return [=](Evening &evening) {
        evening.names << "waits";
        evening.heard.fileWasRecorded(static_cast<int32_t>(evening.names.size()), at(from), at(to));
    };
}
News stops(double time) {
    return [=](Evening &evening) { evening.heard.watchDidEnd(at(time)); };
}

QStringList namesOf(const QList<News> &news) {
    Evening evening;
    evening.heard.watchDidBegin(at(0));
    for (const News &one : news)
        one(evening);
    return evening.names;
}

} // namespace

TEST(HeardTitles, NamesWhatASongsTitleCovers) {
    const QString noName = "";
    using Case = std::tuple<const char *, QList<News>, QStringList>;
    for (const auto &[name, evening, names] : {
             Case{"with the lengths that the player knows, at once",
                  {says(1, "Tide", "The Shore", 200), recorded(3, 202.5)},
                  {"The Shore: Tide"}},
             Case{"a length that is not the recording's says nothing by itself",
                  {says(5, "Tide", "The Shore", 200), recorded(5, 60)},
                  {"waits"}},
             Case{"a song begun late, of which the player knows the length",
                  {says(1, "Tide", "The Shore", 200), recorded(3, 90), stops(91)},
                  {"The Shore: Tide"}},
             Case{"a radio, each title eight seconds late",
                  {radioSays(12, "A - One"), recorded(5, 200), radioSays(208, "B - Two"), recorded(200.5, 400),
                   radioSays(408, "C - Three"), stops(409)},
                  {"A: One", "B: Two"}},
             Case{"titles that come early, and a short song",
                  {radioSays(3, "A - One"), radioSays(12.5, "B - Two"), recorded(5, 17), recorded(17.5, 40),
                   saysNothing(38)},
                  {noName, "B: Two"}},
             Case{"a station that stands all evening",
                  {radioSays(10, "Wave - The Sound of the Sea"), recorded(11, 200), recorded(200.5, 400),
                   recorded(401, 600), stops(601)},
                  {noName, noName, noName}},
             Case{"a station that stands through one song and the most of the next",
                  {radioSays(10, "Wave - The Sound of the Sea"), recorded(11, 200), radioSays(370, "A - One"),
                   recorded(201, 400), stops(401)},
                  {noName, noName}},
             Case{"a title that stood there before, and still does at the end",
                  {radioSays(0.1, "Wave - The Sound of the Sea"), recorded(5, 200), stops(201)},
                  {noName}},
             Case{"the first song of an evening, whose end is seen",
                  {radioSays(0.1, "A - One"), recorded(5, 200), radioSays(203, "B - Two")},
                  {"A: One"}},
             Case{"the last song of an evening", {radioSays(4, "A - One"), recorded(5, 200), stops(201)}, {"A: One"}},
             Case{"much longer than a song", {says(4, "Set", "DJ"), recorded(5, 1300), says(1301, "Other")}, {noName}},
             Case{"the same song again and again",
                  {says(1, "Tide", "The Shore", 100), recorded(2, 101), recorded(103, 202), recorded(204, 303)},
                  {"The Shore: Tide", "The Shore: Tide", "The Shore: Tide"}},
             Case{"two titles in one recording",
                  {says(1, "Tide"), says(70, "Ebb"), recorded(2, 140), says(141, "Flood")},
                  {noName}},
             Case{"a title with an advert in between",
                  {says(1, "Tide"), saysNothing(50), says(55, "Tide"), recorded(2, 140), says(141, "Flood")},
                  {"The Shore: Tide"}},
             Case{"a song's title still stands over the jingle behind it",
                  {radioSays(1, "A - One"), recorded(2, 200), recorded(201, 209), radioSays(212, "B - Two"),
                   recorded(210, 400), stops(401)},
                  {"A: One", noName, "B: Two"}},
             Case{"nobody says anything", {recorded(2, 200)}, {noName}},
             Case{"a recording without any length", {says(1, "Tide"), recorded(20, 20)}, {noName}},
             Case{"a radio that gives its own name as the artist",
                  {says(1, "A - One", "Wave"), recorded(2, 200), says(200, "B - Two", "Wave"), recorded(201, 400),
                   says(400, "C - Three", "Wave"), recorded(401, 600), stops(601)},
                  {noName, "B: Two", "C: Three"}},
         })
        EXPECT_EQ(namesOf(evening), names) << name;
}

TEST(HeardTitles, OfANightThatFloodsSoMuchIsKeptAndEverythingTold) {
    QList<News> night;
    for (int i = 0; i < 100'000; ++i)
        night << says(i * 0.1, QString::number(i));
    for (int i = 0; i < 200; ++i)
        night << says(20'000, "Stands") << recorded(20'001 + i * 100, 20'090 + i * 100);
    EXPECT_EQ(namesOf(night << stops(50'000)), QStringList(200, QString("")));
}
