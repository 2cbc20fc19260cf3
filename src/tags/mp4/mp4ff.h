// MP4 (ISO base media) files: where `moov` lies, which items `ilst` holds, and a new `ilst` in place of the old.
//
// Plain bytes over an access record that the caller fills. Nothing in a file is trusted: an atom that claims more than
// its parent holds ends with its parent, nesting is followed kDepthLimit deep, memory follows what was really read,
// and every walk goes forward only.
//
// Threads: any; a file record and its access record belong to one thread at a time.
#pragma once

#include "tags/mp4/membuffer.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The caller's access to a file.
struct mp4ff_access_record {
    /// Bytes read, fewer at the end of the file.
    uint32_t (*read)(void *user_data, void *buffer, uint32_t length) = nullptr;
    /// Bytes written.
    uint32_t (*write)(void *user_data, const void *buffer, uint32_t length) = nullptr;
    /// Moves to an absolute position; 0 is success.
    uint32_t (*seek)(void *user_data, uint64_t position) = nullptr;
    /// Cuts the file at the current position; may do nothing. 0 is success.
    uint32_t (*truncate)(void *user_data) = nullptr;
    void *user_data = nullptr; ///< handed to all four
};

struct mp4ff_tag {
    std::string name;
    std::string value;
};
using mp4ff_tag_list = std::vector<mp4ff_tag>;

struct mp4ff_track_record {
    uint64_t position = 0; ///< of the content of its `trak`
    uint64_t size = 0;     ///< of that content
};

struct mp4ff_file_record {
    mp4ff_access_record *access = nullptr; ///< not owned
    uint64_t position = 0;                 ///< kept by each read, write and set
    bool moov_read = false;                ///< a `moov` with content was seen
    uint64_t moov_offset = 0;              ///< of the start of `moov`, header included
    uint64_t moov_size = 0;                ///< header included
    uint8_t last_atom = 0;                 ///< type of the last top-level atom
    uint64_t file_size = 0;                ///< sum of the sizes of the top-level atoms
    uint32_t time_scale = 0;               ///< from `mvhd`
    uint32_t duration = 0;                 ///< from `mvhd`, in units of time_scale
    int32_t track_count = 0;               ///< all `trak` atoms; those past the table are counted only
    std::array<std::unique_ptr<mp4ff_track_record>, 1024> tracks;
    mp4ff_tag_list tags;

    bool has_fragments = false;       ///< a `moof` was seen
    bool is_moov_header_long = false; ///< `moov` has a 64-bit size
    bool is_lost = false;             ///< a seek failed; every later read and write answers 0
    uint64_t text_left = 16U << 20;   ///< bytes of item texts that may still be kept
};

void mp4ff_close(mp4ff_file_record *file);
struct mp4ff_closer {
    void operator()(mp4ff_file_record *file) const { mp4ff_close(file); }
};
using mp4ff_file = std::unique_ptr<mp4ff_file_record, mp4ff_closer>;

/// Walks the file from its start; gives a record however little was found.
mp4ff_file mp4ff_open_read_metaonly(mp4ff_access_record *access);

int32_t mp4ff_meta_get_num_items(const mp4ff_file_record &file);
/// 1 with copies of the item's name and value; 0 for an index out of range, with both absent.
int32_t mp4ff_meta_get_by_index(const mp4ff_file_record &file, uint32_t index, std::optional<std::string> &name,
                                std::optional<std::string> &value);

/// Replaces the items of the file by `data`. `moov` is written over itself where it is last, else it becomes `free` and
/// the new one goes to the end; the audio never moves. 1 on success. 0 where nothing was changed, and after a write
/// that failed. Nothing is changed in a file whose atoms don't end with it, in one with fragments before whose data
/// `moov` must stand, in one whose `moov` has a 64-bit size or more than 32 MiB or holds an atom that passes its
/// parent's end, and in one that would lose a track.
uint32_t mp4ff_meta_update(mp4ff_access_record *access, const mp4ff_tag_list &data);
/// The content of the `ilst` that an update would replace; empty if there is none.
std::string mp4ff_read_items(mp4ff_file_record &file);

/// The new content of `moov`, without its header. 1 or 0.
uint32_t modify_moov(mp4ff_file_record &file, const mp4ff_tag_list &data, membuffer_bytes &out_buffer,
                     uint32_t &out_size);
