#include "vdf.h"

#include "fileseal.h"
#include "netcdffile.h"
#include "vdfgrid.h"

#include "vorta/common/exceptions.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace Vorta::Vdf {

namespace {

using NetCdf::File;
using NetCdf::Type;
using NetCdf::VariableInfo;

constexpr std::size_t bytesPerPoint = channels.size() * sizeof(float) + colourMembers.size();
/// No deflate stream unpacks to more than about this many times its length, so a short file cannot hold many points.
constexpr std::size_t maximumDeflateRatio = 1040;

IOException readError(const std::string& path, const std::string& reason) {
    // NOLINTNEXTLINE(modernize-return-braced-init-list): the constructor is explicit
    return IOException("Data file '" + path + "' cannot be read: " + reason);
}

/// `path` itself once its first bytes are those of a netCDF-4 file and it is as whole as can be told without opening
/// it.
const std::string& checkWhole(const std::string& path, std::size_t threads) {
    if (std::filesystem::is_directory(path))
        throw readError(path, "it is a folder.");
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw readError(path, std::generic_category().message(errno) + ".");
    constexpr std::array<char, 8> expected{'\x89', 'H', 'D', 'F', '\r', '\n', '\x1a', '\n'};
    std::array<char, expected.size()> signature{};
    stream.read(signature.data(), signature.size());
    if (stream.gcount() == 0)
        throw readError(path, "it is empty.");
    if (signature != expected)
        throw readError(path, "it is not a Vorta data file.");
    if (const std::string complaint = FileSeal::complaint(path, threads); !complaint.empty())
        throw readError(path, complaint);
    return path;
}

/// Keeps what a file promises within what its length can hold, so that memory is asked for only when it will be filled.
class Promises {
public:
    explicit Promises(std::size_t fileBytes) : left_(fileBytes * maximumDeflateRatio) {}

    /// Whether the file can hold so many bytes more.
    [[nodiscard]] bool take(std::size_t bytes) noexcept {
        if (bytes > left_)
            return false;
        left_ -= bytes;
        return true;
    }

private:
    std::size_t left_;
};

/// Reads the measurement in one group of a file; every failure names the file.
class MeasurementReader {
public:
    /// `wholeName` is that of the group and ends with a slash.
    MeasurementReader(const std::string& path, const File& file, int group, std::string wholeName, Promises& promises)
        : path_(path), file_(file), group_(group), promises_(promises) {
        grid_.group = std::move(wholeName);
    }

    [[nodiscard]] std::shared_ptr<FrameImpl> read(const ComputeDevice& device, std::size_t threads) {
        FrameInfo info = readInfo();
        Settings settings = readSettings();
        readGrid();
        readImageFacts(info.raw);
        PointCloud cloud = readCloud(file_, grid_, threads);
        if (grid_.image)
            info.raw.images = std::make_shared<Driver::ImageStack>(readImages(file_, grid_, threads));
        return std::make_shared<FrameImpl>(std::move(cloud), std::move(settings), std::move(info), device);
    }

private:
    /// Failures in the root say nothing about where they are.
    [[nodiscard]] IOException error(const std::string& reason) const {
        return readError(path_, grid_.group == "/" ? reason : "group '" + groupName() + "': " + reason);
    }

    /// The group's whole name without the slash at the end.
    [[nodiscard]] std::string groupName() const { return grid_.group.substr(0, grid_.group.size() - 1); }

    [[nodiscard]] std::string text(const char* name) const {
        auto value = file_.text(group_, name, maximumText);
        if (!value)
            throw error("attribute '" + std::string(name) + "' is missing.");
        return *std::move(value);
    }

    [[nodiscard]] FrameInfo readInfo() const {
        const auto time = file_.scalarInt64(group_, Name::time);
        const auto head = file_.scalarDouble(group_, headTemperature);
        if (!time || !head)
            throw error(std::string("variable '") + (time ? headTemperature : Name::time) + "' is missing.");
        constexpr std::int64_t year10000 = 253'402'300'800'000'000; // microseconds
        if (*time < 0 || *time >= year10000)
            throw error("its time, " + std::to_string(*time) + " microseconds after 1970, is out of range.");
        FrameInfo info{.head = {.modelName = text(Name::model),
                                .serialNumber = text(Name::serialNumber),
                                .firmwareVersion = text(Name::firmware),
                                .productRevision = text(Name::revision)},
                       .time = std::chrono::sys_time<std::chrono::microseconds>(std::chrono::microseconds(*time)),
                       .temperatures = {}};
        info.temperatures.head = *head;
        for (const Temperature& temperature : temperatures)
            info.temperatures.*temperature.member = file_.scalarDouble(group_, temperature.name);
        if (const auto calibration = file_.group(grid_.group + Name::calibration))
            info.calibrationText = file_.text(*calibration, Name::yaml, maximumCalibrationText).value_or("");
        return info;
    }

    [[nodiscard]] Settings readSettings() const {
        const std::string root = grid_.group + Name::settings;
        if (!file_.group(root))
            throw error("group '" + root + "' is missing.");
        Settings settings;
        const auto take = [&](const auto& setting) {
            const std::string path(setting.path);
            const auto slash = path.rfind('/');
            const auto group = file_.group(slash == std::string::npos ? root : root + '/' + path.substr(0, slash));
            const auto value = group ? file_.text(*group, std::string(setting.name), maximumText) : std::nullopt;
            if (!value)
                return; // written before this setting existed: the default is what it was captured with
            try {
                settings.set(path, *value);
            } catch (const ArgumentException& refusal) {
                throw error("setting '" + path + "': " + refusal.what());
            }
        };
        const Settings defaults;
        defaults.visit(take);
        defaults.getSettingsInternal().visit(take);
        return settings;
    }

