// A strict pull reader over JSON text, for decoding this system's own records without
// building a document first. Every malformed input throws DecodeError; nothing is
// read past the end. Values are consumed in document order by the caller.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "core/json/DecodeError.h"

namespace vantrel {

class JsonReader {
public:
    enum class Type { object, array, string, number, boolean, null };

    explicit JsonReader(std::string_view text) : text_(text) {}

    Type peek();
    bool peekNull() { return peek() == Type::null; }

    // Objects: beginObject, then nextKey until it gives false (the closing brace is
    // consumed); after each key the caller reads or skips exactly one value. The key is a
    // view: into the text when it holds no escape (the usual case, which copies nothing),
    // else into `scratch`. Valid until the next read.
    void beginObject();
    bool nextKey(std::string_view& key, std::string& scratch);
    // When the next key is `key` written as it stands, right here (no white space, no
    // escape), takes it with its colon and gives true; else takes nothing. A shortcut
    // for readers that know which key usually comes next; `key` holds no quote,
    // backslash or control character.
    bool takeKey(std::string_view key);

    // Exactly these bytes, right here (no white space before them): taken, and true;
    // else nothing is taken. For readers that know the form their own writer gives,
    // together with a mark to return to when the text turns out to differ from it.
    // Afterwards the innermost container's next item is not its first.
    template <std::size_t N>
    bool takeLiteral(const char (&literal)[N]) {
        constexpr std::size_t size = N - 1;
        if (text_.size() - pos_ < size || std::memcmp(text_.data() + pos_, literal, size) != 0) return false;
        pos_ += size;
        first_ = false;
        return true;
    }
    bool takeLiteral(std::string_view literal) {
        if (text_.size() - pos_ < literal.size() ||
            std::memcmp(text_.data() + pos_, literal.data(), literal.size()) != 0)
            return false;
        pos_ += literal.size();
        first_ = false;
        return true;
    }
    // The next byte, unread; '\0' at the end.
    char peekByte() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
    struct Mark {
        std::size_t pos;
        bool first;
    };
    Mark mark() const { return Mark{pos_, first_}; }
    void reset(Mark mark) {
        pos_ = mark.pos;
        first_ = mark.first;
    }
    // Arrays: beginArray, then nextElement until false; one value per element.
    void beginArray();
    bool nextElement();

    std::string readString();
    void readString(std::string& out);
    // A string as a view, into the text or `scratch` as for nextKey.
    std::string_view readStringView(std::string& scratch);
    // Checks a string as strictly as readString does, keeping nothing.
    void skipString();
    // An integer, also written as an integral number such as 2.0.
    std::int64_t readInteger();
    void readNull();
    void skipValue();

    // Only white space may follow the top-level value.
    void finish();

private:
    [[noreturn]] void fail(const std::string& what) const;
    // Inline, since every token passes through them: records are compact, so the usual
    // case is a token that starts right here.
    void skipWhitespace() {
        if (pos_ < text_.size() && static_cast<unsigned char>(text_[pos_]) > ' ') return;
        skipWhitespaceRun();
    }
    char next() {
        skipWhitespace();
        if (pos_ >= text_.size()) fail("unexpected end");
        return text_[pos_];
    }
    void expect(char c) {
        if (next() != c) failExpected(c);
        ++pos_;
    }
    // The step to a container's next member: false (the closing byte taken) at its end,
    // else true with the comma before any but the first taken.
    bool nextMember(char close);
    void skipWhitespaceRun();
    [[noreturn]] void failExpected(char c) const;
    template <typename Sink>
    void scanStringBody(Sink& sink);
    std::string_view numberText();
    void expectLiteral(std::string_view literal);

    std::string_view text_;
    std::size_t pos_ = 0;
    // Whether the next element or key of the innermost container is its first.
    bool first_ = false;
};

// Inline: every token of a record passes through these.
inline JsonReader::Type JsonReader::peek() {
    switch (next()) {
        case '{': return Type::object;
        case '[': return Type::array;
        case '"': return Type::string;
        case 't':
        case 'f': return Type::boolean;
        case 'n': return Type::null;
        default: return Type::number;
    }
}

inline void JsonReader::beginObject() {
    expect('{');
    first_ = true;
}

inline void JsonReader::beginArray() {
    expect('[');
    first_ = true;
}

inline bool JsonReader::nextMember(char close) {
    if (next() == close) {
        ++pos_;
        first_ = false;
        return false;
    }
    if (!first_) expect(',');
    first_ = false;
    return true;
}

inline bool JsonReader::nextElement() { return nextMember(']'); }

inline bool JsonReader::takeKey(std::string_view key) {
    std::size_t pos = pos_;
    if (!first_) {
        if (pos >= text_.size() || text_[pos] != ',') return false;
        ++pos;
    }
    if (text_.size() - pos < key.size() + 3 || text_[pos] != '"' || text_[pos + 1 + key.size()] != '"' ||
        text_[pos + 2 + key.size()] != ':')
        return false;
    // Keys are a few bytes long: a loop costs less than a call.
    const char* at = text_.data() + pos + 1;
    for (std::size_t i = 0; i < key.size(); ++i)
        if (at[i] != key[i]) return false;
    pos_ = pos + key.size() + 3;
    first_ = false;
    return true;
}

}  // namespace vantrel
