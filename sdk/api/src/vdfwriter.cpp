#include "vdf.h"

#include "netcdffile.h"

#include "vorta/api/settingstext.h"
#include "vorta/common/replacingfile.h"

#include <map>
#include <string>
#include <vector>

namespace Vorta::Vdf {

namespace {

using NetCdf::Dimension;
using NetCdf::File;
using NetCdf::Type;

/// The variables of the grid, in the order of `channels`.
struct GridVariables {
    std::array<int, channels.size()> floats{};
    int colour = 0;
};

GridVariables defineGrid(File& file, const PointCloud& cloud) {
    const std::array<Dimension, 3> dimensions{file.makeDimension(Name::row, cloud.height()),
                                              file.makeDimension(Name::column, cloud.width()),
                                              file.makeDimension(Name::channel, colourMembers.size())};
    const std::array<std::size_t, 3> chunk{blockRows(cloud.height(), cloud.width()), cloud.width(),
                                           colourMembers.size()};
    GridVariables variables;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Channel& channel = channels.at(i);
        const int variable = file.makeVariable(channel.name, Type::Float, std::span(dimensions).first(2));
        file.compress(variable, std::span(chunk).first(2));
        file.setFill(variable, std::numeric_limits<float>::quiet_NaN());
        file.setText(File::root, variable, "long_name", channel.longName);
        file.setText(File::root, variable, "units", channel.units);
        if (channel.member == &Point::contrast)
            file.setText(File::root, variable, "coordinates", "x y z");
        variables.floats.at(i) = variable;
    }
    variables.colour = file.makeVariable(Name::colour, Type::UnsignedByte, dimensions);
    file.compress(variables.colour, chunk);
    file.setText(File::root, variables.colour, "long_name", "colour of the point: red, green, blue");
    file.setText(File::root, variables.colour, "units", "1");
    file.setText(File::root, variables.colour, "coordinates", "x y z");
    return variables;
}

void defineIdentity(File& file, const Driver::HeadIdentity& head) {
    file.setText(File::root, File::global, "Conventions", "CF-1.8");
    file.setText(File::root, File::global, "title", "Vorta measurement");
    file.setInt(File::root, File::global, Name::version, formatVersion);
    file.setText(File::root, File::global, Name::model, head.modelName);
    file.setText(File::root, File::global, Name::serialNumber, head.serialNumber);
    file.setText(File::root, File::global, Name::firmware, head.firmwareVersion);
    file.setText(File::root, File::global, Name::revision, head.productRevision);
}

int defineTemperature(File& file, const char* name, const char* longName) {
    const int variable = file.makeVariable(name, Type::Double, {});
    file.setText(File::root, variable, "long_name", longName);
    file.setText(File::root, variable, "units", "degree_Celsius");
    return variable;
}

/// The groups that hold the settings. Neither groups nor attributes may have a slash in their name, so
/// "Filters/Contrast/Threshold" is the attribute "Threshold" of the group "/settings/Filters/Contrast".
class SettingGroups {
public:
    explicit SettingGroups(File& file) : file_(file), root_(file.makeGroup(File::root, Name::settings)) {}

    [[nodiscard]] int root() const noexcept { return root_; }

    /// The group of all settings below `path`, made when it is first asked for.
    int at(const std::string& path) {
        const auto known = groups_.find(path);
        if (known != groups_.end())
            return known->second;
        const std::string name = path.substr(path.rfind('/') + 1); // npos + 1 is 0
        const int group = file_.makeGroup(parent(path), name);
        groups_.emplace(path, group);
        return group;
    }

    int parent(const std::string& path) {
        const auto slash = path.rfind('/');
        return slash == std::string::npos ? root_ : at(path.substr(0, slash));
    }

private:
    File& file_;
    int root_;
    std::map<std::string, int> groups_;
};

void defineSettings(File& file, const Settings& settings) {
    SettingGroups groups(file);
    file.setText(groups.root(), File::global, Name::settingsText, settingsText(settings));
    const auto store = [&](const auto& setting) {
        file.setText(groups.parent(std::string(setting.path)), File::global, std::string(setting.name),
                     setting.toString());
    };
    settings.visit(store);
    settings.getSettingsInternal().visit(store);
}

void writePoints(File& file, const GridVariables& variables, const PointCloud& cloud) {
    const std::size_t rows = blockRows(cloud.height(), cloud.width());
    std::vector<float> values(rows * cloud.width());
    std::vector<std::uint8_t> colours(values.size() * colourMembers.size());
    for (std::size_t row = 0; row < cloud.height(); row += rows) {
        const std::array<std::size_t, 3> start{row, 0, 0};
        const std::array<std::size_t, 3> count{std::min(rows, cloud.height() - row), cloud.width(),
                                               colourMembers.size()};
        const std::size_t points = count[0] * count[1];
        const std::span<const Point> block = cloud.points().subspan(row * cloud.width(), points);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            for (std::size_t i = 0; i < points; ++i)
                values[i] = block[i].*channels[c].member;
            file.write(variables.floats[c], std::span(start).first(2), std::span(count).first(2),
                       std::span<const float>(values).first(points));
        }
        for (std::size_t i = 0; i < points; ++i)
            for (std::size_t c = 0; c < colourMembers.size(); ++c)
                colours[i * colourMembers.size() + c] = block[i].*colourMembers[c];
        file.write(variables.colour, start, count,
                   std::span<const std::uint8_t>(colours).first(points * colourMembers.size()));
    }
}

void write(File& file, const FrameImpl& frame) {
    const FrameInfo& info = frame.info();
    defineIdentity(file, info.head);
    const GridVariables grid = defineGrid(file, frame.cloud());
    const int time = file.makeVariable(Name::time, Type::Int64, {});
    file.setText(File::root, time, "long_name", "start of the first exposure");
    file.setText(File::root, time, "standard_name", "time");
    file.setText(File::root, time, "units", "microseconds since 1970-01-01T00:00:00Z");
    const int head = defineTemperature(file, headTemperature, "temperature of the head");
    std::array<int, temperatures.size()> parts{};
    for (std::size_t i = 0; i < temperatures.size(); ++i)
        if (info.temperatures.*temperatures.at(i).member)
            parts.at(i) = defineTemperature(file, temperatures.at(i).name, temperatures.at(i).longName);
    defineSettings(file, frame.settings());
    file.endDefinitions();

    file.writeScalar(time, std::int64_t{info.time.time_since_epoch().count()});
    file.writeScalar(head, info.temperatures.head);
    for (std::size_t i = 0; i < temperatures.size(); ++i)
        if (const auto value = info.temperatures.*temperatures.at(i).member)
            file.writeScalar(parts.at(i), *value);
    writePoints(file, grid, frame.cloud());
    file.close();
}

} // namespace

void save(const FrameImpl& frame, const std::string& path) {
    ReplacingFile target(path);
    {
        File file = File::create(target.temporaryPath(), path);
        write(file, frame);
    }
    target.commit();
}

} // namespace Vorta::Vdf
