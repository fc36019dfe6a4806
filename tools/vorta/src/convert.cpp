#include "commands.h"
#include "outputs.h"
#include "progress.h"

#include "vorta/api/frame.h"

#include <memory>

namespace Vorta::Tool {

namespace {

struct Arguments {
    std::string input;
    std::vector<std::string> outputs;
    bool unordered = false;
};

Frame load(const std::string& path) {
    Progress progress;
    progress.show("Reading " + path);
    return {path, ComputeDevice{}};
}

} // namespace

void addConvertCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("convert", "Writes the measurement in a data file to other files.");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("INPUT", arguments->input, "Data file (.vdf).")->required();
    command
        ->add_option("OUTPUT", arguments->outputs,
                     "Files to write; the ending says what: .vdf .xyz .ply .pcd, or .png for the colour image.")
        ->required();
    command->add_flag("--unordered", arguments->unordered, "Leave invalid points out of .ply files.");
    command->callback([arguments] {
        const std::vector<Output> outputs = parseOutputs(arguments->outputs);
        writeAll(outputs, load(arguments->input), arguments->unordered);
    });
}

} // namespace Vorta::Tool
