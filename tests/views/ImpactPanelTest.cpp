// The impact panel driven by real mouse and key events: over the bundled sample project,
// whose reach of logInfo is worked out by hand below, and over a generated project of
// about 15,000 symbols, checked against a breadth-first walk written here.
//
// The sample, as the name linking reads it: logInfo is called by handleCheckout
// (checkout.ts:4), createRouter (router.ts:4) and listen (server.ts:10); startServer
// (server.ts:5) calls createRouter and listen; main (main.ts:4) calls startServer.
// logInfo itself calls write (log.ts:9).
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <filesystem>
#include <memory>
#include <set>

#include "app/views/ImpactPanel.h"
#include "app/views/ImpactReachModel.h"
#include "bench/SyntheticProject.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kLogInfo = "src/util/log.ts:logInfo:function";
const std::string kCreateRouter = "src/router.ts:createRouter:function";
const std::string kHandleCheckout = "src/checkout/checkout.ts:handleCheckout:function";

// Callers by level, one frontier at a time: the reference for the panel's groups.
std::vector<std::set<std::string>> callersByLevel(const ProjectIR& ir, const std::string& target, int depth) {
    std::set<std::string> seen{target}, frontier{target};
    std::vector<std::set<std::string>> levels;
    for (int level = 1; level <= depth && !frontier.empty(); ++level) {
        std::set<std::string> next;
        for (const std::string& id : frontier) {
            auto symbol = ir.symbols.find(id);
            if (symbol == ir.symbols.end()) continue;
            for (const std::string& caller : symbol->second.refsIn)
                if (seen.insert(caller).second) next.insert(caller);
        }
        if (!next.empty()) levels.push_back(next);
        frontier = std::move(next);
    }
    return levels;
}

}  // namespace

class ImpactPanelTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        f_ = std::make_unique<StoreFixture>();
        panel_ = std::make_unique<ImpactPanel>(f_->store);
        panel_->resize(900, 420);
        panel_->show();
    }

    void cleanup() {
        panel_.reset();
        f_.reset();
    }

    void levelsOfTheSampleProject() {
        QCOMPARE(panel_->summaryText(), QStringLiteral("No symbol selected"));
        QVERIFY(!button("copyMarkdownButton")->isEnabled());
        scanSample();
        select(kLogInfo);
        QCOMPARE(panel_->summaryText(), QStringLiteral("5 callers on 3 levels in 4 files"));
        QCOMPARE(groupTitles(),
                 (QStringList{"Level 1 \u00b7 3", "Level 2 \u00b7 1", "Level 3 \u00b7 1", "Callees \u00b7 1"}));
        QCOMPARE(rowTexts(0),
                 (QStringList{"handleCheckout function src/checkout/checkout.ts:4",
                              "createRouter function src/router.ts:4", "listen function src/server.ts:10"}));
        QCOMPARE(rowTexts(1), QStringList{"startServer function src/server.ts:5"});
        QCOMPARE(rowTexts(2), QStringList{"main function src/main.ts:4"});
        QCOMPARE(rowTexts(3), QStringList{"write function src/util/log.ts:9"});

        // Depth 1 keeps the first level; depth 2 brings the second back.
        f_->store.updateMaxDepth(1);
        settle();
        QCOMPARE(panel_->summaryText(), QStringLiteral("3 callers on 1 level in 3 files"));
        QCOMPARE(groupTitles(), (QStringList{"Level 1 \u00b7 3", "Callees \u00b7 1"}));
        f_->store.updateMaxDepth(2);
        settle();
        QCOMPARE(panel_->summaryText(), QStringLiteral("4 callers on 2 levels in 3 files"));

        // main has no callers in the project; its two callees stay listed.
        select("src/main.ts:main:function");
        QCOMPARE(panel_->summaryText(), QStringLiteral("No callers"));
        QCOMPARE(groupTitles(), QStringList{"Callees \u00b7 2"});
    }

    void clickSelectsAndDoubleClickOpensTheFirstPressedRow() {
        scanSample();
        select(kLogInfo);
        QSignalSpy opened(panel_.get(), &ImpactPanel::openCodeRequested);
        QTreeView* tree = panel_->tree();
        const QPoint at = rowCenter(0, 1);  // createRouter

        // The first click of a double click selects; the rows then show createRouter's
        // reach, and the second click must neither select what lies under it now nor
        // open anything but createRouter.
        QTest::mousePress(tree->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseRelease(tree->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kLogInfo));  // on a later turn
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kCreateRouter));
        QCOMPARE(panel_->summaryText(), QStringLiteral("2 callers on 2 levels in 2 files"));
        QTest::mousePress(tree->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseRelease(tree->viewport(), Qt::LeftButton, {}, at);
        settle();
        QCOMPARE(opened.count(), 1);
        QCOMPARE(opened.at(0).at(0).toString(), QString::fromStdString(kCreateRouter));
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kCreateRouter));

        // A group header neither selects nor opens.
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, rowCenter(0));
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kCreateRouter));
        QCOMPARE(opened.count(), 1);

        // From the keyboard: Return opens the current row, Space selects it.
        select(kLogInfo);
        tree->setFocus();
        tree->setCurrentIndex(panel_->rows().rowIndex(0));
        QTest::keyClick(tree, Qt::Key_Down);
        QTest::keyClick(tree, Qt::Key_Return);
        QCOMPARE(opened.count(), 2);
        QCOMPARE(opened.at(1).at(0).toString(), QString::fromStdString(kHandleCheckout));
        QTest::keyClick(tree, Qt::Key_Space);
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kHandleCheckout));
    }

    void copiesMarkdownAndText() {
        scanSample();
        select(kLogInfo);
        const QString table = QStringLiteral("| Symbol | File | Line |\n|---|---|---|\n");
        QTest::mouseClick(button("copyMarkdownButton"), Qt::LeftButton);
        QCOMPARE(QApplication::clipboard()->text(),
                 "`src/util/log.ts:logInfo:function`: 5 callers on 3 levels in 4 files within depth 3.\n"
                 "\n#### Level 1: 3 symbols\n\n" +
                     table +
                     "| `handleCheckout` function | `src/checkout/checkout.ts` | 4 |\n"
                     "| `createRouter` function | `src/router.ts` | 4 |\n"
                     "| `listen` function | `src/server.ts` | 10 |\n"
                     "\n#### Level 2: 1 symbol\n\n" +
                     table +
                     "| `startServer` function | `src/server.ts` | 5 |\n"
                     "\n#### Level 3: 1 symbol\n\n" +
                     table +
                     "| `main` function | `src/main.ts` | 4 |\n"
                     "\n#### Callees: 1 symbol\n\n" +
                     table + "| `write` function | `src/util/log.ts` | 9 |\n");
        QTest::mouseClick(button("copyTextButton"), Qt::LeftButton);
        QCOMPARE(QApplication::clipboard()->text(),
                 QStringLiteral("src/util/log.ts:logInfo:function: 5 callers on 3 levels in 4 files within depth 3\n"
                                "L1\thandleCheckout\tfunction\tsrc/checkout/checkout.ts:4\n"
                                "L1\tcreateRouter\tfunction\tsrc/router.ts:4\n"
                                "L1\tlisten\tfunction\tsrc/server.ts:10\n"
                                "L2\tstartServer\tfunction\tsrc/server.ts:5\n"
                                "L3\tmain\tfunction\tsrc/main.ts:4\n"
                                "callee\twrite\tfunction\tsrc/util/log.ts:9\n"));
    }

    void levelsOfAFifteenThousandSymbolProject() {
        // The generated modules call at most three levels deep; a ladder of eight rungs on
        // top (rung_k and three sides call rung_k-1) reaches further.
        const std::string root = f_->dir / "big";
        bench::generateSyntheticProject(root, 2200, bench::Mix::mixed);
        for (int k = 0; k <= 8; ++k) {
            std::string text = "def rung_" + std::to_string(k) + "():\n    " +
                               (k == 0 ? std::string("return 0") : "return rung_" + std::to_string(k - 1) + "()") +
                               "\n";
            for (int side = 0; k > 0 && side < 3; ++side)
                text += "\n\ndef side_" + std::to_string(k) + "_" + std::to_string(side) + "():\n    return rung_" +
                        std::to_string(k - 1) + "()\n";
            f_->dir.write("big/ladder/rung" + std::to_string(k) + ".py", text);
        }
        f_->store.scan(QString::fromStdString(root));
        QVERIFY(waitForScanState(f_->store, ScanState::Kind::ready));
        settle();
        const ProjectIR& ir = *f_->store.ir();
        QVERIFY2(ir.symbols.size() >= 15000, qPrintable(QString::number(ir.symbols.size())));

        // The generated symbol with the most direct callers: wide levels.
        std::string hub;
        std::size_t most = 0;
        for (const auto& [id, symbol] : ir.symbols)
            if (symbol.refsIn.size() > most) most = symbol.refsIn.size(), hub = id;
        select(hub);
        compareWithReference(hub, 3);

        // Six of the ladder's eight levels, four symbols on each, one rung file per level.
        const std::string bottom = "ladder/rung0.py:rung_0:function";
        f_->store.updateMaxDepth(6);
        select(bottom);
        QCOMPARE(panel_->summaryText(), QStringLiteral("24 callers on 6 levels in 6 files"));
        compareWithReference(bottom, 6);
        const ImpactReachModel& rows = panel_->rows();
        QCOMPARE(rows.groupTitle(5), QStringLiteral("Level 6 \u00b7 4"));
        QCOMPARE(rows.groupCount(), 6);  // rung_0 calls nothing

        // Rows by line: rung_6 first, then its sides. A click on the rung, scrolled into
        // view at the bottom, selects it; rung_7, rung_8 and their sides call it.
        QCOMPARE(rows.rowAt(rows.rowIndex(5, 3))->id, std::string("ladder/rung6.py:side_6_2:function"));
        const QModelIndex rung = rows.rowIndex(5, 0);
        QCOMPARE(rows.rowAt(rung)->id, std::string("ladder/rung6.py:rung_6:function"));
        panel_->tree()->scrollTo(rung);
        QTest::mouseClick(panel_->tree()->viewport(), Qt::LeftButton, {}, rowCenter(5, 0));
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId("ladder/rung6.py:rung_6:function"));
        QCOMPARE(panel_->summaryText(), QStringLiteral("8 callers on 2 levels in 2 files"));
    }

