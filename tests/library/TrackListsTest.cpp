#include "library/TrackLists.h"

#include "platform/files/Folders.h"
#include "store/DataBaseManager.h"
#include "store/LibraryFile.h"
#include "store/SortDescriptor.h"
#include "support/KeptLog.h"
#include "support/Songs.h"

#include <QDir>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

SongPtr songWith(const QString &title, const QString &artist, int32_t number = 0) {
    return ::songWith({.title = title, .artist = artist, .id = number});
}

SongArray filtered(const SongArray &base, const QString &format) {
    const auto predicate = Predicate::parse(format);
    EXPECT_TRUE(predicate) << format.toStdString();
    SongArray songs;
    for (const SongPtr &song : base)
        if (predicate->evaluate([&song](const QString &key) { return song->valueForKey(key); }))
            songs << song;
    return songs;
}

// What a text is put into, word for word.
SongArray answersOf(const SongArray &base, QString text) {
    text.replace('\\', "\\\\").replace('\'', "\\'");
    return filtered(base, "(title CONTAINS[cd] '" + text + "') or (artist CONTAINS[cd] '" + text +
                              "') or (album CONTAINS[cd] '" + text + "')");
}

// Texts out of nasty pieces.
class Texts {
public:
    QString next() {
        if (random_() % 20 == 0)
            return {};
        QString text = "";
        for (unsigned i = random_() % 6; i > 0; --i)
            text += kPieces.at(static_cast<qsizetype>(random_() % static_cast<unsigned>(kPieces.size())));
        return random_() % 100 ? text : text + QString(70, 'q') + text;
    }
    unsigned number(unsigned limit) { return random_() % limit; }

private:
    inline static const QStringList kPieces =
        u"a|B|ab| |Track |'|\"|\\|\\'|%|%@|\n|é|E\u0301|ß|Ж|й|東|ガ|\u1112\u1161|\u11AB|ı|\u202E|\U0001D11E|\0"_s.split(
            '|') +
        QStringList{QString(QChar(0xD834)), QString(QChar(0xDD1E)), QString(QChar(0xFFFF))};
    std::mt19937 random_{11};
};

} // namespace

TEST(TrackLists, SearchAnswersAsThePredicateWhateverHappensToTheLibrary) {
    Texts texts;
    const auto change = [&texts](const SongPtr &song) {
        song->setTitle(texts.next());
        song->setArtist(texts.next());
        song->setAlbum(texts.next());
        song->setLength(texts.number(1000));
    };
    const auto made = [&](int32_t number) {
        SongPtr song = songWith({.title = {}, .id = number});
        change(song);
        return song;
    };
    TrackLists lists;
    SongArray songs;
    for (int32_t i = 0; i < 2000; ++i)
        songs << made(i);
    lists.takeTracks(TrackLists(songs));
    auto strangers = std::make_shared<SongArray>(SongArray{made(1), lists.allSongArray()->at(3), made(2)});

    for (int round = 0; round < 200; ++round) {
        const SharedSongArray &all = lists.allSongArray();
        const SongPtr song = all->at(texts.number(static_cast<unsigned>(all->size())));
        const SongArray arriving{made(4000 + round), made(5000 + round)};
        switch (texts.number(6)) {
        case 0:
            lists.insertNewRecording(made(3000 + round));
            break;
        case 1:
            lists.remove(all->mid(texts.number(100), round % 10 ? 2 : 150));
            break;
        case 2:
            sortUsingDescriptors(*all, {{"artist", round % 2 == 0}});
            break;
        case 3:
            lists.noteImported(arriving);
            lists.insertImported(arriving);
            break;
        default:
            change(song);
            lists.songChanged(song);
        }
        const QString text = round % 3 ? texts.next() : song->title().mid(1, 3);
        const QString trimmed = text.trimmed() == text ? text : "b";
        for (const SharedSongArray &base : {all, lists.newRecordArray(), lists.getUntaggedMusic(), strangers})
            if (!trimmed.isEmpty()) {
                ASSERT_EQ(*lists.search(base, " \t" + trimmed + u"\u00A0 "_s), answersOf(*base, trimmed))
                    << trimmed.toStdString();
            }
        const SongArray untagged = filtered(*all, "title.length == 0 || artist.length == 0 || (title CONTAINS[cd] "
                                                  "'Track') || artist == 'Unknown Artist'");
        ASSERT_EQ(*lists.getUntaggedMusic(), untagged);
        ASSERT_EQ(lists.untaggedCount(), untagged.size());
        ASSERT_EQ(lists.summaryOfAll().count, all->size());
        ASSERT_EQ(lists.summaryOfAll().length, TrackLists::summaryOf(*all).length);
    }
    EXPECT_EQ(lists.search(strangers, " \t "), strangers) << "a blank text is none";
    EXPECT_FALSE(lists.search(strangers, "\n") == strangers) << "a newline is a text";
}

