#include "patchfilter.h"

#include "vorta/common/workerpool.h"

#include "vorta/common/exceptions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Vorta;
using Reconstruction::PatchFilter;

constexpr float nothing = std::numeric_limits<float>::quiet_NaN();

/// A cloud with these depths; every other value tells its point from all others.
PointCloud cloudOf(std::size_t height, std::size_t width, const std::vector<float>& depthsMm) {
    PointCloud cloud(height, width);
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        const bool isValid = !std::isnan(depthsMm[i]);
        const auto byte = static_cast<std::uint8_t>(i % 251);
        cloud[i] = {.x = isValid ? static_cast<float>(i) : nothing,
                    .y = isValid ? -static_cast<float>(i) : nothing,
                    .z = depthsMm[i],
                    .contrast = 0.5F * static_cast<float>(i),
                    .blue = byte,
                    .green = static_cast<std::uint8_t>(byte + 1),
                    .red = static_cast<std::uint8_t>(byte + 2),
                    .alpha = static_cast<std::uint8_t>(byte + 3)};
    }
    return cloud;
}

/// A cloud from a drawing, one text per row: '.' is an invalid point, a digit n one at 100 n mm.
PointCloud draw(const std::vector<std::string>& rows) {
    std::vector<float> depthsMm;
    for (const std::string& row : rows)
        for (const char letter : row)
            depthsMm.push_back(letter == '.' ? nothing : 100.0F * static_cast<float>(letter - '0'));
    return cloudOf(rows.size(), rows.empty() ? 0 : rows.front().size(), depthsMm);
}

/// The drawing of a cloud.
std::vector<std::string> drawing(const PointCloud& cloud) {
    std::vector<std::string> rows(cloud.height());
    for (std::size_t row = 0; row < cloud.height(); ++row)
        for (const Point& point : cloud.row(row))
            rows[row] += point.isValid() ? static_cast<char>('0' + std::lround(point.z / 100.0F)) : '.';
    return rows;
}

/// Grows each patch from its first point, one point after the other.
void floodFill(PointCloud& cloud, float thresholdMm, std::size_t minPoints) {
    const PointCloud original = cloud.clone();
    std::vector<bool> seen(cloud.size(), false);
    for (std::size_t start = 0; start < cloud.size(); ++start) {
        if (seen[start] || !original[start].isValid())
            continue;
        std::vector<std::size_t> patch{start};
        seen[start] = true;
        for (std::size_t next = 0; next < patch.size(); ++next) {
            const std::size_t here = patch[next];
            const auto visit = [&](bool inside, std::size_t neighbour) {
                if (!inside || seen[neighbour])
                    return;
                if (std::abs(original[here].z - original[neighbour].z) <= thresholdMm) {
                    seen[neighbour] = true;
                    patch.push_back(neighbour);
                }
            };
            visit(here % cloud.width() > 0, here - 1);
            visit((here + 1) % cloud.width() > 0, here + 1);
            visit(here >= cloud.width(), here - cloud.width());
            visit(here + cloud.width() < cloud.size(), here + cloud.width());
        }
        if (patch.size() < minPoints)
            for (const std::size_t point : patch)
                cloud[point].x = cloud[point].y = cloud[point].z = nothing;
    }
}

struct Work {
    std::size_t threads = 1;
    std::size_t blockRows = 1'000'000;
};

/// The filter, with the rows shared out in blocks, last block first when there is one thread.
void filter(PatchFilter& patches, PointCloud& cloud, float thresholdMm, std::size_t minPoints, const Work& how) {
    WorkerPool pool(how.threads);
    const std::size_t blocks = (cloud.height() + how.blockRows - 1) / how.blockRows;
    const auto rowsOf = [&](std::size_t block) {
        const std::size_t first = (blocks - 1 - block) * how.blockRows;
        return std::pair{first, std::min(first + how.blockRows, cloud.height())};
    };
    pool.forEachBlock(blocks, [&](std::size_t block, std::size_t) {
        const auto [first, last] = rowsOf(block);
        for (std::size_t row = first; row < last; ++row) {
            patches.findRuns(cloud, row, thresholdMm);
            if (row > first)
                patches.joinRows(cloud, row, thresholdMm);
        }
    });
    for (std::size_t row = how.blockRows; row < cloud.height(); row += how.blockRows)
        patches.joinRows(cloud, row, thresholdMm);
    pool.forEachBlock(blocks, [&](std::size_t block, std::size_t) {
        const auto [first, last] = rowsOf(block);
        for (std::size_t row = first; row < last; ++row)
            patches.removeSmall(cloud, row, minPoints);
    });
}

bool sameBytes(const PointCloud& a, const PointCloud& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Point)) == 0;
}

