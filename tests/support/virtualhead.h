#pragma once

#include <boost/process/environment.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

/// Virtual heads for tests, in one line:
///
///     Vorta::Testing::VirtualHeads heads({.serialNumber = "T-1"});   // a small head before a plane at 700 mm
///     ... open it through the library ...
///     heads.unplug("T-1");
namespace Vorta::Testing {

/// A white matt plane at z = `distanceMm`, perpendicular to the camera.
[[nodiscard]] inline std::string planeScene(double distanceMm = 700.0, double albedo = 0.9) {
    return "objects:\n  - plane: {}\n    position: [0, 0, " + std::to_string(distanceMm) +
           "]\n    material: {albedo: " + std::to_string(albedo) + "}\n";
}

/// A head's file; the defaults are a small sensor before a plane at 700 mm.
struct VirtualHead {
    std::string serialNumber = "T-0001";
    std::string model = "VORTA Test";
    std::string driver = "ToshibaTeli";
    std::string firmware = "VORTA 0.9.21";
    std::string productRevision = {}; ///< "Rev0" to "Rev3"; Rev3 when empty
    std::size_t width = 243;
    std::size_t height = 150;
    std::uint64_t seed = 1;
    bool noise = true;
    std::string scene = planeScene(); ///< text of the scene file
    std::string faults = {};          ///< keys of the faults' map, for instance "capture: too hot, afterCaptures: 2"
    std::string more = {};            ///< further lines of the head file, for instance "temperatures: {head: 40}\n"
};

/// A temporary folder of plugged-in heads that VORTA_VIRTUAL_HEADS names while this object lives. One at a time.
class VirtualHeads {
public:
    /// No head plugged in yet.
    VirtualHeads() {
        std::random_device random;
        do
            folder_ = std::filesystem::temp_directory_path() / ("vorta-heads-" + std::to_string(random()));
        while (!std::filesystem::create_directory(folder_));
        auto environment = boost::this_process::environment();
        for (const auto& entry : environment)
            if (entry.get_name() == variable())
                previous_ = entry.to_string();
        environment.set(variable(), folder_.string());
    }
    explicit VirtualHeads(const VirtualHead& head) : VirtualHeads() { plug(head); }
    VirtualHeads(const VirtualHeads&) = delete;
    VirtualHeads& operator=(const VirtualHeads&) = delete;
    ~VirtualHeads() {
        auto environment = boost::this_process::environment();
        if (previous_.empty())
            environment.reset(variable());
        else
            environment.set(variable(), previous_);
        std::error_code ignored; // a folder that cannot be removed is the temporary directory's to clean
        std::filesystem::remove_all(folder_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& folder() const noexcept { return folder_; }

    /// Plugs the head in and returns its file. Plugging the same serial number again replaces the file: for a
    /// head that is open this changes the faults.
    std::filesystem::path plug(const VirtualHead& head) {
        std::filesystem::create_directories(folder_ / "scenes");
        write(folder_ / "scenes" / (head.serialNumber + ".yml"), head.scene);
        std::ostringstream text;
        text << "driver: " << head.driver << "\nmodel: " << head.model << "\nserialNumber: " << head.serialNumber
             << "\nfirmware: " << head.firmware << "\nscene: scenes/" << head.serialNumber
             << ".yml\nseed: " << head.seed << "\nsensor: {width: " << head.width << ", height: " << head.height
             << ", noise: " << (head.noise ? "true" : "false") << "}\n";
        if (!head.productRevision.empty())
            text << "productRevision: " << head.productRevision << '\n';
        if (!head.faults.empty())
            text << "faults: {" << head.faults << "}\n";
        text << head.more;
        return plugText(head.serialNumber, text.str());
    }

    /// Writes `<name>.yml` with any text, also a broken one.
    std::filesystem::path plugText(const std::string& name, const std::string& text) {
        std::filesystem::path file = folder_ / (name + ".yml");
        write(file, text);
        return file;
    }

    void unplug(const std::string& serialNumber) {
        const std::filesystem::path file = folder_ / (serialNumber + ".yml");
        insist([&](std::error_code& error) { std::filesystem::remove(file, error); });
    }

private:
    static const char* variable() { return "VORTA_VIRTUAL_HEADS"; }

    // By renaming, so that whoever polls the folder never sees half a file.
    static void write(const std::filesystem::path& file, const std::string& text) {
        const std::filesystem::path temporary = std::filesystem::path(file).concat(".part");
        std::ofstream stream(temporary, std::ios::binary);
        stream << text;
        stream.close();
        if (!stream)
            throw std::runtime_error("Cannot write " + temporary.string());
        insist([&](std::error_code& error) { std::filesystem::rename(temporary, file, error); });
    }

    /// Windows neither removes nor replaces a file while the driver reads it, which it does for a moment.
    template <class Change>
    static void insist(Change change) {
        std::error_code error;
        change(error);
        for (int retries = 200; error && retries > 0; --retries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            change(error);
        }
        if (error)
            throw std::runtime_error("Cannot change the heads: " + error.message());
    }

    std::filesystem::path folder_;
    std::string previous_;
};

} // namespace Vorta::Testing
