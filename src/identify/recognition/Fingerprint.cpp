#include "identify/recognition/Fingerprint.h"

#include "tags/audio/AudioSource.h"
#include "tags/audio/FrameResampler.h"

#include <algorithm>
#include <chromaprint.h>
#include <limits>
#include <memory>
#include <mutex>

namespace {

// What the fingerprint is made from; brought to it here, where it takes a third of the library's own time.
constexpr int kRate = 11025;
constexpr int kChannels = 1;

// The library may be built with a transform whose tables two threads must not make at once.
std::mutex tableMutex;

struct ContextDeleter {
    void operator()(ChromaprintContext *context) const {
        const std::lock_guard lock(tableMutex);
        chromaprint_free(context);
    }
};
using Context = std::unique_ptr<ChromaprintContext, ContextDeleter>;

struct ChromaprintDeleter {
    void operator()(void *memory) const { chromaprint_dealloc(memory); }
};

Context newContext() {
    const std::lock_guard lock(tableMutex);
    return Context(chromaprint_new(CHROMAPRINT_ALGORITHM_DEFAULT));
}

std::optional<Fingerprint> finished(ChromaprintContext *context) {
    uint32_t *numbers = nullptr;
    int count = 0;
    if (!chromaprint_finish(context) || !chromaprint_get_raw_fingerprint(context, &numbers, &count))
        return std::nullopt;
    const std::unique_ptr<uint32_t, ChromaprintDeleter> owner(numbers);
    if (count <= 0)
        return std::nullopt;
    return Fingerprint{.raw = {numbers, numbers + count}};
}

} // namespace

QByteArray Fingerprint::compressed() const {
    char *text = nullptr;
    int size = 0;
    if (!chromaprint_encode_fingerprint(raw.data(), static_cast<int>(raw.size()), CHROMAPRINT_ALGORITHM_DEFAULT, &text,
                                        &size, /*base64=*/1))
        return {};
    const std::unique_ptr<char, ChromaprintDeleter> owner(text);
    return {text, size};
}

std::optional<Fingerprint> fingerprintOfFile(const QString &path, std::chrono::seconds atMost,
                                             const std::stop_token &stop) {
    const auto source = AudioSource::open(path);
    if (!source || !source->openDecoder(/*isTrimmed=*/true))
        return std::nullopt;
    const Context context = newContext();
    if (!context || !chromaprint_start(context.get(), kRate, kChannels))
        return std::nullopt;
    qint64 missing = atMost.count() * kRate;
    const auto feed = [&](const int16_t *samples, qint64 frames) {
        const qint64 taken = std::min(frames, missing);
        missing -= taken;
        return chromaprint_feed(context.get(), samples, static_cast<int>(taken)) != 0 && missing > 0;
    };
    FrameResampler resampler(kRate, kChannels, feed, FrameResampler::Filter::Coarse);
    while (missing > 0 && !stop.stop_requested()) {
        const AVFrame *frame = source->nextFrame(std::numeric_limits<int>::max());
        if (!frame || !resampler.add(*frame, *source->stream()))
            break;
    }
    resampler.finish();
    return stop.stop_requested() ? std::nullopt : finished(context.get());
}
