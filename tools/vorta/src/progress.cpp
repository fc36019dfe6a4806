#include "progress.h"

#include "terminal.h"

#include <algorithm>
#include <iostream>

namespace Vorta::Tool {

Progress::Progress() : watched_(isErrorStreamTerminal()) {}

Progress::~Progress() {
    show({});
}

void Progress::show(const std::string& text) {
    if (!watched_)
        return;
    const std::size_t rest = length_ - std::min(length_, text.size());
    std::cerr << '\r' << text << std::string(rest, ' ') << std::string(rest, '\b') << std::flush;
    if (text.empty())
        std::cerr << '\r' << std::flush;
    length_ = text.size();
}

} // namespace Vorta::Tool
