// Building the record of one measurement and rebuilding its masked cloud, each beside a plain copy of the cloud into a
// buffer that has been written before.
#include "camera/recordbuilder.h"
#include "camera/recordkernels.h"
#include "ratio.h"

#include <cstring>
#include <memory>

namespace {

using namespace Vorta;

constexpr std::size_t width = 1944;
constexpr std::size_t height = 1200;
constexpr ClassificationLimits limits{.contrastThreshold = 5.0F, .minZ = 0.0F, .maxZ = 2000.0F};

/// A slanted surface with some points of every mask code.
PointCloud scene() {
    PointCloud cloud(height, width);
    std::size_t i = 0;
    for (std::size_t row = 0; row < height; ++row)
        for (std::size_t column = 0; column < width; ++column, ++i) {
            Point& point = cloud(row, column);
            point.blue = static_cast<std::uint8_t>(i % 13 == 0 ? 255 : i % 251);
            point.green = static_cast<std::uint8_t>(i % 13 == 0 ? 255 : i % 241);
            point.red = static_cast<std::uint8_t>(i % 13 == 0 ? 255 : i % 239);
            point.contrast = static_cast<float>(i % 101);
            if (i % 17 == 0)
                continue;
            point.x = static_cast<float>(column) * 0.2F;
            point.y = static_cast<float>(row) * 0.2F;
            point.z = 600.0F + static_cast<float>(column) * 0.8F;
        }
    return cloud;
}

struct Work {
    PointCloud cloud = scene();
    std::shared_ptr<CloudWithImagesAndMask> record = buildRecord(cloud, limits);
    PointCloud copy = cloud.clone();
    cv::Mat_<float> depth = cv::Mat_<float>(static_cast<int>(height), static_cast<int>(width));
    cv::Mat_<uchar> codes = cv::Mat_<uchar>(depth.size());
    cv::Mat_<cv::Vec3b> color = cv::Mat_<cv::Vec3b>(depth.size());

    void copyCloud() {
        std::memcpy(copy.data(), cloud.data(), cloud.points().size_bytes());
        benchmark::ClobberMemory();
    }
    // The program makes a new record while the last one is still shown.
    void build() { record = buildRecord(cloud, limits); }
    void mask() { record->updateMaskedCloud(); }
    void buildPlainly() {
        benchmark::DoNotOptimize(RecordKernels::reference().build(
            cloud.points(), limits, {.depth = depth.ptr<float>(), .mask = codes.ptr(), .color = color.ptr()}));
    }
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const auto work = std::make_shared<Work>();
    const auto copy = [work] { work->copyCloud(); };
    VortaBench::compare(
        "record/build vs memcpy of the cloud", [work] { work->build(); }, copy, 1.25);
    VortaBench::compare(
        "record/build in plain C++ vs memcpy", [work] { work->buildPlainly(); }, copy, 0);
    VortaBench::compare(
        "record/masked cloud vs memcpy of the cloud", [work] { work->mask(); }, copy, 1.3);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
