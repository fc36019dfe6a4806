#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

namespace Vorta::Tool {

/// Keeps the order in which members were added.
using Json = nlohmann::ordered_json;

/// Indented, on the standard output. Bytes that are no UTF-8 (a path in another encoding) become replacement
/// characters.
inline void print(const Json& value) {
    std::cout << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace Vorta::Tool
