#include "netcdffile.h"

#include "vorta/common/exceptions.h"

#include <netcdf.h>

#include <array>
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

bool isFull(const std::filesystem::path& folder) {
    std::error_code error;
    const auto space = std::filesystem::space(folder, error);
    return !error && space.available < 65536;
}

} // namespace

File::File(Mode mode, const std::filesystem::path& path, std::string name)
    : turn_(turns()), mode_(mode), name_(std::move(name)), folder_(std::filesystem::absolute(path).parent_path()) {
    // The whole path begins with no protocol, so that the library never takes a file for an address.
    const std::string whole = std::filesystem::absolute(path).string();
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
    if (isOpen_)
        nc_close(id_); // read, or given up after a failure that has been reported
}

void File::close() {
    isOpen_ = false;
    check(nc_close(id_), "completing it");
}

void File::check(int status, const std::string& what) const {
    if (status == NC_NOERR)
        return;
    const bool writing = mode_ == Mode::Write;
    const std::string reason = writing && isFull(folder_) ? "the disk is full" : nc_strerror(status);
    throw IOException("File '" + name_ + "' cannot be " + (writing ? "written" : "read") + ": " + what + " failed (" +
                      reason + ").");
}

int File::makeGroup(int parent, const std::string& name) {
    int group = 0;
    check(nc_def_grp(groupId(parent), name.c_str(), &group), "making group '" + name + "'");
    return group;
}

Dimension File::makeDimension(const std::string& name, std::size_t length) {
    Dimension dimension{.length = length};
    check(nc_def_dim(id_, name.c_str(), length, &dimension.id), "making dimension '" + name + "'");
    return dimension;
}

int File::makeVariable(const std::string& name, Type type, std::span<const Dimension> dimensions) {
    std::array<int, maximumDimensions> ids{};
    for (std::size_t i = 0; i < dimensions.size(); ++i)
        ids.at(i) = dimensions[i].id;
    int variable = 0;
    check(nc_def_var(id_, name.c_str(), toNetCdf(type), static_cast<int>(dimensions.size()), ids.data(), &variable),
          "making variable '" + name + "'");
    return variable;
}

void File::compress(int variable, std::span<const std::size_t> chunk) {
    check(nc_def_var_chunking(id_, variable, NC_CHUNKED, chunk.data()), "choosing blocks");
    check(nc_def_var_deflate(id_, variable, NC_SHUFFLE, 1, deflateLevel), "choosing compression");
    check(nc_def_var_fletcher32(id_, variable, NC_FLETCHER32), "choosing checksums");
    check(nc_def_var_fill(id_, variable, NC_NOFILL, nullptr), "choosing not to fill in");
}

void File::setFill(int variable, float value) {
    check(nc_put_att_float(id_, variable, "_FillValue", NC_FLOAT, 1, &value), "writing attribute '_FillValue'");
}

void File::setText(int group, int variable, const std::string& name, const std::string& value) {
    check(nc_put_att_text(groupId(group), variable, name.c_str(), value.size(), value.c_str()),
          "writing attribute '" + name + "'");
}

void File::setInt(int group, int variable, const std::string& name, int value) {
    check(nc_put_att_int(groupId(group), variable, name.c_str(), NC_INT, 1, &value),
          "writing attribute '" + name + "'");
}

void File::endDefinitions() {
    check(nc_enddef(id_), "writing the header");
}

void File::write(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                 std::span<const float> values) {
    check(nc_put_vara_float(id_, variable, start.data(), count.data(), values.data()), "writing values");
}

void File::write(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                 std::span<const std::uint8_t> values) {
    check(nc_put_vara_uchar(id_, variable, start.data(), count.data(), values.data()), "writing values");
}

void File::writeScalar(int variable, double value) {
    check(nc_put_var_double(id_, variable, &value), "writing a value");
}

