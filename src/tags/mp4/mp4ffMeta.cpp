// The items of `ilst` as they are read, and the names and numbers of MP4 metadata.
#include "tags/mp4/mp4ff.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {
constexpr uint8_t kTrkn = 17, kDisk = 18, kGnre = 20, kTmpo = 21, kName = 149, kData = 150;

// Far above what any player writes; it bounds the memory that a list of empty items takes.
constexpr size_t kItemLimit = 16'384;

struct AtomName {
    uint8_t type;
    const char *name;
    const char *item = nullptr; // of an item of this type
};
constexpr AtomName kAtomNames[] = {
    {1, "moov"},
    {2, "trak"},
    {3, "edts"},
    {4, "mdia"},
    {5, "minf"},
    {6, "stbl"},
    {7, "udta"},
    {8, "ilst"},
    {9, "\251nam", "title"},
    {10, "\251ART", "artist"},
    {11, "\251wrt", "writer"},
    {12, "\251alb", "album"},
    {13, "\251day", "date"},
    {14, "\251too", "tool"},
    {15, "\251cmt", "comment"},
    {16, "\251gen", "genre"},
    {kTrkn, "trkn", "track"},
    {kDisk, "disk", "disc"},
    {19, "cpil", "compilation"},
    {kGnre, "gnre", "genre"},
    {kTmpo, "tmpo", "tempo"},
    {22, "covr", "cover"},
    {23, "drms"},
    {24, "sinf"},
    {25, "schi"},
    {129, "ftyp"},
    {130, "mdat"},
    {131, "mvhd"},
    {132, "tkhd"},
    {133, "tref"},
    {134, "mdhd"},
    {135, "vmhd"},
    {136, "smhd"},
    {137, "hmhd"},
    {138, "stsd"},
    {139, "stts"},
    {140, "stsz"},
    {141, "stz2"},
    {142, "stco"},
    {143, "stsc"},
    {144, "mp4a"},
    {145, "mp4v"},
    {146, "mp4s"},
    {147, "esds"},
    {148, "meta"},
    {kName, "name"},
    {kData, "data"},
    {151, "ctts"},
    {152, "frma"},
    {153, "iviv"},
    {154, "priv"},
    {155, "user"},
    {156, "key "},
    {157, "aART", "album_artist"},
    {158, "\251grp", "contentgroup"},
    {159, "\251lyr", "lyrics"},
    {160, "desc", "description"},
    {161, "tvnn", "network"},
    {162, "tvsh", "show"},
    {163, "tven", "episodename"},
    {164, "sonm", "sorttitle"},
    {165, "soal", "sortalbum"},
    {166, "soar", "sortartist"},
    {167, "soaa", "sortalbumartist"},
    {168, "soco", "sortwriter"},
    {169, "sosn", "sortshow"},
    {170, "tvsn", "season"},
    {171, "tves", "episode"},
    {172, "pcst", "podcast"},
};

