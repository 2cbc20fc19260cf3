#include "tags/access/TagLibHelper.h"

#include "demo/DecodedAudio.h"
#include "support/KeptLog.h"
#include "support/MadePictures.h"
#include "support/Mp4Bytes.h"
#include "support/NoRoomOnDisk.h"
#include "tags/access/GracenoteHelper.h"
#include "tags/access/TagDictionary.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/uniquefileidentifierframe.h>
#include <unistd.h>

namespace {
using namespace std::string_literals;

const QString kMp3Texts =
    "-metadata title=Old -metadata artist=Band -metadata genre=Rock -metadata date=1999 -metadata album=Disc";

const std::initializer_list<std::string_view> kChunkTable = {"moov", "trak", "mdia", "minf", "stbl", "stco"};

std::string synchSafe(size_t value) {
    return {static_cast<char>(value >> 21 & 0x7f), static_cast<char>(value >> 14 & 0x7f),
            static_cast<char>(value >> 7 & 0x7f), static_cast<char>(value & 0x7f)};
}
std::string id3v2(const std::string &frames, char version = 3, char flags = 0) {
    return "ID3"s + version + '\0' + flags + synchSafe(frames.size()) + frames;
}
std::string frame(const std::string &id, const std::string &content, std::string_view flags = {"\0\0", 2}) {
    return id + int32Bytes(static_cast<uint32_t>(content.size())) + std::string(flags) + content;
}
std::string picturesFrame(const std::string &image) { return frame("APIC", "\0image/png\0\3\0"s + image); }

std::string zlibOf(const std::string &content) {
    return qCompress(QByteArray::fromStdString(content)).mid(4).toStdString(); // Qt puts the length in front
}

const QVariantMap kAllTags{{TagKey::kTitle, "Neu ✓"}, {TagKey::kArtist, ""},   {TagKey::kAlbum, "A"},
                           {TagKey::kGenre, "Own"},   {TagKey::kComment, "c"}, {TagKey::kYear, "2001x"}};

struct Tags : testing::Test {
    /// Tags are written, the sound stays, and others read the file.
    static void expectWritten(const QString &path, const QVariantMap &info) {
        const DecodedAudio before = decodeAudio(path);
        ASSERT_TRUE(TagLibHelper::setID3Info(path, info));
        const DecodedAudio after = decodeAudio(path);
        EXPECT_GT(before.frames(), 0U);
        EXPECT_TRUE(before.left == after.left && before.right == after.right);
        const QVariantMap read = TagLibHelper::ID3Info(path).value();
        for (const char *key : {TagKey::kTitle, "artist", "album", "genre", "comment"})
            EXPECT_EQ(read[key], info.value(key, read[key])) << key;
    }
    static QVariantMap info(const QString &path) { return TagLibHelper::ID3Info(path).value_or(QVariantMap()); }

