// Replaces the program's allocation functions by ones that count. They stand alone, so that none is inlined into a
// caller without its counterpart.

#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> count = 0;
} // namespace

std::size_t allocationCount() {
    return count;
}

void* operator new(std::size_t size) {
    ++count;
    if (void* const memory = std::malloc(size > 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
