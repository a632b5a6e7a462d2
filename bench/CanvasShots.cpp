// Renders the graph canvas over the bundled sample project into PNG files, for looking
// at by eye: light and dark, without and with a selection, hovered, searching, and
// with large nodes. Settings, cache and home are temporary; the user's are not read.
//
//   vantrel_canvas_shots [OUTPUT_DIR]      (default: the current folder)
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "app/canvas/ImpactGraphView.h"
#include "app/state/Preferences.h"
#include "app/state/ProjectStore.h"

using namespace vantrel;

namespace {

class NoPanels : public PlatformServices {
public:
    void showOpenPanel(const OpenPanelRequest&, PathChosen) override {}
    void showSavePanel(const SavePanelRequest&, PathChosen) override {}
    int runModalAlert(const AlertRequest&) override { return 0; }
    void showSettingsWindow() override {}
};

void runFor(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) QApplication::processEvents(QEventLoop::AllEvents, 10);
}

bool waitFor(const std::function<bool()>& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > 30000) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

QPalette darkPalette() {
    QPalette p;
    p.setColor(QPalette::Window, QColor(30, 30, 32));
    p.setColor(QPalette::WindowText, QColor(235, 235, 240));
    p.setColor(QPalette::Base, QColor(22, 22, 24));
    p.setColor(QPalette::Text, QColor(235, 235, 240));
    p.setColor(QPalette::Button, QColor(45, 45, 48));
    p.setColor(QPalette::ButtonText, QColor(235, 235, 240));
    p.setColor(QPalette::Highlight, QColor(10, 132, 255));
    p.setColor(QPalette::PlaceholderText, QColor(150, 150, 155));
    return p;
}

// The first point of the view, scanning in small steps, where the node `id` lies.
std::optional<QPointF> pointOf(ImpactGraphView& view, const std::string& id) {
    for (int y = 0; y < view.height(); y += 3)
        for (int x = 0; x < view.width(); x += 3)
            if (view.nodeAt(QPointF(x, y)) == id) return QPointF(x + 1, y + 4);
    return std::nullopt;
}

void hover(ImpactGraphView& view, QPointF at) {
    QMouseEvent move(QEvent::MouseMove, at, view.mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &move);
}

}  // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        setenv(variable, qPrintable(home.filePath(variable)), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.filePath("settings"));
    QApplication app(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::currentPath();
    QDir().mkpath(out);

    NoPanels platform;
    ProjectStore store(
        ProjectStoreEnvironment{&platform, ProjectCache(home.filePath("cache").toStdString()), AppLocations{}, {}, LiveSessionOptions{}});
    store.scan(VANTREL_SAMPLE_PROJECT_DIR);
    if (!waitFor([&] { return store.scanState().kind == ScanState::Kind::ready && store.selectedSymbolId(); })) {
        std::fprintf(stderr, "the sample project did not scan\n");
        return 1;
    }

    const std::string focus = "src/util/log.ts:logInfo:function";
    const std::string hovered = "src/checkout/checkout.ts:handleCheckout:function";
    int written = 0;
    for (bool dark : {false, true}) {
        const QString scheme = dark ? "dark" : "light";
        ImpactGraphView view(store);
        view.setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
        view.resize(1100, 720);
        view.show();
        auto shot = [&](const QString& name) {
            runFor(900);  // glides, pulse and fades come to rest
            const QString path = out + "/" + scheme + "-" + name + ".png";
            if (view.grab().save(path)) ++written;
            std::printf("%s\n", qPrintable(path));
        };

        store.clearSelection();
        shot("no-selection");
        if (auto at = pointOf(view, hovered)) hover(view, *at);
        shot("no-selection-hover");
        hover(view, QPointF(2, 700));

        store.select(focus);
        shot("selected");
        if (auto at = pointOf(view, hovered)) hover(view, *at);
        shot("selected-hover");
        hover(view, QPointF(2, 700));

        view.openSearch();
        view.findChild<QLineEdit*>()->setText("checkout");
        shot("search");
        view.findChild<QLineEdit*>()->clear();

        Preferences::setValue(prefkeys::kGraphNodeSize, "large");
        view.refreshPreferences();
        shot("selected-large");
        Preferences::setValue(prefkeys::kGraphNodeSize, "medium");
    }
    return written == 12 ? 0 : 1;
}
