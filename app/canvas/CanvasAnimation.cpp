#include "app/canvas/CanvasAnimation.h"

#include <algorithm>
#include <cmath>

namespace vantrel {

namespace {
double length(QPointF p) { return std::hypot(p.x(), p.y()); }
}  // namespace

std::pair<std::vector<QPointF>, std::vector<QPointF>> CanvasAnimation::motionAt(const GraphScene& scene,
                                                                                double t) const {
    std::vector<QPointF> places = scene.places();
    std::vector<QPointF> velocities(places.size(), QPointF());
    if (gliding_ && t < glideEnd_) {
        const Spring::Step step = kGlideSpring.stepAt(t - glideStart_);
        for (std::size_t i = 0; i < places.size(); ++i) {
            places[i] += step.offset(glideOffset_[i], glideVelocity_[i]);
            velocities[i] = step.velocity(glideOffset_[i], glideVelocity_[i]);
        }
    }
    return {std::move(places), std::move(velocities)};
}

void CanvasAnimation::stopGlide() {
    gliding_ = false;
    glideOffset_.clear();
    glideVelocity_.clear();
}

bool CanvasAnimation::glide(const GraphScene& before, const std::vector<QPointF>& places,
                            const std::vector<QPointF>& velocities, const GraphScene& after, double t) {
    stopGlide();
    if (before.isEmpty() || after.isEmpty()) return false;
    const GraphTopology& graph = after.topology();
    const bool sameGraph = before.topologyPointer() == after.topologyPointer();
    glideOffset_.assign(graph.pointCount(), QPointF());
    glideVelocity_.assign(graph.pointCount(), QPointF());
    double amplitude = 0;
    for (std::size_t i = 0; i < graph.symbolCount(); ++i) {
        if (!after.hasPlace(i)) continue;
        const std::optional<std::size_t> was =
            sameGraph ? std::optional<std::size_t>(i) : before.topology().indexOf(graph.id(i));
        if (!was || !before.hasPlace(*was)) continue;  // a new node appears in its place
        glideOffset_[i] = places[*was] - after.place(i);
        glideVelocity_[i] = velocities[*was];
        amplitude =
            std::max(amplitude, length(glideOffset_[i]) + length(glideVelocity_[i]) / kGlideSpring.dampedFrequency());
    }
    if (amplitude <= 0.01) return false;
    gliding_ = true;
    glideStart_ = t;
    glideEnd_ = t + kGlideSpring.settleTime(amplitude);
    return true;
}

const std::vector<QPointF>& CanvasAnimation::placesAt(const GraphScene& scene, double t) {
    if (!gliding_ || t >= glideEnd_) {
        gliding_ = false;
        return scene.places();
    }
    const Spring::Step step = kGlideSpring.stepAt(t - glideStart_);
    const std::vector<QPointF>& targets = scene.places();
    displayPlaces_.resize(targets.size());
    for (std::size_t i = 0; i < targets.size(); ++i)
        displayPlaces_[i] = targets[i] + step.offset(glideOffset_[i], glideVelocity_[i]);
    return displayPlaces_;
}

void CanvasAnimation::hover(const std::optional<std::string>& previous, const std::optional<std::string>& id,
                            double t) {
    auto scaleTo = [&](const std::string& of, double target) {
        auto it = hoverScales_.find(of);
        const double current = it == hoverScales_.end() ? 1.0 : it->second.valueAt(t);
        hoverScales_[of] = Tween{current, target, t, kHoverScaleSeconds, easeInOut};
    };
    if (previous) scaleTo(*previous, 1.0);
    if (id) scaleTo(*id, kHoverScale);
    const double opacity = tooltipOpacity_.valueAt(t);
    if (id) tooltipId_ = id;
    tooltipOpacity_ = Tween{opacity, id ? 1.0 : 0.0, t, kHoverFadeSeconds, easeInOut};
}

std::vector<std::pair<std::string, double>> CanvasAnimation::scalesAt(double t) const {
    std::vector<std::pair<std::string, double>> scales;
    for (const auto& [id, tween] : hoverScales_)
        if (const double scale = tween.valueAt(t); scale != 1.0) scales.emplace_back(id, scale);
    return scales;
}

void CanvasAnimation::pruneHoverScales(double t) {
    for (auto it = hoverScales_.begin(); it != hoverScales_.end();)
        it = it->second.finishedAt(t) && it->second.to == 1.0 ? hoverScales_.erase(it) : std::next(it);
}

bool CanvasAnimation::resetView(QPointF pan, double zoom, double t) {
    const double amplitude = std::max(length(pan), std::abs(zoom - 1.0) * 1000);
    if (amplitude < 0.01) return false;
    viewReset_ = ViewReset{pan, zoom, t, t + kResetSpring.settleTime(amplitude)};
    return true;
}

std::pair<QPointF, double> CanvasAnimation::viewAt(double t) {
    if (!viewReset_ || t >= viewReset_->end) {
        viewReset_.reset();
        return {QPointF(), 1.0};
    }
    const Spring::Step step = kResetSpring.stepAt(t - viewReset_->start);
    return {step.offset(viewReset_->panFrom, QPointF()),
            1.0 + step.offset(QPointF(viewReset_->zoomFrom - 1.0, 0), QPointF()).x()};
}

bool CanvasAnimation::isAnimatingAt(double t) const {
    if (gliding_ || viewReset_ || !pulse_.finishedAt(t) || !tooltipOpacity_.finishedAt(t)) return true;
    return std::any_of(hoverScales_.begin(), hoverScales_.end(),
                       [&](const auto& entry) { return !entry.second.finishedAt(t); });
}

}  // namespace vantrel
