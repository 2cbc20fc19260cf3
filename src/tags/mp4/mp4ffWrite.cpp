// Builds a new `moov` around a list of items and puts it into a file without moving the audio.
#include "tags/mp4/mp4ff.h"

#include <algorithm>

namespace {
constexpr uint8_t kMoov = 1;

// A day and a half of audio has a `moov` of about this size; it is held in memory.
constexpr uint64_t kMaxMoov = 32U << 20;

// Whether `size` is the size of an atom at `offset` with a plain header that ends within `end`.
bool isPlainAtom(uint64_t offset, uint64_t size, uint64_t end) { return size >= 8 && size <= end - offset; }

uint32_t finish(membuffer &buffer, membuffer_bytes &out_buffer, uint32_t &out_size) {
    out_size = membuffer_get_size(buffer);
    out_buffer = membuffer_detach(buffer);
    return out_buffer ? 1 : 0;
}

void writeNamed(membuffer &buffer, const mp4ff_tag &tag) {
    const std::string_view atom = find_standard_meta(tag.name);
    if (atom.empty())
        membuffer_write_custom_tag(buffer, tag.name, tag.value);
    else
        membuffer_write_std_tag(buffer, atom, tag.value);
}

// Whether the atoms in `size` bytes from `base` end within them. Less than a header may be left over, as QuickTime
// leaves a zero word.
bool holdsWholeAtoms(mp4ff_file_record &file, uint64_t base, uint64_t size) {
    while (size >= 8) {
        mp4ff_set_position(file, base);
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        if (atom.size == 0 || atom.size > size)
            return false;
        base += atom.size;
        size -= atom.size;
    }
    return true;
}

// The atoms that this replaces or raises, found in the file.
struct AtomAt {
    uint64_t offset = 0;
    uint32_t size = 0;
};
AtomAt atomHere(mp4ff_file_record &file) {
    AtomAt atom{mp4ff_position(file), 0};
    atom.size = mp4ff_read_int32(file);
    return atom;
}

void raise(membuffer &buffer, uint64_t offset, uint32_t size) {
    uint8_t *word = membuffer_get_ptr(buffer) + offset;
    for (int shift = 24; shift >= 0; shift -= 8)
        *word++ = static_cast<uint8_t>(size >> shift);
}

// What lies behind the header of a `moov` that can be changed.
struct MoovContent {
    uint64_t base = 0;
    uint32_t size = 0;
    uint32_t found = 0; // 2 for a `udta` with `meta`, 1 for one without, 0 for none
    AtomAt udta;
};

std::optional<MoovContent> moovContent(mp4ff_file_record &file) {
    if (!file.moov_read || file.is_moov_header_long || file.moov_size > kMaxMoov)
        return std::nullopt;
    MoovContent moov{file.moov_offset + 8, static_cast<uint32_t>(file.moov_size - 8), 0, {}};
    if (!holdsWholeAtoms(file, moov.base, moov.size))
        return std::nullopt;
    moov.found = find_atom_v2(file, moov.base, moov.size, "udta", 0, "meta");
    if (moov.found == 0)
        return moov;
    moov.udta = atomHere(file);
    // A 64-bit size has no word here that could be raised.
    if (!isPlainAtom(moov.udta.offset, moov.udta.size, moov.base + moov.size))
        return std::nullopt;
    return moov;
}

// No `udta`: the old content and a new one behind it.
uint32_t appendUdta(mp4ff_file_record &file, uint64_t base, uint32_t size, const mp4ff_tag_list &data,
                    membuffer_bytes &out_buffer, uint32_t &out_size) {
    membuffer_bytes udta;
    uint32_t udtaSize = 0;
    if (!create_udta(data, udta, udtaSize))
        return 0;
    membuffer buffer = membuffer_create();
    mp4ff_set_position(file, base);
    membuffer_transfer_from_file(buffer, file, size);
    membuffer_write_atom(buffer, "udta", udtaSize, udta.get());
    return finish(buffer, out_buffer, out_size);
}

// A `udta` without `meta`: the old one, header and all, is nested in a new one whose size falls 8 short of what it
// holds, and what stood behind the old one in `moov` is left out. Files written so exist; this keeps their layout.
// Where no sound would be left without what is left out, there is no place for the items.
uint32_t nestUdta(mp4ff_file_record &file, uint64_t base, uint32_t size, const AtomAt &udta, const mp4ff_tag_list &data,
                  membuffer_bytes &out_buffer, uint32_t &out_size) {
    const uint64_t rest = udta.offset + udta.size;
    for (const std::string_view name : {"trak", "mvhd", "mvex"})
        if (find_atom(file, rest, base + size - rest, name))
            return 0;
    membuffer_bytes meta;
    uint32_t metaSize = 0;
    if (!create_meta(data, meta, metaSize))
        return 0;
    membuffer buffer = membuffer_create();
    mp4ff_set_position(file, base);
    membuffer_transfer_from_file(buffer, file, static_cast<uint32_t>(udta.offset - base));
    membuffer_write_int32(buffer, udta.size + 8 + metaSize);
    membuffer_write_atom_name(buffer, "udta");
    mp4ff_set_position(file, udta.offset);
    membuffer_transfer_from_file(buffer, file, udta.size);
    membuffer_write_atom(buffer, "meta", metaSize, meta.get());
    return finish(buffer, out_buffer, out_size);
}

struct ItemList {
    AtomAt meta, ilst;
};

// The list of items in a `udta` that holds `meta`.
std::optional<ItemList> itemListIn(mp4ff_file_record &file, const AtomAt &udta) {
    if (find_atom_v2(file, udta.offset + 8, udta.size - 8, "meta", 4, "ilst") != 2)
        return std::nullopt;
    ItemList list;
    list.meta = atomHere(file);
    if (!find_atom(file, list.meta.offset + 12, list.meta.size - 12, "ilst"))
        return std::nullopt;
    list.ilst = atomHere(file);
    if (!isPlainAtom(list.ilst.offset, list.ilst.size, list.meta.offset + list.meta.size))
        return std::nullopt;
    return list;
}

// `udta`, `meta` and `ilst`: the content of `ilst` is replaced and the three sizes follow.
uint32_t replaceIlst(mp4ff_file_record &file, uint64_t base, uint32_t size, const AtomAt &udta,
                     const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size) {
    const std::optional<ItemList> list = itemListIn(file, udta);
    if (!list)
        return 0;
    const auto &[meta, ilst] = *list;

    membuffer_bytes items;
    uint32_t itemsSize = 0;
    if (!create_ilst(data, items, itemsSize))
        return 0;
    const uint32_t delta = itemsSize - (ilst.size - 8); // modulo 2^32, as the size words are

    membuffer buffer = membuffer_create();
    const uint64_t content = ilst.offset + 8, rest = ilst.offset + ilst.size;
    mp4ff_set_position(file, base);
    membuffer_transfer_from_file(buffer, file, static_cast<uint32_t>(content - base));
    membuffer_write(buffer, items.get(), itemsSize);
    mp4ff_set_position(file, rest);
    membuffer_transfer_from_file(buffer, file, static_cast<uint32_t>(base + size - rest));
    if (membuffer_error(buffer))
        return 0;
    for (const AtomAt &atom : {udta, meta, ilst})
        raise(buffer, atom.offset - base, atom.size + delta);
    return finish(buffer, out_buffer, out_size);
}

// Whether the walk over the atoms ended where the file ends, with nothing behind that a new atom would overwrite.
bool endsWithItsAtoms(mp4ff_file_record &file) {
    if (file.file_size == 0)
        return false;
    uint8_t bytes[2];
    mp4ff_set_position(file, file.file_size - 1);
    return mp4ff_read_data(file, bytes, sizeof bytes) == 1;
}
} // namespace

