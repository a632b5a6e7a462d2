#include "core/util/FileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace vantrel {

bool readWholeFileInto(const std::string& path, std::string& data, std::string* error) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (error) *error = std::strerror(errno);
        return false;
    }
    // Read straight into the result. A regular file is asked for one byte more than its
    // size: getting exactly its size back means the end was reached, which spares the
    // read that would only report the end (one of the scan's most frequent calls).
    struct stat st {};
    std::size_t expected = 0;
    bool sized = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0;
    if (sized) expected = static_cast<std::size_t>(st.st_size);
    std::size_t used = 0;
    while (true) {
        std::size_t want = used < expected ? expected + 1 - used : 65536;
        if (data.size() < used + want) data.resize(used + want);
        ssize_t n = ::read(fd, data.data() + used, want);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (error) *error = std::strerror(errno);
            ::close(fd);
            return false;
        }
        used += static_cast<std::size_t>(n);
        if (n == 0 || (sized && used == expected)) break;
    }
    ::close(fd);
    data.resize(used);
    return true;
}

std::optional<std::string> readWholeFile(const std::string& path, std::string* error) {
    std::string data;
    if (!readWholeFileInto(path, data, error)) return std::nullopt;
    return data;
}

namespace {

bool writeAll(int fd, std::string_view bytes) {
    const char* data = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        ssize_t n = ::write(fd, data, left);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        left -= static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

bool writeFileAtomically(const std::string& path, std::string_view bytes) {
    static std::atomic<unsigned long> counter{0};
    std::string temp = path + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1));
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    if (!writeAll(fd, bytes)) {
        ::close(fd);
        ::unlink(temp.c_str());
        return false;
    }
    if (::close(fd) != 0 || ::rename(temp.c_str(), path.c_str()) != 0) {
        ::unlink(temp.c_str());
        return false;
    }
    return true;
}

bool pathExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool createDirectories(const std::string& path) {
    // The common case on hot paths: the folder is there already, one stat.
    if (isDirectory(path)) return true;
    std::error_code ec;
    std::filesystem::create_directories(path, ec);
    return isDirectory(path);
}

void removeTree(const std::string& path) {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
}

void removeTreeAtomically(const std::string& path) {
    static std::atomic<unsigned long> counter{0};
    std::filesystem::path target(path);
    while (target.has_relative_path() && target.filename().empty()) target = target.parent_path();
    std::string prefix = target.filename().string() + ".trash-";
    std::filesystem::path aside =
        target.parent_path() / (prefix + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1)));
    if (::rename(target.c_str(), aside.c_str()) != 0 && errno != ENOENT) removeTree(target.string());
    std::error_code ec;
    for (auto it = std::filesystem::directory_iterator(target.parent_path(), ec);
         !ec && it != std::filesystem::directory_iterator(); it.increment(ec)) {
        if (it->path().filename().string().starts_with(prefix)) removeTree(it->path().string());
    }
}

}  // namespace vantrel
