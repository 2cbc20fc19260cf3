// The transform behind the spectrum bars. It is no Fourier transform by the book: its look comes from a table of one
// quarter turn for all angles, from lengths that are no power of two, and from the real part standing in for the
// imaginary one. Each of these is meant.
//
// Threads: one at a time.
#pragma once

#include "capture/SampleIter.h"

#include <array>
#include <cstdint>
#include <vector>

class FFTransform {
public:
    /// For `points` samples; below one it transforms nothing.
    FFTransform(int32_t sampleRate, int32_t points);

    /// Transforms what `samples` gives from its position on. With `isSigned` the lines are the signed real parts, else
    /// magnitudes. False, and the lines as they were, if `samples` has more frames than there are points.
    bool fftTransformMag(SampleIter &samples, bool isSigned);
    /// The lines, of which the lower half counts; as many as there are points.
    const std::vector<float> &fftGetMagArray() const { return magnitudes_; }

    /// Hertz of a line.
    double GetFrequency(int32_t point) const;
    /// The line nearest below, at most the last one that counts.
    int32_t HzToPoint(double hertz) const;
    float fftGetMagFromHertz(double hertz) const;

private:
    static constexpr int kTableSize = 2048;

    void fillTables();
    int tableIndex(int32_t reversed) const;
    void combine();
    void reorder();

    int32_t points_;
    int32_t sampleRate_;
    std::vector<float> magnitudes_, realPart_, imagPart_;
    std::array<float, kTableSize> sineTable_{}, cosineTable_{}; // of the first quarter turn
    int nu_;                                                    // bits of a line's number
    std::vector<int32_t> reversed_;                             // numbers with their bits in reverse order
    std::vector<uint16_t> tableIndexes_;                        // by the number that is reversed into an angle
};
