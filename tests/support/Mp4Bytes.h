// Surgery on the bytes of MP4 files.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

std::string int32Bytes(uint32_t value);
/// An atom with a plain header, and one with a 64-bit size.
std::string atomBytes(std::string_view name, std::string_view content = {});
std::string longAtomBytes(std::string_view name, std::string_view content = {});
/// An item of `ilst` with one text, and with a name of its own.
std::string textItem(std::string_view name, std::string_view value, uint32_t flags = 1);
std::string ownItem(std::string_view name, std::string_view value);

struct AtomPlace {
    size_t offset = std::string::npos;
    size_t size = 0;
};
/// The same file with `bytes` more claimed by the size of the atom down `path`.
std::string claimingMore(std::string file, std::initializer_list<std::string_view> path, uint32_t bytes);
/// The first atom down `path`; at npos if there is none. `meta` is taken with version and flags.
AtomPlace findAtomIn(const std::string &file, std::initializer_list<std::string_view> path);
/// Names of the top-level atoms, with blanks between.
std::string layoutOf(const std::string &file);
std::string contentOf(const std::string &file, std::string_view topLevelName);

/// The same file with `insert` behind the first top-level atom `name` or, with an empty name, at the end of `moov`;
/// chunk offsets follow where the audio moves.
std::string insertedBehind(std::string file, std::string_view name, const std::string &insert);
/// The same file with the atom down `path` replaced by `replacement`; `moov` stands behind the audio.
std::string replaced(std::string file, std::initializer_list<std::string_view> path, const std::string &replacement);
