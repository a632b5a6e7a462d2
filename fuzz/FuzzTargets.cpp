#include "fuzz/FuzzTargets.h"

#include "fuzz/SyntaxWalkCheck.h"

#include <cstring>
#include <optional>

#include "core/cache/ProjectCache.h"
#include "core/config/GlobalDefaults.h"
#include "core/config/PathGlobMatcher.h"
#include "core/config/VantrelConfig.h"
#include "core/export/ProjectExport.h"
#include "core/languages/js/JSFamilyPlugin.h"
#include "core/languages/python/PythonPlugin.h"
#include "core/model/IRJson.h"
#include "core/resolution/PythonImports.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/scan/FileAnalysis.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel::fuzz {

namespace {

std::string& fixturesDir() {
    static std::string dir;
    return dir;
}

void require(bool holds, const std::string& what) {
    if (!holds) throw InvariantBroken(what);
}

// UTF-8 is decoded as the scan decodes it. Other bytes are taken as UTF-16 code units,
// so that NULs, lone surrogates and any other unit reach the parser and the passes too.
std::u16string textOf(std::string_view bytes) {
    if (auto text = utf8ToUtf16(bytes)) return *text;
    std::u16string units(bytes.size() / 2, u'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * 2);
    return units;
}

// What any analysis must give: ids and call sites of this file only, positions from 1,
// and a cache record that reads back as the same record.
void checkAnalysis(const FileAnalysisResult& result, const std::string& relPath) {
    std::string prefix = relPath + ":";
    for (const auto& symbol : result.symbols) {
        require(symbol.id.starts_with(prefix), "symbol id outside the file: " + symbol.id);
        require(symbol.id.ends_with(":" + std::string(rawValue(symbol.kind))), "id without its kind: " + symbol.id);
        const TextRange& r = symbol.range;
        require(r.startLine >= 1 && r.startCol >= 1 && r.endLine >= 1 && r.endCol >= 1, "position below 1");
        require(r.startLine < r.endLine || (r.startLine == r.endLine && r.startCol <= r.endCol), "range ends first");
    }
    for (const auto& call : result.calls) {
        require(call.callerId.starts_with(prefix), "caller outside the file: " + call.callerId);
        require(!call.calleeName.empty(), "empty callee name");
    }
    for (const auto& diagnostic : result.diagnostics)
        require(diagnostic.importerPath == relPath, "diagnostic of another file: " + diagnostic.importerPath);

    for (const auto& site : result.sites) {
        require(site.callerId.starts_with(prefix), "site's caller outside the file: " + site.callerId);
        require(!site.callee.empty(), "empty callee expression");
        require(site.line >= 0 && site.column >= 0, "site before the file");
    }

    CachedFileResult record{std::string(64, 'a'), result.symbols, result.imports, result.calls,
                            result.diagnostics,   result.sites,   result.facts};
    auto decoded = decodeFileRecord(encodeFileRecord(record));
    require(decoded && *decoded == record, "the cache record does not read back as written");
}

void analyze(const LanguagePlugin& plugin, const char* project, const std::string& relPath, std::string_view bytes) {
    static const std::optional<TSConfigResolver> tsconfig =
        TSConfigResolver::loadIfPresent(appendPathComponent(fixturesDir(), "js-project"));
    std::string root = appendPathComponent(fixturesDir(), project);
    EnumeratedFile file{appendPathComponent(root, relPath), relPath, lowercased(pathExtension(relPath))};
    std::u16string text = textOf(bytes);
    // Both linking modes: precise mode's walk sees every node the names mode's does.
    for (LinkingMode linking : {LinkingMode::names, LinkingMode::precise})
        checkAnalysis(analyzeSource(plugin, file, text, root, tsconfig ? &*tsconfig : nullptr, linking), relPath);
}

// The analysis walks find exactly what the queries they stand in for find.
void checkWalk(WalkedLanguage language, std::string_view bytes) {
    std::u16string text = textOf(bytes);
    if (text.size() * 2 > AnalysisLimits::maxFileBytes) return;
    std::string mismatch = syntaxWalkMismatch(language, text);
    require(mismatch.empty(), mismatch);
}

void jsAnalysis(std::string_view bytes) {
    analyze(JSFamilyPlugin(), "js-project", "src/fuzzed.tsx", bytes);
    checkWalk(WalkedLanguage::jsFamily, bytes);
}

void pythonAnalysis(std::string_view bytes) {
    analyze(PythonPlugin(), "python-project", "shop/checkout/fuzzed.py", bytes);
    checkWalk(WalkedLanguage::python, bytes);
}

void pythonImportStatement(std::string_view bytes) {
    std::string root = appendPathComponent(fixturesDir(), "python-project");
    std::string importer = appendPathComponent(root, "shop/checkout/fuzzed.py");
    for (const ImportEntry& entry : parsePythonImportStatement(bytes)) {
        PythonResolution resolution =
            resolvePythonModule(entry.moduleSpec, importer, root, entry.preferSubmodule, entry.submoduleName);
        if (resolution.outcome == PythonResolution::Outcome::resolved)
            require(pathExists(resolvePath(root, resolution.path)), "resolved to nothing: " + resolution.path);
        pythonImportDiagnostic(resolution, "shop/checkout/fuzzed.py", entry.displayImportPath);
    }
}

// Decoding may fail only with DecodeError; what decodes writes out and reads back alike.
void projectIRJson(std::string_view bytes) {
    ProjectIR ir;
    try {
        ir = decodeProjectIR(bytes);
    } catch (const DecodeError&) {
        return;
    }
    std::string written;
    try {
        written = ProjectExport::projectIRJSON(ir, false);
    } catch (const EncodeError&) {
        return;  // a lastScan the format cannot hold
    }
    require(ProjectExport::projectIRJSON(decodeProjectIR(written), false) == written, "export does not read back");
}

// The text with a space after every '{', '[', ',' and ':' that stands outside a string.
// White space there changes nothing for a JSON reader, but it turns the record reader
// off its shortcut for the written form onto its general path: the two must agree.
std::string spacedOut(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        out.push_back(c);
        if (inString) {
            if (c == '\\' && i + 1 < text.size()) out.push_back(text[++i]);
            else if (c == '"') inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[' || c == ',' || c == ':') {
            out.push_back(' ');
        }
    }
    return out;
}

void cacheRecords(std::string_view bytes) {
    std::string spaced = spacedOut(bytes);
    for (RecordFields keep : {RecordFields::all, RecordFields::symbols, RecordFields::links})
        require(decodeFileRecord(bytes, keep) == decodeFileRecord(spaced, keep),
                "the written form's shortcut and the general reader disagree");
    if (auto record = decodeFileRecord(bytes)) {
        std::string written = encodeFileRecord(*record);
        auto again = decodeFileRecord(written);
        require(again && *again == *record && encodeFileRecord(*again) == written, "file record does not read back");
        require(decodeFileRecord(spacedOut(written)) == again, "a spaced-out record reads differently");
    }
    if (auto meta = decodeMeta(bytes)) {
        std::string written = encodeMeta(*meta);
        auto again = decodeMeta(written);
        require(again && *again == *meta && encodeMeta(*again) == written, "meta record does not read back");
    }
}

void projectConfig(std::string_view bytes) {
    auto config = VantrelConfig::decode(bytes);
    if (!config) return;
    VantrelConfig merged = mergeConfig(defaultGlobalConfig(), config);
    PathGlobMatcher matcher(merged.exclude);
    matcher.matches("src/app.ts");
    matcher.matches(bytes);
    CacheKey key{{"js-family", "python"}, merged.exclude, merged.enabledLanguages, std::nullopt};
    require(keyHash(key).size() == 64, "no key hash");
}

void tsconfigLoader(std::string_view bytes) {
    std::string cleaned = TSConfigResolver::sanitizeJSON5ish(bytes);
    require(cleaned.size() <= bytes.size(), "cleaning made the text longer");
    auto resolver = TSConfigResolver::decode(bytes, appendPathComponent(fixturesDir(), "js-project"));
    if (!resolver) return;
    std::vector<std::string> specs{"@/util/math", "config", "lib/config", "utils/format", "react"};
    for (const auto& [key, targets] : resolver->config().paths) specs.push_back(replaceAll(key, "*", "util/math"));
    for (const auto& specifier : specs) {
        if (auto hit = resolver->resolveNonRelative(specifier))
            require(pathExists(*hit), "resolved to nothing: " + *hit);
    }
}

// The first line is the path, every further line a pattern.
void globMatcher(std::string_view bytes) {
    auto lines = splitKeepingEmpty(bytes, "\n");
    std::string_view path = lines.front();
    std::vector<std::string> patterns(lines.begin() + 1, lines.end());
    PathGlobMatcher(patterns).matches(path);

    std::string_view trimmed = path;
    while (!trimmed.empty() && trimmed.front() == '/') trimmed.remove_prefix(1);
    while (!trimmed.empty() && trimmed.back() == '/') trimmed.remove_suffix(1);
    for (const auto& pattern : patterns) {
        // A pattern matches its own text, and a pattern of stars alone matches anything.
        if (!pattern.empty() && pattern.front() != '/' && pattern.back() != '/')
            require(PathGlobMatcher({pattern}).matches(pattern), "pattern misses its own text: " + pattern);
        if (pattern.find_first_not_of('*') == std::string::npos && !pattern.empty())
            require(PathGlobMatcher({pattern}).matches(path), "stars miss a path");
        if (pattern.find_first_of("*?") == std::string::npos && pattern == trimmed)
            require(PathGlobMatcher({pattern}).matches(path), "literal pattern misses its path");
    }
}

}  // namespace

const std::vector<Target>& allTargets() {
    static const std::vector<Target> targets{
        {"js_analysis", jsAnalysis},
        {"python_analysis", pythonAnalysis},
        {"python_import", pythonImportStatement},
        {"projectir_json", projectIRJson},
        {"cache_records", cacheRecords},
        {"project_config", projectConfig},
        {"tsconfig", tsconfigLoader},
        {"glob", globMatcher},
    };
    return targets;
}

const Target* findTarget(std::string_view name) {
    for (const auto& target : allTargets())
        if (name == target.name) return &target;
    return nullptr;
}

void setFixturesDir(std::string dir) { fixturesDir() = std::move(dir); }

}  // namespace vantrel::fuzz
