#include "core/live/LiveProject.h"

#include <chrono>
#include <set>
#include <utility>

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

// The copies readers get. Two take turns, so that the one not handed out last can be
// brought up to date by copying only the symbols the updates since its turn touched: a
// whole copy costs 100 ms at 10,000 files, a save's touched symbols well under one. A
// copy still held by a reader is never written; a new one is made instead.
struct Published {
    std::shared_ptr<ProjectIR> graph;
    std::set<std::string> behind;  // ids touched since it was last brought up to date
    bool wholeBehind = true;
    bool diagnosticsBehind = true;
};

struct LiveProject::State {
    SymbolScanner scanner;
    LiveProjectOptions options;
    std::unique_ptr<IncrementalScan> scan;
    ProjectIR empty;
    Published published[2];
    int latest = -1;  // the copy handed out last, while it is current
    int last = 1;     // the copy handed out last, current or not

    void touched(const std::vector<std::string>& ids, bool all, bool diagnostics) {
        for (auto& copy : published) {
            if (all) copy.wholeBehind = true;
            else copy.behind.insert(ids.begin(), ids.end());
            copy.diagnosticsBehind = copy.diagnosticsBehind || diagnostics;
        }
        latest = -1;
    }
};

LiveProject::LiveProject(SymbolScanner scanner, LiveProjectOptions options)
    : state_(std::make_unique<State>(State{std::move(scanner), std::move(options), nullptr, {}, {}, -1, 1})) {}

LiveProject::~LiveProject() = default;

const std::string& LiveProject::root() const { return state_->options.root; }

const VantrelConfig& LiveProject::config() const {
    static const VantrelConfig none;
    return state_->scan ? state_->scan->config() : none;
}

const ProjectIR& LiveProject::graph() const { return state_->scan ? state_->scan->graph() : state_->empty; }

std::shared_ptr<const ProjectIR> LiveProject::snapshot() const {
    State& s = *state_;
    if (s.latest >= 0) return s.published[s.latest].graph;
    const int next = 1 - s.last;
    Published& copy = s.published[next];
    const ProjectIR& now = graph();
    if (copy.graph && copy.graph.use_count() == 1 && !copy.wholeBehind) {
        for (const auto& id : copy.behind) {
            if (auto it = now.symbols.find(id); it != now.symbols.end()) copy.graph->symbols.insert_or_assign(id, it->second);
            else copy.graph->symbols.erase(id);
        }
        if (copy.diagnosticsBehind) copy.graph->diagnostics = now.diagnostics;
        copy.graph->lastScan = now.lastScan;
        copy.graph->projectId = now.projectId;
    } else {
        copy.graph = std::make_shared<ProjectIR>(now);
    }
    copy.behind.clear();
    copy.wholeBehind = false;
    copy.diagnosticsBehind = false;
    s.latest = s.last = next;
    return copy.graph;
}

LiveUpdate LiveProject::open() { return rescan(); }

LiveUpdate LiveProject::rescan() {
    const auto start = std::chrono::steady_clock::now();
    State& s = *state_;
    VantrelConfig config = s.options.loadConfig ? s.options.loadConfig() : VantrelConfig{};
    auto next = std::make_unique<IncrementalScan>(s.scanner, s.options.root, std::move(config),
                                                  s.options.maxConcurrentParses);
    next->scanAll(s.options.progress, s.options.isCancelled, std::exchange(s.options.knownFileCount, std::nullopt));
    LiveUpdate result;
    result.fullScan = true;
    result.allTouched = true;
    result.diagnosticsChanged = true;
    result.graphChanged = !s.scan || next->graph().symbols != s.scan->graph().symbols ||
                          next->graph().diagnostics != s.scan->graph().diagnostics;
    s.scan = std::move(next);
    s.touched({}, true, true);
    result.seconds = secondsSince(start);
    return result;
}

LiveUpdate LiveProject::update(const std::vector<std::string>& paths) {
    if (!state_->scan) return open();
    const LinkingMode linking = config().linking.value_or(LinkingMode::names);
    for (const auto& path : paths)
        if (isSettingsFile(path, linking)) return rescan();
    const auto start = std::chrono::steady_clock::now();
    LiveUpdate result;
    static_cast<IncrementalChanges&>(result) = state_->scan->update(paths);
    if (result.needsFullScan) return rescan();
    result.graphChanged = result.allTouched || result.diagnosticsChanged || !result.touchedIds.empty();
    if (result.graphChanged) state_->touched(result.touchedIds, result.allTouched, result.diagnosticsChanged);
    result.seconds = secondsSince(start);
    return result;
}

std::vector<std::string> LiveProject::touchedSinceScan() const {
    return state_->scan ? state_->scan->touchedSinceScan() : std::vector<std::string>{};
}

bool LiveProject::watchesFolder(const std::string& relDir) const {
    return !state_->scan || state_->scan->includesFolder(relDir);
}

bool LiveProject::caresAbout(const std::string& relPath) const {
    if (isSettingsFile(relPath, config().linking.value_or(LinkingMode::names))) return true;
    return state_->scan && state_->scan->includesFile(relPath);
}

}  // namespace vantrel
