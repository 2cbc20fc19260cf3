// The way of the sound from the engine to the bars: nothing is lost on it in steady running, and it shows what is
// heard.
#include "capture/AudioTransToPCMWave.h"
#include "demo/RunningProgram.h"
#include "support/FakeInputUnit.h"

#include <QThread>
#include <gtest/gtest.h>

namespace {

struct Display final : AudioTransToPCMWaveDelegate {
    QList<QList<int32_t>> results;
    void sendAudioSpectrum(const int32_t *bars) override { results.append(QList<int32_t>(bars, bars + kBars)); }
    bool hasResults(qsizetype count) {
        return waitUntil([&] { return results.size() >= count; }) && results.size() == count;
    }
};

struct SpectrumFeedTest : testing::Test {
    void SetUp() override {
        feed.setDelegate(&display);
        engine.setDelegatePCMWave(&feed);
        engine.configureAudioUnit(1);
        blocks = std::make_unique<BlockFeed>(*units.client);
    }

    Display display;
    FakeInputUnits units;
    AudioTransToPCMWave feed; // outlives the engine that speaks to it
    AudioRecord engine{units.factory()};
    std::unique_ptr<BlockFeed> blocks;
};

} // namespace

TEST_F(SpectrumFeedTest, LosesNothingInSteadyRunning) {
    // Fragments of nine blocks, at times none or two of them to a look of the main thread.
    int waiting = 0, delivered = 0;
    for (const int fragments : {1, 1, 0, 2, 1, 1, 1, 0, 2, 0, 2, 0, 1, 1, 2, 0, 1, 0, 1, 1, 0, 1, 0, 0}) {
        blocks->tones(9 * fragments);
        waiting += 9 * fragments;
        engine.deliverReports();
        const int taken = std::min(waiting, 10);
        waiting -= taken;
        delivered += taken;
        ASSERT_TRUE(display.hasResults(delivered / 9));
        while (feed.freeFrames() < 10) // a look is a tenth of a second
            QThread::yieldCurrentThread();
    }
    EXPECT_EQ(delivered, 19 * 9);
    EXPECT_NE(display.results.first(), QList<int32_t>(Display::kBars));
}

TEST_F(SpectrumFeedTest, ShowsWhatIsHeardWhileTheEngineHoldsItBack) {
    const AudioRecord::BlockHold hold(engine);
    for (qsizetype results = 1; results <= 4; ++results) {
        blocks->tones(9);
        engine.deliverReports();
        ASSERT_TRUE(display.hasResults(results));
    }
}

TEST_F(SpectrumFeedTest, OfABacklogItShowsTheEnd) {
    blocks->silences(50);
    blocks->tones(10);
    engine.deliverReports();
    ASSERT_TRUE(display.hasResults(1));
    EXPECT_NE(display.results.last(), QList<int32_t>(Display::kBars));
}

TEST_F(SpectrumFeedTest, RestsWhileNobodyLooks) {
    blocks->tones(20);
    engine.setDelegatePCMWave(nullptr);
    blocks->tones(40);
    engine.setDelegatePCMWave(&feed);
    engine.deliverReports();
    blocks->tones(9);
    engine.deliverReports();
    EXPECT_TRUE(display.hasResults(1)); // nothing of before
}
