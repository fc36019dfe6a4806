#include "vdfgrid.h"

#include "blockgrid.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace Vorta::Vdf {

namespace {

using NetCdf::BlockGrid;
using NetCdf::File;
using NetCdf::VariableInfo;

constexpr std::size_t colourIndex = channels.size(); ///< of the colours among the grid's variables

/// The channels and behind them the colours.
std::vector<BlockGrid::Member> cloudMembers(const Grid& grid) {
    std::vector<BlockGrid::Member> members;
    for (std::size_t i = 0; i < channels.size(); ++i)
        members.push_back({.wholeName = grid.group + channels.at(i).name, .info = grid.floats.at(i)});
    members.push_back({.wholeName = grid.group + Name::colour, .info = grid.colour});
    return members;
}

std::vector<BlockGrid::Member> imageMembers(const Grid& grid) {
    return {{.wholeName = grid.group + Name::image, .info = grid.image.value()}};
}

/// Rows of the blocks when all variables are stored in the same blocks of whole rows; otherwise 0.
std::size_t commonRows(const Grid& grid) {
    const auto& chunk = grid.colour.chunk;
    if (chunk.size() != 3 || chunk[1] != grid.width || chunk[2] != colourMembers.size())
        return 0;
    const auto isSame = [&](const VariableInfo& info) {
        return std::ranges::equal(info.chunk, std::span(chunk).first(2));
    };
    return std::ranges::all_of(grid.floats, isSame) ? chunk[0] : 0;
}

std::vector<BlockGrid::Position> cloudPositions(const Grid& grid, std::size_t rows) {
    std::vector<BlockGrid::Position> positions;
    for (std::size_t row = 0; row < grid.height; row += rows)
        positions.push_back({row, 0, 0});
    return positions;
}

std::vector<BlockGrid::Position> imagePositions(const Grid& grid, std::size_t rows) {
    std::vector<BlockGrid::Position> positions;
    for (std::size_t image = 0; image < grid.imageCount; ++image)
        for (std::size_t row = 0; row < grid.height; row += rows)
            positions.push_back({image, row, 0});
    return positions;
}

/// The points of the block of `rows` rows that begins at `row`; the last block is shorter.
template <class P>
std::span<P> blockOf(std::span<P> points, const Grid& grid, std::size_t row, std::size_t rows) {
    return points.subspan(row * grid.width, std::min(rows, grid.height - row) * grid.width);
}

void gatherFloats(std::span<const Point> points, float Point::*member, std::span<std::byte> values) {
    for (std::size_t i = 0; i < points.size(); ++i)
        std::memcpy(values.data() + i * sizeof(float), &(points[i].*member), sizeof(float));
}

void gatherColours(std::span<const Point> points, std::span<std::byte> values) {
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t c = 0; c < colourMembers.size(); ++c)
            values[i * colourMembers.size() + c] = static_cast<std::byte>(points[i].*colourMembers[c]);
}

/// Puts together the points of one block from the values of its variables in one pass.
void assemble(std::span<const std::span<const std::byte>> values, std::span<Point> points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        Point point;
        for (std::size_t c = 0; c < channels.size(); ++c)
            std::memcpy(&(point.*channels[c].member), values[c].data() + i * sizeof(float), sizeof(float));
        for (std::size_t c = 0; c < colourMembers.size(); ++c)
            point.*colourMembers[c] = std::to_integer<std::uint8_t>(values[colourIndex][i * colourMembers.size() + c]);
        points[i] = point;
    }
}

