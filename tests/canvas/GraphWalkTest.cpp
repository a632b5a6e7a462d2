// The keyboard's walks over the graph: which key does what, up and down the calls,
// through the levels with Tab and along one level with left and right.
#include <QTest>

#include "app/canvas/GraphWalks.h"
#include "tests/app/AppTestSupport.h"
#include "tests/support/GraphBuilder.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

// Levels as a selection might have them: three on level 1, none on level 2, one on 3.
const ImpactLevels kLevels{{1, {"a", "b", "c"}}, {3, {"z"}}};

}  // namespace

class GraphWalkTest : public QObject {
    Q_OBJECT

private slots:
    void keysMapToWalksAndCtrlKeepsThemAll() {
        QCOMPARE(graphKeyAction(Qt::Key_Up, Qt::NoModifier), GraphKeyAction::selectParent);
        QCOMPARE(graphKeyAction(Qt::Key_Left, Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier),
                 GraphKeyAction::previousSibling);
        QCOMPARE(graphKeyAction(Qt::Key_Backtab, Qt::ShiftModifier), GraphKeyAction::cycleLevel);
        QCOMPARE(graphKeyAction(Qt::Key_Enter, Qt::KeypadModifier), GraphKeyAction::resetView);
        for (int key : {Qt::Key_Up, Qt::Key_Tab, Qt::Key_Space, Qt::Key_Escape, Qt::Key_Return})
            QCOMPARE(graphKeyAction(key, Qt::ControlModifier), GraphKeyAction::none);
        QCOMPARE(graphKeyAction(Qt::Key_A, Qt::NoModifier), GraphKeyAction::none);
    }

    void upAndDownGoToTheFirstCallerAndCalleeIfAny() {
        const ProjectIR ir = GraphBuilder()
                                 .symbol("m")
                                 .symbol("k")
                                 .symbol("j")
                                 .symbol("leaf")
                                 .call("m", "leaf")
                                 .call("k", "leaf")
                                 .call("j", "leaf")
                                 .call("leaf", "lib:x:f")
                                 .build();
        QCOMPARE(parentOf(ir, std::string("leaf")), std::optional<std::string>("j"));
        QCOMPARE(childOf(ir, std::string("leaf")), std::optional<std::string>("lib:x:f"));
        QCOMPARE(parentOf(ir, std::string("m")), std::nullopt);       // no callers
        QCOMPARE(childOf(ir, std::string("lib:x:f")), std::nullopt);  // no such symbol
        QCOMPARE(parentOf(ir, std::nullopt), std::nullopt);
    }

    void tabWalksLevelsOneToThreeWhateverTheDepth() {
        // Depth 0 acts as 1: Tab stays on level 1 and selects its first member each time.
        WalkStep step = nextBlastRadiusLevel({1, 2}, 0, kLevels);
        QCOMPARE(step.cursor, (SiblingCursor{1, 0}));
        QCOMPARE(step.select, std::optional<std::string>("a"));
        QCOMPARE(nextBlastRadiusLevel({1, 0}, 1, kLevels).cursor, (SiblingCursor{1, 0}));
        // Depth 7 still wraps after 3. Level 2 has no members: the cursor moves, nothing
        // is selected.
        step = nextBlastRadiusLevel({1, 1}, 7, kLevels);
        QCOMPARE(step.cursor, (SiblingCursor{2, 0}));
        QCOMPARE(step.select, std::nullopt);
        QCOMPARE(nextBlastRadiusLevel(step.cursor, 7, kLevels).select, std::optional<std::string>("z"));
        QCOMPARE(nextBlastRadiusLevel({3, 0}, 7, kLevels).cursor, (SiblingCursor{1, 0}));
    }

    void leftAndRightWrapAroundTheLevel() {
        // The selection's own level decides, and its place in it.
        auto step = siblingStep({3, 0}, -1, std::string("a"), 1, kLevels);
        QCOMPARE(step->cursor, (SiblingCursor{1, 2}));
        QCOMPARE(step->select, std::optional<std::string>("c"));
        step = siblingStep({1, 0}, 1, std::string("c"), 1, kLevels);
        QCOMPARE(step->select, std::optional<std::string>("a"));
        // The selection itself has no level: the cursor's level and index go on.
        step = siblingStep({1, 1}, 1, std::string("root"), std::nullopt, kLevels);
        QCOMPARE(step->cursor, (SiblingCursor{1, 2}));
        // A stale index from a longer level still lands inside this one.
        step = siblingStep({3, 5}, 1, std::nullopt, std::nullopt, kLevels);
        QCOMPARE(step->cursor, (SiblingCursor{3, 0}));
        // Nothing to walk: no members on the level, or no levels at all.
        QVERIFY(!siblingStep({2, 0}, 1, std::string("root"), std::nullopt, kLevels));
        QVERIFY(!siblingStep({1, 0}, -1, std::nullopt, std::nullopt, {}));
    }
};

VANTREL_REGISTER_TEST_CLASS(GraphWalkTest);
#include "GraphWalkTest.moc"
