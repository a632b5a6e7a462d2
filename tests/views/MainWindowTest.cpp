// The main window over a store with scripted panels: the panel per scan state, drops,
// the recent list in the overlay and the menu, the export shortcut and failure alert,
// the onboarding card, the graph's two views, and the colour scheme.
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <QUrl>
#include <memory>

#include "app/canvas/CanvasPalette.h"
#include "app/canvas/ImpactGraphView.h"
#include "app/state/Preferences.h"
#include "app/views/Appearance.h"
#include "app/views/DropOverlayView.h"
#include "app/views/FailurePanel.h"
#include "app/views/MainWindow.h"
#include "app/views/OnboardingView.h"
#include "app/views/ProgressPanel.h"
#include "app/views/SidebarView.h"
#include "core/config/VantrelConfig.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

using Kind = ScanState::Kind;

std::unique_ptr<QMimeData> folderDrag(const QString& path) {
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl::fromLocalFile(path)});
    return data;
}

// Delivers a whole drag over the window: enter, then drop.
void dropOn(QWidget* window, const QMimeData& data) {
    const QPoint centre = window->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window, &enter);
    QDropEvent drop(QPointF(centre), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(window, &drop);
}

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        clearSettings();
        f_ = std::make_unique<StoreFixture>();
        window_ = std::make_unique<MainWindow>(f_->store);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
    }

    void cleanup() {
        window_.reset();
        f_.reset();
    }

    void panelFollowsTheScanState() {
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->dropOverlay()));
        QVERIFY(!window_->dropOverlay()->showsRecents());
        QVERIFY(!window_->clearRecentsAction()->isEnabled());
        QCOMPARE(window_->windowTitle(), QStringLiteral("Vantrel"));

        const QString root = copyScanProject(f_->dir, "shop");
        f_->store.scan(root);
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->progressPanel()));
        QCOMPARE(window_->progressPanel()->valueText(), QStringLiteral("working  0/1"));
        QCOMPARE(window_->progressPanel()->bar().value(), 0);
        QCOMPARE(window_->windowTitle(), QStringLiteral("Vantrel \u2014 shop"));
        QVERIFY(centredOverTheGraph(window_->progressPanel()));

        QVERIFY(waitForScanState(f_->store, Kind::ready));
        QVERIFY(!window_->currentPanel());
        QVERIFY(window_->exportAction()->isEnabled());

        // Back at the drop target, the project is one click away.
        f_->store.reset();
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->dropOverlay()));
        QCOMPARE(window_->windowTitle(), QStringLiteral("Vantrel"));
        QCOMPARE(window_->dropOverlay()->recentTitles(), QStringList{"shop"});
        QVERIFY(centredOverTheGraph(window_->dropOverlay()));
        QVERIFY(window_->dropOverlay()->width() <= 520);
        QVERIFY(window_->clearRecentsAction()->isEnabled());
        QCOMPARE(window_->recentMenu()->actions().first()->text(), QStringLiteral("shop \u2014 ") + root);

        f_->dir.write("shop/src/broken.ts/inside.txt", "a folder named like a source file cannot be read");
        window_->recentMenu()->actions().first()->trigger();
        QVERIFY(waitForScanState(f_->store, Kind::failed));
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->failurePanel()));
        QVERIFY(window_->failurePanel()->message().contains("src/broken.ts"));
        QVERIFY(centredOverTheGraph(window_->failurePanel()));
        QVERIFY(window_->failurePanel()->width() <= 420);
        QCOMPARE(window_->failurePanel()->title(), QStringLiteral("Scan failed"));
        QVERIFY(window_->failurePanel()->excludeButton()->isVisible());
        window_->failurePanel()->findChild<QPushButton*>(QStringLiteral("resetButton"))->click();
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->dropOverlay()));

        window_->clearRecentsAction()->trigger();
        QVERIFY(!window_->dropOverlay()->showsRecents());
        QVERIFY(!window_->clearRecentsAction()->isEnabled());
    }

    void progressShowsBoundedCounts() {
        ProgressPanel panel;
        panel.setProgress(ScanProgress{ScanPhase::parsing, 0, 0, std::nullopt});
        QCOMPARE(panel.valueText(), QStringLiteral("parsing  0/1"));
        QCOMPARE(panel.bar().value(), 0);
        panel.setProgress(ScanProgress{ScanPhase::linking, 9, 5, std::string()});
        QCOMPARE(panel.valueText(), QStringLiteral("linking  5/5"));
        QCOMPARE(panel.bar().value(), panel.bar().maximum());
        QVERIFY(!panel.showsPath());
        panel.setProgress(ScanProgress{ScanPhase::hashing, 2, 7, std::string("src/app/main.ts")});
        QCOMPARE(panel.valueText(), QStringLiteral("hashing  2/7"));
        QVERIFY(panel.showsPath());
    }

    void foldersDropAnywhereInEveryState() {
        QMimeData text;
        text.setText(QStringLiteral("not a folder"));
        dropOn(window_.get(), text);
        QCOMPARE(f_->store.scanState(), ScanState::idle());
        QCOMPARE(window_->currentPanel(), static_cast<QWidget*>(window_->dropOverlay()));

        const QString first = copyScanProject(f_->dir, "first");
        const QString second = copyScanProject(f_->dir, "second");
        auto firstDrag = folderDrag(first);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, firstDrag.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window_.get(), &enter);
        QVERIFY(enter.isAccepted());
        QVERIFY(window_->dropOverlay()->isTargeted());
        QDragLeaveEvent leave;
        QApplication::sendEvent(window_.get(), &leave);
        QVERIFY(!window_->dropOverlay()->isTargeted());

        dropOn(window_.get(), *firstDrag);
        QCOMPARE(f_->store.scanState(), ScanState::indexing());
        dropOn(window_.get(), *folderDrag(second));  // during the first scan
        QCOMPARE(f_->store.projectRoot(), second);
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        QCOMPARE(f_->store.recentProjects(), (QStringList{second, first}));
        dropOn(window_.get(), text);
        QCOMPARE(f_->store.scanState(), ScanState::ready());
    }

    void exportNeedsAGraphAndFailuresRaiseTheAlert() {
        QVERIFY(!window_->exportAction()->isEnabled());
        QTest::keyClick(window_.get(), Qt::Key_E, Qt::ControlModifier);
        settle();
        QVERIFY(!window_->exportMenu()->isVisible());
        QVERIFY(f_->platform.savePanels.empty());

        f_->store.scan(copyScanProject(f_->dir));
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        QTest::keyClick(window_.get(), Qt::Key_E, Qt::ControlModifier);
        QVERIFY(QTest::qWaitFor([&] { return window_->exportMenu()->isVisible(); }, 2000));
        QStringList titles;
        for (QAction* item : window_->exportMenu()->actions()) titles.append(item->text());
        QCOMPARE(titles,
                 (QStringList{"JSON (ProjectIR)", "Graphviz DOT", "SVG (current layout)", "PNG (current layout)"}));
        window_->exportMenu()->hide();

        f_->platform.nextPath = QString::fromStdString(f_->dir / "missing-folder/graph.json");
        window_->exportMenu()->actions().first()->trigger();
        QCOMPARE(f_->platform.savePanels.back().proposedName, QStringLiteral("vantrel.json"));
        QMessageBox* alert = nullptr;
        QVERIFY(QTest::qWaitFor([&] { return (alert = window_->findChild<QMessageBox*>()) != nullptr; }, 2000));
        QCOMPARE(alert->text(), QStringLiteral("Export failed"));
        QVERIFY2(alert->informativeText().startsWith(QStringLiteral("Could not write ") + *f_->platform.nextPath),
                 qPrintable(alert->informativeText()));
        alert->reject();
        QVERIFY(!f_->store.lastExportError());

        // A written export is confirmed; the next panel opens where this one was confirmed.
        f_->platform.nextPath = QString::fromStdString(f_->dir / "graph.json");
        window_->exportMenu()->actions().first()->trigger();
        QVERIFY(QTest::qWaitFor([&] { return !window_->statusBar()->currentMessage().isEmpty(); }, 2000));
        QCOMPARE(window_->statusBar()->currentMessage(), QStringLiteral("Exported to ") + *f_->platform.nextPath);
        f_->platform.nextPath.reset();
        window_->exportMenu()->actions().first()->trigger();
        QCOMPARE(f_->platform.savePanels.back().startFolder, QString::fromStdString(f_->dir.path()));
        f_->platform.nextPath = QString::fromStdString(f_->dir / "missing-folder/graph.json");

        // An error gone before the alert draws leaves the alert its fallback text.
        window_->exportMenu()->actions().first()->trigger();
        QVERIFY(QTest::qWaitFor([&] { return f_->store.lastExportError().has_value(); }, 2000));
        f_->store.clearLastExportError();
        QVERIFY(QTest::qWaitFor([&] { return (alert = window_->findChild<QMessageBox*>()) != nullptr; }, 2000));
        QCOMPARE(alert->informativeText(), QStringLiteral("Unknown error"));
        alert->reject();
    }

    // What a failure offers, the baseline's own alert, a dropped file and the rescan keys.
    void failuresSayWhatToDo() {
        const QString root = copyScanProject(f_->dir, "shop");
        f_->dir.write("shop/src/broken.ts/inside.txt", "a folder named like a source file cannot be read");
        f_->store.scan(root);
        QVERIFY(waitForScanState(f_->store, Kind::failed));
        QPushButton* exclude = window_->failurePanel()->excludeButton();
        QVERIFY(exclude->isVisible());
        QTest::mouseClick(exclude, Qt::LeftButton);
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        const auto project = VantrelConfig::loadIfPresent(root.toStdString());
        QVERIFY(project);
        QCOMPARE(project->exclude.back(), std::string("src/broken.ts"));
        QVERIFY(project->exclude.size() > 1);  // the global patterns stay in force
        QCOMPARE(f_->store.projectRoot(), root);
        const std::size_t symbols = f_->store.ir()->symbols.size();
        QVERIFY(symbols > 0);

        // F5 and Ctrl+R scan the open project again.
        QVERIFY(window_->rescanAction()->isEnabled());
        QSignalSpy states(&f_->store, &ProjectStore::scanStateChanged);
        QTest::keyClick(window_.get(), Qt::Key_F5);
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        QVERIFY(states.count() >= 2);
        QCOMPARE(f_->store.projectRoot(), root);
        QCOMPARE(f_->store.ir()->symbols.size(), symbols);
        states.clear();
        QTest::keyClick(window_.get(), Qt::Key_R, Qt::ControlModifier);
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        QVERIFY(states.count() >= 2);
        QCOMPARE(f_->store.projectRoot(), root);

        f_->dir.write("broken.json", "{\"projectId\": ");
        f_->platform.nextPath = QString::fromStdString(f_->dir / "broken.json");
        f_->store.chooseBaselineSnapshot();
        QMessageBox* alert = nullptr;
        QVERIFY(QTest::qWaitFor([&] { return (alert = window_->findChild<QMessageBox*>()) != nullptr; }, 2000));
        QCOMPARE(alert->text(), QStringLiteral("Could not load baseline"));
        QVERIFY(alert->informativeText().contains(QStringLiteral("broken.json")));
        alert->reject();

        // A dropped file opens the folder it is in.
        const QString other = copyScanProject(f_->dir, "other");
        dropOn(window_.get(), *folderDrag(other + "/src/lib/math.ts"));
        QCOMPARE(f_->store.projectRoot(), other + "/src/lib");
        QVERIFY(waitForScanState(f_->store, Kind::ready));
    }

    void theToolbarSwitchesTheGraphBetweenAllSymbolsAndImpact() {
        f_->store.scan(copyScanProject(f_->dir));
        QVERIFY(waitForScanState(f_->store, Kind::ready));
        ImpactGraphView* graph = window_->graphView();
        QCOMPARE(graph->mode(), CanvasMode::allSymbols);
        auto* toolbar = window_->findChild<QToolBar*>(QStringLiteral("projectToolbar"));
        QAction* impact = window_->findChild<QAction*>(QStringLiteral("impactView"));
        QWidget* impactButton = toolbar->widgetForAction(impact);
        QVERIFY(impactButton && impactButton->isVisible());
        QTest::mouseClick(impactButton, Qt::LeftButton);
        QCOMPARE(graph->mode(), CanvasMode::impact);
        QVERIFY(impact->isChecked());
        // Ctrl+I from anywhere in the window, the sidebar's list holding the keys.
        QTest::keyClick(window_->sidebar(), Qt::Key_I, Qt::ControlModifier);
        QCOMPARE(graph->mode(), CanvasMode::allSymbols);
        QVERIFY(window_->findChild<QAction*>(QStringLiteral("allSymbolsView"))->isChecked());
    }

    void recentProjectsFillTheGridRowByRow() {
        DropOverlayView overlay;
        overlay.setRecents({"/work/checkout-service", "/work/web-frontend", "/work/payments-core", "/work/analytics"});
        overlay.resize(520, overlay.heightForWidth(520));
        overlay.show();
        QList<QWidget*> cells;
        for (QWidget* cell : overlay.findChildren<QWidget*>())
            if (cell->inherits("vantrel::CapsuleButton")) cells.append(cell);
        QCOMPARE(cells.size(), 4);
        // 472 points inside the padding hold three cells of at least 140 with 8 between.
        QCOMPARE(cells[1]->geometry().top(), cells[0]->geometry().top());
        QCOMPARE(cells[2]->geometry().top(), cells[0]->geometry().top());
        QCOMPARE(cells[3]->geometry().top(), cells[0]->geometry().bottom() + 1 + 8);
        QCOMPARE(cells[3]->geometry().left(), cells[0]->geometry().left());
        QCOMPARE(cells[1]->geometry().left() - cells[0]->geometry().right() - 1, 8);
        QVERIFY(cells[0]->width() >= 140);
    }

    void onboardingClosesOnReturnOnly() {
        f_->store.presentOnboarding();
        OnboardingView* card = window_->onboarding();
        QVERIFY(card->isVisible());
        QCOMPARE(card->tips().at(2), QStringLiteral("Use Ctrl+F to search, Ctrl+O to open your project"));
        QTest::keyClick(card->gotItButton(), Qt::Key_Escape);
        QTest::keyClick(card, Qt::Key_Escape);
        QVERIFY(card->isVisible());
        QVERIFY(!Preferences::boolValue(prefkeys::kHasCompletedOnboarding).value_or(false));
        QTest::keyClick(card, Qt::Key_Return);
        QVERIFY(!card->isVisible());
        QVERIFY(*Preferences::boolValue(prefkeys::kHasCompletedOnboarding));

        // The command brings the card back; then "Got it" (the focused default) takes Return.
        f_->store.presentOnboarding();
        QVERIFY(card->isVisible());
        QTest::keyClick(card->gotItButton(), Qt::Key_Return);
        QVERIFY(!card->isVisible());
    }

    void onboardingCardKeepsItsWidthAndMargins() {
        OnboardingView view({});
        view.resize(1600, 900);
        view.show();
        QCOMPARE(view.cardGeometry().width(), 520);
        QCOMPARE(view.cardGeometry().left(), (1600 - 520) / 2);
        view.resize(420, 700);
        QCOMPARE(view.cardGeometry().width(), 380);
        QCOMPARE(view.cardGeometry().left(), 20);
    }

    void colorSchemeFollowsThePreferenceAtOnce() {
        const QPalette system = QApplication::palette();
        ColorSchemeController controller;
        Preferences::setValue(prefkeys::kColorScheme, QStringLiteral("dark"));
        controller.apply();
        QVERIFY(isDark(QApplication::palette()));
        QVERIFY(QTest::qWaitFor([&] { return isDark(window_->sidebar()->palette()); }, 1000));
        Preferences::setValue(prefkeys::kColorScheme, QStringLiteral("purple"));
        controller.apply();
        QCOMPARE(QApplication::palette(), system);
        controller.setOverride(Appearance::light);
        controller.apply();
        QVERIFY(!isDark(QApplication::palette()));
        QApplication::setPalette(system);
    }

private:
    static bool isDark(const QPalette& palette) { return CanvasPalette(palette).isDark(); }

    // The panel's centre on the graph's centre (within a point of rounding).
    bool centredOverTheGraph(const QWidget* panel) const {
        const QPoint graph = window_->graphView()->mapTo(window_.get(), window_->graphView()->rect().center());
        const QPoint centre = panel->mapTo(window_.get(), panel->rect().center());
        return (graph - centre).manhattanLength() <= 2;
    }

    std::unique_ptr<StoreFixture> f_;
    std::unique_ptr<MainWindow> window_;
};

VANTREL_REGISTER_TEST_CLASS(MainWindowTest);
#include "MainWindowTest.moc"
