#include "app/state/ScanJob.h"

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
    pool.start([self = shared_from_this(), fileCount] {
        self->runGuarded([&] {
            auto progress = [&self](const ScanProgress& report) {
                self->post([self, report] { self->handlers_.progress(report); });
            };
            auto ir = std::make_shared<ProjectIR>(self->scanner_.scanProject(self->root_, self->config_, kBatchSize,
                                                                             kMaxConcurrentParses, fileCount, progress,
                                                                             self->cancelCheck()));
            self->post([self, ir] { self->handlers_.finished(ir); });
        });
    });
}

}  // namespace vantrel
