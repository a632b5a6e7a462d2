// A light tokeniser for showing code: keywords, identifiers, strings (template literals
// and Python's triple quotes included), comments, numbers and punctuation, line by line.
// One engine for every language; what differs is a table of rules per language. It
// needs no parse tree, so it works on any slice of a file that starts outside a string
// or comment (a declaration does), and never fails: unknown bytes are punctuation.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

enum class SourceLanguage { javaScript, python };

// By the file's extension: the JS family (js jsx mjs cjs ts tsx mts cts) or Python
// (py pyi); nothing for anything else.
std::optional<SourceLanguage> sourceLanguageForPath(std::string_view path);

enum class TokenKind : std::uint8_t { keyword, identifier, string, comment, number, punctuation };

// A token of one line: byte offset and length within that line. Whitespace is no token.
// A string or comment that spans lines gives one token on each of its lines.
struct SourceToken {
    std::uint32_t start = 0;
    std::uint32_t length = 0;
    TokenKind kind = TokenKind::punctuation;
    bool operator==(const SourceToken&) const = default;
};

using LineTokens = std::vector<SourceToken>;

// Tokens of each line, in order; lines are given without their line break.
std::vector<LineTokens> tokenizeLines(SourceLanguage language, const std::vector<std::string>& lines);

}  // namespace vantrel
