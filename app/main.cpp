// vantrel: the application. One window over one project store; see AppOptions.h for
// the command line.
#include <QApplication>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "app/AppOptions.h"
#include "app/AppShell.h"
#include "app/ScreenshotMode.h"

using namespace vantrel;

namespace {

bool hasDisplay() {
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") || qEnvironmentVariableIsSet("DISPLAY") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

}  // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) arguments.append(QString::fromLocal8Bit(argv[i]));
    const AppOptions options = parseAppOptions(arguments);
    switch (options.action) {
        case AppOptions::Action::help: std::printf("%s", qPrintable(appUsage())); return 0;
        case AppOptions::Action::version: std::printf("vantrel %s\n", VANTREL_VERSION); return 0;
        case AppOptions::Action::usageError:
            std::fprintf(stderr, "vantrel: %s\n%s\n", qPrintable(options.error),
                         qPrintable(appUsage().section(u'\n', 0, 0)));
            return 2;
        case AppOptions::Action::run: break;
    }
    // A screenshot is drawn offscreen; a window needs a display.
    if (options.screenshot) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        silenceToolkitWarnings();
    } else if (!hasDisplay()) {
        std::fprintf(stderr, "vantrel: no display (DISPLAY and WAYLAND_DISPLAY are unset); try xvfb-run\n");
        return 1;
    }

    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setApplicationVersion(QStringLiteral(VANTREL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("vantrel"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("vantrel")));

    std::optional<QTemporaryDir> preferencesCopy;
    if (options.screenshot) {
        preferencesCopy.emplace();
        usePreferencesCopy(*preferencesCopy);
    }
    AppShell shell(options.screenshot ? AppShell::Mode::unattended : AppShell::Mode::interactive);
    if (options.screenshot) return runScreenshot(shell, *options.screenshot, options.projectDir);
    shell.start(options.projectDir);
    return QApplication::exec();
}
