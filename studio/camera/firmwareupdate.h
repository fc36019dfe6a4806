#pragma once

namespace Vorta {

/// Asks for consent, runs the firmware updater program and waits for it, then asks for a restart and ends the
/// application. Throws RuntimeException when the updater cannot be started, crashes or reports a failure. GUI thread.
void runFirmwareUpdate();

} // namespace Vorta
