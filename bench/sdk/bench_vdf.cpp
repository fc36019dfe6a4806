// Saving and loading of data files beside the plain netCDF calls that make and read a file of the same points.

#include "plainnetcdf.h"
#include "ratio.h"
#include "vdf.h"

#include "vorta/api/frameimpl.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

namespace {

using Vorta::Point;
using Vorta::PointCloud;

constexpr std::size_t height = 1200;
constexpr std::size_t width = 1944;

/// What a head sees of a few textured balls before a slanted wall: rays of a pinhole camera, depth noise that grows
/// with darkness, shadow edges and dark spots without points, grey levels with the sensor's noise.
PointCloud realisticCloud() {
    PointCloud cloud(height, width);
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0.0, 1.0);
    constexpr double focal = 2400.0;
    for (std::size_t row = 0; row < height; ++row)
        for (std::size_t column = 0; column < width; ++column) {
            Point& point = cloud(row, column);
            const double u = (static_cast<double>(column) - 971.5) / focal;
            const double v = (static_cast<double>(row) - 599.5) / focal;
            double z = 760.0 / (1.0 - 0.12 * u - 0.05 * v);
            bool isShadow = u < -0.37;
            for (int ball = 0; ball < 5; ++ball) {
                const double du = u + 0.3 - 0.15 * ball;
                const double dv = v - 0.08 * std::sin(2.0 * ball);
                const double rest = 0.0036 - du * du - dv * dv;
                if (rest > 0.0)
                    z = 690.0 - 600.0 * std::sqrt(rest);
                const double shadow = 0.0036 - (du + 0.025) * (du + 0.025) - dv * dv;
                isShadow = isShadow || (rest <= 0.0 && shadow > 0.0);
            }
            const double texture = 0.55 + 0.2 * std::sin(90.0 * u) * std::cos(70.0 * v) + 0.2 * std::sin(400.0 * u * v);
            const double light = std::max(0.02, texture * (1.0 - 1.2 * (u * u + v * v)));
            const double level = 200.0 * light;
            point.contrast = static_cast<float>(std::abs(0.45 * level * (isShadow ? 0.01 : 1.0) + 0.6 * noise(random)));
            const auto grey = [&](double factor) {
                const double value = factor * level * (isShadow ? 0.2 : 1.0);
                return static_cast<std::uint8_t>(
                    std::clamp(value + 0.08 * std::sqrt(value) * noise(random), 0.0, 255.0));
            };
            point.red = grey(1.1);
            point.green = grey(1.0);
            point.blue = grey(0.8);
            if (point.contrast < 4.0F)
                continue;
            z += 0.03 * 60.0 / static_cast<double>(point.contrast) * noise(random);
            point.x = static_cast<float>(u * z);
            point.y = static_cast<float>(v * z);
            point.z = static_cast<float>(z);
        }
    return cloud;
}

/// A folder that goes at the end.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() / ("vorta-bench-" + std::to_string(std::random_device{}()))) {
        std::filesystem::create_directory(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored; // the temporary directory's to clean
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] std::string file(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

void checkSame(const PointCloud& a, const PointCloud& b) {
    if (a.size() != b.size() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Point)) != 0)
        throw std::runtime_error("what was loaded is not what was saved");
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Folder folder;
    const std::string ours = folder.file("ours.vdf");
    const std::string plain = folder.file("plain.nc");
    const PointCloud cloud = realisticCloud();
    const Vorta::FrameImpl frame(cloud, Vorta::Settings{}, Vorta::FrameInfo{}, Vorta::ComputeDevice{});
    const std::size_t rows = Vorta::Vdf::blockRows(height, width);
    const auto plainSave = [&] { VortaBench::plainSave(cloud, rows, plain); };
    const auto plainLoad = [&] { benchmark::DoNotOptimize(VortaBench::plainLoad(plain)); };

    Vorta::Vdf::save(frame, ours);
    plainSave();
    checkSame(Vorta::Vdf::load(ours, Vorta::ComputeDevice{})->cloud(), cloud);
    checkSame(VortaBench::plainLoad(plain), cloud);

    for (const std::size_t threads : {1U, 2U}) {
        const double limit = threads == 1 ? 0.5 : 0.27;
        const std::string suffix = "/threads:" + std::to_string(threads);
        VortaBench::compare(("Save" + suffix).c_str(), [&, threads] { Vorta::Vdf::save(frame, ours, threads); },
                            plainSave, 0, limit);
        VortaBench::compare(
            ("Load" + suffix).c_str(),
            [&, threads] { benchmark::DoNotOptimize(Vorta::Vdf::load(ours, Vorta::ComputeDevice{}, threads)); },
            plainLoad, 0, limit);
    }
    benchmark::RegisterBenchmark("Size", [&](benchmark::State& state) {
        double ourBytes = 0;
        double plainBytes = 0;
        for ([[maybe_unused]] auto iteration : state) {
            ourBytes = static_cast<double>(std::filesystem::file_size(ours));
            plainBytes = static_cast<double>(std::filesystem::file_size(plain));
        }
        state.counters["megabytes"] = ourBytes * 1e-6;
        state.counters["reference_megabytes"] = plainBytes * 1e-6;
        state.counters["ratio"] = ourBytes / plainBytes;
        state.counters["ratio_at_most"] = 1.08;
    })->Iterations(1);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
