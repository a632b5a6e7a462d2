#include "core/util/Text.h"

#include <algorithm>
#include <cassert>

namespace vantrel {

std::optional<char32_t> decodeUtf8Scalar(std::string_view text, std::size_t& i) {
    auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    unsigned char b0 = byte(i);
    if (b0 < 0x80) {
        ++i;
        return b0;
    }
    int length;
    char32_t scalar;
    char32_t minimum;
    if ((b0 & 0xE0) == 0xC0) {
        length = 2, scalar = b0 & 0x1F, minimum = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        length = 3, scalar = b0 & 0x0F, minimum = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        length = 4, scalar = b0 & 0x07, minimum = 0x10000;
    } else {
        return std::nullopt;
    }
    if (i + static_cast<std::size_t>(length) > text.size()) return std::nullopt;
    for (int k = 1; k < length; ++k) {
        unsigned char b = byte(i + static_cast<std::size_t>(k));
        if ((b & 0xC0) != 0x80) return std::nullopt;
        scalar = (scalar << 6) | (b & 0x3F);
    }
    if (scalar < minimum || scalar > 0x10FFFF || (scalar >= 0xD800 && scalar <= 0xDFFF)) return std::nullopt;
    i += static_cast<std::size_t>(length);
    return scalar;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

std::optional<std::u16string> utf8ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        unsigned char b = static_cast<unsigned char>(text[i]);
        if (b < 0x80) {  // fast path for ASCII, the bulk of source code
            out.push_back(b);
            ++i;
            continue;
        }
        auto scalar = decodeUtf8Scalar(text, i);
        if (!scalar) return std::nullopt;
        if (*scalar >= 0x10000) {
            char32_t v = *scalar - 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (v >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (v & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(*scalar));
        }
    }
    return out;
}

std::string escapeInvalidUtf8(std::string_view text) {
    // Plain ASCII, which nearly every path is, is valid as it stands.
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::string(text);
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        std::size_t start = i;
        if (decodeUtf8Scalar(text, i)) {
            out.append(text.substr(start, i - start));
            continue;
        }
        static constexpr char kHex[] = "0123456789ABCDEF";
        auto byte = static_cast<unsigned char>(text[i++]);
        out.append("\xEF\xBF\xBD");
        out.push_back(kHex[byte >> 4]);
        out.push_back(kHex[byte & 0xF]);
    }
    return out;
}

std::string utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD;
        }
        appendUtf8(out, c);
    }
    return out;
}

std::optional<char32_t> firstScalar(std::string_view text) {
    if (text.empty()) return std::nullopt;
    std::size_t i = 0;
    return decodeUtf8Scalar(text, i);
}

bool isWhitespaceOrNewline(char32_t c) {
    switch (c) {
        case 0x09:
        case 0x0A:
        case 0x0B:
        case 0x0C:
        case 0x0D:
        case 0x20:
        case 0x85:
        case 0xA0:
        case 0x1680:
        case 0x2028:
        case 0x2029:
        case 0x202F:
        case 0x205F:
        case 0x3000: return true;
        default: return c >= 0x2000 && c <= 0x200A;
    }
}

std::string_view trimWhitespace(std::string_view text) {
    // Leading side: decode scalars; trailing side: step back over whole scalars.
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t next = begin;
        auto c = decodeUtf8Scalar(text, next);
        if (!c || !isWhitespaceOrNewline(*c)) break;
        begin = next;
    }
    std::size_t end = text.size();
    while (end > begin) {
        std::size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
        std::size_t probe = start;
        auto c = decodeUtf8Scalar(text, probe);
        if (!c || probe != end || !isWhitespaceOrNewline(*c)) break;
        end = start;
    }
    return text.substr(begin, end - begin);
}

std::vector<std::string_view> splitKeepingEmpty(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (true) {
        auto at = text.find(separator, start);
        if (at == std::string_view::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, at - start));
        start = at + separator.size();
    }
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    assert(!from.empty() && "an empty pattern would match everywhere");
    std::string out;
    out.reserve(text.size());
    std::size_t start = 0;
    while (true) {
        auto at = text.find(from, start);
        if (at == std::string_view::npos) break;
        out.append(text.substr(start, at - start)).append(to);
        start = at + from.size();
    }
    out.append(text.substr(start));
    return out;
}

}  // namespace vantrel
