#include "vorta/reconstruction/calibrationfile.h"

#include "defect.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/replacingfile.h"
#include "vorta/reconstruction/headcalibration.h"
#include "vorta/yaml/words.h"
#include "vorta/yaml/yamlmap.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace Vorta::Reconstruction {

namespace {

constexpr std::uint64_t formatVersion = 1;
constexpr std::size_t maxFileBytes = std::size_t{1} << 20U;

void require(const YamlMap& yaml, std::string_view key) {
    if (!yaml.has(key))
        yaml.fail(inQuotes(key) + " is missing.");
}

double readNumber(const YamlMap& yaml, std::string_view key) {
    require(yaml, key);
    return yaml.number(key, 0.0);
}

template <std::size_t count>
std::array<double, count> readNumbers(const YamlMap& yaml, std::string_view key) {
    require(yaml, key);
    std::array<double, count> values{};
    std::ranges::copy(yaml.numbers(key, std::vector<double>(count)), values.begin());
    return values;
}

YamlMap readMap(const YamlMap& yaml, std::string_view key) {
    require(yaml, key);
    return *yaml.map(key);
}

void readSize(const YamlMap& yaml, Driver::PinholeModel& model) {
    for (const auto& [key, member] :
         {std::pair{"width", &Driver::PinholeModel::width}, std::pair{"height", &Driver::PinholeModel::height}}) {
        require(yaml, key);
        model.*member = yaml.count(key, 0, 1, maxSidePixels);
    }
    yaml.finish();
}

void readPinhole(const YamlMap& yaml, Driver::PinholeModel& model) {
    const std::array<double, 2> focal = readNumbers<2>(yaml, "focal");
    const std::array<double, 2> centre = readNumbers<2>(yaml, "centre");
    const std::array<double, 5> lens = readNumbers<5>(yaml, "distortion");
    yaml.finish();
    if (focal[0] <= 0.0 || focal[1] <= 0.0)
        yaml.fail("focal", "'focal' must be two positive numbers.");
    model = {.width = model.width,
             .height = model.height,
             .fx = focal[0],
             .fy = focal[1],
             .cx = centre[0],
             .cy = centre[1],
             .k1 = lens[0],
             .k2 = lens[1],
             .p1 = lens[2],
             .p2 = lens[3],
             .k3 = lens[4]};
}

Driver::CalibrationStage readStage(const YamlMap& yaml, const Driver::Calibration& sizes) {
    Driver::CalibrationStage stage{.temperature = readNumber(yaml, "temperature"), .geometry = sizes};
    readPinhole(readMap(yaml, "camera"), stage.geometry.camera);
    readPinhole(readMap(yaml, "projector"), stage.geometry.projector);
    stage.geometry.rotation = readNumbers<9>(yaml, "rotation");
    stage.geometry.translationMm = readNumbers<3>(yaml, "translation");
    yaml.finish();
    return stage;
}

Driver::HeadCalibration readCalibration(const YamlMap& yaml) {
    require(yaml, "version");
    const std::uint64_t version = yaml.count("version", 0, 1, std::numeric_limits<std::uint32_t>::max());
    if (version > formatVersion)
        yaml.fail("version", "'version' is " + std::to_string(version) + "; this program reads calibrations up to " +
                                 std::to_string(formatVersion) + '.');
    Driver::HeadCalibration calibration{.referenceTemperature = readNumber(yaml, "referenceTemperature"), .stages = {}};
    Driver::Calibration sizes;
    readSize(readMap(yaml, "sensor"), sizes.camera);
    readSize(readMap(yaml, "projector"), sizes.projector);
    require(yaml, "stages");
    const std::vector<YamlMap> stages = yaml.maps("stages");
    for (const YamlMap& stage : stages)
        calibration.stages.push_back(readStage(stage, sizes));
    yaml.finish();
    if (const std::optional<Defect> defect = findDefect(calibration)) {
        const std::string key{defect->member == "translationMm" ? "translation" : defect->member};
        const std::string words = inQuotes(key).append(": ").append(defect->words);
        if (defect->stage)
            stages[*defect->stage].fail(key, words);
        yaml.fail(key, words);
    }
    return calibration;
}

/// The shortest text that reads back to the same number.
std::string textOf(double value) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string textOf(std::span<const double> values) {
    std::string text = "[";
    for (const double value : values)
        text.append(text.size() > 1 ? ", " : "").append(textOf(value));
    return text.append("]");
}

std::string textOf(const Driver::PinholeModel& model) {
    return "      focal: " + textOf(std::array{model.fx, model.fy}) +
           "\n      centre: " + textOf(std::array{model.cx, model.cy}) +
           "\n      distortion: " + textOf(std::array{model.k1, model.k2, model.p1, model.p2, model.k3}) + '\n';
}

std::string sizeOf(const Driver::PinholeModel& model) {
    return "  width: " + std::to_string(model.width) + "\n  height: " + std::to_string(model.height) + '\n';
}

std::string textOf(const Driver::CalibrationStage& stage) {
    const Driver::Calibration& geometry = stage.geometry;
    return "  - temperature: " + textOf(stage.temperature) + "\n    camera:\n" + textOf(geometry.camera) +
           "    projector:\n" + textOf(geometry.projector) + "    rotation: " + textOf(geometry.rotation) +
           "\n    translation: " + textOf(geometry.translationMm) + '\n';
}

constexpr std::string_view stagesComment = R"(
# The geometry at one or more temperatures, by rising temperature.
# temperature: of the optics, degrees Celsius.
# camera and projector: the lens models. focal [fx, fy] and centre [cx, cy] in pixels, the centre counted from the
#   middle of the top left pixel; distortion [k1, k2, p1, p2, k3] (Brown-Conrady).
# rotation (row by row) and translation (mm): a point p of the camera is rotation * p + translation of the projector.
)";

} // namespace

Driver::HeadCalibration loadCalibration(const std::string& path) {
    return readCalibration(YamlMap::load(path, maxFileBytes));
}

Driver::HeadCalibration parseCalibration(const std::string& text, const std::string& name) {
    return readCalibration(YamlMap::parse(text, name));
}

std::string calibrationText(const Driver::HeadCalibration& calibration) {
    check(calibration);
    const Driver::Calibration& sizes = calibration.stages.front().geometry;
    std::string text = "# Calibration of a Vorta head.\nversion: " + std::to_string(formatVersion) +
                       "\n\n# Temperature at which methods work that do not follow the temperature, degrees Celsius.\n"
                       "referenceTemperature: " +
                       textOf(calibration.referenceTemperature) +
                       "\n\n# Size of the camera's images, pixels.\nsensor:\n" + sizeOf(sizes.camera) +
                       "\n# Size of the projector's images, pixels.\nprojector:\n" + sizeOf(sizes.projector);
    text.append(stagesComment).append("stages:\n");
    for (const Driver::CalibrationStage& stage : calibration.stages)
        text += textOf(stage);
    return text;
}

void saveCalibration(const Driver::HeadCalibration& calibration, const std::string& path) {
    const std::string text = calibrationText(calibration);
    ReplacingFile file(path);
    std::ofstream stream(file.temporaryPath(), std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    if (!stream)
        throw IOException(inQuotes(path) + " cannot be written; is the disk full?");
    file.commit();
}

} // namespace Vorta::Reconstruction
