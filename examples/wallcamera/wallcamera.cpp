// A driver plug-in: one camera that looks straight at a grey wall half a metre away. A real driver talks to its
// hardware where this one computes its images.

#include <vorta/common/exceptions.h>
#include <vorta/driver/driver.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace Vorta::Driver;

constexpr double wallMm = 500.0;
constexpr double baselineMm = 100.0;

HeadIdentity wallIdentity() {
    return {.modelName = "Wall", .serialNumber = "W-1", .firmwareVersion = "1.0.0", .productRevision = "Rev0"};
}

/// Camera and projector look in parallel, the projector from the left.
Calibration wallGeometry() {
    const PinholeModel camera{.width = 320, .height = 240, .fx = 400, .fy = 400, .cx = 159.5, .cy = 119.5};
    const PinholeModel projector{.width = 512, .height = 384, .fx = 450, .fy = 450, .cx = 200, .cy = 191.5};
    return {.camera = camera, .projector = projector, .translationMm = {baselineMm, 0, 0}};
}

/// The projected level at a projector coordinate, between two lines in proportion, as behind a lens.
double levelAt(const PatternSequence& sequence, const Pattern& pattern, double coordinate) {
    const bool halfColumns = pattern.axis == Axis::Columns && sequence.lattice == Lattice::Diamond;
    const double line = halfColumns ? 2 * coordinate + 0.5 : coordinate;
    const double last = static_cast<double>(pattern.levels.size()) - 1;
    if (line < 0 || line > last)
        return 0.0; // beside the projected image
    const auto index = static_cast<std::size_t>(line);
    const double below = pattern.levels[index];
    const double above = pattern.levels[std::min(index + 1, pattern.levels.size() - 1)];
    return below + (above - below) * (line - std::floor(line));
}

class WallHead final : public Head {
public:
    [[nodiscard]] HeadIdentity identity() const override { return wallIdentity(); }
    [[nodiscard]] HeadDimensions dimensions() const override {
        const Calibration geometry = wallGeometry();
        return {.sensorWidth = geometry.camera.width,
                .sensorHeight = geometry.camera.height,
                .projectorWidth = geometry.projector.width,
                .projectorHeight = geometry.projector.height};
    }
    [[nodiscard]] std::optional<HeadCalibration> calibration() const override {
        return HeadCalibration{.stages = {{.geometry = wallGeometry()}}};
    }
    [[nodiscard]] std::optional<BayerLayout> bayerLayout() const override { return BayerLayout::BGGR; }
    [[nodiscard]] Temperatures temperatures() const override {
        Temperatures all; // of the sensors that there are
        all.head = 25.0;
        return all;
    }
    [[nodiscard]] bool isPresent() const override { return true; }

    void configure(const HeadConfiguration& configuration) override { configuration_ = configuration; }

    void acquire(const PatternSequence& sequence, ImageStack& images) override {
        const Calibration geometry = wallGeometry();
        const PinholeModel& camera = geometry.camera;
        const PinholeModel& projector = geometry.projector;
        const auto& translation = geometry.translationMm;
        images.resize(sequence.patterns.size(), camera.height, camera.width);
        for (std::size_t image = 0; image < sequence.patterns.size(); ++image) {
            const Pattern& pattern = sequence.patterns[image];
            for (std::size_t v = 0; v < camera.height; ++v) {
                const double y = (static_cast<double>(v) - camera.cy) / camera.fy * wallMm + translation[1];
                const double row = projector.fy * y / wallMm + projector.cy;
                std::ranges::generate(images.row(image, v), [&, u = 0.0]() mutable {
                    const double x = (u - camera.cx) / camera.fx * wallMm + translation[0];
                    const double column = projector.fx * x / wallMm + projector.cx;
                    u += 1.0;
                    return grey(levelAt(sequence, pattern, pattern.axis == Axis::Columns ? column : row));
                });
            }
        }
    }

private:
    /// Light of the room and of the projector, through the lens and the exposure. The wall is just not saturated with
    /// half the lens's opening and ten milliseconds.
    [[nodiscard]] std::uint8_t grey(double level) const {
        const double opening = static_cast<double>(configuration_.iris) / static_cast<double>(configuration_.maxIris);
        const double exposureMs = static_cast<double>(configuration_.exposureTimeUs) / 1000.0;
        const double light = 4.0 + 40.0 * configuration_.brightness * level;
        const double value = configuration_.blackLevel + configuration_.gain * light * opening * exposureMs;
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
    }

    HeadConfiguration configuration_;
};

class WallDriver final : public Driver {
public:
    [[nodiscard]] std::vector<HeadIdentity> heads() override { return {wallIdentity()}; }

    [[nodiscard]] std::unique_ptr<Head> open(const std::string& serialNumber) override {
        if (serialNumber != wallIdentity().serialNumber)
            throw Vorta::RuntimeException("No camera with the serial number '" + serialNumber + "' is plugged in.");
        return std::make_unique<WallHead>();
    }
};

} // namespace

#if defined(_WIN32)
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED __attribute__((visibility("default")))
#endif

extern "C" EXPORTED Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version) {
    return version == interfaceVersion ? new WallDriver : nullptr;
}
