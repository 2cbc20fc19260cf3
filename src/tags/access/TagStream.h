// The file that TagLib reads and writes, with what TagLib itself does not look at: whether a write failed, how much a
// lying size asks for, and how long a crafted file keeps it busy.
//
// Threads: any; a stream belongs to one thread at a time.
#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <taglib/taglib.h>
#include <taglib/tiostream.h>

// How TagLib counts from the start of a file.
#if TAGLIB_MAJOR_VERSION >= 2
using TagPosition = TagLib::offset_t;
#else
using TagPosition = unsigned long;
#endif

class TagStream final : public TagLib::IOStream {
public:
    /// Opens `path` for reading.
    explicit TagStream(const QString &path);
    /// Reads and writes a descriptor that outlives the stream.
    explicit TagStream(int descriptor);
    ~TagStream() override;
    TagStream(const TagStream &) = delete;
    TagStream &operator=(const TagStream &) = delete;

    /// A write failed, and the file may be half changed.
    bool hasFailed() const { return error_ != 0; }
    /// The errno of that write; 0 for none.
    int error() const { return error_; }
    /// A read was refused, so that what TagLib made of the file can't be trusted.
    bool hasRefused() const { return hasRefused_; }

    /// Up to `size` bytes from `position`, without moving the stream; the number read.
    size_t readAt(uint64_t position, void *bytes, size_t size);

    /// Adds zeros behind the end of a file that is only read.
    void pretendZeros(long bytes) { hiddenTail_ = -bytes; }
    /// Hides the last `bytes` of the file. What is inserted before them moves them along.
    void hideTail(long bytes) { hiddenTail_ = bytes; }

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector &data) override;
    void insert(const TagLib::ByteVector &data, TagPosition start, unsigned long replace) override;
    void removeBlock(TagPosition start, unsigned long length) override;
    bool readOnly() const override { return ownsDescriptor_; }
    bool isOpen() const override { return descriptor_ >= 0; }
    void seek(long offset, Position from) override;
    long tell() const override { return position_; }
    long length() override { return size_ - hiddenTail_; }
    void truncate(long length) override;

private:
    void findSize();
    size_t readFile(uint64_t position, char *bytes, size_t size);
    bool writeAt(long position, const char *bytes, size_t size);
    bool move(long from, long to);
    void setSize(long size);

    int descriptor_ = -1;
    bool ownsDescriptor_ = false;
    int error_ = 0;
    bool hasRefused_ = false;
    unsigned readsLeft_ = 2'000'000;
    long position_ = 0;
    long size_ = 0;       // of the file, hidden tail included
    long hiddenTail_ = 0; // less than 0 for zeros that are not there

    // The bytes last read, since TagLib asks for a few at a time.
    std::array<char, 8192> window_;
    uint64_t windowStart_ = 0;
    size_t windowSize_ = 0;
};
