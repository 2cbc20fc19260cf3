// The format of any bytes is looked for.
#include "FuzzedFile.h"
#include "tags/audio/AudioConverter.h"
#include "tags/audio/AudioFileHelper.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    AudioConverter::Initialize({});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FuzzedFile file(data, size);
    AudioFileHelper::AudioFileFormatID(file.path());
    return 0;
}
