// The source panel and Open in Editor in the main window, over the bundled sample
// project, driven by real mouse and key events; the editor is the scripted platform's
// record of what would have started.
//
// The sample, read by hand: logInfo (src/util/log.ts, lines 1-3) calls write on line 2.
// createRouter (src/router.ts, lines 4-8) calls registerRoutes on line 5 and logInfo on
// line 6. startServer (src/server.ts, lines 5-8) calls createRouter on line 6 and listen
// on line 7; listen calls logInfo. So with logInfo selected, createRouter is a caller on
// level 1 and startServer one on level 2, reaching it through createRouter and listen.
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QTreeView>

#include "app/state/Preferences.h"
#include "app/views/ImpactPanel.h"
#include "app/views/ImpactReachModel.h"
#include "app/views/SourceCodeView.h"
#include "app/views/SourcePanel.h"
#include "tests/views/SampleWindow.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

const std::string kLogInfo = "src/util/log.ts:logInfo:function";
const std::string kCreateRouter = "src/router.ts:createRouter:function";
const std::string kStartServer = "src/server.ts:startServer:function";

QStringList shownLines(const SourceCodeView& code) {
    QStringList lines;
    for (QTextBlock block = code.document()->begin(); block.isValid(); block = block.next()) lines.append(block.text());
    return lines;
}

std::vector<std::int64_t> markedLines(const SourceCodeView& code) {
    std::vector<std::int64_t> lines;
    for (const auto& [line, names] : code.source().callsByLine) lines.push_back(line);
    return lines;
}

}  // namespace

class SourcePanelTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        Preferences::setValue(prefkeys::kEditorPreset, QStringLiteral("custom"));
        Preferences::setValue(prefkeys::kEditorCommandTemplate, QStringLiteral("myedit --goto \"{file}:{line}\""));
        w_ = std::make_unique<SampleWindow>("sample project");
        QVERIFY(w_->scan());
    }

    void cleanup() { w_.reset(); }

    void showsTheSelectionThenTheChosenCallerWithItsCallLine() {
        SourcePanel* panel = w_->window->sourcePanel();
        SourceCodeView* code = panel->codeView();
        select(kLogInfo);
        QVERIFY(loaded(kLogInfo));
        QCOMPARE(shownLines(*code),
                 (QStringList{"export function logInfo(message: string) {", "  write('info', message);", "}"}));
        QCOMPARE(panel->placeText(), QStringLiteral("src/util/log.ts:1"));
        QCOMPARE(markedLines(*code), (std::vector<std::int64_t>{2}));
        QCOMPARE(code->callsText(2), QStringLiteral("Calls write"));
        QVERIFY(code->highlightedLines().empty());

        // A click on the caller createRouter in the impact panel: its code, the call to
        // logInfo highlighted and in view; the selection that follows keeps it so.
        QTreeView* tree = w_->window->impactPanel()->tree();
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, rowCenter(0, 1));
        QVERIFY(loaded(kCreateRouter));
        QCOMPARE(shownLines(*code).at(2), QStringLiteral("  logInfo(`${routes.length} routes`);"));
        QCOMPARE(code->highlightedLines(), (std::vector<std::int64_t>{6}));
        QCOMPARE(markedLines(*code), (std::vector<std::int64_t>{5, 6}));
        QCOMPARE(panel->statusText(), QStringLiteral("Calls logInfo on line 6"));
        QVERIFY(code->lineTop(6) >= 0 && code->lineTop(6) < code->viewport()->height());
        settle();
        QCOMPARE(w_->f.store.selectedSymbolId(), OptionalSymbolId(kCreateRouter));
        QVERIFY(!panel->isLoading());
        QCOMPARE(code->highlightedLines(), (std::vector<std::int64_t>{6}));

        // A caller on level 2 calls on through both of its callees on level 1.
        select(kLogInfo);
        QVERIFY(loaded(kLogInfo));
        QVERIFY(code->highlightedLines().empty());
        QCOMPARE(w_->window->impactPanel()->rows().rowAt(w_->window->impactPanel()->rows().rowIndex(1, 0))->id,
                 kStartServer);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, rowCenter(1, 0));
        QVERIFY(loaded(kStartServer));
        QCOMPARE(code->highlightedLines(), (std::vector<std::int64_t>{6, 7}));
        QCOMPARE(panel->statusText(), QStringLiteral("Calls createRouter, listen on lines 6, 7"));
    }

    void opensTheEditorFromTheShortcutDoubleClicksAndTheButton() {
        const QString log = QString::fromStdString(w_->root) + QStringLiteral("/src/util/log.ts");
        const QString server = QString::fromStdString(w_->root) + QStringLiteral("/src/server.ts");
        auto& started = w_->f.platform.started;
        // Without a selection the shortcut does nothing.
        w_->f.store.clearSelection();
        settle();
        QTest::keyClick(w_->window.get(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(started.empty());

        select(kLogInfo);
        QVERIFY(loaded(kLogInfo));
        QTest::keyClick(w_->window.get(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(started.size(), std::size_t{1});
        QCOMPARE(started.back(), (QStringList{"myedit", "--goto", log + ":1"}));

        // The chosen caller's call line is where the editor goes.
        QTest::mouseClick(w_->window->impactPanel()->tree()->viewport(), Qt::LeftButton, {}, rowCenter(1, 0));
        QVERIFY(loaded(kStartServer));
        settle();
        QTest::keyClick(w_->window.get(), Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(started.back(), (QStringList{"myedit", "--goto", server + ":6"}));

        // A double click on a line of code opens that line.
        SourceCodeView* code = w_->window->sourcePanel()->codeView();
        const QPoint onLine7(60, code->lineTop(7) + code->fontMetrics().height() / 2);
        QTest::mouseDClick(code->viewport(), Qt::LeftButton, {}, onLine7);
        QCOMPARE(started.size(), std::size_t{3});
        QCOMPARE(started.back(), (QStringList{"myedit", "--goto", server + ":7"}));

        // A double click on an impact row opens that symbol where it starts, as the row says.
        select(kLogInfo);
        QTest::qWait(QApplication::doubleClickInterval() + 50);  // the last click is no first half
        QWidget* rows = w_->window->impactPanel()->tree()->viewport();
        const QPoint main = rowCenter(2, 0);
        QTest::mousePress(rows, Qt::LeftButton, {}, main);
        QTest::mouseRelease(rows, Qt::LeftButton, {}, main);
        QTest::mousePress(rows, Qt::LeftButton, {}, main);
        QTest::mouseDClick(rows, Qt::LeftButton, {}, main);
        QTest::mouseRelease(rows, Qt::LeftButton, {}, main);
        settle();
        QCOMPARE(started.size(), std::size_t{4});
        QCOMPARE(started.back(),
                 (QStringList{"myedit", "--goto", QString::fromStdString(w_->root) + "/src/main.ts:4"}));

        // A program that cannot start leaves an alert that says so.
        w_->f.platform.startFails = QStringLiteral("No such file or directory");
        QTest::mouseClick(w_->window->sourcePanel()->findChild<QPushButton*>(QStringLiteral("openInEditorButton")),
                          Qt::LeftButton);
        QCOMPARE(started.size(), std::size_t{4});
        QCOMPARE(w_->f.platform.alerts.size(), std::size_t{1});
        QVERIFY(w_->f.platform.alerts[0].text.contains(QStringLiteral("\u201cmyedit\u201d could not be started")));
    }

private:
    void select(const std::string& id) {
        w_->f.store.select(id);
        settle();
    }

    bool loaded(const std::string& id) {
        SourcePanel* panel = w_->window->sourcePanel();
        return QTest::qWaitFor([&] { return panel->shownId() == id && !panel->isLoading(); }, 5000);
    }

    QPoint rowCenter(int group, int row) const {
        ImpactPanel* impact = w_->window->impactPanel();
        return impact->tree()->visualRect(impact->rows().rowIndex(group, row)).center();
    }

    std::unique_ptr<SampleWindow> w_;
};

VANTREL_REGISTER_TEST_CLASS(SourcePanelTest);
#include "SourcePanelTest.moc"
