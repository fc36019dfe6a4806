#include "outputs.h"

#include "commands.h"
#include "progress.h"

#include "export/pointcloudwriters.h"
#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string_view>
#include <system_error>
#include <utility>

namespace Vorta::Tool {

namespace {

constexpr std::array<std::pair<std::string_view, Format>, 5> endings{{{".vdf", Format::Vdf},
                                                                      {".xyz", Format::Xyz},
                                                                      {".ply", Format::Ply},
                                                                      {".pcd", Format::Pcd},
                                                                      {".png", Format::Png}}};

Format formatOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const auto* const found = std::ranges::find(endings, ending, &std::pair<std::string_view, Format>::first);
    if (found == endings.end())
        throw UsageError("File '" + path + "' has no ending that is known: .vdf, .xyz, .ply, .pcd or .png.");
    return found->second;
}

[[noreturn]] void failToWrite(const std::string& path, int error) {
    const std::string reason = error == 0 ? "the disk may be full" : std::generic_category().message(error);
    throw IOException("File '" + path + "' cannot be written: " + reason + ".");
}

/// The export writers do not say why they fail: what can be known beforehand is asked here.
void requireWritable(const std::string& path) {
    errno = 0;
    if (!std::ofstream(path, std::ios::binary | std::ios::app))
        failToWrite(path, errno);
}

void writePng(const std::string& path, const PointCloud& cloud) {
    cv::Mat_<cv::Vec3b> image(static_cast<int>(cloud.height()), static_cast<int>(cloud.width()));
    std::ranges::transform(cloud.points(), image.begin(),
                           [](const Point& point) { return cv::Vec3b(point.blue, point.green, point.red); });
    std::vector<std::uint8_t> bytes;
    cv::imencode(".png", image, bytes);
    std::ofstream file(path, std::ios::binary);
    errno = 0;
    for (const std::uint8_t byte : bytes)
        file.put(static_cast<char>(byte));
    file.close();
    if (!file)
        failToWrite(path, errno);
}

} // namespace

std::vector<Output> parseOutputs(const std::vector<std::string>& paths) {
    std::vector<Output> outputs(paths.size());
    std::ranges::transform(paths, outputs.begin(),
                           [](const std::string& path) { return Output{.path = path, .format = formatOf(path)}; });
    return outputs;
}

void write(const Output& output, const Frame& frame, bool unordered) {
    if (output.format == Format::Vdf)
        return frame.save(output.path);
    requireWritable(output.path);
    const PointCloud cloud = frame.getPointCloud();
    errno = 0;
    switch (output.format) {
    case Format::Xyz:
        if (!Export::writeXyz(output.path, cloud))
            failToWrite(output.path, errno);
        break;
    case Format::Ply:
        if (!Export::writePly(output.path, cloud, unordered))
            failToWrite(output.path, errno);
        break;
    case Format::Pcd:
        if (!Export::writePcd(output.path, cloud))
            failToWrite(output.path, errno);
        break;
    case Format::Png:
        writePng(output.path, cloud);
        break;
    case Format::Vdf:
        break;
    }
}

void writeAll(const std::vector<Output>& outputs, const Frame& frame, bool unordered) {
    Progress progress;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        progress.show("Writing " + outputs[i].path + " (" + std::to_string(i + 1) + " of " +
                      std::to_string(outputs.size()) + ")");
        write(outputs[i], frame, unordered);
    }
}

} // namespace Vorta::Tool
