// The few questions `changes` asks git, each one run of the git program found on PATH
// (no shell), in the scanned folder. Output is read in a fixed, machine-readable form
// whatever the user's git configuration says. Every failure is a GitError whose message
// is one line naming the cause.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vantrel::git {

class GitError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct WorkTree {
    std::string topLevel;  // the repository's top folder
    std::string prefix;    // the folder's path from the top: empty, or ending in "/"
};

// The work tree that holds `folder`; GitError when there is none or git is missing.
WorkTree locateWorkTree(const std::string& folder);

// The full commit id that `revision` names; GitError when it names no commit.
std::string resolveCommit(const std::string& folder, const std::string& revision);

// The id of the tree at `commit` below `prefix` (the whole tree for an empty prefix);
// nothing when that folder did not exist then.
std::optional<std::string> subtreeId(const std::string& folder, const std::string& commit, const std::string& prefix);

// The patch from `commit` to the working tree below `folder`: no context lines, renames
// found, paths from the repository's top with "a/" and "b/" prefixes.
std::string diffAgainst(const std::string& folder, const std::string& commit);

// Files below `folder` that git neither tracks nor ignores, top-relative, sorted.
std::vector<std::string> untrackedFiles(const std::string& folder);

// Makes `workTree` hold exactly the files of `treeId`, through a private index file that
// remembers what was written last time, so only what differs is written again. The
// repository's own index and working tree are not touched.
void checkoutTree(const std::string& folder, const std::string& treeId, const std::string& indexFile,
                  const std::string& workTree);

}  // namespace vantrel::git
