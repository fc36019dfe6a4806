#pragma once

#include <cstddef>
#include <string>

namespace Vorta::Tool {

/// One line on the terminal that says what is going on, wiped out at the end. Silent when nobody watches.
class Progress {
public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Replaces what the line says; `text` is one line.
    void show(const std::string& text);

private:
    bool watched_;
    std::size_t length_ = 0;
};

} // namespace Vorta::Tool
