#include "identify/online/MusicBrainz.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kID = R"("id":"00000000-0000-0000-0000-000000000001")";

struct MadeRelease {
    QByteArray title, date;
    const char *type = "\"Album\"";
    const char *others = "[]";
    const char *status = "\"Official\"";
    int milliseconds = 200'000;

    QByteArray json() const {
        return '{' + kID + R"(,"title":")" + title + R"(","date":)" + date + R"(,"status":)" + status +
               R"(,"release-group":{)" + kID + R"(,"primary-type":)" + type + R"(,"secondary-types":)" + others +
               R"(},"media":[{"tracks":[{"length":)" + QByteArray::number(milliseconds) + "}]}]}";
    }
};

struct ReleaseCase {
    const char *name;
    QList<MadeRelease> releases;
    const char *album;
    const char *year;
};

TEST(MusicBrainz, ChoosesTheReleaseThatPeopleMean) {
    const MadeRelease best{"Best", "\"1999\"", "\"Album\"", "[\"Compilation\"]"};
    const MadeRelease single{"Single", "\"2000\"", "\"Single\""};
    for (const auto &[name, releases, album, year] : {
             ReleaseCase{"none", {}, nullptr, nullptr},
             ReleaseCase{"an album before a single before a compilation, whatever their years",
                         {best, single, {"Album", "\"2001\""}},
                         "Album",
                         "2001"},
             ReleaseCase{"a single before a compilation", {best, single}, "Single", "2000"},
             ReleaseCase{"official ones before others",
                         {{"Bootleg", "\"1990\"", "\"Album\"", "[]", "\"Bootleg\""},
                          {"Odd", "\"1991\"", "\"Album\"", "[]", "null"},
                          best},
                         "Best",
                         "1999"},
             ReleaseCase{
                 "the earliest, a whole date before a part of one",
                 {{"Again", "\"2001-07-05\""}, {"Year", "\"2001\""}, {"First", "\"2001-07-04\""}, {"Undated", "null"}},
                 "First",
                 "2001"},
             ReleaseCase{"no date", {{"Undated", "\"\""}}, "Undated", nullptr},
             ReleaseCase{"what is no date", {{"Undated", "\"soon\""}}, "Undated", nullptr},
             ReleaseCase{"part of a date", {{"Album", "\"2001-?\?-04\""}}, "Album", "2001"},
             ReleaseCase{"not where it is much longer",
                         {{"Long", "\"1999\"", "\"Album\"", "[]", "\"Official\"", 207'500},
                          {"Short", "\"2001\"", "\"Album\"", "[]", "\"Official\"", 207'000}},
                         "Short",
                         "2001"},
             ReleaseCase{"unless it is everywhere",
                         {{"Long", "\"1999\"", "\"Album\"", "[]", "\"Official\"", 290'000}},
                         "Long",
                         "1999"},
         }) {
        SCOPED_TRACE(name);
        QByteArray told = R"(null,{},7,{"title":null})";
        for (const MadeRelease &release : releases)
            told += ',' + release.json();
        const auto found = recognitionOf('{' + kID + R"(,"title":"T","releases":[)" + told + "]}", /*seconds=*/200);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->album, QString::fromUtf8(album));
        EXPECT_EQ(found->year, QString::fromUtf8(year));
        EXPECT_EQ(found->year.isNull(), year == nullptr);
        EXPECT_EQ(found->releaseID.isNull(), album == nullptr);
    }
}

TEST(MusicBrainz, ReadsNamesAsTheyStand) {
    const auto found = recognitionOf('{' + kID + R"(,"title":" Ti\u0000t\u001ble ","artist-credit":[
        {"name":"One","joinphrase":" feat. "},{"name":null,"artist":{"name":"Two"}}],"genres":[null,
        {"name":"pop","count":"4"},{"name":"rock","count":7},{"name":"","count":9}]})",
                                     /*seconds=*/200);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->title, "Title");
    EXPECT_EQ(found->artist, "One feat. Two");
    EXPECT_EQ(found->genre, "rock");
    for (const char *body : {"<html>", R"({"error":"Not Found"})", "{}", R"({"id":7,"title":"T"})"})
        EXPECT_FALSE(recognitionOf(body, /*seconds=*/200)) << body;
}

TEST(MusicBrainz, SearchesForTextsAndNotForTheirMeaning) {
    EXPECT_EQ(releaseSearchPath(R"(a"\)", "b OR c&x=1"),
              "/ws/2/release?query=artist%3A%22a%5C%22%5C%5C%22%20AND%20release%3A%22b%20OR%20c%26x%3D1%22"
              "&fmt=json&limit=5");
    const auto entry = [](const char *title, const char *artist) {
        return '{' + kID + R"(,"title":")" + title + R"(","artist-credit":[{"name":")" + artist + R"("}]})";
    };
    const QByteArray body = R"({"releases":[)" + entry("Other", "Artist") + ',' + entry("Album", "Other") + ',' +
                            entry("ALBUM!", "artist") + ",null]}";
    EXPECT_EQ(releasesFound(body, "Artist", "Album").size(), 1);
    EXPECT_TRUE(releasesFound("<html>", "Artist", "Album").isEmpty());
}

} // namespace
