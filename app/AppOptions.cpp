#include "app/AppOptions.h"

#include <QRegularExpression>

namespace vantrel {

namespace {

AppOptions usageError(const QString& message) {
    AppOptions options;
    options.action = AppOptions::Action::usageError;
    options.error = message;
    return options;
}

std::optional<QSize> parseSize(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
    QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch()) return std::nullopt;
    QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (size.width() < 320 || size.height() < 240 || size.width() > 8192 || size.height() > 8192) return std::nullopt;
    return size;
}

}  // namespace

AppOptions parseAppOptions(const QStringList& arguments) {
    AppOptions options;
    std::optional<QString> screenshot, select, baseline, size, scheme, open;
    for (int i = 0; i < arguments.size(); ++i) {
        QString argument = arguments[i];
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            options.action = AppOptions::Action::help;
            return options;
        }
        if (argument == QLatin1String("--version")) {
            options.action = AppOptions::Action::version;
            return options;
        }
        if (!argument.startsWith(u'-') || argument == QLatin1String("-")) {
            if (options.projectDir) return usageError(QStringLiteral("only one project folder may be given"));
            options.projectDir = argument;
            continue;
        }
        // "--name value" or "--name=value".
        QString value;
        const qsizetype equals = argument.indexOf(u'=');
        if (equals > 0) {
            value = argument.mid(equals + 1);
            argument.truncate(equals);
        }
        std::optional<QString>* target = argument == QLatin1String("--screenshot") ? &screenshot
                                         : argument == QLatin1String("--select")   ? &select
                                         : argument == QLatin1String("--baseline") ? &baseline
                                         : argument == QLatin1String("--size")     ? &size
                                         : argument == QLatin1String("--scheme")   ? &scheme
                                         : argument == QLatin1String("--open")     ? &open
                                                                                   : nullptr;
        if (!target) return usageError(QStringLiteral("unknown option '%1'").arg(argument));
        if (equals <= 0) {
            if (i + 1 >= arguments.size()) return usageError(QStringLiteral("%1 needs a value").arg(argument));
            value = arguments[++i];
        }
        *target = value;
    }
    if (!screenshot) {
        if (select || baseline || size || scheme || open)
            return usageError(QStringLiteral("--select, --baseline, --size, --scheme and --open need --screenshot"));
        return options;
    }
    ScreenshotRequest request;
    request.output = *screenshot;
    if (open) {
        if (*open == QLatin1String("diagnostics")) request.openDiagnostics = true;
        else if (*open == QLatin1String("working-changes")) request.openWorkingChanges = true;
        else return usageError(QStringLiteral("--open takes diagnostics or working-changes"));
    }
    if (request.output.isEmpty()) return usageError(QStringLiteral("--screenshot needs a file name"));
    if (select) request.select = select->toStdString();
    request.baseline = baseline;
    if (size) {
        std::optional<QSize> parsed = parseSize(*size);
        if (!parsed) return usageError(QStringLiteral("--size takes WxH, from 320x240 to 8192x8192"));
        request.size = *parsed;
    }
    if (scheme) {
        request.scheme = resolvedColorScheme(*scheme);
        if (!request.scheme) return usageError(QStringLiteral("--scheme takes light or dark"));
    }
    options.screenshot = request;
    return options;
}

QString appUsage() {
    return QStringLiteral(
        "usage: vantrel [DIR] [--screenshot FILE.png [--select ID] [--baseline FILE.json] [--size WxH]\n"
        "                                        [--scheme light|dark] [--open diagnostics|working-changes]]\n"
        "\n"
        "Opens the Vantrel window. With DIR, scans DIR at start; without it, the project last\n"
        "open (unless turned off in the preferences), or on the first launch the bundled\n"
        "sample project with the welcome card.\n"
        "\n"
        "  --screenshot FILE.png  render the window offscreen (no display needed) once the scan\n"
        "                         and the selection have settled, write it as PNG and exit:\n"
        "                         0, or 1 with a one-line message when the scan fails (the\n"
        "                         PNG then shows the failure). Settings are read, never written.\n"
        "  --select ID            select the symbol ID before the picture is taken\n"
        "  --baseline FILE.json   compare with this graph (a ProjectIR JSON file) in diff mode\n"
        "  --size WxH             the window's size (default 1280x800)\n"
        "  --scheme light|dark    the appearance (default: the colorScheme preference)\n"
        "  --open diagnostics     open the sidebar's diagnostics group before the picture\n"
        "  --open working-changes show the impact panel's Working Changes (against HEAD);\n"
        "                         the project must be in a git work tree\n"
        "  --help                 show this text\n"
        "  --version              show the version\n");
}

}  // namespace vantrel
