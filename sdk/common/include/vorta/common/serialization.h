#pragma once

#include "vorta/common/export.h"

#include <exception>
#include <iosfwd>

namespace Vorta::Serialization {

/// Writes an exception's message; bring it in with `using Vorta::Serialization::operator<<;`.
VORTA_COMMON_EXPORT std::ostream& operator<<(std::ostream& stream, const std::exception& exception);

} // namespace Vorta::Serialization
