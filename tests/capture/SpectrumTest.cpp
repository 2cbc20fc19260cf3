// The arithmetic behind the bars, to the last bit: against a second reading of its rules that is as literal as it is
// slow.
#include "capture/AudioTransToPCMWave.h"
#include "capture/CSampleTransform.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr int kFrames = 4410;
constexpr int kBars = 20;
using Bars = std::vector<int32_t>;
using Sound = std::vector<int16_t>; // left, right, left, ...

std::vector<float> slowLines(const std::vector<float> &samples) {
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
    for (size_t i = 0; i < static_cast<size_t>(n / 2); ++i)
        lines[i] = real[i] / static_cast<float>(n) * 2;
    return lines;
}

Bars slowBars(const Sound &sound) {
    const size_t channel = sound[0] == 0 && sound[1] != 0 ? 1 : 0;
    std::vector<float> samples;
    for (size_t i = channel; i < sound.size(); i += 2)
        samples.push_back(static_cast<float>(sound[i]));
    const std::vector<float> lines = slowLines(samples);
    Bars bars(kBars);
    const int half = static_cast<int>(samples.size()) / 2;
    const int group = half / (kBars + 1);
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
    if (bar < kBars - 1)
        bars[static_cast<size_t>(bar) + 1] = static_cast<int32_t>(acc);
    for (int32_t &value : bars)
        value = value < 0 ? 0 : value;
    return bars;
}

int32_t bytesOf(const Sound &sound) { return static_cast<int32_t>(sound.size() * sizeof(int16_t)); }

Bars fastBars(CSampleTransform &transform, const Sound &sound) {
    Bars bars(kBars);
    transform.CalcBarvalue(sound.data(), bytesOf(sound), bars.data(), kBars);
    return bars;
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
    EXPECT_NE(expected, Bars(kBars));
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
