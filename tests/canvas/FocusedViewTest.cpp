// The canvas's Impact view driven by real key and mouse events, over the sample project
// and over a generated project of some 15,000 symbols with a fan of 125 direct callers in
// five files. Where nodes stand is worked out here from the graph and the selection's
// place: a level's members in ascending id order in columns of 48-point rows, the nearest
// column 300 points to the left (callers) or right (callees).
#include <QAction>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTest>
#include <algorithm>
#include <tuple>

#include "app/canvas/ImpactGraphView.h"
#include "app/canvas/LegendPanel.h"
#include "bench/SyntheticProject.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

constexpr double kRow = 48, kNearest = 300, kColumn = 240;

std::string fanMember(int file, int i) {
    return "fan/feature" + std::to_string(file) + ".py:caller_" + std::to_string(file) + "_" + std::to_string(i) +
           ":function";
}

}  // namespace

class FocusedViewTest : public QObject {
    Q_OBJECT

    std::unique_ptr<StoreFixture> fixture_;
    std::unique_ptr<ImpactGraphView> view_;

    ProjectStore& store() { return fixture_->store; }
    ImpactGraphView& view() { return *view_; }

    void open(const QString& root) {
        store().scan(root);
        QVERIFY(waitForScanState(store(), ScanState::Kind::ready));
        settle();
        view_ = std::make_unique<ImpactGraphView>(store());
        view_->resize(1400, 900);
        view_->show();
        QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
        view_->setFocus();
    }

    void select(const std::string& id) {
        store().select(id);
        settle();
    }

    // The screen point of row `row` of `rows` in the column `column` steps out from the
    // nearest on the callers' side (-1) or the callees' (+1).
    QPointF cell(int side, int column, int row, int rows) {
        const QPointF center(view().width() / 2.0, view().height() / 2.0);
        const QPointF place = *view().placeOf(*store().selectedSymbolId()) +
                              QPointF(side * (kNearest + column * kColumn), (row - (rows - 1) / 2.0) * kRow);
        return (place + view().pan() - center) * view().zoom() + center;
    }

    void click(QPointF at) {
        QTRY_VERIFY(view().nodeAt(at).has_value());
        QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, at.toPoint());
        settle();
    }

