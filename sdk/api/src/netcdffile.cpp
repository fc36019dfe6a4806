#include "netcdffile.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <hdf5.h>
#include <netcdf.h>
#include <system_error>
#include <utility>

namespace Vorta::NetCdf {

namespace {

constexpr int deflateLevel = 1; // higher levels take several times as long for a few percent
constexpr int maximumDimensions = 3;

std::mutex& turns() {
    static std::mutex mutex;
    return mutex;
}

nc_type toNetCdf(Type type) {
    switch (type) {
    case Type::Text:
        return NC_CHAR;
    case Type::UnsignedByte:
        return NC_UBYTE;
    case Type::Int:
        return NC_INT;
    case Type::Int64:
        return NC_INT64;
    case Type::Float:
        return NC_FLOAT;
    case Type::Double:
        return NC_DOUBLE;
    case Type::Other:
        break;
    }
    return NC_NAT;
}

Type fromNetCdf(nc_type type) {
    for (const Type known : {Type::Text, Type::UnsignedByte, Type::Int, Type::Int64, Type::Float, Type::Double})
        if (toNetCdf(known) == type)
            return known;
    return Type::Other;
}

/// What netCDF takes in place of a variable for the group's own attributes.
Variable globalOf(int group) {
    return {.group = group, .id = NC_GLOBAL};
}

/// Why the system takes no more of a file that could not be written, which is lost anyway; empty when it takes more.
std::string refusalOf(const std::filesystem::path& file) {
    const std::vector<char> more(std::size_t{4} << 20U); // more than was refused
    std::ofstream end(file, std::ios::binary | std::ios::app);
    errno = 0;
    if (end.write(more.data(), static_cast<std::streamsize>(more.size())).flush())
        return {};
    return std::generic_category().message(errno);
}

} // namespace

void keepHdf5Quiet() {
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

File::File(Mode mode, const std::filesystem::path& path, std::string name)
    : turn_(turns()), mode_(mode), name_(std::move(name)), path_(std::filesystem::absolute(path)) {
    // At the end of the process HDF5 would close what is still open: a file that could not be completed once more and
    // over what was left of it, which crashes.
    H5dont_atexit();
    keepHdf5Quiet();
    // The whole path begins with no protocol, so that the library never takes a file for an address.
    const std::string whole = path_.string();
    if (mode == Mode::Read) {
        std::error_code error; // opening says what is wrong
        const auto bytes = std::filesystem::file_size(path_, error);
        bytes_ = error ? 0 : bytes;
    }
    check(mode == Mode::Write ? nc_create(whole.c_str(), NC_CLOBBER | NC_NETCDF4, &id_)
                              : nc_open(whole.c_str(), NC_NOWRITE, &id_),
          "opening it");
    isOpen_ = true;
}

File File::create(const std::filesystem::path& path, std::string name) {
    return {Mode::Write, path, std::move(name)};
}

File File::open(const std::filesystem::path& path) {
    return {Mode::Read, path, path.string()};
}

File::~File() {
    // The libraries keep a file open that they cannot complete, and with it its place on a full disk. That is given
    // back: before, since it may be all that closing lacks, and after, when closing has failed.
    const auto giveBack = [this] {
        std::error_code ignored; // the failure has been reported
        if (mode_ == Mode::Write && !isComplete_)
            std::filesystem::resize_file(path_, 0, ignored);
    };
    giveBack();
    if (isOpen_)
        nc_close(id_);
    giveBack();
}

void File::close() {
    isOpen_ = false;
    check(nc_close(id_), "completing it");
    isComplete_ = true;
}

void File::check(int status, const std::string& what) const {
    if (status != NC_NOERR)
        fail(what, nc_strerror(status));
}

void File::fail(const std::string& what, const std::string& reason) const {
    // The libraries do not hand on what the system said.
    const std::string refusal = mode_ == Mode::Write ? refusalOf(path_) : std::string();
    throw IOException("File '" + name_ + "' cannot be " + (mode_ == Mode::Write ? "written" : "read") + ": " + what +
                      " failed (" + (refusal.empty() ? reason : refusal) + ").");
}

void File::fail(const std::string& what) const {
    std::string reason;
    const auto take = [](unsigned /*depth*/, const H5E_error2_t* error, void* text) -> herr_t {
        if (error->desc != nullptr)
            *static_cast<std::string*>(text) = error->desc; // the last one is the innermost
        return 0;
    };
    H5Ewalk2(H5E_DEFAULT, H5E_WALK_DOWNWARD, take, &reason);
    fail(what, reason.empty() ? "it is damaged" : reason);
}

std::int64_t File::hdf5Id() const {
    // netCDF does not give away the handle that it works with, but HDF5 lists those that are open.
    const std::int64_t count = H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_FILE);
    std::vector<hid_t> open(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)), -1);
    H5Fget_obj_ids(H5F_OBJ_ALL, H5F_OBJ_FILE, open.size(), open.data());
    const std::filesystem::path whole = path_.lexically_normal();
    for (const hid_t id : open) {
        std::string name(static_cast<std::size_t>(std::max<std::int64_t>(H5Fget_name(id, nullptr, 0), 0)), '\0');
        // netCDF hands the name on with the system's own separators.
        if (H5Fget_name(id, name.data(), name.size() + 1) >= 0 &&
            std::filesystem::path(name).lexically_normal() == whole)
            return id;
    }
    fail("finding it among the open files");
}

