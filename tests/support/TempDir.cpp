#include "tests/support/TempDir.h"

#include <unistd.h>
#include <atomic>
#include <fstream>
#include <random>
#include <stdexcept>

namespace vantrel::testing {

namespace fs = std::filesystem;

TempDir::TempDir() {
    static std::atomic<int> counter{0};
    std::random_device seed;
    fs::path base = fs::temp_directory_path() / ("vantrel-test-" + std::to_string(::getpid()) + "-" +
                                                 std::to_string(counter++) + "-" + std::to_string(seed()));
    fs::create_directories(base);
    path_ = base.string();
}

TempDir::~TempDir() {
    std::error_code ec;
    // Tests may leave folders without permissions behind; give them back first.
    for (auto it = fs::recursive_directory_iterator(path_, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        std::error_code ignored;
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(path_, ec);
}

std::string TempDir::write(std::string_view relative, std::string_view content) const {
    fs::path target = fs::path(path_) / relative;
    fs::create_directories(target.parent_path());
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out) throw std::runtime_error("cannot write " + target.string());
    return target.string();
}

void TempDir::symlink(std::string_view target, std::string_view relative) const {
    fs::path link = fs::path(path_) / relative;
    fs::create_directories(link.parent_path());
    if (::symlink(std::string(target).c_str(), link.c_str()) != 0)
        throw std::runtime_error("cannot link " + link.string());
}

std::string TempDir::copyFixture(std::string_view fixture, std::string_view relative) const {
    fs::path target = fs::path(path_) / relative;
    fs::create_directories(target);
    fs::copy(fixturePath(fixture), target, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    return target.string();
}

std::string fixturePath(std::string_view fixture) {
    return std::string(VANTREL_FIXTURES_DIR) + "/" + std::string(fixture);
}

}  // namespace vantrel::testing
