// The arithmetic behind the bars, to the last bit: against a second reading of its rules that is as literal as it is
// slow.
#include "capture/AudioTransToPCMWave.h"
#include "capture/CSampleTransform.h"

#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

constexpr int kFrames = 4410;
constexpr int kBars = 20;
using Bars = std::vector<int32_t>;
using Sound = std::vector<int16_t>; // left, right, left, ...

/// The lines of `samples`, signed or not.
std::vector<float> slowLines(const std::vector<float> &samples, bool isSigned) {
    static const auto tables = [] {
        std::array<std::array<float, 2>, 2048> sinesAndCosines{};
        double running = 0;
        for (auto &[sine, cosine] : sinesAndCosines) {
            sine = static_cast<float>(std::sin(running));
            cosine = static_cast<float>(std::cos(running));
            running += 0.0007669904152862728;
        }
        return sinesAndCosines;
    }();
    const int n = static_cast<int>(samples.size());
    const int nu = static_cast<int>(std::log(n) / std::log(2));
    const auto reversed = [nu](int value) {
        int result = 0;
        for (int i = 0; i < nu; ++i) {
            result = result * 2 + value % 2;
            value /= 2;
        }
        return result;
    };
    std::vector<float> real = samples, imag(samples.size(), 0.0F), lines = samples;
    int n2 = n / 2;
    int nu1 = nu - 1;
    int k = 0;
    for (int pass = 0; pass < nu; ++pass) {
        while (k < n && k + n2 < n) {
            for (int i = 0; i < n2; ++i) {
                float angle = static_cast<float>(reversed(k >> nu1)) * 6.2831855F / static_cast<float>(n);
                while (angle >= 1.5707964F)
                    angle -= 1.5707964F;
                const float share = angle / 1.5707964F * 2048;
                const auto [s, c] = tables[static_cast<size_t>(share)];
                if (k + n2 >= n)
                    break;
                const auto from = static_cast<size_t>(k);
                const size_t m = from + static_cast<size_t>(n2);
                const float tr = real[m] * c + imag[m] * s;
                const float ti = real[m] * c - real[m] * s;
                real[m] = real[from] - tr;
                imag[m] = imag[from] - ti;
                real[from] += tr;
                imag[from] += ti;
                ++k;
            }
            k += n2;
        }
        k = 0;
        --nu1;
        n2 /= 2;
    }
    for (k = 0; k < n; ++k)
        if (const int r = reversed(k); r > k) {
            std::swap(real[static_cast<size_t>(k)], real[static_cast<size_t>(r)]);
            std::swap(imag[static_cast<size_t>(k)], imag[static_cast<size_t>(r)]);
        }
    const auto fastSqrt = [](float x) {
        const auto bits = std::bit_cast<int32_t>(x);
        const auto y = std::bit_cast<float>(1597463172 - (bits >> 1));
        return 1.0F / ((1.5F - 0.5F * x * y * y) * y);
    };
    for (size_t i = 0; i < static_cast<size_t>(n / 2); ++i) {
        const float root = fastSqrt(real[i] * real[i] + imag[i] * imag[i]);
        const auto count = static_cast<float>(n);
        lines[i] = isSigned ? real[i] / count * 2 : i == 0 ? root / count : root * 2 / count;
    }
    return lines;
}

Bars slowBars(const Sound &sound, int barCount = kBars) {
    const size_t channel = sound[0] == 0 && sound[1] != 0 ? 1 : 0;
    std::vector<float> samples;
    for (size_t i = channel; i < sound.size(); i += 2)
        samples.push_back(static_cast<float>(sound[i]));
    const std::vector<float> lines = slowLines(samples, /*isSigned=*/true);
    Bars bars(static_cast<size_t>(barCount));
    const int half = static_cast<int>(samples.size()) / 2;
    const int group = half / (barCount + 1);
    int64_t acc = 0;
    int run = 0;
    int bar = -2;
    for (int i = 0; i < half; ++i) {
        const float line = lines[static_cast<size_t>(i)];
        if (line > static_cast<float>(acc))
            acc += static_cast<int64_t>(std::trunc(line));
        ++run;
        if (run > group) {
            run = 0;
            ++bar;
            if (bar >= 0) {
                const int64_t t = (1500 - acc) / 2;
                acc += acc < t ? acc : t;
                bars[static_cast<size_t>(bar)] = static_cast<int32_t>(acc);
            }
            acc = 0;
        }
    }
    if (bar < barCount - 1)
        bars[static_cast<size_t>(bar) + 1] = static_cast<int32_t>(acc);
    for (int32_t &value : bars)
        value = value < 0 ? 0 : value;
    return bars;
}

int32_t bytesOf(const Sound &sound) { return static_cast<int32_t>(sound.size() * sizeof(int16_t)); }

Bars fastBars(CSampleTransform &transform, const Sound &sound, int barCount = kBars) {
    Bars bars(static_cast<size_t>(barCount));
    transform.CalcBarvalue(sound.data(), bytesOf(sound), bars.data(), barCount);
    return bars;
}

