#include "commands.h"
#include "json.h"

#include "vorta/api/frame.h"
#include "vorta/api/frameimpl.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

namespace Vorta::Tool {

namespace {

/// What the points of a frame come to.
struct Summary {
    std::size_t validPoints = 0;
    float minZ = std::numeric_limits<float>::infinity();
    float maxZ = -std::numeric_limits<float>::infinity();
};

Summary summarise(const PointCloud& cloud) {
    Summary summary;
    for (const Point& point : cloud.points())
        if (point.isValid()) {
            ++summary.validPoints;
            summary.minZ = std::min(summary.minZ, point.z);
            summary.maxZ = std::max(summary.maxZ, point.z);
        }
    return summary;
}

/// ISO 8601 in UTC, with microseconds.
std::string toIso(std::chrono::sys_time<std::chrono::microseconds> time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::ostringstream text;
    text << std::setfill('0') << std::setw(4) << static_cast<int>(date.year()) << '-' << std::setw(2)
         << static_cast<unsigned>(date.month()) << '-' << std::setw(2) << static_cast<unsigned>(date.day()) << 'T'
         << std::setw(2) << clock.hours().count() << ':' << std::setw(2) << clock.minutes().count() << ':'
         << std::setw(2) << clock.seconds().count() << '.' << std::setw(6) << clock.subseconds().count() << 'Z';
    return std::move(text).str();
}

/// Name and value of every temperature that is known.
std::vector<std::pair<std::string, double>> listTemperatures(const Driver::Temperatures& temperatures) {
    std::vector<std::pair<std::string, double>> list{{"head", temperatures.head}};
    const std::array<std::pair<const char*, std::optional<double>>, 4> parts{
        {{"lens", temperatures.lens}, {"led", temperatures.led}, {"pcb", temperatures.pcb}, {"dmd", temperatures.dmd}}};
    for (const auto& [name, value] : parts)
        if (value)
            list.emplace_back(name, *value);
    return list;
}

template <class Visitor>
void visitSettings(const Settings& settings, Visitor&& visitor) {
    settings.visit(visitor);
    settings.getSettingsInternal().visit(visitor);
}

void printJson(const std::string& path, const FrameImpl& frame) {
    const FrameInfo& info = frame.info();
    const Summary summary = summarise(frame.cloud());
    Json json{{"file", path},
              {"model", info.head.modelName},
              {"serialNumber", info.head.serialNumber},
              {"firmware", info.head.firmwareVersion},
              {"productRevision", info.head.productRevision},
              {"time", toIso(info.time)},
              {"width", frame.cloud().width()},
              {"height", frame.cloud().height()},
              {"validPoints", summary.validPoints},
              {"minZ", nullptr},
              {"maxZ", nullptr}};
    if (summary.validPoints > 0) {
        json["minZ"] = summary.minZ;
        json["maxZ"] = summary.maxZ;
    }
    for (const auto& [name, value] : listTemperatures(info.temperatures))
        json["temperatures"][name] = value;
    visitSettings(frame.settings(),
                  [&json](const auto& setting) { json["settings"][std::string(setting.path)] = setting.toString(); });
    print(json);
}

void printText(const std::string& path, const FrameImpl& frame) {
    const FrameInfo& info = frame.info();
    const PointCloud& cloud = frame.cloud();
    const Summary summary = summarise(cloud);
    std::cout << "File:         " << path << "\nCamera:       " << info.head.modelName << ' ' << info.head.serialNumber
              << ", firmware " << info.head.firmwareVersion << ", " << info.head.productRevision
              << "\nTime:         " << toIso(info.time) << "\nGrid:         " << cloud.width() << " x "
              << cloud.height() << " points, " << summary.validPoints << " valid\n"
              << std::fixed << std::setprecision(1);
    if (summary.validPoints > 0)
        std::cout << "Depth:        " << summary.minZ << " to " << summary.maxZ << " mm\n";
    std::cout << "Temperatures:";
    const char* separator = " ";
    for (const auto& [name, value] : listTemperatures(info.temperatures)) {
        std::cout << separator << name << ' ' << value << " °C";
        separator = ", ";
    }
    std::cout << "\nSettings:\n";
    visitSettings(frame.settings(), [](const auto& setting) {
        std::cout << "  " << setting.path << " = " << setting.toString() << '\n';
    });
}

} // namespace

void addInfoCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("info", "Says what a data file holds.");
    const auto path = std::make_shared<std::string>();
    const auto asJson = std::make_shared<bool>(false);
    command->add_option("FILE", *path, "Data file (.vdf).")->required();
    command->add_flag("--json", *asJson, "Print JSON.");
    command->callback([path, asJson] {
        const Frame frame(*path, ComputeDevice{});
        (*asJson ? printJson : printText)(*path, frame.getImpl());
    });
}

} // namespace Vorta::Tool
