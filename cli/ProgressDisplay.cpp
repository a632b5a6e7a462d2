#include "cli/ProgressDisplay.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace vantrel::cli {

namespace {
int terminalWidth() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

// Columns of UTF-8 text, one per scalar (good enough for paths).
std::size_t columns(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// Keeps the end of a path, which names the file, behind a leading ellipsis.
std::string fitTail(const std::string& text, std::size_t width) {
    if (columns(text) <= width) return text;
    if (width < 2) return "";
    std::size_t keep = width - 1;
    std::size_t start = text.size();
    std::size_t kept = 0;
    while (start > 0 && kept < keep) {
        --start;
        if ((static_cast<unsigned char>(text[start]) & 0xC0) != 0x80) ++kept;
    }
    return "…" + text.substr(start);
}
}  // namespace

std::string ProgressDisplay::renderLine(const ScanProgress& progress, int width) {
    std::int64_t total = std::max<std::int64_t>(progress.total, 1);
    std::int64_t done = std::clamp<std::int64_t>(progress.processed, 0, total);
    constexpr int kBar = 24;
    int filled = static_cast<int>(done * kBar / total);
    std::string line = std::string(rawValue(progress.phase));
    line.resize(std::max<std::size_t>(line.size(), 16), ' ');
    line += "[" + std::string(filled, '#') + std::string(kBar - filled, '.') + "] ";
    line += std::to_string(progress.processed) + "/" + std::to_string(total);
    if (progress.currentPath && !progress.currentPath->empty()) {
        std::size_t used = columns(line) + 2;
        if (static_cast<std::size_t>(width) > used + 4)
            line += "  " + fitTail(*progress.currentPath, static_cast<std::size_t>(width) - used - 1);
    }
    return line;
}

void ProgressDisplay::begin() {
    if (mode_ == Mode::terminal) draw(ScanProgress{ScanPhase::discoveringFiles, 0, 1, std::string("counting files")});
}

void ProgressDisplay::update(const ScanProgress& progress) {
    if (mode_ == Mode::silent) return;
    bool phaseChanged = progress.phase != lastPhase_;
    lastPhase_ = progress.phase;
    if (mode_ == Mode::lines) {
        if (phaseChanged)
            std::fprintf(stderr, "%s %lld/%lld\n", std::string(rawValue(progress.phase)).c_str(),
                         static_cast<long long>(progress.processed), static_cast<long long>(progress.total));
        return;
    }
    auto now = std::chrono::steady_clock::now();
    // Redraw at most ~20 times a second; a phase change always shows.
    if (!phaseChanged && now - lastDraw_ < std::chrono::milliseconds(50)) return;
    lastDraw_ = now;
    draw(progress);
}

void ProgressDisplay::draw(const ScanProgress& progress) {
    std::string line = renderLine(progress, terminalWidth());
    std::fprintf(stderr, "\r\033[2K%s", line.c_str());
    std::fflush(stderr);
    drawn_ = true;
}

void ProgressDisplay::finish() {
    if (mode_ == Mode::terminal && drawn_) {
        std::fprintf(stderr, "\r\033[2K");
        std::fflush(stderr);
        drawn_ = false;
    }
}

}  // namespace vantrel::cli
