// A symbol's code as the source panel shows it: its lines read from its file (one file,
// bounded in size), their tokens, and the lines on which it calls other symbols.
//
// Which symbols it calls is the graph's answer; where in its lines it calls them is
// found in the text: the callee's name as a whole identifier outside strings and
// comments, followed by "(" (also on a later line, or after "?.") or preceded by "new".
// A name after "function", "def" or "class" declares, it does not call.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/ProjectIR.h"
#include "core/source/SourceTokens.h"

namespace vantrel {

struct SourceLimits {
    std::uintmax_t maxFileBytes = 8 * 1024 * 1024;  // a larger file is not read
    std::int64_t maxLines = 4000;                   // lines beyond are left out
};

// Lines of a file with their tokens; `firstLine` is the number (1-based) of lines[0].
struct SourceText {
    std::int64_t firstLine = 1;
    std::vector<std::string> lines;
    std::vector<LineTokens> tokens;  // one entry per line; empty for a language not known
};

// The line numbers (ascending, each once) on which `text` calls `calleeName`.
std::vector<std::int64_t> findCallLines(const SourceText& text, std::string_view calleeName);

struct SymbolSource {
    std::string fileRelPath;
    SourceText text;
    bool truncated = false;  // the symbol has more lines than the limit
    // Line number to the short names of the callees called on it, sorted.
    std::map<std::int64_t, std::vector<std::string>> callsByLine;
    std::string error;  // why nothing could be read; empty on success
};

// Reads lines range.startLine to range.endLine of `fileRelPath` below `projectRoot`,
// tokenises them by the file's extension and finds the call lines of each callee name.
// A path leading out of the root, a missing or unreadable file, one over the size limit
// or a range beyond the file's end gives an error instead. Blocking: one file's read.
SymbolSource loadSymbolSource(std::string_view projectRoot, std::string_view fileRelPath, const TextRange& range,
                              const std::vector<std::string>& calleeNames, const SourceLimits& limits = {});

}  // namespace vantrel
