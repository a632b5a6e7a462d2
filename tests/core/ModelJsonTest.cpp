// The graph's JSON form: what the exporter writes must read back, and the decoder is
// strict apart from its two stated leniencies, naming the problem when it refuses.
#include <gtest/gtest.h>

#include "core/model/IRJson.h"

namespace vantrel {
namespace {

ProjectIR sampleGraph() {
    ProjectIR ir;
    ir.projectId = "-4242";
    ir.lastScan = 0.5;
    Symbol store{"lib/db.py:Store:class", SymbolKind::classType, {1, 1, 9, 17}, {"src/app.ts:run:function"}, {}};
    Symbol run{
        "src/app.ts:run:function", SymbolKind::function, {3, 9, 5, 10}, {}, {"lib/db.py:Store:class", "gone:x:method"}};
    ir.symbols[store.id] = store;
    ir.symbols[run.id] = run;
    ir.diagnostics.push_back({"src/app.ts", "react", ResolutionDiagnostic::Reason::externalModule,
                              "Module 'react' is external (not scanned)"});
    ir.diagnostics.push_back({"src/app.ts", "./gone", ResolutionDiagnostic::Reason::fileNotFound, std::nullopt});
    return ir;
}

void expectSameGraph(const ProjectIR& a, const ProjectIR& b) {
    EXPECT_EQ(a.projectId, b.projectId);
    EXPECT_EQ(a.lastScan, b.lastScan);
    EXPECT_EQ(a.symbols, b.symbols);
    EXPECT_EQ(a.diagnostics, b.diagnostics);
}

TEST(ModelJson, RoundTripsWithSortedKeysAndTheStatedForms) {
    ProjectIR ir = sampleGraph();
    std::string text = dumpJson(projectIRToJson(ir), false);
    expectSameGraph(decodeProjectIR(text), ir);

    // Keys sorted at every level; class written as "class"; no suggestion key when absent.
    EXPECT_LT(text.find("\"diagnostics\""), text.find("\"lastScan\""));
    EXPECT_LT(text.find("\"lastScan\""), text.find("\"projectId\""));
    EXPECT_LT(text.find("\"lib/db.py:Store:class\""), text.find("\"src/app.ts:run:function\""));
    EXPECT_NE(text.find("\"kind\":\"class\""), std::string::npos);
    EXPECT_EQ(text.find("classType"), std::string::npos);
    auto second = text.find("\"./gone\"");
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(text.find("suggestion", second), std::string::npos);

    // An empty graph writes an empty object and an empty array, and reads back the same.
    ProjectIR empty;
    std::string emptyText = dumpJson(projectIRToJson(empty), false);
    EXPECT_NE(emptyText.find("\"symbols\":{}"), std::string::npos);
    EXPECT_NE(emptyText.find("\"diagnostics\":[]"), std::string::npos);
    expectSameGraph(decodeProjectIR(emptyText), empty);
}

TEST(ModelJson, StreamingWriterMatchesTheDocumentWriter) {
    ProjectIR withEmptySets = sampleGraph();
    withEmptySets.symbols["z.ts:\"q\\:function"] =
        Symbol{"z.ts:\"q\\:function", SymbolKind::component, {1, 1, 1, 1}, {}, {}};
    withEmptySets.lastScan = 785000000.123456;
    ProjectIR noDiagnostics = sampleGraph();
    noDiagnostics.diagnostics.clear();
    for (const ProjectIR& ir : {sampleGraph(), withEmptySets, noDiagnostics, ProjectIR{}}) {
        for (bool pretty : {true, false})
            EXPECT_EQ(writeProjectIRJson(ir, pretty), dumpJson(projectIRToJson(ir), pretty)) << pretty;
    }
}

TEST(ModelJson, DecoderAcceptsOnlyItsTwoLeniencies) {
    const std::string head = R"({"projectId": "1", "lastScan": 0, "symbols": {)";
    const std::string symbol =
        R"("a": {"id": "a", "kind": "function", "range": {"startLine": 1, "startCol": 1, "endLine": 1, "endCol": 2},
                  "refsIn": ["b", "b"], "refsOut": [], "extra": true})";
    // Missing or null diagnostics, null suggestion, duplicate refs, unknown keys: fine.
    ProjectIR lenient = decodeProjectIR(head + symbol + "}}");
    EXPECT_TRUE(lenient.diagnostics.empty());
    EXPECT_EQ(lenient.symbols.at("a").refsIn, IdSet{"b"});
    EXPECT_TRUE(decodeProjectIR(head + "}, \"diagnostics\": null}").diagnostics.empty());
    auto withNull = decodeProjectIR(head + R"(}, "diagnostics": [{"importerPath": "a", "importPath": "b",
                                                "reason": "noTsConfig", "suggestion": null}]})");
    EXPECT_EQ(withNull.diagnostics.at(0).suggestion, std::nullopt);

    struct Case {
        std::string json;
        std::string mustName;
    };
    const Case refused[] = {
        {R"({"lastScan": 0, "symbols": {}})", "projectId"},
        {R"({"projectId": 1, "lastScan": 0, "symbols": {}})", "projectId"},
        {R"({"projectId": "1", "lastScan": "2001", "symbols": {}})", "lastScan"},
        {R"({"projectId": "1", "lastScan": 0, "symbols": []})", "symbols"},
        {head + R"("a": {"id": "a", "kind": "classType", "range": {"startLine": 1, "startCol": 1, "endLine": 1,
              "endCol": 2}, "refsIn": [], "refsOut": []}}})",
         "classType"},
        {head + R"("a": {"id": "a", "kind": "method", "range": {"startLine": 1, "startCol": 1.5, "endLine": 1,
              "endCol": 2}, "refsIn": [], "refsOut": []}}})",
         "startCol"},
        {head + R"("a": {"id": "a", "kind": "method", "range": {"startLine": 1, "startCol": 1, "endLine": 1},
              "refsIn": [], "refsOut": []}}})",
         "endCol"},
        {head + R"("a": {"id": "a", "kind": "method", "range": {"startLine": 1, "startCol": 1, "endLine": 1,
              "endCol": 2}, "refsIn": [7], "refsOut": []}}})",
         "refsIn"},
        {head + R"(}, "diagnostics": [{"importerPath": "a", "importPath": "b", "reason": "unresolved"}]})",
         "unresolved"},
        {head + R"(}, "diagnostics": {}})", "diagnostics"},
        {"{\"projectId\": ", "JSON"},
    };
    for (const auto& c : refused) {
        try {
            (void)decodeProjectIR(c.json);
            ADD_FAILURE() << "accepted: " << c.json;
        } catch (const DecodeError& e) {
            EXPECT_NE(std::string(e.what()).find(c.mustName), std::string::npos) << e.what();
        }
    }
}

TEST(ModelJson, EqualityAndDerivedNames) {
    Symbol a{"x.ts:f:function", SymbolKind::function, {1, 1, 2, 2}, {}, {}};
    Symbol b = a;
    a.refsIn = {"p", "q"};
    b.refsIn.insert("q");
    b.refsIn.insert("p");
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::hash<Symbol>{}(a), std::hash<Symbol>{}(b));
    b.refsIn.insert("r");
    EXPECT_NE(a, b);

    EXPECT_EQ(a.shortName(), "f");
    EXPECT_EQ(a.fileRelPath(), "x.ts");
    Symbol plain{"plain", SymbolKind::method, {}, {}, {}};
    EXPECT_EQ(plain.shortName(), "plain");
    EXPECT_EQ(plain.fileRelPath(), "plain");
    EXPECT_EQ(symbolKindFromRaw("class"), SymbolKind::classType);
    EXPECT_EQ(symbolKindFromRaw("classType"), std::nullopt);
}

}  // namespace
}  // namespace vantrel
