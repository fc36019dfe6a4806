#include "vorta/virtual/headfolder.h"

#include "vorta/yaml/words.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>
#include <tuple>

namespace Vorta::Virtual {

HeadFolder lookIntoHeadFolder() {
    HeadFolder folder;
    const char* value = std::getenv(headsVariable); // NOLINT(concurrency-mt-unsafe): nobody sets it meanwhile
    if (!value || *value == '\0')
        return folder;
    folder.path = value;
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
