#include "model/JsonWriter.h"

#include <charconv>

namespace vantrel {

namespace {
// Length of the valid UTF-8 sequence at `i`, or 0 when the bytes there are not one.
std::size_t validSequenceLength(std::string_view text, std::size_t i) {
    auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    unsigned char b0 = byte(i);
    std::size_t length;
    std::uint32_t scalar, minimum;
    if ((b0 & 0xE0) == 0xC0) length = 2, scalar = b0 & 0x1F, minimum = 0x80;
    else if ((b0 & 0xF0) == 0xE0) length = 3, scalar = b0 & 0x0F, minimum = 0x800;
    else if ((b0 & 0xF8) == 0xF0) length = 4, scalar = b0 & 0x07, minimum = 0x10000;
    else return 0;
    if (i + length > text.size()) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
        scalar = (scalar << 6) | (byte(i + k) & 0x3F);
    }
    if (scalar < minimum || scalar > 0x10FFFF || (scalar >= 0xD800 && scalar <= 0xDFFF)) return 0;
    return length;
}
}  // namespace

void appendJsonString(std::string& out, std::string_view text, bool escapeSlash) {
    static const char* const kHex = "0123456789abcdef";
    out.push_back('"');
    std::size_t i = 0;
    while (i < text.size()) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            std::size_t length = validSequenceLength(text, i);
            if (length == 0) {
                out.append("\xEF\xBF\xBD");
                ++i;
            } else {
                out.append(text.substr(i, length));
                i += length;
            }
            continue;
        }
        switch (c) {
            case '"': out.append("\\\""); break;
            case '\\': out.append("\\\\"); break;
            case '\b': out.append("\\b"); break;
            case '\f': out.append("\\f"); break;
            case '\n': out.append("\\n"); break;
            case '\r': out.append("\\r"); break;
            case '\t': out.append("\\t"); break;
            case '/':
                if (escapeSlash) out.push_back('\\');
                out.push_back('/');
                break;
            default:
                if (c < 0x20) {
                    out.append("\\u00");
                    out.push_back(kHex[c >> 4]);
                    out.push_back(kHex[c & 0xF]);
                } else {
                    out.push_back(static_cast<char>(c));
                }
        }
        ++i;
    }
    out.push_back('"');
}

void appendJsonInteger(std::string& out, std::int64_t value) {
    char buffer[24];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, end);
}

}  // namespace vantrel
