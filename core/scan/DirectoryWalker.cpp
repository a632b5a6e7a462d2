#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "core/scan/Discovery.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

struct Frame {
    DIR* dir = nullptr;
    std::string path;
};

// Opens `name` below the folder `parentFd` without following a final symbolic link, so
// a link that was swapped in after the listing still is not entered.
DIR* openChildDirectory(int parentFd, const std::string& name) {
    int fd = ::openat(parentFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return nullptr;
    DIR* dir = ::fdopendir(fd);
    if (!dir) ::close(fd);
    return dir;
}

}  // namespace

// The walk keeps its own stack of open folders, one per level, instead of recursing,
// so depth costs no native stack. A folder is entered lazily on the following `next`,
// which gives the caller the chance to skip it.
struct DirectoryWalker::State {
    std::vector<Frame> stack;
    std::string lastName;
    std::string lastPath;
    bool lastIsDirectory = false;
    bool descendPending = false;

    ~State() {
        for (auto& frame : stack) ::closedir(frame.dir);
    }
};

std::unique_ptr<DirectoryWalker> DirectoryWalker::open(const std::string& root) {
    DIR* dir = ::opendir(root.c_str());
    if (!dir) return nullptr;
    auto state = std::make_unique<State>();
    std::string path = root;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    state->stack.push_back(Frame{dir, path});
    return std::unique_ptr<DirectoryWalker>(new DirectoryWalker(std::move(state)));
}

DirectoryWalker::DirectoryWalker(std::unique_ptr<State> state) : state_(std::move(state)) {}

DirectoryWalker::~DirectoryWalker() = default;

std::optional<std::string> DirectoryWalker::next() {
    State& s = *state_;
    if (s.descendPending && !s.stack.empty()) {
        s.descendPending = false;
        // An unreadable folder is passed over: it was yielded, its contents are not.
        if (DIR* child = openChildDirectory(::dirfd(s.stack.back().dir), s.lastName))
            s.stack.push_back(Frame{child, s.lastPath});
    }
    while (!s.stack.empty()) {
        Frame& top = s.stack.back();
        dirent* entry = ::readdir(top.dir);
        if (!entry) {
            // The end of the folder, or a read error, which ends it the same way.
            ::closedir(top.dir);
            s.stack.pop_back();
            continue;
        }
        std::string name = entry->d_name;
        // Hidden means a leading dot; this also drops "." and "..".
        if (name.empty() || name.front() == '.') continue;

        bool isDirectory = false;
        if (entry->d_type == DT_DIR) {
            isDirectory = true;
        } else if (entry->d_type == DT_UNKNOWN) {
            struct stat st {};
            isDirectory =
                ::fstatat(::dirfd(top.dir), name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
        }
        s.lastPath = appendPathComponent(top.path, name);
        s.lastName = std::move(name);
        s.lastIsDirectory = isDirectory;
        s.descendPending = isDirectory;
        return s.lastPath;
    }
    return std::nullopt;
}

void DirectoryWalker::skipDescendants() { state_->descendPending = false; }

bool DirectoryWalker::lastEntryIsDirectory() const { return state_->lastIsDirectory; }

}  // namespace vantrel
