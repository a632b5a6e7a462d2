#include "core/util/Subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>

extern char** environ;

namespace vantrel {

namespace {

std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& overrides) {
    std::vector<std::string> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string_view text(*entry);
        std::string_view name = text.substr(0, text.find('='));
        bool replaced =
            std::any_of(overrides.begin(), overrides.end(), [&](const auto& pair) { return pair.first == name; });
        if (!replaced) entries.emplace_back(text);
    }
    for (const auto& [name, value] : overrides) entries.push_back(name + "=" + value);
    return entries;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The pipes of one run; every end still open is closed with it.
struct Pipes {
    int out[2] = {-1, -1};
    int err[2] = {-1, -1};
    int in[2] = {-1, -1};
    ~Pipes() {
        for (int fd : {out[0], out[1], err[0], err[1], in[0], in[1]})
            if (fd >= 0) close(fd);
    }
    static void closeEnd(int& fd) {
        if (fd >= 0) close(fd);
        fd = -1;
    }
};

// Feeds the input and reads both outputs to their ends, whichever is ready, so that no
// pipe fills up and stalls the child.
void exchange(Pipes& pipes, const std::optional<std::string>& input, SubprocessResult& result) {
    pollfd fds[3] = {{pipes.out[0], POLLIN, 0}, {pipes.err[0], POLLIN, 0}, {pipes.in[1], POLLOUT, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    std::size_t written = 0;
    if (input && input->empty()) Pipes::closeEnd(pipes.in[1]);
    fds[2].fd = pipes.in[1];
    char buffer[65536];
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            ssize_t got = read(fds[i].fd, buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                fds[i].fd = -1;
            }
        }
        if (fds[2].fd >= 0 && fds[2].revents != 0) {
            ssize_t put =
                (fds[2].revents & POLLOUT) ? write(fds[2].fd, input->data() + written, input->size() - written) : -1;
            if (put > 0) written += static_cast<std::size_t>(put);
            if ((put < 0 && errno != EINTR && errno != EAGAIN) || written == input->size()) {
                Pipes::closeEnd(pipes.in[1]);  // the end of the input, or a child that stopped reading
                fds[2].fd = -1;
            }
        }
    }
}

}  // namespace

SubprocessResult runSubprocess(const SubprocessRequest& request) {
    assert(!request.argv.empty() && "a program to run");
    Pipes pipes;
    if (pipe2(pipes.out, O_CLOEXEC) != 0 || pipe2(pipes.err, O_CLOEXEC) != 0 ||
        (request.input && pipe2(pipes.in, O_CLOEXEC) != 0))
        throw SubprocessError(errno, std::string("cannot make a pipe: ") + std::strerror(errno));
    if (request.input) fcntl(pipes.in[1], F_SETFL, O_NONBLOCK);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (request.input) posix_spawn_file_actions_adddup2(&actions, pipes.in[0], 0);
    else posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipes.out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, pipes.err[1], 2);
    if (!request.workingDirectory.empty())
        posix_spawn_file_actions_addchdir_np(&actions, request.workingDirectory.c_str());

    std::vector<std::string> argv = request.argv;
    std::vector<std::string> envp = environmentWith(request.environment);
    auto argvPointers = pointersTo(argv);
    auto envPointers = pointersTo(envp);
    pid_t pid = 0;
    // A child that stops reading its input must not end us with SIGPIPE.
    struct sigaction ignore {
    }, previous{};
    ignore.sa_handler = SIG_IGN;
    if (request.input) sigaction(SIGPIPE, &ignore, &previous);
    int spawned = posix_spawnp(&pid, argv[0].c_str(), &actions, nullptr, argvPointers.data(), envPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    Pipes::closeEnd(pipes.out[1]);
    Pipes::closeEnd(pipes.err[1]);
    Pipes::closeEnd(pipes.in[0]);
    SubprocessResult result;
    if (spawned == 0) exchange(pipes, request.input, result);
    if (request.input) sigaction(SIGPIPE, &previous, nullptr);
    if (spawned != 0) throw SubprocessError(spawned, "cannot run " + argv[0] + ": " + std::strerror(spawned));
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace vantrel