    KeptLog log;
};

TEST_F(Tags, OfEveryKindOfMp3AreReadAndWritten) {
    const std::string bare = bytesOf(makeTone("bare.mp3", "-id3v2_version 0 -write_xing 0"));
    const std::string v1 = "TAG"s + std::string("Old").append(27, '\0') + std::string(94, '\0') + '\x11' + "";
    const std::string v3 = id3v2(frame("TIT2", "\0Old"s) + frame("UFID", "http://example.org\0id"s) +
                                 frame("TXXX", "\0other\0x"s, {"\x80\0", 2}) + frame("TXXX", "\0more\0y"s));
    const std::tuple<const char *, std::string, const char *> cases[] = {
        {"no tags", bare, ""},
        {"ID3v1", bare + v1, "Old"},
        {"ID3v2.2, padded: TagLib 2 overlooks a short last frame",
         id3v2("TT2\0\0\4\0Old"s + std::string(20, '\0'), 2) + bare, "Old"},
        {"ID3v2.3 with a foreign UFID and several TXXX", v3 + bare, "Old"},
        {"ID3v2.4", bytesOf(makeTone("v4.mp3", kMp3Texts + " -id3v2_version 4")), "Old"},
        {"an empty ID3v2 tag behind the first", v3 + id3v2(std::string(99, '\0')) + bare, "Old"},
        {"an empty frame and rubbish in the padding",
         id3v2(frame("TIT2", "\0Old"s) + frame("TXXX", "") + std::string(40, '\0') + "rubbish TOO") + bare, "Old"},
        {"an appended ID3v2 tag", bare + id3v2(frame("TIT2", "\0End"s), 4, 0x10) + "3DI\4\0\x10"s + synchSafe(14), ""},
        {"APE and ID3v1",
         bare +
             "APETAGEX\xd0\7\0\0\x30\0\0\0\1\0\0\0\0\0\0\xa0\0\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0Title\0Old"
             "APETAGEX\xd0\7\0\0\x31\0\0\0\1\0\0\0\0\0\0\x80\0\0\0\0\0\0\0\0"s +
             v1,
         "Old"},
        {"cut in the last frame", bare.substr(0, bare.size() - 100), ""},
        {"cut, with ID3v1", bare.substr(0, bare.size() - 300) + v1, "Old"},
        {"zeros before ID3v1", bare + std::string(500, '\0') + v1, "Old"},
        {"Lyrics3 before ID3v1", bare + "LYRICSBEGININD0000200LYR00003Abc000031LYRICS200" + v1, "Old"},
        {"rubbish before the sound", std::string(700, 'x') + bare, ""},
    };
    for (const auto &[name, bytes, title] : cases) {
        SCOPED_TRACE(name);
        const QString path = makeFile("a.mp3", bytes);
        EXPECT_EQ(info(path)[TagKey::kTitle], title);
        expectWritten(path, kAllTags);
        EXPECT_EQ(info(path)[TagKey::kYear], 2001);
        expectWritten(path, {{TagKey::kTitle, ""}}); // no other tag brings it back
        EXPECT_TRUE(ffprobeReads(path));
        TagLib::MPEG::File file(QFile::encodeName(path).constData());
        const auto &frames = file.ID3v2Tag()->frameListMap();
        const unsigned foreign = bytes.find("example.org") != bytes.npos;
        EXPECT_EQ(frames["UFID"].size(), 1 + foreign);
        EXPECT_EQ(frames["TXXX"].size(), 1 + 2 * foreign);
        // A torn frame would swallow an ID3v1 tag behind it.
        EXPECT_EQ(file.hasID3v1Tag(),
                  !QByteArray(name).contains("appended") && QByteArray(name) != "cut in the last frame");
    }
}

// TagLib reads these in part, and would write them anew from what it has read.
TEST_F(Tags, ThatWouldBeLostAreLeftAlone) {
    const std::string bare = bytesOf(makeTone("bare.mp3", "-id3v2_version 0"));
    const std::string title = frame("TIT2", "\0Old"s), cover = picturesFrame(encoded(pictureOf(Qt::red)));
    const std::string padding(200, '\0');
    const std::pair<const char *, std::string> cases[] = {
        {"an empty frame before others", id3v2(title + frame("TALB", "") + cover + padding)},
        {"a size that passes the tag's end", id3v2(title + "TALB\0\1\0\0\0\0\0Disc"s + cover + padding)},
        {"a frame behind padding", id3v2(title + padding + cover)},
        {"no name for a frame", id3v2(title + frame("cove", "x") + cover + padding)},
        {"UTF-16 without a mark", id3v2(frame("TIT2", "\1O\0l\0d\0"s))},
        {"a comment so", id3v2(frame("COMM", "\1eng\xff\xfe\0\0O\0l\0d\0"s))},
        {"a second tag", id3v2(title) + id3v2(cover)},
        {"a text about ID3 in front", "junk ID3 text " + id3v2(title)},
        {"a frame of a group", id3v2(frame("TIT2", "\x81\0Old"s, {"\0\x20", 2}))},
        {"an encrypted frame", id3v2(frame("TIT2", "\x81xyz", {"\0\4", 2}), 4)},
        {"an extended header", id3v2("\0\0\0\6\0\0\0\0\0\0"s + title + cover, 3, 0x40)},
    };
    for (const auto &[name, tag] : cases) {
        SCOPED_TRACE(name);
        const QString path = makeFile("a.mp3", tag + bare);
        EXPECT_TRUE(TagLibHelper::ID3Info(path));
        EXPECT_EQ(TagLibHelper::writeID3Info(path, QVariantMap{{TagKey::kArtist, "A"}}), TagWriteOutcome::Refused);
        EXPECT_FALSE(TagLibHelper::setMP3GracenoteInfo(path));
        EXPECT_EQ(bytesOf(path), tag + bare);
    }
}

TEST_F(Tags, MarksOfAnMp3AreTheGivenFrames) {
    const QString path = makeTone("a.mp3");
    ASSERT_TRUE(TagLibHelper::setMP3GracenoteInfo(path));
    const std::string once = bytesOf(path);
    ASSERT_TRUE(TagLibHelper::setMP3GracenoteInfo(path));
    EXPECT_EQ(bytesOf(path), once);
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    const auto &frames = file.ID3v2Tag()->frameListMap();
    EXPECT_EQ(frames["UFID"].front()->render(),
              TagLib::ByteVector(("UFID"s + synchSafe(70) + "\0\0http://www.cddb.com/id3/taginfo1.html\0"s +
                                  "27F4F0E7D40DCC877E46B6CF935B5ED4")
                                     .data(),
                                 80));
    const auto *data = TagLib::ID3v2::UserTextIdentificationFrame::find(file.ID3v2Tag(), "GN_ExtData");
    ASSERT_TRUE(data);
    EXPECT_EQ(data->textEncoding(), TagLib::String::Latin1);
    EXPECT_EQ(data->fieldList().back().size(), 152U);
}

TEST_F(Tags, OfEveryLayoutOfM4aAreWrittenAndTheSoundStays) {
    const std::string last = bytesOf(makeTone("last.m4a", kMp3Texts)),
                      bare = bytesOf(makeTone("bare.m4a", "-fflags +bitexact"));
    const std::string first = bytesOf(makeTone("first.m4a", kMp3Texts + " -movflags +faststart"));
    const std::string none = replaced(bare, {"moov", "udta"}, "");
    const AtomPlace mvhd = findAtomIn(none, {"moov", "mvhd"});
    const std::string named = atomBytes("udta", atomBytes("name", "x"));
    std::string longMdat = first;
    longMdat.replace(findAtomIn(first, {"free"}).offset, 16,
                     int32Bytes(1) + "mdat" + int32Bytes(0) +
                         int32Bytes(static_cast<uint32_t>(findAtomIn(first, {"mdat"}).size + 8)));
    const auto [co64At, co64Size] = findAtomIn(last, kChunkTable);
    std::string entries;
    for (size_t at = co64At + 16; at < co64At + co64Size; at += 4)
        entries += int32Bytes(0) + last.substr(at, 4);
    const std::string co64 = replaced(last, kChunkTable, atomBytes("co64", last.substr(co64At + 8, 8) + entries));
    const std::string tagged = replaced(bare, {"moov", "udta", "meta", "ilst"},
                                        atomBytes("ilst", textItem("\251nam", std::string(9'000, 'x'))));
    const QString chapters =
        makeFile("chapters", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=One\n");
    const std::pair<const char *, std::string> cases[] = {
        {"moov last", last},
        {"moov first", first},
        {"no udta", none},
        {"udta without meta", replaced(bare, {"moov", "udta"}, named)},
        {"udta without meta in front of trak",
         replaced(none, {"moov", "mvhd"}, bare.substr(mvhd.offset, mvhd.size) + named)},
        {"meta without ilst", replaced(bare, {"moov", "udta", "meta", "ilst"}, "")},
        {"free behind moov", insertedBehind(bare, "moov", atomBytes("free", std::string(500, 'f')))},
        {"free and skip at the front", insertedBehind(bare, "ftyp", atomBytes("free") + atomBytes("skip", "123"))},
        {"free within moov", insertedBehind(bare, {}, atomBytes("free", "abc"))},
        {"64-bit mdat", longMdat},
        {"64-bit offsets", co64},
        {"an ilst that shrinks, whose tail stays behind moov", tagged},
        {"chapters", bytesOf(makeTone("c.m4a", "-f ffmetadata -i " + chapters + " -map 0 -map_chapters 1"))},
        {"fragments, whose moov must stay in front",
         bytesOf(makeTone("f.m4a", "-movflags empty_moov+default_base_moof+frag_keyframe"))},
    };
    for (const auto &[name, bytes] : cases) {
        SCOPED_TRACE(name);
        const QString path = makeFile("odd.mp3", bytes); // the name does not count
        expectWritten(path, kAllTags);
        EXPECT_TRUE(GracenoteHelper::hasGracenoteInfo(path));
        EXPECT_EQ(contentOf(bytesOf(path), "mdat"), contentOf(bytes, "mdat"));
        EXPECT_TRUE(ffprobeReads(path, "Neu ✓"));
        expectWritten(path, {{TagKey::kTitle, QString(20'000, 'y')}});
        expectWritten(path, {{TagKey::kTitle, "short"}});
        EXPECT_EQ(info(path)[TagKey::kYear], 2001);
        const size_t size = bytesOf(path).size();
        expectWritten(path, {{TagKey::kTitle, "longer"}});
        EXPECT_EQ(bytesOf(path).size(), size); // there is room
        EXPECT_EQ(contentOf(bytesOf(path), "mdat"), contentOf(bytes, "mdat"));
    }
}

TEST_F(Tags, OfAnM4aThatAreNotGivenStayByteForByte) {
    const std::string items[] = {
        textItem("\251lyr", "la"),        textItem("covr", "no picture", 13),
        textItem("gnre", "\0\x12"s, 0),   textItem("trkn", "\0\0\0\3\0\14\0\0"s, 0),
        textItem("own ", "\1\2\3"s, 77),  ownItem("iTunSMPB", " 00000000 00000840 000001C0 00000000000A0000"),
        textItem("\251day", "1999-12-31")};
    std::string list = textItem("\251nam", "Old") + textItem("\251gen", "Old");
    for (const std::string &item : items)
        list += item;
    const std::string before =
        replaced(bytesOf(makeTone("a.m4a")), {"moov", "udta", "meta", "ilst"}, atomBytes("ilst", list));
    for (const bool isKeeping : {true, false}) {
        TagLibHelper::setKeepsOtherTags(isKeeping);
        const QString path = makeFile("b.m4a", before);
        expectWritten(path, {{TagKey::kTitle, "New"}, {TagKey::kYear, ""}});
        expectWritten(path, {{TagKey::kTitle, QString(3'000, 'n')}});
        for (const std::string &item : items)
            EXPECT_EQ(bytesOf(path).find(item) != std::string::npos, isKeeping) << item;
        expectWritten(path, {{TagKey::kGenre, "New"}});
        EXPECT_EQ(bytesOf(path).find("gnre"), std::string::npos);
    }
    TagLibHelper::setKeepsOtherTags(true);
    // New pictures don't hide the gapless data.
    list = ownItem("gnid", "x") + items[5] + items[1];
    expectWritten(makeFile("b.m4a", replaced(before, {"moov", "udta", "meta", "ilst"}, atomBytes("ilst", list))),
                  {{TagKey::kCover, QVariantList{pictureOf(Qt::red)}}});
}

TEST_F(Tags, FirstContactTakesTheCoverOfAnM4aThatIsGivenOne) {
    const QString path = makeTone("a %2.m4a", "-f lavfi -i color=red:size=16x16:duration=0.04 -map 0 -map 1 -c:v mjpeg "
                                              "-disposition:v attached_pic " +
                                                  kMp3Texts);
    EXPECT_EQ(info(path)[TagKey::kCover].toList().size(), 1);
    // The marks take the place of the old cover, and without one no new one comes.
    expectWritten(path, {{TagKey::kTitle, "New"}, {TagKey::kCover, QVariantList{pictureOf(Qt::red)}}});
    EXPECT_EQ(info(path)[TagKey::kArtist], "Band");
    EXPECT_TRUE(info(path)[TagKey::kCover].toList().isEmpty());
    // Once marked, a file keeps what another program adds, and then its covers are replaced.
    TagLib::MP4::CoverArtList covers;
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, TagLib::ByteVector("no picture")));
    {
        TagLib::MP4::File file(QFile::encodeName(path).constData());
        file.tag()->setItem("covr", covers);
        file.save();
    }
    EXPECT_TRUE(info(path)[TagKey::kCover].toList().isEmpty()); // what can't be decoded is skipped
    expectWritten(path, {{TagKey::kCover, QVariantList{pictureOf(Qt::red), pictureOf(Qt::blue)}}});
    EXPECT_EQ(info(path)[TagKey::kCover].toList().size(), 2);
    EXPECT_EQ(info(path)[TagKey::kTitle], "New");
    expectWritten(path, {{TagKey::kCover, QVariantList()}});
    EXPECT_TRUE(info(path)[TagKey::kCover].toList().isEmpty());
    EXPECT_TRUE(log.first().startsWith("------before setID3Info filePath = " + path + " | FileSize = "));
}

TEST_F(Tags, CoversOfAnMp3AreReplacedAsJpeg) {
    QImage halfClear(8, 8, QImage::Format_ARGB32);
    halfClear.fill(Qt::transparent);
    for (int i = 0; i < 16; ++i)
        halfClear.setPixel(4 + i % 4, 4 + i / 4, 0xff0000ff);
    halfClear.setDevicePixelRatio(2);
    const std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>";
    const QString path = makeFile(
        "a.mp3", id3v2(picturesFrame(encoded(pictureOf(Qt::red))) + picturesFrame("no picture") + picturesFrame(svg)) +
                     bytesOf(makeTone("b.mp3", "-id3v2_version 0")));
    EXPECT_EQ(info(path)[TagKey::kCover].toList().size(), 1);
    expectWritten(path, {{TagKey::kTitle, "T"}}); // pictures stay
    EXPECT_EQ(info(path)[TagKey::kCover].toList().size(), 1);
    expectWritten(path, {{TagKey::kCover, QVariantList{pictureOf(Qt::blue), QImage(), halfClear}}});
    const QVariantList covers = info(path)[TagKey::kCover].toList();
    ASSERT_EQ(covers.size(), 2);
    EXPECT_LT(qRed(covers[0].value<QImage>().pixel(3, 3)), 10);
    EXPECT_GT(qRed(covers[1].value<QImage>().pixel(1, 1)), 240);
    EXPECT_LT(qRed(covers[1].value<QImage>().pixel(6, 6)), 60);
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    EXPECT_TRUE(file.ID3v2Tag()->frameList("APIC").front()->render().find("\xff\xd8") > 0);
    expectWritten(path, {{TagKey::kCover, QVariantList()}, {TagKey::kYear, "0"}});
    EXPECT_TRUE(info(path)[TagKey::kCover].toList().isEmpty());
}

TEST_F(Tags, FilesOfOtherKindsAreLeftAlone) {
    const std::string mp3 = bytesOf(makeTone("a.mp3")), m4a = bytesOf(makeTone("a.m4a"));
    constexpr size_t kDepth = 20'000;
    std::string deep, chapters, lies = atomBytes("ftyp", "M4A ");
    for (size_t i = kDepth; i > 0; --i) {
        deep += int32Bytes(static_cast<uint32_t>(8 * i)) + "udta";
        lies += int32Bytes(0x7fffffff) + (i == kDepth ? "moov" : "udta");
        chapters += "CHAP" + synchSafe(28 * i - 10) + "\0\0a\0"s + std::string(16, '\0');
    }
    std::string frames;
    for (int i = 0; i < 50'000; ++i)
        frames += frame("TXXX", "\0a\0b"s);
    const size_t table = findAtomIn(m4a, kChunkTable).offset;
    const std::string noChunks = atomBytes("stco", std::string(8, '\0')),
                      withoutTags = replaced(m4a, {"moov", "udta"}, {});
    const AtomPlace header = findAtomIn(withoutTags, {"moov", "mvhd"});
    const std::pair<const char *, std::string> cases[] = {
        {"empty", {}},
        {"text", std::string(5'000, 'x')},
        {"WAV", bytesOf(makeTone("a.wav"))},
        {"lossless M4A", bytesOf(makeTone("l.m4a", "-c:a alac"))},
        {"M4A without its end", m4a.substr(0, m4a.size() / 2)},
        {"atoms nested deep", insertedBehind(m4a, {}, deep)},
        {"atoms nested deep that claim more than the file", lies},
        {"a chunk table with a count that lies", std::string(m4a).replace(table + 12, 4, int32Bytes(0x10000000))},
        {"a chunk table with a size that lies", std::string(m4a).replace(table, 4, int32Bytes(0x20200014))},
        {"a chunk table where the tags go",
         replaced(withoutTags, {"moov", "mvhd"}, noChunks + withoutTags.substr(header.offset, header.size))},
        {"a compressed frame of 64 MiB",
         id3v2(frame("TXXX", int32Bytes(64U << 20) + zlibOf(std::string(64U << 20, '\0')), {"\0\x80", 2})) + mp3},
        {"chapters nested deep", id3v2(chapters, 4) + mp3},
        {"50,000 frames", id3v2(frames) + mp3},
    };
    for (const auto &[name, bytes] : cases) {
        SCOPED_TRACE(name);
        const QString path = makeFile("a.mp3", bytes);
        TagLibHelper::ID3Info(path);
        TagLibHelper::MP3ID3Info(path);
        TagLibHelper::M4AID3Info(path);
        EXPECT_FALSE(TagLibHelper::setID3Info(path, QVariantMap{{TagKey::kTitle, "T"}}));
        if (!QByteArray(name).startsWith("a chunk")) { // that one got its marks
            EXPECT_FALSE(TagLibHelper::setMP3ID3Info(path, QVariantMap{{TagKey::kTitle, "T"}}));
            EXPECT_EQ(bytesOf(path).substr(bytesOf(path).size() - bytes.size()).size(), bytes.size());
        }
    }
    EXPECT_FALSE(TagLibHelper::ID3Info(QString()));
    EXPECT_FALSE(TagLibHelper::ID3Info(inHome("nowhere.mp3")));
    EXPECT_FALSE(TagLibHelper::setMP3ID3Info(QString(), QVariantMap()));
    EXPECT_FALSE(TagLibHelper::setM4AID3Info(makeFile("b.m4a", m4a), std::nullopt));
    EXPECT_FALSE(TagLibHelper::setID3Info(QDir::homePath(), QVariantMap()));
    EXPECT_EQ(mkfifo(QFile::encodeName(inHome("pipe.mp3")).constData(), 0600), 0);
    EXPECT_FALSE(TagLibHelper::setMP3GracenoteInfo(inHome("pipe.mp3")));
    EXPECT_FALSE(GracenoteHelper::hasGracenoteInfo(inHome("pipe.mp3")));
}

TEST_F(Tags, ATornM4aIsLeftAsItIsAndReadAsFarAsItGoes) {
    const std::string last = insertedBehind(bytesOf(makeTone("last.m4a", kMp3Texts)), {},
                                            atomBytes("free", std::string(90, 'f'))),
                      first = bytesOf(makeTone("first.m4a", kMp3Texts + " -movflags +faststart"));
    const AtomPlace udta = findAtomIn(last, {"moov", "udta"});
    struct {
        const char *name;
        std::string bytes;
        bool isReadable = true;
    } const cases[] = {
        {"meta longer than udta", claimingMore(last, {"moov", "udta", "meta"}, 40)},
        {"ilst longer than meta", claimingMore(last, {"moov", "udta", "meta", "ilst"}, 40)},
        {"meta longer than udta, moov first", claimingMore(first, {"moov", "udta", "meta"}, 40)},
        {"ilst longer than meta, moov first", claimingMore(first, {"moov", "udta", "meta", "ilst"}, 40)},
        {"the zero word of QuickTime ends udta",
         replaced(last, {"moov", "udta"},
                  atomBytes("udta", last.substr(udta.offset + 8, udta.size - 8) + int32Bytes(0)))},
        {"two moov", last + atomBytes("moov", atomBytes("free"))},
        {"cut in the free space of moov", last.substr(0, last.size() - 50)},
        {"cut in the last item", last.substr(0, udta.offset + udta.size - 3)},
        {"cut in the header of the last item", last.substr(0, last.rfind("\251too") + 2)},
        {"cut in the first item", last.substr(0, last.find("\251nam") + 18), false},
    };
    for (const auto &[name, bytes, isReadable] : cases) {
        SCOPED_TRACE(name);
        const QString path = makeFile("a.m4a", bytes);
        EXPECT_EQ(info(path)[TagKey::kTitle], isReadable ? "Old" : "");
        EXPECT_FALSE(TagLibHelper::setID3Info(path, QVariantMap{{TagKey::kTitle, "New"}}));
        EXPECT_TRUE(bytesOf(path) == bytes);
    }
}

// A compressed frame and chapters of the ordinary kind are read like any other.
TEST_F(Tags, HarmlessCompressionAndChaptersAreRead) {
    const std::string chapter =
        "CHAP" + synchSafe(18 + 14) + "\0\0"s + "a\0"s + std::string(16, '\0') + "TIT2" + synchSafe(4) + "\0\0\0One"s;
    const std::string mp3 = bytesOf(makeTone("b.mp3", "-id3v2_version 0"));
    const QString path = makeFile(
        "a.mp3", id3v2(frame("TIT2", int32Bytes(501) + zlibOf("\0"s + std::string(500, 't')), {"\0\x80", 2})) + mp3);
    EXPECT_EQ(info(path)[TagKey::kTitle], QString(500, 't'));
    // Compressed, but no compressed frame.
    std::string large = picturesFrame("\x89PNG IDAT" + zlibOf(std::string(40U << 20, '\0')));
    large.replace(4, 4, synchSafe(large.size() - 10));
    const QString other = makeFile("c.mp3", id3v2(chapter + large + "TIT2" + synchSafe(4) + "\0\0\0Two"s, 4) + mp3);
    expectWritten(other, {{TagKey::kArtist, "A"}});
    EXPECT_EQ(info(other)[TagKey::kTitle], "Two");
    EXPECT_NE(bytesOf(other).find("TIT2\0\0\0\4\0\0\0One"s), std::string::npos);
}

// What a user who may not write gets, asked in a process without root's rights.
TEST_F(Tags, AReadOnlyFileAnswersNoAndAReadOnlyFolderDoesNotMatter) {
    const std::string bytes = bytesOf(makeTone("a.mp3"));
    ASSERT_TRUE(QDir().mkdir(inHome("folder")));
    const QString inFolder = makeFile("folder/a.mp3", bytes), alone = inHome("a.mp3");
    ASSERT_EQ(::chmod(QFile::encodeName(QDir::homePath()).constData(), 0777), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(inHome("folder")).constData(), 0555), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(alone).constData(), 0444), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(inFolder).constData(), 0666), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isOrdinary = ::geteuid() != 0 || ::setuid(65534) == 0;
        const QVariantMap tags{{TagKey::kTitle, "T"}};
        const bool isRefused = TagLibHelper::writeID3Info(alone, tags) == TagWriteOutcome::NotWritable;
        ::_exit(!isOrdinary || !isRefused || !TagLibHelper::setID3Info(inFolder, tags));
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(bytesOf(alone), bytes);
    EXPECT_EQ(info(inFolder)[TagKey::kTitle], "T");
    EXPECT_EQ(filesInHome().filter("corvidia"), QStringList());
    EXPECT_EQ(::chmod(QFile::encodeName(inHome("folder")).constData(), 0777), 0);
    EXPECT_EQ(QDir(inHome("folder")).entryList(QDir::Files | QDir::Hidden), QStringList{"a.mp3"});
}

// The disk is full for the tags; the marks alone fit, but in an M4A would take the place of what is there.
TEST_F(Tags, AFullDiskLeavesTheFileWhole) {
    for (const QString &path : {makeTone("a.mp3"), makeTone("a.m4a")}) {
        const DecodedAudio before = decodeAudio(path);
        const auto write = [&] {
            return TagLibHelper::writeID3Info(path, QVariantMap{{TagKey::kTitle, QString(50'000, 'x')}});
        };
        EXPECT_EQ(withoutRoom(write, bytesOf(path).size() + 4'000), TagWriteOutcome::DiskFull);
        EXPECT_EQ(decodeAudio(path).left, before.left);
        EXPECT_EQ(bytesOf(path).find("27F4F0E7D40DCC877E46B6CF935B5ED4") != std::string::npos, path.endsWith("mp3"));
    }
    EXPECT_EQ(filesInHome().filter("corvidia"), QStringList());
}

// A process that writes tags is killed at many instants.
TEST_F(Tags, AKilledWriterLeavesTheOldFileOrTheNew) {
    for (const QString &path : {makeTone("a.mp3"), makeTone("a.m4a")}) {
        std::minstd_rand random(7);
        const DecodedAudio sound = decodeAudio(path);
        const QString titles[] = {"short", QString(3'000, 'l')};
        ASSERT_TRUE(TagLibHelper::setID3Info(path, QVariantMap{{TagKey::kTitle, titles[0]}}));
        for (int i = 0; i < 60; ++i) {
            const pid_t child = ::fork();
            if (child == 0)
                for (int turn = 0;; ++turn)
                    TagLibHelper::setID3Info(path, QVariantMap{{TagKey::kTitle, titles[turn % 2]}});
            ::usleep(random() % 30'000); // the instant itself is what varies
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
            const QVariantMap left = info(path);
            EXPECT_TRUE(left[TagKey::kTitle] == titles[0] || left[TagKey::kTitle] == titles[1]);
            EXPECT_TRUE(i % 10 != 0 || decodeAudio(path).left == sound.left);
        }
        // The next process cleans up.
        const pid_t next = ::fork();
        if (next == 0)
            ::_exit(TagLibHelper::setID3Info(path, QVariantMap{{TagKey::kTitle, titles[0]}}) ? 0 : 1);
        ::waitpid(next, nullptr, 0);
        EXPECT_EQ(filesInHome().filter("corvidia"), QStringList());
        EXPECT_TRUE(decodeAudio(path).left == sound.left);
    }
}
} // namespace
