#include "vorta/virtual/leveltable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace Vorta::Virtual {
namespace {

using Driver::Axis;
using Driver::Lattice;

// Value of a blur at a projector position that is a multiple of a quarter, for so many rows or columns.
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
    for (const Axis axis : {Axis::Rows, Axis::Columns}) {
        const LevelTable table({.axis = axis, .levels = levels}, Lattice::Plain, 1e9);
        for (std::size_t blur = 0; blur < LevelTable::blurs; ++blur) {
            EXPECT_NEAR(valueAt(table, 200, blur, 99.5), 0.5F, 1e-5F) << blur; // the border of lines 99 and 100
            EXPECT_NEAR(valueAt(table, 200, blur, 97.0) + valueAt(table, 200, blur, 102.0), 1.0F, 1e-5F) << blur;
        }
        // A row's edge is a step, of which 2.5 sigma leave 0.0062. A column's climbs from 99.25 to 99.75; under the
        // same Gaussian 0.02023 of it are left half a column aside (convolved numerically).
        const float beside = axis == Axis::Rows ? 0.0062F : 0.02023F;
        EXPECT_NEAR(valueAt(table, 200, 0, 99.0), beside, 1e-4F);
        EXPECT_NEAR(valueAt(table, 200, 0, 100.0), 1.0F - beside, 1e-4F);
    }
}

TEST(LevelTable, AttenuatesFringesAsAGaussianDoes) {
    std::vector<float> levels;
    for (int line = 0; line < 400; ++line)
        levels.push_back(0.5F + 0.5F * std::cos(static_cast<float>(line) * std::numbers::pi_v<float> / 4.0F));
    const LevelTable rows({.axis = Axis::Rows, .levels = levels}, Lattice::Plain, 1e9);
    // Period 8: the box leaves sin(pi/8)/(pi/8) = 0.97450, the Gaussian of sigma 0.2 * 1.2142^8 = 0.94483 leaves
    // exp(-2 pi^2 sigma^2 / 64) = 0.75932.
    EXPECT_NEAR(valueAt(rows, 400, 8, 200.0) - 0.5F, 0.5F * 0.9745F * 0.75932F, 1e-4F);
    EXPECT_NEAR(valueAt(rows, 400, 19, 200.0) - 0.5F, 0.0F, 1e-4F); // sigma 8 leaves nothing
    // Position does not shift: the maximum stays on the line, the zero crossing a quarter of a period beside it.
    EXPECT_NEAR(valueAt(rows, 400, 5, 202.0), 0.5F, 1e-5F);
    // Two triangles of half base 1/2, a quarter to either side, leave (sin(pi/16)/(pi/16))^2 cos(pi/16) = 0.96827.
    const LevelTable columns({.axis = Axis::Columns, .levels = levels}, Lattice::Plain, 1e9);
    EXPECT_NEAR(valueAt(columns, 400, 8, 200.0) - 0.5F, 0.5F * 0.96827F * 0.75932F, 2e-4F);
    EXPECT_NEAR(valueAt(columns, 400, 5, 202.0), 0.5F, 1e-5F);
}

TEST(LevelTable, IsDarkBeyondTheImage) {
    const LevelTable rows({.axis = Axis::Rows, .levels = std::vector<float>(100, 1.0F)}, Lattice::Plain, 1e9);
    EXPECT_NEAR(valueAt(rows, 100, 0, -0.5), 0.5F, 1e-5F);
    EXPECT_NEAR(valueAt(rows, 100, 0, 99.5), 0.5F, 1e-5F);
    // Columns fade from a quarter inside to a quarter outside (on the left; convolved numerically).
    const LevelTable plain({.axis = Axis::Columns, .levels = std::vector<float>(100, 1.0F)}, Lattice::Plain, 1e9);
    const LevelTable diamond({.axis = Axis::Columns, .levels = std::vector<float>(200, 1.0F)}, Lattice::Diamond, 1e9);
    for (const LevelTable* table : {&plain, &diamond}) {
        EXPECT_NEAR(valueAt(*table, 100, 0, -0.5), 0.5F, 1e-4F);
        EXPECT_NEAR(valueAt(*table, 100, 0, -0.25), 0.84122F, 1e-4F);
        EXPECT_NEAR(valueAt(*table, 100, 0, 0.0), 0.97977F, 1e-4F);
        EXPECT_NEAR(valueAt(*table, 100, 0, 99.25), 0.84122F, 1e-4F);
        EXPECT_NEAR(valueAt(*table, 100, 0, 99.5), 0.5F, 1e-4F);
        EXPECT_NEAR(valueAt(*table, 100, 0, 50.0), 1.0F, 1e-5F);
    }
}

TEST(LevelTable, HalfColumnsAreTrianglesThatOverlap) {
    // Half column 201 is the odd rows of column 100, a quarter to the right of it. Values: a triangle of half base 1/2
    // under Gaussians of sigma 0.2 and 0.52781 (convolved numerically).
    std::vector<float> levels(400, 0.0F);
    levels[201] = 1.0F;
    const LevelTable one({.axis = Axis::Columns, .levels = levels}, Lattice::Diamond, 1e9);
    EXPECT_NEAR(valueAt(one, 200, 0, 100.25), 0.68245F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 0, 100.0), 0.47977F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 0, 100.5), 0.47977F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 0, 99.75), 0.15797F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 0, 99.5), 0.02022F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 5, 100.25), 0.35200F, 1e-4F);
    EXPECT_NEAR(valueAt(one, 200, 5, 99.75), 0.23869F, 1e-4F);
    // Levels that grow evenly from half column to half column are a ramp: at column c half column 2 c + 1/2.
    for (std::size_t half = 0; half < levels.size(); ++half)
        levels[half] = static_cast<float>(half) / 400.0F;
    const LevelTable ramp({.axis = Axis::Columns, .levels = levels}, Lattice::Diamond, 1e9);
    EXPECT_NEAR(valueAt(ramp, 200, 0, 100.0), 200.5F / 400.0F, 1e-5F);
    EXPECT_NEAR(valueAt(ramp, 200, 0, 70.25), 141.0F / 400.0F, 1e-5F);
    EXPECT_NEAR(valueAt(ramp, 200, 10, 130.5), 261.5F / 400.0F, 1e-5F);
}

TEST(LevelTable, APlainColumnLightsBothItsHalves) {
    std::vector<float> plainLevels(200, 0.0F);
    plainLevels[100] = 1.0F;
    std::vector<float> halves(400, 0.0F);
    halves[200] = halves[201] = 1.0F;
    const LevelTable plain({.axis = Axis::Columns, .levels = plainLevels}, Lattice::Plain, 1e9);
    const LevelTable diamond({.axis = Axis::Columns, .levels = halves}, Lattice::Diamond, 1e9);
    ASSERT_EQ(plain.values().size(), diamond.values().size());
    for (std::size_t i = 0; i < plain.values().size(); ++i)
        ASSERT_EQ(plain.values()[i], diamond.values()[i]) << i;
    EXPECT_NEAR(valueAt(plain, 200, 0, 100.0), 0.95955F, 1e-4F);
    EXPECT_NEAR(valueAt(plain, 200, 0, 99.75), 0.84042F, 1e-4F);
    EXPECT_NEAR(valueAt(plain, 200, 0, 100.5), 0.49999F, 1e-4F);
    // Rows are the same on either lattice: boxes, 1 - 2 (1 - N(2.5)).
    const LevelTable rows({.axis = Axis::Rows, .levels = plainLevels}, Lattice::Diamond, 1e9);
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
