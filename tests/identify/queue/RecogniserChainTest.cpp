#include "identify/queue/RecogniserChain.h"

#include <gtest/gtest.h>

namespace {

using Outcome = RecogniserAnswer::Outcome;

QStringList asked;

struct Source final : RecogniserSource {
    Source(const QString &called, Outcome outcome, const QStringList &texts = {}) : name(called) {
        answer.outcome = outcome;
        answer.found.title = texts.value(0);
        answer.found.artist = texts.value(1);
    }
    QString key() const override { return name; }
    bool isUsable() const override { return name != "off"; }
    RecogniserAnswer recognise(const RecognitionTask &task, const std::stop_token &) override {
        EXPECT_EQ(task.songPath + task.excerptPath, "song.m4ax.wav");
        asked << name;
        if (name == "stops")
            stop.request_stop();
        return answer;
    }
    QString name;
    RecogniserAnswer answer;
    static inline std::stop_source stop;
};

struct Hearer final : ID3TagControlDelegate {
    void getMusicsID3Info(const QVariantList &musicsInfo) override {
        said += musicsInfo.isEmpty() ? "nothing" : QStringList(musicsInfo[0].toMap().keys()).join(',');
    }
    void getMusicID3Error() override { said += "error"; }
    QString said;
};

} // namespace

TEST(RecogniserChain, TakesTheFirstThatKnowsTheTrack) {
    const QList<std::shared_ptr<Source>> all = {
        std::make_shared<Source>("unknown", Outcome::NotFound),
        std::make_shared<Source>("broken", Outcome::Failed),
        std::make_shared<Source>("off", Outcome::Found, QStringList{"T", "A"}),
        std::make_shared<Source>("half", Outcome::Found, QStringList{"T"}),
        std::make_shared<Source>("known", Outcome::Found, QStringList{"T", "A"}),
        std::make_shared<Source>("stops", Outcome::NotFound)};
    for (const auto &[sources, names, said] : std::initializer_list<std::tuple<QString, QString, const char *>>{
             {"", "", "error"},
             {"off", "", "error"},
             {"off unknown known broken", "unknown known", "AlbumArtist,MusicTitle"},
             {"broken known", "broken known", "AlbumArtist,MusicTitle"},
             {"unknown unknown", "unknown unknown", "nothing"},
             {"half", "half", "nothing"}, // a title alone
             {"broken unknown", "broken unknown", "error"},
             {"stops known", "stops", "error"},
         }) {
        SCOPED_TRACE(qPrintable(sources));
        std::vector<std::shared_ptr<RecogniserSource>> chosen;
        for (const QString &name : sources.split(' '))
            std::ranges::copy_if(all, std::back_inserter(chosen), [&](auto &source) { return source->name == name; });
        RecogniserChain chain(std::move(chosen));
        Hearer hearer;
        chain.setDelegate(&hearer);
        asked.clear();
        chain.setWantToGetID3Files({"x.wav"}, {.songID = 7, .songPath = "song.m4a"}, Source::stop.get_token());
        EXPECT_EQ(asked.join(' '), names);
        EXPECT_EQ(hearer.said, said);
        EXPECT_EQ(chain.isUsable(), !names.isEmpty());
        EXPECT_EQ(chain.recognitionFor(7).title, hearer.said.startsWith("Album") ? "T" : "");
    }
}
