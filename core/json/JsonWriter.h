// Writing JSON text directly, for what is written once per file or graph on hot paths:
// the cache's records and the graph's JSON form. The output matches what the document
// writer (dumpJson) gives for the same values, keys in the order the caller gives them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// A JSON string literal: quotes, backslashes and control characters escaped, other
// characters as themselves, invalid UTF-8 replaced by U+FFFD. With `escapeSlash`, "/"
// is written as "\/".
void appendJsonString(std::string& out, std::string_view text, bool escapeSlash = false);
void appendJsonInteger(std::string& out, std::int64_t value);
// The shortest text that reads back as `value`, as the document writer gives it.
void appendJsonNumber(std::string& out, double value);

// A streaming writer in the document writer's exact layout: compact (no white space), or
// pretty (two-space indentation, ": " after keys); "[]" and "{}" for empty containers.
// The caller gives keys in the order they are to stand, which for this system's files is
// sorted. Appends to a string it does not own.
class JsonTextWriter {
public:
    enum class Layout { compact, pretty };

    JsonTextWriter(std::string& out, Layout layout, bool escapeSlash = false)
        : out_(out), pretty_(layout == Layout::pretty), escapeSlash_(escapeSlash) {}

    // A container whose emptiness is known up front is written as "{}" / "[]" at once;
    // its end call must still follow.
    void beginObject(bool empty = false) { open('{', empty); }
    void endObject() { close('}'); }
    void beginArray(bool empty) { open('[', empty); }
    void endArray() { close(']'); }
    // Before each member of an object.
    void key(std::string_view name) {
        separate();
        appendJsonString(out_, name, escapeSlash_);
        out_.append(pretty_ ? ": " : ":");
    }
    // Before each element of an array.
    void element() { separate(); }
    void string(std::string_view text) { appendJsonString(out_, text, escapeSlash_); }
    void integer(std::int64_t value) { appendJsonInteger(out_, value); }
    void number(double value) { appendJsonNumber(out_, value); }

private:
    void open(char bracket, bool empty) {
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
    void close(char bracket) {
        if (closedEmpty_) {
            closedEmpty_ = false;
            return;
        }
        --depth_;
        newline();
        out_.push_back(bracket);
    }
    void separate() {
        if (!first_) out_.push_back(',');
        first_ = false;
        newline();
    }
    void newline() {
        if (!pretty_) return;
        out_.push_back('\n');
        out_.append(static_cast<std::size_t>(depth_) * 2, ' ');
    }

    std::string& out_;
    const bool pretty_;
    const bool escapeSlash_;
    int depth_ = 0;
    bool first_ = true;
    bool closedEmpty_ = false;
};

}  // namespace vantrel
