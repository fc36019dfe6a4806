#include "sdk/api/completeframe.h"
#include "sdk/api/testtools.h"
#include "support/runprogram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>

namespace Vorta {
namespace {

/// The names of dimensions, variables, attributes and groups in what `ncdump -h` prints, without those that are paths
/// of settings or numbers of children.
std::set<std::string> namesIn(const std::string& header) {
    const std::regex dimension(R"(^\s*(\w+) = \d+ ;.*)");
    const std::regex variable(R"(^\s*(?:float|double|ubyte|int64|char|int) (\w+)(?:\(.*\))? ;)");
    const std::regex attribute(R"(^\s*(?:\w+ )?\w*:(\w+) = .*)");
    const std::regex group(R"(^\s*group: (\w+) \{)");
    std::set<std::string> names;
    std::istringstream stream(header);
    bool isSetting = false; // settings have a page of their own
    for (std::string line; std::getline(stream, line);) {
        std::smatch match;
        if (line.find("group: settings {") != std::string::npos)
            isSetting = true;
        if (line.find("} // group settings") != std::string::npos)
            isSetting = false;
        for (const std::regex& expression : {dimension, variable, attribute, group})
            if (!isSetting && std::regex_match(line, match, expression))
                names.insert(match[1]);
    }
    return names;
}

TEST(VdfPage, NamesEverythingThatAFileHolds) {
    const Testing::TemporaryFolder folder;
    Testing::completeFrame().save(folder.file("a.vdf"));
    const Testing::Result header = Testing::runProgram("ncdump", {"-h", folder.file("a.vdf")});
    ASSERT_EQ(header.status, 0) << header.err;
    const std::set<std::string> names = namesIn(header.out);
    for (const char* name : {"row", "exposure", "x", "image", "time", "units", "_FillValue", "vorta_format_version",
                             "bayer_layout", "calibration", "children"})
        EXPECT_EQ(names.count(name), 1U) << name << " was not found in the file";
    const std::string page = Testing::readFile(VORTA_SOURCE_DIR "/docs/vdf-format.md");
    for (const std::string& name : names)
        EXPECT_NE(page.find("`" + name + "`"), std::string::npos) << name << " is not on the page";
}

} // namespace
} // namespace Vorta
