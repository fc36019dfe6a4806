#include "update.h"

#include "vorta/common/exceptions.h"
#include "vorta/common/requiredfirmware.h"
#include "vorta/virtual/headfirmware.h"
#include "vorta/virtual/headfolder.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <vector>

namespace Vorta::FirmwareUpdater {

namespace {

using Virtual::HeadDescription;

/// What is plugged in.
struct Heads {
    std::vector<HeadDescription> usable;
    std::vector<std::string> refusals; ///< of files that cannot be used
};

Heads readHeads(const Virtual::HeadFolder& folder) {
    Heads heads;
    for (const std::filesystem::path& file : folder.files)
        try {
            heads.usable.push_back(Virtual::loadHead(file));
        } catch (const std::exception& error) {
            heads.refusals.push_back("a head's file cannot be used; correct or remove it: " +
                                     std::string(error.what()));
        }
    Virtual::keepHeadsThatCount(heads.usable);
    return heads;
}

/// As the studio names heads when there is a choice.
std::string label(const HeadDescription& head) {
    return head.identity.modelName + ": " + head.identity.serialNumber;
}

/// Flushed with each line: who waits for the program may be reading along.
void tell(const HeadDescription& head, std::string_view words) {
    std::cout << label(head) << ": " << words << std::endl;
}

void tell(const HeadDescription& head, std::string_view phase, unsigned percent) {
    tell(head, std::string(phase) + ' ' + std::to_string(percent) + " %");
}

Outcome verify(const HeadDescription& head) {
    tell(head, "verifying", 90);
    std::string found;
    try {
        found = Virtual::loadHead(head.file).identity.firmwareVersion;
    } catch (const Exception& error) {
        report(label(head) + ": the firmware cannot be read back: " + error.what());
        return Outcome::NotVerified;
    }
    if (found != requiredFirmware) {
        const std::string& reason = head.faults.update;
        report(label(head) + ": the head still runs '" + found + "' after '" + std::string(requiredFirmware) +
               "' was written into '" + head.file.string() + "'" + (reason.empty() ? "" : " (" + reason + ")") +
               "; unplug the head, plug it in and update it again.");
        return Outcome::NotVerified;
    }
    tell(head, "verifying", 100);
    return Outcome::UpToDate;
}

Outcome update(const HeadDescription& head) {
    const std::string& present = head.identity.firmwareVersion;
    if (present == requiredFirmware) {
        tell(head, std::string(requiredFirmware) + " is up to date");
        return Outcome::UpToDate;
    }
    tell(head, "updating '" + present + "' to '" + std::string(requiredFirmware) + "'");
    tell(head, "erasing", 0);
    try {
        // Erasing and verifying take a tenth each.
        Virtual::writeFirmware(head, requiredFirmware,
                               [&](unsigned percent) { tell(head, "writing", 10 + percent * 8 / 10); });
    } catch (const Exception& error) {
        report(label(head) + ": the firmware was not written: " + error.what());
        return Outcome::NotWritten;
    }
    return verify(head);
}

} // namespace

void report(std::string words) {
    std::ranges::replace(words, '\n', ' ');
    std::cerr << "VortaFirmwareUpdater: " << words << '\n';
}

Outcome updateHeads(const std::optional<std::string>& serialNumber) {
    const Virtual::HeadFolder folder = Virtual::lookIntoHeadFolder();
    if (folder.path.empty() || !folder.failure.empty()) {
        report("no head was found. " + (folder.path.empty() ? std::string(Virtual::headsVariable) +
                                                                  " names no folder of virtual heads; set it to one."
                                                            : folder.failure + " Name one that can be read."));
        return Outcome::NoHead;
    }
    Heads heads = readHeads(folder);
    if (serialNumber)
        std::erase_if(heads.usable,
                      [&](const HeadDescription& head) { return head.identity.serialNumber != *serialNumber; });
    Outcome outcome = Outcome::UpToDate;
    // Another head's broken file is of no interest once the one that is asked for has been found.
    if (!serialNumber || heads.usable.empty())
        for (const std::string& refusal : heads.refusals) {
            report(refusal);
            outcome = Outcome::Unreadable;
        }
    if (heads.usable.empty()) {
        report("no head " + (serialNumber ? "with the serial number '" + *serialNumber + "' " : "") +
               "was found in the folder '" + folder.path.string() + "'; plug it in by putting its file (*.yml) there.");
        return std::max(outcome, Outcome::NoHead);
    }
    for (const HeadDescription& head : heads.usable)
        outcome = std::max(outcome, update(head));
    return outcome;
}

} // namespace Vorta::FirmwareUpdater
