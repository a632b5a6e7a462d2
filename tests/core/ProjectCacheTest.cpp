#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "core/cache/Hashing.h"
#include "core/cache/ProjectCache.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

using namespace vantrel;
using vantrel::testing::TempDir;
using Strings = std::vector<std::string>;
namespace fs = std::filesystem;

namespace {

const std::string kRoot = "/work/projects/shop";  // only hashed, never created
const std::string kHash(64, 'a');

CachedFileResult sampleRecord() {
    Symbol f{"src/a.ts:f:function", SymbolKind::function, TextRange{1, 1, 1, 23}, {}, {}};
    return CachedFileResult{
        kHash,
        {f},
        {{"./b", "src/b.ts"}},
        {{"src/a.ts:f:function", "g"},
         {"src/a.ts:f:function",
          "gr\xC3\xB6\xC3\x9F"
          "e"}},
        {{"src/a.ts", "lodash/fp", ResolutionDiagnostic::Reason::externalModule, std::nullopt},
         {"src/a.ts", "./c", ResolutionDiagnostic::Reason::fileNotFound, std::string("src/c.tsx")}}};
}

Strings listing(const std::string& folder) {
    Strings names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST(ProjectCache, RecordsRoundTripInTheDocumentedLayout) {
    TempDir support;
    ProjectCache cache(support.path());
    ProjectCacheMeta meta{3, std::string(64, 'b'), 12.5};
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    cache.saveMeta(meta, kRoot);
    EXPECT_EQ(cache.loadFile(kRoot, "src/a.ts"), sampleRecord());
    EXPECT_EQ(cache.loadMeta(kRoot), meta);
    EXPECT_FALSE(cache.loadFile(kRoot, "lib/a.ts"));  // the whole relPath names the record

    std::string project = support.path() + "/Vantrel/cache/v2/" + sha256Hex(kRoot);
    EXPECT_EQ(listing(project), (Strings{"files", "meta.json"}));
    EXPECT_EQ(listing(project + "/files"), Strings{sha256Hex("src/a.ts") + ".json"});
    // Compact, keys sorted at every level, "/" escaped, non-ASCII as itself, absent suggestion left out.
    EXPECT_EQ(readWholeFile(project + "/files/" + sha256Hex("src/a.ts") + ".json"),
              R"({"calls":[{"calleeName":"g","callerId":"src\/a.ts:f:function"},)"
              R"({"calleeName":"gr)"
              "\xC3\xB6\xC3\x9F"
              R"(e","callerId":"src\/a.ts:f:function"}],)"
              R"("diagnostics":[{"importPath":"lodash\/fp","importerPath":"src\/a.ts","reason":"externalModule"},)"
              R"({"importPath":".\/c","importerPath":"src\/a.ts","reason":"fileNotFound","suggestion":"src\/c.tsx"}],)"
              R"("fileHash":")" +
                  kHash +
                  R"(","imports":{".\/b":"src\/b.ts"},)"
                  R"("symbols":[{"id":"src\/a.ts:f:function","kind":"function",)"
                  R"("range":{"endCol":23,"endLine":1,"startCol":1,"startLine":1},"refsIn":[],"refsOut":[]}]})");
    EXPECT_EQ(readWholeFile(project + "/meta.json"),
              R"({"keyHash":")" + std::string(64, 'b') + R"(","schema":3,"updatedAt":12.5})");

    for (const auto& variant : Strings{kRoot + "/", kRoot + "/./", kRoot + "/src/..", "/work//projects/shop"})
        EXPECT_EQ(cache.projectDirURL(variant), project) << variant;
    EXPECT_NE(cache.projectDirURL("/work/projects/Shop"), project);
}

