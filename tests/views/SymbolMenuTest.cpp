// The one symbol menu, opened by right clicks on sidebar rows, impact rows, canvas nodes
// and the source panel's lines, over the bundled sample project; its items are clicked
// as a user clicks them, and the clipboard, the selection, the impact panel's current
// row, the project file and the recorded editor command tell what they did.
//
// From the sample, by hand: createRouter (src/router.ts:4) is called by startServer and
// calls registerRoutes (src/router.ts:10) and logInfo (src/util/log.ts:1); listen is
// declared in src/server.ts, the file of startServer too.
#include <QClipboard>
#include <QListView>
#include <QTreeView>

#include "app/canvas/ImpactGraphView.h"
#include "app/state/Preferences.h"
#include "app/views/ImpactPanel.h"
#include "app/views/ImpactReachModel.h"
#include "app/views/SidebarView.h"
#include "app/views/SourceCodeView.h"
#include "app/views/SourcePanel.h"
#include "app/views/SymbolActions.h"
#include "app/views/SymbolListModel.h"
#include "core/config/VantrelConfig.h"
#include "tests/views/SampleWindow.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kLogInfo = "src/util/log.ts:logInfo:function";
const std::string kCreateRouter = "src/router.ts:createRouter:function";

}  // namespace

class SymbolMenuTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        w_ = std::make_unique<SampleWindow>();
        QVERIFY(w_->scan());
    }

    void cleanup() { w_.reset(); }

    void sidebarRowsCopyTheirIdAndPlace() {
        QListView* list = w_->window->sidebar()->symbolList();
        const auto row = w_->window->sidebar()->rows().rowOf(kLogInfo);
        QVERIFY(row);
        list->scrollTo(list->model()->index(*row, 0));
        const QPoint at = list->visualRect(list->model()->index(*row, 0)).center();

        rightClick(list->viewport(), at);
        QCOMPARE(titles(), (QStringList{"Copy Id", "Copy file:line", "Open in Editor", "", "Show Callers",
                                        "Show Callees", "", "Exclude This File\u2026"}));
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Copy Id")));
        QCOMPARE(QApplication::clipboard()->text(), QString::fromStdString(kLogInfo));
        rightClick(list->viewport(), at);
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Copy file:line")));
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("src/util/log.ts:1"));
        QTRY_VERIFY(!menu());  // a clicked item closes its menu
    }

    void impactRowsShowCallersAndCallees() {
        select(kLogInfo);
        ImpactPanel* impact = w_->window->impactPanel();
        QTreeView* tree = impact->tree();
        const QPoint createRouter = tree->visualRect(impact->rows().rowIndex(0, 1)).center();

        // Its callees: the group, its first row current.
        rightClick(tree->viewport(), createRouter);
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Show Callees")));
        settle();
        QCOMPARE(w_->f.store.selectedSymbolId(), OptionalSymbolId(kCreateRouter));
        QCOMPARE(impact->rows().rowAt(tree->currentIndex())->id, std::string("src/router.ts:registerRoutes:function"));
        QCOMPARE(tree->currentIndex().parent().data(ImpactReachModel::LevelRole).toInt(), 0);

        // Back to logInfo from its row among createRouter's callees: its first caller.
        const QModelIndex logInfoRow = impact->rows().rowIndex(impact->rows().groupCount() - 1, 1);
        QCOMPARE(impact->rows().rowAt(logInfoRow)->id, kLogInfo);
        rightClick(tree->viewport(), tree->visualRect(logInfoRow).center());
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Show Callers")));
        settle();
        QCOMPARE(w_->f.store.selectedSymbolId(), OptionalSymbolId(kLogInfo));
        QCOMPARE(impact->rows().rowAt(tree->currentIndex())->id,
                 std::string("src/checkout/checkout.ts:handleCheckout:function"));

        // A group header offers the copies of the whole panel instead.
        rightClick(tree->viewport(), tree->visualRect(impact->rows().rowIndex(0)).center());
        auto* copies = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(copies && copies != menu());
        QStringList copyTitles;
        for (QAction* action : copies->actions()) copyTitles.append(action->text());
        QCOMPARE(copyTitles, (QStringList{"Copy as Markdown", "Copy as text"}));
        copies->close();
    }

    void excludeThisFileAsksThenExcludesAndScansAgain() {
        select(kLogInfo);
        ImpactPanel* impact = w_->window->impactPanel();
        QTreeView* tree = impact->tree();
        const QModelIndex listen = impact->rows().rowIndex(0, 2);
        QCOMPARE(impact->rows().rowAt(listen)->id, std::string("src/server.ts:listen:function"));
        const QPoint at = tree->visualRect(listen).center();

        // Cancel leaves everything as it was.
        w_->f.platform.alertAnswer = 1;
        rightClick(tree->viewport(), at);
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Exclude This File\u2026")));
        QCOMPARE(w_->f.platform.alerts.size(), std::size_t{1});
        QCOMPARE(w_->f.platform.alerts[0].title, QStringLiteral("Exclude src/server.ts?"));
        QVERIFY(!VantrelConfig::loadIfPresent(w_->root));

        w_->f.platform.alertAnswer = 0;
        rightClick(tree->viewport(), at);
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Exclude This File\u2026")));
        const auto config = VantrelConfig::loadIfPresent(w_->root);
        QVERIFY(config);
        QCOMPARE(config->exclude.back(), std::string("src/server.ts"));
        QVERIFY(config->exclude.size() > 1);  // the global patterns stay in force
        QVERIFY(waitForScanState(w_->f.store, ScanState::Kind::ready));
        settle();
        QVERIFY(w_->f.store.ir()->symbols.contains(kLogInfo));
        for (const auto& [id, symbol] : w_->f.store.ir()->symbols)
            QVERIFY2(symbol.fileRelPath() != "src/server.ts", id.c_str());
    }

    void canvasNodesAndSourceLinesOfferTheSameMenu() {
        Preferences::setValue(prefkeys::kEditorPreset, QStringLiteral("custom"));
        Preferences::setValue(prefkeys::kEditorCommandTemplate, QStringLiteral("ed +{line} {file}"));
        select(kCreateRouter);
        ImpactGraphView* canvas = w_->window->graphView();
        // The selection's node, found by the canvas's own hit test.
        std::optional<QPoint> node;
        for (int y = 0; y < canvas->height() && !node; y += 4)
            for (int x = 0; x < canvas->width() && !node; x += 4)
                if (canvas->nodeAt(QPointF(x, y)) == kCreateRouter) node = QPoint(x, y);
        QVERIFY(node);
        rightClick(canvas, *node);
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Copy Id")));
        QCOMPARE(QApplication::clipboard()->text(), QString::fromStdString(kCreateRouter));

        SourcePanel* source = w_->window->sourcePanel();
        QVERIFY(QTest::qWaitFor([&] { return source->shownId() == kCreateRouter && !source->isLoading(); }, 5000));
        SourceCodeView* code = source->codeView();
        rightClick(code->viewport(), QPoint(60, code->lineTop(6) + code->fontMetrics().height() / 2));
        QVERIFY(clickMenuItem(menu(), QStringLiteral("Open in Editor")));
        QCOMPARE(w_->f.platform.started.size(), std::size_t{1});
        QCOMPARE(w_->f.platform.started[0],
                 (QStringList{"ed", "+6", QString::fromStdString(w_->root) + "/src/router.ts"}));
    }

private:
    QMenu* menu() const { return w_->window->symbolActions()->openMenu(); }

    QStringList titles() const {
        QStringList out;
        for (QAction* action : menu()->actions()) out.append(action->text());
        return out;
    }

    void select(const std::string& id) {
        w_->f.store.select(id);
        settle();
    }

    std::unique_ptr<SampleWindow> w_;
};

VANTREL_REGISTER_TEST_CLASS(SymbolMenuTest);
#include "SymbolMenuTest.moc"
