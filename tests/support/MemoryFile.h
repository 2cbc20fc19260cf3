// A file in memory behind an MP4 access record.
#pragma once

#include "tags/mp4/mp4ff.h"

#include <algorithm>
#include <string>

struct MemoryFile {
    std::string bytes;
    uint64_t position = 0;
    uint64_t bytesRead = 0;
    bool isFull = false; ///< writes fail

    mp4ff_access_record access() {
        return {[](void *file, void *buffer, uint32_t size) { return self(file).read(buffer, size); },
                [](void *file, const void *data, uint32_t size) { return self(file).write(data, size); },
                [](void *file, uint64_t to) {
                    self(file).position = to;
                    return 0U;
                },
                [](void *) { return 0U; }, this};
    }

private:
    static MemoryFile &self(void *file) { return *static_cast<MemoryFile *>(file); }
    uint32_t read(void *buffer, uint32_t size) {
        const uint64_t at = std::min<uint64_t>(position, bytes.size());
        const auto got = static_cast<uint32_t>(std::min<uint64_t>(size, bytes.size() - at));
        std::copy_n(bytes.data() + at, got, static_cast<char *>(buffer));
        position += got;
        bytesRead += got;
        return got;
    }
    uint32_t write(const void *data, uint32_t size) {
        if (isFull)
            return 0;
        bytes.resize(std::max<uint64_t>(bytes.size(), position + size));
        std::copy_n(static_cast<const char *>(data), size, bytes.data() + position);
        position += size;
        return size;
    }
};
