// The store kept live over real writes to a copy of the scan-project fixture: a saved
// file reaches the graph while what the user set up stays, watching off changes nothing
// until it is on again, a stopped session's reports are dropped, and the Working Changes
// of a temporary git repository, worked out by hand from the fixture:
//
//   src/lib/math.ts: run calls add; src/app/main.ts: start calls run (imported), tidy and
//   format. So a change to add's body reaches run on level 1 and start on level 2.
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <set>

#include "app/state/Preferences.h"
#include "core/live/LiveSession.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

using Kind = ScanState::Kind;
using LiveKind = LiveStatus::Kind;
using ChangesKind = WorkingChangesState::Kind;

const std::string kAdd = "src/lib/math.ts:add:function";
const std::string kRun = "src/lib/math.ts:run:function";
const std::string kTwice = "src/lib/math.ts:twice:function";
const std::string kStart = "src/app/main.ts:start:function";
const std::string kPad = "src/lib/strings.ts:pad:function";
const std::string kStringsRun = "src/lib/strings.ts:run:function";
constexpr int kLongWait = 30000;

// math.ts as in the fixture, with `twice` (which calls add) appended.
const char* kMathWithTwice =
    "export function add(a: number, b: number) {\n"
    "  return a + b;\n"
    "}\n"
    "\n"
    "export function run() {\n"
    "  return add(1, 2);\n"
    "}\n"
    "\n"
    "export const tidy = (value: number) => clamp(value);\n"
    "\n"
    "function clamp(value: number) {\n"
    "  return Math.max(0, value);\n"
    "}\n"
    "\n"
    "export function twice(a: number) {\n"
    "  return add(a, a);\n"
    "}\n";

bool callsAdd(const ProjectStore& store, const std::string& caller) {
    if (!store.ir()) return false;
    auto add = store.ir()->symbols.find(kAdd);
    return add != store.ir()->symbols.end() && add->second.refsIn.count(caller) > 0;
}

bool git(const QString& folder, const QStringList& arguments) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral("git"), QStringList{QStringLiteral("-c"), QStringLiteral("user.name=Test"),
                                                     QStringLiteral("-c"), QStringLiteral("user.email=test@invalid"),
                                                     QStringLiteral("-c"), QStringLiteral("commit.gpgsign=false")} +
                                             arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// The fixture committed as the only commit of a new repository.
