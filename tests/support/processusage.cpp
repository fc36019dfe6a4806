#include "support/processusage.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <unistd.h>

namespace Vorta::Testing {

namespace {

std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t entries(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace

ProcessUsage processUsage() {
    // What is free, but scattered among what is not, says more about the order of events than about losses.
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    return {.residentBytes = residentBytes(),
            .heapBytes = heap.uordblks + heap.hblkhd,
            .threads = entries("/proc/self/task"),
            .openFiles = entries("/proc/self/fd")};
}

} // namespace Vorta::Testing
