#pragma once

#include <string>
#include <string_view>

namespace vantrel {

// Lower-case hexadecimal SHA-256 of the bytes: always 64 characters.
[[nodiscard]] std::string sha256Hex(std::string_view data);

}  // namespace vantrel
