// The hardware input unit: delivers the sound of one capture device in slices.
//
// Threads: InputUnitClient::AudioInputProc() on the unit's own audio thread, everything else on the main thread.
#pragma once

#include "platform/sound/AudioTypes.h"

#include <functional>
#include <memory>

/// One slice of input. The sample pointers are valid during the callback only.
struct InputSlice {
    uint64_t hostTime = 0;        ///< time of the first frame, nanoseconds of the monotonic clock
    uint32_t frames = 0;          ///< kBlockFrames, unless the device misbehaves
    const float *left = nullptr;  ///< `frames` samples, all of them finite
    const float *right = nullptr; ///< `frames` samples; equal to `left` where the device has one channel
    Status status = 0;            ///< not 0 when the samples could not be fetched
};

/// Receives the slices of an InputUnit.
class InputUnitClient {
public:
    /// Audio thread. Must not allocate, block or log. The result is the slice's status.
    virtual Status AudioInputProc(const InputSlice &slice) noexcept = 0;

protected:
    ~InputUnitClient() = default;
};

/// A stream of 512-frame slices, two float channels at 44100 Hz, from one device. Starts stopped.
class InputUnit {
public:
    virtual ~InputUnit() = default;

    /// Binds the unit to `device`; false if there is no such input device. To be called once, before start().
    virtual bool initialize(DeviceID device) = 0;

    /// Starts the delivery of slices. 0 on success. The first slice may take up to two seconds on an idle output.
    virtual Status start() = 0;

    /// Stops the delivery; after it returns no callback runs. 0 on success, also when it was not running.
    virtual Status stop() = 0;
};

/// Makes an unbound unit that will call `client`, which outlives it.
using InputUnitFactory = std::function<std::unique_ptr<InputUnit>(InputUnitClient &client)>;
