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
             Case{"as a player of files tells it", {"Tide", "The Shore", "Sea"}, "The Shore|Tide|Sea"},
             Case{"a radio's title", {"The Shore - Tide"}, "The Shore|Tide|"},
             Case{"with a longer dash", {"The Shore \u2013 Tide"}, "The Shore|Tide|"},
             Case{"the first dash counts", {"The Shore - Tide - Live"}, "The Shore|Tide - Live|"},
             Case{"a dash without blanks", {"Jay-Z", "A-ha"}, "A-ha|Jay-Z|"},
             Case{"the artist is the station", {"The Shore - Tide", "Radio Wave", "Radio Wave"}, "The Shore|Tide|"},
             Case{"the artist is known to be the station", {"The Shore - Tide", "Wave"}, "The Shore|Tide|", true},
             Case{"the artist is the album", {"The Shore - Tide", "Wave", "Wave"}, "The Shore|Tide|"},
             Case{"a real artist whose titles have dashes",
                  {"Tide - Remastered", "The Shore", "The Shore", 200'000},
                  "The Shore|Tide - Remastered|The Shore"},
             Case{"a version", {"Tide - Live at Home", "The Shore"}, "The Shore|Tide - Live at Home|"},
             Case{"an artist, or a station that has not shown", {"The Shore - Tide", "Wave"}, nullptr},
             Case{"the artist twice", {"The Shore - Tide", "the shore"}, "the shore|Tide|"},
             Case{"no artist", {"Tide"}, nullptr},
             Case{"a station's word", {"Music for you", "Wave FM"}, nullptr},
             Case{"a frequency", {"Music for you", "Wave 99,5"}, nullptr},
             Case{"its address", {"www.wave.example - Tide", "A"}, nullptr},
             Case{"no artist but a word for it", {"Tide", "Unknown Artist"}, nullptr},
             Case{"an advert, by its title", {"Advertisement", "Spotify"}, nullptr},
             Case{"an advert behind a dash", {"Werbung - Tide"}, nullptr},
             Case{"an advert, by the player's word", {"Tide", "The Shore", {}, 0, {}, true}, nullptr},
             Case{"a file", {"track01.MP3", "The Shore"}, nullptr},
             Case{"signs", {"***", "The Shore"}, nullptr},
             Case{"one text twice", {"Wave", "Wave"}, nullptr},
             Case{"nothing", {}, nullptr},
             Case{"what names elsewhere could do", {"../../etc/passwd", "<b>.x</b>"}, "<b>.x</b>|../../etc/passwd|"},
         }) {
        const auto heard = heardName(row.played, row.isArtistOfStation);
        const QStringList texts = heard ? QStringList{heard->artist, heard->title, heard->album} : QStringList();
        EXPECT_EQ(texts.join('|'), QString::fromUtf8(row.heard)) << row.name;
    }
}
