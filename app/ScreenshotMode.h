// The screenshot mode: the window drawn offscreen once the scan and the selection have
// settled, written as PNG. For tests and documentation; it needs no display.
#pragma once

#include <QString>
#include <QTemporaryDir>
#include <optional>

#include "app/AppOptions.h"

namespace vantrel {

class AppShell;

// Points the preferences at a copy of the user's, so that a screenshot reads them (the
// colour scheme, onboarding, recents) but never writes them. Keep the folder alive for
// the run.
void usePreferencesCopy(const QTemporaryDir& folder);

// Keeps the toolkit's warnings (about the offscreen platform, a missing runtime folder)
// off standard error, where the mode promises one line at most.
void silenceToolkitWarnings();

// Runs the shell to a settled state and writes the picture. Returns the exit code: 0,
// or 1 after one line on standard error (a failed scan, an unknown --select id, a baseline
// that cannot be loaded, a file that cannot be written, Working Changes that cannot be
// computed). A baseline turns diff mode on.
int runScreenshot(AppShell& shell, const ScreenshotRequest& request, const std::optional<QString>& projectDir);

}  // namespace vantrel
