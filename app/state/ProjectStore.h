// The application's one state object. It lives on the main thread; every view reads it
// and changes the project only through its operations. Each published field is a
// property whose change signal fires on every write (also when the value is the same).
//
// A project gets in through scan(): the store resets, merges the configuration, records
// the folder as recent and runs the count and the scan off the main thread, asking
// the user first when the project is large. Progress and the result come back through
// the event loop. Every scan has a generation number: reports and results of a scan
// that reset() or a newer scan() superseded are dropped on arrival, so they never touch
// the newer scan's state.
//
// While watching is on (the preference "watchProject"), a scanned project stays live: a
// LiveSession follows its files and each update publishes the new graph, keeping the
// selection (while its id exists), the filters, the baseline and diff mode. The session's
// reports come back as queued calls tagged with a live generation, which every stop of a
// session (another project, reset, rescan, watching turned off) raises, so a stopped
// session's late reports are dropped. A stopped session is destroyed on the store's pool,
// so the main thread never waits for its update to end.
//
// In a git work tree the Working Changes mode reports the symbols changed against a base
// revision and what they reach (core WorkingChanges), computed on the pool after the scan
// and after every live update while the mode is on; a newer request supersedes an older.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/state/AppLocations.h"
#include "app/state/PlatformServices.h"
#include "app/state/ScanJob.h"
#include "app/state/StoreTypes.h"
#include "core/cache/ProjectCache.h"
#include "core/changes/ChangesReport.h"
#include "core/config/VantrelConfig.h"
#include "core/impact/BlastRadius.h"
#include "core/impact/ProjectDiff.h"
#include "core/layout/GraphLayout.h"
#include "core/live/LiveSession.h"
#include "core/model/ProjectIR.h"
#include "core/scan/ScanProgress.h"
#include "core/scan/SymbolScanner.h"
#include "imageexport/GraphExportFormat.h"

class QMimeData;

