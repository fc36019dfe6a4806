#include "fuzz/inputfile.h"

#include "vorta/common/exceptions.h"
#include "vorta/virtual/headfile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Vorta::Fuzz::InputFile file("input.yml");
    try {
        static_cast<void>(Vorta::Virtual::loadHead(file.hold(data, size)));
    } catch (const Vorta::IOException&) { // the one way in which a file may be refused
    }
    return 0;
}
