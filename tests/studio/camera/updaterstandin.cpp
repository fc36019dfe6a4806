// Stands in for the firmware updater under its name: notes each run, with the number of its arguments, in the file that
// STANDIN_LOG names, then ends with the exit code of STANDIN_EXIT, or crashes when that is "crash".

#include <cstdlib>
#include <fstream>
#include <string>

int main(int argc, char** /*argv*/) {
    const auto variable = [](const char* name) -> std::string {
        const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): there is one thread
        return value ? value : "";
    };
    std::ofstream(variable("STANDIN_LOG"), std::ios::app) << "run with " << argc - 1 << " arguments\n";
    if (variable("STANDIN_EXIT") == "crash")
        std::abort();
    return std::stoi(variable("STANDIN_EXIT"));
}
