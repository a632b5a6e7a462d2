// What a user's folder may hold beyond ordinary sources: pathological nesting, binary
// junk with a source name, files that disappear mid-scan, odd links and names, huge
// configuration files, a project that must not be written to. Every case ends in a
// normal result or in one clear error line; each test says what the user sees.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <thread>

#include "core/config/GlobalDefaults.h"
#include "core/export/ProjectExport.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/model/IRJson.h"
#include "core/scan/SymbolScanner.h"
#include "core/util/FileIO.h"
#include "core/util/Text.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::runCommand;
using testing::TempDir;
namespace fs = std::filesystem;

ProjectIR scanFolder(const std::string& root, const std::string& support, ScanStats* stats = nullptr,
                     const ProgressCallback& progress = {}) {
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(support));
    return scanner.scanProject(root, defaultGlobalConfig(), 200, 4, std::nullopt, progress, {}, stats);
}

std::string normalized(ProjectIR ir) {
    ir.lastScan = 0;
    ir.projectId.clear();
    return ProjectExport::projectIRJSON(ir, true);
}

std::string repeat(std::string_view text, int times) {
    std::string out;
    out.reserve(text.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

bool hasSymbolOf(const ProjectIR& ir, std::string_view file) {
    for (const auto& [id, symbol] : ir.symbols)
        if (symbol.fileRelPath() == file) return true;
    return false;
}

// A realistic project with pathological files beside its ordinary ones.
TEST(HostileInput, PathologicalSourcesLeaveTheRestOfTheGraphIntact) {
    TempDir dir;
    std::string plain = dir.copyFixture("scan-project", "plain");
    std::string root = dir.copyFixture("scan-project", "project");
    constexpr int kDeep = 100000;
    // Nesting deeper than the query engine tracks (65,535 levels): the function stays, the
    // call at the bottom is not seen, a shallow call of the same function is.
    dir.write("project/hostile/deep.js", "function deepBrackets() { return " + std::string(kDeep, '[') + "innerCall()" +
                                             std::string(kDeep, ']') +
                                             "; }\nfunction innerCall() {}\nfunction shallow() { innerCall(); }\n");
    dir.write("project/hostile/deep.py", "def deep_calls():\n    return " + repeat("wrap(", kDeep) + "1" +
                                             std::string(kDeep, ')') + "\n\ndef wrap(x):\n    return x\n");
    // Unclosed brackets would make every query pass quadratic: analysed as empty files.
    dir.write("project/hostile/unclosed.js", "function lostJs() {}\n" + std::string(kDeep, '['));
    dir.write("project/hostile/unclosed.py", "def lost_py():\n    pass\n" + std::string(kDeep, '('));
    dir.write("project/hostile/template.js", "function lostTemplate() {}\nx = `" + repeat("${`", kDeep));
    // Calls in one flat error node: each was once answered by searching all its siblings.
    dir.write("project/hostile/flat.js", "function flat() { " + repeat("flatCall(other(), ", kDeep));
    // Binary junk and text that is not UTF-8 (a Latin-1 byte, an encoded lone surrogate).
    dir.write("project/hostile/nul.js", std::string(1 << 20, '\0'));
    dir.write("project/hostile/latin1.ts", "export function latin() { return 'caf\xe9'; }\n");
    dir.write("project/hostile/surrogate.ts", "export function surrogate() { return '\xed\xa0\x80'; }\n");

    ScanStats coldStats;
    ProjectIR cold = scanFolder(root, dir / "support", &coldStats);
    EXPECT_EQ(coldStats.parsed, 16);

    // The ordinary files give exactly the graph they give alone.
    ProjectIR reference = scanFolder(plain, dir / "support-plain");
    ProjectIR ordinary = cold;
    std::erase_if(ordinary.symbols, [](const auto& entry) { return entry.first.starts_with("hostile/"); });
    EXPECT_EQ(normalized(ordinary), normalized(reference));

    const auto& symbols = cold.symbols;
    EXPECT_EQ(symbols.at("hostile/deep.js:shallow:function").refsOut, IdSet{"hostile/deep.js:innerCall:function"});
    EXPECT_TRUE(symbols.at("hostile/deep.js:deepBrackets:function").refsOut.empty());
    EXPECT_EQ(symbols.at("hostile/deep.py:deep_calls:function").refsOut, IdSet{"hostile/deep.py:wrap:function"});
    for (const char* file : {"hostile/unclosed.js", "hostile/unclosed.py", "hostile/template.js", "hostile/nul.js",
                             "hostile/latin1.ts", "hostile/surrogate.ts"})
        EXPECT_FALSE(hasSymbolOf(cold, file)) << file;

    // The empty analyses are stored like any other: a warm scan parses nothing again.
    ScanStats warmStats;
    ProjectIR warm = scanFolder(root, dir / "support", &warmStats);
    EXPECT_EQ(warmStats.parsed, 0);
    EXPECT_EQ(normalized(warm), normalized(cold));
}

// The parse budget is a measure of the one parse, not a timer and not a process total:
// the least budget that lets a text through alone lets it through in four parses at
// once, and half of it stops every one of them.
TEST(HostileInput, ParseBudgetDecidesTheSameEveryTime) {
    std::u16string text = *utf8ToUtf16(repeat("function f(a){return g(a)+1};", 20000));
    std::uint64_t enough = 1 << 20;
    while (SyntaxTree::parse(tree_sitter_tsx(), text, enough).overBudget) enough *= 2;
    for (std::uint64_t limit : {enough, enough / 2}) {
        std::vector<std::thread> threads;
        std::atomic<int> stopped{0};
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                auto attempt = SyntaxTree::parse(tree_sitter_tsx(), text, limit);
                EXPECT_EQ(attempt.overBudget, !attempt.tree);
                if (attempt.overBudget) ++stopped;
            });
        for (auto& thread : threads) thread.join();
        EXPECT_EQ(stopped, limit == enough ? 0 : 4) << limit;
    }
}

