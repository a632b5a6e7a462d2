#include "tests/support/RunCommand.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "tests/support/TempDir.h"

namespace vantrel::testing {

namespace {
std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}
}  // namespace

CommandResult runCommand(const std::vector<std::string>& argv, const std::string& workingDir) {
    TempDir capture;
    std::string outPath = capture / "out", errPath = capture / "err";
    pid_t pid = fork();
    if (pid == 0) {
        int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int in = ::open("/dev/null", O_RDONLY);
        dup2(out, 1);
        dup2(err, 2);
        dup2(in, 0);
        if (!workingDir.empty() && chdir(workingDir.c_str()) != 0) _exit(126);
        std::vector<char*> args;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    CommandResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = slurp(outPath);
    result.err = slurp(errPath);
    return result;
}

}  // namespace vantrel::testing
