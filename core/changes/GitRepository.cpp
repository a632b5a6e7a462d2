#include "core/changes/GitRepository.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "core/util/FileIO.h"
#include "core/util/Subprocess.h"
#include "core/util/Text.h"

namespace vantrel::git {

namespace {

using GitRun = SubprocessResult;
using Environment = std::vector<std::pair<std::string, std::string>>;

GitRun runGit(const std::vector<std::string>& args, const Environment& overrides = {}) {
    SubprocessRequest request;
    request.argv = {"git"};
    request.argv.insert(request.argv.end(), args.begin(), args.end());
    // Messages in the C locale, and no optional index writes: reading the repository must
    // not change it.
    request.environment = overrides;
    request.environment.emplace_back("LC_ALL", "C");
    request.environment.emplace_back("GIT_OPTIONAL_LOCKS", "0");
    try {
        return runSubprocess(request);
    } catch (const SubprocessError& e) {
        if (e.error() == ENOENT) throw GitError("git was not found on PATH; install git to compare with a revision");
        throw GitError(std::string("cannot run git: ") + std::strerror(e.error()));
    }
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
    return requireSuccess("git diff", runGit({"-C", folder, "diff", "--no-ext-diff", "--no-color", "--no-textconv",
                                              "-U0", "--inter-hunk-context=0", "--find-renames", "--no-relative",
                                              "--src-prefix=a/", "--dst-prefix=b/", commit, "--", "."}))
        .out;
}

std::vector<std::string> untrackedFiles(const std::string& folder) {
    GitRun run = requireSuccess("git ls-files", runGit({"-C", folder, "ls-files", "--others", "--exclude-standard",
                                                        "--full-name", "-z", "--", "."}));
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
