// The command line of `vantrel`:
//   vantrel [DIR] [--screenshot FILE.png [--select ID] [--baseline FILE.json] [--size WxH]
//                                        [--scheme light|dark] [--open diagnostics|working-changes]]
//   vantrel --help | --version
#pragma once

#include <QSize>
#include <QString>
#include <QStringList>
#include <optional>
#include <string>

#include "app/views/Appearance.h"

namespace vantrel {

struct ScreenshotRequest {
    QString output;
    std::optional<std::string> select;
    std::optional<QString> baseline;  // a ProjectIR JSON file, compared in diff mode
    QSize size{1280, 800};
    std::optional<Appearance> scheme;
    bool openDiagnostics = false;  // --open diagnostics: the sidebar's diagnostics group opened
    bool openWorkingChanges = false;  // --open working-changes: the impact panel's Working Changes mode
};

struct AppOptions {
    enum class Action { run, help, version, usageError };
    Action action = Action::run;
    QString error;  // for usageError: one line
    std::optional<QString> projectDir;
    std::optional<ScreenshotRequest> screenshot;
};

// `arguments` without the program name.
AppOptions parseAppOptions(const QStringList& arguments);

QString appUsage();

}  // namespace vantrel
