// One of some libraries that are no usable driver; the build chooses which.

#include "vorta/driver/driver.h"

#include <boost/config.hpp>

#include <stdexcept>

extern "C" {

#if defined(VORTA_FAULT_VERSION)
// Built for another version of the interface.
BOOST_SYMBOL_EXPORT Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version);
Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t) {
    return nullptr;
}
#elif defined(VORTA_FAULT_THROWS)
BOOST_SYMBOL_EXPORT Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version);
Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t) {
    throw std::runtime_error("the licence key is missing");
}
#elif defined(VORTA_FAULT_SEARCH)
// Is taken for a driver, and then fails in each search.
BOOST_SYMBOL_EXPORT Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version);
Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t) {
    class Failing : public Vorta::Driver::Driver {
        std::vector<Vorta::Driver::HeadIdentity> heads() override { throw std::runtime_error("the bus was reset"); }
        std::unique_ptr<Vorta::Driver::Head> open(const std::string&) override { return nullptr; }
    };
    return new Failing;
}
#else
BOOST_SYMBOL_EXPORT int somethingElse();
int somethingElse() {
    return 1;
}
#endif
}
