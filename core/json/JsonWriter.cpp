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

void appendJsonNumber(std::string& out, double value) { out.append(nlohmann::json(value).dump()); }

void JsonTextWriter::open(char bracket, bool empty) {
    out_.push_back(bracket);
    if (empty) {
        out_.push_back(bracket == '{' ? '}' : ']');
        closedEmpty_ = true;
        return;
    }
    closedEmpty_ = false;
    ++depth_;
    first_ = true;
}

void JsonTextWriter::close(char bracket) {
    if (closedEmpty_) {
        closedEmpty_ = false;
        return;
    }
    --depth_;
    newline();
    out_.push_back(bracket);
}

}  // namespace vantrel