int File::makeGroup(int parent, const std::string& name) {
    int group = 0;
    check(nc_def_grp(groupId(parent), name.c_str(), &group), "making group '" + name + "'");
    return group;
}

Dimension File::makeDimension(int group, const std::string& name, std::size_t length) {
    Dimension dimension{.length = length};
    check(nc_def_dim(groupId(group), name.c_str(), length, &dimension.id), "making dimension '" + name + "'");
    return dimension;
}

Variable File::makeVariable(int group, const std::string& name, Type type, std::span<const Dimension> dimensions) {
    std::array<int, maximumDimensions> ids{};
    for (std::size_t i = 0; i < dimensions.size(); ++i)
        ids.at(i) = dimensions[i].id;
    Variable variable{.group = groupId(group)};
    check(nc_def_var(variable.group, name.c_str(), toNetCdf(type), static_cast<int>(dimensions.size()), ids.data(),
                     &variable.id),
          "making variable '" + name + "'");
    return variable;
}

void File::compress(Variable variable, std::span<const std::size_t> chunk) {
    const auto [group, id] = variable;
    check(nc_def_var_chunking(group, id, NC_CHUNKED, chunk.data()), "choosing blocks");
    check(nc_def_var_deflate(group, id, NC_SHUFFLE, 1, deflateLevel), "choosing compression");
    check(nc_def_var_fill(group, id, NC_NOFILL, nullptr), "choosing not to fill in");
}

void File::setFill(Variable variable, float value) {
    check(nc_put_att_float(variable.group, variable.id, "_FillValue", NC_FLOAT, 1, &value),
          "writing attribute '_FillValue'");
}

void File::setText(int group, const std::string& name, const std::string& value) {
    setText(globalOf(groupId(group)), name, value);
}

void File::setText(Variable variable, const std::string& name, const std::string& value) {
    check(nc_put_att_text(variable.group, variable.id, name.c_str(), value.size(), value.c_str()),
          "writing attribute '" + name + "'");
}

void File::setInt(int group, const std::string& name, int value) {
    setInt(globalOf(groupId(group)), name, value);
}

void File::setInt(Variable variable, const std::string& name, int value) {
    check(nc_put_att_int(variable.group, variable.id, name.c_str(), NC_INT, 1, &value),
          "writing attribute '" + name + "'");
}

void File::endDefinitions() {
    check(nc_enddef(id_), "writing the header");
}

void File::write(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                 std::span<const float> values) {
    check(nc_put_vara_float(variable.group, variable.id, start.data(), count.data(), values.data()), "writing values");
}

void File::write(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                 std::span<const std::uint8_t> values) {
    check(nc_put_vara_uchar(variable.group, variable.id, start.data(), count.data(), values.data()), "writing values");
}

void File::writeScalar(Variable variable, double value) {
    check(nc_put_var_double(variable.group, variable.id, &value), "writing a value");
}

void File::writeScalar(Variable variable, std::int64_t value) {
    const long long wide = value;
    check(nc_put_var_longlong(variable.group, variable.id, &wide), "writing a value");
}

bool File::isNetCdf4() const {
    int format = 0;
    check(nc_inq_format(id_, &format), "asking its format");
    return format == NC_FORMAT_NETCDF4;
}

std::optional<int> File::group(const std::string& wholeName) const {
    int group = 0;
    const int status = nc_inq_grp_full_ncid(id_, wholeName.c_str(), &group);
    if (status == NC_ENOGRP)
        return std::nullopt;
    check(status, "finding group '" + wholeName + "'");
    return group;
}

