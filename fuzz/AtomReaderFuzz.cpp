// The atom reader gets any bytes.
#include "support/MemoryFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    MemoryFile memory{std::string(reinterpret_cast<const char *>(data), size)};
    mp4ff_access_record access = memory.access();
    const mp4ff_file file = mp4ff_open_read_metaonly(&access);
    std::optional<std::string> name, value;
    for (uint32_t i = 0; mp4ff_meta_get_by_index(*file, i, name, value); ++i)
        if (name->empty() || value->size() > size)
            std::abort();
    // Each byte is looked at once, but for headers at which a walk ends.
    if (memory.bytesRead > size + 1024)
        std::abort();
    return 0;
}
