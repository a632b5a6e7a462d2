// The canvas widget over a real scan of the scan-project fixture, driven by real mouse,
// wheel and key events: clicks select, drags pan past their threshold, Ctrl+wheel zooms
// within its limits, the keyboard walks the graph, and the search field keeps the keys
// typed into it; pinches count from their threshold. In the fixture _values has compute_total as its caller, which has
// report and summarize as its callers.
#include <QAction>
#include <QLineEdit>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "app/canvas/CanvasLayout.h"
#include "app/canvas/ImpactGraphView.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kValues = "py/pkg/totals.py:_values:function";
const std::string kComputeTotal = "py/pkg/totals.py:compute_total:function";
const std::string kFetch = "py/pkg/report.py:fetch:function";

void sendMouse(QWidget& widget, QEvent::Type type, QPointF at, Qt::MouseButtons held) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, widget.mapToGlobal(at), button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

void wheel(QWidget& widget, int notches, Qt::KeyboardModifiers modifiers) {
    const QPointF at(widget.width() / 2.0, widget.height() / 2.0);
    QWheelEvent event(at, widget.mapToGlobal(at), QPoint(), QPoint(0, 120 * notches), Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&widget, &event);
}

void pinch(QWidget& widget, Qt::NativeGestureType type, double value = 0) {
    const QPointF at(widget.width() / 2.0, widget.height() / 2.0);
    QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2, at, at, widget.mapToGlobal(at), value,
                              QPointF());
    QCoreApplication::sendEvent(&widget, &event);
}

}  // namespace

class ImpactGraphViewTest : public QObject {
    Q_OBJECT

    std::unique_ptr<StoreFixture> fixture_;
    std::unique_ptr<ImpactGraphView> view_;

    ProjectStore& store() { return fixture_->store; }
    ImpactGraphView& view() { return *view_; }
    QLineEdit& searchField() { return *view_->findChild<QLineEdit*>(); }

    // Where the node stands once it has glided to its place.
    QPointF screenPoint(const std::string& id) {
        const QSizeF size(view().size());
        const QPointF center(size.width() / 2, size.height() / 2);
        std::optional<SelectionFocus> focus;
        if (store().selectedSymbolId())
            focus.emplace(
                SelectionFocus{*store().selectedSymbolId(), store().impactLevels(), store().downstreamContext()});
        const QPointF place = layoutPositions(*store().ir(), store().nodePositions(), center, size, focus).at(id);
        return (place + view().pan() - center) * view().zoom() + center;
    }

    void select(const std::string& id) {
        store().select(id);
        settle();
    }

private slots:
    void init() {
        clearSettings();
        fixture_ = std::make_unique<StoreFixture>();
        store().scan(copyScanProject(fixture_->dir));
        QVERIFY(waitForScanState(store(), ScanState::Kind::ready));
        settle();
        view_ = std::make_unique<ImpactGraphView>(store());
        view_->resize(900, 700);
        view_->show();
        QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
        view_->setFocus();
    }

    void cleanup() {
        view_.reset();
        fixture_.reset();
    }

    void withoutAProjectOnlyTheBackgroundShows() {
        StoreFixture idle;
        ImpactGraphView empty(idle.store);
        empty.resize(300, 200);
        const QImage shot = empty.grab().toImage();
        const QRgb background = shot.pixel(0, 0);
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                if (shot.pixel(x, y) != background) QFAIL("something besides the background was drawn");
    }

