// Time curves of the canvas's animations: springs given by response and damping
// fraction, and the standard ease curves.
#pragma once

#include <QPointF>

namespace vantrel {

// An underdamped spring (damping fraction below 1). `response` is the period of the
// undamped oscillation in seconds.
struct Spring {
    double response = 0.42;
    double dampingFraction = 0.78;

    // Weights at one time, shared by every value that started together: displacement =
    // offset × position + velocity × impulse, and the rates likewise for the velocity.
    struct Step {
        double position;
        double impulse;
        double positionRate;
        double impulseRate;
        QPointF offset(QPointF startOffset, QPointF startVelocity) const {
            return startOffset * position + startVelocity * impulse;
        }
        QPointF velocity(QPointF startOffset, QPointF startVelocity) const {
            return startOffset * positionRate + startVelocity * impulseRate;
        }
    };
    Step stepAt(double t) const;
    // The frequency of the damped oscillation, in radians per second.
    double dampedFrequency() const;

    // The time after which any start below `scale` units has died away to a hundredth
    // of a unit.
    double settleTime(double scale) const;
};

inline constexpr Spring kGlideSpring{0.42, 0.78};
inline constexpr Spring kResetSpring{0.35, 0.9};

// Cubic-bezier ease curves over progress 0 to 1.
double easeOut(double progress);
double easeInOut(double progress);

// A value that moves from `from` to `to` over `duration` seconds along a curve.
struct Tween {
    double from = 0;
    double to = 0;
    double start = 0;  // seconds on the view's clock
    double duration = 0;
    double (*curve)(double) = easeInOut;

    double valueAt(double now) const;
    bool finishedAt(double now) const { return now >= start + duration; }
};

}  // namespace vantrel
