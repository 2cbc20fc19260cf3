// Counts what a thread asks of the allocator, by whichever way: the program's own malloc family stands in front of the
// C library's, so operator new and the libraries come by it too.
#pragma once

#include <cstdint>

/// Calls of malloc, calloc, realloc, free and the aligned forms that this thread made while it was counting.
uint64_t countedAllocatorCalls() noexcept;

/// Begins and ends the counting on this thread.
void countAllocatorCalls(bool isCounting) noexcept;
