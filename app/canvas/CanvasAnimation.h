// The canvas's motions as plain state on a clock of seconds that the caller passes in:
// the selection's pulse, the glide of nodes from where they stood to a new scene's places,
// the hover scale of nodes, the tooltip's fade and the spring of pan and zoom back home.
// No widget and no timer: the view drives it with its clock, asks what to draw at a time,
// and keeps its frame timer running while `isAnimatingAt` says something still moves.
#pragma once

#include <QPointF>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/canvas/CanvasMotion.h"
#include "app/canvas/GraphScene.h"

namespace vantrel {

class CanvasAnimation {
public:
    static constexpr double kHoverScale = 1.12;
    static constexpr double kHoverScaleSeconds = 0.14;
    static constexpr double kHoverFadeSeconds = 0.12;
    static constexpr double kPulseSeconds = 0.35;

    // The selected node swells and settles: 1 at `t`, falling to 0 over kPulseSeconds.
    void startPulse(double t) { pulse_ = Tween{1.0, 0.0, t, kPulseSeconds, easeOut}; }
    double pulseAt(double t) const { return pulse_.valueAt(t); }

    // Where the nodes of `scene` stand at `t` and how fast they move, glide included; for
    // a new glide to take over from the running one.
    std::pair<std::vector<QPointF>, std::vector<QPointF>> motionAt(const GraphScene& scene, double t) const;
    // Starts the nodes of `after` from where the same symbols of `before` stood
    // (`places`, moving at `velocities`); a new node appears in its place. True when
    // anything glides.
    bool glide(const GraphScene& before, const std::vector<QPointF>& places, const std::vector<QPointF>& velocities,
               const GraphScene& after, double t);
    void stopGlide();
    bool isGliding() const { return gliding_; }
    // The places to draw `scene`'s nodes at `t`: its own once the glide has settled (which
    // ends the glide), else displaced ones, valid until the next call.
    const std::vector<QPointF>& placesAt(const GraphScene& scene, double t);

    // The node of `id` is hovered (or none is): the old one shrinks back, the new one swells
    // to kHoverScale over kHoverScaleSeconds from wherever each is, and the tooltip fades in
    // for it (or out) over kHoverFadeSeconds.
    void hover(const std::optional<std::string>& previous, const std::optional<std::string>& id, double t);
    // Nodes whose scale is not 1 at `t`, by id.
    std::vector<std::pair<std::string, double>> scalesAt(double t) const;
    // Forgets hover scales that have come back to 1.
    void pruneHoverScales(double t);
    // The symbol the tooltip is for (kept while it fades out) and its opacity at `t`.
    const std::optional<std::string>& tooltipId() const { return tooltipId_; }
    double tooltipOpacityAt(double t) const { return tooltipOpacity_.valueAt(t); }

    // Pan and zoom spring back to none and 1 from where they are at `t`; nothing when they
    // are there already. False when there was nothing to do.
    bool resetView(QPointF pan, double zoom, double t);
    void stopViewReset() { viewReset_.reset(); }
    bool isResettingView() const { return viewReset_.has_value(); }
    // Pan and zoom at `t` while the view springs back; the reset ends at its settle time.
    std::pair<QPointF, double> viewAt(double t);

    bool isAnimatingAt(double t) const;

private:
    Tween pulse_;
    std::map<std::string, Tween> hoverScales_;
    std::optional<std::string> tooltipId_;
    Tween tooltipOpacity_;
    std::vector<QPointF> glideOffset_, glideVelocity_, displayPlaces_;
    double glideStart_ = 0, glideEnd_ = 0;
    bool gliding_ = false;
    struct ViewReset {
        QPointF panFrom;
        double zoomFrom = 1.0;
        double start = 0, end = 0;
    };
    std::optional<ViewReset> viewReset_;
};

}  // namespace vantrel
