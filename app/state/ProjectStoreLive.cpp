// The project store kept live: the session that follows the files, and the Working
// Changes computed against a git revision.
#include <QDateTime>
#include <QMetaObject>
#include <atomic>
#include <mutex>

#include "app/state/PreferencesManager.h"
#include "app/state/ProjectStore.h"
#include "core/changes/GitRepository.h"
#include "core/changes/WorkingChanges.h"
#include "core/live/LiveSession.h"

namespace vantrel {

namespace {

// Everything below the WorkingChanges and the session is thrown as one of these.
QString errorText(const std::exception& error) { return QString::fromUtf8(error.what()).simplified(); }

// The ids among the changed symbols that the current graph holds (removed ones have no node).
IdSet changedIdsIn(const ChangesReport& report, const ProjectIR& ir) {
    IdSet ids;
    for (const ReportedSymbol& symbol : report.changed)
        if (symbol.change != ChangeKind::removed && ir.symbols.count(symbol.id)) ids.insert(symbol.id);
    return ids;
}

}  // namespace

// One WorkingChanges per project and revision: it keeps the base graph from one compute to
// the next. Computations run one at a time under the mutex; one that a newer request has
// superseded by the time it gets the mutex does not run at all.
struct ProjectStore::ChangesWorker {
    WorkingChangesOptions options;
    std::mutex mutex;
    std::unique_ptr<WorkingChanges> changes;  // under mutex; made by the first computation
    std::atomic<std::uint64_t> latest{0};
    std::atomic<bool> abandoned{false};  // the store has let go of it: a base scan may stop
};

namespace {

void abandon(const std::shared_ptr<ProjectStore::ChangesWorker>& worker) {
    if (worker) worker->abandoned.store(true);
}

}  // namespace

void ProjectStore::setWatching(bool on) {
    if (on == watching_) return;
    write(watching_, on, &ProjectStore::watchingChanged);
    if (!on) {
        stopLiveSession();
        write(liveStatus_, LiveStatus{}, &ProjectStore::liveStatusChanged);
    } else if (ir_ && scanState_.kind == ScanState::Kind::ready) {
        reopenLive();
    }
}

// The session is built here (registering the folders with the watcher is quick) and
// destroyed on the pool, since its destructor waits for an update in progress.
void ProjectStore::startLiveSession(std::unique_ptr<LiveProject> project, std::function<void()> stop) {
    stopLiveSession();
    stopLive_ = std::move(stop);
    const std::uint64_t generation = liveGeneration_;
    write(liveStatus_, LiveStatus{LiveStatus::Kind::upToDate, {}, {}}, &ProjectStore::liveStatusChanged);
    LiveSessionHandlers handlers;
    handlers.updated = [this, generation](const LiveUpdate&, std::shared_ptr<const ProjectIR> graph) {
        // The copy the store keeps is made here, off the main thread.
        auto copy = std::make_shared<ProjectIR>(*graph);
        QMetaObject::invokeMethod(
            this,
            [this, generation, copy] {
                if (generation == liveGeneration_) applyLiveGraph(copy);
            },
            Qt::QueuedConnection);
    };
    handlers.state = [this, generation](LiveState state, const std::string& message) {
        QMetaObject::invokeMethod(
            this,
            [this, generation, state, text = QString::fromStdString(message)] {
                if (generation == liveGeneration_) applyLiveState(static_cast<int>(state), text);
            },
            Qt::QueuedConnection);
    };
    handlers.notice = [this, generation](const std::string& message) {
        QMetaObject::invokeMethod(
            this,
            [this, generation, text = QString::fromStdString(message)] {
                if (generation == liveGeneration_) emit liveNotice(text);
            },
            Qt::QueuedConnection);
    };
    try {
        liveSession_ = std::make_shared<LiveSession>(std::move(project), environment_.live, std::move(handlers));
    } catch (const std::exception& error) {
        write(liveStatus_, LiveStatus{LiveStatus::Kind::failed, {}, QStringLiteral("Watching failed: ") + errorText(error)},
              &ProjectStore::liveStatusChanged);
    }
}

// Watching turned on again: a new live project opens (its full scan goes through the
// cache, so it is quick) and catches up with whatever changed while nobody watched.
void ProjectStore::reopenLive() {
    stopLiveSession();
    const std::uint64_t generation = liveGeneration_;
    write(liveStatus_, LiveStatus{LiveStatus::Kind::updating, {}, {}}, &ProjectStore::liveStatusChanged);
    auto stopped = std::make_shared<std::atomic<bool>>(false);
    stopLive_ = [stopped] { stopped->store(true); };
    LiveProjectOptions options;
    options.root = projectRoot_.toStdString();
    options.loadConfig = PreferencesManager::liveConfigLoader(projectRoot_, config_);
    options.maxConcurrentParses = ScanJob::kMaxConcurrentParses;
    options.isCancelled = [stopped] { return stopped->load(); };
    pool_.start([this, generation, stopped, scanner = scanner_, options = std::move(options)]() mutable {
        auto project = std::make_shared<std::unique_ptr<LiveProject>>(
            std::make_unique<LiveProject>(std::move(scanner), std::move(options)));
        std::shared_ptr<ProjectIR> graph;
        QString failure;
        try {
            (*project)->open();
            graph = std::make_shared<ProjectIR>((*project)->graph());
        } catch (const std::exception& error) {
            failure = errorText(error);
        }
        QMetaObject::invokeMethod(
            this,
            [this, generation, stopped, project, graph, failure] {
                if (generation != liveGeneration_) return;
                if (!graph) {
                    write(liveStatus_,
                          LiveStatus{LiveStatus::Kind::failed, {}, QStringLiteral("Update failed: ") + failure},
                          &ProjectStore::liveStatusChanged);
                    return;
                }
                applyLiveGraph(graph);
                startLiveSession(std::move(*project), [stopped] { stopped->store(true); });
                write(liveStatus_, LiveStatus{LiveStatus::Kind::updated, QDateTime::currentDateTime(), {}},
                      &ProjectStore::liveStatusChanged);
            },
            Qt::QueuedConnection);
    });
}

// The session is destroyed on the pool: its destructor waits for an update in progress.
void ProjectStore::stopLiveSession() {
    ++liveGeneration_;
    if (stopLive_) stopLive_();
    stopLive_ = nullptr;
    if (liveSession_) pool_.start([session = std::move(liveSession_)]() mutable { session.reset(); });
    liveSession_.reset();
    if (liveStatus_.kind != LiveStatus::Kind::notWatching)
        write(liveStatus_, LiveStatus{}, &ProjectStore::liveStatusChanged);
}

void ProjectStore::applyLiveState(int state, const QString& message) {
    switch (static_cast<LiveState>(state)) {
        case LiveState::updating:
            write(liveStatus_, LiveStatus{LiveStatus::Kind::updating, {}, {}}, &ProjectStore::liveStatusChanged);
            break;
        case LiveState::upToDate:
            write(liveStatus_, LiveStatus{LiveStatus::Kind::updated, QDateTime::currentDateTime(), {}},
                  &ProjectStore::liveStatusChanged);
            break;
        case LiveState::failed:
            write(liveStatus_, LiveStatus{LiveStatus::Kind::failed, {}, QStringLiteral("Update failed: ") + message},
                  &ProjectStore::liveStatusChanged);
            break;
    }
}

// A new graph of the same project: what the user set up stays, the selection as long as
// its symbol does, and again when the symbol comes back; collapsed ids are kept for the
// same reason (the canvas ignores ids it has no node for). Base positions are laid out
// again only when the set of symbols changed, so that an edit of a body leaves every
// node where it was.
void ProjectStore::applyLiveGraph(std::shared_ptr<ProjectIR> graph) {
    if (!ir_ || scanState_.kind != ScanState::Kind::ready) return;
    SymbolIdList ids;
    ids.reserve(graph->symbols.size());
    for (const auto& entry : graph->symbols) ids.push_back(entry.first);  // the map keeps them ascending
    const bool sameSymbols = ids == allSymbolIdsSorted_;
    write(ir_, std::move(*graph), &ProjectStore::irChanged);
    if (!sameSymbols) {
        write(nodePositions_, computeForceLayout(*ir_), &ProjectStore::nodePositionsChanged);
        write(allSymbolIdsSorted_, std::move(ids), &ProjectStore::allSymbolIdsSortedChanged);
    }
    if (selectedSymbolId_ && ir_->symbols.count(*selectedSymbolId_)) {
        const std::string id = *selectedSymbolId_;  // applySelection writes the field it reads
        applySelection(id);
    } else if (selectedSymbolId_) {
        std::string gone = *selectedSymbolId_;
        applyClearSelection();
        selectionAwaitingReturn_ = std::move(gone);
    } else if (selectionAwaitingReturn_ && ir_->symbols.count(*selectionAwaitingReturn_)) {
        const std::string id = *selectionAwaitingReturn_;
        applySelection(id);
    }
    recomputeDiffIfPossible();
    if (workingChangesMode_) requestWorkingChanges();
}

// ---- Working Changes ----

void ProjectStore::setWorkingChangesMode(bool on) {
    if (on && workingChangesState_.kind == WorkingChangesState::Kind::unavailable) on = false;
    write(workingChangesMode_, on, &ProjectStore::workingChangesModeChanged);
    if (on) {
        requestWorkingChanges();
    } else if (!workingChangedIds_.empty()) {
        write(workingChangedIds_, IdSet{}, &ProjectStore::workingChangedIdsChanged);
    }
}

void ProjectStore::setWorkingChangesRevision(const QString& revision) {
    QString base = revision.trimmed();
    if (base.isEmpty()) base = QStringLiteral("HEAD");
    if (base == workingChangesRevision_) return;
    write(workingChangesRevision_, base, &ProjectStore::workingChangesRevisionChanged);
    abandon(changesWorker_);  // another base: another base graph
    changesWorker_.reset();
    if (workingChangesMode_) requestWorkingChanges();
}

void ProjectStore::forgetWorkingChanges() {
    ++changesGeneration_;
    abandon(changesWorker_);
    changesWorker_.reset();
    write(workingChangesState_, WorkingChangesState{}, &ProjectStore::workingChangesStateChanged);
    write(workingChanges_, std::nullopt, &ProjectStore::workingChangesChanged);
    write(workingChangedIds_, IdSet{}, &ProjectStore::workingChangedIdsChanged);
}

// Asks git once per project whether its folder is in a work tree; the answer arrives
// on a later turn and enables the mode (or says why it cannot be).
void ProjectStore::probeWorkTree() {
    const std::uint64_t generation = scanGeneration_;
    pool_.start([this, generation, root = projectRoot_.toStdString()] {
        QString why;
        try {
            git::locateWorkTree(root);
        } catch (const std::exception& error) {
            why = errorText(error);
        }
        QMetaObject::invokeMethod(
            this,
            [this, generation, why] {
                if (generation != scanGeneration_) return;
                if (!why.isEmpty()) {
                    write(workingChangesState_, WorkingChangesState{WorkingChangesState::Kind::unavailable, why},
                          &ProjectStore::workingChangesStateChanged);
                    if (workingChangesMode_) write(workingChangesMode_, false, &ProjectStore::workingChangesModeChanged);
                    return;
                }
                write(workingChangesState_, WorkingChangesState{WorkingChangesState::Kind::idle, {}},
                      &ProjectStore::workingChangesStateChanged);
                if (workingChangesMode_) requestWorkingChanges();
            },
            Qt::QueuedConnection);
    });
}

void ProjectStore::requestWorkingChanges() {
    using Kind = WorkingChangesState::Kind;
    if (!ir_ || workingChangesState_.kind == Kind::unknown || workingChangesState_.kind == Kind::unavailable) return;
    if (!changesWorker_) {
        changesWorker_ = std::make_shared<ChangesWorker>();
        WorkingChangesOptions& options = changesWorker_->options;
        options.root = projectRoot_.toStdString();
        options.revision = workingChangesRevision_.toStdString();
        options.config = config_;
        options.supportDir = environment_.cache.applicationSupportDir().value_or(std::string());
        options.maxConcurrentParses = ScanJob::kMaxConcurrentParses;
        options.isCancelled = [flag = &changesWorker_->abandoned] { return flag->load(); };
    }
    const std::uint64_t generation = ++changesGeneration_;
    changesWorker_->latest.store(generation);
    write(workingChangesState_, WorkingChangesState{Kind::computing, {}}, &ProjectStore::workingChangesStateChanged);
    auto current = std::make_shared<const ProjectIR>(*ir_);
    pool_.start([this, generation, current, worker = changesWorker_, depth = config_.maxDepth] {
        std::lock_guard lock(worker->mutex);
        if (worker->latest.load() != generation) return;  // a newer request follows
        std::shared_ptr<ChangesReport> report;
        QString error;
        try {
            if (!worker->changes) worker->changes = std::make_unique<WorkingChanges>(worker->options);
            report = std::make_shared<ChangesReport>(worker->changes->compute(*current, depth));
        } catch (const std::exception& failure) {
            error = errorText(failure);
        }
        QMetaObject::invokeMethod(
            this, [this, generation, report, error] { applyWorkingChanges(generation, report, error); },
            Qt::QueuedConnection);
    });
}

void ProjectStore::applyWorkingChanges(std::uint64_t generation, std::shared_ptr<ChangesReport> report,
                                       const QString& error) {
    if (generation != changesGeneration_) return;
    using Kind = WorkingChangesState::Kind;
    if (!report) {
        write(workingChanges_, std::nullopt, &ProjectStore::workingChangesChanged);
        write(workingChangedIds_, IdSet{}, &ProjectStore::workingChangedIdsChanged);
        write(workingChangesState_, WorkingChangesState{Kind::failed, error}, &ProjectStore::workingChangesStateChanged);
        return;
    }
    IdSet ids = workingChangesMode_ && ir_ ? changedIdsIn(*report, *ir_) : IdSet{};
    write(workingChanges_, std::move(*report), &ProjectStore::workingChangesChanged);
    write(workingChangedIds_, std::move(ids), &ProjectStore::workingChangedIdsChanged);
    write(workingChangesState_, WorkingChangesState{Kind::ready, {}}, &ProjectStore::workingChangesStateChanged);
}

}  // namespace vantrel
