#include "vdf.h"

#include "fileseal.h"
#include "netcdffile.h"
#include "vdfgrid.h"

#include "vorta/api/settingstext.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/replacingfile.h"
#include "vorta/common/settingsinternal.h"

#include <limits>
#include <map>
#include <string>
#include <vector>

namespace Vorta::Vdf {

namespace {

using NetCdf::Dimension;
using NetCdf::File;
using NetCdf::Type;
using NetCdf::Variable;
using NetCdf::VariableInfo;

/// The groups that hold the settings. Neither groups nor attributes may have a slash in their name, so
/// "Filters/Contrast/Threshold" is the attribute "Threshold" of the group "settings/Filters/Contrast".
class SettingGroups {
public:
    SettingGroups(File& file, int parent) : file_(file), root_(file.makeGroup(parent, Name::settings)) {}

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

/// Writes one measurement into one group of a file: first the definitions of everything, then the values.
class MeasurementWriter {
public:
    /// `wholeName` is that of the group and ends with a slash.
    MeasurementWriter(File& file, int group, std::string wholeName, const FrameImpl& frame)
        : file_(file), group_(group), frame_(frame) {
        grid_.group = std::move(wholeName);
        grid_.height = frame.cloud().height();
        grid_.width = frame.cloud().width();
        defineIdentity();
        defineGrid();
        if (savesImages())
            defineImages();
        defineFacts();
        defineSettings();
        if (!frame.info().calibrationText.empty())
            file_.setText(file_.makeGroup(group_, Name::calibration), Name::yaml, frame.info().calibrationText);
    }

    /// Once the definitions of the file have ended.
    void writeValues(std::size_t threads) {
        const FrameInfo& info = frame_.info();
        file_.writeScalar(time_, std::int64_t{info.time.time_since_epoch().count()});
        file_.writeScalar(head_, info.temperatures.head);
        for (std::size_t i = 0; i < temperatures.size(); ++i)
            if (const auto value = info.temperatures.*temperatures.at(i).member)
                file_.writeScalar(parts_.at(i), *value);
        writeCloud(file_, grid_, frame_.cloud(), threads);
        if (grid_.image)
            writeImages(file_, grid_, *info.raw.images, threads);
    }

private:
    [[nodiscard]] bool savesImages() const {
        using SaveImages = SettingsInternal::Camera::SaveImages;
        return frame_.info().raw.images && frame_.settings().getSettingsInternal().get<SaveImages>().value();
    }

    void defineIdentity() {
        const Driver::HeadIdentity& head = frame_.info().head;
        file_.setInt(group_, Name::version, formatVersion);
        file_.setText(group_, Name::model, head.modelName);
        file_.setText(group_, Name::serialNumber, head.serialNumber);
        file_.setText(group_, Name::firmware, head.firmwareVersion);
        file_.setText(group_, Name::revision, head.productRevision);
    }

    VariableInfo defineArray(const char* name, Type type, std::vector<Dimension> dimensions,
                             std::vector<std::size_t> chunk, const char* longName, const char* units) {
        const Variable variable = file_.makeVariable(group_, name, type, dimensions);
        file_.compress(variable, chunk);
        if (type == Type::Float)
            file_.setFill(variable, std::numeric_limits<float>::quiet_NaN());
        file_.setText(variable, "long_name", longName);
        file_.setText(variable, "units", units);
        return {.variable = variable, .type = type, .dimensions = std::move(dimensions), .chunk = std::move(chunk)};
    }

    void defineGrid() {
        row_ = file_.makeDimension(group_, Name::row, grid_.height);
        column_ = file_.makeDimension(group_, Name::column, grid_.width);
        const Dimension channel = file_.makeDimension(group_, Name::channel, colourMembers.size());
        const std::size_t rows = blockRows(grid_.height, grid_.width);
        for (std::size_t i = 0; i < channels.size(); ++i) {
            const Channel& facts = channels.at(i);
            grid_.floats.at(i) =
                defineArray(facts.name, Type::Float, {row_, column_}, {rows, grid_.width}, facts.longName, facts.units);
            const Variable variable = grid_.floats.at(i).variable;
            if (facts.member == &Point::contrast)
                file_.setText(variable, "coordinates", "x y z");
        }
        grid_.colour =
            defineArray(Name::colour, Type::UnsignedByte, {row_, column_, channel},
                        {rows, grid_.width, colourMembers.size()}, "colour of the point: red, green, blue", "1");
        file_.setText(grid_.colour.variable, "coordinates", "x y z");
    }

    void defineImages() {
        const RawImages& raw = frame_.info().raw;
        grid_.imageCount = raw.images->count();
        const Dimension exposure = file_.makeDimension(group_, Name::exposure, grid_.imageCount);
        grid_.image = defineArray(Name::image, Type::UnsignedByte, {exposure, row_, column_},
                                  {1, imageBlockRows(grid_.height, grid_.width), grid_.width},
                                  "raw image of the sensor in the order of exposure", "1");
        const BayerName& layout = *std::ranges::find(bayerNames, raw.bayerLayout, &BayerName::layout);
        file_.setText(grid_.image->variable, Name::bayerLayout, layout.name);
        for (const HeadSize& size : headSizes)
            file_.setInt(grid_.image->variable, size.name, static_cast<int>(raw.dimensions.*size.member));
    }

