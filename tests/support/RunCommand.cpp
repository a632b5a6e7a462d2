#include "tests/support/RunCommand.h"

#include "core/util/Subprocess.h"

namespace vantrel::testing {

CommandResult runCommand(const std::vector<std::string>& argv, const std::string& workingDir) {
    SubprocessRequest request;
    request.argv = argv;
    request.workingDirectory = workingDir;
    try {
        SubprocessResult run = runSubprocess(request);
        return CommandResult{run.exitCode, std::move(run.out), std::move(run.err)};
    } catch (const SubprocessError& e) {
        // As a shell reports a program it cannot start.
        return CommandResult{127, {}, e.what()};
    }
}

}  // namespace vantrel::testing
