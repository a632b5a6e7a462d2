// A fresh folder below the system's temporary folder, removed with everything in it
// when the test ends. Tests write projects, caches and settings only there.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vantrel::testing {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string at(std::string_view relative) const { return path_ + "/" + std::string(relative); }
    std::string operator/(std::string_view relative) const { return at(relative); }

    // Writes a file below the folder, making its parent folders; gives its path.
    std::string write(std::string_view relative, std::string_view content = "") const;
    // Makes a symbolic link at `relative` pointing to `target` (taken as written).
    void symlink(std::string_view target, std::string_view relative) const;
    // Copies a checked-in fixture folder (below tests/fixtures) to `relative`.
    std::string copyFixture(std::string_view fixture, std::string_view relative = "project") const;

private:
    std::string path_;
};

std::string fixturePath(std::string_view fixture);

}  // namespace vantrel::testing