void membuffer_write_track_tag(membuffer &buffer, std::string_view name, uint16_t index, uint16_t total) {
    membuffer_write_int32(buffer, 32);
    membuffer_write_atom_name(buffer, name);
    membuffer_write_int32(buffer, 24);
    membuffer_write_atom_name(buffer, "data");
    membuffer_write_int32(buffer, 0);
    membuffer_write_int32(buffer, 0);
    membuffer_write_int16(buffer, 0);
    membuffer_write_int16(buffer, index);
    membuffer_write_int16(buffer, total);
    membuffer_write_int16(buffer, 0);
}

void membuffer_write_int16_tag(membuffer &buffer, std::string_view name, uint16_t value) {
    membuffer_write_int32(buffer, 26);
    membuffer_write_atom_name(buffer, name);
    membuffer_write_int32(buffer, 18);
    membuffer_write_atom_name(buffer, "data");
    membuffer_write_int32(buffer, 0);
    membuffer_write_int32(buffer, 0);
    membuffer_write_int16(buffer, value);
}

void membuffer_write_std_tag(membuffer &buffer, std::string_view name, std::string_view value) {
    const auto size = static_cast<uint32_t>(value.size());
    membuffer_write_int32(buffer, 24 + size);
    membuffer_write_atom_name(buffer, name);
    membuffer_write_int32(buffer, 16 + size);
    membuffer_write_atom_name(buffer, "data");
    membuffer_write_int32(buffer, name == "cpil" ? 0x15 : 1); // a number or text
    membuffer_write_int32(buffer, 0);
    membuffer_write(buffer, value.data(), size);
}

