#include "support/Mp4Bytes.h"

namespace {
uint32_t wordAt(const std::string &bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = at; i < at + 4; ++i)
        value = value << 8 | static_cast<uint8_t>(bytes[i]);
    return value;
}

uint64_t sizeAt(const std::string &bytes, size_t at) {
    const uint32_t size = wordAt(bytes, at);
    return size == 1 ? uint64_t{wordAt(bytes, at + 8)} << 32 | wordAt(bytes, at + 12) : size;
}

void setWord(std::string &bytes, size_t at, uint32_t value) { bytes.replace(at, 4, int32Bytes(value)); }
} // namespace

std::string int32Bytes(uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::string atomBytes(std::string_view name, std::string_view content) {
    return int32Bytes(static_cast<uint32_t>(content.size()) + 8).append(name).append(content);
}

std::string longAtomBytes(std::string_view name, std::string_view content) {
    return int32Bytes(1).append(name) + int32Bytes(0) +
           int32Bytes(static_cast<uint32_t>(content.size()) + 16).append(content);
}

std::string textItem(std::string_view name, std::string_view value, uint32_t flags) {
    return atomBytes(name, atomBytes("data", (int32Bytes(flags) + int32Bytes(0)).append(value)));
}

std::string ownItem(std::string_view name, std::string_view value) {
    return atomBytes("----", atomBytes("mean", int32Bytes(0) + "com.apple.iTunes") +
                                 atomBytes("name", int32Bytes(0).append(name)) +
                                 atomBytes("data", (int32Bytes(1) + int32Bytes(0)).append(value)));
}

AtomPlace findAtomIn(const std::string &file, std::initializer_list<std::string_view> path) {
    AtomPlace place{0, file.size()};
    size_t at = 0, end = file.size();
    for (const std::string_view name : path) {
        for (;; at += place.size) {
            if (at + 8 > end)
                return {};
            place = {at, sizeAt(file, at)};
            if (std::string_view(file).substr(at + 4, 4) == name)
                break;
            if (place.size < 8)
                return {};
        }
        end = place.offset + place.size;
        at = place.offset + (wordAt(file, place.offset) == 1 ? 16 : 8) + (name == "meta" ? 4 : 0);
    }
    return place;
}

std::string claimingMore(std::string file, std::initializer_list<std::string_view> path, uint32_t bytes) {
    const AtomPlace place = findAtomIn(file, path);
    setWord(file, place.offset, static_cast<uint32_t>(place.size) + bytes);
    return file;
}

std::string layoutOf(const std::string &file) {
    std::string layout;
    for (size_t at = 0; at + 8 <= file.size() && sizeAt(file, at) >= 8; at += sizeAt(file, at))
        layout += (layout.empty() ? "" : " ") + file.substr(at + 4, 4);
    return layout;
}

std::string contentOf(const std::string &file, std::string_view topLevelName) {
    const AtomPlace place = findAtomIn(file, {topLevelName});
    const size_t header = wordAt(file, place.offset) == 1 ? 16 : 8;
    return file.substr(place.offset + header, place.size - header);
}

std::string insertedBehind(std::string file, std::string_view name, const std::string &insert) {
    const bool isInMoov = name.empty();
    const AtomPlace place = findAtomIn(file, {isInMoov ? "moov" : name});
    const size_t at = place.offset + place.size;
    if (isInMoov)
        setWord(file, place.offset, static_cast<uint32_t>(place.size + insert.size()));
    const AtomPlace table = findAtomIn(file, {"moov", "trak", "mdia", "minf", "stbl", "stco"});
    for (size_t i = 0; i < wordAt(file, table.offset + 12); ++i) {
        const size_t entry = table.offset + 16 + i * 4;
        if (wordAt(file, entry) >= at)
            setWord(file, entry, wordAt(file, entry) + static_cast<uint32_t>(insert.size()));
    }
    return file.insert(at, insert);
}

std::string replaced(std::string file, std::initializer_list<std::string_view> path, const std::string &replacement) {
    const AtomPlace place = findAtomIn(file, path);
    // Sizes first: they stand in front of what moves.
    size_t at = 0;
    for (const auto *name = path.begin(); name + 1 != path.end(); ++name) {
        while (std::string_view(file).substr(at + 4, 4) != *name)
            at += sizeAt(file, at);
        setWord(file, at, static_cast<uint32_t>(sizeAt(file, at) + replacement.size() - place.size));
        at += *name == "meta" ? 12 : 8;
    }
    return file.replace(place.offset, place.size, replacement);
}
