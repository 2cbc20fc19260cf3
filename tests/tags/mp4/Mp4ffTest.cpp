#include "tags/mp4/mp4ff.h"

#include "support/MemoryFile.h"
#include "support/Mp4Bytes.h"

#include <gtest/gtest.h>

namespace {
using Items = std::vector<std::pair<std::string, std::string>>;
using namespace std::string_literals;

const mp4ff_tag_list kMarks = {{"gnid", "id"}, {"gnxd", "data"}};

std::string moovWithItems(const std::string &items) {
    return atomBytes("moov", atomBytes("udta", atomBytes("meta", int32Bytes(0) + atomBytes("hdlr", "1234567890") +
                                                                     atomBytes("ilst", items))));
}

mp4ff_file opened(MemoryFile &memory, mp4ff_access_record &access) {
    access = memory.access();
    return mp4ff_open_read_metaonly(&access);
}

/// Whether the marks were written.
bool update(MemoryFile &memory) {
    mp4ff_access_record access = memory.access();
    return mp4ff_meta_update(&access, kMarks) == 1;
}

Items itemsOf(const std::string &bytes) {
    MemoryFile memory{bytes};
    mp4ff_access_record access;
    const mp4ff_file file = opened(memory, access);
    Items items;
    std::optional<std::string> name, value;
    for (uint32_t i = 0; mp4ff_meta_get_by_index(*file, i, name, value); ++i)
        items.emplace_back(*name, *value);
    EXPECT_EQ(mp4ff_meta_get_num_items(*file), static_cast<int32_t>(items.size()));
    EXPECT_FALSE(name || value);
    return items;
}

TEST(Mp4Items, AreListedUnderTheirNames) {
    const std::tuple<const char *, std::string, Items> cases[] = {
        {"a text", textItem("\251nam", "Song"), {{"title", "Song"}}},
        {"a leaf type", textItem("aART", "Band"), {{"album_artist", "Band"}}},
        {"a type of no name", textItem("abcd", "x"), {{"unknown", "x"}}},
        {"a name of its own", ownItem("gnid", "27F4"), {{"gnid", "27F4"}}},
        {"an empty name of its own", ownItem("", "27F4"), {}},
        {"track without a total", textItem("trkn", "\0\0\0\3\0\0\0\0"s, 0), {{"track", "3"}}},
        {"disc and total", textItem("disk", "\0\0\0\2\0\4"s, 0), {{"disc", "2"}, {"totaldiscs", "4"}}},
        {"a track too short for numbers", textItem("trkn", "\0\0\0\3"s), {{"track", ""}}},
        {"a genre's number", textItem("gnre", "\0\x12"s, 0), {{"genre", "Rock"}}},
        {"a number that is no genre", textItem("gnre", "\0\xff"s, 0), {}},
        {"tempo", textItem("tmpo", "\0\x78"s, 0), {{"tempo", "00120 BPM"}}},
        {"bytes up to the first zero", textItem("covr", "\xff\xd8\0\1"s, 13), {{"cover", "\xff\xd8"}}},
        {"the last of two texts",
         atomBytes("\251nam", textItem("\251nam", "a").substr(8) + textItem("\251nam", "b").substr(8)),
         {{"title", "b"}}},
        {"the first of two numbers",
         atomBytes("tmpo", textItem("tmpo", "\0\1"s).substr(8) + textItem("tmpo", "\0\2"s).substr(8)),
         {{"tempo", "00001 BPM"}}},
        {"no data", atomBytes("\251nam", atomBytes("free")), {}},
        {"twice the same", textItem("\251cmt", "a") + textItem("\251cmt", "b"), {{"comment", "a"}, {"comment", "b"}}},
        {"a text that claims more than its item",
         int32Bytes(24 + 4) + "\251nam" + int32Bytes(0xfffffff0) + "data" + int32Bytes(1) + int32Bytes(0) + "Song",
         {{"title", "Song"}}},
    };
    for (const auto &[name, item, items] : cases)
        EXPECT_EQ(itemsOf(moovWithItems(item)), items) << name;
    // A child no larger than its header and 4 bytes ends the look into `meta`.
    EXPECT_EQ(itemsOf(atomBytes("moov",
                                atomBytes("udta", atomBytes("meta", int32Bytes(0) + atomBytes("free") +
                                                                        atomBytes("ilst", textItem("\251nam", "a")))))),
              Items());
}

TEST(Mp4Walk, TellsWhereMoovIsAndHowLargeTheFile) {
    const std::string ftyp = atomBytes("ftyp", "M4A "), moov = moovWithItems({});
    const std::tuple<const char *, std::string, uint64_t, uint64_t, uint64_t, uint64_t> cases[] = {
        {"moov last", ftyp + atomBytes("mdat", "sound") + moov, true, 25, 25 + moov.size(), 1},
        {"64-bit mdat", ftyp + longAtomBytes("mdat", "sound") + moov, true, 33, 33 + moov.size(), 1},
        {"free behind moov", ftyp + moov + atomBytes("free"), true, 12, 20 + moov.size(), 255},
        {"an empty moov", ftyp + atomBytes("moov"), false, 0, 20, 1},
        {"size 0 ends it", ftyp + moov + int32Bytes(0) + "mdatsound", true, 12, 12 + moov.size(), 1},
        {"less than a header ends it", ftyp + moov + int32Bytes(7) + "mdatsound", true, 12, 12 + moov.size(), 1},
        {"nothing", {}, false, 0, 0, 0},
        {"half a header", ftyp.substr(0, 5), false, 0, 0, 0},
    };
    for (const auto &[name, bytes, isMoovRead, moovOffset, fileSize, lastAtom] : cases) {
        SCOPED_TRACE(name);
        MemoryFile memory{bytes};
        mp4ff_access_record access;
        const mp4ff_file file = opened(memory, access);
        EXPECT_EQ(file->moov_read, isMoovRead);
        EXPECT_EQ(file->moov_offset, moovOffset);
        EXPECT_EQ(file->file_size, fileSize);
        EXPECT_EQ(file->last_atom, lastAtom);
    }
}

TEST(Mp4Walk, EndsOnEveryLie) {
    std::string deep;
    for (int i = 0; i < 20'000; ++i)
        deep += int32Bytes(0x7fffffff) + (i % 2 ? "udta" : "moov");
    std::string emptyItems;
    for (int i = 0; i < 100'000; ++i)
        emptyItems += textItem("\251nam", "");
    std::string tracks;
    for (int i = 0; i < 3'000; ++i)
        tracks += atomBytes("trak");
    const std::string huge = int32Bytes(1) + "mdat" + int32Bytes(0xffffffff) + int32Bytes(0xffffffff);
    for (const std::string &bytes : {deep, moovWithItems(emptyItems), atomBytes("moov", tracks), huge, huge + huge,
                                     int32Bytes(0xffffffff) + "moov" + huge, atomBytes("moov", huge + deep)}) {
        MemoryFile memory{bytes};
        mp4ff_access_record access;
        const mp4ff_file file = opened(memory, access);
        EXPECT_LE(file->tags.size(), 16'384U);
        EXPECT_LE(memory.bytesRead, bytes.size() + 16);
        const std::string before = memory.bytes;
        const bool isChanged = update(memory);
        EXPECT_EQ(isChanged, memory.bytes != before);
        EXPECT_LT(memory.bytes.size(), before.size() * 2 + 1000);
    }
}

TEST(Mp4Writer, LeavesTheAudioWhereItIsAndReportsAWriteThatFailed) {
    const std::string ftyp = atomBytes("ftyp", "M4A "), mdat = atomBytes("mdat", "sound"),
                      trak = atomBytes("trak", "t");
    const std::string bare = atomBytes("moov", trak),
                      tagged = moovWithItems(textItem("\251nam", std::string(900, 'x')));
    const std::string noIlst =
        atomBytes("moov", atomBytes("udta", atomBytes("meta", int32Bytes(0) + atomBytes("hdlr", "12345"))));
    const std::string longMoov = longAtomBytes("moov", trak);
    // Name, file, and its layout then; null where nothing is changed.
    const std::tuple<const char *, std::string, const char *> cases[] = {
        {"no udta, moov first", ftyp + bare + mdat, "ftyp free mdat moov"},
        {"no udta, moov last", ftyp + mdat + bare, "ftyp mdat moov"},
        {"free and skip", ftyp + atomBytes("free", "1") + bare + atomBytes("skip") + mdat,
         "ftyp free free skip mdat moov"},
        {"an empty moov behind mdat", ftyp + bare + mdat + atomBytes("moov"), "ftyp free mdat moov moov"},
        {"ilst shrinks, moov first", ftyp + tagged + mdat, "ftyp free mdat moov"},
        {"ilst grows", ftyp + mdat + moovWithItems({}), "ftyp mdat moov"},
        {"64-bit mdat", ftyp + longAtomBytes("mdat", "sound") + bare, "ftyp mdat moov"},
        {"meta without ilst", ftyp + mdat + noIlst, nullptr},
        {"mdat to the end of the file", ftyp + bare + int32Bytes(0) + "mdatsound", nullptr},
        {"mdat cut short", ftyp + bare + mdat.substr(0, 10), nullptr},
        {"rubbish at the end", ftyp + mdat + bare + "xyz", nullptr},
        {"fragments", ftyp + bare + atomBytes("moof") + mdat, nullptr},
        {"64-bit moov", ftyp + mdat + longMoov, nullptr},
        {"no moov", ftyp + mdat, nullptr},
        {"a track behind a udta without meta", ftyp + mdat + atomBytes("moov", atomBytes("udta") + trak), nullptr},
        {"meta longer than udta", claimingMore(tagged, {"moov", "udta", "meta"}, 8) + mdat, nullptr},
        {"ilst longer than meta", claimingMore(tagged, {"moov", "udta", "meta", "ilst"}, 8) + mdat, nullptr},
        {"udta longer than moov", claimingMore(tagged, {"moov", "udta"}, 8) + mdat, nullptr},
    };
    for (const auto &[name, bytes, layout] : cases) {
        SCOPED_TRACE(name);
        MemoryFile memory{bytes}, full{.bytes = bytes, .isFull = true};
        EXPECT_FALSE(update(full));
        EXPECT_EQ(update(memory), layout != nullptr);
        if (!layout) {
            EXPECT_EQ(memory.bytes, bytes);
            continue;
        }
        EXPECT_EQ(layoutOf(memory.bytes), layout);
        EXPECT_EQ(itemsOf(memory.bytes), (Items{{"gnid", "id"}, {"gnxd", "data"}}));
        EXPECT_EQ(memory.bytes.find("sound"), bytes.find("sound"));
        // Items of the same names again: now there is an `ilst` of the same size.
        EXPECT_TRUE(update(memory));
        EXPECT_EQ(itemsOf(memory.bytes), (Items{{"gnid", "id"}, {"gnxd", "data"}}));
    }
}

TEST(Mp4Writer, AShorterMoovLeavesTheTailOfTheOld) {
    const std::string before = atomBytes("mdat", "sound") + moovWithItems(textItem("\251nam", std::string(900, 'x')));
    MemoryFile memory{before};
    ASSERT_TRUE(update(memory));
    const size_t end = 13 + findAtomIn(memory.bytes, {"moov"}).size;
    ASSERT_LT(end, before.size());
    EXPECT_EQ(memory.bytes.size(), before.size());
    EXPECT_EQ(memory.bytes.substr(end), before.substr(end));
}

// The layout is odd and kept: the old `udta` nests in a new one whose size falls 8 short, and what stood behind it in
// `moov` is gone.
TEST(Mp4Writer, NestsAUdtaWithoutMeta) {
    const std::string udta = atomBytes("udta", atomBytes("name", "abc")), trak = atomBytes("trak", "t");
    MemoryFile memory{atomBytes("moov", trak + udta + atomBytes("iods"))};
    ASSERT_TRUE(update(memory));
    const std::string meta =
        atomBytes("meta", int32Bytes(0) + atomBytes("ilst", ownItem("gnid", "id") + ownItem("gnxd", "data")));
    const std::string expected =
        atomBytes("moov", trak + int32Bytes(static_cast<uint32_t>(udta.size() + meta.size())) + "udta" + udta + meta);
    EXPECT_EQ(memory.bytes.substr(0, expected.size()), expected);
}

TEST(Mp4Writer, GivesEachItemItsForm) {
    const std::tuple<const char *, mp4ff_tag_list, std::string> cases[] = {
        {"a listed genre", {{"Genre", "bLUES"}}, textItem("gnre", "\0\1"s, 0)},
        {"the last genre", {{"genre", "SynthPop"}}, textItem("gnre", "\0\x94"s, 0)},
        {"another genre", {{"genre", "Blues and more"}}, textItem("\251gen", "Blues and more")},
        {"an empty genre", {{"genre", ""}}, textItem("\251gen", "")},
        {"track and total", {{"totaltracks", "12"}, {"TRACK", "3 of 12"}}, textItem("trkn", "\0\0\0\3\0\14\0\0"s, 0)},
        {"the first of two tracks", {{"track", "1"}, {"tracknumber", "2"}}, textItem("trkn", "\0\0\0\1\0\0\0\0"s, 0)},
        {"a total alone", {{"totaldiscs", "2"}}, {}},
        {"numbers come first",
         {{"title", "a"}, {"disc", "-1"}},
         textItem("disk", "\0\0\xff\xff\0\0\0\0"s, 0) + textItem("\251nam", "a")},
        {"a number out of range", {{"tempo", "99999999999999999999"}}, textItem("tmpo", "\xff\xff"s, 0)},
        {"no number", {{"tempo", "fast"}}, textItem("tmpo", "\0\0"s, 0)},
        {"a flag", {{"compilation", "1"}}, textItem("cpil", "1", 0x15)},
        {"a standard name in any case", {{"Album_Artist", "a"}}, textItem("aART", "a")},
        {"any other name", {{"gnid", "x"}}, ownItem("gnid", "x")},
        {"more than the buffer starts with", {{"x", std::string(5'000, 'y')}}, ownItem("x", std::string(5'000, 'y'))},
    };
    for (const auto &[name, list, ilst] : cases) {
        SCOPED_TRACE(name);
        membuffer_bytes bytes;
        uint32_t size = 0;
        ASSERT_EQ(create_ilst(list, bytes, size), 1U);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(bytes.get()), size), ilst);
    }
}

} // namespace
