#include "core/changes/GitRepository.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "core/util/FileIO.h"
#include "core/util/Text.h"

extern char** environ;

namespace vantrel::git {

namespace {

struct GitRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// The process's environment with `overrides` replacing or adding entries. Messages in
// the C locale, and no optional index writes: reading the repository must not change it.
std::vector<std::string> environmentWith(const Environment& overrides) {
    Environment all = overrides;
    all.emplace_back("LC_ALL", "C");
    all.emplace_back("GIT_OPTIONAL_LOCKS", "0");
    std::vector<std::string> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string_view text(*entry);
        std::string_view name = text.substr(0, text.find('='));
        bool replaced = std::any_of(all.begin(), all.end(), [&](const auto& pair) { return pair.first == name; });
        if (!replaced) entries.emplace_back(text);
    }
    for (const auto& [name, value] : all) entries.push_back(name + "=" + value);
    return entries;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Reads both pipes to their end, whichever has data, so that neither can fill up and
// stall the child.
void drain(int outFd, int errFd, GitRun& run) {
    pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
    std::string* sinks[2] = {&run.out, &run.err};
    int open = 2;
    char buffer[65536];
    while (open > 0) {
        if (poll(fds, 2, -1) < 0) {
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
                --open;
            }
        }
    }
}

GitRun runGit(const std::vector<std::string>& args, const Environment& overrides = {}) {
    int outPipe[2], errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0) throw GitError(std::string("cannot run git: ") + std::strerror(errno));
    if (pipe2(errPipe, O_CLOEXEC) != 0) {
        close(outPipe[0]);
        close(outPipe[1]);
        throw GitError(std::string("cannot run git: ") + std::strerror(errno));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);

    std::vector<std::string> argv{"git"};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<std::string> envp = environmentWith(overrides);
    auto argvPointers = pointersTo(argv);
    auto envPointers = pointersTo(envp);
    pid_t pid = 0;
    int spawned = posix_spawnp(&pid, "git", &actions, nullptr, argvPointers.data(), envPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);
    GitRun run;
    if (spawned == 0) drain(outPipe[0], errPipe[0], run);
    close(outPipe[0]);
    close(errPipe[0]);
    if (spawned == ENOENT) throw GitError("git was not found on PATH; install git to compare with a revision");
    if (spawned != 0) throw GitError(std::string("cannot run git: ") + std::strerror(spawned));
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

// git's own reason in one line, without its "fatal: " label.
std::string reasonOf(const GitRun& run) {
    std::string_view text = trimWhitespace(run.err);
    text = text.substr(0, text.find('\n'));
    for (std::string_view label : {"fatal: ", "error: "})
        if (text.starts_with(label)) text.remove_prefix(label.size());
    if (text.empty()) return "git ended with exit code " + std::to_string(run.exitCode);
    return std::string(trimWhitespace(text));
}

GitRun requireSuccess(const std::string& what, GitRun run) {
    if (run.exitCode != 0) throw GitError(what + " failed: " + reasonOf(run));
    return run;
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

WorkTree locateWorkTree(const std::string& folder) {
    GitRun run = runGit({"-C", folder, "rev-parse", "--show-toplevel", "--show-prefix"});
    if (run.exitCode != 0) throw GitError(folder + " is not inside a git work tree: " + reasonOf(run));
    auto lines = splitKeepingEmpty(run.out, "\n");
    WorkTree tree;
    tree.topLevel = std::string(lines.at(0));
    tree.prefix = lines.size() > 1 ? std::string(lines[1]) : "";
    return tree;
}

std::string resolveCommit(const std::string& folder, const std::string& revision) {
    GitRun run = runGit({"-C", folder, "rev-parse", "--verify", "--quiet", "--end-of-options", revision + "^{commit}"});
    std::string commit = firstLine(run.out);
    if (run.exitCode != 0 || revision.empty() || commit.empty())
        throw GitError("'" + revision + "' does not name a commit in " + folder);
    return commit;
}

std::optional<std::string> subtreeId(const std::string& folder, const std::string& commit, const std::string& prefix) {
    std::string treeish = prefix.empty() ? commit + "^{tree}" : commit + ":" + prefix.substr(0, prefix.size() - 1);
    GitRun run = runGit({"-C", folder, "rev-parse", "--verify", "--quiet", "--end-of-options", treeish});
    if (run.exitCode != 0) return std::nullopt;
    return firstLine(run.out);
}

std::string diffAgainst(const std::string& folder, const std::string& commit) {
    // Each option pins what a user's configuration could otherwise change: external diff
    // tools, colour, text conversion, merged hunks, relative paths and path prefixes.
    return requireSuccess("git diff",
                          runGit({"-C", folder, "diff", "--no-ext-diff", "--no-color", "--no-textconv", "-U0",
                                  "--inter-hunk-context=0", "--find-renames", "--no-relative", "--src-prefix=a/",
                                  "--dst-prefix=b/", commit, "--", "."}))
        .out;
}

std::vector<std::string> untrackedFiles(const std::string& folder) {
    GitRun run = requireSuccess(
        "git ls-files", runGit({"-C", folder, "ls-files", "--others", "--exclude-standard", "--full-name", "-z", "--", "."}));
    std::vector<std::string> files;
    for (std::string_view path : splitKeepingEmpty(run.out, std::string_view("\0", 1)))
        if (!path.empty()) files.emplace_back(path);
    std::sort(files.begin(), files.end());
    return files;
}

void checkoutTree(const std::string& folder, const std::string& treeId, const std::string& indexFile,
                  const std::string& workTree) {
    if (!createDirectories(workTree)) throw GitError("cannot create " + workTree);
    // Sparse patterns, a file-system monitor or a split index of the repository's
    // configuration must not reach this private index and folder.
    requireSuccess("git read-tree",
                   runGit({"-C", folder, "-c", "core.sparseCheckout=false", "-c", "core.fsmonitor=false", "-c",
                           "core.splitIndex=false", "read-tree", "--reset", "-u", treeId},
                          {{"GIT_INDEX_FILE", indexFile}, {"GIT_WORK_TREE", workTree}}));
}

}  // namespace vantrel::git
