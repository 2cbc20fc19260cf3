#include "capture/FFTransform.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace {
constexpr float kTurn = 6.2831855F;
constexpr float kQuarterTurn = 1.5707964F;
constexpr double kTableStep = static_cast<double>(kTurn) / 8192; // a quarter of it for each of the 2048 entries

int32_t reversedBits(int32_t value, int bits) {
    int32_t reversed = 0;
    for (int bit = 0; bit < bits; ++bit)
        reversed |= (value >> bit & 1) << (bits - 1 - bit);
    return reversed;
}

int bitsOf(int32_t points) { return points < 1 ? 0 : static_cast<int>(std::log(points) / std::log(2)); }

float FastSqrt(float x) {
    int32_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    bits = 1597463172 - (bits >> 1);
    float y = 0;
    std::memcpy(&y, &bits, sizeof y);
    return 1.0F / ((1.5F - 0.5F * x * y * y) * y);
}
} // namespace

FFTransform::FFTransform(int32_t sampleRate, int32_t points)
    : points_(std::max(points, 0)), sampleRate_(sampleRate), nu_(bitsOf(points_)) {
    fillTables();
    const auto size = static_cast<size_t>(points_);
    magnitudes_.resize(size);
    realPart_.resize(size);
    imagPart_.resize(size);
    reversed_.reserve(size);
    tableIndexes_.reserve(size);
    for (int32_t i = 0; i < points_; ++i) {
        reversed_.push_back(reversedBits(i, nu_));
        tableIndexes_.push_back(static_cast<uint16_t>(tableIndex(reversed_.back())));
    }
}

void FFTransform::fillTables() {
    double angle = 0;
    for (size_t i = 0; i < kTableSize; ++i, angle += kTableStep) {
        sineTable_[i] = static_cast<float>(std::sin(angle));
        cosineTable_[i] = static_cast<float>(std::cos(angle));
    }
}

/// The angle is folded into the first quarter turn without any change of sign.
int FFTransform::tableIndex(int32_t reversed) const {
    float angle = static_cast<float>(reversed) * kTurn / static_cast<float>(points_);
    while (angle >= kQuarterTurn)
        angle -= kQuarterTurn;
    return static_cast<int>(angle / kQuarterTurn * kTableSize);
}

bool FFTransform::fftTransformMag(SampleIter &samples, bool isSigned) {
    if (points_ < 1 || samples.Count() > points_)
        return false;
    const auto size = static_cast<size_t>(points_);
    for (size_t i = 0; i < size; ++i, samples.Advance())
        realPart_[i] = static_cast<float>(samples.GetSample());
    if (isSigned)
        magnitudes_ = realPart_;
    std::fill(imagPart_.begin(), imagPart_.end(), 0.0F);
    combine();
    reorder();

    const auto count = static_cast<float>(points_);
    for (size_t i = 0; i < size / 2; ++i) {
        if (isSigned) {
            magnitudes_[i] = realPart_[i] / count * 2;
            continue;
        }
        const float root = FastSqrt(realPart_[i] * realPart_[i] + imagPart_[i] * imagPart_[i]);
        magnitudes_[i] = i == 0 ? root / count : root * 2 / count;
    }
    return true;
}

void FFTransform::combine() {
    const auto size = static_cast<size_t>(points_);
    size_t distance = size / 2;
    for (int shift = nu_ - 1; shift >= 0; --shift, distance /= 2) {
        for (size_t k = 0; k + distance < size; k += distance) {
            for (const size_t end = k + distance; k < end && k + distance < size; ++k) {
                const size_t index = tableIndexes_[k >> shift];
                const float cosine = cosineTable_[index];
                const float sine = sineTable_[index];
                const size_t m = k + distance;
                const float real = realPart_[m] * cosine + imagPart_[m] * sine;
                const float imaginary = realPart_[m] * cosine - realPart_[m] * sine; // the real part in both terms
                realPart_[m] = realPart_[k] - real;
                imagPart_[m] = imagPart_[k] - imaginary;
                realPart_[k] += real;
                imagPart_[k] += imaginary;
            }
        }
    }
}

void FFTransform::reorder() {
    for (size_t k = 0; k < reversed_.size(); ++k) {
        const auto other = static_cast<size_t>(reversed_[k]);
        if (other <= k)
            continue;
        std::swap(realPart_[k], realPart_[other]);
        std::swap(imagPart_[k], imagPart_[other]);
    }
}

double FFTransform::GetFrequency(int32_t point) const {
    return points_ < 1 ? 0 : static_cast<double>(point) * sampleRate_ / points_;
}

int32_t FFTransform::HzToPoint(double hertz) const {
    if (sampleRate_ < 1 || !(hertz > 0))
        return 0;
    return static_cast<int32_t>(std::min(hertz * points_ / sampleRate_, std::max(points_ / 2 - 1, 0) * 1.0));
}

float FFTransform::fftGetMagFromHertz(double hertz) const {
    return magnitudes_.empty() ? 0 : magnitudes_[static_cast<size_t>(HzToPoint(hertz))];
}