TEST(ProjectCache, DamagedRecordsReadAsNone) {
    TempDir support;
    ProjectCache cache(support.path());
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    std::string path = *cache.projectDirURL(kRoot) + "/files/" + sha256Hex("src/a.ts") + ".json";
    ASSERT_TRUE(writeFileAtomically(path, readWholeFile(path)->substr(0, 100)));
    EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");  // the next write replaces it
    EXPECT_EQ(cache.loadFile(kRoot, "src/a.ts"), sampleRecord());

    // Every key is required with its type, lists included; unknown keys are ignored.
    EXPECT_TRUE(decodeFileRecord(R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[],"x":1})"));
    const char* broken[] = {
        R"({"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":null,"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{"a":1},"symbols":[]})",
        R"({"calls":[{"callerId":"x"}],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[{"id":"a:f:function",)"
        R"("kind":"function","range":{"startLine":1,"startCol":1,"endLine":1,"endCol":2},"refsIn":[]}]})",
    };
    for (const char* text : broken) EXPECT_FALSE(decodeFileRecord(text)) << text;

    // An old schema still reads (the scan's gate rejects it); a missing updatedAt does not.
    std::string meta = *cache.projectDirURL(kRoot) + "/meta.json";
    ASSERT_TRUE(writeFileAtomically(meta, R"({"keyHash":"k","schema":2,"updatedAt":7})"));
    EXPECT_EQ(cache.loadMeta(kRoot), (ProjectCacheMeta{2, "k", 7}));
    ASSERT_TRUE(writeFileAtomically(meta, R"({"keyHash":"k","schema":3})"));
    EXPECT_FALSE(cache.loadMeta(kRoot));
    // Seconds since 2001, not since 1970.
    EXPECT_LT(ProjectCacheMeta::make("k").updatedAt, 1.5e9);
}

TEST(ProjectCache, InvalidateAndClearLeaveEmptyFolders) {
    TempDir support;
    ProjectCache cache(support.path());
    cache.saveMeta(ProjectCacheMeta::make("k"), kRoot);
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    cache.saveFile(sampleRecord(), "/work/projects/other", "src/a.ts");
    // What an invalidation killed half-way leaves: the folder it had moved aside.
    std::string killed = sha256Hex(kRoot) + ".trash-1-0";
    support.write("Vantrel/cache/v2/" + killed + "/files/" + kHash + ".json", "{}");

    cache.invalidateProject(kRoot);
    std::string project = support.path() + "/Vantrel/cache/v2/" + sha256Hex(kRoot);
    Strings projects{sha256Hex("/work/projects/other"), sha256Hex(kRoot)};
    std::sort(projects.begin(), projects.end());
    EXPECT_EQ(listing(support.path() + "/Vantrel/cache/v2"), projects);
    EXPECT_EQ(listing(project), Strings{"files"});
    EXPECT_EQ(listing(project + "/files"), Strings{});
    EXPECT_FALSE(cache.loadMeta(kRoot));
    EXPECT_TRUE(cache.loadFile("/work/projects/other", "src/a.ts"));

    support.write("Vantrel/cache/v1/old.json", "{}");
    cache.clearAll();
    EXPECT_EQ(listing(support.path() + "/Vantrel/cache"), (Strings{"v1", "v2"}));
    EXPECT_EQ(listing(support.path() + "/Vantrel/cache/v2"), Strings{});
}

TEST(ProjectCache, ALoadMakesTheFoldersItFindsMissing) {
    TempDir support;
    ProjectCache cache(support.path());
    std::string files = support.path() + "/Vantrel/cache/v2/" + sha256Hex(kRoot) + "/files";
    // Reading alone makes the folders, in a fresh support folder and after the project's
    // folder was removed behind the cache's back; a record found needs nothing made.
    EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
    EXPECT_TRUE(fs::is_directory(files));
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    EXPECT_TRUE(cache.loadFile(kRoot, "src/a.ts"));
    fs::remove_all(support.path() + "/Vantrel");
    EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
    EXPECT_TRUE(fs::is_directory(files));
    EXPECT_EQ(listing(files), Strings{});
}