TEST(TrackLists, KeepTheirOrderAndForgetWhatIsGone) {
    const KeptLog log;
    const SongPtr older = songWith("x", "y", -1);
    const SongPtr newer = songWith("Xx", "y", -1);
    const SongPtr undated = songWith("xxx", "y", 4);
    older->setAddedDate(QDateTime::fromSecsSinceEpoch(10));
    newer->setAddedDate(QDateTime::fromSecsSinceEpoch(20));
    TrackLists lists;
    EXPECT_TRUE(lists.search(lists.allSongArray(), "x")->isEmpty());
    const SharedSongArray all = lists.allSongArray();
    const SongPtr recorded = songWith("Track", "Unknown Artist", 5);
    lists.insertNewRecording(recorded); // while the library is still being read, where it may be found as well
    lists.takeTracks(TrackLists({undated, older, songWith("Track", "Unknown Artist", 5), newer}));
    EXPECT_EQ(*all, (SongArray{recorded, newer, older, undated})) << "the list that was handed out";
    EXPECT_EQ(*lists.newRecordArray(), SongArray{recorded});
    EXPECT_EQ(lists.getSongItemWithID(-1), newer);
    EXPECT_EQ(lists.getSongItemWithID(77), nullptr);
    EXPECT_EQ(log, QStringList{"error,the songID 77 not find songItem"});
    EXPECT_EQ(lists.untaggedCount(), 1);

    EXPECT_EQ(lists.search(all, "x")->size(), 3);
    lists.remove({recorded, newer, songWith("x", "y")});
    EXPECT_EQ(*all, (SongArray{older, undated}));
    EXPECT_TRUE(lists.newRecordArray()->isEmpty());
    recorded->setTitle("");
    lists.songChanged(recorded); // the answer to a question asked before the track was deleted
    EXPECT_EQ(lists.untaggedCount(), 0);
    EXPECT_EQ(*lists.search(all, "x"), (SongArray{older, undated}));
}

TEST(TrackLists, SumWithoutOverflow) {
    const SongPtr song = songWith("", "");
    song->setLength(std::numeric_limits<qint64>::min() + 1);
    song->setSize(std::numeric_limits<qint64>::max() - 1);
    const auto summary = TrackLists::summaryOf({song, song, song});
    EXPECT_EQ(summary.count, 3);
    EXPECT_EQ(summary.length, std::numeric_limits<qint64>::min());
    EXPECT_EQ(summary.size, std::numeric_limits<qint64>::max());

    TrackLists lists; // the sum goes along with what comes and goes
    for (const SongPtr &track : {songWith({.title = {}, .length = 7}), song, song})
        lists.insertNewRecording(track);
    lists.remove({song, songWith("", "")}); // it stood there twice
    EXPECT_EQ(lists.summaryOfAll().length, 7);
}

TEST(TrackLists, TakeAHostileLibraryAsItIs) {
    QDir().mkpath(coverImageFolder());
    const QString path = defaultLibraryPath();
    DataBaseManager &manager = DataBaseManager::defaultManager();
    ASSERT_TRUE(manager.loadDataBase());
    sqlite3 *connection = nullptr;
    sqlite3_open(path.toUtf8().constData(), &connection);
    constexpr int columns = 19;
    int rows = 0;
    for (const char *value :
         {"NULL", "-1", "-9223372036854775808", "9223372036854775807", "1e308", "-1e308", "'no number'", "''",
          "x'00FF80'", "'a' || char(0) || 'b'", "zeroblob(200000)", "printf('%.*c',100000,'(')", "char(8238) || '%n'"})
        for (int column = -1; column < columns; ++column) {
            QStringList values(columns, column < 0 ? value : "'1'");
            if (column >= 0)
                values[column] = value;
            values[0] = column == 0 && rows > columns ? value : QString::number(++rows + 1000);
            values[9] = values[9] == "NULL" ? "''" : values[9];
            values[10] = values[10] == "NULL" ? "''" : values[10];
            sqlite3_exec(connection, ("INSERT INTO Song VALUES(" + values.join(',') + ')').toUtf8().constData(),
                         nullptr, nullptr, nullptr);
        }
    sqlite3_close(connection);
    const SongArray songs = manager.getAllSongItems().value_or(SongArray());
    EXPECT_GE(songs.size(), rows);

    TrackLists lists(songs);
    for (const char *key : {"title", "length", "size", "addedDate", "playLength", "songSize", "dateString"}) {
        sortUsingDescriptors(*lists.allSongArray(), {{key, true, SortComparison::CaseInsensitiveCompare}});
        for (const QString &text : {u"b"_s, u"(("_s, QString(50'000, '('), QString(1, QChar(0)), u"%n"_s})
            EXPECT_EQ(*lists.search(lists.allSongArray(), text), answersOf(*lists.allSongArray(), text));
    }
    EXPECT_EQ(TrackLists::summaryOf(songs).count, songs.size());
}
