#include "vorta/virtual/headfolder.h"

#include "vorta/yaml/words.h"

#include <algorithm>
#include <boost/process/environment.hpp>
#include <system_error>
#include <tuple>

namespace Vorta::Virtual {

HeadFolder lookIntoHeadFolder() {
    HeadFolder folder;
    // The system's environment: on Windows the C library has a copy of its own, of the time when it was loaded.
    const auto environment = boost::this_process::environment();
    // Not by its find(), which reads beyond variables that are shorter than the name.
    const auto variable = std::find_if(environment.begin(), environment.end(),
                                       [](const auto& entry) { return entry.get_name() == headsVariable; });
    if (variable == environment.end() || variable->to_string().empty())
        return folder;
    folder.path = variable->to_string();
    std::error_code failure;
    for (std::filesystem::directory_iterator it(folder.path, failure), end; !failure && it != end;
         it.increment(failure))
        if (it->path().extension() == ".yml")
            folder.files.push_back(it->path());
    if (failure)
        folder.failure = "The folder " + inQuotes(folder.path.string()) + " of virtual heads (" + headsVariable +
                         ") cannot be read: " + failure.message() + ".";
    std::ranges::sort(folder.files);
    return folder;
}

void keepHeadsThatCount(std::vector<HeadDescription>& heads) {
    const auto plug = [](const HeadDescription& head) { return std::tie(head.identity.serialNumber, head.driver); };
    std::ranges::stable_sort(heads, {}, plug);
    const auto same = [&](const HeadDescription& a, const HeadDescription& b) { return plug(a) == plug(b); };
    heads.erase(std::unique(heads.begin(), heads.end(), same), heads.end());
}

} // namespace Vorta::Virtual