private:
    QPushButton* button(const char* name) const {
        auto* found = panel_->findChild<QPushButton*>(QString::fromLatin1(name));
        if (!found) qFatal("no button %s", name);
        return found;
    }

    QPoint rowCenter(int group, std::optional<int> row = std::nullopt) const {
        return panel_->tree()->visualRect(panel_->rows().rowIndex(group, row)).center();
    }

    // The groups against callersByLevel: titles, members, order by file then line, and
    // the summary's counts.
    void compareWithReference(const std::string& target, int depth) {
        const ProjectIR& ir = *f_->store.ir();
        const auto levels = callersByLevel(ir, target, depth);
        const ImpactReachModel& rows = panel_->rows();
        std::size_t callers = 0;
        std::set<std::string> files;
        for (std::size_t level = 0; level < levels.size(); ++level) {
            const int group = static_cast<int>(level);
            QCOMPARE(rows.groupTitle(group),
                     QStringLiteral("Level %1 \u00b7 %2").arg(level + 1).arg(levels[level].size()));
            std::set<std::string> shown;
            const ReachRow* previous = nullptr;
            for (int row = 0; row < rows.rowCount(rows.rowIndex(group)); ++row) {
                const ReachRow* current = rows.rowAt(rows.rowIndex(group, row));
                shown.insert(current->id);
                files.insert(current->file);
                if (previous)
                    QVERIFY(previous->file < current->file ||
                            (previous->file == current->file && previous->line <= current->line));
                previous = current;
            }
            QCOMPARE(shown, levels[level]);
            callers += shown.size();
        }
        QCOMPARE(
            panel_->summaryText(),
            QStringLiteral("%1 callers on %2 levels in %3 files").arg(callers).arg(levels.size()).arg(files.size()));
        const std::size_t callees = ir.symbols.at(target).refsOut.size();
        QCOMPARE(rows.groupCount(), static_cast<int>(levels.size()) + (callees > 0 ? 1 : 0));
    }

    QStringList groupTitles() const {
        QStringList titles;
        for (int group = 0; group < panel_->rows().groupCount(); ++group)
            titles.append(panel_->rows().groupTitle(group));
        return titles;
    }

    // "name kind file:line" per row of a group, as the row shows them.
    QStringList rowTexts(int group) const {
        const ImpactReachModel& rows = panel_->rows();
        QStringList texts;
        for (int row = 0; row < rows.rowCount(rows.rowIndex(group)); ++row) {
            const QModelIndex index = rows.rowIndex(group, row);
            texts.append(index.data(Qt::DisplayRole).toString() + " " +
                         index.data(ImpactReachModel::KindTextRole).toString() + " " +
                         index.data(ImpactReachModel::PlaceRole).toString());
        }
        return texts;
    }

    void scanSample() {
        const std::string copy = f_->dir / "sample";
        std::filesystem::copy(VANTREL_SAMPLE_PROJECT_DIR, copy, std::filesystem::copy_options::recursive);
        f_->store.scan(QString::fromStdString(copy));
        QVERIFY(waitForScanState(f_->store, ScanState::Kind::ready));
        settle();
    }

    void select(const std::string& id) {
        f_->store.select(id);
        settle();
        QCOMPARE(panel_->rows().reach().targetId, id);
    }

    std::unique_ptr<StoreFixture> f_;
    std::unique_ptr<ImpactPanel> panel_;
};

VANTREL_REGISTER_TEST_CLASS(ImpactPanelTest);
#include "ImpactPanelTest.moc"
