#include "vorta/virtual/rows.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Vorta::Virtual {

void forEachRow(std::size_t rows, unsigned threads, const std::function<void(std::size_t)>& work) {
    constexpr std::size_t block = 8;
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::exception_ptr failure;
    const auto run = [&] {
        try {
            for (std::size_t begin = next.fetch_add(block); begin < rows; begin = next.fetch_add(block))
                for (std::size_t row = begin; row < std::min(begin + block, rows); ++row)
                    work(row);
        } catch (...) { // handed to the caller below
            next = rows;
            const std::lock_guard lock(mutex);
            if (!failure)
                failure = std::current_exception();
        }
    };
    const std::size_t wanted = threads > 0 ? threads : std::max(1U, std::thread::hardware_concurrency());
    {
        std::vector<std::jthread> helpers;
        for (std::size_t i = 1; i < std::min(wanted, (rows + block - 1) / block); ++i)
            helpers.emplace_back(run);
        run();
    }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace Vorta::Virtual