void membuffer_write_custom_tag(membuffer &buffer, std::string_view name, std::string_view value) {
    const auto nameSize = static_cast<uint32_t>(name.size());
    const auto size = static_cast<uint32_t>(value.size());
    membuffer_write_int32(buffer, 64 + nameSize + size);
    membuffer_write_atom_name(buffer, "----");
    membuffer_write_int32(buffer, 28);
    membuffer_write_atom_name(buffer, "mean");
    membuffer_write_int32(buffer, 0);
    membuffer_write(buffer, "com.apple.iTunes", 16);
    membuffer_write_int32(buffer, 12 + nameSize);
    membuffer_write_atom_name(buffer, "name");
    membuffer_write_int32(buffer, 0);
    membuffer_write(buffer, name.data(), nameSize);
    membuffer_write_int32(buffer, 16 + size);
    membuffer_write_atom_name(buffer, "data");
    membuffer_write_int32(buffer, 1);
    membuffer_write_int32(buffer, 0);
    membuffer_write(buffer, value.data(), size);
}

uint32_t create_ilst(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size) {
    // Values that share an atom or become a number; each is the first of its names.
    struct Picked {
        std::string_view name, otherName;
        const std::string *value = nullptr;
    };
    Picked track{"tracknumber", "track"}, totalTracks{"totaltracks", "totaltracks"};
    Picked disc{"discnumber", "disc"}, totalDiscs{"totaldiscs", "totaldiscs"};
    Picked genre{"genre", "genre"}, tempo{"tempo", "tempo"};
    std::vector<const mp4ff_tag *> others;
    for (const mp4ff_tag &tag : data) {
        bool isHandled = false;
        for (Picked *picked : {&track, &totalTracks, &disc, &totalDiscs, &genre, &tempo}) {
            if (mp4ff_equal_ignoring_case(tag.name, picked->name) ||
                mp4ff_equal_ignoring_case(tag.name, picked->otherName)) {
                isHandled = true;
                if (!picked->value)
                    picked->value = &tag.value;
            }
        }
        if (!isHandled)
            others.push_back(&tag);
    }

    membuffer buffer = membuffer_create();
    const auto number = [](const Picked &picked) { return static_cast<uint16_t>(myatoi(picked.value)); };
    if (track.value)
        membuffer_write_track_tag(buffer, "trkn", number(track), number(totalTracks));
    if (disc.value)
        membuffer_write_track_tag(buffer, "disk", number(disc), number(totalDiscs));
    if (tempo.value)
        membuffer_write_int16_tag(buffer, "tmpo", number(tempo));
    if (genre.value) {
        if (const uint32_t index = mp4ff_meta_genre_to_index(*genre.value))
            membuffer_write_int16_tag(buffer, "gnre", static_cast<uint16_t>(index));
        else
            membuffer_write_std_tag(buffer, "\251gen", *genre.value);
    }
    for (const mp4ff_tag *tag : others)
        writeNamed(buffer, *tag);
    return finish(buffer, out_buffer, out_size);
}

uint32_t create_meta(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size) {
    membuffer_bytes ilst;
    uint32_t ilstSize = 0;
    if (!create_ilst(data, ilst, ilstSize))
        return 0;
    membuffer buffer = membuffer_create();
    membuffer_write_int32(buffer, 0); // version and flags
    membuffer_write_atom(buffer, "ilst", ilstSize, ilst.get());
    return finish(buffer, out_buffer, out_size);
}

