// The scan driver over a realistic mixed fixture: linking across files and languages,
// the cache gate, incremental re-scans, progress, cancellation and the failure rules.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <mutex>

#include "core/cache/Hashing.h"
#include "core/config/GlobalDefaults.h"
#include "core/export/ProjectExport.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;

constexpr const char* kStart = "src/app/main.ts:start:function";
constexpr const char* kMathRun = "src/lib/math.ts:run:function";
constexpr const char* kReport = "py/pkg/report.py:report:function";
constexpr const char* kComputeTotal = "py/pkg/totals.py:compute_total:function";

struct Scan {
    ProjectIR ir;
    std::vector<ScanProgress> reports;
    std::int64_t parsed = 0;
    std::int64_t fromCache = 0;
};

class ScanFixture : public ::testing::Test {
protected:
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    std::string support = dir / "support";
    VantrelConfig config = defaultGlobalConfig();

    SymbolScanner scanner(std::optional<std::string> supportDir) const {
        return SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(std::move(supportDir)));
    }

    Scan scan(std::int64_t batchSize = 200, std::int64_t jobs = 4, std::optional<std::int64_t> known = std::nullopt,
              CancelCheck cancel = {}) {
        return scanWith(scanner(support), batchSize, jobs, known, std::move(cancel));
    }

    Scan scanWith(const SymbolScanner& s, std::int64_t batchSize = 200, std::int64_t jobs = 4,
                  std::optional<std::int64_t> known = std::nullopt, CancelCheck cancel = {}) {
        Scan result;
        ScanStats stats;
        result.ir = s.scanProject(
            root, config, batchSize, jobs, known, [&](const ScanProgress& p) { result.reports.push_back(p); }, cancel,
            &stats);
        result.parsed = stats.parsed;
        result.fromCache = stats.fromCache;
        return result;
    }

    static std::string normalized(ProjectIR ir) {
        ir.lastScan = 0;
        return ProjectExport::projectIRJSON(ir, true);
    }
};

TEST_F(ScanFixture, LinksAcrossFilesAndLanguages) {
    Scan first = scan();
    const auto& symbols = first.ir.symbols;
    ASSERT_EQ(symbols.size(), 14u);

    // Imported name with two candidates: the import decides.
    EXPECT_EQ(symbols.at(kStart).refsOut,
              (IdSet{kMathRun, "src/app/main.ts:format:function", "src/lib/math.ts:tidy:function"}));
    // Unique names link across languages, both ways round.
    EXPECT_EQ(symbols.at("src/app/main.ts:format:function").refsOut, (IdSet{kReport}));
    EXPECT_EQ(symbols.at("src/app/View.tsx:summarize:function").refsOut, (IdSet{kComputeTotal}));
    EXPECT_EQ(symbols.at(kComputeTotal).refsIn, (IdSet{kReport, "src/app/View.tsx:summarize:function"}));
    // An aliased import name that is no symbol gives no edge.
    EXPECT_EQ(symbols.at("src/app/View.tsx:View:component").refsOut, (IdSet{"src/app/View.tsx:summarize:function"}));
    // Same-named `run` in another file is reached only from its own file.
    EXPECT_EQ(symbols.at("src/lib/strings.ts:run:function").refsIn, IdSet{});

    // Diagnostics are ordered by importer, then import path.
    ASSERT_EQ(first.ir.diagnostics.size(), 4u);
    EXPECT_EQ(first.ir.diagnostics[0].importerPath, "py/pkg/report.py");
    EXPECT_EQ(first.ir.diagnostics[1].importPath, "./nowhere");
    EXPECT_EQ(first.ir.diagnostics[2].importPath, "./nowhere");
    EXPECT_EQ(first.ir.diagnostics[3].importPath, "react");
    EXPECT_EQ(first.parsed, 7);
}

