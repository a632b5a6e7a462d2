#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>
#include <utility>

#include "core/util/FileIO.h"

namespace vantrel::testing {

using namespace std::chrono_literals;

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::string& stderrFile,
                           const std::vector<std::string>& environment)
    : stderrFile_(stderrFile) {
    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0) return;
    if (::pipe2(out, O_CLOEXEC) != 0) {
        ::close(in[0]);
        ::close(in[1]);
        return;
    }
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        int err = ::open(stderrFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (err >= 0) ::dup2(err, STDERR_FILENO);
        for (const auto& entry : environment) ::putenv(const_cast<char*>(entry.c_str()));
        std::vector<char*> args;
        for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    toChild_ = in[1];
    fromChild_ = out[0];
}

ChildProcess::~ChildProcess() {
    closeInput();
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (fromChild_ >= 0) ::close(fromChild_);
}

bool ChildProcess::write(const std::string& text) {
    return toChild_ >= 0 && ::write(toChild_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void ChildProcess::closeInput() {
    if (toChild_ >= 0) ::close(toChild_);
    toChild_ = -1;
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        if (auto end = buffer_.find('\n'); end != std::string::npos) {
            std::string line = buffer_.substr(0, end);
            buffer_.erase(0, end + 1);
            return line;
        }
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left <= 0ms || fromChild_ < 0) return std::nullopt;
        pollfd p{fromChild_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
        char chunk[65536];
        ssize_t got = ::read(fromChild_, chunk, sizeof chunk);
        if (got <= 0) return std::nullopt;
        buffer_.append(chunk, static_cast<std::size_t>(got));
    }
}

std::string ChildProcess::rest() {
    std::string all = std::exchange(buffer_, {});
    while (auto line = readLine(2s)) all += *line + "\n";
    return all + buffer_;
}

std::optional<int> ChildProcess::stop(int signal, std::chrono::milliseconds timeout) {
    if (signal != 0) ::kill(pid_, signal);
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        std::this_thread::sleep_for(20ms);
    }
    return std::nullopt;
}

std::string ChildProcess::err() const { return readWholeFile(stderrFile_).value_or(""); }

}  // namespace vantrel::testing
