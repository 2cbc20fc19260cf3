#include "tags/mp4/membuffer.h"

#include "tags/mp4/mp4ff.h"

#include <cstring>

namespace {
constexpr uint32_t kFirstAllocation = 256;
// Doubling past this would not fit the 32-bit words of an atom's size.
constexpr uint64_t kMaxAllocation = 0x80000000;
// What is taken from a file at a time, so that a lying size costs no more memory than the file holds bytes.
constexpr uint32_t kTransferStep = 1U << 20;

bool makeRoom(membuffer &buffer, uint32_t size) {
    const uint64_t needed = uint64_t{buffer.written} + size;
    uint64_t allocated = buffer.allocated;
    if (needed <= allocated)
        return true;
    while (allocated < needed)
        allocated *= 2;
    void *grown = allocated > kMaxAllocation ? nullptr : std::realloc(buffer.data.get(), allocated);
    if (!grown) {
        membuffer_free(buffer);
        membuffer_set_error(buffer);
        return false;
    }
    // The old block belongs to realloc now, in place or freed.
    static_cast<void>(buffer.data.release());
    buffer.data.reset(static_cast<uint8_t *>(grown));
    buffer.allocated = static_cast<uint32_t>(allocated);
    return true;
}
} // namespace

membuffer membuffer_create() {
    membuffer buffer;
    buffer.data.reset(static_cast<uint8_t *>(std::malloc(kFirstAllocation)));
    buffer.allocated = buffer.data ? kFirstAllocation : 0;
    buffer.error = !buffer.data;
    return buffer;
}

void membuffer_free(membuffer &buffer) {
    buffer.data.reset();
    buffer.written = 0;
    buffer.allocated = 0;
}

uint32_t membuffer_write(membuffer &buffer, const void *source, uint32_t size) {
    if (buffer.error || !makeRoom(buffer, size))
        return 0;
    uint8_t *end = buffer.data.get() + buffer.written;
    if (!source)
        std::memset(end, 0, size);
    else if (size > 0)
        std::memcpy(end, source, size);
    buffer.written += size;
    return size;
}

uint32_t membuffer_write_int32(membuffer &buffer, uint32_t value) {
    const uint8_t bytes[4] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                              static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    return membuffer_write(buffer, bytes, sizeof bytes);
}

uint32_t membuffer_write_int16(membuffer &buffer, uint16_t value) {
    const uint8_t bytes[2] = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    return membuffer_write(buffer, bytes, sizeof bytes);
}

uint32_t membuffer_write_atom_name(membuffer &buffer, std::string_view name) {
    return membuffer_write(buffer, name.data(), 4);
}

void membuffer_write_atom(membuffer &buffer, std::string_view name, uint32_t size, const void *content) {
    membuffer_write_int32(buffer, size + 8);
    membuffer_write_atom_name(buffer, name);
    membuffer_write(buffer, content, size);
}

uint32_t membuffer_transfer_from_file(membuffer &buffer, mp4ff_file_record &file, uint32_t size) {
    uint32_t done = 0;
    while (done < size) {
        const uint32_t step = std::min(size - done, kTransferStep);
        if (membuffer_write(buffer, /*source=*/nullptr, step) != step)
            return 0;
        uint8_t *target = buffer.data.get() + (buffer.written - step);
        if (mp4ff_read_data(file, target, step) != step) {
            membuffer_free(buffer);
            membuffer_set_error(buffer);
            return 0;
        }
        done += step;
    }
    return done;
}

uint8_t *membuffer_get_ptr(const membuffer &buffer) { return buffer.data.get(); }

uint32_t membuffer_get_size(const membuffer &buffer) { return buffer.written; }

bool membuffer_error(const membuffer &buffer) { return buffer.error; }

void membuffer_set_error(membuffer &buffer) { buffer.error = true; }

membuffer_bytes membuffer_detach(membuffer &buffer) {
    if (buffer.error)
        return nullptr;
    // Shrinking cannot fail in a way that matters: the larger block serves as well.
    if (void *cut = std::realloc(buffer.data.get(), std::max(buffer.written, 1U))) {
        static_cast<void>(buffer.data.release());
        buffer.data.reset(static_cast<uint8_t *>(cut));
    }
    membuffer_bytes bytes = std::move(buffer.data);
    membuffer_free(buffer);
    membuffer_set_error(buffer);
    return bytes;
}
