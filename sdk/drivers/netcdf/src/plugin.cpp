#include "replaydriver.h"

#include <boost/config.hpp>

#include <cstdint>

extern "C" BOOST_SYMBOL_EXPORT Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version);

// The library takes ownership, as the interface states.
Vorta::Driver::Driver* vortaCreateDriver(std::uint32_t version) {
    if (version != Vorta::Driver::interfaceVersion)
        return nullptr;
    return new Vorta::Replay::ReplayDriver;
}
