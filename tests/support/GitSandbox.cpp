#include "tests/support/GitSandbox.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "core/util/FileIO.h"
#include "core/util/Text.h"
#include "tests/support/RunCommand.h"

namespace vantrel::testing {

namespace {
// git found once, before a test empties PATH to see what happens without it.
std::string findOnPath(const std::string& program) {
    for (auto dir : splitKeepingEmpty(std::getenv("PATH") ? std::getenv("PATH") : "", ":")) {
        std::string candidate = std::string(dir) + "/" + program;
        if (!dir.empty() && pathExists(candidate)) return candidate;
    }
    return program;
}
}  // namespace

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() { old_ ? ::setenv(name_, old_->c_str(), 1) : ::unsetenv(name_); }

GitSandbox::GitSandbox(const TempDir& dir, const std::string& fixture)
    : dir_(dir),
      home_("HOME", dir / "home"),
      xdgConfig_("XDG_CONFIG_HOME", dir / "home/.config"),
      noSystemConfig_("GIT_CONFIG_NOSYSTEM", "1"),
      ceiling_("GIT_CEILING_DIRECTORIES", dir.path()),
      gitPath_(findOnPath("git")),
      repo_(dir.copyFixture(fixture, "repo")) {
    git({"init", "-q"});
    git({"config", "user.name", "Test"});
    git({"config", "user.email", "test@example.invalid"});
    git({"config", "core.autocrlf", "false"});
    commitAll("initial");
}

std::string GitSandbox::git(const std::vector<std::string>& args) const {
    std::vector<std::string> argv{gitPath_, "-C", repo_};
    argv.insert(argv.end(), args.begin(), args.end());
    auto result = runCommand(argv);
    EXPECT_EQ(result.exitCode, 0) << "git " << args.at(0) << ": " << result.err;
    return result.out;
}

void GitSandbox::commitAll(const std::string& message) const {
    git({"add", "-A"});
    git({"commit", "-q", "-m", message});
}

void GitSandbox::replaceIn(const std::string& relative, const std::string& from, const std::string& to) const {
    std::string text = *readWholeFile(repo_ + "/" + relative);
    ASSERT_NE(text.find(from), std::string::npos) << relative << " lacks " << from;
    dir_.write("repo/" + relative, replaceAll(text, from, to));
}

}  // namespace vantrel::testing
