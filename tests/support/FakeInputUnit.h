// An input unit that delivers what a test gives it.
#pragma once

#include "platform/sound/InputUnit.h"

#include <array>
#include <cmath>
#include <vector>

/// What the test sees of the units that an engine made, and what it lets them answer.
struct FakeInputUnits {
    InputUnitClient *client = nullptr;
    std::vector<DeviceID> initializedFor;
    int starts = 0;
    int stops = 0;
    bool initializes = true;
    Status nextStart = 0;
    Status nextStop = 0;

    InputUnitFactory factory() {
        return [this](InputUnitClient &newClient) {
            client = &newClient;
            return std::make_unique<Unit>(*this);
        };
    }

private:
    struct Unit final : InputUnit {
        explicit Unit(FakeInputUnits &log) : log_(log) {}
        bool initialize(DeviceID device) override {
            log_.initializedFor.push_back(device);
            return log_.initializes;
        }
        Status start() override {
            ++log_.starts;
            return log_.nextStart;
        }
        Status stop() override {
            ++log_.stops;
            return log_.nextStop;
        }
        FakeInputUnits &log_;
    };
};

/// Blocks of sound and of silence on one clock, given to a client as an input unit would.
class BlockFeed {
public:
    explicit BlockFeed(InputUnitClient &client) : client_(client) {}

    Status feed(const std::array<float, kBlockFrames> &left, const std::array<float, kBlockFrames> &right,
                Status status = 0) {
        const InputSlice slice{hostTime_, kBlockFrames, left.data(), right.data(), status};
        hostTime_ += 11'609'977;
        return client_.AudioInputProc(slice);
    }
    /// One block of a 440 Hz tone; the phase runs on from block to block.
    void tone(Status status = 0) {
        std::array<float, kBlockFrames> samples{};
        for (float &sample : samples)
            sample = 0.5f * static_cast<float>(std::sin(2 * 3.14159265358979 * 440 * frame_++ / kSampleRate));
        feed(samples, samples, status);
    }
    void silence() { feed({}, {}); }
    /// Of the next block.
    uint64_t hostTime() const { return hostTime_; }
    void tones(int blocks) {
        while (blocks-- > 0)
            tone();
    }
    void silences(int blocks) {
        while (blocks-- > 0)
            silence();
    }

private:
    InputUnitClient &client_;
    uint64_t hostTime_ = 1'000'000'000;
    int64_t frame_ = 0;
};
