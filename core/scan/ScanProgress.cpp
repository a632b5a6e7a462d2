#include "core/scan/ScanProgress.h"

namespace vantrel {

std::string_view rawValue(ScanPhase phase) {
    switch (phase) {
        case ScanPhase::discoveringFiles: return "discoveringFiles";
        case ScanPhase::hashing: return "hashing";
        case ScanPhase::parsing: return "parsing";
        case ScanPhase::linking: return "linking";
        case ScanPhase::savingCache: return "savingCache";
    }
    return "discoveringFiles";
}

std::optional<ScanPhase> scanPhaseFromRaw(std::string_view raw) {
    for (auto phase : {ScanPhase::discoveringFiles, ScanPhase::hashing, ScanPhase::parsing, ScanPhase::linking,
                       ScanPhase::savingCache})
        if (rawValue(phase) == raw) return phase;
    return std::nullopt;
}

namespace {
std::string describe(ScanError::Kind kind, const std::string& path, const std::string& detail) {
    switch (kind) {
        case ScanError::Kind::parseFailed: return "parseFailed(url: file://" + path + ")";
        case ScanError::Kind::queryFailed: return "queryFailed";
        case ScanError::Kind::cancelled: return "cancelled";
        case ScanError::Kind::readFailed: return "Could not read " + path + ": " + detail;
        case ScanError::Kind::languageFailed: return "Could not set up the parser for " + path + ": " + detail;
    }
    return "scan failed";
}
}  // namespace

ScanError::ScanError(Kind kind, std::string path, std::string detail)
    : kind_(kind), path_(std::move(path)), detail_(std::move(detail)), message_(describe(kind_, path_, detail_)) {}

}  // namespace vantrel
