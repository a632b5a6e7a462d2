#include "core/live/LiveProject.h"

#include <chrono>

#include "core/scan/IncrementalScan.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

// Files whose change voids what every record was made with, or (package.json, in precise
// linking) how the project's own packages resolve: the project is scanned again.
bool isSettingsFile(const std::string& relPath, LinkingMode linking) {
    if (relPath == "vantrel.json" || relPath == ".vantrel/config.json" || relPath == ".vantrel" ||
        relPath == "tsconfig.json" || relPath == "jsconfig.json")
        return true;
    return linking == LinkingMode::precise && lastPathComponent(relPath) == "package.json";
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

struct LiveProject::State {
    SymbolScanner scanner;
    LiveProjectOptions options;
    std::unique_ptr<IncrementalScan> scan;
    mutable std::shared_ptr<const ProjectIR> shared;
    ProjectIR empty;
};

LiveProject::LiveProject(SymbolScanner scanner, LiveProjectOptions options)
    : state_(std::make_unique<State>(State{std::move(scanner), std::move(options), nullptr, nullptr, {}})) {}

LiveProject::~LiveProject() = default;

const std::string& LiveProject::root() const { return state_->options.root; }

const VantrelConfig& LiveProject::config() const {
    static const VantrelConfig none;
    return state_->scan ? state_->scan->config() : none;
}

const ProjectIR& LiveProject::graph() const { return state_->scan ? state_->scan->graph() : state_->empty; }

std::shared_ptr<const ProjectIR> LiveProject::snapshot() const {
    if (!state_->shared) state_->shared = std::make_shared<const ProjectIR>(graph());
    return state_->shared;
}

LiveUpdate LiveProject::open() { return rescan(); }

LiveUpdate LiveProject::rescan() {
    const auto start = std::chrono::steady_clock::now();
    State& s = *state_;
    VantrelConfig config = s.options.loadConfig ? s.options.loadConfig() : VantrelConfig{};
    auto next = std::make_unique<IncrementalScan>(s.scanner, s.options.root, std::move(config),
                                                  s.options.maxConcurrentParses);
    next->scanAll(s.options.progress, s.options.isCancelled);
    LiveUpdate result;
    result.fullScan = true;
    result.graphChanged = !s.scan || next->graph().symbols != s.scan->graph().symbols ||
                          next->graph().diagnostics != s.scan->graph().diagnostics;
    s.scan = std::move(next);
    s.shared.reset();
    result.seconds = secondsSince(start);
    return result;
}

LiveUpdate LiveProject::update(const std::vector<std::string>& paths) {
    if (!state_->scan) return open();
    const LinkingMode linking = config().linking.value_or(LinkingMode::names);
    for (const auto& path : paths)
        if (isSettingsFile(path, linking)) return rescan();
    const auto start = std::chrono::steady_clock::now();
    IncrementalChanges changes = state_->scan->update(paths);
    LiveUpdate result;
    result.changed = std::move(changes.changed);
    result.added = std::move(changes.added);
    result.removed = std::move(changes.removed);
    result.reanalysed = std::move(changes.reanalysed);
    result.relinkedFiles = changes.relinkedFiles;
    result.fullScan = changes.fullScan;
    result.graphChanged = !result.reanalysed.empty() || !result.removed.empty();
    if (result.graphChanged) state_->shared.reset();
    result.seconds = secondsSince(start);
    return result;
}

bool LiveProject::watchesFolder(const std::string& relDir) const {
    return !state_->scan || state_->scan->includesFolder(relDir);
}

bool LiveProject::caresAbout(const std::string& relPath) const {
    if (isSettingsFile(relPath, config().linking.value_or(LinkingMode::names))) return true;
    return state_->scan && state_->scan->includesFile(relPath);
}

}  // namespace vantrel
