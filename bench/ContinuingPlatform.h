// Platform services for benchmarks: the large-project question is answered "Continue";
// no panel is ever shown.
#pragma once

#include "app/state/PlatformServices.h"

namespace vantrel::bench {

class ContinuingPlatform : public PlatformServices {
public:
    void showOpenPanel(const OpenPanelRequest&, PathChosen) override {}
    void showSavePanel(const SavePanelRequest&, PathChosen) override {}
    int runModalAlert(const AlertRequest&) override { return 0; }
    void showSettingsWindow() override {}
};

}  // namespace vantrel::bench