    [[nodiscard]] IOException refusal(const char* variable, const std::string& reason) const {
        return error("variable '" + std::string(variable) + "' " + reason + ".");
    }

    void checkArray(const char* name, const VariableInfo& info, Type type, std::size_t rank) const {
        if (info.type != type)
            throw refusal(name, "has the wrong type");
        if (info.dimensions.size() != rank)
            throw refusal(name, "has the wrong dimensions");
        for (std::size_t i = 0; i < info.chunk.size(); ++i)
            if (info.chunk[i] == 0 || info.chunk[i] > info.dimensions[i].length)
                throw refusal(name, "is stored in blocks that are larger than itself");
    }

    /// Checks type, shape and blocks against the grid, which the first variable determines.
    [[nodiscard]] VariableInfo gridVariable(const char* name, Type type, std::size_t depth) {
        auto info = file_.variable(group_, name);
        if (!info)
            throw refusal(name, "is missing");
        const auto& dimensions = info->dimensions;
        if (info->type == type && grid_.height == 0 && dimensions.size() == 2)
            takeSize(dimensions[0].length, dimensions[1].length);
        checkArray(name, *info, type, depth == 1 ? 2 : 3);
        if (depth != 1 && dimensions[2].length != depth)
            throw refusal(name, "has the wrong dimensions");
        if (dimensions[0].length != grid_.height || dimensions[1].length != grid_.width)
            throw refusal(name, "has another size than '" + std::string(channels.front().name) + "'");
        return *std::move(info);
    }

    void takeSize(std::size_t height, std::size_t width) {
        const std::string size = std::to_string(height) + " x " + std::to_string(width) + " points";
        if (height == 0 || width == 0)
            throw error("it holds no points.");
        if (height > maximumSide || width > maximumSide || height * width > maximumPoints)
            throw error("its grid of " + size + " is larger than this program accepts.");
        if (!promises_.take(height * width * bytesPerPoint))
            throw error("it is too short to hold its " + size + ".");
        grid_.height = height;
        grid_.width = width;
    }

    void readGrid() {
        for (std::size_t i = 0; i < channels.size(); ++i)
            grid_.floats.at(i) = gridVariable(channels.at(i).name, Type::Float, 1);
        grid_.colour = gridVariable(Name::colour, Type::UnsignedByte, colourMembers.size());
    }

    /// What the file says of raw images, which it need not have.
    void readImageFacts(RawImages& raw) {
        auto info = file_.variable(group_, Name::image);
        if (!info)
            return;
        checkArray(Name::image, *info, Type::UnsignedByte, 3);
        const auto& dimensions = info->dimensions;
        const std::size_t count = dimensions[0].length;
        if (dimensions[1].length != grid_.height || dimensions[2].length != grid_.width)
            throw refusal(Name::image, "has another size than '" + std::string(channels.front().name) + "'");
        if (count > maximumImages)
            throw error("its " + std::to_string(count) + " raw images are more than the " +
                        std::to_string(maximumImages) + " that are allowed.");
        if (!promises_.take(count * grid_.height * grid_.width))
            throw error("it is too short to hold its " + std::to_string(count) + " raw images.");
        const auto layout = file_.text(info->variable, Name::bayerLayout, maximumText);
        // NOLINTNEXTLINE(readability-qualified-auto): an iterator is no pointer with every library
        const auto known = std::ranges::find_if(
            bayerNames, [&](const BayerName& candidate) { return layout && *layout == candidate.name; });
        if (known == bayerNames.end())
            throw refusal(Name::image, std::string("has no valid attribute '") + Name::bayerLayout + "'");
        raw.bayerLayout = known->layout;
        for (const HeadSize& size : headSizes) {
            const auto length = file_.integer(info->variable, size.name);
            if (!length || *length < 0 || static_cast<std::size_t>(*length) > maximumSide)
                throw refusal(Name::image, std::string("has no valid attribute '") + size.name + "'");
            raw.dimensions.*size.member = static_cast<std::size_t>(*length);
        }
        grid_.image = std::move(info);
        grid_.imageCount = count;
    }

    const std::string& path_;
    const File& file_;
    int group_;
    Promises& promises_;
    Grid grid_;
};

/// Refuses files of other kinds and of later versions.
void checkVersion(const File& file, const std::string& path) {
    const auto version = file.integer(File::root, Name::version);
    if (!file.isNetCdf4() || !version)
        throw readError(path,
                        "it is not a Vorta data file: attribute '" + std::string(Name::version) + "' is missing.");
    if (*version > formatVersion)
        throw readError(path, "its format version is " + std::to_string(*version) +
                                  ", and this program knows versions up to " + std::to_string(formatVersion) +
                                  ". A newer program can read it.");
    if (*version < 1)
        throw readError(path, "its format version " + std::to_string(*version) + " does not exist.");
}

} // namespace

std::shared_ptr<FrameImpl> load(const std::string& path, const ComputeDevice& device, std::size_t threads) {
    const File file = File::open(checkWhole(path, threads));
    checkVersion(file, path);
    Promises promises(file.bytes());
    auto frame = MeasurementReader(path, file, File::root, "/", promises).read(device, threads);
    std::vector<Frame> children;
    for (;;) {
        const std::string wholeName = std::string("/") + Name::children + '/' + std::to_string(children.size());
        const auto group = file.group(wholeName);
        if (!group)
            break;
        if (children.size() == maximumChildren)
            throw readError(path, "it holds more than " + std::to_string(maximumChildren) + " child measurements.");
        children.emplace_back(MeasurementReader(path, file, *group, wholeName + '/', promises).read(device, threads));
    }
    frame->setChildFrames(std::move(children));
    return frame;
}

} // namespace Vorta::Vdf
