#include "vorta/virtual/headfile.h"

#include "vorta/common/requiredfirmware.h"
#include "vorta/virtual/vec3.h"
#include "vorta/yaml/yamlmap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace Vorta::Virtual {

namespace {

constexpr Limits fraction{.minimum = 0.0, .maximum = 1.0};
constexpr Limits positive{.minimum = 1e-6, .maximum = 1e9};
constexpr Limits nonNegative{.minimum = 0.0, .maximum = 1e9};
constexpr Limits celsius{.minimum = -100.0, .maximum = 200.0};
constexpr Limits seconds{.minimum = 1e-3, .maximum = 1e6};

void readIdentity(const YamlMap& yaml, HeadDescription& head) {
    static constexpr std::array<std::string_view, 3> drivers{"ToshibaTeli", "IDS", "PtGrey"};
    static constexpr std::array<std::string_view, 4> revisions{"Rev0", "Rev1", "Rev2", "Rev3"};
    if (yaml.text("driver", drivers[0]) == "NetCDF")
        yaml.fail("driver", "NetCDF replays data files and lists no virtual heads; 'driver' must be one of "
                            "ToshibaTeli, IDS, PtGrey.");
    head.driver = drivers[yaml.choice("driver", 0, drivers)];
    head.identity.modelName = yaml.text("model", "VORTA Virtual");
    head.identity.serialNumber = yaml.text("serialNumber", "");
    if (head.identity.serialNumber.empty())
        yaml.fail("a head needs a 'serialNumber'.");
    head.identity.firmwareVersion = yaml.text("firmware", requiredFirmware);
    head.identity.productRevision = revisions[yaml.choice("productRevision", 3, revisions)];
}

// Sensor and projector size come first: the default calibration depends on them.
void readSensor(const YamlMap& yaml, HeadDescription& head, Driver::PinholeModel& size) {
    // In the order of Driver::BayerLayout.
    static constexpr std::array<std::string_view, 4> layouts{"GRBG", "RGGB", "BGGR", "GBRG"};
    size.width = yaml.count("width", size.width, 16, 8192);
    size.height = yaml.count("height", size.height, 16, 8192);
    head.bayerLayout = static_cast<Driver::BayerLayout>(yaml.choice("bayerLayout", 2, layouts));
    SensorModel& sensor = head.sensor;
    sensor.sensitivity = yaml.number("sensitivity", sensor.sensitivity, nonNegative);
    const std::vector<double> response = yaml.numbers("response", {1.0, 1.0, 1.0}, nonNegative);
    std::copy(response.begin(), response.end(), sensor.response.begin());
    sensor.noise = yaml.flag("noise", sensor.noise);
    sensor.fullWellElectrons = yaml.number("fullWell", sensor.fullWellElectrons, positive);
    sensor.readNoiseElectrons = yaml.number("readNoise", sensor.readNoiseElectrons, nonNegative);
    sensor.vignetting = yaml.number("vignetting", sensor.vignetting, fraction);
    head.optics.cameraFocusMm = yaml.number("focus", head.optics.cameraFocusMm, positive);
    head.optics.cameraApertureMm = yaml.number("aperture", head.optics.cameraApertureMm, nonNegative);
    yaml.finish();
}

void readProjector(const YamlMap& yaml, OpticsModel& optics, Driver::PinholeModel& size) {
    size.width = yaml.count("width", size.width, 16, 4096);
    size.height = yaml.count("height", size.height, 16, 4096);
    optics.projectorFocusMm = yaml.number("focus", optics.projectorFocusMm, positive);
    optics.projectorApertureMm = yaml.number("aperture", optics.projectorApertureMm, nonNegative);
    optics.projectorSoftness = yaml.number("softness", optics.projectorSoftness, nonNegative);
    optics.projectorVignetting = yaml.number("vignetting", optics.projectorVignetting, fraction);
    optics.projectorContrast = yaml.number("contrast", optics.projectorContrast, {.minimum = 1.0, .maximum = 1e9});
    yaml.finish();
}

void readPinhole(const YamlMap& yaml, Driver::PinholeModel& model) {
    const std::vector<double> focal = yaml.numbers("focal", {model.fx, model.fy}, positive);
    const std::vector<double> centre = yaml.numbers("centre", {model.cx, model.cy});
    const std::vector<double> lens =
        yaml.numbers("distortion", {model.k1, model.k2, model.p1, model.p2, model.k3}, {.minimum = -10, .maximum = 10});
    model.fx = focal[0];
    model.fy = focal[1];
    model.cx = centre[0];
    model.cy = centre[1];
    model.k1 = lens[0];
    model.k2 = lens[1];
    model.p1 = lens[2];
    model.p2 = lens[3];
    model.k3 = lens[4];
    yaml.finish();
}

void checkRotation(const YamlMap& yaml, const Rotation& rotation) {
    const Rotation product = rotation * rotation.inverse();
    double error = std::abs(dot(cross(rotation.row(0), rotation.row(1)), rotation.row(2)) - 1.0);
    for (std::size_t i = 0; i < 9; ++i)
        error = std::max(error, std::abs(product.m[i] - (i % 4 == 0 ? 1.0 : 0.0)));
    if (error > 1e-6)
        yaml.fail("rotation", "'rotation' is not a rotation matrix: its rows must be orthonormal and right-handed.");
}

void readCalibration(const YamlMap& yaml, Driver::Calibration& calibration) {
    if (const auto camera = yaml.map("camera"))
        readPinhole(*camera, calibration.camera);
    if (const auto projector = yaml.map("projector"))
        readPinhole(*projector, calibration.projector);
    const auto& r = calibration.rotation;
    const std::vector<double> rotation = yaml.numbers("rotation", {r.begin(), r.end()});
    std::copy(rotation.begin(), rotation.end(), calibration.rotation.begin());
    checkRotation(yaml, {calibration.rotation});
    const auto& t = calibration.translationMm;
    const std::vector<double> translation = yaml.numbers("translation", {t.begin(), t.end()});
    std::copy(translation.begin(), translation.end(), calibration.translationMm.begin());
    yaml.finish();
}

void readTemperatures(const YamlMap& yaml, HeadDescription& head) {
    Driver::Temperatures& settled = head.temperatures;
    settled = {.head = yaml.number("head", settled.head, celsius), .lens = {}, .led = {}, .pcb = {}, .dmd = {}};
    const auto optional = [&](std::string_view key, std::optional<double>& value) {
        if (yaml.has(key))
            value = yaml.number(key, 0.0, celsius);
    };
    optional("lens", settled.lens);
    optional("led", settled.led);
    optional("pcb", settled.pcb);
    optional("dmd", settled.dmd);
    const WarmUp defaults;
    const double ambient = yaml.number("ambient", defaults.ambient, celsius);
    if (yaml.has("timeConstant"))
        head.warmUp = {.ambient = ambient, .timeConstantS = yaml.number("timeConstant", 0.0, seconds)};
    else if (yaml.has("ambient"))
        yaml.fail("ambient", "'ambient' is where the head starts to warm up from; it needs a 'timeConstant'.");
    yaml.finish();
}

template <std::size_t count>
std::array<double, count> readRates(const YamlMap& yaml, std::string_view key, double most, bool spread = false) {
    const std::vector<double> rates =
        yaml.numbers(key, std::vector<double>(count, 0.0), {.minimum = -most, .maximum = most}, spread);
    std::array<double, count> result{};
    std::ranges::copy(rates, result.begin());
    return result;
}

LensDrift readLensDrift(const std::optional<YamlMap>& yaml) {
    if (!yaml)
        return {};
    const LensDrift drift{.focalPpm = readRates<2>(*yaml, "focal", 1000.0, true),
                          .centrePixels = readRates<2>(*yaml, "centre", 1.0)};
    yaml->finish();
    return drift;
}

Drift readDrift(const YamlMap& yaml) {
    const Drift drift{.reference = yaml.number("reference", Drift{}.reference, celsius),
                      .camera = readLensDrift(yaml.map("camera")),
                      .projector = readLensDrift(yaml.map("projector")),
                      .translationMm = readRates<3>(yaml, "translation", 1.0),
                      .rotationDegrees = readRates<3>(yaml, "rotation", 0.1)};
    yaml.finish();
    return drift;
}

Faults readFaults(const YamlMap& yaml) {
    constexpr std::uint64_t many = 1'000'000;
    Faults faults{
        .connect = yaml.text("connect", ""), .capture = yaml.text("capture", ""), .update = yaml.text("update", "")};
    faults.afterCaptures = yaml.count("afterCaptures", faults.afterCaptures, 0, many);
    if (faults.capture.empty() && yaml.has("afterCaptures"))
        yaml.fail("afterCaptures", "'afterCaptures' needs the 'capture' fault that sets in then.");
    if (yaml.has("stopAfterImages"))
        faults.stopAfterImages = yaml.count("stopAfterImages", 0, 0, many);
    faults.timeoutS = yaml.number("timeout", faults.timeoutS, seconds);
    if (!faults.stopAfterImages && yaml.has("timeout"))
        yaml.fail("timeout", "'timeout' needs the 'stopAfterImages' whose missing images are waited for.");
    faults.delayS = yaml.number("delay", faults.delayS, {.minimum = 0.0, .maximum = seconds.maximum});
    yaml.finish();
    return faults;
}

} // namespace