uint32_t create_udta(const mp4ff_tag_list &data, membuffer_bytes &out_buffer, uint32_t &out_size) {
    membuffer_bytes meta;
    uint32_t metaSize = 0;
    if (!create_meta(data, meta, metaSize))
        return 0;
    membuffer buffer = membuffer_create();
    membuffer_write_atom(buffer, "meta", metaSize, meta.get());
    return finish(buffer, out_buffer, out_size);
}

uint32_t find_atom(mp4ff_file_record &file, uint64_t base, uint64_t size, std::string_view name) {
    uint64_t offset = base;
    while (size >= 8) {
        mp4ff_set_position(file, offset);
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        if (atom.size == 0 || atom.size > size)
            return 0;
        if (std::string_view(atom.name.data(), atom.name.size()) == name) {
            mp4ff_set_position(file, offset);
            return 1;
        }
        offset += atom.size;
        size -= atom.size;
    }
    return 0;
}

uint32_t find_atom_v2(mp4ff_file_record &file, uint64_t base, uint64_t size, std::string_view name,
                      uint32_t extraheaders, std::string_view name_inside) {
    const uint64_t end = base + size;
    std::optional<uint64_t> first;
    for (uint64_t offset = base; find_atom(file, offset, end - offset, name);) {
        const uint64_t found = mp4ff_position(file);
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        const uint64_t headers = 8 + uint64_t{extraheaders};
        if (atom.size > headers && find_atom(file, found + headers, atom.size - headers, name_inside)) {
            mp4ff_set_position(file, found);
            return 2;
        }
        first = first.value_or(found);
        offset = found + atom.size;
    }
    if (!first)
        return 0;
    mp4ff_set_position(file, *first);
    return 1;
}

uint32_t modify_moov(mp4ff_file_record &file, const mp4ff_tag_list &data, membuffer_bytes &out_buffer,
                     uint32_t &out_size) {
    const std::optional<MoovContent> moov = moovContent(file);
    if (!moov)
        return 0;
    const auto &[base, size, found, udta] = *moov;
    if (found == 0)
        return appendUdta(file, base, size, data, out_buffer, out_size);
    // What is not found in a torn `udta` may be there all the same.
    if (found == 1)
        return holdsWholeAtoms(file, udta.offset + 8, udta.size - 8)
                   ? nestUdta(file, base, size, udta, data, out_buffer, out_size)
                   : 0;
    return replaceIlst(file, base, size, udta, data, out_buffer, out_size);
}

std::string mp4ff_read_items(mp4ff_file_record &file) {
    const std::optional<MoovContent> moov = moovContent(file);
    if (!moov || moov->found != 2)
        return {};
    const std::optional<ItemList> list = itemListIn(file, moov->udta);
    if (!list)
        return {};
    std::string items(list->ilst.size - 8, '\0');
    mp4ff_set_position(file, list->ilst.offset + 8);
    items.resize(mp4ff_read_data(file, items.data(), list->ilst.size - 8));
    return items;
}

uint32_t mp4ff_meta_update(mp4ff_access_record *access, const mp4ff_tag_list &data) {
    const mp4ff_file file = mp4ff_open_read_metaonly(access);
    const uint64_t size = file->file_size;
    const bool isMoovLast = file->last_atom == kMoov && file->moov_offset + file->moov_size == size;
    membuffer_bytes moov;
    uint32_t moovSize = 0;
    // Fragments are understood only behind the `moov` that describes them.
    if (!endsWithItsAtoms(*file) || (file->has_fragments && !isMoovLast) || !modify_moov(*file, data, moov, moovSize))
        return 0;

    bool isWritten = true;
    if (!isMoovLast) {
        mp4ff_set_position(*file, file->moov_offset + 4);
        isWritten = mp4ff_write_data(*file, "free", 4) == 4;
    }
    mp4ff_set_position(*file, isMoovLast ? file->moov_offset : size);
    isWritten = isWritten && mp4ff_write_int32(*file, moovSize + 8) == 4 && mp4ff_write_data(*file, "moov", 4) == 4 &&
                mp4ff_write_data(*file, moov.get(), moovSize) == moovSize;
    // The result is the access record's own affair: one that can't cut leaves the tail of a longer `moov` behind.
    mp4ff_truncate(*file);
    return isWritten ? 1 : 0;
}
