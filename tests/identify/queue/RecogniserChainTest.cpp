#include "identify/queue/RecogniserChain.h"

#include <gtest/gtest.h>

namespace {

using Outcome = RecogniserAnswer::Outcome;

struct Source final : RecogniserSource {
    Source(const QString &called, Outcome outcome, const Recognition &found = {}, bool isUsableNow = true)
        : name(called), answer{outcome, found}, usable(isUsableNow) {}
    QString key() const override { return name; }
    bool isUsable() const override { return usable; }
    RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &) override {
        asked << name + ' ' + task.songPath + ' ' + task.excerptPath;
        if (stop)
            stop->request_stop();
        return answer;
    }
    QString name;
    RecogniserAnswer answer;
    bool usable;
    std::stop_source *stop = nullptr;
    static inline QStringList asked;
};

struct Hearer final : ID3TagControlDelegate {
    void getMusicsID3Info(const QVariantList &musicsInfo) override {
        said << (musicsInfo.isEmpty() ? "nothing" : QStringList(musicsInfo[0].toMap().keys()).join(','));
    }
    void getMusicID3Error() override { said << "error"; }
    QStringList said;
};

Recognition song(const QString &title, const QString &artist) {
    Recognition found;
    found.title = title;
    found.artist = artist;
    return found;
}

} // namespace

TEST(RecogniserChain, TakesTheFirstThatKnowsTheTrack) {
    const Source unknown{"unknown", Outcome::NotFound}, broken{"broken", Outcome::Failed},
        off{"off", Outcome::Found, song("T", "A"), /*isUsableNow=*/false}, half{"half", Outcome::Found, song("T", {})},
        known{"known", Outcome::Found, song("T", "A")};
    struct Case {
        const char *name;
        QList<const Source *> sources;
        QString asked, said, title;
    };
    for (const Case &row : QList<Case>{
             {"nobody", {}, "", "error", {}},
             {"nobody who is turned on", {&off}, "", "error", {}},
             {"the second", {&off, &unknown, &known, &broken}, "unknown,known", "AlbumArtist,MusicTitle", "T"},
             {"one after a failure", {&broken, &known}, "broken,known", "AlbumArtist,MusicTitle", "T"},
             {"none", {&unknown, &unknown}, "unknown,unknown", "nothing", {}},
             {"a title alone", {&half}, "half", "nothing", {}},
             {"one that could not say", {&broken, &unknown}, "broken,unknown", "error", {}},
         }) {
        SCOPED_TRACE(row.name);
        std::vector<std::shared_ptr<RecogniserSource>> sources;
        for (const Source *source : row.sources)
            sources.push_back(
                std::make_shared<Source>(source->name, source->answer.outcome, source->answer.found, source->usable));
        RecogniserChain chain(std::move(sources));
        Hearer hearer;
        chain.setDelegate(&hearer);
        Source::asked.clear();
        chain.setWantToGetID3Files({"x.wav"}, {.songID = 7, .songPath = "song.m4a"}, {});
        EXPECT_EQ(QStringList(Source::asked).replaceInStrings(" song.m4a x.wav", "").join(','), row.asked);
        EXPECT_EQ(hearer.said, QStringList{row.said});
        EXPECT_EQ(chain.isUsable(), !row.asked.isEmpty());
        EXPECT_EQ(chain.recognitionFor(7).title, row.title);
    }
}

TEST(RecogniserChain, AsksNobodyMoreOnceItIsGivenUp) {
    std::stop_source stop;
    const auto first = std::make_shared<Source>("first", Outcome::NotFound);
    first->stop = &stop;
    RecogniserChain chain({first, std::make_shared<Source>("second", Outcome::NotFound)});
    Hearer hearer;
    chain.setDelegate(&hearer);
    chain.setWantToGetID3Files({"x.wav"}, {.songID = 7, .songPath = {}}, stop.get_token());
    EXPECT_EQ(Source::asked, QStringList{"first  x.wav"});
    EXPECT_EQ(hearer.said, QStringList{"error"});
}