// The ID3v1 list with its later extensions; a genre's number is its place, from 1.
constexpr const char *kGenres[] = {"Blues",
                                   "Classic Rock",
                                   "Country",
                                   "Dance",
                                   "Disco",
                                   "Funk",
                                   "Grunge",
                                   "Hip-Hop",
                                   "Jazz",
                                   "Metal",
                                   "New Age",
                                   "Oldies",
                                   "Other",
                                   "Pop",
                                   "R&B",
                                   "Rap",
                                   "Reggae",
                                   "Rock",
                                   "Techno",
                                   "Industrial",
                                   "Alternative",
                                   "Ska",
                                   "Death Metal",
                                   "Pranks",
                                   "Soundtrack",
                                   "Euro-Techno",
                                   "Ambient",
                                   "Trip-Hop",
                                   "Vocal",
                                   "Jazz+Funk",
                                   "Fusion",
                                   "Trance",
                                   "Classical",
                                   "Instrumental",
                                   "Acid",
                                   "House",
                                   "Game",
                                   "Sound Clip",
                                   "Gospel",
                                   "Noise",
                                   "AlternRock",
                                   "Bass",
                                   "Soul",
                                   "Punk",
                                   "Space",
                                   "Meditative",
                                   "Instrumental Pop",
                                   "Instrumental Rock",
                                   "Ethnic",
                                   "Gothic",
                                   "Darkwave",
                                   "Techno-Industrial",
                                   "Electronic",
                                   "Pop-Folk",
                                   "Eurodance",
                                   "Dream",
                                   "Southern Rock",
                                   "Comedy",
                                   "Cult",
                                   "Gangsta",
                                   "Top 40",
                                   "Christian Rap",
                                   "Pop/Funk",
                                   "Jungle",
                                   "Native American",
                                   "Cabaret",
                                   "New Wave",
                                   "Psychedelic",
                                   "Rave",
                                   "Showtunes",
                                   "Trailer",
                                   "Lo-Fi",
                                   "Tribal",
                                   "Acid Punk",
                                   "Acid Jazz",
                                   "Polka",
                                   "Retro",
                                   "Musical",
                                   "Rock & Roll",
                                   "Hard Rock",
                                   "Folk",
                                   "Folk/Rock",
                                   "National Folk",
                                   "Swing",
                                   "Fast Fusion",
                                   "Bebop",
                                   "Latin",
                                   "Revival",
                                   "Celtic",
                                   "Bluegrass",
                                   "Avantgarde",
                                   "Gothic Rock",
                                   "Progressive Rock",
                                   "Psychedelic Rock",
                                   "Symphonic Rock",
                                   "Slow Rock",
                                   "Big Band",
                                   "Chorus",
                                   "Easy Listening",
                                   "Acoustic",
                                   "Humour",
                                   "Speech",
                                   "Chanson",
                                   "Opera",
                                   "Chamber Music",
                                   "Sonata",
                                   "Symphony",
                                   "Booty Bass",
                                   "Primus",
                                   "Porn Groove",
                                   "Satire",
                                   "Slow Jam",
                                   "Club",
                                   "Tango",
                                   "Samba",
                                   "Folklore",
                                   "Ballad",
                                   "Power Ballad",
                                   "Rhythmic Soul",
                                   "Freestyle",
                                   "Duet",
                                   "Punk Rock",
                                   "Drum Solo",
                                   "A Cappella",
                                   "Euro-House",
                                   "Dance Hall",
                                   "Goa",
                                   "Drum & Bass",
                                   "Club-House",
                                   "Hardcore",
                                   "Terror",
                                   "Indie",
                                   "BritPop",
                                   "Worldbeat",
                                   "Polsk Punk",
                                   "Beat",
                                   "Christian Gangsta Rap",
                                   "Heavy Metal",
                                   "Black Metal",
                                   "Crossover",
                                   "Contemporary Christian",
                                   "Christian Rock",
                                   "Merengue",
                                   "Salsa",
                                   "Thrash Metal",
                                   "Anime",
                                   "JPop",
                                   "SynthPop"};
static_assert(std::size(kGenres) == 148);

struct StandardItem {
    std::string_view name, atom;
};
constexpr StandardItem kStandardItems[] = {
    {"title", "\251nam"}, {"artist", "\251ART"},    {"writer", "\251wrt"},  {"album", "\251alb"},
    {"date", "\251day"},  {"tool", "\251too"},      {"comment", "\251cmt"}, {"compilation", "cpil"},
    {"cover", "covr"},    {"album_artist", "aART"},
};

void addNumber(mp4ff_tag_list &tags, const char *name, const char *format, unsigned number) {
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    mp4ff_tag_add_field(tags, name, text);
}

// Reads a `data` atom of `payload` bytes whose header has just been read. A value that is kept as text is given out;
// one that is a number has been added as an item, and then this is true.
bool readData(mp4ff_file_record &file, uint8_t itemType, uint64_t payload, std::optional<std::string> &text) {
    mp4ff_read_int64(file); // version, flags and a reserved word
    if ((itemType == kGnre || itemType == kTmpo) && payload >= 10) {
        const uint16_t number = mp4ff_read_int16(file);
        if (itemType == kTmpo)
            addNumber(file.tags, "tempo", "%.5u BPM", number);
        else if (const char *genre = mp4ff_meta_index_to_genre(number))
            mp4ff_tag_add_field(file.tags, "genre", genre);
        return true;
    }
    if ((itemType == kTrkn || itemType == kDisk) && payload >= 14) {
        mp4ff_read_int16(file);
        const uint16_t index = mp4ff_read_int16(file);
        const uint16_t total = mp4ff_read_int16(file);
        addNumber(file.tags, itemType == kTrkn ? "track" : "disc", "%d", index);
        if (total > 0)
            addNumber(file.tags, itemType == kTrkn ? "totaltracks" : "totaldiscs", "%d", total);
        return true;
    }
    text = mp4ff_read_string(file, payload > 8 ? payload - 8 : 0);
    return false;
}
} // namespace