TEST_F(ScanFixture, ReportsProgressExactlyAsTheScanGoes) {
    Scan first = scan(3, 2);
    const auto& r = first.reports;
    ASSERT_EQ(r.size(), 1u + 7u + 1u + 7u + 1u);
    EXPECT_EQ(r.front(), (ScanProgress{ScanPhase::discoveringFiles, 0, 7, std::nullopt}));
    for (int i = 1; i <= 7; ++i) {
        EXPECT_EQ(r[i].phase, ScanPhase::parsing);
        EXPECT_EQ(r[i].processed, i);
        EXPECT_TRUE(r[i].currentPath.has_value());
    }
    EXPECT_EQ(r[8], (ScanProgress{ScanPhase::linking, 0, 7, std::nullopt}));
    for (int i = 1; i <= 7; ++i) EXPECT_EQ(r[8 + i].processed, i);
    EXPECT_EQ(r.back(), (ScanProgress{ScanPhase::savingCache, 7, 7, std::nullopt}));
}

TEST_F(ScanFixture, RepeatScansReparseOnlyWhatChanged) {
    Scan first = scan();
    Scan second = scan();
    EXPECT_EQ(second.parsed, 0);
    EXPECT_EQ(second.fromCache, 7);
    EXPECT_EQ(normalized(second.ir), normalized(first.ir));

    dir.write("project/src/lib/strings.ts", "export function run() { return pad('y'); }\nexport function pad() {}\n");
    Scan third = scan();
    EXPECT_EQ(third.parsed, 1);
    EXPECT_EQ(third.ir.symbols.at("src/lib/strings.ts:run:function").range.endLine, 1);

    // A corrupt record only causes a re-parse of its file.
    auto projectDir = ProjectCache(support).projectDirURL(root);
    ASSERT_TRUE(projectDir);
    std::string record = *projectDir + "/files/" + sha256Hex("src/app/main.ts") + ".json";
    ASSERT_TRUE(pathExists(record));
    ASSERT_TRUE(writeFileAtomically(record, "{\"calls\": ["));
    Scan fourth = scan();
    EXPECT_EQ(fourth.parsed, 1);
    EXPECT_EQ(normalized(fourth.ir), normalized(third.ir));
}

TEST_F(ScanFixture, ChangedSettingsVoidTheProjectsRecords) {
    scan();
    config.exclude.push_back("**/never/**");
    EXPECT_EQ(scan().parsed, 7);
    config.enabledLanguages = std::vector<std::string>{"python", "js-family"};
    EXPECT_EQ(scan().parsed, 7);
    EXPECT_EQ(scan().parsed, 0);
    dir.write("project/tsconfig.json", "{}");
    EXPECT_EQ(scan().parsed, 7);

    // A meta record of another schema voids the records even with a matching key.
    ProjectCache cache(support);
    auto meta = cache.loadMeta(root);
    ASSERT_TRUE(meta);
    meta->schema = 2;
    cache.saveMeta(*meta, root);
    EXPECT_EQ(scan().parsed, 7);

    config.enabledLanguages = std::vector<std::string>{"python"};
    Scan pythonOnly = scan();
    EXPECT_EQ(pythonOnly.parsed, 3);
    EXPECT_EQ(pythonOnly.ir.symbols.size(), 4u);
}

TEST_F(ScanFixture, OneUnreadableFileFailsTheScanWithItsPath) {
    fs::create_directories(root + "/src/broken.ts");  // a folder cannot be read as a file
    try {
        scan();
        FAIL() << "the scan should fail";
    } catch (const ScanError& e) {
        EXPECT_EQ(e.kind(), ScanError::Kind::readFailed);
        EXPECT_EQ(e.path(), root + "/src/broken.ts");
        EXPECT_NE(std::string(e.what()).find("broken.ts"), std::string::npos);
    }
}

TEST_F(ScanFixture, AnUnwritableCacheStillGivesEverySymbolButNoEdges) {
    dir.write("support", "a file where the cache folder should be");
    Scan result = scan();
    EXPECT_EQ(result.ir.symbols.size(), 14u);
    EXPECT_EQ(result.ir.diagnostics.size(), 4u);
    for (const auto& [id, symbol] : result.ir.symbols) {
        EXPECT_TRUE(symbol.refsIn.empty()) << id;
        EXPECT_TRUE(symbol.refsOut.empty()) << id;
    }
}

