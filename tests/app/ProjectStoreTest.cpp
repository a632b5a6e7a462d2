// The project store over real scans of the scan-project fixture: the scan lifecycle
// (publishing, the large-project question, baselines and export, first launch, failure,
// a superseded scan), then selection, impact and filtering on one scanned graph, whose
// callers of _values form three levels.
#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <algorithm>
#include <atomic>

#include "app/state/Preferences.h"
#include "app/state/RecentProjectsManager.h"
#include "core/model/IRJson.h"
#include "core/util/FileIO.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

using Kind = ScanState::Kind;
const std::string kValues = "py/pkg/totals.py:_values:function";
const std::string kFirstId = "py/pkg/report.py:fetch:function";

FileCounter fixedCount(std::int64_t count) {
    return [count](const std::string&, const VantrelConfig&, const CancelCheck&) { return count; };
}

ProjectIR readGraph(const std::string& path) { return decodeProjectIR(readWholeFile(path).value()); }

}  // namespace

class ProjectStoreScanTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    void scanPublishesEveryReportThenTheGraphAndSelectsLater() {
        StoreFixture f;
        QString root = copyScanProject(f.dir);
        std::vector<std::pair<ScanPhase, std::int64_t>> reports;
        connect(&f.store, &ProjectStore::scanProgressChanged, [&] {
            if (auto report = f.store.scanProgress()) reports.emplace_back(report->phase, report->processed);
        });
        bool selectedWithResult = false;
        connect(&f.store, &ProjectStore::scanStateChanged, [&] {
            if (f.store.scanState().kind == Kind::ready) selectedWithResult = f.store.selectedSymbolId().has_value();
        });

        f.store.scan(root + "/src/..//");
        QCOMPARE(f.store.scanState(), ScanState::indexing());
        QVERIFY(!f.store.scanProgress());
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QVERIFY(!selectedWithResult);
        settle();
        QCOMPARE(f.store.selectedSymbolId(), OptionalSymbolId(kFirstId));
        QCOMPARE(f.store.allSymbolIdsSorted().size(), std::size_t{14});
        QCOMPARE(f.store.recentProjects(), QStringList{root});
        QVERIFY(!f.store.scanProgress());

        // The count, one report per file in each walk, the end: none merged or dropped.
        std::vector<std::pair<ScanPhase, std::int64_t>> expected{{ScanPhase::discoveringFiles, 0},
                                                                 {ScanPhase::discoveringFiles, 0}};
        for (std::int64_t i = 1; i <= 7; ++i) expected.emplace_back(ScanPhase::parsing, i);
        for (std::int64_t i = 0; i <= 7; ++i) expected.emplace_back(ScanPhase::linking, i);
        expected.emplace_back(ScanPhase::savingCache, 7);
        QVERIFY(reports == expected);

        // A project without symbols ends ready with nothing selected.
        f.dir.write("quiet/notes.ts", "// nothing but a comment\n");
        f.store.scan(QString::fromStdString(f.dir / "quiet"));
        QVERIFY(waitForScanState(f.store, Kind::ready));
        settle();
        QVERIFY(f.store.ir()->symbols.empty());
        QVERIFY(!f.store.selectedSymbolId());