// A file that cannot be read when its turn comes fails the scan with one line naming it.
TEST(HostileInput, FilesThatVanishOrCannotBeReadFailTheScanByName) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    for (int i = 0; i < 20; ++i) dir.write("project/many/m" + std::to_string(i) + ".ts", "export function f() {}\n");

    // Deleted between counting and reading: the first parsed file removes all the others.
    // The folder's listing was read already, so the walk still yields them.
    bool removed = false;
    try {
        SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(dir / "support"));
        (void)scanner.scanProject(root + "/many", defaultGlobalConfig(), 1, 1, std::nullopt,
                                  [&](const ScanProgress& p) {
                                      if (p.phase != ScanPhase::parsing || removed) return;
                                      removed = true;
                                      for (int i = 0; i < 20; ++i) {
                                          std::string name = "m" + std::to_string(i) + ".ts";
                                          if (name != *p.currentPath) fs::remove(root + "/many/" + name);
                                      }
                                  },
                                  {});
        FAIL() << "the scan should fail";
    } catch (const ScanError& e) {
        EXPECT_EQ(e.kind(), ScanError::Kind::readFailed);
        EXPECT_NE(std::string(e.what()).find("No such file or directory"), std::string::npos) << e.what();
    }

    fs::remove_all(root + "/many");

    // A link loop between folders is never followed: the scan ends normally.
    fs::create_directory_symlink("..", root + "/src/app/up");
    fs::create_directory_symlink(root + "/src", root + "/src/lib/again");
    EXPECT_EQ(scanFolder(root, dir / "support").symbols.size(), 14u);

    // A dangling link with a source name reads as a missing file, and a link named like a
    // source file that leads to a folder as a folder: both stop the scan with their path.
    for (auto [link, target] : {std::pair{"src/gone.ts", "nowhere.ts"}, std::pair{"src/cycle.js", "."}}) {
        std::string path = root + "/" + link;
        fs::create_symlink(target, path);
        auto result = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err.rfind("vantrel-cli scan: scan failed: Could not read " + path + ": ", 0), 0u)
            << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        fs::remove(path);
    }
}

