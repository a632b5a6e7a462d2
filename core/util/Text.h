// Text encodings and small text helpers.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// Strict UTF-8 to UTF-16 in the machine's byte order. Invalid UTF-8 (overlong forms,
// surrogates, truncated sequences) gives nothing.
std::optional<std::u16string> utf8ToUtf16(std::string_view text);

// The text itself when it is valid UTF-8. Otherwise every byte that belongs to no valid
// sequence becomes U+FFFD followed by the byte's two upper-case hexadecimal digits, so
// the result is valid UTF-8 and two texts that differ keep differing.
std::string escapeInvalidUtf8(std::string_view text);

// The ASCII letter in lower case; every other byte as it is (the C library's tolower
// depends on the locale, and costs a call per character).
constexpr char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD.
std::string utf16ToUtf8(std::u16string_view text);

// Decodes the scalar at byte `i` and advances `i` past it; nothing (and `i` unchanged)
// when the bytes there are not valid UTF-8.
std::optional<char32_t> decodeUtf8Scalar(std::string_view text, std::size_t& i);
void appendUtf8(std::string& out, char32_t scalar);

// The first Unicode scalar of UTF-8 text, if the text starts with a valid one.
std::optional<char32_t> firstScalar(std::string_view text);

// Unicode general categories Lu and Lt.
bool isUppercaseOrTitlecaseLetter(char32_t scalar);

// White space and line ends, as trimmed from user input and import texts.
bool isWhitespaceOrNewline(char32_t scalar);
std::string_view trimWhitespace(std::string_view text);

// Splits at every occurrence of `separator`, keeping empty pieces.
std::vector<std::string_view> splitKeepingEmpty(std::string_view text, std::string_view separator);

// Replaces every occurrence of `from` (not empty) by `to`.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace vantrel