    Variable defineTemperature(const char* name, const char* longName) {
        const Variable variable = file_.makeVariable(group_, name, Type::Double, {});
        file_.setText(variable, "long_name", longName);
        file_.setText(variable, "units", "degree_Celsius");
        return variable;
    }

    void defineFacts() {
        time_ = file_.makeVariable(group_, Name::time, Type::Int64, {});
        file_.setText(time_, "long_name", "start of the first exposure");
        file_.setText(time_, "standard_name", "time");
        file_.setText(time_, "units", "microseconds since 1970-01-01T00:00:00Z");
        head_ = defineTemperature(headTemperature, "temperature of the head");
        for (std::size_t i = 0; i < temperatures.size(); ++i)
            if (frame_.info().temperatures.*temperatures.at(i).member)
                parts_.at(i) = defineTemperature(temperatures.at(i).name, temperatures.at(i).longName);
    }

    void defineSettings() {
        SettingGroups groups(file_, group_);
        file_.setText(groups.root(), Name::yaml, settingsText(frame_.settings()));
        const auto store = [&](const auto& setting) {
            file_.setText(groups.parent(std::string(setting.path)), std::string(setting.name), setting.toString());
        };
        frame_.settings().visit(store);
        frame_.settings().getSettingsInternal().visit(store);
    }

    File& file_;
    int group_;
    const FrameImpl& frame_;
    Grid grid_;
    Dimension row_;
    Dimension column_;
    Variable time_;
    Variable head_;
    std::array<Variable, temperatures.size()> parts_{}; ///< in the order of `temperatures`
};

/// The child frames that the settings ask to keep.
std::vector<Frame> savedChildren(const FrameImpl& frame) {
    using Camera = SettingsInternal::Camera;
    const SettingsInternal& settings = frame.settings().getSettingsInternal();
    const bool kept =
        settings.get<Camera::SaveChildMeasurements>().value() || settings.get<Camera::SaveImages>().value();
    return kept ? frame.childFrames() : std::vector<Frame>{};
}

/// Refuses what no file may hold, so that everything that is written can be read again.
void checkLimits(const FrameImpl& frame, const std::string& path) {
    const auto refuse = [&](const std::string& what) {
        throw IOException("File '" + path + "' cannot be written: " + what + " than a data file holds.");
    };
    const PointCloud& cloud = frame.cloud();
    if (cloud.height() > maximumSide || cloud.width() > maximumSide || cloud.size() > maximumPoints)
        refuse("the grid of " + std::to_string(cloud.height()) + " x " + std::to_string(cloud.width()) +
               " points is larger");
    const FrameInfo& info = frame.info();
    for (const std::string* text :
         {&info.head.modelName, &info.head.serialNumber, &info.head.firmwareVersion, &info.head.productRevision})
        if (text->size() > maximumText)
            refuse("a text about the head is longer");
    if (info.calibrationText.size() > maximumCalibrationText)
        refuse("the calibration is longer");
    if (!info.raw.images)
        return;
    if (info.raw.images->count() > maximumImages)
        refuse("there are more raw images");
    for (const HeadSize& size : headSizes)
        if (info.raw.dimensions.*size.member > maximumSide)
            refuse("the head has larger images");
}

void write(File& file, const FrameImpl& frame, std::span<const Frame> children, std::size_t threads) {
    file.setText(File::root, "Conventions", "CF-1.8");
    file.setText(File::root, "title", "Vorta measurement");
    std::vector<MeasurementWriter> writers;
    writers.reserve(children.size() + 1);
    writers.emplace_back(file, File::root, "/", frame);
    if (!children.empty()) {
        const int parent = file.makeGroup(File::root, Name::children);
        for (std::size_t i = 0; i < children.size(); ++i) {
            const std::string name = std::to_string(i);
            writers.emplace_back(file, file.makeGroup(parent, name),
                                 std::string("/") + Name::children + '/' + name + '/', children[i].getImpl());
        }
    }
    file.endDefinitions();
    for (MeasurementWriter& writer : writers)
        writer.writeValues(threads);
    file.close();
}

} // namespace

void save(const FrameImpl& frame, const std::string& path, std::size_t threads) {
    const std::vector<Frame> children = savedChildren(frame);
    checkLimits(frame, path);
    for (const Frame& child : children)
        checkLimits(child.getImpl(), path);
    ReplacingFile target(path);
    {
        File file = File::create(target.temporaryPath(), path);
        write(file, frame, children, threads);
    }
    FileSeal::append(target.temporaryPath(), path, threads);
    target.commit();
}

} // namespace Vorta::Vdf
