// Copies between open files.
//
// Threads: any; a descriptor belongs to one thread at a time.
#pragma once

#include <sys/types.h>
#include <unistd.h>

/// Closes its descriptor.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return descriptor_; }

private:
    int descriptor_;
};

/// Appends all of `source` from where it stands to `target`: shares the blocks of an empty target where the file system
/// can. False and errno on failure.
bool copyContent(int source, int target);

/// Moves a file to where none stands. To another file system it goes by a copy, and `from` stays until that is whole
/// and on the disk. False and errno on failure.
bool moveFile(const char *from, const char *to);

/// Copies the first `size` bytes over those of `target` and cuts it there. False and errno on failure.
bool overwrite(int source, int target, off_t size);

/// Whether two files hold the same bytes; false also where that can't be read.
bool haveSameContent(int a, int b);
