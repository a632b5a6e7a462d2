#include "app/state/ProjectStore.h"

#include "app/state/Preferences.h"
#include "app/state/PreferencesManager.h"
#include "app/state/RecentProjectsManager.h"
#include "core/scan/Discovery.h"
#include "core/util/Paths.h"

namespace vantrel {

namespace {

constexpr std::int64_t kLargeProjectFiles = 10000;
constexpr std::int64_t kVeryLargeProjectFiles = 50000;

enum AlertButton { kContinue = 0, kCancel = 1, kExcludeMore = 2 };

AlertRequest largeProjectAlert(std::int64_t fileCount) {
    const QString count = QString::number(fileCount);
    AlertRequest alert;
    if (fileCount >= kVeryLargeProjectFiles) {
        alert.title = QStringLiteral("Very large project");
        alert.text = QStringLiteral("This project contains ") + count +
                     QStringLiteral(
                         " source files. Scanning may take several minutes and use significant memory. "
                         "Consider scanning a subdirectory or excluding more folders.");
    } else {
        alert.title = QStringLiteral("Large project");
        alert.text = QStringLiteral("This project contains ") + count +
                     QStringLiteral(
                         " source files. Scanning may take a while. You can exclude folders (e.g. build "
                         "outputs) to speed it up.");
    }
    alert.buttons = {QStringLiteral("Continue"), QStringLiteral("Cancel"), QStringLiteral("Exclude More\u2026")};
    alert.escapeButton = kCancel;
    return alert;
}

}  // namespace

ProjectStore::ProjectStore(ProjectStoreEnvironment environment, QObject* parent)
    : QObject(parent),
      environment_(std::move(environment)),
      scanner_(SymbolScanner::defaultPlugins(), environment_.cache) {
    // A superseded scan may still be winding down while the next one counts and scans,
    // beside a live session being stopped and a Working Changes computation.
    pool_.setMaxThreadCount(6);
    watching_ = Preferences::boolValue(QString::fromUtf8(prefkeys::kWatchProject)).value_or(true);
}

// The session's and the jobs' threads post to this object: they must all have ended
// before its QObject part goes, which the wait below ensures.
ProjectStore::~ProjectStore() {
    if (scanJob_) scanJob_->cancel();
    blockSignals(true);  // nobody is to hear of the stop: views and tests may be gone already
    stopLiveSession();
    pool_.waitForDone();
}

void ProjectStore::setDiffModeEnabled(bool enabled) {
    write(diffModeEnabled_, enabled, &ProjectStore::diffModeEnabledChanged);
}

void ProjectStore::setSearchText(const QString& text) { write(searchText_, text, &ProjectStore::searchTextChanged); }

void ProjectStore::setKindFilter(const OptionalSymbolKind& kind) {
    write(kindFilter_, kind, &ProjectStore::kindFilterChanged);
}

void ProjectStore::clearLastExportError() {
    write(lastExportError_, std::nullopt, &ProjectStore::lastExportErrorChanged);
}

void ProjectStore::reset() {
    if (scanJob_) scanJob_->cancel();
    forgetScanJob();
    ++scanGeneration_;
    stopLiveSession();
    forgetWorkingChanges();
    write(scanState_, ScanState::idle(), &ProjectStore::scanStateChanged);
    write(scanProgress_, std::nullopt, &ProjectStore::scanProgressChanged);
    write(ir_, std::nullopt, &ProjectStore::irChanged);
    write(allSymbolIdsSorted_, SymbolIdList{}, &ProjectStore::allSymbolIdsSortedChanged);
    write(selectedSymbolId_, std::nullopt, &ProjectStore::selectedSymbolIdChanged);
    selectionAwaitingReturn_.reset();
    write(impactLevels_, ImpactLevels{}, &ProjectStore::impactLevelsChanged);
    write(downstreamContext_, IdSet{}, &ProjectStore::downstreamContextChanged);
    write(nodePositions_, NodePositions{}, &ProjectStore::nodePositionsChanged);
    write(collapsedNodes_, IdSet{}, &ProjectStore::collapsedNodesChanged);
    write(diffResult_, std::nullopt, &ProjectStore::diffResultChanged);
    write(diffAddedEdges_, EdgeSet{}, &ProjectStore::diffAddedEdgesChanged);
    write(projectRoot_, QString{}, &ProjectStore::projectRootChanged);
}

void ProjectStore::scan(const QString& rootPath) {
    reset();
    write(scanState_, ScanState::indexing(), &ProjectStore::scanStateChanged);
    std::string root = standardizePath(rootPath.toStdString());
    write(projectRoot_, QString::fromStdString(root), &ProjectStore::projectRootChanged);
    write(config_, PreferencesManager::mergedConfig(QString::fromStdString(root)), &ProjectStore::configChanged);
    addRecentIfAppropriate(rootPath);
    refreshRecents();
    startScanJob(root);
}

void ProjectStore::rescan() {
    if (!projectRoot_.isEmpty() && scanState_.kind != ScanState::Kind::idle)
        scan(QString(projectRoot_));  // a copy: scan() resets the root first
}

void ProjectStore::listSourceFiles(std::function<void(std::vector<std::string>)> done) {
    if (projectRoot_.isEmpty()) return;
    pool_.start([this, root = projectRoot_.toStdString(), config = config_, done = std::move(done)] {
        auto files = vantrel::listSourceFiles(root, config, scanner_.plugins());
        QMetaObject::invokeMethod(
            this, [done, files = std::move(files)]() mutable { done(std::move(files)); }, Qt::QueuedConnection);
    });
}

void ProjectStore::cancelScan() {
    if (scanJob_) scanJob_->cancel();
}

void ProjectStore::startScanJob(const std::string& root) {
    // Each handler runs on the main thread and first asks whether its scan is still the
    // current one; a superseded scan's reports fall away there.
    const std::uint64_t generation = scanGeneration_;
    auto isCurrent = [this, generation] { return generation == scanGeneration_; };
    ScanJob::Handlers handlers;
    handlers.progress = [this, isCurrent](const ScanProgress& report) {
        if (isCurrent()) write(scanProgress_, report, &ProjectStore::scanProgressChanged);
    };
    handlers.counted = [this, isCurrent, generation](std::int64_t fileCount) {
        if (isCurrent()) onCounted(generation, fileCount);
    };
    handlers.finished = [this, isCurrent](std::shared_ptr<OpenedProject> opened) {
        if (isCurrent()) applyScanResult(opened);
    };
    handlers.failed = [this, isCurrent](const ScanFailure& failure) {
        if (isCurrent()) applyScanFailure(failure);
    };
    scanJob_ = std::make_shared<ScanJob>(scanner_, root, config_, environment_.countFiles, this, std::move(handlers));
    scanJob_->startCount(pool_);
}

void ProjectStore::onCounted(std::uint64_t generation, std::int64_t fileCount) {
    // A count cut short by cancellation must not lead to a question or a scan.
    if (!scanJob_ || scanJob_->isCancelled()) {
        applyScanFailure(ScanFailure{true, {}, {}});
        return;
    }
    if (fileCount == 0) {
        // A folder of no sources is not a project: said so, and not kept among the recents.
        RecentProjectsManager::removeRecent(projectRoot_);
        refreshRecents();
        forgetScanJob();
        write(scanState_,
              ScanState::failed(QStringLiteral("No JavaScript, TypeScript or Python files in %1.").arg(projectRoot_),
                                QStringLiteral("Nothing to scan")),
              &ProjectStore::scanStateChanged);
        write(scanProgress_, std::nullopt, &ProjectStore::scanProgressChanged);
        return;
    }
    bool goOn = confirmLargeProjectScanIfNeeded(fileCount);
    // The alert runs an event loop of its own, in which a new scan or a reset may have
    // superseded this one; then its answer no longer counts.
    if (generation != scanGeneration_) return;
    if (!goOn) {
        forgetScanJob();
        write(scanState_, ScanState::idle(), &ProjectStore::scanStateChanged);
        write(scanProgress_, std::nullopt, &ProjectStore::scanProgressChanged);
        return;
    }
    scanJob_->startScan(pool_, fileCount);
}

void ProjectStore::applyScanResult(const std::shared_ptr<OpenedProject>& opened) {
    std::function<void()> stop = [job = scanJob_] {
        if (job) job->cancel();
    };
    forgetScanJob();
    write(ir_, std::move(*opened->graph), &ProjectStore::irChanged);
    write(nodePositions_, computeForceLayout(*ir_), &ProjectStore::nodePositionsChanged);
    SymbolIdList ids;
    ids.reserve(ir_->symbols.size());
    for (const auto& entry : ir_->symbols) ids.push_back(entry.first);  // the map keeps them ascending
    write(allSymbolIdsSorted_, std::move(ids), &ProjectStore::allSymbolIdsSortedChanged);
    write(scanState_, ScanState::ready(), &ProjectStore::scanStateChanged);
    write(scanProgress_, std::nullopt, &ProjectStore::scanProgressChanged);
    if (!selectedSymbolId_ && !allSymbolIdsSorted_.empty()) select(allSymbolIdsSorted_.front());
    recomputeDiffIfPossible();
    if (watching_) startLiveSession(std::move(opened->live), std::move(stop));
    else stop();  // nobody will ask the live project anything; the holder frees it
    probeWorkTree();
}

void ProjectStore::applyScanFailure(const ScanFailure& failure) {
    forgetScanJob();
    if (failure.cancelled) {
        write(scanState_, ScanState::idle(), &ProjectStore::scanStateChanged);
        write(scanProgress_, std::nullopt, &ProjectStore::scanProgressChanged);
    } else {
        write(scanState_, ScanState::failed(failure.message, QStringLiteral("Scan failed"), failure.file),
              &ProjectStore::scanStateChanged);
    }
}

void ProjectStore::forgetScanJob() { scanJob_.reset(); }

bool ProjectStore::confirmLargeProjectScanIfNeeded(std::int64_t fileCount) {
    if (fileCount < kLargeProjectFiles) return true;
    switch (environment_.platform->runModalAlert(largeProjectAlert(fileCount))) {
        case kContinue: return true;
        case kExcludeMore: openScanningPreferences(); return false;
        default: return false;
    }
}

void ProjectStore::openScanningPreferences() {
    Preferences::setValue(prefkeys::kPreferencesSelectedTab, QStringLiteral("scanning"));
    environment_.platform->showSettingsWindow();
}

void ProjectStore::addRecentIfAppropriate(const QString& path) {
    if (environment_.locations.isInsideApplication(path)) return;
    RecentProjectsManager::addRecent(path);
}

void ProjectStore::refreshRecents() {
    write(recentProjects_, RecentProjectsManager::getRecents(), &ProjectStore::recentProjectsChanged);
}

void ProjectStore::clearRecents() {
    RecentProjectsManager::clearRecents();
    refreshRecents();
}

void ProjectStore::performFirstLaunchIfNeeded() {
    if (didAttemptFirstLaunch_) return;
    didAttemptFirstLaunch_ = true;
    if (!PreferencesManager::wantsOnboardingAtLaunch()) return;
    if (auto sample = environment_.locations.sampleProjectDir()) {
        scan(*sample);
        write(showOnboardingOverlay_, true, &ProjectStore::showOnboardingOverlayChanged);
    } else {
        write(scanState_, ScanState::failed(QStringLiteral("Bundled sample project not found in app resources.")),
              &ProjectStore::scanStateChanged);
    }
}

void ProjectStore::presentOnboarding() {
    write(showOnboardingOverlay_, true, &ProjectStore::showOnboardingOverlayChanged);
}

void ProjectStore::completeOnboarding() {
    Preferences::setValue(prefkeys::kHasCompletedOnboarding, true);
    write(showOnboardingOverlay_, false, &ProjectStore::showOnboardingOverlayChanged);
}

void ProjectStore::recomputeDiffIfPossible() {
    if (baselineIR_ && ir_) {
        ProjectDiffResult result = ProjectDiff::diff(*baselineIR_, *ir_);
        EdgeSet added(result.addedEdges.begin(), result.addedEdges.end());
        write(diffResult_, std::move(result), &ProjectStore::diffResultChanged);
        write(diffAddedEdges_, std::move(added), &ProjectStore::diffAddedEdgesChanged);
    } else {
        write(diffResult_, std::nullopt, &ProjectStore::diffResultChanged);
        write(diffAddedEdges_, EdgeSet{}, &ProjectStore::diffAddedEdgesChanged);
    }
}

}  // namespace vantrel
