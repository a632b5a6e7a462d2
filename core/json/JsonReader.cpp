#include "core/json/JsonReader.h"

#include <bit>
#include <charconv>
#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/util/Text.h"

namespace vantrel {

void JsonReader::fail(const std::string& what) const {
    throw DecodeError("not valid JSON: " + what + " at offset " + std::to_string(pos_));
}

// On locals: a char read may alias pos_, which would otherwise be stored and reloaded
// at every character.
void JsonReader::skipWhitespaceRun() {
    const char* data = text_.data();
    std::size_t pos = pos_;
    const std::size_t size = text_.size();
    while (pos < size) {
        char c = data[pos];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') break;
        ++pos;
    }
    pos_ = pos;
}

void JsonReader::failExpected(char c) const { fail(std::string("expected '") + c + "'"); }

bool JsonReader::nextKey(std::string_view& key, std::string& scratch) {
    if (!nextMember('}')) return false;
    key = readStringView(scratch);
    expect(':');
    return true;
}

namespace {

// The end of the run of ASCII characters from `pos` that stand for themselves in a
// string: up to the first quote, backslash, control character or byte above 0x7F, or
// `size`. Strings are most of what a cache record holds, so this runs sixteen bytes at
// a time where it can, and is inlined: most strings are shorter than the call would cost.
#if defined(__GNUC__)
__attribute__((always_inline))
#endif
inline std::size_t
plainRunEnd(const char* data, std::size_t pos, std::size_t size) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const __m128i space = _mm_set1_epi8(0x20);
    while (pos + 16 <= size) {
        __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + pos));
        // Unsigned c < 0x20 is min(c, 0x20) != 0x20.
        __m128i control = _mm_xor_si128(_mm_cmpeq_epi8(_mm_min_epu8(chunk, space), space), _mm_set1_epi8(-1));
        __m128i special =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(chunk, quote), _mm_cmpeq_epi8(chunk, backslash)), control);
        // A byte above 0x7F ends the run too, by its high bit: it must be checked as UTF-8.
        int mask = _mm_movemask_epi8(special) | _mm_movemask_epi8(chunk);
        if (mask != 0) return pos + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(mask)));
        pos += 16;
    }
#endif
    while (pos < size) {
        unsigned char c = static_cast<unsigned char>(data[pos]);
        if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80) break;
        ++pos;
    }
    return pos;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

std::string JsonReader::readString() {
    std::string out;
    readString(out);
    return out;
}

namespace {

// Where scanStringBody puts the characters: appended to a string, or nowhere when a
// string is only checked.
struct AppendSink {
    std::string& out;
    void append(const char* data, std::size_t size) { out.append(data, size); }
    void push(char c) { out.push_back(c); }
    void code(std::uint32_t codePoint) { appendUtf8(out, codePoint); }
};

struct DiscardSink {
    void append(const char*, std::size_t) {}
    void push(char) {}
    void code(std::uint32_t) {}
};

}  // namespace

// From just after the opening quote to just after the closing one. One body for reading
// and checking, so a skipped string is refused exactly when a read one would be.
template <typename Sink>
void JsonReader::scanStringBody(Sink& sink) {
    while (true) {
        // The plain run up to the next quote, backslash or control character.
        const char* data = text_.data();
        const std::size_t size = text_.size();
        std::size_t start = pos_;
        std::size_t pos = plainRunEnd(data, start, size);
        pos_ = pos;
        sink.append(data + start, pos - start);
        if (pos_ >= text_.size()) fail("unterminated string");
        if (static_cast<unsigned char>(text_[pos_]) >= 0x80) {
            // Strings are UTF-8: a malformed sequence makes the text no JSON at all.
            std::size_t scalarStart = pos_;
            if (!decodeUtf8Scalar(text_, pos_)) fail("invalid UTF-8 in string");
            sink.append(data + scalarStart, pos_ - scalarStart);
            continue;
        }
        char c = text_[pos_++];
        if (c == '"') break;
        if (c != '\\') fail("control character in string");
        if (pos_ >= text_.size()) fail("unterminated string");
        char e = text_[pos_++];
        switch (e) {
            case '"': sink.push('"'); break;
            case '\\': sink.push('\\'); break;
            case '/': sink.push('/'); break;
            case 'b': sink.push('\b'); break;
            case 'f': sink.push('\f'); break;
            case 'n': sink.push('\n'); break;
            case 'r': sink.push('\r'); break;
            case 't': sink.push('\t'); break;
            case 'u': {
                auto hex4 = [&]() -> std::uint32_t {
                    if (pos_ + 4 > text_.size()) fail("short \\u escape");
                    std::uint32_t v = 0;
                    for (int i = 0; i < 4; ++i) {
                        int h = hexValue(text_[pos_++]);
                        if (h < 0) fail("bad \\u escape");
                        v = (v << 4) | static_cast<std::uint32_t>(h);
                    }
                    return v;
                };
                std::uint32_t code = hex4();
                if (code >= 0xD800 && code <= 0xDBFF) {
                    if (pos_ + 2 > text_.size() || text_[pos_] != '\\' || text_[pos_ + 1] != 'u')
                        fail("lone surrogate");
                    pos_ += 2;
                    std::uint32_t low = hex4();
                    if (low < 0xDC00 || low > 0xDFFF) fail("lone surrogate");
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                } else if (code >= 0xDC00 && code <= 0xDFFF) {
                    fail("lone surrogate");
                }
                sink.code(code);
                break;
            }
            default: fail("bad escape");
        }
    }
}

