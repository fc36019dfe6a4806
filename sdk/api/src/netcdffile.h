#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A thin layer over netCDF's C interface: handles that close themselves and failures as IOException. Every name is
/// that of the file's own model.
namespace Vorta::NetCdf {

enum class Type : std::uint8_t { Text, UnsignedByte, Int, Int64, Float, Double, Other };

/// A dimension's place in the file that made it.
struct Dimension {
    int id = 0;
    std::size_t length = 0;
};

/// What a file says of one of its variables.
struct VariableInfo {
    int id = 0;
    Type type = Type::Other;
    std::vector<Dimension> dimensions;
    std::vector<std::size_t> chunk; ///< lengths of a stored block, one for each dimension; empty when not in blocks
};

/// An open netCDF-4 file. The C library keeps global tables, so one file is open at a time in the process and others
/// wait for it: open late, close early.
///
/// Groups are addressed by their whole name, "/" being the root. Failures throw IOException which names the file and
/// what was attempted.
class File {
public:
    /// Makes a new file, replacing any earlier one; `name` is what failures call it.
    [[nodiscard]] static File create(const std::filesystem::path& path, std::string name);
    /// Opens for reading.
    [[nodiscard]] static File open(const std::filesystem::path& path);

    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Completes a file that was written.
    void close();

    // Writing.

    int makeGroup(int parent, const std::string& name);
    Dimension makeDimension(const std::string& name, std::size_t length);
    int makeVariable(const std::string& name, Type type, std::span<const Dimension> dimensions);
    /// Stores the variable in blocks of the given lengths, shuffled, deflated and with checksums, and does not fill it
    /// in before it is written.
    void compress(int variable, std::span<const std::size_t> chunk);
    void setFill(int variable, float value);
    void setText(int group, int variable, const std::string& name, const std::string& value);
    void setInt(int group, int variable, const std::string& name, int value);
    void endDefinitions();
    void write(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
               std::span<const float> values);
    void write(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
               std::span<const std::uint8_t> values);
    void writeScalar(int variable, double value);
    void writeScalar(int variable, std::int64_t value);

    // Reading. What is not there is empty; what is there with another type or size is a failure.

    [[nodiscard]] bool isNetCdf4() const;
    [[nodiscard]] std::optional<int> group(const std::string& wholeName) const;
    [[nodiscard]] std::optional<VariableInfo> variable(const std::string& name) const;
    [[nodiscard]] std::optional<std::string> text(int group, const std::string& name, std::size_t maximumLength) const;
    [[nodiscard]] std::optional<int> integer(int group, const std::string& name) const;
    void read(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
              std::span<float> values) const;
    void read(int variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
              std::span<std::uint8_t> values) const;
    [[nodiscard]] std::optional<double> scalarDouble(const std::string& name) const;
    [[nodiscard]] std::optional<std::int64_t> scalarInt64(const std::string& name) const;

    static constexpr int root = -1;   ///< the group "/"
    static constexpr int global = -1; ///< in place of a variable: the group's own attributes

private:
    enum class Mode : std::uint8_t { Read, Write };
    File(Mode mode, const std::filesystem::path& path, std::string name);
    void check(int status, const std::string& what) const;
    [[nodiscard]] int groupId(int group) const noexcept { return group == root ? id_ : group; }
    [[nodiscard]] std::optional<VariableInfo> scalar(const std::string& name, Type type) const;

    std::unique_lock<std::mutex> turn_;
    Mode mode_;
    std::string name_;
    std::filesystem::path folder_;
    int id_ = 0;
    bool isOpen_ = false;
};

} // namespace Vorta::NetCdf