Driver::Calibration defaultCalibration(std::size_t cameraWidth, std::size_t cameraHeight, std::size_t projectorWidth,
                                       std::size_t projectorHeight) {
    const auto half = [](std::size_t pixels) { return 0.5 * (static_cast<double>(pixels) - 1.0); };
    Driver::Calibration calibration;
    // Both directions share one scale, so that pixels stay square on every sensor shape.
    const double cameraFocal = 2400.0 * static_cast<double>(cameraWidth) / 1944.0;
    calibration.camera = {.width = cameraWidth,
                          .height = cameraHeight,
                          .fx = cameraFocal,
                          .fy = cameraFocal,
                          .cx = half(cameraWidth),
                          .cy = half(cameraHeight),
                          .k1 = -0.08,
                          .k2 = 0.05,
                          .p1 = 0.0004,
                          .p2 = -0.0003};
    const double projectorFocal = 1130.0 * static_cast<double>(projectorWidth) / 1024.0;
    calibration.projector = {.width = projectorWidth,
                             .height = projectorHeight,
                             .fx = projectorFocal,
                             .fy = projectorFocal,
                             .cx = half(projectorWidth),
                             .cy = half(projectorHeight),
                             .k1 = -0.03,
                             .k2 = 0.01,
                             .p1 = -0.0002,
                             .p2 = 0.0002};
    // The projector stands 200 mm to the right and is turned to meet the camera's axis at about 720 mm.
    const Rotation rotation = Rotation::fromDegrees({0.0, 15.5, 0.0});
    const Vec3 translation = -(rotation * Vec3{200.0, 0.0, 0.0});
    calibration.rotation = rotation.m;
    calibration.translationMm = {translation.x, translation.y, translation.z};
    return calibration;
}

