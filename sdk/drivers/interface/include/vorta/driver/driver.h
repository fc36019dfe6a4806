#pragma once

#include "vorta/common/pointcloud.h"
#include "vorta/common/settings.h"
#include "vorta/driver/calibration.h"
#include "vorta/driver/imagestack.h"
#include "vorta/driver/pattern.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The interface between the library and a driver plug-in.
///
/// A plug-in is a shared library whose file is named VortaCamera<Name>.dll on every system. It exports one function,
/// `vortaCreateDriver`, which the library calls once after loading. Drivers deliver raw images and facts about the
/// head; turning patterns into points is the library's work.
namespace Vorta::Driver {

/// Grows with every change to this interface; the library refuses plug-ins that were built for another one.
inline constexpr std::uint32_t interfaceVersion = 3;

/// What a driver is told before it is asked for heads.
struct DriverConfiguration {
    std::string measurementFile; ///< data file to replay, narrow path in the system's encoding; for replaying drivers
    std::uint64_t group = 0;     ///< number of the heads that share one trigger line
};

/// Who a head is, as far as can be told without opening it.
struct HeadIdentity {
    std::string modelName;
    std::string serialNumber;
    std::string firmwareVersion; ///< for instance "VORTA 0.9.21"
    std::string productRevision; ///< "Rev0" to "Rev3"
};

/// Size of a head's two images in pixels.
struct HeadDimensions {
    std::size_t sensorWidth = 0;
    std::size_t sensorHeight = 0;
    std::size_t projectorWidth = 0;
    std::size_t projectorHeight = 0;

    [[nodiscard]] bool operator==(const HeadDimensions&) const = default;
};

/// How the next captures are to be taken.
struct HeadConfiguration {
    std::int64_t exposureTimeUs = 10'000;
    std::uint64_t iris = 0;                           ///< opening in steps, 0 = closed, `maxIris` = fully open
    std::uint64_t maxIris = 1;                        ///< the lens's largest opening, > 0
    double brightness = 1.0;                          ///< projector brightness, 0 to 1
    double gain = 1.0;                                ///< analogue gain factor, >= 1
    double gamma = 1.0;                               ///< output = input^(1/gamma), > 0; 1 = linear
    double blackLevel = 0.0;                          ///< grey level added to every pixel, 0 to 255
    std::array<bool, 3> ledEnabled{true, true, true}; ///< red, green, blue
    std::array<double, 3> ledCurrentPercent{100.0, 100.0, 100.0}; ///< red, green, blue, 0 to 100
};

/// Degrees Celsius; a sensor that the head does not have is empty.
struct Temperatures {
    double head = 0.0;
    std::optional<double> lens;
    std::optional<double> led;
    std::optional<double> pcb;
    std::optional<double> dmd;
};

/// The four colours of a sensor's 2 x 2 mosaic cell, row by row from the top left pixel.
enum class BayerLayout : std::uint8_t { GRBG, RGGB, BGGR, GBRG };

/// A measurement that was taken earlier, as a head that replays it describes it.
struct Recording {
    Settings settings; ///< with which it was taken; its patterns are the ones that `acquire` can deliver
    std::chrono::sys_time<std::chrono::microseconds> time; ///< start of its first exposure
    /// The points, where the recording holds no raw images; `acquire` then throws.
    std::optional<PointCloud> cloud;
};

/// What is really there, known to virtual heads alone. Row-major, one entry per camera pixel.
struct GroundTruth {
    std::size_t height = 0;
    std::size_t width = 0;
    std::vector<float> depthMm;        ///< z in camera coordinates, NaN where the pixel's ray hits nothing
    std::vector<std::uint8_t> visible; ///< 1 where the surface is seen by the camera and lit by the projector, else 0
};

/// An opened head. Calls come from one thread at a time. A head may vanish at any moment; `acquire` then throws
/// Vorta::RuntimeException and `isPresent` is false from then on.
class Head {
public:
    Head() = default;
    Head(const Head&) = delete;
    Head& operator=(const Head&) = delete;
    virtual ~Head() = default;

    [[nodiscard]] virtual HeadIdentity identity() const = 0;
    [[nodiscard]] virtual HeadDimensions dimensions() const = 0;

    /// The calibration stored in the head; empty when it stores none.
    [[nodiscard]] virtual std::optional<HeadCalibration> calibration() const = 0;

    /// Empty when the head does not tell.
    [[nodiscard]] virtual std::optional<BayerLayout> bayerLayout() const = 0;

    [[nodiscard]] virtual Temperatures temperatures() const = 0;

    /// Whether the head still answers. May be called from any thread, also during `acquire`.
    [[nodiscard]] virtual bool isPresent() const = 0;

    /// Takes effect with the next `acquire`.
    virtual void configure(const HeadConfiguration& configuration) = 0;

    /// Projects the sequence and writes one image per pattern into `images`, which is resized as needed.
    virtual void acquire(const PatternSequence& sequence, ImageStack& images) = 0;

    /// The head is about to be closed: an `acquire` that is under way ends soon by throwing, a later one at once. May
    /// be called from any thread. Heads that never keep their caller waiting need not do anything.
    virtual void cancel() noexcept {}

    /// What this head replays; empty for heads that measure.
    [[nodiscard]] virtual std::optional<Recording> recording() const { return std::nullopt; }

    /// The truth behind the latest `acquire`; empty for real heads and before the first capture.
    [[nodiscard]] virtual std::optional<GroundTruth> groundTruth() const { return std::nullopt; }
};

/// A loaded driver. Its calls may come from any thread, `heads` and `open` also at the same time.
class Driver {
public:
    Driver() = default;
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;
    virtual ~Driver() = default;

    /// Takes effect with the next call of `heads` or `open`. Drivers that only list what is plugged in ignore it.
    virtual void configure(const DriverConfiguration& /*configuration*/) {}

    /// The heads that are plugged in now, ordered by serial number.
    [[nodiscard]] virtual std::vector<HeadIdentity> heads() = 0;

    /// Throws Vorta::RuntimeException when no such head is plugged in or it does not answer.
    [[nodiscard]] virtual std::unique_ptr<Head> open(const std::string& serialNumber) = 0;
};

/// Signature of the exported function `vortaCreateDriver`. It returns nullptr when the plug-in was built for another
/// interface than `version`. The driver stays valid until the plug-in is unloaded and is deleted by the library.
using CreateDriver = Driver* (*)(std::uint32_t version);

} // namespace Vorta::Driver
