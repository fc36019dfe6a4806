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

/// A variable's place in its file.
struct Variable {
    int group = 0;
    int id = 0;
};

/// What a file says of one of its variables.
struct VariableInfo {
    Variable variable{};
    Type type = Type::Other;
    std::vector<Dimension> dimensions{};
    std::vector<std::size_t> chunk{}; ///< lengths of a stored block, one for each dimension; empty when not in blocks
};

/// Keeps HDF5 from printing the failures that it returns, which it decides for each thread.
void keepHdf5Quiet();

/// An open netCDF-4 file. The C library keeps global tables, so one file is open at a time in the process and others
/// wait for it: open late, close early.
///
/// Groups are found by their whole name, "/" being the root. Failures throw IOException which names the file and what
/// was attempted.
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
    Dimension makeDimension(int group, const std::string& name, std::size_t length);
    Variable makeVariable(int group, const std::string& name, Type type, std::span<const Dimension> dimensions);
    /// Stores the variable in blocks of the given lengths, shuffled and deflated, and does not fill it in before it is
    /// written.
    void compress(Variable variable, std::span<const std::size_t> chunk);
    void setFill(Variable variable, float value);
    void setText(int group, const std::string& name, const std::string& value);
    void setText(Variable variable, const std::string& name, const std::string& value);
    void setInt(int group, const std::string& name, int value);
    void setInt(Variable variable, const std::string& name, int value);
    void endDefinitions();
    void write(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
               std::span<const float> values);
    void write(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
               std::span<const std::uint8_t> values);
    void writeScalar(Variable variable, double value);
    void writeScalar(Variable variable, std::int64_t value);

    // Reading. What is not there is empty; what is there with another type or size is a failure.

    [[nodiscard]] bool isNetCdf4() const;
    [[nodiscard]] std::optional<int> group(const std::string& wholeName) const;
    [[nodiscard]] std::optional<VariableInfo> variable(int group, const std::string& name) const;
    [[nodiscard]] std::optional<std::string> text(int group, const std::string& name, std::size_t maximumLength) const;
    [[nodiscard]] std::optional<std::string> text(Variable variable, const std::string& name,
                                                  std::size_t maximumLength) const;
    [[nodiscard]] std::optional<int> integer(int group, const std::string& name) const;
    [[nodiscard]] std::optional<int> integer(Variable variable, const std::string& name) const;
    void read(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
              std::span<float> values) const;
    void read(Variable variable, std::span<const std::size_t> start, std::span<const std::size_t> count,
              std::span<std::uint8_t> values) const;
    [[nodiscard]] std::optional<double> scalarDouble(int group, const std::string& name) const;
    [[nodiscard]] std::optional<std::int64_t> scalarInt64(int group, const std::string& name) const;

    // For `ChunkedVariable`.

    /// The same open file as HDF5 knows it.
    [[nodiscard]] std::int64_t hdf5Id() const;
    [[nodiscard]] bool isWritten() const noexcept { return mode_ == Mode::Write; }
    /// Length of a file that is read, when it was opened.
    [[nodiscard]] std::size_t bytes() const noexcept { return bytes_; }
    /// Throws the failure of what was attempted, with HDF5's reason or the given one.
    [[noreturn]] void fail(const std::string& what) const;
    [[noreturn]] void fail(const std::string& what, const std::string& reason) const;

    static constexpr int root = -1; ///< the group "/"

private:
    enum class Mode : std::uint8_t { Read, Write };
    File(Mode mode, const std::filesystem::path& path, std::string name);
    void check(int status, const std::string& what) const;
    [[nodiscard]] int groupId(int group) const noexcept { return group == root ? id_ : group; }
    [[nodiscard]] std::optional<VariableInfo> scalar(int group, const std::string& name, Type type) const;

    std::unique_lock<std::mutex> turn_;
    Mode mode_;
    std::string name_;
    std::filesystem::path path_; ///< whole
    std::size_t bytes_ = 0;
    int id_ = 0;
    bool isOpen_ = false;
    bool isComplete_ = false; ///< of a file that is written: closed with all that it should hold
};

} // namespace Vorta::NetCdf
