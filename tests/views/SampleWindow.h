// A main window over a scan of a copy of the bundled sample project, for the tests that
// drive the source panel and the context menus with real events.
#pragma once

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QTest>
#include <filesystem>
#include <memory>

#include "app/views/MainWindow.h"
#include "tests/app/AppTestSupport.h"

namespace vantrel::testing {

struct SampleWindow {
    // `folder`: the copy's name below the fixture's folder (a space in it is welcome).
    explicit SampleWindow(const char* folder = "sample") {
        root = f.dir / folder;
        std::filesystem::copy(VANTREL_SAMPLE_PROJECT_DIR, root, std::filesystem::copy_options::recursive);
        window = std::make_unique<MainWindow>(f.store);
        window->resize(1280, 800);
        window->show();
    }

    bool scan() {
        f.store.scan(QString::fromStdString(root));
        if (!waitForScanState(f.store, ScanState::Kind::ready)) return false;
        settle();
        return true;
    }

    StoreFixture f;
    std::string root;
    std::unique_ptr<MainWindow> window;
};

// A right click as the window system delivers it: the context-menu event at `pos` of `widget`.
inline void rightClick(QWidget* widget, const QPoint& pos) {
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, widget->mapToGlobal(pos));
    QApplication::sendEvent(widget, &event);
}

// Clicks the item titled `title` of an open menu, as a user would.
inline bool clickMenuItem(QMenu* menu, const QString& title) {
    if (!menu) return false;
    for (QAction* action : menu->actions()) {
        if (action->text() != title) continue;
        if (!action->isEnabled()) return false;
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
        return true;
    }
    return false;
}

}  // namespace vantrel::testing