bool makeRepository(const QString& root) {
    return git(root, {QStringLiteral("init"), QStringLiteral("-q")}) &&
           git(root, {QStringLiteral("add"), QStringLiteral(".")}) &&
           git(root, {QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-m"), QStringLiteral("base")});
}

// strings.ts saved without its `run`, and not caught half-written (pad is there).
bool withoutStringsRun(const ProjectStore& store) {
    return store.ir() && !store.ir()->symbols.count(kStringsRun) && store.ir()->symbols.count(kPad);
}

std::set<std::string> idsOf(const std::vector<ReportedSymbol>& symbols) {
    std::set<std::string> ids;
    for (const ReportedSymbol& symbol : symbols) ids.insert(symbol.id);
    return ids;
}

}  // namespace

class LiveStoreTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    void aSavedFileReachesTheGraphWhileTheSetUpStays() {
        StoreFixture f;
        const QString root = copyScanProject(f.dir);
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QCOMPARE(f.store.liveStatus().kind, LiveKind::upToDate);
        QVERIFY(f.store.liveSession());
        f.store.select(kAdd);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.selectedSymbolId() == OptionalSymbolId(kAdd), kLongWait);
        f.store.setSearchText(QStringLiteral("a"));
        f.store.setKindFilter(SymbolKind::function);
        f.store.toggleCollapsedSelected();
        std::vector<LiveKind> statuses;
        connect(&f.store, &ProjectStore::liveStatusChanged, [&] { statuses.push_back(f.store.liveStatus().kind); });
        int selectionWrites = 0;
        connect(&f.store, &ProjectStore::selectedSymbolIdChanged, [&] { ++selectionWrites; });

        f.dir.write("project/src/lib/math.ts", kMathWithTwice);
        QTRY_VERIFY_WITH_TIMEOUT(callsAdd(f.store, kTwice), kLongWait);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.liveStatus().kind == LiveKind::updated, kLongWait);
        QVERIFY(callsAdd(f.store, kRun));
        // Updating first, then updated at a time of today.
        QVERIFY(!statuses.empty());
        QCOMPARE(statuses.front(), LiveKind::updating);
        QCOMPARE(statuses.back(), LiveKind::updated);
        QVERIFY(f.store.liveStatus().at.secsTo(QDateTime::currentDateTime()) < 600);

        // The selection, its reach (twice is a new caller), the filters and the collapse stay.
        QCOMPARE(f.store.selectedSymbolId(), OptionalSymbolId(kAdd));
        QCOMPARE(f.store.impactLevel(kTwice), std::optional<int>(1));
        QCOMPARE(f.store.impactLevel(kRun), std::optional<int>(1));
        QCOMPARE(f.store.impactLevel(kStart), std::optional<int>(2));
        QCOMPARE(f.store.searchText(), QStringLiteral("a"));
        QCOMPARE(f.store.kindFilter(), OptionalSymbolKind(SymbolKind::function));
        QCOMPARE(f.store.collapsedNodes(), (IdSet{kAdd}));
        QCOMPARE(f.store.scanState(), ScanState::ready());
        QVERIFY(selectionWrites >= 1);
        QCOMPARE(f.store.allSymbolIdsSorted().size(), std::size_t{15});

        // A selected symbol that goes away takes the selection with it; when it comes back
        // (a save caught half-written), the selection and its collapse come back too.
        const char* kStrings =
            "export function run() {\n  return pad('x');\n}\n\nexport function pad(text: string) {\n"
            "  return text.padStart(4);\n}\n";
        const char* kStringsWithoutRun = "export function pad(text: string) {\n  return text.padStart(4);\n}\n";
        f.store.select(kStringsRun);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.selectedSymbolId() == OptionalSymbolId(kStringsRun), kLongWait);
        f.store.toggleCollapsedSelected();
        f.dir.write("project/src/lib/strings.ts", kStringsWithoutRun);
        QTRY_VERIFY_WITH_TIMEOUT(withoutStringsRun(f.store), kLongWait);
        QVERIFY(!f.store.selectedSymbolId());
        QVERIFY(f.store.impactLevels().empty());
        f.dir.write("project/src/lib/strings.ts", kStrings);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.selectedSymbolId() == OptionalSymbolId(kStringsRun), kLongWait);
        QCOMPARE(f.store.collapsedNodes(), (IdSet{kAdd, kStringsRun}));

        // Not when the user has chosen another symbol meanwhile.
        f.dir.write("project/src/lib/strings.ts", kStringsWithoutRun);
        QTRY_VERIFY_WITH_TIMEOUT(withoutStringsRun(f.store), kLongWait);
        f.store.select(kPad);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.selectedSymbolId() == OptionalSymbolId(kPad), kLongWait);
        f.dir.write("project/src/lib/strings.ts", kStrings);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.ir() && f.store.ir()->symbols.count(kStringsRun), kLongWait);
        settle();
        QCOMPARE(f.store.selectedSymbolId(), OptionalSymbolId(kPad));
    }

    // A project file written while the project is watched: the next scan takes its
    // exclusion, not the settings the project was opened with.
    void aProjectFileSavedWhileWatchedIsReadAgain() {
        StoreFixture f;
        const QString root = copyScanProject(f.dir);
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QVERIFY(f.store.ir()->symbols.count(kPad));
        f.dir.write("project/vantrel.json", "{\"exclude\": [\"src/lib/strings.ts\"], \"maxDepth\": 3}\n");
        QTRY_VERIFY_WITH_TIMEOUT(f.store.ir() && !f.store.ir()->symbols.count(kPad), kLongWait);
        QVERIFY(f.store.ir()->symbols.count(kAdd));
    }

    void watchingOffChangesNothingUntilItIsOnAgain() {
        Preferences::setValue(QString::fromUtf8(prefkeys::kWatchProject), false);
        StoreFixture f;
        QVERIFY(!f.store.watching());
        const QString root = copyScanProject(f.dir);
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QCOMPARE(f.store.liveStatus().kind, LiveKind::notWatching);
        QVERIFY(!f.store.liveSession());
        int graphs = 0;
        connect(&f.store, &ProjectStore::irChanged, [&] { ++graphs; });

        f.dir.write("project/src/lib/math.ts", kMathWithTwice);
        // Nothing watches, so nothing may come: give a watcher ample time to have spoken.
        QTest::qWait(1500);
        QCOMPARE(graphs, 0);
        QVERIFY(!callsAdd(f.store, kTwice));
        QCOMPARE(f.store.liveStatus().kind, LiveKind::notWatching);

        // On again: it catches up with the write made meanwhile, and watches from then on.
        f.store.setWatching(true);
        QTRY_VERIFY_WITH_TIMEOUT(callsAdd(f.store, kTwice), kLongWait);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.liveSession() != nullptr, kLongWait);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.liveStatus().kind == LiveKind::updated, kLongWait);
        f.dir.write("project/src/lib/strings.ts",
                    "export function pad(text: string) {\n  return text.padStart(4);\n}\n");
        QTRY_VERIFY_WITH_TIMEOUT(!f.store.ir()->symbols.count(kStringsRun), kLongWait);

        // Off once more: the session stops at once.
        f.store.setWatching(false);
        QVERIFY(!f.store.liveSession());
        QCOMPARE(f.store.liveStatus().kind, LiveKind::notWatching);
    }

    // The session has applied an update and posted it, but the store has not read it
    // yet: whatever stopped the session meanwhile makes the store drop it.
    void aStoppedSessionsUpdatesAreDropped() {
        StoreFixture f;
        const QString root = copyScanProject(f.dir);
        const QString other = copyScanProject(f.dir, "other");
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        settle();

        // Watching turned off with the update in the queue.
        f.dir.write("project/src/lib/math.ts", kMathWithTwice);
        f.store.liveSession()->requestUpdate({"src/lib/math.ts"});
        QVERIFY(f.store.liveSession()->waitUntilIdle(std::chrono::milliseconds(kLongWait)));
        f.store.setWatching(false);
        settle();
        QVERIFY(!callsAdd(f.store, kTwice));
        QCOMPARE(f.store.liveStatus().kind, LiveKind::notWatching);
        QCOMPARE(f.store.scanState(), ScanState::ready());

        // Another project opened with the first one's update in the queue.
        f.store.setWatching(true);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.liveSession() && callsAdd(f.store, kTwice), kLongWait);
        f.dir.write("project/src/lib/strings.ts",
                    "export function pad(text: string) {\n  return text.padStart(4);\n}\n");
        f.store.liveSession()->requestUpdate({"src/lib/strings.ts"});
        QVERIFY(f.store.liveSession()->waitUntilIdle(std::chrono::milliseconds(kLongWait)));
        f.store.scan(other);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        settle();
        QCOMPARE(f.store.projectRoot(), other);
        QVERIFY(f.store.ir()->symbols.count(kStringsRun));
        QVERIFY(!callsAdd(f.store, kTwice));
        QCOMPARE(f.store.liveStatus().kind, LiveKind::upToDate);
    }

    void workingChangesOfAGitRepository() {
        StoreFixture f;
        // A folder outside any work tree first: the mode stays off and says why.
        const QString plain = copyScanProject(f.dir, "plain");
        f.store.scan(plain);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::unavailable, kLongWait);
        QVERIFY(!f.store.workingChangesState().message.isEmpty());
        f.store.setWorkingChangesMode(true);
        QVERIFY(!f.store.workingChangesMode());

        const QString root = copyScanProject(f.dir, "repo");
        QVERIFY(makeRepository(root));
        // add's body changes; twice is new.
        f.dir.write("repo/src/lib/math.ts", QString::fromUtf8(kMathWithTwice)
                                                .replace(QStringLiteral("a + b"), QStringLiteral("b + a"))
                                                .toStdString());
        f.store.scan(root);
        QVERIFY(waitForScanState(f.store, Kind::ready));
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::idle, kLongWait);
        f.store.setWorkingChangesMode(true);
        QVERIFY(f.store.workingChangesMode());
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::ready, kLongWait);
        const ChangesReport& report = *f.store.workingChanges();
        QCOMPARE(report.changed.size(), std::size_t{2});
        QCOMPARE(report.changed[0].id, kTwice);
        QCOMPARE(report.changed[0].change, std::optional<ChangeKind>(ChangeKind::added));
        QCOMPARE(report.changed[1].id, kAdd);
        QCOMPARE(report.changed[1].change, std::optional<ChangeKind>(ChangeKind::modified));
        QCOMPARE(idsOf(report.reached.at(1)), (std::set<std::string>{kRun}));
        QCOMPARE(idsOf(report.reached.at(2)), (std::set<std::string>{kStart}));
        QCOMPARE(report.reached.size(), std::size_t{2});
        QCOMPARE(f.store.workingChangedIds(), (IdSet{kAdd, kTwice}));

        // A saved edit is reported again: pad's body changes, and strings.ts's run calls pad.
        f.dir.write("repo/src/lib/strings.ts",
                    "export function run() {\n  return pad('x');\n}\n\n"
                    "export function pad(text: string) {\n  return text.padStart(8);\n}\n");
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChanges() && f.store.workingChangedIds().count(kPad), kLongWait);
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::ready, kLongWait);
        const ChangesReport& again = *f.store.workingChanges();
        QCOMPARE(idsOf(again.changed), (std::set<std::string>{kAdd, kTwice, kPad}));
        QCOMPARE(idsOf(again.reached.at(1)), (std::set<std::string>{kRun, kStringsRun}));

        // Against a revision that names nothing: a failure that says so, and no marks.
        f.store.setWorkingChangesRevision(QStringLiteral("no-such-branch"));
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::failed, kLongWait);
        QVERIFY(!f.store.workingChanges());
        QVERIFY(f.store.workingChangedIds().empty());
        // Blank is HEAD again.
        f.store.setWorkingChangesRevision(QStringLiteral("  "));
        QCOMPARE(f.store.workingChangesRevision(), QStringLiteral("HEAD"));
        QTRY_VERIFY_WITH_TIMEOUT(f.store.workingChangesState().kind == ChangesKind::ready, kLongWait);

        // Off: the marks go, the report stays for when it is on again.
        f.store.setWorkingChangesMode(false);
        QVERIFY(f.store.workingChangedIds().empty());
    }
};

VANTREL_REGISTER_TEST_CLASS(LiveStoreTest);

#include "LiveStoreTest.moc"