TEST(ProjectCache, UnusableSupportFolderMakesEverythingANoOp) {
    TempDir scratch;
    std::string blocker = scratch.write("support", "a file where a folder should be");
    for (const auto& cache : {ProjectCache(blocker), ProjectCache(std::nullopt)}) {
        EXPECT_FALSE(cache.cacheRootURL());
        cache.saveMeta(ProjectCacheMeta::make("k"), kRoot);
        cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
        EXPECT_FALSE(cache.loadMeta(kRoot));
        EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
        cache.invalidateProject(kRoot);
        cache.clearAll();
    }
    EXPECT_EQ(readWholeFile(blocker), "a file where a folder should be");
}

TEST(ProjectCache, ConcurrentWritersOfAFreshProject) {
    TempDir support;
    ProjectCache cache(support.path());
    auto relPath = [](int t, int i) { return "src/" + std::to_string(t) + "/" + std::to_string(i) + ".ts"; };
    // The first round makes new records, the second replaces them: the two ways a write
    // takes its name.
    for (std::string round : {"new-", "again-"}) {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&, t] {
                for (int i = 0; i < 25; ++i) {
                    CachedFileResult record = sampleRecord();
                    record.fileHash = round + relPath(t, i);
                    cache.saveFile(record, kRoot, relPath(t, i));
                }
            });
        for (auto& thread : threads) thread.join();
        for (int t = 0; t < 4; ++t)
            for (int i = 0; i < 25; ++i)
                EXPECT_EQ(cache.loadFile(kRoot, relPath(t, i))->fileHash, round + relPath(t, i));
        EXPECT_EQ(listing(*cache.projectDirURL(kRoot) + "/files").size(), 100u);  // no temporary files left
    }
}

TEST(CacheKey, EncodingHashAndTsconfig) {
    CacheKey minimal{{"js-family", "python"}, {"**/node_modules/**"}, std::nullopt, std::nullopt};
    EXPECT_EQ(encodeCacheKey(minimal), R"({"exclude":["**\/node_modules\/**"],"pluginIds":["js-family","python"]})");
    EXPECT_EQ(keyHash(minimal), sha256Hex(encodeCacheKey(minimal)));
    CacheKey full{{"python"}, {"b", "a", "b"}, Strings{"python", "cobol"}, std::string("f00d")};
    EXPECT_EQ(encodeCacheKey(full), R"({"enabledLanguages":["python","cobol"],"exclude":["b","a","b"],)"
                                    R"("pluginIds":["python"],"tsconfigHash":"f00d"})");
    CacheKey reordered = full;
    reordered.exclude = {"a", "b", "b"};
    EXPECT_NE(keyHash(reordered), keyHash(full));
    CacheKey emptyLanguages = minimal;
    emptyLanguages.enabledLanguages = Strings{};
    EXPECT_NE(keyHash(emptyLanguages), keyHash(minimal));

    // Only the root files count; an unreadable tsconfig.json (here a folder) falls back.
    TempDir root;
    root.write("packages/app/tsconfig.json", "{}");
    EXPECT_FALSE(tsconfigHash(root.path()));
    root.write("jsconfig.json", "{ }");
    fs::create_directory(root.at("tsconfig.json"));
    EXPECT_EQ(tsconfigHash(root.path()), sha256Hex("{ }"));
    fs::remove(root.at("tsconfig.json"));
    root.write("tsconfig.json", "{}\n");
    EXPECT_EQ(tsconfigHash(root.path() + "/"), sha256Hex("{}\n"));
}

TEST(ProjectCache, SupportFolderFromTheEnvironment) {
    // Only computes a path; nothing is created or read there.
    auto saved = [](const char* name) {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    auto dataHome = saved("XDG_DATA_HOME"), home = saved("HOME");
    ::setenv("XDG_DATA_HOME", "/xdg/data/", 1);
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(defaultApplicationSupportDirectory(), "/xdg/data");
    ::setenv("XDG_DATA_HOME", "relative/data", 1);  // invalid, so ignored
    EXPECT_EQ(defaultApplicationSupportDirectory(), "/home/someone/.local/share");
    ::unsetenv("HOME");
    EXPECT_FALSE(defaultApplicationSupportDirectory());
    for (auto [name, value] : {std::pair{"XDG_DATA_HOME", dataHome}, std::pair{"HOME", home}})
        value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
}
