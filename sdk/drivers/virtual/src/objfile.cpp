#include "vorta/virtual/objfile.h"

#include "vorta/common/exceptions.h"
#include "vorta/yaml/words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vorta::Virtual {

namespace {

class ObjReader {
public:
    ObjReader(const std::filesystem::path& file, double scale) : file_(file), scale_(scale) {}

    Mesh read() {
        std::ifstream stream(file_, std::ios::binary);
        if (!stream)
            throw IOException(inQuotes(file_.string()) + " cannot be read.");
        for (std::string text; std::getline(stream, text);) {
            ++line_;
            rest_ = text;
            const std::string_view keyword = word();
            if (keyword == "v")
                readVertex();
            else if (keyword == "f")
                readFace();
        }
        if (mesh_.triangles.empty())
            refuse("there are no faces in this file.");
        return std::move(mesh_);
    }

private:
    [[noreturn]] void refuse(const std::string& words) const { throw IOException(atLine(file_, line_, words)); }

    std::string_view word() {
        constexpr std::string_view blanks = " \t\r";
        const std::size_t begin = std::min(rest_.find_first_not_of(blanks), rest_.size());
        const std::size_t end = std::min(rest_.find_first_of(blanks, begin), rest_.size());
        const std::string_view found = rest_.substr(begin, end - begin);
        rest_.remove_prefix(end);
        return found;
    }

    double coordinate() {
        const std::string_view text = word();
        double value = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
            refuse("a vertex needs three numbers.");
        return value * scale_;
    }

    void readVertex() {
        const double x = coordinate();
        const double y = coordinate();
        const double z = coordinate();
        mesh_.vertices.push_back({x, y, z});
    }

    // "7", "7/1", "7//2" or "7/1/2"; counted from 1, or from the end when negative.
    [[nodiscard]] std::uint32_t index(std::string_view text) const {
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool complete = end == text.data() + text.size() || *end == '/';
        const auto count = static_cast<std::int64_t>(mesh_.vertices.size());
        const std::int64_t position = number < 0 ? count + number : number - 1;
        if (error != std::errc{} || !complete || position < 0 || position >= count)
            refuse(inQuotes(text) + " is not one of the " + std::to_string(count) + " vertices above.");
        return static_cast<std::uint32_t>(position);
    }

    void readFace() {
        std::vector<std::uint32_t> corners;
        for (std::string_view text = word(); !text.empty(); text = word())
            corners.push_back(index(text));
        if (corners.size() < 3)
            refuse("a face needs at least three vertices.");
        for (std::size_t i = 2; i < corners.size(); ++i)
            mesh_.triangles.push_back({corners[0], corners[i - 1], corners[i]});
    }

    const std::filesystem::path& file_;
    double scale_;
    std::size_t line_ = 0;
    std::string_view rest_;
    Mesh mesh_;
};

} // namespace

Mesh loadObj(const std::filesystem::path& file, double scale) {
    return ObjReader(file, scale).read();
}

} // namespace Vorta::Virtual
