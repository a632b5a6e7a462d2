// The direct record codec against the document writer: the same bytes for the same
// record, whatever the strings hold, and a strict read of anything else.
#include <gtest/gtest.h>

#include "core/cache/ProjectCache.h"
#include "core/model/IRJson.h"
#include "core/util/Text.h"

namespace vantrel {
namespace {

CachedFileResult trickyRecord() {
    CachedFileResult record;
    record.fileHash = std::string(64, 'a');
    record.symbols.push_back(Symbol{"src/ä/\"q\".ts:f\\g:function", SymbolKind::function, {1, 9, 3, 2}, {}, {}});
    record.symbols.push_back(Symbol{"x.py:C:class", SymbolKind::classType, {10, 1, 12, 17}, {}, {}});
    record.imports = {{"a", "src/a.ts"}, {"\t\x01z", "/abs/😀.ts"}};
    record.calls = {{"x.py:C:class", "run"}, {"x.py:C:class", "run"}, {"src/ä/\"q\".ts:f\\g:function", "<\x7f>"}};
    record.diagnostics.push_back({"x.py", "os", ResolutionDiagnostic::Reason::externalModule,
                                  "Module 'os' is external (not scanned) \u2192 ok"});
    record.diagnostics.push_back({"x.py", "./a/b", ResolutionDiagnostic::Reason::fileNotFound, std::nullopt});
    return record;
}

std::string viaDocument(const CachedFileResult& r) {
    nlohmann::json calls = nlohmann::json::array();
    for (const auto& c : r.calls) calls.push_back({{"calleeName", c.calleeName}, {"callerId", c.callerId}});
    nlohmann::json diagnostics = nlohmann::json::array();
    for (const auto& d : r.diagnostics) diagnostics.push_back(diagnosticToJson(d));
    nlohmann::json symbols = nlohmann::json::array();
    for (const auto& s : r.symbols) symbols.push_back(symbolToJson(s));
    nlohmann::json imports(r.imports);
    nlohmann::json root{{"calls", calls},
                        {"diagnostics", diagnostics},
                        {"fileHash", r.fileHash},
                        {"imports", imports},
                        {"symbols", symbols}};
    return replaceAll(dumpJson(root, false), "/", "\\/");
}

TEST(CacheRecordCodec, MatchesTheDocumentWriterAndRoundTrips) {
    CachedFileResult record = trickyRecord();
    std::string encoded = encodeFileRecord(record);
    EXPECT_EQ(encoded, viaDocument(record));
    auto decoded = decodeFileRecord(encoded);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, record);

    // White space, unknown keys, a null suggestion and \u escapes are read like the
    // document reader reads them.
    auto spaced = decodeFileRecord(R"( { "symbols" : [ ] , "extra": {"deep": [1, {"x": null}]},
        "imports": {"k": "p\u00e4\/q"}, "fileHash": "h", "calls": [],
        "diagnostics": [{"importerPath": "a", "importPath": "b", "reason": "noTsConfig", "suggestion": null}] } )");
    ASSERT_TRUE(spaced);
    EXPECT_EQ(spaced->imports.at("k"), "p\u00e4/q");
    EXPECT_FALSE(spaced->diagnostics.at(0).suggestion);

    // The scan's two readers each keep their half; together they make up the record.
    auto merged = decodeFileRecord(encoded, RecordFields::symbols);
    auto linked = decodeFileRecord(encoded, RecordFields::links);
    ASSERT_TRUE(merged && linked);
    EXPECT_EQ(merged->fileHash, record.fileHash);
    EXPECT_EQ(merged->symbols, record.symbols);
    EXPECT_EQ(merged->diagnostics, record.diagnostics);
    EXPECT_TRUE(merged->calls.empty() && merged->imports.empty());
    EXPECT_EQ(linked->calls, record.calls);
    EXPECT_EQ(linked->imports, record.imports);
    EXPECT_TRUE(linked->symbols.empty() && linked->diagnostics.empty());
}

