#include "vorta/common/serialization.h"

#include <ostream>

namespace Vorta::Serialization {

std::ostream& operator<<(std::ostream& stream, const std::exception& exception) {
    return stream << exception.what();
}

} // namespace Vorta::Serialization
