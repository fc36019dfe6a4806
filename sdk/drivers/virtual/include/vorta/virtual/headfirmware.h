#pragma once

#include "vorta/virtual/headfile.h"

#include <functional>
#include <string_view>

namespace Vorta::Virtual {

/// How much of the firmware has been written, in percent; called with ascending numbers up to 100.
using WriteProgress = std::function<void(unsigned percent)>;

/// Writes another firmware into a plugged-in head: from then on its file names that firmware, with every other byte as
/// it was. The new file takes the place of the earlier one in one step, so that whoever has the head open goes on.
/// A head whose file asks for the fault `update` takes everything and keeps its old firmware.
///
/// Throws IOException, with the file untouched, when it cannot be written, names its firmware in no place that can be
/// replaced, or was changed by somebody else meanwhile.
void writeFirmware(const HeadDescription& head, std::string_view firmware, const WriteProgress& progress);

} // namespace Vorta::Virtual