        // A folder without sources says so and leaves the recent list as it was.
        f.dir.write("empty/notes.txt", "no sources");
        f.store.scan(QString::fromStdString(f.dir / "empty"));
        QVERIFY(waitForScanState(f.store, Kind::failed));
        QCOMPARE(f.store.scanState().title, QStringLiteral("Nothing to scan"));
        QCOMPARE(f.store.scanState().message, QStringLiteral("No JavaScript, TypeScript or Python files in ") +
                                                  QString::fromStdString(f.dir / "empty") + u'.');
        QCOMPARE(f.store.recentProjects(), (QStringList{QString::fromStdString(f.dir / "quiet"), root}));
    }

    void largeProjectsAskFirst_data() {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        const QString large = QStringLiteral(
            " source files. Scanning may take a while. You can exclude folders (e.g. "
            "build outputs) to speed it up.");
        QTest::newRow("9999: no question") << qint64(9999) << -1 << QString() << QString();
        QTest::newRow("10000: cancel") << qint64(10000) << 1 << "Large project"
                                       << "This project contains 10000" + large;
        QTest::newRow("49999: exclude more") << qint64(49999) << 2 << "Large project"
                                             << "This project contains 49999" + large;
        QTest::newRow("50000: continue")
            << qint64(50000) << 0 << "Very large project"
            << "This project contains 50000 source files. Scanning may take several minutes and use significant "
               "memory. Consider scanning a subdirectory or excluding more folders.";
    }

    // Declining keeps the folder in the recent list and leaves no graph; "Exclude More…"
    // opens the scanning settings instead of scanning.
    void largeProjectsAskFirst() {
        QFETCH(qint64, count);
        QFETCH(int, answer);
        QFETCH(QString, title);
        StoreFixture f(fixedCount(count));
        f.platform.alertAnswer = answer;
        QString root = copyScanProject(f.dir);
        f.store.scan(root);
        bool scans = answer <= 0;
        QVERIFY(waitForScanState(f.store, scans ? Kind::ready : Kind::idle));
        QCOMPARE(f.store.ir().has_value(), scans);
        QCOMPARE(f.store.recentProjects(), QStringList{root});
        QCOMPARE(f.platform.settingsShown, answer == 2 ? 1 : 0);
        QCOMPARE(Preferences::value(prefkeys::kPreferencesSelectedTab).toString(),
                 QString(answer == 2 ? "scanning" : "general"));
        if (title.isEmpty()) {
            QVERIFY(f.platform.alerts.empty());
            return;
        }
        QCOMPARE(f.platform.alerts.size(), std::size_t{1});
        QCOMPARE(f.platform.alerts[0].title, title);
        QTEST(f.platform.alerts[0].text, "text");
        QCOMPARE(f.platform.alerts[0].buttons, (QStringList{"Continue", "Cancel", "Exclude More\u2026"}));
    }

    void baselineSurvivesNewProjectAndExportsAreAtomic() {
        StoreFixture f;
        QString root = copyScanProject(f.dir);
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        const std::string baseline = f.dir / "baseline.json";
        f.platform.nextPath = QString::fromStdString(baseline);
        f.store.exportGraph(GraphExportFormat::json);
        settle();
        QCOMPARE(f.platform.savePanels.back().proposedName, QStringLiteral("vantrel.json"));
        QVERIFY(!f.store.lastExportError());
        QCOMPARE(readGraph(baseline).symbols.size(), std::size_t{14});

        // Against the same graph: no change, and one zero record per level.
        f.store.chooseBaselineSnapshot();
        f.store.setDiffModeEnabled(true);
        f.store.select(kValues);
        settle();
        QCOMPARE(f.store.diffResult(), OptionalDiffResult(ProjectDiffResult{}));
        QCOMPARE(f.store.blastRadiusDeltaCountsForSelection(),
                 (std::vector<LevelDeltaCount>{{1, 0, 0}, {2, 0, 0}, {3, 0, 0}}));

        // A changed project keeps the baseline and is compared with it.
        f.dir.write("project/src/app/main.ts", "export function start() { format(); }\nfunction format() {}\n");
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        f.store.select(kValues);
        settle();
        QVERIFY(f.store.baselineIR());
        QCOMPARE(f.store.diffResult()->removedEdges.size(), std::size_t{3});
        QCOMPARE(f.store.blastRadiusDeltaCountsForSelection(),
                 (std::vector<LevelDeltaCount>{{1, 0, 0}, {2, 0, 0}, {3, 0, 1}}));
        f.store.setDiffModeEnabled(false);
        QVERIFY(f.store.blastRadiusDeltaCountsForSelection().empty());

        // A file that is no graph keeps the earlier baseline and says why.
        f.dir.write("broken.json", "{\"projectId\": ");
        f.platform.nextPath = QString::fromStdString(f.dir / "broken.json");
        f.store.chooseBaselineSnapshot();
        settle();
        QVERIFY(f.store.lastExportError()->startsWith("Failed to load baseline: not valid JSON"));
        QCOMPARE(f.store.baselineIR()->symbols.size(), std::size_t{14});

        // An export that cannot be written reports; the next good one clears the error and
        // writes the graph of the moment the panel opened.
        f.platform.nextPath = QString::fromStdString(f.dir / "no-such-folder/graph.svg");
        f.store.exportGraph(GraphExportFormat::svg);
        settle();
        QVERIFY(!f.store.lastExportError()->isEmpty());
        f.platform.nextPath = QString::fromStdString(f.dir / "graph.json");
        f.store.exportGraph(GraphExportFormat::json);
        f.store.reset();
        settle();
        QVERIFY(!f.store.lastExportError());
        QCOMPARE(readGraph(f.dir / "graph.json").symbols.size(), f.store.baselineIR()->symbols.size());
    }

    void firstLaunchScansTheSampleOnceOutsideRecents() {
        auto counts = std::make_shared<std::atomic<int>>(0);
        StoreFixture f([counts](const std::string& root, const VantrelConfig& config, const CancelCheck& cancel) {
            ++*counts;
            return countSourceFiles(root, config, SymbolScanner::defaultPlugins(), cancel);
        });
        f.dir.copyFixture("scan-project", "app/SampleProject");
        f.store.performFirstLaunchIfNeeded();
        f.store.performFirstLaunchIfNeeded();
        QVERIFY(f.store.showOnboardingOverlay());
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QCOMPARE(counts->load(), 1);
        QVERIFY(RecentProjectsManager::getRecents().isEmpty());
        f.store.completeOnboarding();
        QVERIFY(!f.store.showOnboardingOverlay());

        StoreFixture nextRun;
        nextRun.dir.copyFixture("scan-project", "app/SampleProject");
        nextRun.store.performFirstLaunchIfNeeded();
        settle();
        QVERIFY(!nextRun.store.isScanRunning() && !nextRun.store.ir());

        clearSettings();
        StoreFixture withoutSample;
        withoutSample.store.performFirstLaunchIfNeeded();
        QCOMPARE(withoutSample.store.scanState(),
                 ScanState::failed("Bundled sample project not found in app resources."));

        // A binary inside the build tree takes the repository's sample, which it owns.
        AppLocations built = AppLocations::forApplicationDir(QCoreApplication::applicationDirPath());
        std::optional<QString> sample = built.sampleProjectDir();
        QVERIFY(sample && sample->endsWith("/resources/SampleProject"));
        QVERIFY(built.isInsideApplication(*sample + "/src/../payments"));
        QVERIFY(!built.isInsideApplication(QDir::tempPath()));
    }

    void failedAndCancelledScansHoldNoGraph() {
        StoreFixture f;
        QString root = copyScanProject(f.dir);
        f.dir.write("project/src/broken.ts/inside.txt", "a folder named like a source file cannot be read");
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::failed));
        QVERIFY(f.store.scanState().message.contains("src/broken.ts"));
        QVERIFY(!f.store.ir());

        f.store.scan(root);
        f.store.cancelScan();
        QVERIFY(waitForScanState(f.store, Kind::idle));
        QVERIFY(!f.store.scanProgress());
        QVERIFY(!f.store.ir());
    }

    // Reports and the cancellation of the first scan arrive after the second began; none
    // of them may reach the second scan's state.
    void supersededScanLeavesTheNewerScanAlone() {
        StoreFixture f;
        for (int i = 0; i < 300; ++i)
            f.dir.write("big/m" + std::to_string(i) + ".ts", "export function f" + std::to_string(i) + "() {}\n");
        QString second = copyScanProject(f.dir);
        bool switched = false;
        std::vector<std::string> pathsAfterSwitch;
        std::vector<ScanState> statesAfterSwitch;
        connect(&f.store, &ProjectStore::scanProgressChanged, [&] {
            const auto& report = f.store.scanProgress();
            if (!report) return;
            if (!switched && report->phase == ScanPhase::parsing) {
                switched = true;
                f.store.scan(second);
            } else if (switched && report->currentPath) {
                pathsAfterSwitch.push_back(*report->currentPath);
            }
        });
        connect(&f.store, &ProjectStore::scanStateChanged, [&] {
            if (switched) statesAfterSwitch.push_back(f.store.scanState());
        });
        f.store.scan(QString::fromStdString(f.dir / "big"));
        QVERIFY(QTest::qWaitFor([&] { return switched; }, 30000));
        QVERIFY(waitForScanState(f.store, Kind::ready));
        settle();
        QVERIFY(std::none_of(pathsAfterSwitch.begin(), pathsAfterSwitch.end(),
                             [](const std::string& path) { return path.rfind("m", 0) == 0; }));
        QVERIFY(statesAfterSwitch ==
                (std::vector<ScanState>{ScanState::idle(), ScanState::indexing(), ScanState::ready()}));
        QCOMPARE(f.store.ir()->symbols.size(), std::size_t{14});
    }
};

