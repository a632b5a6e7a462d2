// Appending JSON text directly, for records written once per file on hot paths. The
// output matches what the document writer gives for the same values (compact form).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// A JSON string literal: quotes, backslashes and control characters escaped, other
// characters as themselves, invalid UTF-8 replaced by U+FFFD. With `escapeSlash`, "/"
// is written as "\/".
void appendJsonString(std::string& out, std::string_view text, bool escapeSlash = false);
void appendJsonInteger(std::string& out, std::int64_t value);

}  // namespace vantrel
