// The arithmetic behind the bars, to the last bit: against a second reading of its rules that is as literal as it is
// slow.
#include "capture/AudioTransToPCMWave.h"
#include "capture/CSampleTransform.h"

#include <algorithm>
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
        for (int i = 0; i < nu; ++i, value /= 2)
            result = result * 2 + value % 2;
        return result;
    };
    std::vector<float> lines = samples, zeros(samples.size(), 0.0F);
    float *real = lines.data();
    float *imag = zeros.data();
    for (int pass = 0, n2 = n / 2, nu1 = nu - 1; pass < nu; ++pass, n2 /= 2, --nu1)
        for (int k = 0; k + n2 < n; k += n2)
            for (int i = 0; i < n2 && k + n2 < n; ++i, ++k) {
                float angle = static_cast<float>(reversed(k >> nu1)) * 6.2831855F / static_cast<float>(n);
                while (angle >= 1.5707964F)
                    angle -= 1.5707964F;
                const auto [s, c] = tables[static_cast<size_t>(angle / 1.5707964F * 2048)];
                const int m = k + n2;
                const float tr = real[m] * c + imag[m] * s;
                const float ti = real[m] * c - real[m] * s;
                real[m] = real[k] - tr;
                imag[m] = imag[k] - ti;
                real[k] += tr;
                imag[k] += ti;
            }
    for (int k = 0; k < n; ++k)
        if (reversed(k) > k)
            std::swap(real[k], real[reversed(k)]);
    for (int i = 0; i < n / 2; ++i)
        real[i] = real[i] / static_cast<float>(n) * 2;
    return lines;
}

Bars slowBars(const Sound &sound) {
    const size_t channel = sound[0] == 0 && sound[1] != 0 ? 1 : 0;
    std::vector<float> samples;
    for (size_t i = channel; i < sound.size(); i += 2)
        samples.push_back(static_cast<float>(sound[i]));
    const std::vector<float> lines = slowLines(samples);
    Bars bars(kBars);
    const size_t half = samples.size() / 2;
    const size_t group = half / (kBars + 1) + 1;
    int64_t acc = 0;
    size_t bar = 0; // two beyond the one that is written
    for (size_t i = 0; i < half; ++i) {
        if (lines[i] > static_cast<float>(acc))
            acc += static_cast<int64_t>(std::trunc(lines[i]));
        if ((i + 1) % group != 0)
            continue;
        if (bar++ > 0)
            bars[bar - 2] = static_cast<int32_t>(acc + std::min(acc, (1500 - acc) / 2));
        acc = 0;
    }
    if (bar <= kBars)
        bars[bar - 1] = static_cast<int32_t>(acc);
    for (int32_t &value : bars)
        value = std::max(value, 0);
    return bars;
}

int32_t bytesOf(const Sound &sound) { return static_cast<int32_t>(sound.size() * sizeof(int16_t)); }

Sound noise(std::mt19937 &random, int amplitude) {
    Sound sound(2UL * kFrames);
    std::uniform_int_distribution values(-amplitude, amplitude);
    std::ranges::generate(sound, [&] { return static_cast<int16_t>(values(random)); });
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
        Bars bars(kBars);
        transform.CalcBarvalue(sound.data(), bytesOf(sound), bars.data(), kBars);
        ASSERT_EQ(bars, slowBars(sound)) << "piece " << i;
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
