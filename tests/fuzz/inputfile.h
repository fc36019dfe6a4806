#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

namespace Vorta::Fuzz {

/// One file of this process, in a folder of its own, that holds one input after another.
class InputFile {
public:
    explicit InputFile(const char* name)
        : folder_(std::filesystem::temp_directory_path() / ("vorta-fuzz-" + std::to_string(std::random_device{}()))),
          path_(folder_ / name) {
        std::filesystem::create_directory(folder_);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile() {
        std::error_code ignored; // the temporary directory's to clean
        std::filesystem::remove_all(folder_, ignored);
    }

    /// Puts these bytes into the file and returns its path.
    [[nodiscard]] const std::filesystem::path& hold(const std::uint8_t* data, std::size_t size) const {
        std::ofstream stream(path_, std::ios::binary | std::ios::trunc);
        stream.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        if (!stream.flush())
            std::abort(); // a full disk must not pass for a clean run
        return path_;
    }

private:
    std::filesystem::path folder_;
    std::filesystem::path path_;
};

} // namespace Vorta::Fuzz

/// What libFuzzer calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
