// Replaces the program's allocation functions by ones that count. They stand alone, so that none is inlined into a
// caller without its counterpart.

#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <memory>
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

// Not std::aligned_alloc(), which Windows lacks: the block that malloc() gave stands before the aligned memory.
void* allocate(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    std::size_t space = size + step;
    void* block = allocate(sizeof(void*) + space);
    if (!block)
        return nullptr;
    void* memory = static_cast<void**>(block) + 1;
    std::align(step, size, memory, space);
    static_cast<void**>(memory)[-1] = block;
    return memory;
}

void freeAligned(void* memory) {
    if (memory)
        std::free(static_cast<void**>(memory)[-1]);
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
    freeAligned(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    freeAligned(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
