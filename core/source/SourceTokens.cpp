#include "core/source/SourceTokens.h"

#include <algorithm>
#include <array>

#include "core/util/Paths.h"

namespace vantrel {

namespace {

// In any order: sortedKeywords orders them once for binary search.
constexpr std::array<std::string_view, 57> kJavaScriptKeywords{
    "abstract", "as",         "async",     "await",    "break",  "case",      "catch", "class",      "const",
    "continue", "debugger",   "declare",   "default",  "delete", "do",        "else",  "enum",       "export",
    "extends",  "false",      "finally",   "for",      "from",   "function",  "if",    "implements", "import",
    "in",       "instanceof", "interface", "keyof",    "let",    "namespace", "new",   "null",       "of",
    "private",  "protected",  "public",    "readonly", "return", "static",    "super", "switch",     "this",
    "throw",    "true",       "try",       "type",     "typeof", "undefined", "var",   "void",       "while",
    "with",     "yield",      "satisfies"};
constexpr std::array<std::string_view, 36> kPythonKeywords{
    "False",    "None",  "True",     "and",  "as",     "assert", "async", "await",  "break",
    "case",     "class", "continue", "def",  "del",    "elif",   "else",  "except", "finally",
    "for",      "from",  "global",   "if",   "import", "in",     "is",    "lambda", "match",
    "nonlocal", "not",   "or",       "pass", "raise",  "return", "try",   "while",  "with"};

// What sets one language's tokens apart from another's.
struct LanguageRules {
    std::vector<std::string_view> keywords;  // sorted
    std::string_view lineComment;
    bool blockComments = false;       // /* ... */
    bool templateLiterals = false;    // `text ${code} text`
    bool tripleQuotes = false;        // """ and '''
    std::string_view stringPrefixes;  // letters that may stand before a quote (r"", f'')
    bool dollarInNames = false;
};

std::vector<std::string_view> sortedKeywords(auto const& words) {
    std::vector<std::string_view> sorted(words.begin(), words.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

const LanguageRules& rulesFor(SourceLanguage language) {
    static const LanguageRules javaScript{sortedKeywords(kJavaScriptKeywords), "//", true, true, false, "", true};
    static const LanguageRules python{sortedKeywords(kPythonKeywords), "#", false, false, true, "rRbBuUfF", false};
    return language == SourceLanguage::python ? python : javaScript;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isNameStart(char c, bool dollar) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (dollar && c == '$') ||
           static_cast<unsigned char>(c) >= 0x80;
}
bool isNamePart(char c, bool dollar) { return isNameStart(c, dollar) || isDigit(c); }

// The tokeniser's state between lines.
class Scanner {
public:
    explicit Scanner(const LanguageRules& rules) : rules_(rules) {}

    LineTokens line(std::string_view text) {
        text_ = text;
        tokens_.clear();
        std::size_t i = 0;
        while (i < text_.size()) {
            switch (mode_) {
                case Mode::blockComment: i = blockComment(i); break;
                case Mode::tripleString: i = tripleString(i); break;
                case Mode::templateText: i = templateText(i); break;
                case Mode::code: i = code(i); break;
            }
        }
        return std::move(tokens_);
    }

private:
    enum class Mode { code, blockComment, tripleString, templateText };

    void emit(std::size_t start, std::size_t end, TokenKind kind) {
        if (end > start)
            tokens_.push_back({static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start), kind});
    }

    std::size_t blockComment(std::size_t i) {
        const std::size_t close = text_.find("*/", i);
        const std::size_t end = close == std::string_view::npos ? text_.size() : close + 2;
        if (close != std::string_view::npos) mode_ = Mode::code;
        emit(i, end, TokenKind::comment);
        return end;
    }

    // String text from `start` to the end of the line, or to just past a closing:
    // `closing(i)` gives the closing's length at i, 0 for none. A backslash escapes the
    // next byte.
    template <typename Closing>
    std::size_t stringText(std::size_t start, Closing closing) {
        std::size_t i = start;
        while (i < text_.size()) {
            if (text_[i] == '\\') {
                i += 2;
            } else if (const std::size_t length = closing(i)) {
                i += length;
                mode_ = Mode::code;
                break;
            } else {
                ++i;
            }
        }
        i = std::min(i, text_.size());
        emit(start, i, TokenKind::string);
        return i;
    }

    std::size_t tripleString(std::size_t start) {
        const std::string closing(3, quote_);
        return stringText(start,
                          [&](std::size_t i) -> std::size_t { return text_.compare(i, 3, closing) == 0 ? 3 : 0; });
    }

    // Text of a template literal up to its end or to the next substitution, whose "${"
    // the string keeps; the code inside is scanned as code until its matching "}".
    std::size_t templateText(std::size_t start) {
        return stringText(start, [&](std::size_t i) -> std::size_t {
            if (text_[i] == '`') return 1;
            if (text_[i] != '$' || i + 1 >= text_.size() || text_[i + 1] != '{') return 0;
            substitutions_.push_back(0);
            return 2;
        });
    }

    // A quoted string ends on its line: an unclosed one ends with the line.
    std::size_t quoted(std::size_t start, std::size_t quoteAt) {
        const char q = text_[quoteAt];
        std::size_t i = quoteAt + 1;
        while (i < text_.size() && text_[i] != q) i += text_[i] == '\\' ? 2 : 1;
        i = std::min(i + 1, text_.size());
        emit(start, i, TokenKind::string);
        return i;
    }

    // A string starting at `quoteAt` (after prefix letters from `start`), of any form.
    std::size_t stringAt(std::size_t start, std::size_t quoteAt) {
        const char q = text_[quoteAt];
        if (rules_.tripleQuotes && text_.compare(quoteAt, 3, std::string(3, q)) == 0) {
            quote_ = q;
            return opened(Mode::tripleString, start, quoteAt + 3, &Scanner::tripleString);
        }
        return quoted(start, quoteAt);
    }

    // Enters `mode` after an opening (quotes, a backtick, "/*", the "}" that ends a
    // substitution) from `start` to `openEnd`, and scans on: the opening and the text
    // after it on the line read as one token.
    std::size_t opened(Mode mode, std::size_t start, std::size_t openEnd, std::size_t (Scanner::*scan)(std::size_t)) {
        mode_ = mode;
        const std::size_t first = tokens_.size();
        const std::size_t end = (this->*scan)(openEnd);
        if (tokens_.size() > first) {
            tokens_[first].length += tokens_[first].start - static_cast<std::uint32_t>(start);
            tokens_[first].start = static_cast<std::uint32_t>(start);
        } else {
            emit(start, openEnd, mode == Mode::blockComment ? TokenKind::comment : TokenKind::string);
        }
        return end;
    }

    std::size_t code(std::size_t i) {
        const char c = text_[i];
        if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') return i + 1;
        if (text_.substr(i).starts_with(rules_.lineComment)) {
            emit(i, text_.size(), TokenKind::comment);
            return text_.size();
        }
        if (rules_.blockComments && text_.compare(i, 2, "/*") == 0)
            return opened(Mode::blockComment, i, i + 2, &Scanner::blockComment);
        if (c == '"' || c == '\'') return stringAt(i, i);
        if (rules_.templateLiterals && c == '`') return opened(Mode::templateText, i, i + 1, &Scanner::templateText);
        if (isDigit(c) || (c == '.' && i + 1 < text_.size() && isDigit(text_[i + 1]))) return number(i);
        if (isNameStart(c, rules_.dollarInNames)) return name(i);
        if (!substitutions_.empty() && (c == '{' || c == '}')) return substitutionBrace(i, c);
        emit(i, i + 1, TokenKind::punctuation);
        return i + 1;
    }

    std::size_t number(std::size_t start) {
        std::size_t i = start;
        while (i < text_.size()) {
            const char c = text_[i];
            const bool exponentSign = (c == '+' || c == '-') && i > start &&
                                      (text_[i - 1] == 'e' || text_[i - 1] == 'E') &&
                                      !(text_[start] == '0' && start + 1 < text_.size() &&
                                        (text_[start + 1] == 'x' || text_[start + 1] == 'X'));
            if (isNamePart(c, false) || c == '.' || exponentSign) ++i;
            else break;
        }
        emit(start, i, TokenKind::number);
        return i;
    }

    std::size_t name(std::size_t start) {
        std::size_t i = start;
        while (i < text_.size() && isNamePart(text_[i], rules_.dollarInNames)) ++i;
        const std::string_view word = text_.substr(start, i - start);
        // r"...", f'...', rb"...": the letters belong to the string.
        if (i < text_.size() && (text_[i] == '"' || text_[i] == '\'') && word.size() <= 2 &&
            word.find_first_not_of(rules_.stringPrefixes) == std::string_view::npos && !rules_.stringPrefixes.empty())
            return stringAt(start, i);
        const bool keyword = std::binary_search(rules_.keywords.begin(), rules_.keywords.end(), word);
        emit(start, i, keyword ? TokenKind::keyword : TokenKind::identifier);
        return i;
    }

    // Braces inside a template substitution: the "}" that matches its "${" resumes the text.
    std::size_t substitutionBrace(std::size_t i, char c) {
        if (c == '{') {
            ++substitutions_.back();
        } else if (substitutions_.back() > 0) {
            --substitutions_.back();
        } else {
            substitutions_.pop_back();
            return opened(Mode::templateText, i, i + 1, &Scanner::templateText);
        }
        emit(i, i + 1, TokenKind::punctuation);
        return i + 1;
    }

    const LanguageRules& rules_;
    Mode mode_ = Mode::code;
    char quote_ = '"';
    std::vector<int> substitutions_;  // open "${", each with its depth of inner braces
    std::string_view text_;
    LineTokens tokens_;
};

}  // namespace

std::optional<SourceLanguage> sourceLanguageForPath(std::string_view path) {
    const std::string ext = lowercased(pathExtension(path));
    for (const char* js : {"js", "jsx", "mjs", "cjs", "ts", "tsx", "mts", "cts"})
        if (ext == js) return SourceLanguage::javaScript;
    if (ext == "py" || ext == "pyi") return SourceLanguage::python;
    return std::nullopt;
}

std::vector<LineTokens> tokenizeLines(SourceLanguage language, const std::vector<std::string>& lines) {
    Scanner scanner(rulesFor(language));
    std::vector<LineTokens> result;
    result.reserve(lines.size());
    for (const std::string& line : lines) result.push_back(scanner.line(line));
    return result;
}

}  // namespace vantrel
