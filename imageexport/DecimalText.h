// Plain decimal text of a double for the SVG export.
#pragma once

#include <string>

namespace vantrel {

// The shortest digits that read back as the same double, always in positional notation
// (never an exponent) and with at least one digit after the point: 800.0, -0.5,
// 1012.3456789012346, 0.0000001, 1000000000000000000000.0. Nothing is rounded.
// Non-finite values give "nan", "inf" and "-inf".
std::string decimalText(double value);

}  // namespace vantrel
