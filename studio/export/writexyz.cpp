#include "export/file.h"
#include "export/formatxyz.h"
#include "export/pointcloudwriters.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Vorta::Export {

namespace {

/// Points per block: points and text of one block fit into a core's own cache, and the text is enough for the system to
/// take at once.
constexpr std::size_t blockSize = 16384;
/// Ends the looks after some tenths of a millisecond.
constexpr int looksBeforeSleep = 1000;

/// Writes a cloud's lines block by block: any number of threads format, one at a time writes, in the cloud's order.
class XyzWriter {
public:
    XyzWriter(std::FILE* file, std::span<const Point> points) : file_(file), points_(points) {}

    [[nodiscard]] std::size_t blockCount() const noexcept { return (points_.size() + blockSize - 1) / blockSize; }

    /// Characters that run() needs.
    [[nodiscard]] std::size_t bufferSize() const noexcept {
        return std::min(blockSize, points_.size()) * maxXyzLineLength + xyzSlack;
    }

    /// Formats and writes blocks until none is left or writing failed. Several threads may call this at once, each with
    /// its own buffer.
    void run(char* buffer) noexcept {
        for (;;) {
            const std::size_t block = nextToFormat_++;
            if (block >= blockCount() || failed_)
                return;
            const std::size_t length = format(block, buffer);
            if (!write(block, buffer, length))
                return;
        }
    }

    [[nodiscard]] bool failed() const noexcept { return failed_; }

private:
    std::size_t format(std::size_t block, char* text) const noexcept {
        const std::size_t first = block * blockSize;
        const auto points = points_.subspan(first, std::min(blockSize, points_.size() - first));
        return static_cast<std::size_t>(formatXyz(points, text) - text);
    }

    // Not by std::atomic's own waiting, which GCC 12 for Windows may leave asleep for ever.
    bool write(std::size_t block, const char* text, std::size_t length) noexcept {
        // The turn comes soon, as a rule, and who goes to sleep for it may be woken on the other's processor.
        for (int look = 0; look < looksBeforeSleep && nextToWrite_ < block; ++look)
            std::this_thread::yield();
        std::unique_lock lock(mutex_);
        turnCame_.wait(lock, [&] { return nextToWrite_ >= block; });
        if (failed_)
            return false;
        // Nobody else writes before the turn moves on.
        lock.unlock();
        const bool written = std::fwrite(text, 1, length, file_) == length;
        lock.lock();
        if (!written)
            failed_ = true;
        // After a failure everybody's turn has passed.
        nextToWrite_ = written ? block + 1 : blockCount();
        turnCame_.notify_all();
        return written;
    }

    std::FILE* file_;
    std::span<const Point> points_;
    std::atomic<std::size_t> nextToFormat_ = 0;
    std::atomic<bool> failed_ = false;
    std::mutex mutex_;
    std::condition_variable turnCame_;
    std::atomic<std::size_t> nextToWrite_ = 0; // changes under the mutex
};

/// More threads than this only wait for the file.
constexpr std::size_t maxThreads = 4;
/// Below this a thread costs more than it saves.
constexpr std::size_t minBlocksPerThread = 4;

} // namespace

bool writeXyz(const std::string& path, const PointCloud& cloud) {
    File file = openFile(path, "w");
    if (!file)
        return false;
    // The blocks are large enough: a buffer would only copy them once more.
    static_cast<void>(std::setvbuf(file.get(), nullptr, _IONBF, 0));

    XyzWriter writer{file.get(), cloud.points()};
    const std::size_t threads =
        std::clamp<std::size_t>(writer.blockCount() / minBlocksPerThread, 1,
                                std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, maxThreads));
    std::vector<std::unique_ptr<char[]>> buffers(threads);
    for (auto& buffer : buffers)
        buffer = std::make_unique_for_overwrite<char[]>(writer.bufferSize());
    {
        std::vector<std::jthread> helpers;
        try {
            for (std::size_t i = 1; i < threads; ++i)
                helpers.emplace_back([&writer, buffer = buffers[i].get()] { writer.run(buffer); });
        } catch (const std::system_error&) {
            // The system gives no more threads; those that started and this one do the work.
        }
        writer.run(buffers[0].get());
    }
    return !writer.failed() && finish(std::move(file));
}

} // namespace Vorta::Export
