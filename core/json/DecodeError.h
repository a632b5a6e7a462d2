// The one error of every JSON reader of this system: malformed text, a missing key, a
// wrong type or an unknown enumeration text. Its message names the problem.
#pragma once

#include <stdexcept>

namespace vantrel {

class DecodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace vantrel
