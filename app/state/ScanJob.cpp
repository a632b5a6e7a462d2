#include "app/state/ScanJob.h"

#include "app/state/PreferencesManager.h"

#include <QMetaObject>

namespace vantrel {

ScanJob::ScanJob(SymbolScanner scanner, std::string root, VantrelConfig config, FileCounter counter, QObject* receiver,
                 Handlers handlers)
    : scanner_(std::move(scanner)),
      root_(std::move(root)),
      config_(std::move(config)),
      counter_(std::move(counter)),
      receiver_(receiver),
      handlers_(std::move(handlers)) {
    if (!counter_) {
        counter_ = [scanner = scanner_](const std::string& root, const VantrelConfig& config,
                                        const CancelCheck& isCancelled) {
            return scanner.countSourceFiles(root, config, isCancelled);
        };
    }
}

// Queued calls from one thread to one receiver are delivered in the order posted.
template <typename Report>
void ScanJob::post(Report report) {
    QMetaObject::invokeMethod(receiver_, std::move(report), Qt::QueuedConnection);
}

CancelCheck ScanJob::cancelCheck() {
    return [self = shared_from_this()] { return self->isCancelled(); };
}

void ScanJob::runGuarded(const std::function<void()>& body) {
    try {
        body();
    } catch (const ScanError& error) {
        bool cancelled = error.kind() == ScanError::Kind::cancelled;
        ScanFailure failure{cancelled, cancelled ? QString() : QString::fromUtf8(error.what()),
                            QString::fromStdString(error.path())};
        post([self = shared_from_this(), failure] { self->handlers_.failed(failure); });
    } catch (const std::exception& error) {
        ScanFailure failure{false, QString::fromUtf8(error.what()), {}};
        post([self = shared_from_this(), failure] { self->handlers_.failed(failure); });
    }
}

void ScanJob::startCount(QThreadPool& pool) {
    pool.start([self = shared_from_this()] {
        self->runGuarded([&] {
            ScanProgress counting{ScanPhase::discoveringFiles, 0, 1, std::string("Counting files\u2026")};
            self->post([self, counting] { self->handlers_.progress(counting); });
            std::int64_t count = self->counter_(self->root_, self->config_, self->cancelCheck());
            self->post([self, count] { self->handlers_.counted(count); });
        });
    });
}

void ScanJob::startScan(QThreadPool& pool, std::int64_t fileCount) {
    pool.start([self = shared_from_this(), fileCount,
                loadConfig = PreferencesManager::liveConfigLoader(QString::fromStdString(root_), config_)] {
        self->runGuarded([&] {
            LiveProjectOptions options;
            options.root = self->root_;
            options.loadConfig = loadConfig;
            options.maxConcurrentParses = kMaxConcurrentParses;
            options.knownFileCount = fileCount;
            // Captures the job weakly: the live project outlives it, and must not keep it.
            options.progress = [weak = self->weak_from_this()](const ScanProgress& report) {
                auto job = weak.lock();
                if (!job || job->opened_.load()) return;
                job->post([job, report] { job->handlers_.progress(report); });
            };
            options.isCancelled = self->cancelCheck();
            auto opened = std::make_shared<OpenedProject>();
            opened->live = std::make_unique<LiveProject>(self->scanner_, std::move(options));
            opened->live->open();
            self->opened_.store(true);
            opened->graph = std::make_shared<ProjectIR>(opened->live->graph());
            self->post([self, opened] { self->handlers_.finished(opened); });
        });
    });
}

}  // namespace vantrel
