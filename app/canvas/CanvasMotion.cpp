#include "app/canvas/CanvasMotion.h"

#include <QEasingCurve>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantrel {

namespace {

QEasingCurve bezier(double x1, double y1, double x2, double y2) {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(x1, y1), QPointF(x2, y2), QPointF(1, 1));
    return curve;
}

}  // namespace

// x(t) = e^(-a t) (x0 cos(w t) + (v0 + a x0) / w sin(w t)), with a = zeta w0 and
// w = w0 sqrt(1 - zeta^2).
Spring::Step Spring::stepAt(double t) const {
    const double w0 = 2.0 * std::numbers::pi / response;
    const double a = dampingFraction * w0;
    const double w = dampedFrequency();
    const double decay = std::exp(-a * t), c = std::cos(w * t), s = std::sin(w * t);
    return {decay * (c + a / w * s), decay * s / w, -decay * w0 * w0 / w * s, decay * (c - a / w * s)};
}

double Spring::dampedFrequency() const {
    return 2.0 * std::numbers::pi / response * std::sqrt(1.0 - dampingFraction * dampingFraction);
}

double Spring::settleTime(double scale) const {
    const double a = dampingFraction * 2.0 * std::numbers::pi / response;
    return std::log(std::max(scale, 0.01) * 100.0) / a;
}

double easeOut(double progress) {
    static const QEasingCurve curve = bezier(0.0, 0.0, 0.58, 1.0);
    return curve.valueForProgress(std::clamp(progress, 0.0, 1.0));
}

double easeInOut(double progress) {
    static const QEasingCurve curve = bezier(0.42, 0.0, 0.58, 1.0);
    return curve.valueForProgress(std::clamp(progress, 0.0, 1.0));
}

double Tween::valueAt(double now) const {
    if (duration <= 0 || now >= start + duration) return to;
    return from + (to - from) * curve((now - start) / duration);
}

}  // namespace vantrel