std::optional<VariableInfo> File::variable(int group, const std::string& name) const {
    VariableInfo info{.variable = {.group = groupId(group)}};
    auto& [parent, id] = info.variable;
    const int found = nc_inq_varid(parent, name.c_str(), &id);
    if (found == NC_ENOTVAR)
        return std::nullopt;
    check(found, "finding variable '" + name + "'");
    const std::string what = "describing variable '" + name + "'";
    nc_type type = NC_NAT;
    int dimensionCount = 0;
    check(nc_inq_var(parent, id, nullptr, &type, &dimensionCount, nullptr, nullptr), what);
    info.type = fromNetCdf(type);
    // A variable may have any number of dimensions up to the library's own limit, so ask into room for all of them.
    std::vector<int> ids(NC_MAX_VAR_DIMS);
    check(nc_inq_vardimid(parent, id, ids.data()), what);
    for (int i = 0; i < dimensionCount; ++i) {
        Dimension dimension{.id = ids[static_cast<std::size_t>(i)]};
        check(nc_inq_dimlen(parent, dimension.id, &dimension.length), what);
        info.dimensions.push_back(dimension);
    }
    if (dimensionCount > 0) {
        int storage = NC_CONTIGUOUS;
        std::vector<std::size_t> chunk(NC_MAX_VAR_DIMS);
        check(nc_inq_var_chunking(parent, id, &storage, chunk.data()), what);
        if (storage == NC_CHUNKED)
            info.chunk.assign(chunk.begin(), chunk.begin() + dimensionCount);
    }
    return info;
}

std::optional<std::string> File::text(int group, const std::string& name, std::size_t maximumLength) const {
    return text(globalOf(groupId(group)), name, maximumLength);
}

std::optional<std::string> File::text(Variable variable, const std::string& name, std::size_t maximumLength) const {
    nc_type type = NC_NAT;
    std::size_t length = 0;
    const int found = nc_inq_att(variable.group, variable.id, name.c_str(), &type, &length);
    if (found == NC_ENOTATT)
        return std::nullopt;
    check(found, "finding attribute '" + name + "'");
    if (type != NC_CHAR)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is not a text.");
    if (length > maximumLength)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is " + std::to_string(length) +
                          " characters long, more than the " + std::to_string(maximumLength) + " that are allowed.");
    std::string value(length, '\0');
    check(nc_get_att_text(variable.group, variable.id, name.c_str(), value.data()), "reading attribute '" + name + "'");
    return value;
}

std::optional<int> File::integer(int group, const std::string& name) const {
    return integer(globalOf(groupId(group)), name);
}

std::optional<int> File::integer(Variable variable, const std::string& name) const {
    nc_type type = NC_NAT;
    std::size_t length = 0;
    const int found = nc_inq_att(variable.group, variable.id, name.c_str(), &type, &length);
    if (found == NC_ENOTATT)
        return std::nullopt;
    check(found, "finding attribute '" + name + "'");
    if (type != NC_INT || length != 1)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is not one whole number.");
    int value = 0;
    check(nc_get_att_int(variable.group, variable.id, name.c_str(), &value), "reading attribute '" + name + "'");
    return value;
}

void File::read(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                std::span<float> values) const {
    check(nc_get_vara_float(variable.group, variable.id, start.data(), count.data(), values.data()),
          "reading the points");
}

void File::read(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                std::span<std::uint8_t> values) const {
    check(nc_get_vara_uchar(variable.group, variable.id, start.data(), count.data(), values.data()),
          "reading the points");
}

std::optional<VariableInfo> File::scalar(int group, const std::string& name, Type type) const {
    auto info = variable(group, name);
    if (info && (info->type != type || !info->dimensions.empty()))
        throw IOException("File '" + name_ + "' cannot be read: variable '" + name +
                          "' is not a single value of the right type.");
    return info;
}

std::optional<double> File::scalarDouble(int group, const std::string& name) const {
    const auto info = scalar(group, name, Type::Double);
    if (!info)
        return std::nullopt;
    double value = 0.0;
    check(nc_get_var_double(info->variable.group, info->variable.id, &value), "reading variable '" + name + "'");
    return value;
}

std::optional<std::int64_t> File::scalarInt64(int group, const std::string& name) const {
    const auto info = scalar(group, name, Type::Int64);
    if (!info)
        return std::nullopt;
    long long value = 0;
    check(nc_get_var_longlong(info->variable.group, info->variable.id, &value), "reading variable '" + name + "'");
    return value;
}

} // namespace Vorta::NetCdf
