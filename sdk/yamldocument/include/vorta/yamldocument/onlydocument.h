#pragma once

#include <yaml-cpp/yaml.h>

#include <optional>
#include <string>

namespace Vorta {

/// The document that a text is, null for a text without content; empty when it is more than one. Throws YAML::Exception
/// when it is not YAML.
[[nodiscard]] std::optional<YAML::Node> onlyDocument(std::string text);

} // namespace Vorta
