#include "core/live/LiveProject.h"

#include <chrono>

#include "core/config/PathGlobMatcher.h"
#include "core/languages/LanguagePlugin.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel {

struct LiveProject::State {
    SymbolScanner scanner;
    LiveProjectOptions options;
    VantrelConfig config;
    ProjectIR graph;
    mutable std::shared_ptr<const ProjectIR> shared;
};

LiveProject::LiveProject(SymbolScanner scanner, LiveProjectOptions options)
    : state_(std::make_unique<State>(State{std::move(scanner), std::move(options), {}, {}, {}})) {}

LiveProject::~LiveProject() = default;

const std::string& LiveProject::root() const { return state_->options.root; }
const VantrelConfig& LiveProject::config() const { return state_->config; }
const ProjectIR& LiveProject::graph() const { return state_->graph; }

std::shared_ptr<const ProjectIR> LiveProject::snapshot() const {
    if (!state_->shared) state_->shared = std::make_shared<const ProjectIR>(state_->graph);
    return state_->shared;
}

LiveUpdate LiveProject::open() { return rescan(); }

LiveUpdate LiveProject::rescan() {
    auto start = std::chrono::steady_clock::now();
    State& s = *state_;
    s.config = s.options.loadConfig ? s.options.loadConfig() : VantrelConfig{};
    ScanOptions scan;
    scan.root = s.options.root;
    scan.config = s.config;
    scan.maxConcurrentParses = s.options.maxConcurrentParses;
    scan.progress = s.options.progress;
    scan.isCancelled = s.options.isCancelled;
    ProjectIR next = s.scanner.scanProject(scan);
    LiveUpdate result;
    result.fullScan = true;
    result.graphChanged = next.symbols != s.graph.symbols || next.diagnostics != s.graph.diagnostics;
    s.graph = std::move(next);
    s.shared.reset();
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

// A first version: every relevant change scans the project again through the cache.
LiveUpdate LiveProject::update(const std::vector<std::string>& paths) {
    bool relevant = false;
    for (const auto& path : paths) relevant = relevant || path.empty() || caresAbout(path) || watchesFolder(path);
    if (!relevant) return {};
    return rescan();
}

bool LiveProject::watchesFolder(const std::string& relDir) const {
    if (relDir.empty()) return true;
    for (auto part : splitKeepingEmpty(relDir, "/"))
        if (part.empty() || part.front() == '.' || part == "node_modules") return false;
    return !PathGlobMatcher(state_->config.exclude).matches(relDir);
}

bool LiveProject::caresAbout(const std::string& relPath) const {
    std::string name = lastPathComponent(relPath);
    if (name == "vantrel.json" || name == "tsconfig.json" || name == "jsconfig.json" || name == "package.json")
        return true;
    std::string parent = deletingLastPathComponent(relPath);
    if (!watchesFolder(parent == relPath ? std::string() : parent)) return false;
    if (PathGlobMatcher(state_->config.exclude).matches(relPath)) return false;
    std::string ext = lowercased(pathExtension(relPath));
    for (const auto& plugin : activePlugins(state_->scanner.plugins(), state_->config.enabledLanguages))
        for (const auto& e : plugin->fileExtensions())
            if (e == ext) return true;
    return false;
}

}  // namespace vantrel
