#pragma once

class QString;

/// What differs between operating systems; one source file per system implements it.
namespace VortaQt::Platform {

/// Removes the QSharedMemory segment of that key if its owner crashed without removing it. A segment that somebody is
/// attached to stays, and so does one that cannot be reached. Where the system frees segments itself, does nothing.
void clearStaleSharedMemory(const QString& key);

} // namespace VortaQt::Platform
