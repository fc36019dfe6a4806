// capturehdr DRIVER OUTPUT.vdf [IRIS...]
//
// Connects to the first camera of a driver, captures with each iris, combines the captures to one measurement of high
// dynamic range, and saves it.

#include <vorta/api/application.h>
#include <vorta/api/hdr.h>
#include <vorta/common/exceptions.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::vector<Vorta::Frame> captures(Vorta::Camera& camera, const std::vector<std::string>& irises) {
    std::vector<Vorta::Frame> frames;
    for (const std::string& iris : irises) {
        Vorta::Settings settings = camera.settings();
        settings.set("Iris", iris);
        camera.setSettings(settings);
        frames.push_back(camera.capture());
    }
    return frames;
}

/// Number of points that were measured, and their mean distance.
void describe(const Vorta::PointCloud& cloud) {
    std::size_t count = 0;
    double sum = 0.0;
    for (const Vorta::Point& point : cloud.points())
        if (std::isfinite(point.z)) {
            ++count;
            sum += point.z;
        }
    std::cout << count << " of " << cloud.size() << " points";
    if (count > 0)
        std::cout << ", mean distance " << sum / static_cast<double>(count) << " mm";
    std::cout << '\n';
}

int run(const std::string& driver, const std::string& output, const std::vector<std::string>& irises) {
    Vorta::Application application;
    application.getImpl().setCameraDriver(driver, Vorta::Settings());
    std::vector<Vorta::Camera> cameras = application.cameras();
    if (cameras.empty()) {
        std::cerr << "capturehdr: the driver finds no camera.\n";
        return EXIT_FAILURE;
    }
    Vorta::Camera& camera = cameras.front();
    camera.connect();
    std::cout << camera.modelName() << ' ' << camera.serialNumber().toString() << '\n';

    const std::vector<Vorta::Frame> frames = captures(camera, irises);
    const Vorta::Frame combined = Vorta::HDR::Detail::combineFrames({frames.begin(), frames.end()});
    describe(combined.getPointCloud());
    combined.save(output);
    camera.disconnect();
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc < 3) {
        std::cerr << "usage: capturehdr DRIVER OUTPUT.vdf [IRIS...]\n";
        return 2;
    }
    std::vector<std::string> irises(argv + 3, argv + argc);
    if (irises.empty())
        irises = {"14", "31", "63"};
    try {
        return run(argv[1], argv[2], irises);
    } catch (const std::exception& error) { // whatever the library throws
        std::cerr << "capturehdr: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
