#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/export/ProjectExport.h"
#include "core/model/IRJson.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

const std::string kHead =
    "digraph Vantrel {\n"
    "  rankdir=LR;\n"
    "  node [shape=box, fontname=\"SF Mono\", fontsize=10];";

TEST(GraphvizDOT, EmptyGraphIsTheHeadAndTheClosingBrace) {
    EXPECT_EQ(ProjectExport::graphvizDOT(ProjectIR{}), kHead + "\n}");
}

TEST(GraphvizDOT, WritesSortedNodesThenSortedEdgesWithEscapedIds) {
    testing::GraphBuilder b;
    const std::string quoted = "src/q.ts:say\"hi\":function";
    const std::string slashed = "src\\win.ts:run:function";
    const std::string both = "x.ts:a\\\"b:method";  // backslash then quote
    b.symbol("b.ts:z:function").symbol("b.ts:a:function").symbol(quoted).symbol(slashed).symbol(both);
    b.symbol("c.ts:lonely:function").symbol("B.ts:Upper:class", SymbolKind::classType);
    b.call("b.ts:z:function", "b.ts:a:function")
        .call("b.ts:a:function", slashed)
        .call("b.ts:a:function", quoted)
        .call("b.ts:a:function", "missing.ts:gone:function")
        .call(both, both);

    const std::string expected = kHead +
                                 "\n"
                                 "  \"B.ts:Upper:class\";\n"
                                 "  \"b.ts:a:function\";\n"
                                 "  \"b.ts:z:function\";\n"
                                 "  \"c.ts:lonely:function\";\n"
                                 "  \"src/q.ts:say\\\"hi\\\":function\";\n"
                                 "  \"src\\\\win.ts:run:function\";\n"
                                 "  \"x.ts:a\\\\\\\"b:method\";\n"
                                 "  \"b.ts:a:function\" -> \"missing.ts:gone:function\";\n"
                                 "  \"b.ts:a:function\" -> \"src/q.ts:say\\\"hi\\\":function\";\n"
                                 "  \"b.ts:a:function\" -> \"src\\\\win.ts:run:function\";\n"
                                 "  \"b.ts:z:function\" -> \"b.ts:a:function\";\n"
                                 "  \"x.ts:a\\\\\\\"b:method\" -> \"x.ts:a\\\\\\\"b:method\";\n"
                                 "}";
    const ProjectIR ir = b.build();
    EXPECT_EQ(ProjectExport::graphvizDOT(ir), expected);
}

TEST(ProjectIRJSON, WritesSortedKeysThatReadBackAsTheSameGraph) {
    testing::GraphBuilder b;
    b.symbol("m.py:Store:class", SymbolKind::classType).symbol("a.ts:f:function");
    b.call("a.ts:f:function", "m.py:Store:class");
    ProjectIR ir = b.build();
    ir.lastScan = 0.5;
    ir.diagnostics.push_back({"a.ts", "./nope", ResolutionDiagnostic::Reason::fileNotFound, std::nullopt});

    const std::string compact = ProjectExport::projectIRJSON(ir, false);
    EXPECT_LT(compact.find("\"diagnostics\""), compact.find("\"lastScan\""));
    EXPECT_LT(compact.find("\"projectId\""), compact.find("\"symbols\""));
    EXPECT_LT(compact.find("\"a.ts:f:function\":{"), compact.find("\"m.py:Store:class\":{"));
    EXPECT_EQ(compact.find('\n'), std::string::npos);

    for (bool pretty : {false, true}) {
        const ProjectIR back = decodeProjectIR(ProjectExport::projectIRJSON(ir, pretty));
        EXPECT_EQ(back.projectId, ir.projectId);
        EXPECT_EQ(back.lastScan, ir.lastScan);
        EXPECT_EQ(back.symbols, ir.symbols);
        EXPECT_EQ(back.diagnostics, ir.diagnostics);
    }

    // A time that JSON cannot hold must not become a file that fails to load later.
    ir.lastScan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(ProjectExport::projectIRJSON(ir, true), EncodeError);
}

}  // namespace
}  // namespace vantrel
