#pragma once

#include <QString>

#include <optional>

/// What differs between operating systems; one source file per system implements it.
namespace VortaQt::Platform {

/// Removes the QSharedMemory segment of that key if its owner crashed without removing it. A segment that somebody is
/// attached to stays, and so does one that cannot be reached. Where the system frees segments itself, does nothing.
void clearStaleSharedMemory(const QString& key);

/// Starts the program in that file as opening it by hand does, and does not wait for it; it outlives this process. A
/// file that has only just been downloaded is made executable first, where that is a property of files. Returns why it
/// could not be started, in the system's words; nothing when it was.
[[nodiscard]] std::optional<QString> openWithShell(const QString& path);

} // namespace VortaQt::Platform
