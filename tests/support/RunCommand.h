// Runs a program with arguments (no shell) and collects its exit code and output.
#pragma once

#include <string>
#include <vector>

namespace vantrel::testing {

struct CommandResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

CommandResult runCommand(const std::vector<std::string>& argv, const std::string& workingDir = {});

}  // namespace vantrel::testing
