#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "ScratchDir.h"
#include "cache/Hashing.h"
#include "cache/ProjectCache.h"
#include "util/FileIO.h"

using namespace vantrel;
using vantrel::testing::ScratchDir;
using Strings = std::vector<std::string>;
namespace fs = std::filesystem;

namespace {

const std::string kRoot = "/work/projects/shop";  // only hashed, never created

CachedFileResult sampleRecord() {
    CachedFileResult record;
    record.fileHash = std::string(64, 'a');
    Symbol f;
    f.id = "src/a.ts:f:function";
    f.range = TextRange{1, 1, 1, 23};
    record.symbols.push_back(f);
    record.imports = {{"./b", "src/b.ts"}};
    record.calls = {{"src/a.ts:f:function", "g"}, {"src/a.ts:f:function", "gr\xC3\xB6\xC3\x9F" "e"}};
    record.diagnostics = {
        {"src/a.ts", "lodash/fp", ResolutionDiagnostic::Reason::externalModule, std::nullopt},
        {"src/a.ts", "./c", ResolutionDiagnostic::Reason::fileNotFound, std::string("src/c.tsx")},
    };
    return record;
}

std::vector<std::string> listing(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST(ProjectCache, RecordsRoundTripInTheDocumentedLayout) {
    ScratchDir support;
    ProjectCache cache(support.path());
    CachedFileResult record = sampleRecord();
    ProjectCacheMeta meta{3, std::string(64, 'b'), 12.5};
    cache.saveFile(record, kRoot, "src/a.ts");
    cache.saveMeta(meta, kRoot);

    EXPECT_EQ(cache.loadFile(kRoot, "src/a.ts"), record);
    EXPECT_EQ(cache.loadMeta(kRoot), meta);
    EXPECT_FALSE(cache.loadFile(kRoot, "lib/a.ts"));  // same name elsewhere is another record

    std::string project = support.path() + "/Vantrel/cache/v2/" + sha256Hex(kRoot);
    EXPECT_EQ(listing(project), (Strings{"files", "meta.json"}));
    EXPECT_EQ(listing(project + "/files"), Strings{sha256Hex("src/a.ts") + ".json"});

    // Compact, keys sorted at every level, "/" escaped, non-ASCII as itself, no null suggestion.
    EXPECT_EQ(readWholeFile(project + "/files/" + sha256Hex("src/a.ts") + ".json"),
              R"({"calls":[{"calleeName":"g","callerId":"src\/a.ts:f:function"},)"
              R"({"calleeName":"gr)" "\xC3\xB6\xC3\x9F" R"(e","callerId":"src\/a.ts:f:function"}],)"
              R"("diagnostics":[{"importPath":"lodash\/fp","importerPath":"src\/a.ts","reason":"externalModule"},)"
              R"({"importPath":".\/c","importerPath":"src\/a.ts","reason":"fileNotFound","suggestion":"src\/c.tsx"}],)"
              R"("fileHash":")" + std::string(64, 'a') + R"(","imports":{".\/b":"src\/b.ts"},)"
              R"("symbols":[{"id":"src\/a.ts:f:function","kind":"function",)"
              R"("range":{"endCol":23,"endLine":1,"startCol":1,"startLine":1},"refsIn":[],"refsOut":[]}]})");
    EXPECT_EQ(readWholeFile(project + "/meta.json"),
              R"({"keyHash":")" + std::string(64, 'b') + R"(","schema":3,"updatedAt":12.5})");
}

TEST(ProjectCache, ProjectFolderFollowsTheStandardisedPath) {
    ScratchDir support;
    ProjectCache cache(support.path());
    auto dir = cache.projectDirURL(kRoot);
    ASSERT_TRUE(dir);
    Strings variants{kRoot + "/", kRoot + "/.", kRoot + "/./", kRoot + "/src/..", "/work//projects/shop"};
    for (const auto& variant : variants)
        EXPECT_EQ(cache.projectDirURL(variant), dir) << variant;
    EXPECT_NE(cache.projectDirURL("/work/projects/Shop"), dir);
    // Path functions make the folders even for a reader.
    EXPECT_TRUE(isDirectory(*dir + "/files"));
}

TEST(ProjectCache, DamagedRecordsReadAsNone) {
    ScratchDir support;
    ProjectCache cache(support.path());
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    std::string path = *cache.projectDirURL(kRoot) + "/files/" + sha256Hex("src/a.ts") + ".json";
    std::string full = *readWholeFile(path);

    ASSERT_TRUE(writeFileAtomically(path, full.substr(0, full.size() / 2)));
    EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");  // the next write replaces it
    EXPECT_EQ(cache.loadFile(kRoot, "src/a.ts"), sampleRecord());

    // Every key is required, lists included; unknown keys are ignored.
    const char* base = R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})";
    EXPECT_TRUE(decodeFileRecord(base));
    EXPECT_TRUE(decodeFileRecord(R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[],"x":1})"));
    const char* broken[] = {
        R"({"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":null,"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[],"imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{}})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{"a":1},"symbols":[]})",
        R"({"calls":[{"callerId":"x"}],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[{"importerPath":"a","importPath":"b","reason":"gone"}],)"
        R"("fileHash":"h","imports":{},"symbols":[]})",
        R"({"calls":[],"diagnostics":[],"fileHash":"h","imports":{},"symbols":[{"id":"a:f:function",)"
        R"("kind":"function","range":{"startLine":1,"startCol":1,"endLine":1,"endCol":2},"refsIn":[]}]})",
        R"({"calls":{},"diagnostics":[],"fileHash":"h","imports":{},"symbols":[]})",
        "[]",
    };
    for (const char* text : broken) EXPECT_FALSE(decodeFileRecord(text)) << text;
}