TEST_F(ScanFixture, CancellationFromTheStartStillWritesTheMetaRecord) {
    EXPECT_THROW(
        {
            try {
                scan(200, 4, std::nullopt, [] { return true; });
            } catch (const ScanError& e) {
                EXPECT_EQ(e.kind(), ScanError::Kind::cancelled);
                throw;
            }
        },
        ScanError);
    EXPECT_TRUE(ProjectCache(support).loadMeta(root).has_value());

    // Cancelling mid-way leaves valid records that the next scan uses.
    std::atomic<int> polls{0};
    EXPECT_THROW(scan(2, 2, 7, [&] { return ++polls > 12; }), ScanError);
    Scan after = scan();
    EXPECT_LT(after.parsed, 7);
    EXPECT_EQ(normalized(after.ir), normalized(scan().ir));
}

// A progress observer that fails mid-phase ends the scan with its error, after the tasks
// still running on that batch or window have finished (they write into the scan's frame:
// the sanitizer build catches a scan that leaves them behind).
TEST_F(ScanFixture, AFailingProgressObserverEndsTheScanCleanly) {
    for (ScanPhase phase : {ScanPhase::parsing, ScanPhase::linking}) {
        int seen = 0;
        auto observer = [&](const ScanProgress& p) {
            if (p.phase == phase && p.processed > 0 && ++seen == 3) throw std::runtime_error("observer gave up");
        };
        EXPECT_THROW(scanner(support).scanProject(root, config, 200, 4, std::nullopt, observer, {}, nullptr),
                     std::runtime_error);
    }
    // What the interrupted scans wrote is sound.
    EXPECT_EQ(normalized(scan().ir), normalized(scanWith(scanner(dir / "support-clean")).ir));
}

TEST_F(ScanFixture, BatchAndCountEdgeCases) {
    Scan tiny = scan(0, 0, 0);
    EXPECT_EQ(tiny.reports.front().total, 1);
    EXPECT_EQ(tiny.reports[7].processed, 7);  // passes the known total of 1
    EXPECT_EQ(tiny.reports.back(), (ScanProgress{ScanPhase::savingCache, 1, 1, std::nullopt}));
    EXPECT_EQ(tiny.ir.symbols.size(), 14u);
}

TEST_F(ScanFixture, ResultDoesNotDependOnParallelism) {
    Scan one = scanWith(scanner(dir / "support-1"), 1, 1);
    Scan eight = scanWith(scanner(dir / "support-8"), 3, 8);
    EXPECT_EQ(normalized(one.ir), normalized(eight.ir));
}

TEST(ScanEmpty, AnEmptyOrMissingFolderGivesThreeReports) {
    TempDir dir;
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "support"));
    for (std::string root : {dir / "empty", dir / "missing"}) {
        if (root.ends_with("empty")) fs::create_directories(root);
        std::vector<ScanProgress> reports;
        ProjectIR ir = scanner.scanProject(root, defaultGlobalConfig(), 200, 4, std::nullopt,
                                           [&](const ScanProgress& p) { reports.push_back(p); }, {});
        EXPECT_TRUE(ir.symbols.empty());
        EXPECT_TRUE(ir.diagnostics.empty());
        ASSERT_EQ(reports.size(), 3u);
        EXPECT_EQ(reports[0], (ScanProgress{ScanPhase::discoveringFiles, 0, 1, std::nullopt}));
        EXPECT_EQ(reports[1], (ScanProgress{ScanPhase::linking, 0, 1, std::nullopt}));
        EXPECT_EQ(reports[2], (ScanProgress{ScanPhase::savingCache, 1, 1, std::nullopt}));
    }
}

}  // namespace
}  // namespace vantrel
