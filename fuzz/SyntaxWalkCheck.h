// The analysis walks against the queries they stand in for: every pass must get exactly
// the matches its own query gives, in the same order, with the same pattern indices and
// captures. Shared by the fuzz targets and the unit tests.
#pragma once

#include <string>
#include <string_view>

namespace vantrel::fuzz {

enum class WalkedLanguage { jsFamily, python };

// Empty when walk and queries agree on `text`, else what differs, for a message.
std::string syntaxWalkMismatch(WalkedLanguage language, std::u16string_view text);

}  // namespace vantrel::fuzz