TEST(ProjectCache, MetaIsReadStrictlyButSchemaIsNotJudgedHere) {
    ScratchDir support;
    ProjectCache cache(support.path());
    std::string path = *cache.projectDirURL(kRoot) + "/meta.json";

    ASSERT_TRUE(writeFileAtomically(path, R"({"keyHash":"k","schema":2,"updatedAt":7})"));
    auto old = cache.loadMeta(kRoot);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->schema, 2);
    EXPECT_EQ(old->updatedAt, 7.0);

    ASSERT_TRUE(writeFileAtomically(path, R"({"keyHash":"k","schema":3})"));
    EXPECT_FALSE(cache.loadMeta(kRoot));
    ASSERT_TRUE(writeFileAtomically(path, R"({"keyHash":"k","schema":"3","updatedAt":7})"));
    EXPECT_FALSE(cache.loadMeta(kRoot));
    ASSERT_TRUE(writeFileAtomically(path, R"({"keyHash":"k","schema":3,"updatedAt":"2024-01-01T00:00:00Z"})"));
    EXPECT_FALSE(cache.loadMeta(kRoot));

    auto fresh = ProjectCacheMeta::make("abc");
    EXPECT_EQ(fresh.schema, 3);
    EXPECT_GT(fresh.updatedAt, 7e8);  // reference-date seconds: past 2023, far below Unix seconds
    EXPECT_LT(fresh.updatedAt, 1.5e9);
}

TEST(ProjectCache, InvalidateAndClearLeaveEmptyFolders) {
    ScratchDir support;
    ProjectCache cache(support.path());
    const std::string other = "/work/projects/other";
    cache.saveMeta(ProjectCacheMeta::make("k"), kRoot);
    cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
    cache.saveFile(sampleRecord(), other, "src/a.ts");

    cache.invalidateProject(kRoot);
    std::string project = support.path() + "/Vantrel/cache/v2/" + sha256Hex(kRoot);
    EXPECT_EQ(listing(project), Strings{"files"});
    EXPECT_EQ(listing(project + "/files"), Strings{});
    EXPECT_FALSE(cache.loadMeta(kRoot));
    EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
    EXPECT_TRUE(cache.loadFile(other, "src/a.ts"));

    support.write("Vantrel/cache/notes.txt", "kept");
    support.write("Vantrel/cache/v1/old.json", "{}");
    cache.clearAll();
    EXPECT_EQ(cache.cacheRootURL(), support.path() + "/Vantrel/cache/v2");
    EXPECT_EQ(listing(support.path() + "/Vantrel/cache"), (Strings{"notes.txt", "v1", "v2"}));
    EXPECT_EQ(listing(support.path() + "/Vantrel/cache/v2"), Strings{});
    EXPECT_FALSE(cache.loadFile(other, "src/a.ts"));
}

