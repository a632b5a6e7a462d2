// The source panel's core: the light tokeniser over realistic JS/TS and Python, the
// textual search for call lines (names in strings, comments and template text never
// count; a name inside a substitution does), and reading a symbol's lines from its file.
// Every expectation is worked out by hand from the fixtures below.
#include <gtest/gtest.h>

#include "core/source/SymbolSource.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

// "kind:text" of each token of a line, as read off the fixture by eye.
std::vector<std::string> described(const SourceText& text, std::size_t index) {
    static const char* const names[] = {"kw", "id", "str", "com", "num", "p"};
    std::vector<std::string> out;
    for (const SourceToken& token : text.tokens.at(index))
        out.push_back(std::string(names[static_cast<int>(token.kind)]) + ":" +
                      text.lines[index].substr(token.start, token.length));
    return out;
}

SourceText textOf(SourceLanguage language, std::vector<std::string> lines, std::int64_t firstLine = 1) {
    SourceText text{firstLine, std::move(lines), {}};
    text.tokens = tokenizeLines(language, text.lines);
    return text;
}

using Lines = std::vector<std::int64_t>;
using Tokens = std::vector<std::string>;

const std::vector<std::string> kHandler = {
    "export async function handle(order: Order) {",           // 10
    "  // validate(order) is done by the caller",             // 11
    "  const note = \"validate(order)\" + 'it\\'s';",         // 12
    "  const t = `checking ${order.id}: validate(x)",         // 13
    "    still ${`inner ${validate(order)}`} text`;",         // 14
    "  if (!validate(",                                       // 15
    "      order)) return 0x1F;",                             // 16
    "  const v = new Validator(order, 1.5e-3);",              // 17
    "  const w = validator?.(order); /* validate(a)",         // 18
    "     still a comment */ const r = prevalidate(order);",  // 19
    "  function validate(x) { return x; }",                   // 20
    "  return helpers.validate (order);",                     // 21
    "}",                                                      // 22
};

TEST(SourceTokens, JavaScriptKeepsStringsTemplatesAndCommentsApart) {
    const SourceText text = textOf(SourceLanguage::javaScript, kHandler, 10);
    EXPECT_EQ(described(text, 0), (Tokens{"kw:export", "kw:async", "kw:function", "id:handle", "p:(", "id:order",
                                          "p::", "id:Order", "p:)", "p:{"}));
    EXPECT_EQ(described(text, 1), (Tokens{"com:// validate(order) is done by the caller"}));
    EXPECT_EQ(described(text, 2),
              (Tokens{"kw:const", "id:note", "p:=", "str:\"validate(order)\"", "p:+", "str:'it\\'s'", "p:;"}));
    // The template runs over two lines; its substitutions are code, a nested template in
    // one of them is a string again.
    EXPECT_EQ(described(text, 3), (Tokens{"kw:const", "id:t", "p:=", "str:`checking ${", "id:order", "p:.", "id:id",
                                          "str:}: validate(x)"}));
    EXPECT_EQ(described(text, 4), (Tokens{"str:    still ${", "str:`inner ${", "id:validate", "p:(", "id:order", "p:)",
                                          "str:}`", "str:} text`", "p:;"}));
    EXPECT_EQ(described(text, 6), (Tokens{"id:order", "p:)", "p:)", "kw:return", "num:0x1F", "p:;"}));
    EXPECT_EQ(described(text, 7), (Tokens{"kw:const", "id:v", "p:=", "kw:new", "id:Validator", "p:(", "id:order", "p:,",
                                          "num:1.5e-3", "p:)", "p:;"}));
    EXPECT_EQ(described(text, 8).back(), "com:/* validate(a)");
    EXPECT_EQ(described(text, 9).front(), "com:     still a comment */");
    EXPECT_EQ(described(text, 9)[1], "kw:const");
}

TEST(SourceTokens, PythonTripleQuotesPrefixesAndComments) {
    const SourceText text = textOf(SourceLanguage::python, {
                                                               "def charge(self, amount):",
                                                               "    '''Calls send(amount) later.",
                                                               "    send(x) here is prose.'''",
                                                               "    note = rb\"send(\" f'{amount}'  # send(it)",
                                                               "    return None if amount < 1_000 else send(",
                                                               "        self.endpoint)",
                                                           });
    EXPECT_EQ(described(text, 0), (Tokens{"kw:def", "id:charge", "p:(", "id:self", "p:,", "id:amount", "p:)", "p::"}));
    EXPECT_EQ(described(text, 1), (Tokens{"str:'''Calls send(amount) later."}));
    EXPECT_EQ(described(text, 2), (Tokens{"str:    send(x) here is prose.'''"}));
    EXPECT_EQ(described(text, 3), (Tokens{"id:note", "p:=", "str:rb\"send(\"", "str:f'{amount}'", "com:# send(it)"}));
    EXPECT_EQ(described(text, 4),
              (Tokens{"kw:return", "kw:None", "kw:if", "id:amount", "p:<", "num:1_000", "kw:else", "id:send", "p:("}));
    EXPECT_EQ(findCallLines(text, "send"), Lines{5});
    EXPECT_EQ(findCallLines(text, "charge"), Lines{});  // its own "def"
}

