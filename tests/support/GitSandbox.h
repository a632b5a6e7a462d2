// A git repository in a temporary folder, made from a checked-in fixture, with git run
// under a temporary HOME and without system configuration, so the user's settings are
// never read. For tests of what reads git: the working changes and the commands over them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"

namespace vantrel::testing {

// Sets an environment variable for one scope, then puts the old value back.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

class GitSandbox {
public:
    // Copies `fixture` to <dir>/repo and commits it as "initial".
    GitSandbox(const TempDir& dir, const std::string& fixture);

    const std::string& repo() const { return repo_; }
    // Runs git in the repository; a failing git fails the test. Gives its output.
    std::string git(const std::vector<std::string>& args) const;
    void commitAll(const std::string& message) const;
    // Replaces `from` (which must occur) by `to` in a file of the repository.
    void replaceIn(const std::string& relative, const std::string& from, const std::string& to) const;

private:
    const TempDir& dir_;
    ScopedEnv home_;
    ScopedEnv xdgConfig_;
    ScopedEnv noSystemConfig_;
    ScopedEnv ceiling_;  // no repository above the test folder
    std::string gitPath_;
    std::string repo_;
};

}  // namespace vantrel::testing
