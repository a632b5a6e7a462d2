// The changes panel driven by real clicks, over a small project scanned twice: before,
// a calls b and old calls b; after, old is gone and a reaches b through the new c.
// With b selected (reach: c on level 1, a on level 2 now; a and old on level 1 then),
// the lists below are worked out by hand.
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <memory>

#include "app/views/ChangesPanel.h"
#include "core/model/IRJson.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kA = "src/a.ts:a:function";
const std::string kB = "src/b.ts:b:function";

}  // namespace

class ChangesPanelTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        f_ = std::make_unique<StoreFixture>();
        panel_ = std::make_unique<ChangesPanel>(f_->store);
        panel_->resize(700, 420);
        panel_->show();
    }

    void cleanup() {
        panel_.reset();
        f_.reset();
    }

    void listsTheChangesAndSelectsByClickUntilTheBaselineIsUnloaded() {
        f_->dir.write("v1/src/a.ts", "import { b } from './b';\nexport function a() { return b(); }\n");
        f_->dir.write("v1/src/b.ts", "export function b() { return 1; }\nexport function old() { return b(); }\n");
        f_->dir.write("v2/src/a.ts", "import { c } from './b';\nexport function a() { return c(); }\n");
        f_->dir.write("v2/src/b.ts", "export function b() { return 1; }\nexport function c() { return b(); }\n");
        scan("v1");
        const std::string baseline = f_->dir.write("baseline.json", writeProjectIRJson(*f_->store.ir(), false));
        scan("v2");
        QVERIFY(panel_->isHidden());  // no baseline yet

        f_->platform.nextPath = QString::fromStdString(baseline);
        f_->store.chooseBaselineSnapshot();
        f_->store.select(kB);
        settle();
        QVERIFY(!panel_->isHidden());
        QCOMPARE(panel_->summaryText(), QStringLiteral("+1/-1 symbols, 1 changed, +2/-2 edges"));
        QCOMPARE(texts(), (QStringList{"Added symbols \u00b7 1",    "  c | src/b.ts:2 | level 1",
                                       "Removed symbols \u00b7 1",  "  old | src/b.ts:2 | level 1",
                                       "Changed symbols \u00b7 1",  "  a | src/a.ts:2 | level 2",
                                       "Added edges \u00b7 2",      "  c \u2192 b | src/b.ts:2 | selection",
                                       "  a \u2192 c | src/a.ts:2 | level 1",
                                       "Removed edges \u00b7 2",    "  a \u2192 b | src/a.ts:2 | selection",
                                       "  old \u2192 b | src/b.ts:2 | selection"}));

        // An edge selects its caller; a removed symbol, gone from the graph, nothing.
        click(row(3, 1));
        QCOMPARE(f_->store.selectedSymbolId(), std::optional(kA));
        click(row(1, 0));
        QCOMPARE(f_->store.selectedSymbolId(), std::optional(kA));
        // With a selected the levels follow it: c and b are not its callers.
        QCOMPARE(row(0, 0)->data(0, ChangesPanel::DetailsRole).toStringList(), QStringList{"src/b.ts:2"});

        f_->store.setDiffModeEnabled(true);
        QTest::mouseClick(panel_->unloadButton(), Qt::LeftButton);
        settle();
        QVERIFY(!f_->store.baselineIR());
        QVERIFY(!f_->store.diffResult());
        QVERIFY(!f_->store.diffModeEnabled());
        QVERIFY(panel_->isHidden());
        QCOMPARE(panel_->tree()->topLevelItemCount(), 0);
    }

private:
    void scan(const char* folder) {
        f_->store.scan(QString::fromStdString(f_->dir / folder));
        QVERIFY(waitForScanState(f_->store, ScanState::Kind::ready));
        settle();
    }

    QTreeWidgetItem* row(int group, int index) const {
        return panel_->tree()->topLevelItem(group)->child(index);
    }

    void click(QTreeWidgetItem* item) {
        QTreeWidget* tree = panel_->tree();
        tree->scrollToItem(item);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(item).center());
        settle();
    }

    // Groups by title, rows indented as "name | detail | detail".
    QStringList texts() const {
        QStringList out;
        QTreeWidget* tree = panel_->tree();
        for (int g = 0; g < tree->topLevelItemCount(); ++g) {
            QTreeWidgetItem* group = tree->topLevelItem(g);
            out << group->text(0);
            for (int r = 0; r < group->childCount(); ++r) {
                QStringList parts{group->child(r)->text(0)};
                parts << group->child(r)->data(0, ChangesPanel::DetailsRole).toStringList();
                out << QStringLiteral("  ") + parts.join(QStringLiteral(" | "));
            }
        }
        return out;
    }

    std::unique_ptr<StoreFixture> f_;
    std::unique_ptr<ChangesPanel> panel_;
};

VANTREL_REGISTER_TEST_CLASS(ChangesPanelTest);
#include "ChangesPanelTest.moc"
