// Resolution of call names to symbols: unique names, imports (exact and suffix), the
// caller's own file, and no edge whenever a step stays ambiguous.
#include <gtest/gtest.h>

#include "core/scan/internal/Linker.h"

#include <algorithm>
#include <vector>

namespace vantrel {
namespace {

ProjectIR graphOf(std::initializer_list<const char*> ids) {
    ProjectIR ir;
    for (const char* id : ids) ir.symbols[id] = Symbol{id, SymbolKind::function, {}, {}, {}};
    return ir;
}

std::optional<std::string> resolve(ProjectIR& ir, const std::string& name, std::map<std::string, std::string> imports,
                                   const std::string& current) {
    return resolveCalleeId(name, imports, current, symbolNameIndex(ir));
}

TEST(Linker, ResolvesInTheStatedOrderAndNeverGuesses) {
    ProjectIR ir = graphOf({"a.ts:tidy:function", "a.ts:run:function", "b.ts:run:function", "src/util.ts:fmt:function",
                            "lib/util.ts:fmt:function", "c.ts:fmt:function", "d.ts:go:function", "e.ts:go:function",
                            "x.ts:Same:function", "x.ts:Same:class", "py/m.py:tidy2:function"});

    // A unique name resolves anywhere, imported or not, across languages.
    EXPECT_EQ(resolve(ir, "tidy", {}, "b.ts"), "a.ts:tidy:function");
    EXPECT_EQ(resolve(ir, "tidy2", {}, "web/app.tsx"), "py/m.py:tidy2:function");
    // The exact import path wins among same-named candidates.
    EXPECT_EQ(resolve(ir, "run", {{"run", "a.ts"}}, "c.ts"), "a.ts:run:function");
    // An import path without extension finds its file by suffix.
    EXPECT_EQ(resolve(ir, "run", {{"run", "b"}}, "c.ts"), "b.ts:run:function");
    // A suffix that ends two candidates' paths is ambiguous: the caller's file decides.
    EXPECT_EQ(resolve(ir, "fmt", {{"fmt", "util"}}, "c.ts"), "c.ts:fmt:function");
    EXPECT_EQ(resolve(ir, "fmt", {{"fmt", "util"}}, "z.ts"), std::nullopt);
    // Two other files, not imported: no edge.
    EXPECT_EQ(resolve(ir, "go", {}, "c.ts"), std::nullopt);
    // Two same-file candidates (a function and a class of one name): no edge.
    EXPECT_EQ(resolve(ir, "Same", {}, "x.ts"), std::nullopt);
    EXPECT_EQ(resolve(ir, "unknown", {}, "x.ts"), std::nullopt);
}

TEST(Linker, ReadsIdsFromTheirEnd) {
    EXPECT_EQ(symbolFilePath("src/app.ts:run:function"), "src/app.ts");
    EXPECT_EQ(symbolFilePath("C:/work/a.ts:run:function"), "C:/work/a.ts");
    EXPECT_EQ(symbolFilePath("src/a.ts::function"), "src/a.ts");
    EXPECT_EQ(symbolFilePath("run:function"), std::nullopt);

    // An empty name is a key of the index like any other.
    ProjectIR ir = graphOf({"src/a.ts::function", "run:function"});
    auto index = symbolNameIndex(ir);
    ASSERT_EQ(index.candidates("").size(), 1u);
    EXPECT_EQ(index.candidates("").front().id, "src/a.ts::function");
    EXPECT_TRUE(index.candidates("run").empty());
}

TEST(Linker, ACommonNameListsItsCandidatesByFileThenIdWhateverTheOrderAdded) {
    // Hundreds of files with one name: paths sharing a long prefix, paths that are
    // prefixes of others, paths that differ only after their eighth differing byte, two
    // kinds in one file, and ids whose order differs from their paths' (":" sorts after
    // "." and "-").
    std::vector<std::string> ids;
    for (int i = 0; i < 300; ++i) {
        std::string n = std::to_string(i * 7919 % 1000);
        ids.push_back("src/components/widgets/" + n + ".ts:run:function");
        ids.push_back("src/components/widgets/" + n + ".ts.bak.ts:run:function");
        ids.push_back("src/components/widgets/" + n + "-0123456789abcdef.ts:run:method");
    }
    ids.push_back("src/components/widgets/7.ts:run:class");
    ids.push_back("src/components/widgets/7:run:function");
    SymbolMap symbols;
    for (const auto& id : ids) symbols.emplace(id, Symbol{id, SymbolKind::function, {}, {}, {}});
    std::vector<NameCandidate> expected;
    for (auto& [id, symbol] : symbols)
        expected.push_back(NameCandidate{id, *symbolFilePath(id) == id ? 0 : symbolFilePath(id)->size(), &symbol});
    std::sort(expected.begin(), expected.end(), [](const NameCandidate& a, const NameCandidate& b) {
        return a.filePath() != b.filePath() ? a.filePath() < b.filePath() : a.id < b.id;
    });

    SymbolNameIndex index;
    for (std::size_t step = 0; step < ids.size(); ++step) {
        const auto& id = ids[step * 389 % ids.size()];  // every id once, scrambled
        index.add(symbols.find(id)->first, symbols.find(id)->second);
    }
    index.finish();
    auto found = index.candidates("run");
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].id, expected[i].id) << i;
        EXPECT_EQ(found[i].symbol, expected[i].symbol) << i;
    }
    // Each symbol is found by its id, through its name's group.
    for (const auto& [id, symbol] : symbols) {
        const NameCandidate* exact = index.find(id);
        ASSERT_TRUE(exact) << id;
        EXPECT_EQ(exact->symbol, &symbol);
    }
    EXPECT_FALSE(index.find("src/components/widgets/7.ts:run:method"));
    EXPECT_FALSE(index.find("src/components/widgets/7.ts:walk:function"));
    EXPECT_FALSE(index.find("run:function"));
}

TEST(Linker, LinkKeepsBothSetsAndDropsSelfEdges) {
    ProjectIR ir = graphOf({"a.ts:a:function", "b.ts:b:function"});
    for (int i = 0; i < 3; ++i) link("a.ts:a:function", "b.ts:b:function", ir);
    link("a.ts:a:function", "a.ts:a:function", ir);
    link("a.ts:a:function", "gone.ts:g:function", ir);

    EXPECT_EQ(ir.symbols["a.ts:a:function"].refsOut, (IdSet{"b.ts:b:function", "gone.ts:g:function"}));
    EXPECT_EQ(ir.symbols["b.ts:b:function"].refsIn, (IdSet{"a.ts:a:function"}));
    EXPECT_TRUE(ir.symbols["a.ts:a:function"].refsIn.empty());
}

}  // namespace
}  // namespace vantrel
