// Replaces the program's allocation functions by ones that count. They stand alone, so that none is inlined into a
// caller without its counterpart.

#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count = 0;
std::atomic<std::size_t> largeCount = 0;

void* counted(void* memory, std::size_t size) {
    ++count;
    if (size >= largeAllocation)
        ++largeCount;
    if (memory)
        return memory;
    throw std::bad_alloc();
}

} // namespace

std::size_t allocationCount() {
    return count;
}

std::size_t largeAllocationCount() {
    return largeCount;
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what manages memory stands on these functions
void* operator new(std::size_t size) {
    return counted(std::malloc(size > 0 ? size : 1), size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step), size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
