#include "identify/online/MusicBrainz.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kID = R"("id":"00000000-0000-0000-0000-000000000001")";

struct MadeRelease {
    QByteArray title, date, type = "Album", others = {}, status = "Official";
    int milliseconds = 200'000;

    static QByteArray text(const QByteArray &value) { return value == "null" ? value : '"' + value + '"'; }
    QByteArray json() const {
        return '{' + kID + R"(,"title":)" + text(title) + R"(,"date":)" + text(date) + R"(,"status":)" + text(status) +
               R"(,"release-group":{)" + kID + R"(,"primary-type":)" + text(type) + R"(,"secondary-types":[)" + others +
               R"(]},"media":[{"tracks":[{"length":)" + QByteArray::number(milliseconds) + "}]}]}";
    }
};

// What it is, the releases, and the title and year of the one that is chosen.
using ReleaseCase = std::tuple<const char *, QList<MadeRelease>, const char *, const char *>;

TEST(MusicBrainz, ChoosesTheReleaseThatPeopleMean) {
    const MadeRelease best{"Best", "1999", "Album", "\"Compilation\""}, single{"Single", "2000", "Single"},
        album{"Album", "2001"}, bootleg{"Bootleg", "1990", "Album", {}, "Bootleg"},
        odd{"Odd", "1991", "Album", {}, "null"};
    const MadeRelease later{"Later", "2001-07-05"}, year{"Year", "2001"}, first{"First", "2001-07-04"},
        undated{"Undated", "null"};
    const auto lasting = [](const char *title, const char *date, int milliseconds) {
        return MadeRelease{title, date, "Album", {}, "Official", milliseconds};
    };
    for (const auto &[name, releases, title, date] : {
             ReleaseCase{"none", {}, nullptr, nullptr},
             ReleaseCase{"an album before a single before a compilation", {best, single, album}, "Album", "2001"},
             ReleaseCase{"a single before a compilation", {best, single}, "Single", "2000"},
             ReleaseCase{"official ones before others", {bootleg, odd, best}, "Best", "1999"},
             ReleaseCase{"the earliest, a whole date first", {later, year, first, undated}, "First", "2001"},
             ReleaseCase{"no date", {{"Undated", ""}}, "Undated", nullptr},
             ReleaseCase{"what is no date", {{"Undated", "soon"}}, "Undated", nullptr},
             ReleaseCase{"part of a date", {{"Album", "2001-?\?-04"}}, "Album", "2001"},
             ReleaseCase{"not where it is much longer",
                         {lasting("Long", "1999", 207'500), lasting("Short", "2001", 207'000)},
                         "Short",
                         "2001"},
             ReleaseCase{"unless it is everywhere", {lasting("Long", "1999", 290'000)}, "Long", "1999"},
         }) {
        SCOPED_TRACE(name);
        QByteArray told = R"(null,{},7,{"title":null})";
        for (const MadeRelease &release : releases)
            told += ',' + release.json();
        const Recognition found =
            recognitionOf('{' + kID + R"(,"title":"T","releases":[)" + told + "]}", /*seconds=*/200).value();
        EXPECT_EQ(found.album, QString::fromUtf8(title));
        EXPECT_EQ(found.year, QString::fromUtf8(date));
        EXPECT_EQ(found.year.isNull(), date == nullptr);
        EXPECT_EQ(found.releaseID.isNull(), title == nullptr);
    }
}

TEST(MusicBrainz, ReadsNamesAsTheyStand) {
    const auto found = recognitionOf('{' + kID + R"(,"title":" Ti\u0000t\u001b\u202ele ","artist-credit":[
        {"name":"One","joinphrase":" feat. "},{"name":null,"artist":{"name":"Two"}}],"genres":[null,
        {"name":"pop","count":"4"},{"name":"rock","count":7},{"name":"","count":9},
        {"count":10,"name":")" + QByteArray(5001, 'n') +
                                         R"("}]})",
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
