#include "plainnetcdf.h"

#include <array>
#include <netcdf.h>
#include <stdexcept>
#include <utility>
#include <vector>

namespace VortaBench {

namespace {

using Vorta::Point;
using Vorta::PointCloud;

constexpr std::array<std::pair<const char*, float Point::*>, 4> channels{
    {{"x", &Point::x}, {"y", &Point::y}, {"z", &Point::z}, {"contrast", &Point::contrast}}};
constexpr std::array<std::uint8_t Point::*, 3> colours{&Point::red, &Point::green, &Point::blue};

void check(int status) {
    if (status != NC_NOERR)
        throw std::runtime_error(nc_strerror(status));
}

int defineArray(int file, const char* name, nc_type type, const std::array<int, 3>& dimensions, int rank,
                const std::array<std::size_t, 3>& chunk) {
    int variable = 0;
    check(nc_def_var(file, name, type, rank, dimensions.data(), &variable));
    check(nc_def_var_chunking(file, variable, NC_CHUNKED, chunk.data()));
    check(nc_def_var_deflate(file, variable, NC_SHUFFLE, 1, 1));
    check(nc_def_var_fill(file, variable, NC_NOFILL, nullptr));
    return variable;
}

int variableNamed(int file, const char* name) {
    int variable = 0;
    check(nc_inq_varid(file, name, &variable));
    return variable;
}

} // namespace

void plainSave(const PointCloud& cloud, std::size_t blockRows, const std::string& path) {
    int file = 0;
    check(nc_create(path.c_str(), NC_CLOBBER | NC_NETCDF4, &file));
    std::array<int, 3> dimensions{};
    check(nc_def_dim(file, "row", cloud.height(), dimensions.data()));
    check(nc_def_dim(file, "column", cloud.width(), &dimensions[1]));
    check(nc_def_dim(file, "channel", colours.size(), &dimensions[2]));
    const std::array<std::size_t, 3> chunk{blockRows, cloud.width(), colours.size()};
    std::vector<float> values(cloud.size());
    for (const auto& [name, member] : channels) {
        for (std::size_t i = 0; i < cloud.size(); ++i)
            values[i] = cloud[i].*member;
        check(nc_put_var_float(file, defineArray(file, name, NC_FLOAT, dimensions, 2, chunk), values.data()));
    }
    std::vector<std::uint8_t> bytes(cloud.size() * colours.size());
    for (std::size_t i = 0; i < cloud.size(); ++i)
        for (std::size_t c = 0; c < colours.size(); ++c)
            bytes[i * colours.size() + c] = cloud[i].*colours[c];
    check(nc_put_var_uchar(file, defineArray(file, "colour", NC_UBYTE, dimensions, 3, chunk), bytes.data()));
    check(nc_close(file));
}

PointCloud plainLoad(const std::string& path) {
    int file = 0;
    check(nc_open(path.c_str(), NC_NOWRITE, &file));
    std::array<std::size_t, 2> size{};
    for (int i = 0; i < 2; ++i)
        check(nc_inq_dimlen(file, i, &size.at(static_cast<std::size_t>(i))));
    PointCloud cloud = PointCloud::uninitialized(size[0], size[1]);
    std::vector<float> values(cloud.size());
    for (const auto& [name, member] : channels) {
        check(nc_get_var_float(file, variableNamed(file, name), values.data()));
        for (std::size_t i = 0; i < cloud.size(); ++i)
            cloud[i].*member = values[i];
    }
    std::vector<std::uint8_t> bytes(cloud.size() * colours.size());
    check(nc_get_var_uchar(file, variableNamed(file, "colour"), bytes.data()));
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        for (std::size_t c = 0; c < colours.size(); ++c)
            cloud[i].*colours[c] = bytes[i * colours.size() + c];
        cloud[i].alpha = 255;
    }
    check(nc_close(file));
    return cloud;
}

} // namespace VortaBench
