#include "imageexport/DecimalText.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace vantrel {

std::string decimalText(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    // Fixed format without a precision is the shortest round-trip text in positional
    // notation. The largest double has 309 integer digits; 330 bytes always suffice.
    char buffer[330];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    std::string text(buffer, error == std::errc() ? end : buffer);
    if (text.find('.') == std::string::npos) text += ".0";
    return text;
}

}  // namespace vantrel
