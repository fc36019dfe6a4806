#include "vdf.h"

#include "netcdffile.h"

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

constexpr std::size_t maximumSide = 16384;
constexpr std::size_t maximumPoints = std::size_t{1} << 26U;
constexpr std::size_t maximumText = 65536; ///< characters of one attribute
constexpr std::size_t bytesPerPoint = channels.size() * sizeof(float) + colourMembers.size();
/// No deflate stream unpacks to more than about this many times its length, so a short file cannot hold many points.
constexpr std::size_t maximumDeflateRatio = 1040;

IOException readError(const std::string& path, const std::string& reason) {
    return IOException("Data file '" + path + "' cannot be read: " + reason);
}

/// `path` itself once its first bytes are those of a netCDF-4 file.
const std::string& checkSignature(const std::string& path) {
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
    return path;
}

/// Where the points are, once everything about it has been checked.
struct Grid {
    std::size_t height = 0;
    std::size_t width = 0;
    std::array<int, channels.size()> floats{};
    int colour = 0;
};

/// Reads one data file; every failure names it.
class Reader {
public:
    explicit Reader(const std::string& path) : path_(path), file_(File::open(checkSignature(path))) {}

    [[nodiscard]] std::shared_ptr<FrameImpl> read(const ComputeDevice& device) const {
        checkVersion();
        FrameInfo info = readInfo();
        Settings settings = readSettings();
        return std::make_shared<FrameImpl>(readCloud(), std::move(settings), std::move(info), device);
    }

private:
    [[nodiscard]] IOException error(const std::string& reason) const { return readError(path_, reason); }

    void checkVersion() const {
        const auto version = file_.integer(File::root, Name::version);
        if (!file_.isNetCdf4() || !version)
            throw error("it is not a Vorta data file: attribute '" + std::string(Name::version) + "' is missing.");
        if (*version > formatVersion)
            throw error("its format version is " + std::to_string(*version) +
                        ", and this program knows versions up to " + std::to_string(formatVersion) +
                        ". A newer program can read it.");
        if (*version < 1)
            throw error("its format version " + std::to_string(*version) + " does not exist.");
    }

    [[nodiscard]] std::string text(const char* name) const {
        auto value = file_.text(File::root, name, maximumText);
        if (!value)
            throw error("attribute '" + std::string(name) + "' is missing.");
        return *std::move(value);
    }

    [[nodiscard]] FrameInfo readInfo() const {
        const auto time = file_.scalarInt64(Name::time);
        const auto head = file_.scalarDouble(headTemperature);
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
            info.temperatures.*temperature.member = file_.scalarDouble(temperature.name);
        return info;
    }

    [[nodiscard]] Settings readSettings() const {
        const std::string root = std::string("/") + Name::settings;
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

    /// Checks type, shape and blocks against the grid, which the first variable determines.
    [[nodiscard]] int gridVariable(const char* name, Type type, std::size_t depth, Grid& grid) const {
        const auto info = file_.variable(name);
        const auto refuse = [&](const std::string& reason) {
            return error("variable '" + std::string(name) + "' " + reason + ".");
        };
        if (!info)
            throw refuse("is missing");
        if (info->type != type)
            throw refuse("has the wrong type");
        const auto& dimensions = info->dimensions;
        if (dimensions.size() != (depth == 1 ? 2 : 3) || (depth != 1 && dimensions[2].length != depth))
            throw refuse("has the wrong dimensions");
        if (grid.height == 0)
            checkSize(dimensions[0].length, dimensions[1].length, grid);
        if (dimensions[0].length != grid.height || dimensions[1].length != grid.width)
            throw refuse("has another size than '" + std::string(channels.front().name) + "'");
        for (std::size_t i = 0; i < info->chunk.size(); ++i)
            if (info->chunk[i] == 0 || info->chunk[i] > dimensions[i].length)
                throw refuse("is stored in blocks that are larger than itself");
        return info->id;
    }

    void checkSize(std::size_t height, std::size_t width, Grid& grid) const {
        const std::string size = std::to_string(height) + " x " + std::to_string(width) + " points";
        if (height == 0 || width == 0)
            throw error("it holds no points.");
        if (height > maximumSide || width > maximumSide || height * width > maximumPoints)
            throw error("its grid of " + size + " is larger than this program accepts.");
        if (std::filesystem::file_size(path_) < height * width * bytesPerPoint / maximumDeflateRatio)
            throw error("it is too short to hold its " + size + ".");
        grid.height = height;
        grid.width = width;
    }

    [[nodiscard]] Grid readGrid() const {
        Grid grid;
        for (std::size_t i = 0; i < channels.size(); ++i)
            grid.floats.at(i) = gridVariable(channels.at(i).name, Type::Float, 1, grid);
        grid.colour = gridVariable(Name::colour, Type::UnsignedByte, colourMembers.size(), grid);
        return grid;
    }

    [[nodiscard]] PointCloud readCloud() const {
        const Grid grid = readGrid();
        PointCloud cloud = PointCloud::uninitialized(grid.height, grid.width);
        const std::size_t rows = blockRows(grid.height, grid.width);
        std::vector<float> values(rows * grid.width);
        std::vector<std::uint8_t> colours(values.size() * colourMembers.size());
        for (std::size_t row = 0; row < grid.height; row += rows) {
            const std::array<std::size_t, 3> start{row, 0, 0};
            const std::array<std::size_t, 3> count{std::min(rows, grid.height - row), grid.width, colourMembers.size()};
            const std::size_t points = count[0] * count[1];
            const std::span<Point> block = cloud.points().subspan(row * grid.width, points);
            for (std::size_t c = 0; c < channels.size(); ++c) {
                file_.read(grid.floats[c], std::span(start).first(2), std::span(count).first(2),
                           std::span(values).first(points));
                for (std::size_t i = 0; i < points; ++i)
                    block[i].*channels[c].member = values[i];
            }
            file_.read(grid.colour, start, count, std::span(colours).first(points * colourMembers.size()));
            for (std::size_t i = 0; i < points; ++i) {
                for (std::size_t c = 0; c < colourMembers.size(); ++c)
                    block[i].*colourMembers[c] = colours[i * colourMembers.size() + c];
                block[i].alpha = Point{}.alpha;
            }
        }
        return cloud;
    }

    std::string path_;
    File file_;
};

} // namespace

std::shared_ptr<FrameImpl> load(const std::string& path, const ComputeDevice& device) {
    return Reader(path).read(device);
}

} // namespace Vorta::Vdf
