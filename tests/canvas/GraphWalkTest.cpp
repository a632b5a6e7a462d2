// The keyboard's walks over the graph: which key does what, up and down the calls,
// through the levels with Tab and along one level with left and right, each walk over
// the levels of the symbol it began at.
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
        QCOMPARE(graphKeyAction(Qt::Key_Tab, Qt::NoModifier), GraphKeyAction::nextLevel);
        QCOMPARE(graphKeyAction(Qt::Key_Backtab, Qt::ShiftModifier), GraphKeyAction::previousLevel);
        QCOMPARE(graphKeyAction(Qt::Key_Tab, Qt::ShiftModifier), GraphKeyAction::previousLevel);
        QCOMPARE(graphKeyAction(Qt::Key_Enter, Qt::KeypadModifier), GraphKeyAction::resetView);
        for (int key : {Qt::Key_Up, Qt::Key_Tab, Qt::Key_Space, Qt::Key_Escape, Qt::Key_Return})
            QCOMPARE(graphKeyAction(key, Qt::ControlModifier), GraphKeyAction::none);
        QCOMPARE(graphKeyAction(Qt::Key_A, Qt::NoModifier), GraphKeyAction::none);
        // The zoom keys, "+" as typed with Shift on most layouts too.
        QCOMPARE(graphKeyAction(Qt::Key_Equal, Qt::ControlModifier), GraphKeyAction::zoomIn);
        QCOMPARE(graphKeyAction(Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier), GraphKeyAction::zoomIn);
        QCOMPARE(graphKeyAction(Qt::Key_Minus, Qt::ControlModifier), GraphKeyAction::zoomOut);
        QCOMPARE(graphKeyAction(Qt::Key_0, Qt::ControlModifier), GraphKeyAction::zoomActual);
        QCOMPARE(graphKeyAction(Qt::Key_0, Qt::NoModifier), GraphKeyAction::none);
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

    void tabStopsAtEachLevelWithMembersThenLeaves() {
        const std::optional<std::string> root("root");
        LevelWalk walk;
        // Depth 7 walks levels 1 to 3; level 2 has no members and is no stop.
        QCOMPARE(walk.stepLevel(1, root, kLevels, 7), std::optional<std::string>("a"));
        // The selection moved to "a", whose own levels are others: the walk keeps root's.
        const ImpactLevels ofA{{1, {"q"}}};
        QCOMPARE(walk.stepLevel(1, std::string("a"), ofA, 7), std::optional<std::string>("z"));
        QCOMPARE(walk.stepLevel(1, std::string("z"), {}, 7), std::nullopt);  // past the last: out
        // Back in, the walk starts afresh at the selection; Shift+Tab before level 1 leaves.
        QCOMPARE(walk.stepLevel(-1, root, kLevels, 7), std::nullopt);
        QCOMPARE(walk.stepLevel(1, root, kLevels, 7), std::optional<std::string>("a"));
        QCOMPARE(walk.stepLevel(1, std::string("a"), ofA, 7), std::optional<std::string>("z"));
        QCOMPARE(walk.stepLevel(-1, std::string("z"), {}, 7), std::optional<std::string>("a"));
        // Depth 0 acts as 1: one stop.
        LevelWalk shallow;
        QCOMPARE(shallow.stepLevel(1, root, kLevels, 0), std::optional<std::string>("a"));
        QCOMPARE(shallow.stepLevel(1, std::string("a"), ofA, 0), std::nullopt);
        // Nothing calls the selection: Tab leaves at once.
        QCOMPARE(LevelWalk().stepLevel(1, root, {}, 3), std::nullopt);
    }

    void sideArrowsStepThroughTheLevelFromAFreshSelection() {
        const std::optional<std::string> root("root");
        LevelWalk walk;
        QCOMPARE(walk.stepMember(1, root, kLevels), std::optional<std::string>("a"));  // the first
        QCOMPARE(walk.stepMember(1, std::string("a"), {}), std::optional<std::string>("b"));
        QCOMPARE(walk.stepMember(1, std::string("b"), {}), std::optional<std::string>("c"));
        QCOMPARE(walk.stepMember(1, std::string("c"), {}), std::optional<std::string>("a"));  // wraps
        QCOMPARE(walk.stepMember(-1, std::string("a"), {}), std::optional<std::string>("c"));
        // A selection made elsewhere starts a new walk: left from fresh gives the last.
        QCOMPARE(walk.stepMember(-1, root, kLevels), std::optional<std::string>("c"));
        // Tab then the arrows: along the level Tab reached.
        LevelWalk mixed;
        QCOMPARE(mixed.stepLevel(1, root, kLevels, 3), std::optional<std::string>("a"));
        QCOMPARE(mixed.stepLevel(1, std::string("a"), {}, 3), std::optional<std::string>("z"));
        QCOMPARE(mixed.stepMember(1, std::string("z"), {}), std::optional<std::string>("z"));
        // Nothing to walk.
        QCOMPARE(LevelWalk().stepMember(1, root, {}), std::nullopt);
        QCOMPARE(LevelWalk().stepMember(1, std::nullopt, {{2, {"x"}}}), std::nullopt);
    }
};

VANTREL_REGISTER_TEST_CLASS(GraphWalkTest);
#include "GraphWalkTest.moc"
