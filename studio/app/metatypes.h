#pragma once

namespace Vorta {

/// Makes the types that queued signals carry known under the names that those signals spell. Call once, before any
/// thread emits.
void registerMetaTypes();

} // namespace Vorta
