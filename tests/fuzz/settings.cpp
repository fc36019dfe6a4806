#include "fuzz/inputfile.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/settings.h"

#include <cstdlib>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Vorta::Fuzz::InputFile file("input.yml");
    try {
        const std::string path = file.hold(data, size).string();
        const Vorta::Settings settings(path);
        settings.save(path);
        if (Vorta::Settings(path) != settings)
            std::abort();                 // what was read must survive being written
    } catch (const Vorta::IOException&) { // the one way in which a file may be refused
    }
    return 0;
}
