// The scan's first walk: every source file is read and hashed, its cache record taken
// when the hash matches, else the file is parsed, analysed and its record written; each
// file's symbols and diagnostics are merged into the graph. Files go in batches (flushes)
// to the lanes of the pool. Throws ScanError for the first file that fails, after every
// file of its flush has finished.
#pragma once

#include <cstdint>
#include <exception>
#include <mutex>
#include <vector>

#include "core/cache/AsyncSemaphore.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/scan/FileAnalysis.h"
#include "core/scan/internal/GraphBuilder.h"
#include "core/scan/internal/ScanContext.h"

namespace vantrel::detail {

class ParseWalk {
public:
    ParseWalk(const ScanContext& scan, GraphBuilder& graph, std::int64_t batchSize, std::int64_t permits,
              const TSConfigResolver* tsconfig);

    void run(Enumerator& enumerator);

private:
    struct Outcome {
        const EnumeratedFile* file = nullptr;
        bool hasResult = false;
        FileSymbols symbols;
        std::exception_ptr error;
    };

    void flush(const std::vector<EnumeratedFile>& files, const FileAnalysisContext& context);
    void deliver(Outcome&& outcome);
    void receive(Outcome& outcome);

    const ScanContext& scan_;
    GraphBuilder& graph_;
    const std::int64_t batchSize_;
    const TSConfigResolver* tsconfig_;
    AsyncSemaphore semaphore_;
    std::vector<FileScratch> scratch_;  // one per lane
    // Precise linking: where each lane encodes a file's call sites and keeps them.
    struct LaneSites {
        std::string scratch;
        SiteWriter writer;
    };
    std::vector<LaneSites> sites_;  // one per lane
    std::int64_t processed_ = 0;
    // Receiving a flush's outcomes (see `deliver`): the graph, `processed_` and the
    // reports are touched only while `receiveMutex_` is held.
    std::mutex arrivalsMutex_;
    std::vector<Outcome> arrivals_;
    std::mutex receiveMutex_;
    std::exception_ptr flushFailure_;
};

}  // namespace vantrel::detail
