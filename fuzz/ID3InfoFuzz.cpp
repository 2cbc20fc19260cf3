// Tags are read from any bytes, and written where they can be read.
#include "FuzzedFile.h"
#include "platform/run/Log.h"
#include "tags/access/TagDictionary.h"
#include "tags/access/TagLibHelper.h"
#include "tags/audio/AudioConverter.h"

#include <QImage>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    setLogSink([](const QString &) {});
    AudioConverter::Initialize({});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QVariantMap info = {{TagKey::kTitle, "Title"},
                              {TagKey::kYear, "1999"},
                              {TagKey::kCover, QVariantList{QImage(2, 2, QImage::Format_RGB32)}}};
    const FuzzedFile file(data, size);
    TagLibHelper::ID3Info(file.path());
    // Both routes, so that bytes in which no sound decodes come this far too.
    if (TagLibHelper::MP3ID3Info(file.path()))
        TagLibHelper::setMP3ID3Info(file.path(), info);
    const FuzzedFile again(data, size);
    if (TagLibHelper::M4AID3Info(again.path()))
        TagLibHelper::setM4AID3Info(again.path(), info);
    return 0;
}
