#include "tags/access/M4AItems.h"

#include "tags/mp4/membuffer.h"

#include <cstdint>

namespace {
// More than the pictures of any album.
constexpr uint64_t kMaxList = 48U << 20;

uint64_t numberAt(std::string_view bytes, size_t at, size_t width) {
    uint64_t number = 0;
    for (size_t i = at; i < at + width; ++i)
        number = number << 8 | static_cast<uint8_t>(bytes[i]);
    return number;
}

// "mdir" by "appl": the items are those of a music library.
void writeHandler(membuffer &buffer) {
    static constexpr char content[] = "\0\0\0\0\0\0\0\0mdirappl\0\0\0\0\0\0\0\0";
    static_assert(sizeof content + 8 == kM4AListSpare - 8);
    membuffer_write_atom(buffer, "hdlr", sizeof content, content);
}
} // namespace

std::string_view nameOfM4AItem(std::string_view item) { return item.substr(4, 4); }

std::optional<M4AItems> splitM4AItems(std::string_view content) {
    M4AItems items;
    while (content.size() >= 8) {
        uint64_t size = numberAt(content, 0, 4);
        if (size == 1 && content.size() >= 16)
            size = numberAt(content, 8, 8);
        if (size < 8 || size > content.size())
            return std::nullopt;
        items.emplace_back(content.substr(0, size));
        content.remove_prefix(size);
    }
    return items;
}

std::optional<M4AItems> readM4AItems(TagStream &stream, const Mp4Look &look) {
    if (look.listSize == 0)
        return M4AItems();
    if (look.listSize > kMaxList)
        return std::nullopt;
    std::string list(look.listSize, '\0');
    if (stream.readAt(look.list, list.data(), list.size()) != list.size())
        return std::nullopt;
    const size_t header = numberAt(list, 0, 4) == 1 ? 16 : 8;
    return splitM4AItems(std::string_view(list).substr(header));
}

bool writeM4AItems(TagStream &stream, const Mp4Look &look, const M4AItems &items) {
    std::string content;
    for (const std::string &item : items)
        content += item;
    membuffer buffer = membuffer_create();
    if (!look.hasHandler)
        writeHandler(buffer);
    membuffer_write_atom(buffer, "ilst", static_cast<uint32_t>(content.size()), content.data());
    if (look.room > 2 * kMaxList || membuffer_get_size(buffer) + 8 > look.room)
        return false;
    const auto free = static_cast<uint32_t>(look.room - membuffer_get_size(buffer)) - 8;
    membuffer_write_atom(buffer, "free", free, /*content=*/nullptr);
    if (membuffer_error(buffer))
        return false;
    stream.seek(static_cast<long>(look.list), TagLib::IOStream::Beginning);
    stream.writeBlock(
        TagLib::ByteVector(reinterpret_cast<const char *>(membuffer_get_ptr(buffer)), membuffer_get_size(buffer)));
    return !stream.hasFailed();
}
