#include "identify/local/HeardName.h"

#include <gtest/gtest.h>

TEST(HeardName, IsASongsOrNone) {
    struct Case {
        const char *name;
        PlayedTitle played;
        const char *heard; // artist|title|album
        bool isArtistOfStation = false;
    };
    for (const Case &row : {
             Case{"as a player of files tells it",
                  {.title = "Tide", .artist = "The Shore", .album = "Sea"},
                  "The Shore|Tide|Sea"},
             Case{"a radio's title", {.title = "The Shore - Tide"}, "The Shore|Tide|"},
             Case{"with a longer dash", {.title = "The Shore \u2013 Tide"}, "The Shore|Tide|"},
             Case{"the first dash counts", {.title = "The Shore - Tide - Live"}, "The Shore|Tide - Live|"},
             Case{"a dash without blanks", {.title = "Jay-Z", .artist = "A-ha"}, "A-ha|Jay-Z|"},
             Case{"the artist is the station",
                  {.title = "The Shore - Tide", .artist = "Radio Wave", .album = "Radio Wave"},
                  "The Shore|Tide|"},
             Case{"the artist is known to be the station",
                  {.title = "The Shore - Tide", .artist = "Wave"},
                  "The Shore|Tide|",
                  true},
             Case{"the artist is the album",
                  {.title = "The Shore - Tide", .artist = "Wave", .album = "Wave"},
                  "The Shore|Tide|"},
             Case{"a real artist whose titles have dashes",
                  {.title = "Tide - Remastered", .artist = "The Shore", .album = "The Shore", .milliseconds = 200'000},
                  "The Shore|Tide - Remastered|The Shore"},
             Case{"a version",
                  {.title = "Tide - Live at Home", .artist = "The Shore"},
                  "The Shore|Tide - Live at Home|"},
             Case{"an artist, or a station that has not shown",
                  {.title = "The Shore - Tide", .artist = "Wave"},
                  nullptr},
             Case{"the artist twice", {.title = "The Shore - Tide", .artist = "the shore"}, "the shore|Tide|"},
             Case{"no artist", {.title = "Tide"}, nullptr},
             Case{"a station's word", {.title = "Music for you", .artist = "Wave FM"}, nullptr},
             Case{"a frequency", {.title = "Music for you", .artist = "Wave 99,5"}, nullptr},
             Case{"its address", {.title = "www.wave.example - Tide", .artist = "A"}, nullptr},
             Case{"no artist but a word for it", {.title = "Tide", .artist = "Unknown Artist"}, nullptr},
             Case{"an advert, by its title", {.title = "Advertisement", .artist = "Spotify"}, nullptr},
             Case{"an advert behind a dash", {.title = "Werbung - Tide"}, nullptr},
             Case{"an advert, by the player's word",
                  {.title = "Tide", .artist = "The Shore", .isAdvert = true},
                  nullptr},
             Case{"a file", {.title = "track01.MP3", .artist = "The Shore"}, nullptr},
             Case{"signs", {.title = "***", .artist = "The Shore"}, nullptr},
             Case{"one text twice", {.title = "Wave", .artist = "Wave"}, nullptr},
             Case{"nothing", {}, nullptr},
             Case{"what names elsewhere could do",
                  {.title = "../../etc/passwd", .artist = "<b>.x</b>"},
                  "<b>.x</b>|../../etc/passwd|"},
         }) {
        SCOPED_TRACE(row.name);
        const auto heard = heardName(row.played, row.isArtistOfStation);
        ASSERT_EQ(heard.has_value(), row.heard != nullptr);
        if (!heard)
            continue;
        EXPECT_EQ(QStringList({heard->artist, heard->title, heard->album}).join('|'), QString::fromUtf8(row.heard));
    }
}
