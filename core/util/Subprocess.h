// Running a program to its end and collecting what it printed: git for the changes
// report, the headless tool in tests and benchmarks. No shell is involved; both output
// streams are read as they come, so a child that fills one pipe while we wait on the
// other never stalls.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vantrel {

struct SubprocessRequest {
    // argv[0] is the program: searched on PATH unless it holds a '/'. Not empty.
    std::vector<std::string> argv;
    // The child's working folder; empty: the caller's.
    std::string workingDirectory;
    // Entries that replace or add to the caller's environment.
    std::vector<std::pair<std::string, std::string>> environment;
    // Standard input; none: /dev/null.
    std::optional<std::string> input;
};

struct SubprocessResult {
    int exitCode = -1;  // the exit status, or 128 + the signal that ended the child
    std::string out;
    std::string err;
};

// The program could not be started; `error()` is the errno value (ENOENT: not found).
class SubprocessError : public std::runtime_error {
public:
    SubprocessError(int error, const std::string& what) : std::runtime_error(what), error_(error) {}
    int error() const { return error_; }

private:
    int error_;
};

// Runs the program and waits for it. Throws SubprocessError when it cannot be started;
// whatever the program does once started is in the result.
[[nodiscard]] SubprocessResult runSubprocess(const SubprocessRequest& request);

}  // namespace vantrel
