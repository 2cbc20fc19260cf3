// The metadata writer changes any bytes: nothing, or `moov` alone.
#include "support/MemoryFile.h"

#include <algorithm>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string before(reinterpret_cast<const char *>(data), size);
    MemoryFile memory{before};
    mp4ff_access_record access = memory.access();
    const mp4ff_file file = mp4ff_open_read_metaonly(&access);
    if (!mp4ff_meta_update(&access, {{"gnid", "an identifier"}, {"genre", "Rock"}, {"track", "3"}})) {
        if (memory.bytes != before)
            std::abort();
        return 0;
    }
    // What stands before and behind the old `moov` is what it was.
    const std::string &after = memory.bytes;
    const size_t start = file->moov_offset, end = start + file->moov_size;
    if (after.size() < size || after.compare(0, start, before, 0, start) != 0 ||
        after.compare(end, size - end, before, end, size - end) != 0)
        std::abort();
    return 0;
}
