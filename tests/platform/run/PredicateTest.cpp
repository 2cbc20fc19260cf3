#include "platform/run/Predicate.h"

#include "platform/run/FoldedText.h"

#include <QDate>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(FoldedText, RegardsNeitherCaseNorDiacriticsInAnyWriting) {
    struct Case {
        const char *name;
        QString text, needle;
        bool isFound = true;
    };
    const QString clef = QStringLiteral(u"a\U0001D11Eb");
    for (const auto &[name, text, needle, isFound] :
         {Case{"accents of either make", u"Café"_s, u"cafe\u0301"_s},
          Case{"an accented needle in a plain text", u"cafe"_s, u"CAFÉ"_s},
          Case{"a sharp s is two", u"Straße"_s, u"ASSE"_s},
          Case{"Cyrillic, and its short i", u"ЧАЙКОВСКИЙ"_s, u"чайковскии"_s},
          Case{"Greek with two marks and a final sigma", u"Ὀδυσσεύς"_s, u"οδυσσευσ"_s},
          Case{"Kana and a voicing mark", u"ガラス"_s, u"カラス"_s},
          Case{"a Korean syllable is no part of a longer one", u"각"_s, u"가"_s, false},
          Case{"Korean in pieces", u"\u1112\u1161\u11AB\u1100\u116E\u11A8"_s, u"한국"_s},
          Case{"a Turkish capital", u"İstanbul"_s, u"istan"_s},
          Case{"the dotless i stays itself", u"Işık"_s, u"isik"_s, false},
          Case{"a letter beyond the basic plane", u"\U00010400"_s, u"\U00010428"_s},
          Case{"a mark beyond the basic plane", u"a\U000E0101b"_s, u"ab"_s}, Case{"half a pair", clef, clef.left(2)},
          Case{"a half that is not there", clef, QString(QChar(0xDD1F)), false},
          Case{"a NUL and what follows", u"a\0b"_s, u"\0B"_s},
          Case{"no characters", QString(QChar(0xFFFE)) + QChar(0xFFFF), QString(QChar(0xFFFF))},
          Case{"nothing but a mark", u"e\u0301"_s, u"\u0301"_s, false}}) {
        EXPECT_EQ(containsFolded(text, foldedText(needle)), isFound) << name;
        EXPECT_EQ(containsFolded("xx" + text + "yy", foldedText(needle)), isFound) << name;
    }
    EXPECT_TRUE(containsFolded(QString(100'000, QChar(0x0301)) + "e", foldedText(u"e"))) << "marks to put in order";
}

namespace {

const QVariantMap kItem = {{"title", u"It's 100 % \\ Ünïcode\n\"x\""_s},
                           {"artist", ""},
                           {"album", QString()},
                           {"length", qint64(60000)},
                           {"songID", -1},
                           {"isAds", true},
                           {"date", QDate(2026, 11, 21)}};

QVariant valueOf(const QString &key) { return kItem.value(key); }

} // namespace

TEST(Predicate, AnswersAsItsRulesSay) {
    for (const auto &[holds, texts] :
         {std::pair<bool, QList<const char *>>{
              true,
              {"length <= 60000", "length > 59999.5", "length <= 60000 and isAds = TRUE", "isAds == YES",
               "songID == -1", "length <= 99999999999999999999", "songID = 5 || songID = -1",
               "songID = -1 or songID = 5 and songID = 6", "title CONTAINS[cd] 'UNICODE'",
               "title CONTAINS[cd] '100 % \\\\ u'",
               R"(title CONTAINS[cd] "'s" and title CONTAINS[cd] 'it\'s' and title contains[cd] '\n\"X')",
               "artist.length == 0", "title.length > 4", "album.length != 0", "album != ''", "songID.length != 0",
               "date != 0"}},
          {false,
           {"length <= 60000 and isAds = NO", "length > 0 AND title != '' AND artist != ''",
            "(songID = -1 or songID = 5) and songID = 6", "title CONTAINS[cd] ''", "title == 'IT'", "album.length == 0",
            "album == ''", "album CONTAINS[cd] 'a'", "nobody <= 5", "title == 0", "length <= 'x'",
            "length CONTAINS[cd] '6'"}}})
        for (const char *text : texts) {
            PredicateError error;
            const auto predicate = Predicate::parse(text, &error);
            ASSERT_TRUE(predicate) << text << ": " << error.position << ' ' << error.message.toStdString();
            EXPECT_EQ(predicate->evaluate(valueOf), holds) << text;
        }
}

TEST(Predicate, TellsWhereATextIsNone) {
    using Case = std::pair<QString, qsizetype>;
    for (const auto &[text, position] :
         {Case{"", 0}, Case{"title", 5}, Case{"title ==", 8}, Case{"title == 'x\\", 9}, Case{"title == 'x' y", 13},
          Case{"title == 'x')", 12}, Case{"(title == 'x'", 13}, Case{"title CONTAINS 'x'", 6},
          Case{"title CONTAINS[cd] 5", 19}, Case{"title.size == 1", 6}, Case{"length >= 1", 8},
          Case{"length == 1and isAds = NO", 10}, Case{"length == 1." + QString(), 10}, Case{"TRUE == 1", 0},
          Case{"1 == 1", 0}, Case{"length == %@", 10}, Case{u"ätitle == 1"_s, 0}, Case{QString(1'000'000, '('), 101},
          Case{"length == " + QString(1'000'000, '9'), 10}}) {
        PredicateError error;
        EXPECT_FALSE(Predicate::parse(text, &error)) << text.left(40).toStdString();
        EXPECT_EQ(error.position, position) << text.left(40).toStdString() << ": " << error.message.toStdString();
    }
    QString chain = "songID = 5";
    for (int i = 0; i < 100'000; ++i)
        chain += " or songID = 5";
    EXPECT_FALSE(Predicate::parse(chain)->evaluate(valueOf));
    EXPECT_TRUE(Predicate::parse(QString(100, '(') + "songID = -1" + QString(100, ')'))->evaluate(valueOf));
}
