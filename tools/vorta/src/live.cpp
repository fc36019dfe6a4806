#include "commands.h"
#include "measurementoptions.h"
#include "progress.h"

#include "vorta/api/application.h"
#include "vorta/common/exceptions.h"

#include <boost/format.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>

namespace Vorta::Tool {

namespace {

using Clock = std::chrono::steady_clock;

/// Counts the frames of one live run.
class FrameCounter {
public:
    void add() {
        const std::lock_guard lock(mutex_);
        last_ = Clock::now();
        if (count_++ == 0)
            first_ = last_;
        changed_.notify_all();
    }

    [[nodiscard]] std::uint64_t count() {
        const std::lock_guard lock(mutex_);
        return count_;
    }

    /// Waits a moment for that many frames; returns how many there are.
    std::uint64_t waitFor(std::uint64_t count) {
        constexpr std::chrono::milliseconds moment{100};
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, moment, [&] { return count_ >= count; });
        return count_;
    }

    /// From the first frame to the last; 0 for fewer than two.
    [[nodiscard]] double framesPerSecond() {
        const std::lock_guard lock(mutex_);
        const double seconds = std::chrono::duration<double>(last_ - first_).count();
        return count_ > 1 && seconds > 0.0 ? static_cast<double>(count_ - 1) / seconds : 0.0;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t count_ = 0;
    Clock::time_point first_;
    Clock::time_point last_;
};

struct Arguments {
    MeasurementOptions measurement;
    std::uint64_t frames = 0;
};

/// What the library said last of what went wrong; empty when it said nothing.
class LastError {
public:
    void add(const Log::Event& event) {
        if (event.getSeverity() != Log::Severity::Error)
            return;
        const std::lock_guard lock(mutex_);
        text_ = event.getMessage();
    }

    [[nodiscard]] std::string text() {
        const std::lock_guard lock(mutex_);
        return text_;
    }

private:
    std::mutex mutex_;
    std::string text_;
};

/// Why live acquisition is over: as the library put it, or, where it has not noticed yet, what the camera's state says.
std::string endOfLive(const Camera& camera, const std::string& lastError) {
    if (!lastError.empty())
        return lastError;
    return "Camera '" + camera.serialNumber().toString() +
           (camera.state().connected ? "' has ended live acquisition." : "' has vanished during live acquisition.");
}

void live(const Arguments& arguments) {
    const Settings settings = arguments.measurement.settings();
    const auto frames = std::make_shared<FrameCounter>(); // the last callback may end after this function
    const auto lastError = std::make_shared<LastError>();
    Application application;
    Camera camera = arguments.measurement.connect(application, settings);
    const bool verbose = settings.getSettingsInternal().get<SettingsInternal::Global::DebugMessages>().value();
    application.getImpl().setLogCallback([lastError, verbose](const Log::Event& event) {
        lastError->add(event);
        if (verbose)
            printMessage(event);
    });
    camera.setFrameCallback([frames](const Frame&) { frames->add(); });
    {
        Progress progress;
        progress.show("Live with " + camera.modelName() + " " + camera.serialNumber().toString());
        camera.startLive();
        std::uint64_t count = 0;
        while ((count = frames->waitFor(arguments.frames)) < arguments.frames) {
            if (!camera.state().live)
                throw RuntimeException(endOfLive(camera, lastError->text()));
            progress.show((boost::format("%d of %d frames, %.1f per second") % count % arguments.frames %
                           frames->framesPerSecond())
                              .str());
        }
        camera.stopLive();
    }
    std::cout << boost::format("%d frames, %.1f frames per second\n") % frames->count() % frames->framesPerSecond();
}

} // namespace

void addLiveCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("live", "Measures again and again and prints how fast.");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("--frames", arguments->frames, "How many frames to wait for.")
        ->required()
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1'000'000'000}));
    arguments->measurement.addTo(*command);
    command->callback([arguments] { live(*arguments); });
}

} // namespace Vorta::Tool