    void aClickOnANodeSelectsItAndOneOnEmptyCanvasDoesNothing() {
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kFetch));
        const QPointF target = screenPoint(kValues);
        QTRY_COMPARE(view().nodeAt(target), OptionalSymbolId(kValues));
        QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, target.toPoint());
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));

        const QPoint empty(view().width() - 4, view().height() - 4);
        QCOMPARE(view().nodeAt(empty), OptionalSymbolId());
        QTest::mouseClick(&view(), Qt::LeftButton, Qt::NoModifier, empty);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));

        // Hovering a node marks it; leaving it clears the mark.
        QTRY_COMPARE(view().nodeAt(screenPoint(kComputeTotal)), OptionalSymbolId(kComputeTotal));
        sendMouse(view(), QEvent::MouseMove, screenPoint(kComputeTotal), Qt::NoButton);
        QCOMPARE(view().hoveredId(), OptionalSymbolId(kComputeTotal));
        sendMouse(view(), QEvent::MouseMove, empty, Qt::NoButton);
        QCOMPARE(view().hoveredId(), OptionalSymbolId());
    }

    void aDragPansOncePastTenPointsAndNextDragsAddToIt() {
        const QPointF start = screenPoint(kFetch);  // a drag may start on a node
        sendMouse(view(), QEvent::MouseButtonPress, start, Qt::LeftButton);
        sendMouse(view(), QEvent::MouseMove, start + QPointF(6, 7), Qt::LeftButton);
        QCOMPARE(view().pan(), QPointF(0, 0));
        sendMouse(view(), QEvent::MouseMove, start + QPointF(30, -20), Qt::LeftButton);
        QCOMPARE(view().pan(), QPointF(30, -20));
        sendMouse(view(), QEvent::MouseButtonRelease, start + QPointF(30, -20), Qt::NoButton);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kFetch));  // a drag is no click

        sendMouse(view(), QEvent::MouseButtonPress, {100, 600}, Qt::LeftButton);
        sendMouse(view(), QEvent::MouseMove, {100, 640}, Qt::LeftButton);
        sendMouse(view(), QEvent::MouseButtonRelease, {100, 640}, Qt::NoButton);
        QCOMPARE(view().pan(), QPointF(30, 20));
        // The nodes moved with the drawing, and the pointer finds them there.
        QCOMPARE(view().nodeAt(screenPoint(kValues)), OptionalSymbolId(kValues));
        QCOMPARE(view().nodeAt(screenPoint(kValues) - QPointF(30, 20)), OptionalSymbolId());
    }

    void ctrlWheelAndPinchZoomWithinTheLimitsAndReturnSpringsBack() {
        wheel(view(), 3, Qt::NoModifier);
        QCOMPARE(view().zoom(), 1.0);
        wheel(view(), 1, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 1.1);
        for (int i = 0; i < 30; ++i) wheel(view(), 1, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 3.0);
        wheel(view(), -1, Qt::ControlModifier);  // each step starts from where the last ended
        QCOMPARE(view().zoom(), 3.0 / 1.1);
        wheel(view(), -40, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 0.3);

        // A pinch counts from a change of 0.01 and scales the zoom it started from.
        pinch(view(), Qt::BeginNativeGesture);
        pinch(view(), Qt::ZoomNativeGesture, 0.005);
        QCOMPARE(view().zoom(), 0.3);
        pinch(view(), Qt::ZoomNativeGesture, 1.0);
        QCOMPARE(view().zoom(), 0.3 * 1.005 * 2.0);
        pinch(view(), Qt::EndNativeGesture);
        pinch(view(), Qt::BeginNativeGesture);
        pinch(view(), Qt::ZoomNativeGesture, 9.0);
        QCOMPARE(view().zoom(), 3.0);
        pinch(view(), Qt::EndNativeGesture);

        sendMouse(view(), QEvent::MouseButtonPress, {100, 600}, Qt::LeftButton);
        sendMouse(view(), QEvent::MouseMove, {150, 600}, Qt::LeftButton);
        sendMouse(view(), QEvent::MouseButtonRelease, {150, 600}, Qt::NoButton);
        QTest::keyClick(&view(), Qt::Key_Return);
        QTRY_COMPARE(view().zoom(), 1.0);
        QTRY_COMPARE(view().pan(), QPointF(0, 0));
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kFetch));
    }

    void keysWalkTheGraphButNotWithCtrl() {
        select(kValues);
        QTest::keyClick(&view(), Qt::Key_Up, Qt::ControlModifier);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));
        QTest::keyClick(&view(), Qt::Key_Up);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kComputeTotal));
        QTest::keyClick(&view(), Qt::Key_Down, Qt::ShiftModifier);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));
        // Tab goes to level 1 of _values, then to level 2, whose first member is report.
        QTest::keyClick(&view(), Qt::Key_Tab);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kComputeTotal));
        QTest::keyClick(&view(), Qt::Key_Tab);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId("py/pkg/report.py:report:function"));
        QTest::keyClick(&view(), Qt::Key_Space);
        QCOMPARE(store().collapsedNodes(), IdSet{"py/pkg/report.py:report:function"});
        QVERIFY(view().hasFocus());  // Tab walked the levels instead of moving the focus
    }

    void ctrlPlusMinusAndZeroZoomAboutTheCentre() {
        QTest::keyClick(&view(), Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 1.25);
        QTest::keyClick(&view(), Qt::Key_Minus, Qt::ControlModifier);
        QTest::keyClick(&view(), Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 1.0 / 1.25);
        for (int i = 0; i < 12; ++i) QTest::keyClick(&view(), Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(view().zoom(), 3.0);
        // A wheel step goes on from a key's zoom, and Ctrl+0 comes back to 1 at once.
        wheel(view(), -1, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 3.0 / 1.1);
        QTest::keyClick(&view(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view().zoom(), 1.0);
        QCOMPARE(view().pan(), QPointF(0, 0));
    }

    void sideArrowsStepThroughTheLevelAndTabLeavesAfterTheLastLevel() {
        // compute_total's direct callers: report (py) and summarize (tsx), in id order.
        const std::string report = "py/pkg/report.py:report:function";
        const std::string summarize = "src/app/View.tsx:summarize:function";
        QWidget host;
        auto* before = new QLineEdit(&host);
        auto* graph = new ImpactGraphView(store(), &host);
        auto* after = new QLineEdit(&host);
        auto* column = new QVBoxLayout(&host);
        for (QWidget* w : std::initializer_list<QWidget*>{before, graph, after}) column->addWidget(w);
        host.resize(700, 700);
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        select(kComputeTotal);
        graph->setFocus();

        QTest::keyClick(graph, Qt::Key_Right);  // from a fresh selection: the first member
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(report));
        QTest::keyClick(graph, Qt::Key_Right);  // still compute_total's level, not report's
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(summarize));
        QTest::keyClick(graph, Qt::Key_Right);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(report));
        QTest::keyClick(graph, Qt::Key_Left);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(summarize));

        // Tab: the first member of each of compute_total's levels up to 3, by a
        // breadth-first walk over the callers written here; then out of the canvas, and
        // Shift+Tab from a fresh selection goes out backwards.
        std::vector<std::string> firsts;
        IdSet seen{kComputeTotal}, frontier{kComputeTotal};
        for (int level = 1; level <= 3; ++level) {
            IdSet next;
            for (const std::string& id : frontier)
                for (const std::string& caller : store().ir()->symbols.at(id).refsIn)
                    if (seen.insert(caller).second) next.insert(caller);
            if (next.empty()) break;
            firsts.push_back(*next.begin());
            frontier = next;
        }
        QCOMPARE(firsts.front(), report);
        QVERIFY(firsts.size() >= 2);
        select(kComputeTotal);
        graph->setFocus();
        for (const std::string& first : firsts) {
            QTest::keyClick(graph, Qt::Key_Tab);
            settle();
            QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(first));
            QVERIFY(graph->hasFocus());
        }
        QTest::keyClick(graph, Qt::Key_Tab);
        settle();
        QVERIFY(after->hasFocus());
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(firsts.back()));
        graph->setFocus();
        select(kComputeTotal);
        QTest::keyClick(graph, Qt::Key_Backtab, Qt::ShiftModifier);
        QVERIFY(before->hasFocus());
    }

    void keysTypedIntoTheSearchFieldStayThereAndTwoEscapesCloseThenClear() {
        select(kValues);
        QTest::keyClick(&view(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(searchField().hasFocus());
        QVERIFY(searchField().isVisible());
        QTest::keyClicks(&searchField(), "report");
        for (Qt::Key key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_Right, Qt::Key_Tab, Qt::Key_Space})
            QTest::keyClick(&searchField(), key);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));
        QVERIFY(store().collapsedNodes().empty());
        QCOMPARE(searchField().text(), QString("report "));
        QVERIFY(searchField().hasFocus());

        // Return selects the first symbol in id order whose id holds the text; the
        // search stays open with its text.
        QTest::keyClick(&searchField(), Qt::Key_Return);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kFetch));
        QCOMPARE(searchField().text(), QString("report "));
        // Only spaces: nothing happens.
        searchField().setText("   ");
        select(kValues);
        QTest::keyClick(&searchField(), Qt::Key_Return);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));

        QTest::keyClick(&searchField(), Qt::Key_Escape);
        QVERIFY(!searchField().isVisible());
        QCOMPARE(searchField().text(), QString());
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId(kValues));
        QVERIFY(view().hasFocus());
        QTest::keyClick(&view(), Qt::Key_Escape);
        settle();
        QCOMPARE(store().selectedSymbolId(), OptionalSymbolId());
    }
};

VANTREL_REGISTER_TEST_CLASS(ImpactGraphViewTest);
#include "ImpactGraphViewTest.moc"
