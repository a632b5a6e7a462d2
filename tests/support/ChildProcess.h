// A program the test talks to while it runs (the headless tool's `watch` and `mcp`): its
// standard input and output on pipes, its standard error in a file. Every wait has a
// deadline, so a child that hangs fails the test instead of blocking it; one still running
// when the test ends is killed.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vantrel::testing {

class ChildProcess {
public:
    // `environment`: "NAME=value" entries added to the test's own.
    ChildProcess(const std::vector<std::string>& argv, const std::string& stderrFile,
                 const std::vector<std::string>& environment = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return pid_ > 0; }
    // Writes the text to the child's standard input; false when it could not.
    bool write(const std::string& text);
    void closeInput();
    // The next line of standard output without its newline; nothing at the deadline or
    // the end of the output.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout);
    // What is left of standard output once the program has ended.
    std::string rest();
    // The exit code (128 + the signal when killed by one) once the child ends within
    // `timeout`, after `signal` (0: none sent); nothing at the deadline.
    std::optional<int> stop(int signal, std::chrono::milliseconds timeout);
    std::string err() const;

private:
    pid_t pid_ = -1;
    int toChild_ = -1;
    int fromChild_ = -1;
    std::string stderrFile_;
    std::string buffer_;
};

}  // namespace vantrel::testing