/// What is left of a drawing, which must be the same for every way to share the work, and by flood fill.
std::vector<std::string> keep(const std::vector<std::string>& rows, std::size_t minPoints, float thresholdMm = 5.0F) {
    PointCloud expected = draw(rows);
    floodFill(expected, thresholdMm, minPoints);
    for (const Work& how : {Work{}, Work{.blockRows = 1}, Work{.blockRows = 2}, Work{.threads = 3, .blockRows = 2}}) {
        PointCloud cloud = draw(rows);
        PatchFilter patches(cloud.height(), cloud.width());
        filter(patches, cloud, thresholdMm, minPoints, how);
        EXPECT_TRUE(sameBytes(cloud, expected)) << how.threads << " threads, blocks of " << how.blockRows;
    }
    return drawing(expected);
}

using Drawing = std::vector<std::string>;

TEST(PatchFilter, AsManyPointsAsAPatchNeeds) {
    EXPECT_EQ(Reconstruction::minPatchPoints(0), 10U);
    EXPECT_EQ(Reconstruction::minPatchPoints(std::size_t{243} * 150), 10U);
    EXPECT_EQ(Reconstruction::minPatchPoints(100'000), 10U);
    EXPECT_EQ(Reconstruction::minPatchPoints(100'001), 11U);
    EXPECT_EQ(Reconstruction::minPatchPoints(std::size_t{1944} * 1200), 234U); // 233.28
}

TEST(PatchFilter, NothingValid) {
    EXPECT_EQ(keep({"....", "....", "...."}, 1), (Drawing{"....", "....", "...."}));
}

TEST(PatchFilter, OnePatchOfEverything) {
    const Drawing all(3, "7777");
    EXPECT_EQ(keep(all, 12), all);
    EXPECT_EQ(keep(all, 13), Drawing(3, "...."));
}

TEST(PatchFilter, RemovesSmallPatchesOnly) {
    EXPECT_EQ(keep({"77777.", //
                    "7.8877", // two at 800 mm
                    "7.8.77", // and one
                    "777777"},
                   4),
              (Drawing{"77777.", //
                       "7...77", //
                       "7...77", //
                       "777777"}));
}

TEST(PatchFilter, CornersDoNotConnect) {
    EXPECT_EQ(keep({"7.7.", ".7.7", "7.7."}, 2), Drawing(3, "...."));
    EXPECT_EQ(keep({"77..", "..77"}, 3), Drawing(2, "...."));
    EXPECT_EQ(keep({"77..", ".777"}, 5), (Drawing{"77..", ".777"}));
}

TEST(PatchFilter, AStepOfExactlyTheThresholdConnects) {
    const Drawing steps{"789"};
    EXPECT_EQ(keep(steps, 3, 100.0F), steps);
    EXPECT_EQ(keep(steps, 2, std::nextafter(100.0F, 0.0F)), Drawing{"..."});
    EXPECT_EQ(keep({"7", "8", "9"}, 3, 100.0F), (Drawing{"7", "8", "9"}));
    EXPECT_EQ(keep({"7", "8", "9"}, 2, std::nextafter(100.0F, 0.0F)), Drawing(3, "."));
}

TEST(PatchFilter, AThresholdOfZeroConnectsEqualDepths) {
    EXPECT_EQ(keep({"7789", "7899"}, 3, 0.0F), (Drawing{"77.9", "7.99"}));
}

// Only the last row connects what the rows above hold apart.
TEST(PatchFilter, FormsThatMeetLate) {
    const Drawing u{"7.7", "7.7", "777"};
    EXPECT_EQ(keep(u, 7), u);
    EXPECT_EQ(keep(u, 8), Drawing(3, "..."));
    const Drawing comb{"7.7.7.7.7", "7.7.7.7.7", "7.777.7.7", "7.....777", "777777777"};
    EXPECT_EQ(keep(comb, 7), comb); // 7 points stand inside, 22 around them
    EXPECT_EQ(keep(comb, 8), (Drawing{"7.....7.7", "7.....7.7", "7.....7.7", "7.....777", "777777777"}));
    EXPECT_EQ(keep(comb, 23), Drawing(5, "........."));
    const Drawing nested{"7.......7", "7.7...7.7", "7.7.7.7.7", "7.77777.7", "7.......7", "777777777"};
    EXPECT_EQ(keep(nested, 10), nested); // 10 inside, 19 around
    EXPECT_EQ(keep(nested, 11),
              (Drawing{"7.......7", "7.......7", "7.......7", "7.......7", "7.......7", "777777777"}));
    EXPECT_EQ(keep(nested, 20), Drawing(6, "........."));
}

TEST(PatchFilter, Spiral) {
    const Drawing spiral{"777777777", //
                         "........7", //
                         "7777777.7", //
                         "7.....7.7", //
                         "7.777.7.7", //
                         "7.7...7.7", //
                         "7.77777.7", //
                         "7.......7", //
                         "777777777"};
    EXPECT_EQ(keep(spiral, 49), spiral);
    EXPECT_EQ(keep(spiral, 50), Drawing(9, "........."));
}

// Wrap-around between the end of a row and the start of the next must not connect.
TEST(PatchFilter, RowsEndAtTheBorder) {
    EXPECT_EQ(keep({"..77", "77.."}, 3), Drawing(2, "...."));
    EXPECT_EQ(keep({".....", ".777.", ".777.", "....."}, 6), (Drawing{".....", ".777.", ".777.", "....."}));
}

TEST(PatchFilter, OneRowOneColumnOnePoint) {
    EXPECT_EQ(keep({"77.777.7"}, 3), Drawing{"...777.."});
    EXPECT_EQ(keep({"7", "7", ".", "7", "7", "7", ".", "7"}, 3), (Drawing{".", ".", ".", "7", "7", "7", ".", "."}));
    EXPECT_EQ(keep({"7"}, 1), Drawing{"7"});
    EXPECT_EQ(keep({"7"}, 2), Drawing{"."});
}

TEST(PatchFilter, RemovedPointsKeepContrastAndColour) {
    const PointCloud before = draw({"77.", "..7"});
    PointCloud cloud = before.clone();
    PatchFilter patches(2, 3);
    filter(patches, cloud, 5.0F, 2, {});
    EXPECT_TRUE(std::memcmp(cloud.data(), before.data(), 2 * sizeof(Point)) == 0);
    const Point& removed = cloud(1, 2);
    EXPECT_TRUE(std::isnan(removed.x) && std::isnan(removed.y) && std::isnan(removed.z));
    EXPECT_EQ(removed.contrast, 2.5F);
    EXPECT_EQ(removed.blue, 5);
    EXPECT_EQ(removed.green, 6);
    EXPECT_EQ(removed.red, 7);
    EXPECT_EQ(removed.alpha, 8);
}

/// Depths of a few levels, so that patches of every size come about, with gaps.
std::vector<float> randomDepths(std::mt19937& random, std::size_t size, double gaps, int levels) {
    std::bernoulli_distribution isGap(gaps);
    std::uniform_int_distribution<int> level(0, levels - 1);
    std::vector<float> depthsMm(size);
    for (float& depth : depthsMm)
        depth = isGap(random) ? nothing : 700.0F + 3.0F * static_cast<float>(level(random));
    return depthsMm;
}

TEST(PatchFilter, AgreesWithFloodFill) {
    std::mt19937 random(7);
    constexpr std::pair<std::size_t, std::size_t> sizes[]{{1, 200}, {200, 1}, {2, 3}, {37, 41}, {64, 65}, {90, 33}};
    std::size_t kept = 0;
    std::size_t removed = 0;
    for (const auto& [height, width] : sizes) {
        PatchFilter patches(height, width); // one for all clouds: nothing of one may be left for the next
        for (const double gaps : {0.0, 0.05, 0.3, 0.41, 0.6}) {
            for (const int levels : {1, 2, 3, 8}) {
                const PointCloud cloud = cloudOf(height, width, randomDepths(random, height * width, gaps, levels));
                PointCloud expected = cloud.clone();
                floodFill(expected, 3.0F, 10);
                for (const Work& how : {Work{.threads = 1, .blockRows = 7}, Work{.threads = 2, .blockRows = 1},
                                        Work{.threads = 4, .blockRows = 16}}) {
                    PointCloud ours = cloud.clone();
                    filter(patches, ours, 3.0F, 10, how);
                    ASSERT_TRUE(sameBytes(ours, expected)) << height << " x " << width << ", " << gaps << ' ' << levels;
                }
                for (std::size_t i = 0; i < cloud.size(); ++i) {
                    kept += expected[i].isValid() ? 1U : 0U;
                    removed += cloud[i].isValid() && !expected[i].isValid() ? 1U : 0U;
                }
            }
        }
    }
    EXPECT_GT(kept, 10'000U);
    EXPECT_GT(removed, 10'000U);
}

TEST(PatchFilter, RefusesMorePointsThanItCanNumber) {
    EXPECT_THROW(PatchFilter(65'536, 65'536), ArgumentInvalidException);
    EXPECT_THROW(PatchFilter(std::size_t{1} << 40U, std::size_t{1} << 40U), ArgumentInvalidException);
}

} // namespace
