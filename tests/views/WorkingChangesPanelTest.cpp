// The impact panel's Working Changes mode, the canvas's marks and the status bar's word
// on watching, over the bundled sample project. Its reach, as the name linking reads it:
// logInfo (log.ts:1) is called by handleCheckout (checkout.ts:4), createRouter
// (router.ts:4) and listen (server.ts:10); startServer (server.ts:5) calls createRouter
// and listen; main (main.ts:4) calls startServer. So a change to logInfo's body reaches
// three symbols on level 1, startServer on level 2 and main on level 3.
#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QStatusBar>
#include <QTest>
#include <QTreeView>

#include "app/canvas/ImpactGraphView.h"
#include "app/canvas/LegendPanel.h"
#include "app/views/ImpactPanel.h"
#include "app/views/LiveStatusLabel.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/WorkingChangesModel.h"
#include "core/util/FileIO.h"
#include "tests/views/SampleWindow.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

using ChangesKind = WorkingChangesState::Kind;
constexpr int kLongWait = 30000;

const std::string kLogInfo = "src/util/log.ts:logInfo:function";
const std::string kLogError = "src/util/log.ts:logError:function";
const std::string kWrite = "src/util/log.ts:write:function";
const std::string kCreateRouter = "src/router.ts:createRouter:function";
const std::string kHandleCheckout = "src/checkout/checkout.ts:handleCheckout:function";
const std::string kListen = "src/server.ts:listen:function";
const std::string kStartServer = "src/server.ts:startServer:function";

ReportedSymbol reported(const std::string& id, std::optional<ChangeKind> change = std::nullopt,
                        std::optional<std::int64_t> line = std::nullopt) {
    return {id, id.substr(0, id.find(':')), line, change, std::nullopt};
}

QStringList groupTitles(const WorkingChangesModel& model) {
    QStringList titles;
    for (int group = 0; group < model.groupCount(); ++group) titles << model.groupTitle(group);
    return titles;
}

// "name [mark] kind place", as the row reads.
QStringList rowTexts(const WorkingChangesModel& model, int group) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(model.rowIndex(group)); ++row) {
        const QModelIndex index = model.rowIndex(group, row);
        QStringList parts{index.data(Qt::DisplayRole).toString()};
        const QString mark = index.data(WorkingChangesModel::ChangeRole).toString();
        if (!mark.isEmpty()) parts << mark;
        parts << index.data(ImpactReachModel::KindTextRole).toString()
              << index.data(ImpactReachModel::PlaceRole).toString();
        rows << parts.join(QLatin1Char(' '));
    }
    return rows;
}

bool git(const std::string& folder, const QStringList& arguments) {
    QProcess process;
    process.setWorkingDirectory(QString::fromStdString(folder));
    process.start(QStringLiteral("git"), QStringList{QStringLiteral("-c"), QStringLiteral("user.name=Test"),
                                                     QStringLiteral("-c"), QStringLiteral("user.email=test@invalid"),
                                                     QStringLiteral("-c"), QStringLiteral("commit.gpgsign=false")} +
                                             arguments);
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

}  // namespace

class WorkingChangesPanelTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    // A report written by hand, in no particular order: the model sorts it.
    void theModelGroupsAndSortsAReport() {
        SampleWindow sample;
        QVERIFY(sample.scan());
        ChangesReport report;
        report.baseRevision = "HEAD";
        report.changed = {reported(kLogInfo, ChangeKind::modified), reported("src/util/log.ts:logTrace:function", ChangeKind::removed, 12),
                          reported(kLogError, ChangeKind::modified), reported(kWrite, ChangeKind::added)};
        report.reached[1] = {reported(kListen), reported(kHandleCheckout), reported(kCreateRouter)};
        report.reached[2] = {reported(kStartServer)};
        WorkingChangesModel model;
        model.setReport(report, *sample.f.store.ir());

        QCOMPARE(groupTitles(model), (QStringList{"Changed \u00b7 4", "Level 1 \u00b7 3", "Level 2 \u00b7 1"}));
        QCOMPARE(model.groupLevel(0), WorkingChangesModel::kChangedLevel);
        // Added, then modified, then removed; each by file and line. A removed symbol is
        // named by its id, at the line the report gives.
        QCOMPARE(rowTexts(model, 0), (QStringList{"write added function src/util/log.ts:9",
                                                  "logInfo modified function src/util/log.ts:1",
                                                  "logError modified function src/util/log.ts:5",
                                                  "logTrace removed function src/util/log.ts:12"}));
        QCOMPARE(rowTexts(model, 1), (QStringList{"handleCheckout function src/checkout/checkout.ts:4",
                                                  "createRouter function src/router.ts:4",
                                                  "listen function src/server.ts:10"}));
        QCOMPARE(rowTexts(model, 2), QStringList{"startServer function src/server.ts:5"});
        QCOMPARE(model.rowIndex(1, 1).data(ImpactReachModel::IdRole).toString(), QString::fromStdString(kCreateRouter));
        QVERIFY(!model.rowIndex(1).data(ImpactReachModel::IdRole).isValid());

        model.setReport(ChangesReport{}, *sample.f.store.ir());
        QCOMPARE(model.groupCount(), 0);
    }

    void outsideAWorkTreeTheModeIsDisabledAndSaysWhy() {
        SampleWindow sample;
        QVERIFY(sample.scan());
        SegmentedPicker* picker = sample.window->impactPanel()->modePicker();
        QTRY_VERIFY_WITH_TIMEOUT(sample.f.store.workingChangesState().kind == ChangesKind::unavailable, kLongWait);
        settle();
        QVERIFY(!picker->segment(1)->isEnabled());
        QVERIFY(picker->segment(1)->toolTip().contains(QStringLiteral("not in a git work tree")));
        QCOMPARE(picker->currentIndex(), 0);
        QVERIFY(!sample.window->impactPanel()->revisionField()->isVisible());
    }

    void workingChangesOfTheSampleInAGitRepository() {
        SampleWindow sample("repo");
        QVERIFY(git(sample.root, {QStringLiteral("init"), QStringLiteral("-q")}));
        QVERIFY(git(sample.root, {QStringLiteral("add"), QStringLiteral(".")}));
        QVERIFY(git(sample.root, {QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-m"), QStringLiteral("base")}));
        const std::string log = sample.root + "/src/util/log.ts";
        std::string text = readWholeFile(log).value();
        text.replace(text.find("write('info', message);"), 23, "write('info', message.trim());");
        QVERIFY(writeFileAtomically(log, text));
        QVERIFY(sample.scan());
        ImpactPanel* panel = sample.window->impactPanel();
        SegmentedPicker* picker = panel->modePicker();
        QTRY_VERIFY_WITH_TIMEOUT(picker->segment(1)->isEnabled(), kLongWait);

        QTest::mouseClick(picker->segment(1), Qt::LeftButton);
        QVERIFY(sample.f.store.workingChangesMode());
        QTRY_VERIFY_WITH_TIMEOUT(sample.f.store.workingChangesState().kind == ChangesKind::ready, kLongWait);
        settle();
        const WorkingChangesModel& rows = panel->changeRows();
        QCOMPARE(panel->tree()->model(), static_cast<const QAbstractItemModel*>(&rows));
        QCOMPARE(groupTitles(rows),
                 (QStringList{"Changed \u00b7 1", "Level 1 \u00b7 3", "Level 2 \u00b7 1", "Level 3 \u00b7 1"}));
        QCOMPARE(rowTexts(rows, 0), QStringList{"logInfo modified function src/util/log.ts:1"});
        QCOMPARE(rowTexts(rows, 3), QStringList{"main function src/main.ts:4"});
        QCOMPARE(panel->summaryText(), QStringLiteral("1 changed symbol reaches 5 symbols on 3 levels"));
        QVERIFY(panel->revisionField()->isVisible());

        // The canvas rings the changed node and names the ring in its legend.
        ImpactGraphView* canvas = sample.window->graphView();
        QVERIFY(canvas->legend()->changesShown());
        QTRY_VERIFY_WITH_TIMEOUT(canvas->roleOf(kLogInfo) && canvas->roleOf(kLogInfo)->changed, kLongWait);
        QVERIFY(canvas->roleOf(kCreateRouter) && !canvas->roleOf(kCreateRouter)->changed);

        // A click selects the row's symbol; the panel stays on the changes.
        QTreeView* tree = panel->tree();
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(rows.rowIndex(1, 1)).center());
        QTRY_VERIFY_WITH_TIMEOUT(sample.f.store.selectedSymbolId() == OptionalSymbolId(kCreateRouter), kLongWait);
        settle();
        QCOMPARE(groupTitles(rows).size(), 4);
        QCOMPARE(picker->currentIndex(), 1);

        // The copy is the Markdown of `changes`: the counts against HEAD, then a table per level.
        panel->findChild<QPushButton*>(QStringLiteral("copyMarkdownButton"))->click();
        const QString markdown = QApplication::clipboard()->text();
        QVERIFY(markdown.startsWith(QStringLiteral("Changes against `HEAD`")));
        QVERIFY(markdown.contains(QStringLiteral("**1 changed symbol** (1 modified), **5 reached symbols** within depth 3.")));
        QVERIFY(markdown.contains(QStringLiteral("Level 1: 3 symbols")));
        QVERIFY(markdown.contains(QStringLiteral("Level 3: 1 symbol")));
        QVERIFY(markdown.contains(QStringLiteral("createRouter")));

        // Back to the selection: its reach, and no rings.
        QTest::mouseClick(picker->segment(0), Qt::LeftButton);
        settle();
        QCOMPARE(panel->tree()->model(), static_cast<const QAbstractItemModel*>(&panel->rows()));
        QVERIFY(!canvas->legend()->changesShown());
        QVERIFY(canvas->roleOf(kLogInfo) && !canvas->roleOf(kLogInfo)->changed);
    }

    void theStatusItemFollowsTheUpdates() {
        SampleWindow sample;
        LiveStatusLabel* status = sample.window->liveStatus();
        QVERIFY(!status->isVisible());
        QVERIFY(sample.scan());
        QVERIFY(status->isVisible());
        QCOMPARE(status->text(), QStringLiteral("Up to date"));
        QStringList texts;
        connect(&sample.f.store, &ProjectStore::liveStatusChanged, [&] { texts << status->text(); });
        // The view the user set up: the Impact view, moved and zoomed.
        ImpactGraphView* canvas = sample.window->graphView();
        canvas->setMode(CanvasMode::impact);
        QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(300, 300));
        QTest::mouseMove(canvas, QPoint(340, 320));
        QTest::mouseRelease(canvas, Qt::LeftButton, {}, QPoint(340, 320));
        const QPointF pan = canvas->pan();
        const double zoom = canvas->zoom();
        QVERIFY(pan != QPointF());

        const std::string log = sample.root + "/src/util/log.ts";
        QVERIFY(writeFileAtomically(log, readWholeFile(log).value() + "\nexport function logDebug(m: string) {\n  write('debug', m);\n}\n"));
        QTRY_VERIFY_WITH_TIMEOUT(sample.f.store.ir()->symbols.count("src/util/log.ts:logDebug:function"), kLongWait);
        QTRY_VERIFY_WITH_TIMEOUT(status->text().startsWith(QStringLiteral("Updated ")), kLongWait);
        QVERIFY(texts.contains(QStringLiteral("Updating\u2026")));
        QVERIFY(texts.indexOf(QStringLiteral("Updating\u2026")) < texts.size() - 1);
        QVERIFY(QRegularExpression(QStringLiteral("^Updated \\d\\d:\\d\\d:\\d\\d$")).match(status->text()).hasMatch());
        QCOMPARE(canvas->mode(), CanvasMode::impact);
        QCOMPARE(canvas->pan(), pan);
        QCOMPARE(canvas->zoom(), zoom);

        // A failed update shows its first line, all of it in the tooltip.
        const LiveStatus failed{LiveStatus::Kind::failed, {}, QStringLiteral("Update failed: cannot read src/a.ts\nmore")};
        QCOMPARE(liveStatusText(failed), QStringLiteral("Update failed: cannot read src/a.ts"));
        QCOMPARE(liveStatusToolTip(failed), failed.message);

        sample.f.store.setWatching(false);
        QCOMPARE(status->text(), QStringLiteral("Not watching"));
    }

    // Past the watch limit the watcher checks the folder periodically, and the window
    // says so once, in the status bar; updates still come.
    void theWatchLimitNoticeShowsOnceAndUpdatesStillCome() {
        LiveSessionOptions live;
        live.maxWatches = 1;  // the root only
        live.pollInterval = std::chrono::milliseconds(200);
        StoreFixture f({}, live);
        const std::string root = f.dir / "sample";
        std::filesystem::copy(VANTREL_SAMPLE_PROJECT_DIR, root, std::filesystem::copy_options::recursive);
        MainWindow window(f.store);
        window.show();
        QStringList messages;
        connect(window.statusBar(), &QStatusBar::messageChanged, [&](const QString& text) {
            if (!text.isEmpty()) messages << text;
        });
        f.store.scan(QString::fromStdString(root));
        QVERIFY(waitForScanState(f.store, ScanState::Kind::ready));
        QTRY_VERIFY_WITH_TIMEOUT(!messages.isEmpty(), kLongWait);
        QCOMPARE(messages, QStringList{"Too many folders to watch: checking for changes every 200 ms"});

        const std::string log = root + "/src/util/log.ts";
        QVERIFY(writeFileAtomically(log, readWholeFile(log).value() + "\nexport function logDebug(m: string) {\n  write('debug', m);\n}\n"));
        QTRY_VERIFY_WITH_TIMEOUT(f.store.ir()->symbols.count("src/util/log.ts:logDebug:function"), kLongWait);
        QCOMPARE(messages.size(), 1);
    }
};

VANTREL_REGISTER_TEST_CLASS(WorkingChangesPanelTest);

#include "WorkingChangesPanelTest.moc"
