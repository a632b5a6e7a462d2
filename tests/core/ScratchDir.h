// A private temporary folder per test, removed with everything below it afterwards.
// Tests build their fixture trees here and point every cache at it, so nothing ever
// touches the real home folder.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::testing {

class ScratchDir {
public:
    ScratchDir() {
        std::string base = std::filesystem::temp_directory_path().string() + "/vantrel-test-XXXXXX";
        if (!::mkdtemp(base.data())) throw std::runtime_error("mkdtemp failed");
        path_ = base;
    }
    ~ScratchDir() {
        namespace fs = std::filesystem;
        std::error_code ec;
        // Give back any permissions a test took away, each folder before it is listed,
        // or removal would stop there.
        std::vector<fs::path> folders{fs::path(path_)};
        while (!folders.empty()) {
            fs::path folder = folders.back();
            folders.pop_back();
            ::chmod(folder.c_str(), 0755);
            for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
                if (!it->is_symlink(ec) && it->is_directory(ec)) folders.push_back(it->path());
            }
            ec.clear();
        }
        fs::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    std::string at(std::string_view rel) const { return path_ + "/" + std::string(rel); }

    // Writes a file, creating its folders.
    std::string write(std::string_view rel, std::string_view content = "") const {
        std::string full = at(rel);
        std::filesystem::create_directories(std::filesystem::path(full).parent_path());
        std::ofstream(full, std::ios::binary) << content;
        return full;
    }
    std::string mkdir(std::string_view rel) const {
        std::string full = at(rel);
        std::filesystem::create_directories(full);
        return full;
    }
    void symlink(std::string_view target, std::string_view rel) const {
        std::filesystem::create_directories(std::filesystem::path(at(rel)).parent_path());
        if (::symlink(std::string(target).c_str(), at(rel).c_str()) != 0) throw std::runtime_error("symlink failed");
    }

private:
    std::string path_;
};

}  // namespace vantrel::testing