/// Reads the points through netCDF, whatever the way in which they are stored.
PointCloud readPlainCloud(const File& file, const Grid& grid) {
    PointCloud cloud = PointCloud::uninitialized(grid.height, grid.width);
    const std::size_t rows = blockRows(grid.height, grid.width);
    std::array<std::vector<float>, channels.size()> floats;
    floats.fill(std::vector<float>(rows * grid.width));
    std::vector<std::uint8_t> colours(rows * grid.width * colourMembers.size());
    std::array<std::span<const std::byte>, channels.size() + 1> values;
    for (std::size_t row = 0; row < grid.height; row += rows) {
        const std::span<Point> block = blockOf(cloud.points(), grid, row, rows);
        const BlockGrid::Position start{row, 0, 0};
        const BlockGrid::Position count{block.size() / grid.width, grid.width, colourMembers.size()};
        for (std::size_t c = 0; c < channels.size(); ++c) {
            file.read(grid.floats[c].variable, start, count, std::span(floats[c]));
            values[c] = std::as_bytes(std::span(floats[c]));
        }
        file.read(grid.colour.variable, start, count, std::span(colours));
        values[colourIndex] = std::as_bytes(std::span(colours));
        assemble(values, block);
    }
    return cloud;
}

void readPlainImages(const File& file, const Grid& grid, Driver::ImageStack& images) {
    for (std::size_t image = 0; image < grid.imageCount; ++image) {
        const BlockGrid::Position start{image, 0, 0};
        const BlockGrid::Position count{1, grid.height, grid.width};
        file.read(grid.image->variable, start, count, images.image(image));
    }
}

} // namespace

void writeCloud(const File& file, const Grid& grid, const PointCloud& cloud, std::size_t threads) {
    const std::size_t rows = grid.colour.chunk.at(0);
    const auto positions = cloudPositions(grid, rows);
    BlockGrid(file, cloudMembers(grid), positions)
        .write(threads, [&](std::size_t block, std::size_t variable, std::span<std::byte> values) {
            const std::span<const Point> points = blockOf(cloud.points(), grid, positions[block][0], rows);
            const bool isColour = variable == colourIndex;
            if (isColour)
                gatherColours(points, values);
            else
                gatherFloats(points, channels.at(variable).member, values);
            // Rows of the last block beyond the grid.
            std::ranges::fill(values.subspan(points.size() * (isColour ? colourMembers.size() : sizeof(float))),
                              std::byte{});
        });
}

PointCloud readCloud(const File& file, const Grid& grid, std::size_t threads) {
    const std::size_t rows = commonRows(grid);
    if (rows == 0)
        return readPlainCloud(file, grid);
    const auto positions = cloudPositions(grid, rows);
    BlockGrid blocks(file, cloudMembers(grid), positions);
    if (!blocks.canRead())
        return readPlainCloud(file, grid);
    PointCloud cloud = PointCloud::uninitialized(grid.height, grid.width);
    blocks.read(threads, [&](std::size_t block, std::span<const std::span<const std::byte>> values) {
        assemble(values, blockOf(cloud.points(), grid, positions[block][0], rows));
    });
    return cloud;
}

void writeImages(const File& file, const Grid& grid, const Driver::ImageStack& images, std::size_t threads) {
    const std::size_t rows = grid.image.value().chunk.at(1);
    const auto positions = imagePositions(grid, rows);
    BlockGrid(file, imageMembers(grid), positions)
        .write(threads, [&](std::size_t block, std::size_t /*variable*/, std::span<std::byte> values) {
            const auto pixels = blockOf(images.image(positions[block][0]), grid, positions[block][1], rows);
            std::memcpy(values.data(), pixels.data(), pixels.size());
            std::ranges::fill(values.subspan(pixels.size()), std::byte{});
        });
}

Driver::ImageStack readImages(const File& file, const Grid& grid, std::size_t threads) {
    Driver::ImageStack images;
    images.resize(grid.imageCount, grid.height, grid.width);
    const auto& chunk = grid.image.value().chunk;
    if (chunk.size() == 3 && chunk[0] == 1 && chunk[2] == grid.width) {
        const auto positions = imagePositions(grid, chunk[1]);
        BlockGrid blocks(file, imageMembers(grid), positions);
        if (blocks.canRead()) {
            blocks.read(threads, [&](std::size_t block, std::span<const std::span<const std::byte>> values) {
                const auto pixels = blockOf(images.image(positions[block][0]), grid, positions[block][1], chunk[1]);
                std::memcpy(pixels.data(), values.front().data(), pixels.size());
            });
            return images;
        }
    }
    readPlainImages(file, grid, images);
    return images;
}

} // namespace Vorta::Vdf
