// One scan run off the main thread, in two legs: the count, and after the main
// thread's go-ahead the scan itself, which opens a LiveProject so that the graph can be
// kept up to date afterwards. Every report of the opening scan is posted to the
// receiver's thread in the order it was made, none merged or dropped. Cancellation is a
// flag that the scanner polls; a cancelled scan ends with a cancelled failure, never a
// partial graph. The flag stays the live project's: cancelling the job later also stops
// the full scans the live project runs when its settings change.
#pragma once

#include <QObject>
#include <QString>
#include <QThreadPool>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/config/VantrelConfig.h"
#include "core/live/LiveProject.h"
#include "core/model/ProjectIR.h"
#include "core/scan/ScanProgress.h"
#include "core/scan/SymbolScanner.h"

namespace vantrel {

// Counts the files of a scan; the scanner's own count unless replaced.
using FileCounter =
    std::function<std::int64_t(const std::string& root, const VantrelConfig& config, const CancelCheck& isCancelled)>;

struct ScanFailure {
    bool cancelled = false;
    QString message;  // the error's text; empty when cancelled
    QString file;     // the file the scan failed on (absolute), when one file is the cause
};

// A project the scan opened: its first graph, and the live project that holds it.
struct OpenedProject {
    std::shared_ptr<ProjectIR> graph;  // a copy of its own, for the receiver to take
    std::unique_ptr<LiveProject> live;
};

class ScanJob : public std::enable_shared_from_this<ScanJob> {
public:
    // All run on the receiver's thread.
    struct Handlers {
        std::function<void(const ScanProgress&)> progress;
        std::function<void(std::int64_t fileCount)> counted;
        // The receiver takes the live project out of the shared holder.
        std::function<void(std::shared_ptr<OpenedProject>)> finished;
        std::function<void(const ScanFailure&)> failed;
    };

    // The batch size and parse concurrency of every scan the application runs.
    static constexpr std::int64_t kBatchSize = 200;
    static constexpr std::int64_t kMaxConcurrentParses = 4;

    ScanJob(SymbolScanner scanner, std::string root, VantrelConfig config, FileCounter counter, QObject* receiver,
            Handlers handlers);

    // Reports "Counting files…", counts, and reports `counted` (or `failed`).
    void startCount(QThreadPool& pool);
    // Opens the live project (its first, full scan); reports each progress step of that
    // scan, then `finished` or `failed`. Progress of later full scans is not reported.
    void startScan(QThreadPool& pool, std::int64_t fileCount);

    // Safe from any thread; the running leg notices at its next poll.
    void cancel() { cancelled_.store(true); }
    bool isCancelled() const { return cancelled_.load(); }

private:
    template <typename Report>
    void post(Report report);
    CancelCheck cancelCheck();
    void runGuarded(const std::function<void()>& body);

    SymbolScanner scanner_;
    std::string root_;
    VantrelConfig config_;
    FileCounter counter_;
    QObject* receiver_;
    Handlers handlers_;
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> opened_{false};  // the first scan is over: further progress is the live project's own
};

}  // namespace vantrel
