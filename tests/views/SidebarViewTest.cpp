// The sidebar over real scans of the scan-project fixture, whose callers of _values
// form three levels (compute_total; report and summarize; View and format), and over
// two small projects with and without an unresolved import.
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTest>
#include <QToolButton>
#include <QTreeView>
#include <memory>

#include "app/canvas/CanvasPalette.h"
#include "app/views/DiagnosticsGroup.h"
#include "app/views/SegmentedPicker.h"
#include "app/views/SidebarView.h"
#include "app/views/Stepper.h"
#include "app/views/SymbolListModel.h"
#include "app/views/SymbolRowDelegate.h"
#include "core/model/IRJson.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kValues = "py/pkg/totals.py:_values:function";
const std::string kFirstId = "py/pkg/report.py:fetch:function";

}  // namespace

class SidebarViewTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        f_ = std::make_unique<StoreFixture>();
        sidebar_ = std::make_unique<SidebarView>(f_->store);
        sidebar_->resize(360, 800);
        sidebar_->show();
    }

    void cleanup() {
        sidebar_.reset();
        f_.reset();
    }

    void selectionGatesTheImpactControls() {
        auto* impactedOnly = child<QCheckBox>("impactedOnlySwitch");
        auto* depth = child<Stepper>("maxDepthStepper");
        QVERIFY(!impactedOnly->isEnabled());
        QVERIFY(!depth->isEnabled());
        QVERIFY(!child<QCheckBox>("diffModeSwitch")->isEnabled());
        QVERIFY(child<QLineEdit>("searchField")->isEnabled());
        QVERIFY(child<SegmentedPicker>("kindPicker")->isEnabled());
        QVERIFY(child<QLabel>("symbolCount")->isHidden());

        scanFixture();
        QVERIFY(impactedOnly->isEnabled() && depth->isEnabled());
        QCOMPARE(rows().size(), std::size_t{14});
        QCOMPARE(child<QLabel>("symbolCount")->text(), QStringLiteral("14 symbols"));
        QCOMPARE(selectedRowId(), kFirstId);

        f_->store.select(kValues);
        settle();
        impactedOnly->click();
        // The selection stays although it has no level; level 3 (View, format) goes.
        QCOMPARE(rows(),
                 (SymbolIdList{"py/pkg/report.py:report:function", kValues, "py/pkg/totals.py:compute_total:function",
                               "src/app/View.tsx:summarize:function"}));
        const QPalette& palette = sidebar_->palette();
        const CanvasPalette named(palette);
        QCOMPARE(sidebar_->rowColor(kValues), named.color(NamedColor::red));
        QCOMPARE(sidebar_->rowColor("py/pkg/totals.py:compute_total:function"), named.color(NamedColor::orange));
        QCOMPARE(sidebar_->rowColor("py/pkg/report.py:report:function"), named.color(NamedColor::yellow));
        // Level 3 has no colour of its own in the list.
        QCOMPARE(sidebar_->rowColor("src/app/View.tsx:View:component"), palette.color(QPalette::Text));

        // Without a selection the switch stays on, disabled and without effect.
        f_->store.clearSelection();
        settle();
        QVERIFY(impactedOnly->isChecked());
        QVERIFY(!impactedOnly->isEnabled() && !depth->isEnabled());
        QCOMPARE(rows().size(), std::size_t{14});
    }

    void listPicksButNeverClearsTheSelection() {
        scanFixture();
        QListView* list = sidebar_->symbolList();
        const int row = *sidebar_->rows().rowOf(kValues);
        list->scrollTo(list->model()->index(row, 0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(list->model()->index(row, 0)).center());
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kFirstId));  // written on a later turn
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kValues));

        list->clearSelection();
        settle();
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kValues));

        // Selecting a row in view recolours the rows and leaves the list where it is.
        sidebar_->resize(360, 460);
        settle();
        QScrollBar* scroll = list->verticalScrollBar();
        QVERIFY(scroll->maximum() > 0);
        scroll->setValue(scroll->maximum() / 2);
        const int scrolled = scroll->value();
        const QModelIndex visible = list->indexAt(list->viewport()->rect().center());
        f_->store.select(sidebar_->rows().idAt(visible.row()));
        settle();
        QCOMPARE(selectedRowId(), sidebar_->rows().idAt(visible.row()));
        QCOMPARE(scroll->value(), scrolled);
        f_->store.select(kValues);
        settle();

        // Filtered out of the list, the symbol stays selected in the store.
        child<QLineEdit>("searchField")->setText(QString());
        QTest::keyClicks(child<QLineEdit>("searchField"), "lib/");
        settle();
        QCOMPARE(rows().size(), std::size_t{6});
        QVERIFY(list->selectionModel()->selectedIndexes().isEmpty());
        QCOMPARE(f_->store.selectedSymbolId(), OptionalSymbolId(kValues));
    }

    void stepperAndKindPickerWriteOnTheNextTurn() {
        scanFixture();
        auto* depth = child<Stepper>("maxDepthStepper");
        depth->stepDown();
        QCOMPARE(f_->store.config().maxDepth, std::int64_t{3});
        settle();
        QCOMPARE(f_->store.config().maxDepth, std::int64_t{2});
        for (int i = 0; i < 4; ++i) {
            depth->stepDown();
            settle();
        }
        QCOMPARE(f_->store.config().maxDepth, std::int64_t{1});
        QCOMPARE(depth->text(), QStringLiteral("Max depth: 1"));
        for (int i = 0; i < 15; ++i) {
            depth->stepUp();
            settle();
        }
        QCOMPARE(f_->store.config().maxDepth, std::int64_t{12});

        auto* picker = child<SegmentedPicker>("kindPicker");
        QCOMPARE(picker->currentIndex(), 0);
        picker->segment(1)->click();
        QVERIFY(!f_->store.kindFilter());
        settle();
        QCOMPARE(f_->store.kindFilter(), OptionalSymbolKind(SymbolKind::component));
        QCOMPARE(rows(), SymbolIdList{"src/app/View.tsx:View:component"});

        // "All Kinds" lists every kind again while the picker falls back to "Functions".
        child<QPushButton>("allKindsButton")->click();
        settle();
        QVERIFY(!f_->store.kindFilter());
        QCOMPARE(picker->currentIndex(), 0);
        QCOMPARE(rows().size(), std::size_t{14});
        QCOMPARE(child<QLabel>("symbolCount")->text(), QStringLiteral("14 symbols"));
    }

    void diagnosticsAndDiffSummary() {
        f_->dir.write("plain/src/b.ts", "export function b() { return 1; }\n");
        f_->dir.write("one/src/a.ts", "import x from './missing';\nexport function a() { return x(); }\n");
        auto* group = child<DiagnosticsGroup>("diagnostics");

        scan("plain");
        QVERIFY(group->isHidden());
        const std::string baseline = f_->dir.write("baseline.json", writeProjectIRJson(*f_->store.ir(), false));

        scan("one");
        QVERIFY(!group->isHidden());
        QCOMPARE(group->title(), QStringLiteral("Diagnostics (1)"));
        QVERIFY(!group->isOpen());
        QVERIFY(group->tree()->isHidden());
        group->setOpen(true);
        QVERIFY(!group->tree()->isHidden());
        QVERIFY(!group->filterField()->isHidden());
        const QModelIndex section = group->model().index(0, 0);
        QCOMPARE(section.data().toString(), QStringLiteral("Files not found · 1"));
        QCOMPARE(group->model().index(0, 0, section).data().toString(), QStringLiteral("./missing · 1 file"));

        // The diff summary stands while there is a diff, whatever "Diff mode" says.
        auto* summary = child<QLabel>("diffSummary");
        QVERIFY(summary->isHidden());
        f_->platform.nextPath = QString::fromStdString(baseline);
        child<QPushButton>("loadBaselineButton")->click();
        settle();
        QVERIFY(!summary->isHidden());
        QCOMPARE(summary->text(), QStringLiteral("+0/-0 edges, +1/-1 symbols"));
        QVERIFY(child<QWidget>("deltaRow")->isHidden());
        child<QCheckBox>("diffModeSwitch")->click();
        QVERIFY(!f_->store.diffModeEnabled());
        settle();
        QVERIFY(!child<QWidget>("deltaRow")->isHidden());
        QStringList deltas;
        for (QLabel* label : child<QWidget>("deltaRow")->findChildren<QLabel*>()) deltas.append(label->text());
        QCOMPARE(deltas, (QStringList{"L1: +0/-0", "L2: +0/-0", "L3: +0/-0"}));
    }

    void aLongPathGivesWayToTheName() {
        const std::string folder = "web/packages/three/examples/jsm/curves/extras/core";
        f_->dir.write("deep/" + folder + "/CatmullRomCurve3.ts", "export function catmullRomComponent() {}\n");
        scan("deep");
        const QModelIndex row = sidebar_->rows().index(0);
        QCOMPARE(row.data(Qt::ToolTipRole).toString(),
                 QString::fromStdString(folder + "/CatmullRomCurve3.ts:catmullRomComponent:function"));

        QStyleOptionViewItem option;
        option.initFrom(sidebar_->symbolList());
        for (const int width : {900, 420, 330}) {
            option.rect = QRect(0, 0, width, 24);
            const NameFirstLine line = SymbolRowDelegate::layoutText(option, row);
            QCOMPARE(line.name.text, QStringLiteral("catmullRomComponent"));
            QCOMPARE(line.details.size(), std::size_t{1});
            const PlacedText& path = line.details.front();
            QVERIFY(path.rect.left() > line.name.rect.right());
            QVERIFY(path.rect.right() <= option.rect.right());
            // Cut from the front, so the end of the path (the file's name) stays in view.
            const QString fullPath = QString::fromStdString(folder + "/CatmullRomCurve3.ts");
            QCOMPARE(path.text.startsWith(QChar(0x2026)), width < 900);
            QVERIFY2(fullPath.endsWith(path.text.mid(width < 900 ? 1 : 0)), qPrintable(path.text));
            QVERIFY(path.text.size() > 4);
        }
        // Just wide enough for the name, the row shows the name alone.
        const int textLeft = SymbolRowDelegate::layoutText(option, row).name.rect.left();
        option.rect.setWidth(textLeft + option.fontMetrics.horizontalAdvance(QStringLiteral("catmullRomComponent")) +
                             10);
        const NameFirstLine tight = SymbolRowDelegate::layoutText(option, row);
        QCOMPARE(tight.name.text, QStringLiteral("catmullRomComponent"));
        QVERIFY(tight.details.empty());
    }

    void diagnosticsGroupByReasonAndImportAndFilterAsTyped() {
        DiagnosticsGroup group;
        group.setDiagnostics({{"src/app.ts", "./x", ResolutionDiagnostic::Reason::ambiguousMatch, std::nullopt},
                              {"src/app.ts", "react", ResolutionDiagnostic::Reason::externalModule,
                               "Module 'react' is external (not scanned)"},
                              {"src/ui/List.tsx", "react", ResolutionDiagnostic::Reason::externalModule,
                               "Module 'react' is external (not scanned)"},
                              {"src/ui/List.tsx", "./gone", ResolutionDiagnostic::Reason::fileNotFound, std::nullopt}});
        group.resize(320, 500);
        group.show();
        QVERIFY(QTest::qWaitForWindowExposed(&group));
        QCOMPARE(group.title(), QStringLiteral("Diagnostics (4)"));
        QTest::mouseClick(group.findChild<QToolButton*>(), Qt::LeftButton);
        QVERIFY(group.isOpen());

        const QStandardItemModel& model = group.model();
        auto text = [&](const QModelIndex& index) { return index.data().toString(); };
        QStringList headings;
        for (int i = 0; i < model.rowCount(); ++i) headings.append(text(model.index(i, 0)));
        QCOMPARE(headings, (QStringList{"Files not found · 1", "Ambiguous imports · 1", "External packages · 2"}));
        const QModelIndex external = model.index(2, 0);
        QVERIFY(group.tree()->isExpanded(model.index(0, 0)));
        QVERIFY(!group.tree()->isExpanded(external));
        const QModelIndex react = model.index(0, 0, external);
        QCOMPARE(text(react), QStringLiteral("react · 2 files"));
        QCOMPARE(react.data(Qt::ToolTipRole).toString(),
                 QStringLiteral("react\nModule 'react' is external (not scanned)"));
        QCOMPARE(text(model.index(1, 0, react)), QStringLiteral("src/ui/List.tsx"));

        // Typing narrows the tree to what the text names, importers included.
        QTest::keyClicks(group.filterField(), QStringLiteral("LIST"));
        headings.clear();
        for (int i = 0; i < model.rowCount(); ++i) headings.append(text(model.index(i, 0)));
        QCOMPARE(headings, (QStringList{"Files not found · 1", "External packages · 1"}));
        QCOMPARE(text(model.index(0, 0, model.index(1, 0))), QStringLiteral("react · 1 file"));
    }

private:
    template <typename Widget>
    Widget* child(const char* name) const {
        auto* widget = sidebar_->findChild<Widget*>(QString::fromLatin1(name));
        if (!widget) qFatal("no child %s", name);
        return widget;
    }

    const SymbolIdList& rows() const { return sidebar_->rows().ids(); }

    std::string selectedRowId() const {
        QModelIndexList selected = sidebar_->symbolList()->selectionModel()->selectedIndexes();
        return selected.isEmpty() ? std::string() : sidebar_->rows().idAt(selected.front().row());
    }

    void scanFixture() {
        f_->store.scan(copyScanProject(f_->dir));
        QVERIFY(waitForScanState(f_->store, ScanState::Kind::ready));
        settle();
    }

    void scan(const char* folder) {
        f_->store.scan(QString::fromStdString(f_->dir / folder));
        QVERIFY(waitForScanState(f_->store, ScanState::Kind::ready));
        settle();
    }

    std::unique_ptr<StoreFixture> f_;
    std::unique_ptr<SidebarView> sidebar_;
};

VANTREL_REGISTER_TEST_CLASS(SidebarViewTest);
#include "SidebarViewTest.moc"