// Names are text in ids, records and output: a newline stays a newline, bytes that are not
// UTF-8 show as U+FFFD and their hex value, the same on a cold and a warm scan.
TEST(HostileInput, NamesWithNewlinesAndNonUtf8BytesKeepTheirEdges) {
    TempDir dir;
    std::string root = dir / "project";
    dir.write("project/src/a.ts", "export function g() { return 1; }\n");
    dir.write("project/src/b\xff.ts", "import { g } from './a';\nexport function f() { return g(); }\n");
    dir.write("project/src/new\nline.ts", "export function n() { return g(); }\n");
    dir.write("project/pk\xfe/util.py", "def helper():\n    return 1\n");
    dir.write("project/pk\xfe/app.py", "from .util import helper\n\ndef main():\n    helper()\n");

    ProjectIR cold = scanFolder(root, dir / "support");
    const auto& symbols = cold.symbols;
    EXPECT_EQ(symbols
                  .at("src/b\xEF\xBF\xBD"
                      "FF.ts:f:function")
                  .refsOut,
              IdSet{"src/a.ts:g:function"});
    EXPECT_EQ(symbols.at("src/new\nline.ts:n:function").refsOut, IdSet{"src/a.ts:g:function"});
    EXPECT_EQ(symbols
                  .at("pk\xEF\xBF\xBD"
                      "FE/app.py:main:function")
                  .refsOut,
              IdSet{"pk\xEF\xBF\xBD"
                    "FE/util.py:helper:function"});
    EXPECT_EQ(normalized(scanFolder(root, dir / "support")), normalized(cold));

    // The headless tool writes them as JSON that reads back.
    auto result = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(normalized(decodeProjectIR(result.out)), normalized(cold));
}

// Configuration files of 10 MB: a usable tsconfig is used, brackets nested ten million deep
// count as no file at all, in the tsconfig and in the project's own file alike.
TEST(HostileInput, TenMegabyteConfigurationFiles) {
    TempDir dir;
    std::string root = dir.copyFixture("js-project");
    std::string reference = normalized(scanFolder(root, dir / "support-0"));

    std::string padded = *readWholeFile(root + "/tsconfig.json");
    padded.insert(padded.find('{') + 1, "\"padding\": [" + repeat("\"0123456789\", // filler\n", 440000) + "],");
    ASSERT_GT(padded.size(), 10u << 20);
    dir.write("project/tsconfig.json", padded);
    EXPECT_EQ(normalized(scanFolder(root, dir / "support-1")), reference);

    // Refused at the 65th bracket, before ten million levels of document are built.
    std::string nested(10u << 20, '[');
    try {
        (void)decodeProjectIR(nested);
        ADD_FAILURE() << "brackets decoded";
    } catch (const DecodeError& e) {
        EXPECT_NE(std::string(e.what()).find("nested deeper than 64 levels"), std::string::npos) << e.what();
    }
    dir.write("project/tsconfig.json", nested);
    ProjectIR withoutTsconfig = scanFolder(root, dir / "support-2");
    fs::remove(root + "/tsconfig.json");
    EXPECT_EQ(normalized(withoutTsconfig), normalized(scanFolder(root, dir / "support-3")));

    dir.write("project/vantrel.json", nested);
    auto result = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache", "--quiet"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(normalized(decodeProjectIR(result.out)), normalized(withoutTsconfig));
}

std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> snapshot(const std::string& root) {
    std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        entries[entry.path().string()] = {entry.is_regular_file() ? entry.file_size() : 0, entry.last_write_time()};
    return entries;
}

// A read-only project is only read (also when the test runs as root, where permissions
// would not stop a write), and a cache location that is a file costs the edges, not the scan.
TEST(HostileInput, ReadOnlyProjectAndACacheFolderThatIsAFile) {
    TempDir dir;
    std::string root = dir.copyFixture("scan-project");
    auto before = snapshot(root);
    for (const auto& [path, info] : before)
        fs::permissions(path, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                        fs::perm_options::remove);
    fs::permissions(root, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);

    dir.write("cache", "not a folder");
    auto result = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "cache"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.err.find("7 files (7 parsed, 0 from cache), 14 symbols, 0 edges, 4 diagnostics"),
              std::string::npos)
        << result.err;
    auto warm = runCommand({VANTREL_CLI_PATH, "scan", root, "--cache-dir", dir / "support", "--quiet"});
    ASSERT_EQ(warm.exitCode, 0) << warm.err;
    EXPECT_EQ(snapshot(root), before);
    fs::permissions(root, fs::perms::owner_all, fs::perm_options::add);
}

}  // namespace
}  // namespace vantrel
