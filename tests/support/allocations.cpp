// Replaces the program's allocation functions by ones that count. They stand alone, so that none is inlined into a
// caller without its counterpart.

#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count = 0;
std::atomic<std::size_t> largeCount = 0;

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what manages memory stands on these functions
void* allocate(std::size_t size) {
    ++count;
    if (size >= largeAllocation)
        ++largeCount;
    return std::malloc(size > 0 ? size : 1);
}

void* allocate(std::size_t size, std::align_val_t alignment) {
    ++count;
    if (size >= largeAllocation)
        ++largeCount;
    const auto step = static_cast<std::size_t>(alignment);
    return std::aligned_alloc(step, (size + step - 1) / step * step);
}

void* orThrow(void* memory) {
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

void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, alignment));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size, alignment);
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
