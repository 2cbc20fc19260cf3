#include "tags/access/TagStream.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {
// More than any tag holds; a size above it is a lie or an attack.
constexpr unsigned long kMaxBlock = 48UL << 20;
constexpr long kMoveStep = 1L << 20;

size_t readFully(int descriptor, uint64_t position, char *bytes, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(descriptor, bytes + done, size - done, static_cast<off_t>(position + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}
} // namespace

TagStream::TagStream(const QString &path)
    : descriptor_(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)),
      ownsDescriptor_(true) {
    findSize();
}

TagStream::TagStream(int descriptor) : descriptor_(descriptor) { findSize(); }

TagStream::~TagStream() {
    if (ownsDescriptor_ && descriptor_ >= 0)
        ::close(descriptor_);
}

void TagStream::findSize() {
    struct stat info {};
    if (descriptor_ >= 0 && ::fstat(descriptor_, &info) == 0 && S_ISREG(info.st_mode)) {
        size_ = info.st_size;
        return;
    }
    if (ownsDescriptor_ && descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = -1;
}

size_t TagStream::readAt(uint64_t position, void *bytes, size_t size) {
    auto *target = static_cast<char *>(bytes);
    const size_t got = readFile(position, target, size);
    const auto end = static_cast<uint64_t>(length());
    if (hiddenTail_ >= 0 || position >= end)
        return got;
    const size_t wanted = static_cast<size_t>(std::min<uint64_t>(size, end - position));
    std::fill(target + std::min(got, wanted), target + wanted, '\0');
    return std::max(got, wanted);
}

size_t TagStream::readFile(uint64_t position, char *target, size_t size) {
    if (size == 0)
        return 0;
    if (size > window_.size())
        return readFully(descriptor_, position, target, size);
    if (position < windowStart_ || position + size > windowStart_ + windowSize_) {
        windowStart_ = position;
        windowSize_ = readFully(descriptor_, position, window_.data(), window_.size());
    }
    const size_t offset = static_cast<size_t>(position - windowStart_);
    const size_t got = std::min(size, windowSize_ - std::min(offset, windowSize_));
    std::memcpy(target, window_.data() + offset, got);
    return got;
}

TagLib::ByteVector TagStream::readBlock(unsigned long length) {
    const long left = std::max(0L, this->length() - position_);
    const unsigned long wanted = std::min(length, static_cast<unsigned long>(left));
    if (wanted > kMaxBlock || readsLeft_ == 0) {
        hasRefused_ = true;
        return {};
    }
    --readsLeft_;
    TagLib::ByteVector data(static_cast<unsigned>(wanted));
    const size_t got = readAt(static_cast<uint64_t>(position_), data.data(), wanted);
    data.resize(static_cast<unsigned>(got));
    position_ += static_cast<long>(got);
    return data;
}

void TagStream::writeBlock(const TagLib::ByteVector &data) {
    const long end = position_ + static_cast<long>(data.size());
    // Past the visible end stands what is hidden; whoever wants room there inserts.
    if (hiddenTail_ > 0 && end > length()) {
        error_ = EIO;
        return;
    }
    if (writeAt(position_, data.data(), data.size()))
        position_ = end;
    size_ = std::max(size_, end);
}

void TagStream::insert(const TagLib::ByteVector &data, TagPosition start, unsigned long replace) {
    const long from = std::min(static_cast<long>(start) + static_cast<long>(replace), length());
    const long to = static_cast<long>(start) + static_cast<long>(data.size());
    if (!move(from, to) || !writeAt(static_cast<long>(start), data.data(), data.size()))
        return;
    setSize(size_ + (to - from));
    position_ = to;
}

void TagStream::removeBlock(TagPosition start, unsigned long length) { insert({}, start, length); }

void TagStream::seek(long offset, Position from) {
    position_ = std::max(0L, offset + (from == Current ? position_ : from == End ? length() : 0));
}

void TagStream::truncate(long length) {
    if (hiddenTail_ > 0)
        move(size_ - hiddenTail_, length);
    setSize(length + hiddenTail_);
}

bool TagStream::writeAt(long position, const char *bytes, size_t size) {
    windowSize_ = 0;
    size_t done = 0;
    while (done < size && !hasFailed() && !readOnly()) {
        const ssize_t written =
            ::pwrite(descriptor_, bytes + done, size - done, static_cast<off_t>(position) + static_cast<off_t>(done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            error_ = written < 0 ? errno : EIO;
        done += static_cast<size_t>(std::max<ssize_t>(written, 0));
    }
    return done == size;
}

// Moves everything from `from` to the end of the file, so that it starts at `to`.
bool TagStream::move(long from, long to) {
    if (from == to)
        return true;
    std::vector<char> bytes(static_cast<size_t>(std::min(kMoveStep, std::max(1L, size_ - from))));
    const long count = size_ - from;
    for (long done = 0; done < count;) {
        const long step = std::min(static_cast<long>(bytes.size()), count - done);
        // What moves up is moved from its end, so that nothing is overwritten before it was read.
        const long offset = to > from ? count - done - step : done;
        if (readFully(descriptor_, static_cast<uint64_t>(from + offset), bytes.data(), static_cast<size_t>(step)) !=
                static_cast<size_t>(step) ||
            !writeAt(to + offset, bytes.data(), static_cast<size_t>(step))) {
            error_ = hasFailed() ? error_ : EIO;
            return false;
        }
        done += step;
    }
    return true;
}

void TagStream::setSize(long size) {
    windowSize_ = 0;
    if (size < size_ && ::ftruncate(descriptor_, size) != 0)
        error_ = errno;
    size_ = size;
}
