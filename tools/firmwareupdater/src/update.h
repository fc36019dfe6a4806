#pragma once

#include <optional>
#include <string>

namespace Vorta::FirmwareUpdater {

/// How the program ends. Of several failures the one with the highest number counts.
enum class Outcome {
    UpToDate = 0,    ///< every head runs the required firmware
    Failed = 1,      ///< something that is none of the below
    Misused = 2,     ///< the command line cannot be meant
    NoHead = 3,      ///< no head is plugged in, or not the one asked for
    Unreadable = 4,  ///< a head's file cannot be read
    NotWritten = 5,  ///< the firmware could not be written into a head
    NotVerified = 6, ///< a head does not run the firmware that was written
};

/// Brings the plugged-in heads, or only the one with `serialNumber`, to the required firmware. Tells what goes on on
/// the standard output, and each failure in one line on the standard error stream; one head's failure does not keep the
/// others from being updated.
[[nodiscard]] Outcome updateHeads(const std::optional<std::string>& serialNumber);

/// One line on the standard error stream, whatever the words hold.
void report(std::string words);

} // namespace Vorta::FirmwareUpdater
