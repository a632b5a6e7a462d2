// Timestamps of the model: seconds since 2001-01-01T00:00:00Z as a double.
#pragma once

namespace vantrel {

constexpr double kUnixSecondsAtReferenceDate = 978307200.0;

double referenceSecondsNow();

}  // namespace vantrel