Sound madeOf(const std::function<float(int)> &left, const std::function<float(int)> &right) {
    Sound sound;
    for (int i = 0; i < kFrames; ++i)
        for (const auto *channel : {&left, &right})
            sound.push_back(AudioTransToPCMWave::wrappedToS16((*channel)(i)));
    return sound;
}

Sound noise(std::mt19937 &random, int amplitude) {
    Sound sound(2UL * kFrames);
    for (int16_t &sample : sound)
        sample =
            static_cast<int16_t>(static_cast<int>(random() % (2U * static_cast<unsigned>(amplitude) + 1)) - amplitude);
    return sound;
}

constexpr WaveInfo_s kWave;

} // namespace

TEST(Spectrum, IsThatOfTheSlowReading) {
    const auto tone = [](double hertz, double amplitude) {
        return [=](int i) { return static_cast<float>(amplitude * std::sin(6.283185307179586 * hertz * i / 44100)); };
    };
    const auto from = [](int first, auto wave) { return [=](int i) { return i < first ? 0.0F : wave(i); }; };
    const auto constant = [](float value) { return [=](int) { return value; }; };
    CSampleTransform transform(&kWave, kBars);
    std::vector<Bars> seen;
    for (const auto &[name, sound] : std::initializer_list<std::pair<const char *, Sound>>{
             {"a low tone", madeOf(tone(110, 0.5), tone(110, 0.5))},
             {"a high tone", madeOf(tone(9000, 0.9), tone(9000, 0.9))},
             {"only the left counts", madeOf(tone(440, 0.7), tone(3000, 0.7))},
             {"one-sided from the first frame, left", madeOf(constant(0.3F), constant(0))},
             {"one-sided from the first frame, right", madeOf(from(1, tone(440, 0.7)), constant(0.6F))},
             {"one-sided for a frame, and the whole piece is of the right",
              madeOf(from(1, constant(0.9F)), tone(1000, 1))},
             {"both begin with nothing", madeOf(from(1, tone(880, 0.8)), from(1, tone(2000, 0.8)))},
             {"beyond full scale", madeOf(tone(700, 1.5), tone(700, 1.5))},
         }) {
        SCOPED_TRACE(name);
        const Bars bars = fastBars(transform, sound);
        EXPECT_EQ(bars, slowBars(sound));
        EXPECT_GT(std::accumulate(bars.begin(), bars.end(), 0), 0);
        EXPECT_EQ(std::count(seen.begin(), seen.end(), bars), 0) << "as an earlier one";
        seen.push_back(bars);
    }
    EXPECT_EQ(fastBars(transform, madeOf(constant(0), constant(0))), Bars(kBars));
    // The folded table and the real part in both terms spread what would be one line over most of the bars.
    const Bars spread = fastBars(transform, madeOf(tone(1000, 0.9), tone(1000, 0.9)));
    EXPECT_GT(std::count_if(spread.begin(), spread.end(), [](int32_t bar) { return bar > 0; }), kBars / 2);
}

class RandomSpectrum : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Seeds, RandomSpectrum, testing::Range(0U, 10U));

TEST_P(RandomSpectrum, IsThatOfTheSlowReadingAThousandTimes) {
    std::mt19937 random(GetParam());
    CSampleTransform transform(&kWave, kBars);
    for (int i = 0; i < 1000; ++i) {
        Sound sound = noise(random, /*amplitude=*/1 << random() % 16);
        for (const size_t channel : {0, 1})
            if (random() % 4 == 0)
                sound[channel] = 0;
        ASSERT_EQ(fastBars(transform, sound), slowBars(sound)) << "piece " << i;
    }
}