VANTREL_REGISTER_TEST_CLASS(ProjectStoreScanTest);

// Selection, impact, depth and filtering share one scan.
class ProjectStoreSelectionTest : public QObject {
    Q_OBJECT
    std::unique_ptr<StoreFixture> f_;
    ProjectStore& store() { return f_->store; }

private slots:
    void initTestCase() {
        clearSettings();
        f_ = std::make_unique<StoreFixture>();
        store().scan(copyScanProject(f_->dir));
        QVERIFY(waitForScanState(store(), ScanState::Kind::ready));
        settle();
    }

    void selectionIsDeferredAndNeedsAGraph() {
        StoreFixture empty;
        empty.store.select(kValues);
        settle();
        QVERIFY(!empty.store.selectedSymbolId());

        store().select("py/pkg/report.py:report:function");
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kFirstId));
        settle();
        QCOMPARE(store().downstreamContext(),
                 (IdSet{"py/pkg/report.py:fetch:function", "py/pkg/totals.py:compute_total:function"}));

        store().select(kValues);
        settle();
        ImpactLevels expected{{1, {"py/pkg/totals.py:compute_total:function"}},
                              {2, {"py/pkg/report.py:report:function", "src/app/View.tsx:summarize:function"}},
                              {3, {"src/app/View.tsx:View:component", "src/app/main.ts:format:function"}}};
        QCOMPARE(store().impactLevels(), expected);
        QVERIFY(store().downstreamContext().empty());

        store().toggleCollapsedSelected();
        QCOMPARE(store().collapsedNodes(), IdSet{kValues});
        store().toggleCollapsedSelected();
        QVERIFY(store().collapsedNodes().empty());

        store().select("nowhere.ts:ghost:function");
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId("nowhere.ts:ghost:function"));
        QVERIFY(store().impactLevels().empty());

        store().clearSelection();
        QVERIFY(store().selectedSymbolId());
        settle();
        QVERIFY(!store().selectedSymbolId());
        store().toggleCollapsedSelected();
        QVERIFY(store().collapsedNodes().empty());
    }

    void depthIsClampedAndRecomputesImpact() {
        store().select(kValues);
        settle();
        store().updateMaxDepth(0);
        QCOMPARE(store().config().maxDepth, std::int64_t{1});
        QCOMPARE(store().impactLevel("py/pkg/totals.py:compute_total:function"), std::optional<int>(1));
        QCOMPARE(store().impactLevel("src/app/main.ts:format:function"), std::optional<int>());
        QCOMPARE(store().impactLevel(kValues), std::optional<int>());

        store().updateMaxDepth(99);
        QCOMPARE(store().config().maxDepth, std::int64_t{12});
        QCOMPARE(store().impactLevel("src/app/main.ts:start:function"), std::optional<int>(4));
        store().updateMaxDepth(3);
    }

    void filteredIdsFollowTextAndKind() {
        store().select(kValues);
        settle();
        store().setSearchText(" \n ");
        QCOMPARE(store().filteredSymbolIds(), store().allSymbolIdsSorted());
        store().setSearchText("LIB/");
        QCOMPARE(store().filteredSymbolIds().size(), std::size_t{6});
        store().setSearchText("Function");
        QCOMPARE(store().filteredSymbolIds().size(), std::size_t{13});

        store().setSearchText("view");
        store().setKindFilter(SymbolKind::function);
        QCOMPARE(store().filteredSymbolIds(), SymbolIdList{"src/app/View.tsx:summarize:function"});
        store().setSearchText("");
        store().setKindFilter(SymbolKind::component);
        QCOMPARE(store().filteredSymbolIds(), SymbolIdList{"src/app/View.tsx:View:component"});
        store().setKindFilter(SymbolKind::classType);
        QVERIFY(store().filteredSymbolIds().empty());
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));
        store().setKindFilter(std::nullopt);
    }
};

VANTREL_REGISTER_TEST_CLASS(ProjectStoreSelectionTest);
#include "ProjectStoreTest.moc"
