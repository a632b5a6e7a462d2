// What the application remembers between runs, under the `restoreLastSession`
// preference: the main window's geometry, the sidebar's width and the project last open.
// Saved when the window closes, given back at the next start; with the preference off
// nothing is restored (and what was saved stays, for when it is turned on again).
#pragma once

#include <QString>
#include <optional>

namespace vantrel {

class MainWindow;

// Stores the window's geometry and sidebar width, and `projectRoot` when not empty.
void saveWindowMemory(const MainWindow& window, const QString& projectRoot);

// Gives the window its saved geometry and sidebar width; false when there is none to
// give or the preference is off.
bool restoreWindowMemory(MainWindow& window);

// The project to scan at a start without a folder named: the last one, when the
// preference is on and the folder still exists.
[[nodiscard]] std::optional<QString> projectToReopen();

}  // namespace vantrel
