// The status bar's word on the live project: "Not watching", "Up to date", "Updating…",
// "Updated 14:32:05" (local time of the last update), or the failure of the last update
// ("Update failed: …", shortened to its first line; the tooltip has all of it). Hidden
// while no graph is shown.
#pragma once

#include <QLabel>

#include "app/state/ProjectStore.h"

namespace vantrel {

// The label's text for a status, and its tooltip (empty but for failures).
QString liveStatusText(const LiveStatus& status);
QString liveStatusToolTip(const LiveStatus& status);

class LiveStatusLabel : public QLabel {
    Q_OBJECT

public:
    explicit LiveStatusLabel(ProjectStore& store, QWidget* parent = nullptr);

private:
    void refresh();

    ProjectStore& store_;
};

}  // namespace vantrel