void mp4ff_parse_metadata(mp4ff_file_record &file, uint64_t size) {
    uint64_t counted = 0;
    while (counted < size) {
        const uint64_t start = file.position;
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        const uint64_t atomSize = std::min(atom.size, size - counted);
        if (atomSize < atom.header_size)
            return;
        mp4ff_parse_tag(file, atom.type, atomSize - atom.header_size);
        counted += atomSize;
        mp4ff_set_position(file, start + atomSize);
    }
}

void mp4ff_parse_tag(mp4ff_file_record &file, uint8_t parent_atom_type, uint64_t size) {
    std::optional<std::string> ownName, value;
    bool hasNumber = false;
    uint64_t counted = 0;
    while (counted < size && !hasNumber) {
        const uint64_t start = file.position;
        const mp4ff_atom_header atom = mp4ff_atom_read_header(file);
        const uint64_t atomSize = std::min(atom.size, size - counted);
        if (atomSize < atom.header_size)
            break;
        const uint64_t payload = atomSize - atom.header_size;
        if (atom.type == kData) {
            hasNumber = readData(file, parent_atom_type, payload, value);
        } else if (atom.type == kName) {
            mp4ff_read_int32(file); // version and flags
            ownName = mp4ff_read_string(file, payload > 4 ? payload - 4 : 0);
        }
        counted += atomSize;
        mp4ff_set_position(file, start + atomSize);
    }
    if (!hasNumber)
        mp4ff_tag_add_field(file.tags, ownName ? *ownName : mp4ff_set_metadata_name(parent_atom_type), value);
}

void mp4ff_tag_add_field(mp4ff_tag_list &tags, std::string_view name, const std::optional<std::string> &value) {
    if (!name.empty() && value && tags.size() < kItemLimit)
        tags.push_back({std::string(name), *value});
}

int32_t mp4ff_meta_get_num_items(const mp4ff_file_record &file) { return static_cast<int32_t>(file.tags.size()); }

int32_t mp4ff_meta_get_by_index(const mp4ff_file_record &file, uint32_t index, std::optional<std::string> &name,
                                std::optional<std::string> &value) {
    name.reset();
    value.reset();
    if (index >= file.tags.size())
        return 0;
    name = file.tags[index].name;
    value = file.tags[index].value;
    return 1;
}

uint8_t mp4ff_atom_name_to_type(std::string_view name) {
    for (const AtomName &atom : kAtomNames)
        if (name == atom.name)
            return atom.type;
    return kUnknownAtomType;
}

const char *mp4ff_set_metadata_name(uint8_t atom_type) {
    for (const AtomName &atom : kAtomNames)
        if (atom.type == atom_type && atom.item)
            return atom.item;
    return "unknown";
}

bool mp4ff_equal_ignoring_case(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

uint32_t mp4ff_meta_genre_to_index(std::string_view genre) {
    for (uint32_t i = 0; i < std::size(kGenres); ++i)
        if (mp4ff_equal_ignoring_case(genre, kGenres[i]))
            return i + 1;
    return 0;
}

const char *mp4ff_meta_index_to_genre(uint32_t index) {
    return index >= 1 && index <= std::size(kGenres) ? kGenres[index - 1] : nullptr;
}

std::string_view find_standard_meta(std::string_view name) {
    for (const StandardItem &item : kStandardItems)
        if (mp4ff_equal_ignoring_case(name, item.name))
            return item.atom;
    return {};
}

int myatoi(const std::string *text) {
    if (!text)
        return 0;
    const long number = std::strtol(text->c_str(), /*endptr=*/nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}