TEST(Spectrum, HasAsManyBarsAsAreAskedFor) {
    std::mt19937 random(7);
    const Sound sound = noise(random, 20'000);
    CSampleTransform transform(&kWave, kBars);
    for (const int count : {1, 2, 19, 21, 64, 1102, 2204, 2205, 5000, 20}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(fastBars(transform, sound, count), slowBars(sound, count));
    }
}

TEST(Spectrum, BarsFallByTwoHundred) {
    CSampleTransform transform(&kWave, kBars);
    const Sound silence(2UL * kFrames);
    Bars bars(kBars, 450);
    bars[3] = -5;
    for (const int32_t left : {250, 50, 0, 0}) {
        transform.CalcBarvalue(silence.data(), bytesOf(silence), bars.data(), kBars);
        EXPECT_EQ(bars[2], left);
        EXPECT_EQ(bars[3], 0);
    }
}

TEST(Spectrum, GathersATenthOfASecondInAnyPieces) {
    std::mt19937 random(11);
    const Sound sound = noise(random, 15'000);
    const Bars expected = slowBars(sound);
    const auto *bytes = reinterpret_cast<const uint8_t *>(sound.data());
    for (const int32_t piece : {1, 3, 7, 997, 2048, 17640}) {
        SCOPED_TRACE(piece);
        CSampleTransform transform(&kWave, kBars);
        for (int round = 0; round < 2; ++round) { // what is left of the last piece is thrown away
            Bars bars(kBars);
            int32_t given = 0;
            for (; given + piece < 17640; given += piece)
                ASSERT_FALSE(transform.SampleTransBarvalue(bytes + given, piece, bars.data(), kBars));
            std::vector<uint8_t> last(bytes + given, bytes + 17640);
            last.resize(static_cast<size_t>(piece), 0xff);
            ASSERT_TRUE(transform.SampleTransBarvalue(last.data(), piece, bars.data(), kBars));
            EXPECT_EQ(bars, expected);
        }
    }
}

TEST(Spectrum, RefusesWhatIsNoSound) {
    Bars bars(kBars);
    const Sound sound(2UL * kFrames, 1000);
    WaveInfo_s none;
    none.channels = 0;
    WaveInfo_s wide; // more bytes to a tenth of a second than samples to a second
    wide.blockAlignment = 16;
    for (const auto &[wave, hasResult] :
         {std::pair<const WaveInfo_s *, bool>{nullptr, false}, {&none, false}, {&wide, false}, {&kWave, true}}) {
        CSampleTransform transform(wave, kBars);
        EXPECT_FALSE(transform.SampleTransBarvalue(nullptr, 17640, bars.data(), kBars));
        EXPECT_FALSE(transform.SampleTransBarvalue(sound.data(), 17640, nullptr, kBars));
        EXPECT_FALSE(transform.SampleTransBarvalue(sound.data(), -1, bars.data(), kBars));
        EXPECT_EQ(transform.SampleTransBarvalue(sound.data(), 17640, bars.data(), kBars), hasResult);
    }
    // More frames than the transform was made for leave its lines as they were.
    CSampleTransform transform(&kWave, kBars);
    fastBars(transform, sound);
    const Bars earlier = fastBars(transform, sound);
    Sound longer(2UL * kFrames + 2, 7);
    EXPECT_EQ(fastBars(transform, longer), earlier);
}

TEST(FFTransform, LinesAreThoseOfTheSlowReading) {
    std::mt19937 random(3);
    const Sound sound = noise(random, 32'767);
    for (const int32_t points : {4410, 4096, 1000, 17, 2, 1}) {
        for (const bool isSigned : {true, false}) {
            SCOPED_TRACE(points * (isSigned ? 1 : -1));
            SampleIter samples;
            ASSERT_TRUE(samples.SetSampleWorkSet(sound.data(), points * 2, /*bytesPerSample=*/2, /*isStereo=*/false));
            FFTransform transform(44100, points);
            ASSERT_TRUE(transform.fftTransformMag(samples, isSigned));
            std::vector<float> expected = slowLines({sound.begin(), sound.begin() + points}, isSigned);
            std::vector<float> lines = transform.fftGetMagArray();
            expected.resize(static_cast<size_t>(points / 2));
            lines.resize(static_cast<size_t>(points / 2));
            EXPECT_EQ(lines, expected);
        }
    }
}

TEST(SampleIter, GivesTheSamplesOfItsChannel) {
    const std::array<int8_t, 6> bytes = {1, 2, 3, -4, 5, 6};
    using enum WorkChannel;
    for (const auto &[width, isStereo, channel, frame, sample] : {std::tuple{1, true, Both, 1, 3},
                                                                  {1, true, Left, 1, 3},
                                                                  {1, true, Right, 1, -4},
                                                                  {1, false, Single, 3, -4},
                                                                  {2, false, Single, 0, 0x0201},
                                                                  {2, true, Right, 0, -0x3fd},
                                                                  {3, false, Single, 0, -1},
                                                                  {2, true, Right, 1, -1 /* behind the end */},
                                                                  {2, true, Both, -1, -1 /* before the beginning */}}) {
        SampleIter samples;
        EXPECT_TRUE(samples.GetSample() == -1 && samples.Count() == 0);
        EXPECT_FALSE(samples.SetSampleWorkSet(nullptr, 6, width, isStereo) ||
                     samples.SetSampleWorkSet(bytes.data(), 6, 0, isStereo));
        ASSERT_TRUE(samples.SetSampleWorkSet(bytes.data(), 6, width, isStereo));
        EXPECT_EQ(samples.Count(), 6 / width / (isStereo ? 2 : 1));
        samples.SetWorkChannel(channel);
        samples.SetPos(frame - 1);
        samples.Advance();
        EXPECT_EQ(samples.GetSample(), sample);
    }
}

TEST(SpectrumFeed, WrapsWhatIsBeyondFullScale) {
    for (const auto &[sample, expected] : {std::pair{1.0F, 32767},
                                           {-1.0F, -32767},
                                           {0.99999F, 32766},
                                           {-0.00002F, 0},
                                           {1.5F, 49150 - 65536},
                                           {-1.5F, 65536 - 49150},
                                           {3.0F, 98301 - 65536},
                                           {1e30F, 0},
                                           {std::nanf(""), 0}})
        EXPECT_EQ(AudioTransToPCMWave::wrappedToS16(sample), expected) << sample;
}