HeadDescription loadHead(const std::filesystem::path& file) {
    const YamlMap yaml = YamlMap::load(file);
    HeadDescription head;
    head.file = file;
    readIdentity(yaml, head);
    const std::string scene = yaml.text("scene", "");
    if (scene.empty())
        yaml.fail("a head needs a 'scene' file.");
    head.sceneFile = file.parent_path() / scene;
    head.seed = yaml.count("seed", head.seed, 0, std::numeric_limits<std::uint64_t>::max());

    Driver::PinholeModel camera{.width = 1944, .height = 1200};
    Driver::PinholeModel projector{.width = 1024, .height = 768};
    if (const auto sensor = yaml.map("sensor"))
        readSensor(*sensor, head, camera);
    if (const auto part = yaml.map("projector"))
        readProjector(*part, head.optics, projector);
    head.calibration = defaultCalibration(camera.width, camera.height, projector.width, projector.height);
    if (const auto calibration = yaml.map("calibration"))
        readCalibration(*calibration, head.calibration);

    head.temperatures = {.head = 35.0, .lens = 33.0, .led = 46.0, .pcb = 41.0, .dmd = 39.0};
    if (const auto temperatures = yaml.map("temperatures"))
        readTemperatures(*temperatures, head);
    if (const auto drift = yaml.map("drift"))
        head.drift = readDrift(*drift);
    if (const auto faults = yaml.map("faults"))
        head.faults = readFaults(*faults);
    yaml.finish();
    return head;
}

} // namespace Vorta::Virtual
