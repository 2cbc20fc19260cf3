// The walk over the atoms of a file and the readers below it.
#include "tags/mp4/mp4ff.h"

#include <algorithm>
#include <limits>

namespace {
constexpr uint8_t kMoov = 1, kTrak = 2, kIlst = 8, kMvhd = 131, kMeta = 148;

// Items stand five deep, sample tables six; what nests deeper is skipped.
constexpr int kDepthLimit = 16;

uint64_t sumOf(uint64_t left, uint64_t right) {
    const uint64_t most = std::numeric_limits<uint64_t>::max();
    return left > most - right ? most : left + right;
}

// A big-endian number of `bytes` bytes.
uint64_t readNumber(mp4ff_file_record &file, uint32_t bytes) {
    uint8_t data[8];
    if (mp4ff_read_data(file, data, bytes) != bytes)
        return 0;
    uint64_t value = 0;
    for (uint32_t i = 0; i < bytes; ++i)
        value = value << 8 | data[i];
    return value;
}

void readMvhd(mp4ff_file_record &file) {
    const uint8_t version = mp4ff_read_char(file);
    mp4ff_read_int24(file);
    const uint32_t dates = version == 1 ? 16 : 8;
    mp4ff_set_position(file, file.position + dates);
    file.time_scale = mp4ff_read_int32(file);
    file.duration = static_cast<uint32_t>(version == 1 ? mp4ff_read_int64(file) : mp4ff_read_int32(file));
}

void addTrack(mp4ff_file_record &file, uint64_t size) {
    const auto index = static_cast<size_t>(file.track_count);
    if (index < file.tracks.size())
        file.tracks[index] = std::make_unique<mp4ff_track_record>(mp4ff_track_record{file.position, size});
    if (file.track_count < std::numeric_limits<int32_t>::max())
        ++file.track_count;
}

// Reads a leaf whose header has just been read.
void mp4ff_atom_read(mp4ff_file_record &file, uint64_t size, const mp4ff_atom_header &atom) {
    // Behind a header of 16 bytes this lies 8 bytes past the atom.
    const uint64_t end = sumOf(file.position, size - 8);
    if (atom.type == kMvhd)
        readMvhd(file);
    else if (atom.type == kMeta)
        mp4ff_read_meta(file, size - atom.header_size);
    mp4ff_set_position(file, end);
}
} // namespace

uint32_t mp4ff_read_data(mp4ff_file_record &file, void *buffer, uint32_t size) {
    if (file.is_lost)
        return 0;
    const uint32_t read = std::min(file.access->read(file.access->user_data, buffer, size), size);
    file.position += read;
    return read;
}

uint32_t mp4ff_write_data(mp4ff_file_record &file, const void *data, uint32_t size) {
    if (file.is_lost)
        return 0;
    const uint32_t written = file.access->write(file.access->user_data, data, size);
    file.position += written;
    return written;
}

