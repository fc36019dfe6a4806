#include "fuzz/inputfile.h"

#include "vorta/api/frame.h"
#include "vorta/common/exceptions.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Vorta::Fuzz::InputFile file("input.vdf");
    try {
        const Vorta::Frame frame(file.hold(data, size).string(), Vorta::ComputeDevice{});
    } catch (const Vorta::IOException&) { // the one way in which a file may be refused
    }
    return 0;
}
