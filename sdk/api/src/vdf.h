#pragma once

#include "vorta/api/export.h"
#include "vorta/api/frameimpl.h"
#include "vorta/compute/computedevice.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// The data file (".vdf"): netCDF-4, laid out as docs/vdf-format.md describes.
namespace Vorta::Vdf {

/// Grows when a file can no longer be read by earlier programs.
inline constexpr int formatVersion = 1;

/// Names that writer and reader share.
namespace Name {
inline constexpr const char* version = "vorta_format_version";
inline constexpr const char* row = "row";
inline constexpr const char* column = "column";
inline constexpr const char* channel = "channel";
inline constexpr const char* colour = "colour";
inline constexpr const char* time = "time";
inline constexpr const char* model = "camera_model";
inline constexpr const char* serialNumber = "camera_serial_number";
inline constexpr const char* firmware = "camera_firmware";
inline constexpr const char* revision = "camera_product_revision";
inline constexpr const char* settings = "settings";
inline constexpr const char* calibration = "calibration";
inline constexpr const char* yaml = "yaml"; ///< of the settings and of the calibration
inline constexpr const char* exposure = "exposure";
inline constexpr const char* image = "image";
inline constexpr const char* bayerLayout = "bayer_layout";
inline constexpr const char* children = "children";
} // namespace Name

// The most that a file may hold; larger statements are refused before any memory is asked for.
inline constexpr std::size_t maximumSide = 16384; ///< rows or columns
inline constexpr std::size_t maximumPoints = std::size_t{1} << 26U;
inline constexpr std::size_t maximumText = 65536; ///< characters of one attribute
inline constexpr std::size_t maximumCalibrationText = std::size_t{1} << 20U;
inline constexpr std::size_t maximumImages = 1024;
inline constexpr std::size_t maximumChildren = 64;

/// One float per point: a variable of the file and a member of `Point`.
struct Channel {
    const char* name;
    const char* longName;
    const char* units;
    float Point::*member;
};

inline constexpr std::array<Channel, 4> channels{{
    {"x", "x of the point in camera coordinates, to the right", "mm", &Point::x},
    {"y", "y of the point in camera coordinates, down", "mm", &Point::y},
    {"z", "z of the point in camera coordinates, away from the camera", "mm", &Point::z},
    {"contrast", "modulation amplitude of the fringes in raw grey levels", "1", &Point::contrast},
}};

/// Red, green and blue, in the file's order.
inline constexpr std::array<std::uint8_t Point::*, 3> colourMembers{&Point::red, &Point::green, &Point::blue};

/// One temperature: a variable of the file that is missing where the head has no such sensor.
struct Temperature {
    const char* name;
    const char* longName;
    std::optional<double> Driver::Temperatures::*member;
};

inline constexpr const char* headTemperature = "head_temperature";
inline constexpr std::array<Temperature, 4> temperatures{{
    {"lens_temperature", "temperature of the lens", &Driver::Temperatures::lens},
    {"led_temperature", "temperature of the light source", &Driver::Temperatures::led},
    {"pcb_temperature", "temperature of the main board", &Driver::Temperatures::pcb},
    {"dmd_temperature", "temperature of the projector chip", &Driver::Temperatures::dmd},
}};

/// One size of the head's two images: an attribute of the raw images.
struct HeadSize {
    const char* name;
    std::size_t Driver::HeadDimensions::*member;
};

inline constexpr std::array<HeadSize, 4> headSizes{{
    {"sensor_width", &Driver::HeadDimensions::sensorWidth},
    {"sensor_height", &Driver::HeadDimensions::sensorHeight},
    {"projector_width", &Driver::HeadDimensions::projectorWidth},
    {"projector_height", &Driver::HeadDimensions::projectorHeight},
}};

struct BayerName {
    const char* name;
    Driver::BayerLayout layout;
};

inline constexpr std::array<BayerName, 4> bayerNames{{
    {"GRBG", Driver::BayerLayout::GRBG},
    {"RGGB", Driver::BayerLayout::RGGB},
    {"BGGR", Driver::BayerLayout::BGGR},
    {"GBRG", Driver::BayerLayout::GBRG},
}};

/// Rows of a stored block: enough to keep the compressor busy, little enough to stay in the cache.
[[nodiscard]] constexpr std::size_t blockRows(std::size_t height, std::size_t width,
                                              std::size_t blockPoints = 65536) noexcept {
    return width >= blockPoints ? 1 : std::min(height, blockPoints / width);
}

/// The same for raw images, whose pixels are single bytes.
[[nodiscard]] constexpr std::size_t imageBlockRows(std::size_t height, std::size_t width) noexcept {
    return blockRows(height, width, 262144);
}

/// Writes the file under another name in the same folder and renames it when it is complete. `threads` compress at once
/// (0: one per core); the file is the same whatever their number. Throws IOException that names the file and why.
VORTA_API_EXPORT void save(const FrameImpl& frame, const std::string& path, std::size_t threads = 0);

/// Reads a file, every statement of its header checked before it is relied on. Throws IOException that names the file
/// and what is wrong with it.
[[nodiscard]] VORTA_API_EXPORT std::shared_ptr<FrameImpl> load(const std::string& path, const ComputeDevice& device,
                                                               std::size_t threads = 0);

} // namespace Vorta::Vdf
