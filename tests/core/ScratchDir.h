// A private temporary folder per test, removed afterwards. Fixture trees and every
// cache of a test live here, so nothing touches the real home folder.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrel::testing {

class ScratchDir {
public:
    ScratchDir() {
        std::string base = std::filesystem::temp_directory_path().string() + "/vantrel-test-XXXXXX";
        if (!::mkdtemp(base.data())) throw std::runtime_error("mkdtemp failed");
        path_ = base;
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    std::string at(std::string_view rel) const { return path_ + "/" + std::string(rel); }

    // Writes a file, creating its folders.
    std::string write(std::string_view rel, std::string_view content = "") const {
        std::filesystem::create_directories(std::filesystem::path(at(rel)).parent_path());
        std::ofstream(at(rel), std::ios::binary) << content;
        return at(rel);
    }
    void symlink(std::string_view target, std::string_view rel) const {
        std::filesystem::create_directories(std::filesystem::path(at(rel)).parent_path());
        if (::symlink(std::string(target).c_str(), at(rel).c_str()) != 0) throw std::runtime_error("symlink failed");
    }

private:
    std::string path_;
};

}  // namespace vantrel::testing
