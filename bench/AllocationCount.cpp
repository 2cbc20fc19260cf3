#include "AllocationCount.h"

#include <cerrno>
#include <cstddef>

namespace {
thread_local bool isCountingHere = false;
thread_local uint64_t callsHere = 0;

void noteCall() noexcept { callsHere += isCountingHere ? 1 : 0; }
} // namespace

uint64_t countedAllocatorCalls() noexcept { return callsHere; }

void countAllocatorCalls(bool isCounting) noexcept { isCountingHere = isCounting; }

// The C library's own entries below the ones replaced here.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);

void *malloc(size_t size) {
    noteCall();
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    noteCall();
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
    noteCall();
    return __libc_realloc(block, size);
}
void *memalign(size_t alignment, size_t size) {
    noteCall();
    return __libc_memalign(alignment, size);
}
void *aligned_alloc(size_t alignment, size_t size) {
    noteCall();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void **block, size_t alignment, size_t size) {
    noteCall();
    *block = __libc_memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}
void free(void *block) {
    noteCall();
    __libc_free(block);
}
}
// NOLINTEND(bugprone-reserved-identifier)