TEST(CacheRecordCodec, ReadsOtherFormsOfTheSameRecordAlike) {
    // The written form is read by a shortcut; any other form of the same content, however
    // far into an object it departs from the written one, must read the same.
    CachedFileResult record = trickyRecord();
    std::string good = encodeFileRecord(record);
    const std::pair<std::string, std::string> departures[] = {
        {"{\"id\":", "{ \"id\":"},                                // at the start
        {",\"kind\":", " ,\"kind\":"},                            // after the id
        {",\"range\":{\"endCol\":", ",\"range\":{ \"endCol\":"},  // inside the range
        {",\"startLine\":", ",\"startLine\" :"},                  // at the last number
        {"\"refsIn\":[],\"refsOut\":[]}", "\"refsIn\":[],\"refsOut\":[],\"more\":{\"x\":[1]}}"},
        {"\"refsIn\":[]", "\"refsOut\":[\"gone\"],\"refsIn\":[]"},  // a key twice: the last counts
        {"{\"calleeName\":", "{\"callerId\":\"gone\",\"calleeName\":"},
        {",\"callerId\":", ",\"extra\":null,\"callerId\":"},
        {"{\"importPath\":", "{\"importPath\" : "},
        {",\"reason\":", ",\"unknown\":[],\"reason\":"},
        {",\"suggestion\":", ",\"suggestion\" :"},
    };
    for (const auto& [from, to] : departures) {
        std::string text = replaceAll(good, from, to);
        ASSERT_NE(text, good) << from;
        for (RecordFields keep : {RecordFields::all, RecordFields::symbols, RecordFields::links}) {
            EXPECT_EQ(decodeFileRecord(text, keep), decodeFileRecord(good, keep)) << to;
        }
    }
    // A suggestion written as null is none, read by the general reader.
    std::string nulled =
        replaceAll(good, "\"reason\":\"fileNotFound\"}", "\"reason\":\"fileNotFound\",\"suggestion\":null}");
    ASSERT_NE(nulled, good);
    EXPECT_EQ(decodeFileRecord(nulled), record);
}

