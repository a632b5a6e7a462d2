// Progress reports and errors of a scan.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

enum class ScanPhase { discoveringFiles, hashing, parsing, linking, savingCache };

std::string_view rawValue(ScanPhase phase);
std::optional<ScanPhase> scanPhaseFromRaw(std::string_view raw);

struct ScanProgress {
    ScanPhase phase = ScanPhase::discoveringFiles;
    std::int64_t processed = 0;
    std::int64_t total = 1;                  // the scan's file count, never below 1
    std::optional<std::string> currentPath;  // project-relative, where a report concerns one file
    bool operator==(const ScanProgress&) const = default;
};

// Why a scan failed. One file's failure is the failure of the whole scan.
class ScanError : public std::exception {
public:
    enum class Kind {
        parseFailed,     // the parser produced no tree for `path`
        queryFailed,     // part of the public set; never raised by a scan
        cancelled,       // the cancellation check answered true
        readFailed,      // `path` could not be read; `detail` is the system's reason
        languageFailed,  // the grammar could not be set for `path`
    };

    ScanError(Kind kind, std::string path = {}, std::string detail = {});
    Kind kind() const { return kind_; }
    const std::string& path() const { return path_; }
    const std::string& detail() const { return detail_; }
    // One line naming the case, and the file and cause where there is one.
    const char* what() const noexcept override { return message_.c_str(); }

private:
    Kind kind_;
    std::string path_;
    std::string detail_;
    std::string message_;
};

}  // namespace vantrel