uint32_t mp4ff_write_int32(mp4ff_file_record &file, uint32_t value) {
    const uint8_t bytes[4] = {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
                              static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    return mp4ff_write_data(file, bytes, sizeof bytes);
}

uint64_t mp4ff_read_int64(mp4ff_file_record &file) { return readNumber(file, 8); }
uint32_t mp4ff_read_int32(mp4ff_file_record &file) { return static_cast<uint32_t>(readNumber(file, 4)); }
uint32_t mp4ff_read_int24(mp4ff_file_record &file) { return static_cast<uint32_t>(readNumber(file, 3)); }
uint16_t mp4ff_read_int16(mp4ff_file_record &file) { return static_cast<uint16_t>(readNumber(file, 2)); }
uint8_t mp4ff_read_char(mp4ff_file_record &file) { return static_cast<uint8_t>(readNumber(file, 1)); }

std::string mp4ff_read_string(mp4ff_file_record &file, uint64_t size) {
    uint64_t left = std::min<uint64_t>({size, 1U << 20, file.text_left});
    std::string text;
    char step[4096];
    while (left > 0) {
        const uint32_t wanted = static_cast<uint32_t>(std::min<uint64_t>(left, sizeof step));
        const uint32_t got = mp4ff_read_data(file, step, wanted);
        const char *end = std::find(step, step + got, '\0');
        text.append(static_cast<const char *>(step), end);
        if (got < wanted || end != step + got)
            break;
        left -= got;
    }
    file.text_left -= std::min<uint64_t>(text.size(), file.text_left);
    return text;
}

void mp4ff_set_position(mp4ff_file_record &file, uint64_t position) {
    if (file.access->seek(file.access->user_data, position) != 0)
        file.is_lost = true;
    file.position = position;
}

uint64_t mp4ff_position(const mp4ff_file_record &file) { return file.position; }

uint32_t mp4ff_truncate(mp4ff_file_record &file) { return file.access->truncate(file.access->user_data); }

mp4ff_atom_header mp4ff_atom_read_header(mp4ff_file_record &file) {
    uint8_t bytes[8];
    mp4ff_atom_header atom;
    if (mp4ff_read_data(file, bytes, sizeof bytes) != sizeof bytes)
        return atom;
    atom.size = uint64_t{bytes[0]} << 24 | uint64_t{bytes[1]} << 16 | uint64_t{bytes[2]} << 8 | bytes[3];
    std::copy(bytes + 4, bytes + 8, atom.name.begin());
    atom.type = mp4ff_atom_name_to_type({atom.name.data(), atom.name.size()});
    if (atom.size == 1) {
        atom.size = mp4ff_read_int64(file);
        atom.header_size = 16;
    }
    // No walk could go on from an atom that is smaller than its own header.
    if (atom.size < atom.header_size)
        atom.size = 0;
    return atom;
}

bool need_parse_when_meta_only(uint8_t atom_type) {
    switch (atom_type) {
    case 3:   // edts
    case 23:  // drms
    case 24:  // sinf
    case 25:  // schi
    case 139: // stts
    case 140: // stsz
    case 141: // stz2
    case 142: // stco
    case 143: // stsc
    case 152: // frma
    case 153: // iviv
    case 154: // priv
        return false;
    default:
        return true;
    }
}

void parse_atoms(mp4ff_file_record &file, bool meta_only) {
    file.file_size = 0;
    for (;;) {
        const uint64_t start = file.position;
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        if (atom.size == 0)
            return;
        file.file_size = sumOf(file.file_size, atom.size);
        file.last_atom = atom.type;
        if (atom.type == kMoov && atom.size > atom.header_size) {
            file.moov_read = true;
            file.moov_offset = start;
            file.moov_size = atom.size;
            file.is_moov_header_long = atom.header_size != 8;
        }
        file.has_fragments |= std::string_view(atom.name.data(), atom.name.size()) == "moof";
        if (atom.type < kFirstLeafType && (!meta_only || need_parse_when_meta_only(atom.type)))
            parse_sub_atoms(file, atom.size - atom.header_size, meta_only, 1);
        // Whatever the children claimed, the next atom stands behind this one.
        mp4ff_set_position(file, sumOf(start, atom.size));
    }
}

void parse_sub_atoms(mp4ff_file_record &file, uint64_t total_size, bool meta_only, int depth) {
    uint64_t counted = 0;
    while (counted < total_size) {
        const uint64_t start = file.position;
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        const uint64_t size = std::min(atom.size, total_size - counted);
        if (size < atom.header_size)
            return;
        counted += size;
        if (atom.type == kTrak)
            addTrack(file, size - atom.header_size);
        if ((meta_only && !need_parse_when_meta_only(atom.type)) || depth >= kDepthLimit) {
            mp4ff_set_position(file, sumOf(start, size));
        } else if (atom.type >= kFirstLeafType) {
            mp4ff_atom_read(file, size, atom);
        } else {
            parse_sub_atoms(file, size - atom.header_size, meta_only, depth + 1);
            mp4ff_set_position(file, sumOf(start, size));
        }
    }
}

void mp4ff_read_meta(mp4ff_file_record &file, uint64_t size) {
    mp4ff_read_int32(file); // version and flags
    uint64_t counted = 4;
    while (counted < size) {
        const uint64_t start = file.position;
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        const uint64_t atomSize = std::min(atom.size, size - counted);
        if (atomSize <= atom.header_size + 4U)
            return;
        if (atom.type == kIlst)
            mp4ff_parse_metadata(file, atomSize - atom.header_size);
        counted += atomSize;
        mp4ff_set_position(file, sumOf(start, atomSize));
    }
}

mp4ff_file mp4ff_open_read_metaonly(mp4ff_access_record *access) {
    mp4ff_file file(new mp4ff_file_record);
    file->access = access;
    mp4ff_set_position(*file, 0);
    parse_atoms(*file, /*meta_only=*/true);
    return file;
}

void mp4ff_close(mp4ff_file_record *file) { delete file; }
