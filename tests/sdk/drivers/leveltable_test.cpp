#include "vorta/virtual/leveltable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace Vorta::Virtual {
namespace {

using Driver::Axis;
using Driver::Lattice;

// Value of a blur at a projector position that is a multiple of a quarter.
float valueAt(const LevelTable& table, std::size_t lines, std::size_t blur, double position) {
    const auto node = static_cast<std::size_t>((position + 0.5) * 4.0);
    return table.values()[blur * LevelTable::nodes(lines) + node];
}

TEST(LevelTable, HoldsAnEvenLevel) {
    const LevelTable table({.axis = Axis::Columns, .levels = std::vector<float>(200, 0.75F)}, Lattice::Plain, 1e9);
    for (std::size_t blur = 0; blur < LevelTable::blurs; ++blur)
        EXPECT_NEAR(valueAt(table, 200, blur, 100.0), 0.75F, 1e-5F) << blur;
}

TEST(LevelTable, LeavesTheProjectorsBlackLight) {
    const LevelTable table({.axis = Axis::Columns, .levels = std::vector<float>(200, 0.0F)}, Lattice::Plain, 500.0);
    EXPECT_NEAR(valueAt(table, 200, 3, 100.0), 0.002F, 1e-6F);
}

TEST(LevelTable, BlursAnEdgeSymmetrically) {
    std::vector<float> levels(200, 0.0F);
    std::fill(levels.begin() + 100, levels.end(), 1.0F);
    const LevelTable table({.axis = Axis::Columns, .levels = levels}, Lattice::Plain, 1e9);
    for (std::size_t blur = 0; blur < LevelTable::blurs; ++blur) {
        EXPECT_NEAR(valueAt(table, 200, blur, 99.5), 0.5F, 1e-5F) << blur; // the border of columns 99 and 100
        EXPECT_NEAR(valueAt(table, 200, blur, 97.0) + valueAt(table, 200, blur, 102.0), 1.0F, 1e-5F) << blur;
    }
    EXPECT_NEAR(valueAt(table, 200, 0, 99.0), 0.0062F, 1e-4F); // the normal distribution's share beyond 2.5 sigma
    EXPECT_NEAR(valueAt(table, 200, 0, 100.0), 0.9938F, 1e-4F);
}

TEST(LevelTable, AttenuatesFringesAsAGaussianDoes) {
    std::vector<float> levels;
    for (int column = 0; column < 400; ++column)
        levels.push_back(0.5F + 0.5F * std::cos(static_cast<float>(column) * std::numbers::pi_v<float> / 4.0F));
    const LevelTable table({.axis = Axis::Columns, .levels = levels}, Lattice::Plain, 1e9);
    // Period 8: the box leaves sin(pi/8)/(pi/8) = 0.97450, the Gaussian of sigma 0.2 * 1.2142^8 = 0.94483 leaves
    // exp(-2 pi^2 sigma^2 / 64) = 0.75932.
    EXPECT_NEAR(valueAt(table, 400, 8, 200.0) - 0.5F, 0.5F * 0.9745F * 0.75932F, 1e-4F);
    EXPECT_NEAR(valueAt(table, 400, 19, 200.0) - 0.5F, 0.0F, 1e-4F); // sigma 8 leaves nothing
    // Position does not shift: the maximum stays on the column, the zero crossing a quarter of a period beside it.
    EXPECT_NEAR(valueAt(table, 400, 5, 202.0), 0.5F, 1e-5F);
}

TEST(LevelTable, IsDarkBeyondTheImage) {
    const LevelTable table({.axis = Axis::Rows, .levels = std::vector<float>(100, 1.0F)}, Lattice::Plain, 1e9);
    EXPECT_NEAR(valueAt(table, 100, 0, -0.5), 0.5F, 1e-5F);
    EXPECT_NEAR(valueAt(table, 100, 0, 99.5), 0.5F, 1e-5F);
}

TEST(LevelTable, BlendsBothKindsOfDiamondRows) {
    std::vector<float> levels(200, 0.0F);
    levels[100] = 1.0F;
    const LevelTable plain({.axis = Axis::Columns, .levels = levels}, Lattice::Plain, 1e9);
    const LevelTable diamond({.axis = Axis::Columns, .levels = levels}, Lattice::Diamond, 1e9);
    // Sigma 0.2: 1 - 2 (1 - N(2.5)) on the plain lattice, N(3.75) - N(-1.25) on the diamond.
    EXPECT_NEAR(valueAt(plain, 200, 0, 100.0), 0.98758F, 1e-4F);
    EXPECT_NEAR(valueAt(diamond, 200, 0, 100.0), 0.89426F, 1e-4F);
    EXPECT_NEAR(valueAt(diamond, 200, 0, 99.5), valueAt(diamond, 200, 0, 100.5), 1e-6F);
    const LevelTable rows({.axis = Axis::Rows, .levels = levels}, Lattice::Diamond, 1e9);
    EXPECT_NEAR(valueAt(rows, 200, 0, 100.0), 0.98758F, 1e-4F);
}

TEST(LevelTable, ChoosesTheNearestBlur) {
    EXPECT_EQ(LevelTable::blurFor(0.0F), 0U);
    EXPECT_EQ(LevelTable::blurFor(0.04F), 0U);
    EXPECT_EQ(LevelTable::blurFor(0.2F * 0.2F * 1.2142F * 1.2142F), 1U);
    EXPECT_EQ(LevelTable::blurFor(64.0F), 19U);
    EXPECT_EQ(LevelTable::blurFor(1e9F), 19U);
}

} // namespace
} // namespace Vorta::Virtual