/// The content of `ilst`, `meta` and `udta` for a list. 1 or 0.
uint32_t create_ilst(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size);
uint32_t create_meta(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size);
uint32_t create_udta(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size);

/// Looks for an atom in `size` bytes from `base`: 1 with the position at its start, or 0.
uint32_t find_atom(mp4ff_file_record &file, uint64_t base, uint64_t size, std::string_view name);
/// The same, preferring an atom with the child `name_inside` behind `extraheaders` bytes of its content: 2 with the
/// position at that, 1 with the position at the first of the name, or 0.
uint32_t find_atom_v2(mp4ff_file_record &file, uint64_t base, uint64_t size, std::string_view name,
                      uint32_t extraheaders, std::string_view name_inside);

// Low-level access. A short read gives what was read, or 0 for a number.
uint32_t mp4ff_read_data(mp4ff_file_record &file, void *buffer, uint32_t size);
uint32_t mp4ff_write_data(mp4ff_file_record &file, const void *data, uint32_t size);
uint32_t mp4ff_write_int32(mp4ff_file_record &file, uint32_t value);
uint64_t mp4ff_read_int64(mp4ff_file_record &file);
uint32_t mp4ff_read_int32(mp4ff_file_record &file);
uint32_t mp4ff_read_int24(mp4ff_file_record &file);
uint16_t mp4ff_read_int16(mp4ff_file_record &file);
uint8_t mp4ff_read_char(mp4ff_file_record &file);
/// The next `size` bytes up to the first zero byte. At most 1 MiB, and all texts of a file at most 16 MiB, are kept.
std::string mp4ff_read_string(mp4ff_file_record &file, uint64_t size);
void mp4ff_set_position(mp4ff_file_record &file, uint64_t position);
uint64_t mp4ff_position(const mp4ff_file_record &file);
uint32_t mp4ff_truncate(mp4ff_file_record &file);

struct mp4ff_atom_header {
    uint64_t size = 0; ///< header included; 0 at the end of the file and where it is less than the header
    uint8_t type = 0;
    uint8_t header_size = 8;
    std::array<char, 4> name{};
};
mp4ff_atom_header mp4ff_atom_read_header(mp4ff_file_record &file);
void parse_atoms(mp4ff_file_record &file, bool meta_only);
void parse_sub_atoms(mp4ff_file_record &file, uint64_t total_size, bool meta_only, int depth);
bool need_parse_when_meta_only(uint8_t atom_type);
void mp4ff_read_meta(mp4ff_file_record &file, uint64_t size);
void mp4ff_parse_metadata(mp4ff_file_record &file, uint64_t size);
void mp4ff_parse_tag(mp4ff_file_record &file, uint8_t parent_atom_type, uint64_t size);

// Names and numbers.

/// Types below this are containers.
inline constexpr uint8_t kFirstLeafType = 128;
inline constexpr uint8_t kUnknownAtomType = 255;
uint8_t mp4ff_atom_name_to_type(std::string_view name);
/// The name of an item without a name of its own; "unknown" for other types.
const char *mp4ff_set_metadata_name(uint8_t atom_type);
/// One-based number of a genre, whatever its case; 0 for one that is on no list.
uint32_t mp4ff_meta_genre_to_index(std::string_view genre);
/// Null for 0 and above 148.
const char *mp4ff_meta_index_to_genre(uint32_t index);
/// The atom of a standard item, whatever the name's case; empty for others.
std::string_view find_standard_meta(std::string_view name);
/// The number that a text starts with; 0 for an absent text and one without a number.
int myatoi(const std::string *text);
/// Adds a copy; an empty name or an absent value adds nothing.
void mp4ff_tag_add_field(mp4ff_tag_list &tags, std::string_view name, const std::optional<std::string> &value);
/// ASCII letters without regard to case.
bool mp4ff_equal_ignoring_case(std::string_view left, std::string_view right);

void membuffer_write_track_tag(membuffer &buffer, std::string_view name, uint16_t index, uint16_t total);
void membuffer_write_int16_tag(membuffer &buffer, std::string_view name, uint16_t value);
void membuffer_write_std_tag(membuffer &buffer, std::string_view name, std::string_view value);
void membuffer_write_custom_tag(membuffer &buffer, std::string_view name, std::string_view value);
