#pragma once

#include <QString>
#include <QStringList>

namespace Vorta {

/// The file to open at start: the first positional argument, or an empty text. `arguments` begins with the program's
/// name; unknown options are passed over.
[[nodiscard]] QString fileToOpen(const QStringList& arguments);

/// The whole life of the program, from the first registration to the event loop's exit code. Exceptions of start-up
/// and shutdown are thrown to the caller after everything has been taken down again.
[[nodiscard]] int runStudio(int& argc, char** argv);

/// Says in a box that another instance runs. Brings its own application object, since none exists yet.
void showAlreadyRunning(int& argc, char** argv);

/// Shows what ended the program early. Brings its own application object, since the program's is gone.
void showFatalError(int& argc, char** argv, const char* message);

} // namespace Vorta
