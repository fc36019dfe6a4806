#include "vorta/virtual/view.h"

namespace Vorta::Virtual {

std::size_t bayerChannel(Driver::BayerLayout layout, std::size_t row, std::size_t column) {
    constexpr std::size_t R = 0, G = 1, B = 2;
    // In the order of Driver::BayerLayout, each cell row by row.
    constexpr std::array<std::array<std::size_t, 4>, 4> cells{{{G, R, B, G}, {R, G, G, B}, {B, G, G, R}, {G, B, R, G}}};
    return cells[static_cast<std::size_t>(layout)][2 * (row % 2) + column % 2];
}

} // namespace Vorta::Virtual