TEST(CacheRecordCodec, RefusesAnythingElse) {
    std::string good = encodeFileRecord(trickyRecord());
    const std::string refused[] = {
        good.substr(0, good.size() - 1),                                   // truncated
        good + "x",                                                        // trailing bytes
        replaceAll(good, "\"calls\":", "\"callz\":"),                      // missing key
        replaceAll(good, "\"startLine\":10", "\"startLine\":1.5"),         // not an integer
        replaceAll(good, "\"kind\":\"class\"", "\"kind\":\"classType\""),  // unknown kind
        replaceAll(good, "\"fileHash\":\"", "\"fileHash\":[\""),           // wrong type
        R"({"calls": [], "diagnostics": [], "fileHash": "h", "imports": {}, "symbols": null})",
        R"({"calls": [], "diagnostics": [], "fileHash": "h\ud800", "imports": {}, "symbols": []})",
        R"({"calls": [{"calleeName": 1, "callerId": "a"}], "diagnostics": [], "fileHash": "h", "imports": {}, "symbols": []})",
        R"({"calls": [{"callerId": "a"}], "diagnostics": [], "fileHash": "h", "imports": {}, "symbols": []})",
        R"({"calls": [], "diagnostics": [], "fileHash": "h", "imports": {"a": null}, "symbols": []})",
        // Strings are UTF-8: a stray byte, an overlong form, an encoded surrogate or a cut
        // sequence make the record no JSON, wherever the string stands.
        "{\"calls\": [], \"diagnostics\": [], \"fileHash\": \"h\x8e\", \"imports\": {}, \"symbols\": []}",
        "{\"calls\": [{\"calleeName\": \"a\xC0\xAF\", \"callerId\": \"b\"}], \"diagnostics\": [], \"fileHash\": \"h\", "
        "\"imports\": {}, \"symbols\": []}",
        "{\"calls\": [], \"diagnostics\": [], \"fileHash\": \"h\", \"imports\": {\"\xED\xA0\x80\": \"p\"}, "
        "\"symbols\": []}",
        "{\"calls\": [], \"diagnostics\": [], \"fileHash\": \"h\", \"imports\": {\"a\": \"p\xE2\x82\"}, \"symbols\": "
        "[]}",
        // Bad strings in the part a reader does not keep: checked all the same.
        R"({"calls": [{"calleeName": "\udc00", "callerId": "a"}], "diagnostics": [], "fileHash": "h", "imports": {}, "symbols": []})",
        R"({"calls": [], "diagnostics": [], "fileHash": "h", "imports": {"a": "b\x"}, "symbols": []})",
        R"({"calls": [], "diagnostics": [], "fileHash": "h", "imports": {}, "symbols": [{"id": "a\u12", "kind": "function", "range": {"endCol": 1, "endLine": 1, "startCol": 1, "startLine": 1}, "refsIn": [], "refsOut": []}]})",
        "{\"calls\": [], \"diagnostics\": [], \"fileHash\": \"h\", \"imports\": {}, \"symbols\": [{\"id\": \"a\", "
        "\"kind\": \"function\", \"range\": {\"endCol\": 1, \"endLine\": 1, \"startCol\": 1, \"startLine\": 1}, "
        "\"refsIn\": [\"\t\"], \"refsOut\": []}]}",
        R"({"calls": [], "diagnostics": [{"importerPath": "a", "importPath": "b", "reason": "noTsConfig", "suggestion": "\ud800\u0041"}], "fileHash": "h", "imports": {}, "symbols": []})",
        R"({"calls": [], "diagnostics": [{"importerPath": "a", "importPath": "b", "reason": "gone"}], "fileHash": "h", "imports": {}, "symbols": []})",
        "",
        "[]",
    };
    // A reader that keeps only part of a record still refuses a record damaged in the other
    // part: the merge and the link phase must agree on which records are readable.
    for (RecordFields keep : {RecordFields::all, RecordFields::symbols, RecordFields::links})
        for (const auto& text : refused) EXPECT_FALSE(decodeFileRecord(text, keep)) << text;
    // Keys are compared after their escapes are read, in any order.
    auto escaped = decodeFileRecord(
        R"({"symbols": [], "imports": {"\u0061": "b"}, "fileHash": "h", "diagnostics": [], "\u0063alls": [{"callerId": "x", "calleeName": "y"}]})",
        RecordFields::links);
    ASSERT_TRUE(escaped);
    EXPECT_EQ(escaped->imports.at("a"), "b");
    EXPECT_EQ(escaped->calls, (std::vector<CachedCallSite>{{"x", "y"}}));
    // Integers: the short form read directly, everything else as numbers are read.
    for (const auto& [written, expected] :
         std::vector<std::pair<std::string, std::int64_t>>{{"-0", 0},
                                                           {"0", 0},
                                                           {"1e2", 100},
                                                           {"-17", -17},
                                                           {"123456789012345678", 123456789012345678},
                                                           {"1234567890123456789", 1234567890123456789},
                                                           {"-9.0", -9}}) {
        auto read = decodeFileRecord(replaceAll(good, "\"startLine\":10", "\"startLine\":" + written));
        ASSERT_TRUE(read) << written;
        EXPECT_EQ(read->symbols.at(1).range.startLine, expected) << written;
    }
    for (const char* written : {"007", "-", "1.5", "0x10", "--1", "99999999999999999999"})
        EXPECT_FALSE(decodeFileRecord(replaceAll(good, "\"startLine\":10", std::string("\"startLine\":") + written)))
            << written;
    // Integral numbers count as integers, as for the document reader.
    EXPECT_TRUE(decodeFileRecord(replaceAll(good, "\"startLine\":10", "\"startLine\":10.0")));
}

}  // namespace
}  // namespace vantrel

namespace vantrel {
namespace {

// Precise linking's parts: written only when present, read back whole, each half kept by
// its reader, and refused when a tuple or a site has the wrong shape.
TEST(CacheRecordCodec, PreciseSitesAndFactsRoundTripAndAreCheckedStrictly) {
    CachedFileResult record;
    record.fileHash = "h";
    record.sites = {{"a.ts:run:method", "this.store.add", "Runner", 4, 8, CallForm::chainMember},
                    {"a.ts:run:method", "Task", "Runner", 5, 2, CallForm::constructor},
                    {"b.py:f:function", "super.__init__", "", 0, 0, CallForm::superMember},
                    // Text the packed form separates with must survive in a callee.
                    {"b.py:f:function", "odd 12 3 \"x\"", "", 1234567, 89, CallForm::plain}};
    record.facts.classes = {
        {"Runner", {"Base", "mixins.Log"}, {{"run", "new(Task)"}, {"stop", ""}}, {{"store", "new(Store)"}}}};
    record.facts.functions = {{"make", "new(Runner)"}};
    record.facts.variables = {{"module.exports", "Runner"}};
    record.facts.imports = {{"Store", "src/store.ts", "default"}, {"os", "", "*"}};
    record.facts.exports = {{"*", "src/all.ts", "*"}};

    const std::string encoded = encodeFileRecord(record);
    auto decoded = decodeFileRecord(encoded);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, record);
    // The merge keeps the facts, the link walk the sites.
    auto merged = decodeFileRecord(encoded, RecordFields::symbols);
    auto linked = decodeFileRecord(encoded, RecordFields::links);
    ASSERT_TRUE(merged && linked);
    EXPECT_EQ(merged->facts, record.facts);
    EXPECT_TRUE(merged->sites.empty());
    EXPECT_EQ(linked->sites, record.sites);
    EXPECT_TRUE(linked->facts.empty());

