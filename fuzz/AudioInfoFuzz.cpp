// Facts and length are asked of any bytes.
#include "FuzzedFile.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

#include <cmath>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    AudioConverter::Initialize({});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FuzzedFile file(data, size);
    AudioConverter::getAudioFileInfo(file.path());
    const double seconds = AudioFileHelper::fileDuration(file.path());
    if (!std::isfinite(seconds) || seconds < 0)
        std::abort();
    return 0;
}
