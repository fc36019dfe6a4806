#include "vorta/virtual/virtualdriver.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"
#include "vorta/virtual/headfolder.h"
#include "vorta/virtual/virtualhead.h"
#include "vorta/yaml/words.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace Vorta::Virtual {

namespace {

constexpr const char* source = "VortaCamera/VirtualDriver";

} // namespace

VirtualDriver::VirtualDriver(std::string name, unsigned threads) : name_(std::move(name)), threads_(threads) {}

VirtualDriver::~VirtualDriver() = default;

void VirtualDriver::warnOnce(const std::string& message) {
    if (message != lastWarning_ && !message.empty())
        Log::warning(source, __LINE__, "%s", message);
    lastWarning_ = message;
}

std::vector<std::filesystem::path> VirtualDriver::files() {
    HeadFolder folder = lookIntoHeadFolder();
    if (!folder.path.empty())
        warnOnce(folder.failure);
    return std::move(folder.files);
}

const std::optional<HeadDescription>& VirtualDriver::read(const std::filesystem::path& file) {
    std::error_code failure; // a file that vanished this very moment is read below and refused there
    const auto time = std::filesystem::last_write_time(file, failure);
    const auto size = std::filesystem::file_size(file, failure);
    const auto found = known_.find(file);
    if (found != known_.end() && found->second.time == time && found->second.size == size)
        return found->second.description;
    Known& known = known_[file];
    known = {.time = time, .size = size, .description = std::nullopt};
    try {
        known.description = loadHead(file);
    } catch (const std::exception& error) {
        Log::warning(source, __LINE__, "A virtual head is left out: %s", error.what());
    }
    return known.description;
}

std::vector<HeadDescription> VirtualDriver::plugged() {
    std::vector<HeadDescription> heads;
    const std::vector<std::filesystem::path> present = files();
    std::erase_if(known_, [&](const auto& entry) { return !std::ranges::binary_search(present, entry.first); });
    for (const std::filesystem::path& file : present) {
        const std::optional<HeadDescription>& description = read(file);
        if (description && description->driver == name_)
            heads.push_back(*description);
    }
    keepHeadsThatCount(heads);
    return heads;
}

std::vector<Vorta::Driver::HeadIdentity> VirtualDriver::heads() {
    const std::lock_guard lock(mutex_);
    std::vector<Vorta::Driver::HeadIdentity> identities;
    for (const HeadDescription& head : plugged())
        identities.push_back(head.identity);
    return identities;
}

std::unique_ptr<Vorta::Driver::Head> VirtualDriver::open(const std::string& serialNumber) {
    const std::lock_guard lock(mutex_);
    const std::vector<HeadDescription> heads = plugged();
    const auto head = std::ranges::find(heads, serialNumber, [](const auto& h) { return h.identity.serialNumber; });
    if (head == heads.end())
        throw RuntimeException("No head with the serial number " + inQuotes(serialNumber) + " is plugged in.");
    if (const auto earlier = open_[serialNumber].lock(); earlier && earlier->isIn())
        throw RuntimeException("The head " + inQuotes(serialNumber) + " is already open; close it first.");
    if (!head->faults.connect.empty())
        throw RuntimeException(head->faults.connect);
    const auto plug = std::make_shared<const Plug>(*head);
    try {
        auto opened = std::make_unique<VirtualHead>(*head, plug, threads_);
        open_[serialNumber] = plug;
        return opened;
    } catch (const IOException& error) {
        throw RuntimeException("The head " + inQuotes(serialNumber) + " does not answer: " + error.what());
    }
}

} // namespace Vorta::Virtual
