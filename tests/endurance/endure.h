#pragma once

#include "support/processusage.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <string_view>
#include <thread>

namespace Vorta::Testing {

/// Something that a program does again and again.
struct Repetition {
    std::string_view name;
    int warmUp = 0; ///< rounds in which caches fill
    int rounds = 0;
    std::size_t allowedBytes = 0; ///< by which the memory may have grown after the rounds
    std::function<void()> round;
};

/// Takes the process's usage once there are no more threads and handles than before: a thread that is ending still
/// counts, and so does a folder that is just being looked through.
inline ProcessUsage usageWhenCalm(const ProcessUsage& before) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    ProcessUsage usage = processUsage();
    while ((usage.threads > before.threads || usage.openFiles > before.openFiles) &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
        usage = processUsage();
    }
    return usage;
}

/// Does it all and expects that the process holds no more after the rounds than before them: memory within the bound,
/// threads and handles to the one. Prints what it held.
inline void endure(const Repetition& repetition) {
    SCOPED_TRACE(repetition.name);
    const auto repeat = [&](int times) {
        for (int i = 0; i < times && !::testing::Test::HasFatalFailure(); ++i)
            repetition.round();
    };
    repeat(repetition.warmUp);
    const ProcessUsage before = processUsage();
    repeat(repetition.rounds);
    if (::testing::Test::HasFatalFailure())
        return;
    const ProcessUsage after = usageWhenCalm(before);
    std::cout << repetition.name << ", " << repetition.rounds << " rounds: " << before.residentBytes / 1024 << " to "
              << after.residentBytes / 1024 << " KiB resident, " << before.heapBytes / 1024 << " to "
              << after.heapBytes / 1024 << " KiB allocated, " << before.threads << " to " << after.threads
              << " threads, " << before.openFiles << " to " << after.openFiles << " handles" << std::endl;
    EXPECT_LE(after.residentBytes, before.residentBytes + repetition.allowedBytes);
    EXPECT_LE(after.heapBytes, before.heapBytes + repetition.allowedBytes);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.openFiles, before.openFiles);
}

} // namespace Vorta::Testing
