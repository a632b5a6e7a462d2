#include "core/config/PathGlobMatcher.h"

#include <cstring>

namespace vantrel {

namespace {

// "**" becomes "*", scanning left to right without overlap, so "***" gives "**".
std::string compilePattern(std::string_view pattern) {
    std::string out;
    out.reserve(pattern.size());
    std::size_t i = 0;
    while (i < pattern.size()) {
        if (pattern[i] == '*' && i + 1 < pattern.size() && pattern[i + 1] == '*') {
            out.push_back('*');
            i += 2;
        } else {
            out.push_back(pattern[i]);
            ++i;
        }
    }
    return out;
}

// Byte length of the character at `i`: a whole UTF-8 sequence when it is well formed,
// else the single byte, so malformed text still matches itself byte for byte.
std::size_t characterLength(std::string_view text, std::size_t i) {
    auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    unsigned char lead = byte(i);
    std::size_t length;
    unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;   // no overlong forms
        if (lead == 0xED) high = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    } else {
        return 1;
    }
    if (i + length > text.size()) return 1;
    if (byte(i + 1) < low || byte(i + 1) > high) return 1;
    for (std::size_t k = 2; k < length; ++k)
        if ((byte(i + k) & 0xC0) != 0x80) return 1;
    return length;
}

// Whole-text wildcard match. Two cursors with one remembered star: on a mismatch the
// last star takes one more character and matching resumes behind it. Earlier stars
// never need revisiting, so the cost is bounded by pattern length times text length.
bool wildcardMatch(std::string_view pattern, std::string_view text) {
    std::size_t p = 0, t = 0;
    std::size_t starAt = std::string_view::npos;  // pattern index just behind the last star
    std::size_t resumeAt = 0;                     // text index the last star's run ends at
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            ++p;
            starAt = p;
            resumeAt = t;
            continue;
        }
        std::size_t textLength = characterLength(text, t);
        if (p < pattern.size()) {
            if (pattern[p] == '?') {
                ++p;
                t += textLength;
                continue;
            }
            auto patternByte = static_cast<unsigned char>(pattern[p]);
            if (patternByte < 0x80) {
                // An ASCII pattern character matches only that one byte of text.
                if (textLength == 1 && pattern[p] == text[t]) {
                    ++p;
                    ++t;
                    continue;
                }
            } else {
                std::size_t patternLength = characterLength(pattern, p);
                if (patternLength == textLength && std::memcmp(pattern.data() + p, text.data() + t, textLength) == 0) {
                    p += patternLength;
                    t += textLength;
                    continue;
                }
            }
        }
        if (starAt == std::string_view::npos) return false;
        resumeAt += characterLength(text, resumeAt);
        t = resumeAt;
        p = starAt;
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

// Literal characters match themselves byte for byte, whole characters at a time, so the
// bytes of a run free of wildcards stand unbroken in every text that the pattern matches.
std::string longestLiteralRun(std::string_view pattern) {
    std::string_view longest;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= pattern.size(); ++i) {
        if (i < pattern.size() && pattern[i] != '*' && pattern[i] != '?') continue;
        if (i - start > longest.size()) longest = pattern.substr(start, i - start);
        start = i + 1;
    }
    return std::string(longest);
}

}  // namespace

PathGlobMatcher::PathGlobMatcher(const std::vector<std::string>& patterns) {
    patterns_.reserve(patterns.size());
    for (const auto& pattern : patterns) {
        std::string compiled = compilePattern(pattern);
        std::string literal = longestLiteralRun(compiled);
        patterns_.push_back(Pattern{std::move(compiled), std::move(literal)});
    }
}

bool PathGlobMatcher::matches(std::string_view path) const {
    while (!path.empty() && path.front() == '/') path.remove_prefix(1);
    while (!path.empty() && path.back() == '/') path.remove_suffix(1);
    for (const auto& pattern : patterns_) {
        if (!pattern.literal.empty() && path.find(pattern.literal) == std::string_view::npos) continue;
        if (wildcardMatch(pattern.compiled, path)) return true;
    }
    return false;
}

}  // namespace vantrel