TEST(ProjectCache, UnusableSupportFolderMakesEverythingANoOp) {
    ScratchDir scratch;
    std::string blocker = scratch.write("support", "a file where a folder should be");
    for (const auto& cache : {ProjectCache(blocker), ProjectCache(std::nullopt)}) {
        EXPECT_FALSE(cache.cacheRootURL());
        EXPECT_FALSE(cache.projectDirURL(kRoot));
        cache.saveMeta(ProjectCacheMeta::make("k"), kRoot);
        cache.saveFile(sampleRecord(), kRoot, "src/a.ts");
        EXPECT_FALSE(cache.loadMeta(kRoot));
        EXPECT_FALSE(cache.loadFile(kRoot, "src/a.ts"));
        cache.invalidateProject(kRoot);
        cache.clearAll();
    }
    EXPECT_EQ(readWholeFile(blocker), "a file where a folder should be");

    // A project whose "files" folder can't be made is unusable as a whole, meta included.
    ProjectCache cache(scratch.at("ok"));
    std::string project = *cache.projectDirURL(kRoot);
    fs::remove(project + "/files");
    scratch.write("ok/Vantrel/cache/v2/" + sha256Hex(kRoot) + "/files", "blocked");
    cache.saveMeta(ProjectCacheMeta::make("k"), kRoot);
    EXPECT_FALSE(fs::exists(project + "/meta.json"));
    EXPECT_FALSE(cache.loadMeta(kRoot));
}

TEST(ProjectCache, ConcurrentWritersOfAFreshProject) {
    ScratchDir support;
    ProjectCache cache(support.path());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 25; ++i) {
                CachedFileResult record = sampleRecord();
                record.fileHash = std::to_string(t * 100 + i);
                cache.saveFile(record, kRoot, "src/" + std::to_string(t) + "/" + std::to_string(i) + ".ts");
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 25; ++i) {
            auto record = cache.loadFile(kRoot, "src/" + std::to_string(t) + "/" + std::to_string(i) + ".ts");
            ASSERT_TRUE(record);
            EXPECT_EQ(record->fileHash, std::to_string(t * 100 + i));
        }
    EXPECT_EQ(listing(*cache.projectDirURL(kRoot) + "/files").size(), 100u);  // no temporary files left
}

TEST(CacheKey, EncodingAndHash) {
    CacheKey minimal{{"js-family", "python"}, {"**/node_modules/**"}, std::nullopt, std::nullopt};
    EXPECT_EQ(encodeCacheKey(minimal), R"({"exclude":["**\/node_modules\/**"],"pluginIds":["js-family","python"]})");
    EXPECT_EQ(keyHash(minimal), sha256Hex(encodeCacheKey(minimal)));

    CacheKey full{{"python"}, {"b", "a", "b"}, Strings{"python", "cobol"}, std::string("f00d")};
    EXPECT_EQ(encodeCacheKey(full),
              R"({"enabledLanguages":["python","cobol"],"exclude":["b","a","b"],"pluginIds":["python"],)"
              R"("tsconfigHash":"f00d"})");

    CacheKey reordered = full;
    reordered.exclude = {"a", "b", "b"};
    EXPECT_NE(keyHash(reordered), keyHash(full));
    CacheKey emptyLanguages = minimal;
    emptyLanguages.enabledLanguages = Strings{};
    EXPECT_NE(keyHash(emptyLanguages), keyHash(minimal));
    EXPECT_EQ(keyHash(minimal).size(), 64u);
}

TEST(CacheKey, TsconfigHashReadsOnlyTheRootFiles) {
    ScratchDir root;
    root.write("packages/app/tsconfig.json", "{}");
    EXPECT_FALSE(tsconfigHash(root.path()));

    root.write("jsconfig.json", "{ }");
    EXPECT_EQ(tsconfigHash(root.path()), sha256Hex("{ }"));
    // A folder of that name can't be read, so the other file stands in.
    root.mkdir("tsconfig.json");
    EXPECT_EQ(tsconfigHash(root.path()), sha256Hex("{ }"));
    fs::remove(root.at("tsconfig.json"));
    root.write("tsconfig.json", "{\"compilerOptions\": {}}\n");
    EXPECT_EQ(tsconfigHash(root.path() + "/"), sha256Hex("{\"compilerOptions\": {}}\n"));
}

TEST(ProjectCache, SupportFolderFromTheEnvironment) {
    // Only computes a path; nothing is created or read there.
    auto saved = [](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    auto restore = [](const char* name, const std::optional<std::string>& value) {
        if (value) ::setenv(name, value->c_str(), 1);
        else ::unsetenv(name);
    };
    auto dataHome = saved("XDG_DATA_HOME");
    auto home = saved("HOME");

    ::setenv("XDG_DATA_HOME", "/xdg/data/", 1);
    ::setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(defaultApplicationSupportDirectory(), "/xdg/data");
    ::setenv("XDG_DATA_HOME", "relative/data", 1);
    EXPECT_EQ(defaultApplicationSupportDirectory(), "/home/someone/.local/share");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(defaultApplicationSupportDirectory(), "/home/someone/.local/share");
    ::unsetenv("HOME");
    EXPECT_FALSE(defaultApplicationSupportDirectory());

    restore("XDG_DATA_HOME", dataHome);
    restore("HOME", home);
}
