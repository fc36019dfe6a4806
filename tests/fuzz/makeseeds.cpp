// make_seeds FOLDER: writes small files of every kind into FOLDER/vdf and FOLDER/settings.

#include "sdk/api/completeframe.h"

#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

using namespace Vorta;

void makeSeeds(const std::filesystem::path& folder) {
    for (const char* kind : {"vdf", "settings"})
        std::filesystem::create_directories(folder / kind);
    const auto vdf = [&](const char* name) { return (folder / "vdf" / name).string(); };
    Testing::smallFrame().save(vdf("points.vdf"));
    Testing::completeFrame("true", "false").save(vdf("complete.vdf"));

    const auto settings = [&](const char* name) { return (folder / "settings" / name).string(); };
    Settings{}.save(settings("default.yml"));
    Testing::smallFrame().settings().save(settings("changed.yml"));
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 2)
            throw std::runtime_error("usage: make_seeds FOLDER");
        makeSeeds(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_seeds: %s\n", error.what());
        return 1;
    }
}