void File::writeScalar(int variable, std::int64_t value) {
    const long long wide = value;
    check(nc_put_var_longlong(id_, variable, &wide), "writing a value");
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

std::optional<VariableInfo> File::variable(const std::string& name) const {
    VariableInfo info;
    const int found = nc_inq_varid(id_, name.c_str(), &info.id);
    if (found == NC_ENOTVAR)
        return std::nullopt;
    check(found, "finding variable '" + name + "'");
    const std::string what = "describing variable '" + name + "'";
    nc_type type = NC_NAT;
    int dimensionCount = 0;
    check(nc_inq_var(id_, info.id, nullptr, &type, &dimensionCount, nullptr, nullptr), what);
    info.type = fromNetCdf(type);
    // A variable may have any number of dimensions up to the library's own limit, so ask into room for all of them.
    std::vector<int> ids(NC_MAX_VAR_DIMS);
    check(nc_inq_vardimid(id_, info.id, ids.data()), what);
    for (int i = 0; i < dimensionCount; ++i) {
        Dimension dimension{.id = ids[static_cast<std::size_t>(i)]};
        check(nc_inq_dimlen(id_, dimension.id, &dimension.length), what);
        info.dimensions.push_back(dimension);
    }
    if (dimensionCount > 0) {
        int storage = NC_CONTIGUOUS;
        std::vector<std::size_t> chunk(NC_MAX_VAR_DIMS);
        check(nc_inq_var_chunking(id_, info.id, &storage, chunk.data()), what);
        if (storage == NC_CHUNKED)
            info.chunk.assign(chunk.begin(), chunk.begin() + dimensionCount);
    }
    return info;
}

std::optional<std::string> File::text(int group, const std::string& name, std::size_t maximumLength) const {
    nc_type type = NC_NAT;
    std::size_t length = 0;
    const int found = nc_inq_att(groupId(group), NC_GLOBAL, name.c_str(), &type, &length);
    if (found == NC_ENOTATT)
        return std::nullopt;
    check(found, "finding attribute '" + name + "'");
    if (type != NC_CHAR)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is not a text.");
    if (length > maximumLength)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is " + std::to_string(length) +
                          " characters long, more than the " + std::to_string(maximumLength) + " that are allowed.");
    std::string value(length, '\0');
    check(nc_get_att_text(groupId(group), NC_GLOBAL, name.c_str(), value.data()), "reading attribute '" + name + "'");
    return value;
}

std::optional<int> File::integer(int group, const std::string& name) const {
    nc_type type = NC_NAT;
    std::size_t length = 0;
    const int found = nc_inq_att(groupId(group), NC_GLOBAL, name.c_str(), &type, &length);
    if (found == NC_ENOTATT)
        return std::nullopt;
    check(found, "finding attribute '" + name + "'");
    if (type != NC_INT || length != 1)
        throw IOException("File '" + name_ + "' cannot be read: attribute '" + name + "' is not one whole number.");
    int value = 0;
    check(nc_get_att_int(groupId(group), NC_GLOBAL, name.c_str(), &value), "reading attribute '" + name + "'");
    return value;
}

void File::read(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                std::span<float> values) const {
    check(nc_get_vara_float(id_, variable, start.data(), count.data(), values.data()), "reading the points");
}

void File::read(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
                std::span<std::uint8_t> values) const {
    check(nc_get_vara_uchar(id_, variable, start.data(), count.data(), values.data()), "reading the points");
}

std::optional<VariableInfo> File::scalar(const std::string& name, Type type) const {
    auto info = variable(name);
    if (info && (info->type != type || !info->dimensions.empty()))
        throw IOException("File '" + name_ + "' cannot be read: variable '" + name +
                          "' is not a single value of the right type.");
    return info;
}

std::optional<double> File::scalarDouble(const std::string& name) const {
    const auto info = scalar(name, Type::Double);
    if (!info)
        return std::nullopt;
    double value = 0.0;
    check(nc_get_var_double(id_, info->id, &value), "reading variable '" + name + "'");
    return value;
}

std::optional<std::int64_t> File::scalarInt64(const std::string& name) const {
    const auto info = scalar(name, Type::Int64);
    if (!info)
        return std::nullopt;
    long long value = 0;
    check(nc_get_var_longlong(id_, info->id, &value), "reading variable '" + name + "'");
    return value;
}

} // namespace Vorta::NetCdf
