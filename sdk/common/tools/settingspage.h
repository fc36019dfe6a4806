#pragma once

#include <iosfwd>

namespace Vorta {

/// Writes the reference page of all settings as Markdown.
void writeSettingsPage(std::ostream& out);

} // namespace Vorta