private slots:
    void init() {
        clearSettings();
        fixture_ = std::make_unique<StoreFixture>();
    }

    void cleanup() {
        view_.reset();
        fixture_.reset();
    }

    void theSampleProjectSwitchesToImpactAndWalksItByMouseAndKeys() {
        const std::string computeTax = "src/checkout/cart.ts:computeTax:function";
        open(QStringLiteral(VANTREL_SAMPLE_PROJECT_DIR));
        QCOMPARE(view().mode(), CanvasMode::allSymbols);  // a small project starts whole
        select(computeTax);
        const Symbol& tax = store().ir()->symbols.at(computeTax);
        const std::vector<std::string> callers(tax.refsIn.begin(), tax.refsIn.end());
        QVERIFY(!callers.empty());

        QTest::keyClick(&view(), Qt::Key_I, Qt::ControlModifier);
        QCOMPARE(view().mode(), CanvasMode::impact);
        QVERIFY(view().modeActions()->choices().at(1)->isChecked());
        // The selection on the middle row of what the legend leaves free (the layout is
        // symmetric about it), shifted sideways to show most of the rest.
        const QPointF middle(view().width() / 2.0, view().height() / 2.0);
        const auto* legend = view().findChild<LegendPanel*>();
        QVERIFY(legend && legend->isVisible());
        const double legendBottom = legend->geometry().bottom();
        QCOMPARE(view().placeOf(computeTax)->y(), (legendBottom + 12 + view().height()) / 2.0);
        QVERIFY(cell(-1, 0, 0, static_cast<int>(callers.size())).y() - 20 > legendBottom);
        QTRY_COMPARE(view().nodeAt(*view().placeOf(computeTax)), OptionalSymbolId(computeTax));
        const int n = static_cast<int>(callers.size());
        for (int i = 0; i < n; ++i) QTRY_COMPARE(view().nodeAt(cell(-1, 0, i, n)), OptionalSymbolId(callers[i]));
        // Nothing else of the project is drawn where the whole view had it: the row above
        // the first caller is empty.
        QCOMPARE(view().nodeAt(cell(-1, 0, -1, n)), OptionalSymbolId());

        // Pan and zoom keep working, and the nodes are found where they were moved to.
        QTest::keyClick(&view(), Qt::Key_Equal, Qt::ControlModifier);
        for (auto [type, at, held] : {std::tuple{QEvent::MouseButtonPress, QPointF(40, 40), Qt::LeftButton},
                                      std::tuple{QEvent::MouseMove, QPointF(80, 70), Qt::LeftButton},
                                      std::tuple{QEvent::MouseButtonRelease, QPointF(80, 70), Qt::NoButton}}) {
            QMouseEvent event(type, at, view().mapToGlobal(at),
                              type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, held, Qt::NoModifier);
            QCoreApplication::sendEvent(&view(), &event);
        }
        QCOMPARE(view().pan(), QPointF(40, 30));
        click(cell(-1, 0, 0, n));
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(callers[0]));
        // The new selection is found where it stands, moved by the pan and zoom.
        const QPointF at = (*view().placeOf(callers[0]) + view().pan() - middle) * view().zoom() + middle;
        QTRY_COMPARE(view().nodeAt(at), OptionalSymbolId(callers[0]));

        // Down to the first callee, the search, and back to the whole view.
        QTest::keyClick(&view(), Qt::Key_Down);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(*store().ir()->symbols.at(callers[0]).refsOut.begin()));
        QTest::keyClick(&view(), Qt::Key_F, Qt::ControlModifier);
        auto* field = view().findChild<QLineEdit*>();
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClicks(field, "computeTax");
        QTest::keyClick(field, Qt::Key_Return);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(computeTax));
        view().setFocus();
        QTest::keyClick(&view(), Qt::Key_I, Qt::ControlModifier);
        QCOMPARE(view().mode(), CanvasMode::allSymbols);
    }

    void aBigProjectOpensInImpactAndAClickOpensAGroup() {
        const std::string root = fixture_->dir / "big";
        bench::generateSyntheticProject(root, 2200, bench::Mix::mixed);
        // One hub called by 125 functions, 25 to a file: more than a level shows singly.
        fixture_->dir.write("big/fan/hub.py", "def vantrel_fan_hub():\n    return 0\n");
        for (int file = 0; file < 5; ++file) {
            std::string text;
            for (int i = 0; i < 25; ++i)
                text += "def caller_" + std::to_string(file) + "_" + std::to_string(i) +
                        "():\n    return vantrel_fan_hub()\n\n\n";
            fixture_->dir.write("big/fan/feature" + std::to_string(file) + ".py", text);
        }
        open(QString::fromStdString(root));
        QVERIFY2(store().ir()->symbols.size() >= 15000, qPrintable(QString::number(store().ir()->symbols.size())));
        QCOMPARE(view().mode(), CanvasMode::impact);
        const std::string hub = "fan/hub.py:vantrel_fan_hub:function";
        QCOMPARE(store().ir()->symbols.at(hub).refsIn.size(), 125u);
        select(hub);

        // Five groups, one per file, each at its first member's id.
        for (int file = 0; file < 5; ++file)
            QTRY_COMPARE(view().nodeAt(cell(-1, 0, file, 5)), OptionalSymbolId(fanMember(file, 0)));
        click(cell(-1, 0, 2, 5));
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(hub));  // a group click selects nothing

        // 29 nodes now: two groups, feature2's 25 in id order, two groups; 16 rows.
        std::vector<std::string> opened;
        for (int i = 0; i < 25; ++i) opened.push_back(fanMember(2, i));
        std::sort(opened.begin(), opened.end());
        QTRY_COMPARE(view().nodeAt(cell(-1, 0, 2, 16)), OptionalSymbolId(opened[0]));
        QCOMPARE(view().nodeAt(cell(-1, 0, 15, 16)), OptionalSymbolId(opened[13]));
        QCOMPARE(view().nodeAt(cell(-1, 1, 4, 13)), OptionalSymbolId(opened[18]));
        QCOMPARE(view().nodeAt(cell(-1, 1, 11, 13)), OptionalSymbolId(fanMember(3, 0)));
        QCOMPARE(view().nodeAt(cell(-1, 0, 1, 16)), OptionalSymbolId(fanMember(1, 0)));

        // A member selects as any node; the hub is its one callee, on the right.
        click(cell(-1, 1, 4, 13));
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(opened[18]));
        QTRY_COMPARE(view().nodeAt(cell(1, 0, 0, 1)), OptionalSymbolId(hub));
        // Back on the hub the groups are closed again; Right walks its callers one by one.
        QTest::keyClick(&view(), Qt::Key_Down);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(hub));
        QTRY_COMPARE(view().nodeAt(cell(-1, 0, 2, 5)), OptionalSymbolId(fanMember(2, 0)));
        QTest::keyClick(&view(), Qt::Key_Right);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(fanMember(0, 0)));
        QTest::keyClick(&view(), Qt::Key_Right);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(fanMember(0, 10)));  // ids sort as text
    }
};

VANTREL_REGISTER_TEST_CLASS(FocusedViewTest);
#include "FocusedViewTest.moc"