    // A names-mode record has neither key, byte for byte as before.
    CachedFileResult plain;
    plain.fileHash = "h";
    EXPECT_EQ(encodeFileRecord(plain), R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})");
    // A record read into one that held sites and facts drops them.
    CachedFileResult reused = record;
    ASSERT_TRUE(decodeFileRecordInto(encodeFileRecord(plain), RecordFields::all, reused));
    EXPECT_TRUE(reused.sites.empty() && reused.facts.empty());

    const std::string head = R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},)";
    // A run's sites: "line column form length callee", space-separated.
    auto one = decodeFileRecord(head + R"("sites":[["c","K","3 4 1 6 this.f 10 0 4 1 g"]],"symbols":[]})",
                                RecordFields::links);
    ASSERT_TRUE(one);
    const std::vector<CallSite> expected{{"c", "this.f", "K", 3, 4, CallForm::selfMember},
                                         {"c", "g", "K", 10, 0, CallForm::constructor}};
    EXPECT_EQ(one->sites, expected);
    for (const char* bad : {R"("sites":[["c","","1 2 0"]],"symbols":[]})",               // a site too short
                            R"("sites":[["c","","1 2 0 1 f 4"]],"symbols":[]})",         // a trailing number
                            R"("sites":[["c","","1 2 0 1 f "]],"symbols":[]})",          // a trailing space
                            R"("sites":[["c","","1 2 0 5 f"]],"symbols":[]})",           // a callee past the end
                            R"("sites":[["c","","1 2 0 0 "]],"symbols":[]})",            // an empty callee
                            R"("sites":[["c","","-1 2 0 1 f"]],"symbols":[]})",          // a negative line
                            R"("sites":[["c","","1 2 99 1 f"]],"symbols":[]})",          // no such form
                            R"("sites":[["c","","1  2 0 1 f"]],"symbols":[]})",          // two spaces
                            R"("sites":[["c","","9999999999 2 0 1 f"]],"symbols":[]})",  // a line too big
                            R"("sites":[["c","",""]],"symbols":[]})",                    // an empty run
                            R"("sites":[["c","",[["f",1,2,0]]]],"symbols":[]})",         // the unpacked form
                            R"("sites":[["c","1 2 0 1 f"]],"symbols":[]})",              // a run without its class
                            R"("sites":[["c","","1 2 0 1 f","x"]],"symbols":[]})"})      // a run too long
        EXPECT_FALSE(decodeFileRecord(head + bad)) << bad;
    const std::string facts = R"({"calls":[],"diagnostics":[],"facts":{"classes":[],"exports":[],"functions":[)";
    EXPECT_FALSE(
        decodeFileRecord(facts + R"(["f"]],"imports":[],"variables":[]},"fileHash":"h","imports":{},"symbols":[]})"));
    EXPECT_FALSE(decodeFileRecord(
        R"({"calls":[],"diagnostics":[],"facts":{"exports":[],"functions":[],"imports":[],"variables":[]},"fileHash":"h","imports":{},"symbols":[]})"))
        << "facts without their classes";
    EXPECT_TRUE(decodeFileRecord(
        R"({"calls":[],"diagnostics":[],"facts":{"classes":[],"exports":[],"functions":[["f",""]],"imports":[],"variables":[]},"fileHash":"h","imports":{},"symbols":[]})"));
}

}  // namespace
}  // namespace vantrel
