// The canvas's motions on a clock given from outside: the pulse falls from 1 to 0 over
// its 0.35 s, a hovered node swells to 1.12 over 0.14 s and shrinks back when left, the
// tooltip fades in over 0.12 s and keeps its symbol while it fades out, the view springs
// home, and nothing counts as moving once every motion has run its time.
#include <QTest>

#include "app/canvas/CanvasAnimation.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;

class CanvasAnimationTest : public QObject {
    Q_OBJECT

private slots:
    void thePulseFallsFromOneToZeroOverItsDuration() {
        CanvasAnimation animation;
        QVERIFY(!animation.isAnimatingAt(10.0));
        animation.startPulse(10.0);
        QCOMPARE(animation.pulseAt(10.0), 1.0);
        QVERIFY(animation.pulseAt(10.1) < 1.0 && animation.pulseAt(10.1) > 0.0);
        QVERIFY(animation.isAnimatingAt(10.34));
        QCOMPARE(animation.pulseAt(10.4), 0.0);
        QVERIFY(!animation.isAnimatingAt(10.4));
    }

    void hoverSwellsTheNodeAndFadesTheTooltipInAndOut() {
        CanvasAnimation animation;
        animation.hover(std::nullopt, std::string("a.ts:f:function"), 1.0);
        QVERIFY(animation.scalesAt(1.0).empty());  // still 1 at its start
        QCOMPARE(animation.tooltipOpacityAt(1.0), 0.0);
        auto swollen = animation.scalesAt(1.2);
        QCOMPARE(swollen.size(), std::size_t{1});
        QCOMPARE(swollen[0].first, std::string("a.ts:f:function"));
        QCOMPARE(swollen[0].second, 1.12);
        QCOMPARE(animation.tooltipOpacityAt(1.2), 1.0);
        QVERIFY(!animation.isAnimatingAt(1.2));

        // Moving to another node: the first shrinks back, the second swells, and the
        // tooltip stays for the new one.
        animation.hover(std::string("a.ts:f:function"), std::string("b.py:g:function"), 2.0);
        QCOMPARE(*animation.tooltipId(), std::string("b.py:g:function"));
        auto settled = animation.scalesAt(2.2);
        QCOMPARE(settled.size(), std::size_t{1});
        QCOMPARE(settled[0].first, std::string("b.py:g:function"));

        // Leaving every node: the tooltip fades out but keeps its symbol meanwhile.
        animation.hover(std::string("b.py:g:function"), std::nullopt, 3.0);
        QCOMPARE(*animation.tooltipId(), std::string("b.py:g:function"));
        const double halfway = animation.tooltipOpacityAt(3.06);
        QVERIFY(halfway > 0.0 && halfway < 1.0);
        QCOMPARE(animation.tooltipOpacityAt(3.2), 0.0);
        QVERIFY(animation.isAnimatingAt(3.1));
        animation.pruneHoverScales(3.2);
        QVERIFY(animation.scalesAt(3.2).empty());
        QVERIFY(!animation.isAnimatingAt(3.2));
    }

    void theViewSpringsHomeAndStopsThere() {
        CanvasAnimation animation;
        QVERIFY(!animation.resetView(QPointF(0, 0), 1.0, 0.0));  // home already
        QVERIFY(!animation.isResettingView());

        QVERIFY(animation.resetView(QPointF(300, -40), 2.0, 5.0));
        QVERIFY(animation.isAnimatingAt(5.0));
        auto [panAtStart, zoomAtStart] = animation.viewAt(5.0);
        QCOMPARE(panAtStart, QPointF(300, -40));
        QCOMPARE(zoomAtStart, 2.0);
        auto [panSoon, zoomSoon] = animation.viewAt(5.1);
        QVERIFY(std::abs(panSoon.x()) < 300 && std::abs(zoomSoon - 1.0) < 1.0);
        // Long after its settle time the view is home and the reset is over.
        auto [panLate, zoomLate] = animation.viewAt(60.0);
        QCOMPARE(panLate, QPointF(0, 0));
        QCOMPARE(zoomLate, 1.0);
        QVERIFY(!animation.isResettingView());
        QVERIFY(!animation.isAnimatingAt(60.0));

        QVERIFY(animation.resetView(QPointF(10, 0), 1.0, 70.0));
        animation.stopViewReset();
        QVERIFY(!animation.isAnimatingAt(70.0));
    }
};

VANTREL_REGISTER_TEST_CLASS(CanvasAnimationTest);
#include "CanvasAnimationTest.moc"