void JsonReader::readString(std::string& out) {
    expect('"');
    out.clear();
    AppendSink sink{out};
    scanStringBody(sink);
}

std::string_view JsonReader::readStringView(std::string& scratch) {
    expect('"');
    // Most strings hold no escape: then the view is the text between the quotes.
    std::size_t start = pos_;
    std::size_t end = plainRunEnd(text_.data(), start, text_.size());
    if (end < text_.size() && text_[end] == '"') {
        pos_ = end + 1;
        return text_.substr(start, end - start);
    }
    scratch.clear();
    AppendSink sink{scratch};
    scanStringBody(sink);
    return scratch;
}

void JsonReader::skipString() {
    expect('"');
    DiscardSink sink;
    scanStringBody(sink);
}

std::string_view JsonReader::numberText() {
    skipWhitespace();
    std::size_t start = pos_;
    auto digits = [&] {
        std::size_t from = pos_;
        while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9') ++pos_;
        return pos_ - from;
    };
    if (pos_ < text_.size() && text_[pos_] == '-') ++pos_;
    std::size_t intStart = pos_;
    std::size_t intDigits = digits();
    if (intDigits == 0) fail("expected a value");
    if (intDigits > 1 && text_[intStart] == '0') fail("leading zero");
    if (pos_ < text_.size() && text_[pos_] == '.') {
        ++pos_;
        if (digits() == 0) fail("bad number");
    }
    if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
        ++pos_;
        if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
        if (digits() == 0) fail("bad number");
    }
    return text_.substr(start, pos_ - start);
}

std::int64_t JsonReader::readInteger() {
    // The usual case first: a short run of digits that nothing continues.
    skipWhitespace();
    const char* start = text_.data() + pos_;
    const char* end = text_.data() + text_.size();
    bool negative = start < end && *start == '-';
    const char* digits = start + (negative ? 1 : 0);
    const char* at = digits;
    std::int64_t value = 0;
    while (at < end && at - digits < 18 && static_cast<unsigned>(*at - '0') < 10) value = value * 10 + (*at++ - '0');
    bool whole = at > digits && (at - digits == 1 || *digits != '0') &&
                 (at == end || (*at != '.' && *at != 'e' && *at != 'E' && static_cast<unsigned>(*at - '0') >= 10));
    if (whole) {
        pos_ = static_cast<std::size_t>(at - text_.data());
        return negative ? -value : value;
    }
    if (peek() != Type::number) fail("expected an integer");
    std::string_view number = numberText();
    auto [parsedTo, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error == std::errc() && parsedTo == number.data() + number.size()) return value;
    // Integral numbers written with a fraction or exponent (2.0, 1e3). from_chars, unlike
    // strtod, does not follow the locale: under a comma-decimal LC_NUMERIC strtod stops
    // at the '.' of "2.0" and would read 2 for "2.5".
    double d = 0;
    auto [doubleTo, doubleError] = std::from_chars(number.data(), number.data() + number.size(), d);
    if (doubleError == std::errc() && doubleTo == number.data() + number.size() && std::isfinite(d) &&
        std::floor(d) == d && std::fabs(d) < 9.2e18)
        return static_cast<std::int64_t>(d);
    throw DecodeError("expected an integer, found " + std::string(number));
}

void JsonReader::expectLiteral(std::string_view literal) {
    skipWhitespace();
    if (text_.substr(pos_, literal.size()) != literal) fail("bad literal");
    pos_ += literal.size();
}

void JsonReader::readNull() { expectLiteral("null"); }

void JsonReader::skipValue() {
    // An explicit stack of container kinds: deep nesting cannot exhaust the native stack.
    std::string open;
    std::string scratch;
    do {
        if (!open.empty()) {
            std::string_view key;
            bool more = open.back() == '{' ? nextKey(key, scratch) : nextElement();
            if (!more) {
                open.pop_back();
                first_ = false;
                continue;
            }
        }
        switch (peek()) {
            case Type::object:
                beginObject();
                open.push_back('{');
                break;
            case Type::array:
                beginArray();
                open.push_back('[');
                break;
            case Type::string: skipString(); break;
            case Type::number: numberText(); break;
            case Type::boolean: next() == 't' ? expectLiteral("true") : expectLiteral("false"); break;
            case Type::null: readNull(); break;
        }
    } while (!open.empty());
}

void JsonReader::finish() {
    skipWhitespace();
    if (pos_ != text_.size()) fail("trailing characters");
}

}  // namespace vantrel
