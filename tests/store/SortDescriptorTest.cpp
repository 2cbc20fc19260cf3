#include "store/SortDescriptor.h"
#include "support/Songs.h"

#include <QTimeZone>
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;

namespace {

SongPtr songWith(const QString &title, int32_t number, qint64 length = 0) {
    return ::songWith({.title = title, .length = length, .id = number});
}

QString titles(const SongArray &songs) {
    QStringList titles;
    for (const SongPtr &song : songs)
        titles << song->title() + QString::number(song->songID());
    return titles.join(' ');
}

} // namespace

TEST(SortUsingDescriptors, OrdersTextsAsACarefulComparisonWould) {
    // Few letters and many beginnings in common; NULs and what is behind the basic plane among them.
    const QStringList pieces = u"a|A|ab|title of |TITLE|ß|é|Я|я|東|\U0001D11E|\0|\uFFFF|"_s.split('|');
    std::mt19937 random(7);
    SongArray songs;
    for (int i = 0; i < 3000; ++i) {
        QString title = i % 50 ? "" : QString();
        for (unsigned piece = random() % 5; i % 50 && piece > 0; --piece)
            title += pieces.at(static_cast<qsizetype>(random() % static_cast<unsigned>(pieces.size())));
        songs << songWith(title, i);
    }
    for (const SortComparison comparison : {SortComparison::Compare, SortComparison::CaseInsensitiveCompare})
        for (const bool ascending : {true, false}) {
            const auto isBefore = [&](const SongPtr &left, const SongPtr &right) {
                const auto &[a, b] = ascending ? std::tie(left, right) : std::tie(right, left);
                if (a->title().isNull() || b->title().isNull())
                    return a->title().isNull() && !b->title().isNull();
                return comparison == SortComparison::Compare ? a->title() < b->title()
                                                             : a->title().toCaseFolded() < b->title().toCaseFolded();
            };
            SongArray expected = songs;
            std::ranges::stable_sort(expected, isBefore);
            SongArray sorted = songs;
            sortUsingDescriptors(sorted, {{"title", ascending, comparison}, {"songID"}});
            EXPECT_EQ(sorted, expected) << ascending;
            sortUsingDescriptors(sorted, {{"title", ascending, comparison}});
            EXPECT_EQ(sorted, expected) << "once more";
        }
}

TEST(SortUsingDescriptors, KeepsTheOrderOfWhatIsEqualAndAbsent) {
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    const SongArray songs = {songWith("b", 1, most), songWith("a", 2, 0), songWith("b", 3, least), songWith("a", 4, 0),
                             songWith("c", 5, -1)};
    songs[1]->setAddedDate(QDateTime::fromMSecsSinceEpoch(-5, QTimeZone::utc()));
    songs[4]->setAddedDate(QDateTime::fromMSecsSinceEpoch(7, QTimeZone::utc()));
    using Case = std::pair<QList<SortDescriptor>, const char *>;
    for (const auto &[descriptors, order] :
         {Case{{}, "b1 a2 b3 a4 c5"}, Case{{{"nothing"}}, "b1 a2 b3 a4 c5"},
          Case{{{"coverImages", false}}, "b1 a2 b3 a4 c5"}, Case{{{"length"}}, "b3 c5 a2 a4 b1"},
          Case{{{"length", false}}, "b1 a2 a4 c5 b3"}, Case{{{"title"}, {"songID", false}}, "a2 a4 b1 b3 c5"},
          Case{{{"title", false}}, "c5 b1 b3 a2 a4"}, Case{{{"addedDate"}}, "b1 b3 a4 a2 c5"},
          Case{{{"addedDate", false}}, "c5 a2 b1 b3 a4"}}) {
        SongArray sorted = songs;
        sortUsingDescriptors(sorted, descriptors);
        EXPECT_EQ(titles(sorted), order);
        EXPECT_EQ(titles(songs), "b1 a2 b3 a4 c5") << "a snapshot stays as it was";
    }
}