TEST(CallLines, OnlyWholeNamesInCodeFollowedByAParenthesisOrAfterNew) {
    const SourceText text = textOf(SourceLanguage::javaScript, kHandler, 10);
    // 14: inside a substitution; 15: a call whose arguments go on below; 21: a member
    // call with a space before "(". Not 11 (comment), 12 (string), 13 (template text),
    // 18 (comment), 20 (a declaration).
    EXPECT_EQ(findCallLines(text, "validate"), (Lines{14, 15, 21}));
    EXPECT_EQ(findCallLines(text, "Validator"), Lines{17});
    EXPECT_EQ(findCallLines(text, "validator"), Lines{18});  // optional call "?.("
    EXPECT_EQ(findCallLines(text, "prevalidate"), Lines{19});
    EXPECT_EQ(findCallLines(text, "order"), Lines{});  // used, never called
    EXPECT_EQ(findCallLines(text, "handle"), Lines{});
}

TEST(SymbolSourceRead, ReadsTheRangeOfOneFileWithItsCalls) {
    testing::TempDir dir;
    dir.write("src/a b/router.ts",
              "import { logInfo } from './log';\r\n"
              "\r\n"
              "export const createRouter = () => {\r\n"
              "  const routes = registerRoutes();\r\n"
              "  logInfo(`${routes.length} routes`); registerRoutes();\r\n"
              "  return routes;\r\n"
              "};\r\n");
    const TextRange range{3, 1, 7, 3};
    const SymbolSource source =
        loadSymbolSource(dir.path(), "src/a b/router.ts", range, {"registerRoutes", "logInfo", "missing"});
    ASSERT_EQ(source.error, "");
    EXPECT_EQ(source.text.firstLine, 3);
    EXPECT_EQ(source.text.lines,
              (std::vector<std::string>{"export const createRouter = () => {", "  const routes = registerRoutes();",
                                        "  logInfo(`${routes.length} routes`); registerRoutes();", "  return routes;",
                                        "};"}));
    EXPECT_FALSE(source.truncated);
    using Calls = std::map<std::int64_t, std::vector<std::string>>;
    EXPECT_EQ(source.callsByLine, (Calls{{4, {"registerRoutes"}}, {5, {"logInfo", "registerRoutes"}}}));

    // Bounded: lines beyond the limit are left out, a file beyond the size is not read.
    const SymbolSource cut = loadSymbolSource(dir.path(), "src/a b/router.ts", range, {"logInfo"}, {1024, 2});
    EXPECT_TRUE(cut.truncated);
    EXPECT_EQ(cut.text.lines.size(), 2u);
    EXPECT_TRUE(cut.callsByLine.empty());  // line 5 was left out
    EXPECT_NE(loadSymbolSource(dir.path(), "src/a b/router.ts", range, {}, {100, 10}).error.find("too large"),
              std::string::npos);

    // A file of another language shows untokenised; errors name the file.
    dir.write("notes.txt", "one\ntwo\n");
    const SymbolSource plain = loadSymbolSource(dir.path(), "notes.txt", {2, 1, 2, 4}, {"two"});
    EXPECT_EQ(plain.text.lines, std::vector<std::string>{"two"});
    EXPECT_TRUE(plain.text.tokens.empty());
    EXPECT_TRUE(plain.callsByLine.empty());
    EXPECT_NE(loadSymbolSource(dir.path(), "gone.ts", range, {}).error.find("gone.ts"), std::string::npos);
    EXPECT_NE(loadSymbolSource(dir.path(), "notes.txt", {9, 1, 12, 1}, {}).error.find("past its end"),
              std::string::npos);
    dir.write("secret.ts", "x\n");
    EXPECT_NE(loadSymbolSource(dir.at("src"), "../secret.ts", {1, 1, 1, 1}, {}).error.find("out of the project"),
              std::string::npos);
}

}  // namespace
}  // namespace vantrel
