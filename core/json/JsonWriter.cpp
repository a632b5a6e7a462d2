#include "core/json/JsonWriter.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "core/util/Text.h"

namespace vantrel {

void appendJsonString(std::string& out, std::string_view text, bool escapeSlash) {
    static const char* const kHex = "0123456789abcdef";
    out.push_back('"');
    std::size_t i = 0;
    while (i < text.size()) {
        // A run of characters that stand for themselves goes in with one append: most
        // strings are such a run, and a call per character costs more than the check.
        std::size_t run = i;
        while (run < text.size()) {
            unsigned char c = static_cast<unsigned char>(text[run]);
            if (c < 0x20 || c >= 0x80 || c == '"' || c == '\\' || (c == '/' && escapeSlash)) break;
            ++run;
        }
        if (run > i) {
            out.append(text.data() + i, run - i);
            i = run;
            if (i == text.size()) break;
        }
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            std::size_t start = i;
            if (decodeUtf8Scalar(text, i)) {
                out.append(text.substr(start, i - start));
            } else {
                out.append("\xEF\xBF\xBD");
                ++i;
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
            case '/': out.append("\\/"); break;  // only reached when escaping it
            default: {
                const char escape[6] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
                out.append(escape, sizeof escape);
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

void appendJsonNumber(std::string& out, double value) { out.append(nlohmann::json(value).dump()); }

}  // namespace vantrel