namespace vantrel {

using OptionalProjectIR = std::optional<ProjectIR>;
using OptionalDiffResult = std::optional<ProjectDiffResult>;
using OptionalScanProgress = std::optional<ScanProgress>;
using OptionalText = std::optional<QString>;
using OptionalSymbolId = std::optional<std::string>;
using OptionalSymbolKind = std::optional<SymbolKind>;
using SymbolIdList = std::vector<std::string>;
using OptionalChangesReport = std::optional<ChangesReport>;


// What the store needs from its surroundings; tests replace each part.
struct ProjectStoreEnvironment {
    PlatformServices* platform = nullptr;  // not owned; must outlive the store
    ProjectCache cache;                    // the user's cache unless replaced
    AppLocations locations;                // resources and the application's own folders
    FileCounter countFiles;                // empty: the scanner's own count
    LiveSessionOptions live;               // how sessions watch; tests lower the watch limit
};

class ProjectStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(vantrel::ScanState scanState READ scanState NOTIFY scanStateChanged)
    Q_PROPERTY(vantrel::OptionalProjectIR ir READ ir NOTIFY irChanged)
    Q_PROPERTY(vantrel::OptionalScanProgress scanProgress READ scanProgress NOTIFY scanProgressChanged)
    Q_PROPERTY(vantrel::OptionalText lastExportError READ lastExportError NOTIFY lastExportErrorChanged)
    Q_PROPERTY(vantrel::OptionalProjectIR baselineIR READ baselineIR NOTIFY baselineIRChanged)
    Q_PROPERTY(vantrel::OptionalDiffResult diffResult READ diffResult NOTIFY diffResultChanged)
    Q_PROPERTY(bool diffModeEnabled READ diffModeEnabled WRITE setDiffModeEnabled NOTIFY diffModeEnabledChanged)
    Q_PROPERTY(vantrel::EdgeSet diffAddedEdges READ diffAddedEdges NOTIFY diffAddedEdgesChanged)
    Q_PROPERTY(QStringList recentProjects READ recentProjects NOTIFY recentProjectsChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(vantrel::OptionalSymbolKind kindFilter READ kindFilter WRITE setKindFilter NOTIFY kindFilterChanged)
    Q_PROPERTY(vantrel::VantrelConfig config READ config NOTIFY configChanged)
    Q_PROPERTY(bool showOnboardingOverlay READ showOnboardingOverlay NOTIFY showOnboardingOverlayChanged)
    Q_PROPERTY(vantrel::OptionalSymbolId selectedSymbolId READ selectedSymbolId NOTIFY selectedSymbolIdChanged)
    Q_PROPERTY(vantrel::ImpactLevels impactLevels READ impactLevels NOTIFY impactLevelsChanged)
    Q_PROPERTY(vantrel::IdSet downstreamContext READ downstreamContext NOTIFY downstreamContextChanged)
    Q_PROPERTY(vantrel::NodePositions nodePositions READ nodePositions NOTIFY nodePositionsChanged)
    Q_PROPERTY(vantrel::IdSet collapsedNodes READ collapsedNodes NOTIFY collapsedNodesChanged)
    Q_PROPERTY(vantrel::SymbolIdList allSymbolIdsSorted READ allSymbolIdsSorted NOTIFY allSymbolIdsSortedChanged)
    Q_PROPERTY(QString projectRoot READ projectRoot NOTIFY projectRootChanged)
    Q_PROPERTY(bool watching READ watching WRITE setWatching NOTIFY watchingChanged)
    Q_PROPERTY(vantrel::LiveStatus liveStatus READ liveStatus NOTIFY liveStatusChanged)
    Q_PROPERTY(bool workingChangesMode READ workingChangesMode WRITE setWorkingChangesMode NOTIFY
                   workingChangesModeChanged)
    Q_PROPERTY(QString workingChangesRevision READ workingChangesRevision WRITE setWorkingChangesRevision NOTIFY
                   workingChangesRevisionChanged)
    Q_PROPERTY(vantrel::WorkingChangesState workingChangesState READ workingChangesState NOTIFY
                   workingChangesStateChanged)
    Q_PROPERTY(vantrel::OptionalChangesReport workingChanges READ workingChanges NOTIFY workingChangesChanged)
    Q_PROPERTY(vantrel::IdSet workingChangedIds READ workingChangedIds NOTIFY workingChangedIdsChanged)

public:
    explicit ProjectStore(ProjectStoreEnvironment environment, QObject* parent = nullptr);
    // Cancels a running scan and waits for its thread to end.
    ~ProjectStore() override;

    // Published fields.
    const ScanState& scanState() const { return scanState_; }
    const OptionalProjectIR& ir() const { return ir_; }
    const OptionalScanProgress& scanProgress() const { return scanProgress_; }
    const OptionalText& lastExportError() const { return lastExportError_; }
    // The heading of the alert for lastExportError: "Export failed" or "Could not load baseline".
    const QString& lastExportErrorTitle() const { return lastExportErrorTitle_; }
    const OptionalProjectIR& baselineIR() const { return baselineIR_; }
    const OptionalDiffResult& diffResult() const { return diffResult_; }
    bool diffModeEnabled() const { return diffModeEnabled_; }
    const EdgeSet& diffAddedEdges() const { return diffAddedEdges_; }
    const QStringList& recentProjects() const { return recentProjects_; }
    const QString& searchText() const { return searchText_; }
    const OptionalSymbolKind& kindFilter() const { return kindFilter_; }
    const VantrelConfig& config() const { return config_; }
    bool showOnboardingOverlay() const { return showOnboardingOverlay_; }
    const OptionalSymbolId& selectedSymbolId() const { return selectedSymbolId_; }
    const ImpactLevels& impactLevels() const { return impactLevels_; }
    const IdSet& downstreamContext() const { return downstreamContext_; }
    const NodePositions& nodePositions() const { return nodePositions_; }
    const IdSet& collapsedNodes() const { return collapsedNodes_; }
    const SymbolIdList& allSymbolIdsSorted() const { return allSymbolIdsSorted_; }
    // The standardised folder of the last scan() (the window's title names it); empty
    // after reset().
    const QString& projectRoot() const { return projectRoot_; }
    // Whether open projects follow their files; from the preference at construction.
    bool watching() const { return watching_; }
    const LiveStatus& liveStatus() const { return liveStatus_; }
    // The impact panel shows the working tree's changes instead of the selection's reach.
    bool workingChangesMode() const { return workingChangesMode_; }
    // The base the changes are taken against, as the user names it ("HEAD" at first).
    const QString& workingChangesRevision() const { return workingChangesRevision_; }
    const WorkingChangesState& workingChangesState() const { return workingChangesState_; }
    // The last report for the current graph; nothing before the first or after a failure.
    const OptionalChangesReport& workingChanges() const { return workingChanges_; }
    // The added and modified symbols of that report that the graph holds, while the mode
    // is on; empty otherwise. The canvas marks them.
    const IdSet& workingChangedIds() const { return workingChangedIds_; }
    // The running session, for tests that want to wait for it; nullptr while none runs.
    LiveSession* liveSession() const { return liveSession_.get(); }
    // The Working Changes of one project and revision, computed on the pool (one at a time).
    struct ChangesWorker;
    // The windowing services the store was given; views that start programs use them too.
    PlatformServices& platform() const { return *environment_.platform; }

    // Fields bound to view controls.
    void setDiffModeEnabled(bool enabled);
    void setSearchText(const QString& text);
    void setKindFilter(const OptionalSymbolKind& kind);
    // The export failure alert was dismissed.
    void clearLastExportError();
    // Off stops the session; on starts one for the open project, which first catches up
    // with what changed meanwhile.
    void setWatching(bool on);
    void setWorkingChangesMode(bool on);
    // A blank revision means HEAD. Recomputes while the mode is on.
    void setWorkingChangesRevision(const QString& revision);

    // Scan lifecycle. All on the main thread; each returns at once.
    void scan(const QString& rootPath);
    // Stops any scan and forgets the project; the baseline, diff mode, filters, the
    // configuration and the recent list stay.
    void reset();
    // Stops the running scan, if any; the store then goes idle.
    void cancelScan();
    bool isScanRunning() const { return static_cast<bool>(scanJob_); }
    // Acts once per run: scans the bundled sample project and raises the onboarding
    // overlay unless onboarding was completed or turned off.
    void performFirstLaunchIfNeeded();
    // From 10000 files on, asks whether to go on ("Exclude More…" opens the scanning
    // preferences and answers no).
    bool confirmLargeProjectScanIfNeeded(std::int64_t fileCount);
    void openScanningPreferences();
    void refreshRecents();
    void clearRecents();
    void presentOnboarding();
    void completeOnboarding();

    // Panels.
    void chooseProjectFolder();
    // The open project's source files as a scan with its settings takes them (relative,
    // sorted), listed off the main thread; `done` runs later on the main thread, and not
    // at all without an open project.
    void listSourceFiles(std::function<void(std::vector<std::string>)> done);
    // Scans the open project again; nothing without one.
    void rescan();
    // Adds the file (absolute, or relative to the open project) to the project's
    // exclusions and scans again; a project file that cannot be changed goes to
    // lastExportError, titled "Could not exclude the file".
    void excludeFileAndRescan(const QString& file);
    // Loads a ProjectIR JSON file as the baseline; a failure goes to lastExportError and
    // keeps the earlier baseline.
    void chooseBaselineSnapshot();
    // The same for a file already chosen (the screenshot mode's --baseline).
    void loadBaseline(const QString& path);
    // Forgets the baseline and its diff, and turns diff mode off.
    void unloadBaseline();
    // Exports the graph as it is now; a failure goes to lastExportError.
    void exportGraph(GraphExportFormat format);
    // For drops: calls `completion` with the first local file among the dropped URLs,
    // and not at all when there is none.
    static void extractFirstFileURL(const QMimeData& data, const std::function<void(const QString&)>& completion);

    // Selection, impact and filtering.
    // Both take effect on a later turn of the event loop, never before they return.
    void select(const std::string& symbolId);
    void clearSelection();
    // The level whose set holds the id; nothing for the selection itself and ids beyond
    // the depth.
    std::optional<int> impactLevel(std::string_view symbolId) const;
    void toggleCollapsedSelected();
    // Limits the depth to 1 to 12 for this session (nothing is stored) and recomputes
    // the impact of the selection.
    void updateMaxDepth(std::int64_t value);
    // The ids that pass the search text and kind filter, in ascending order.
    SymbolIdList filteredSymbolIds() const;
    // One record per level from 1 to the depth while diff mode is on with a baseline, a
    // graph and a selection; otherwise empty.
    std::vector<LevelDeltaCount> blastRadiusDeltaCountsForSelection() const;

signals:
    void scanStateChanged();
    void irChanged();
    void scanProgressChanged();
    void lastExportErrorChanged();
    void baselineIRChanged();
    void diffResultChanged();
    void diffModeEnabledChanged();
    void diffAddedEdgesChanged();
    void recentProjectsChanged();
    void searchTextChanged();
    void kindFilterChanged();
    void configChanged();
    void showOnboardingOverlayChanged();
    void selectedSymbolIdChanged();
    void impactLevelsChanged();
    void downstreamContextChanged();
    void nodePositionsChanged();
    void collapsedNodesChanged();
    void allSymbolIdsSortedChanged();
    void projectRootChanged();
    void watchingChanged();
    void liveStatusChanged();
    void workingChangesModeChanged();
    void workingChangesRevisionChanged();
    void workingChangesStateChanged();
    void workingChangesChanged();
    void workingChangedIdsChanged();
    // A notice of the watcher, once (the fallback to periodic checks).
    void liveNotice(const QString& message);
    // An export was written to `path`.
    void exported(const QString& path);

private:
    template <typename T, typename V>
    void write(T& field, V&& value, void (ProjectStore::*changed)()) {
        field = std::forward<V>(value);
        emit(this->*changed)();
    }

    void startScanJob(const std::string& root);
    void onCounted(std::uint64_t generation, std::int64_t fileCount);
    void applyScanResult(const std::shared_ptr<OpenedProject>& opened);
    void startLiveSession(std::unique_ptr<LiveProject> project, std::function<void()> stop);
    void reopenLive();
    void stopLiveSession();
    void applyLiveGraph(std::shared_ptr<ProjectIR> graph);
    void applyLiveState(int state, const QString& message);
    void probeWorkTree();
    void requestWorkingChanges();
    void applyWorkingChanges(std::uint64_t generation, std::shared_ptr<ChangesReport> report, const QString& error);
    void forgetWorkingChanges();
    void applyScanFailure(const ScanFailure& failure);
    void forgetScanJob();
    void addRecentIfAppropriate(const QString& path);
    void recomputeDiffIfPossible();
    void applySelection(const std::string& symbolId);
    void applyClearSelection();
    void writeExport(GraphExportFormat format, const ProjectIR& ir, const QString& path);
    void reportFileError(const QString& title, const QString& message);

    ProjectStoreEnvironment environment_;
    SymbolScanner scanner_;

    ScanState scanState_;
    OptionalProjectIR ir_;
    OptionalScanProgress scanProgress_;
    OptionalText lastExportError_;
    QString lastExportErrorTitle_;
    OptionalProjectIR baselineIR_;
    OptionalDiffResult diffResult_;
    bool diffModeEnabled_ = false;
    EdgeSet diffAddedEdges_;
    QStringList recentProjects_;
    QString searchText_;
    OptionalSymbolKind kindFilter_;
    VantrelConfig config_ = VantrelConfig::defaultConfig();
    bool showOnboardingOverlay_ = false;
    OptionalSymbolId selectedSymbolId_;
    // A selection a live update took away: selected again if its symbol comes back
    // before the user chooses anything else (a save caught half-written, a body
    // commented out for a moment).
    OptionalSymbolId selectionAwaitingReturn_;
    ImpactLevels impactLevels_;
    IdSet downstreamContext_;
    NodePositions nodePositions_;
    IdSet collapsedNodes_;
    SymbolIdList allSymbolIdsSorted_;
    QString projectRoot_;

    bool watching_ = true;
    LiveStatus liveStatus_;
    bool workingChangesMode_ = false;
    QString workingChangesRevision_ = QStringLiteral("HEAD");
    WorkingChangesState workingChangesState_;
    OptionalChangesReport workingChanges_;
    IdSet workingChangedIds_;

    std::shared_ptr<LiveSession> liveSession_;
    std::function<void()> stopLive_;  // cancels the full scans of the live project in hand
    std::uint64_t liveGeneration_ = 0;  // raised by every stop; a session's reports carry its own
    std::shared_ptr<ChangesWorker> changesWorker_;  // one per project and revision
    std::uint64_t changesGeneration_ = 0;           // raised by every request
    std::shared_ptr<ScanJob> scanJob_;
    std::uint64_t scanGeneration_ = 0;  // raised by every reset; a job's reports carry its own
    bool didAttemptFirstLaunch_ = false;
    QThreadPool pool_;  // last: destroyed first, after the destructor has cancelled and waited
};

}  // namespace vantrel
