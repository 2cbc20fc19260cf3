// A growing byte buffer in which MP4 atoms are built, big-endian.
//
// A failed allocation or a short read sets the error flag; from then on every write answers 0 and changes nothing, so
// that a builder need look only once, at its end.
//
// Threads: any; a buffer belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

struct mp4ff_file_record;

struct membuffer_deleter {
    void operator()(uint8_t *bytes) const noexcept { std::free(bytes); }
};
using membuffer_bytes = std::unique_ptr<uint8_t[], membuffer_deleter>;

struct membuffer {
    membuffer_bytes data;
    uint32_t written = 0;
    uint32_t allocated = 0;
    bool error = false;
};

/// A buffer of 256 bytes; without memory its error flag is set.
membuffer membuffer_create();
void membuffer_free(membuffer &buffer);

/// Appends `size` bytes and answers how many were; a null `source` only makes room for them, filled with zeros.
uint32_t membuffer_write(membuffer &buffer, const void *source, uint32_t size);
uint32_t membuffer_write_int32(membuffer &buffer, uint32_t value);
uint32_t membuffer_write_int16(membuffer &buffer, uint16_t value);
/// `name` has four bytes.
uint32_t membuffer_write_atom_name(membuffer &buffer, std::string_view name);
/// Size word, name and the `size` bytes of `content`.
void membuffer_write_atom(membuffer &buffer, std::string_view name, uint32_t size, const void *content);
/// Appends the next `size` bytes of the file; fewer set the error flag.
uint32_t membuffer_transfer_from_file(membuffer &buffer, mp4ff_file_record &file, uint32_t size);

uint8_t *membuffer_get_ptr(const membuffer &buffer);
uint32_t membuffer_get_size(const membuffer &buffer);
bool membuffer_error(const membuffer &buffer);
void membuffer_set_error(membuffer &buffer);
/// Hands the bytes over, cut to their size; null after an error. The buffer is of no more use.
membuffer_bytes membuffer_detach(membuffer &buffer);
