#pragma once

#include "services/platform/fileversion.h"

#include <QObject>
#include <QString>

#include <functional>
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
/// Where a file of the product that is known by its name on Windows lies in `folder`: under that name where there is
/// such a file, else under the name that this system gives to a program ("A.exe"), a library ("A.dll") or a Python
/// module ("A.pyd"). The file need not exist.
[[nodiscard]] QString nativeFile(const QString& folder, const QString& name);

/// Calls `end`, on this thread and from its event loop, when the system asks the program to end, for instance because
/// it shuts down. A second request ends the program at once, so that one that is busy can be ended too. Once in a
/// process; until `context` goes. Where the system asks the windows instead, does nothing.
void onRequestToEnd(QObject& context, const std::function<void()>& end);

/// The version record of a file, which is not loaded. All empty for a file without one, or no file at all.
[[nodiscard]] FileVersionRecord fileVersionRecord(const QString& path);

} // namespace VortaQt::Platform
