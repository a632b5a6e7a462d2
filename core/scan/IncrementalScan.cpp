#include "core/scan/IncrementalScan.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <exception>
#include <iterator>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "core/cache/Hashing.h"
#include "core/languages/LanguagePlugin.h"
#include "core/resolution/ProjectPackages.h"
#include "core/resolution/TSConfigResolver.h"
#include "core/scan/FileAnalysis.h"
#include "core/scan/internal/GraphBuilder.h"
#include "core/scan/internal/Linker.h"
#include "core/scan/internal/PreciseLinker.h"
#include "core/scan/internal/ProjectFacts.h"
#include "core/scan/internal/SymbolNameIndex.h"
#include "core/util/FileIO.h"
#include "core/util/ParallelFor.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"
#include "core/util/Timestamp.h"

namespace vantrel {

namespace {

// Paths and case-folded names, each as a number the index gave it.
struct Reads {
    std::vector<std::uint32_t> files, names;
};

// What the index keeps of one file between updates.
struct FileState {
    std::string relPath;
    std::string hash;
    std::vector<std::string> ids;                   // its symbols, sorted
    std::vector<ResolutionDiagnostic> diagnostics;  // in the record's order
    std::vector<std::string> callees;               // names mode: the names it calls, sorted
    std::vector<std::string> words;                 // of its imports, sorted: see importWords
    std::string factsKey;                           // precise linking: the hash of its facts
    detail::FileSites sites;                        // precise linking: its call sites, compactly
    // Precise linking: what resolving its sites read, and what resolving its classes'
    // bases read (see LinkReads), as interned paths and names, sorted.
    Reads siteReads, baseReads;
};

void addWords(std::string_view text, std::vector<std::string>& out) {
    std::size_t start = 0;
    auto flush = [&](std::size_t end) {
        if (end > start) out.emplace_back(text.substr(start, end - start));
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (!(std::isalnum(c) || c == '_' || c == '$' || c >= 0x80)) {
            flush(i);
            start = i + 1;
        }
    }
    flush(text.size());
}

template <typename T>
void sortUnique(std::vector<T>& list) {
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

// The words of everything a file's imports resolved to or failed on: local names, resolved
// paths, import texts. A file that appears or goes can change how an import resolves only
// if the import's words include the file's stem (or, for an index or __init__ file, its
// folder's name), so these words pick the files to analyse again.
std::vector<std::string> importWords(const CachedFileResult& record) {
    std::vector<std::string> words;
    for (const auto& [local, path] : record.imports) {
        addWords(local, words);
        addWords(path, words);
    }
    for (const auto& diagnostic : record.diagnostics) addWords(diagnostic.importPath, words);
    for (const auto* bindings : {&record.facts.imports, &record.facts.exports})
        for (const auto& binding : *bindings) {
            addWords(binding.local, words);
            addWords(binding.path, words);
            addWords(binding.name, words);
        }
    sortUnique(words);
    return words;
}

// The words of the module names a file's source writes, read from its text: the strings
// on lines that import, require or re-export (`import * as ns from './b'`, `import './b'`,
// `require('./b')`, `export * from './b'`), strings that read as paths wherever they stand
// (a statement's module name on a line of its own), and Python's `from`/`import` lines
// whole, with their parenthesised continuation. Imports of these forms may leave no word
// in the analysis (a whole module bound, a module not there yet), yet a file appearing or
// going there changes how they resolve. Words too many only cost an analysis more.
std::vector<std::string> sourceImportWords(std::string_view source) {
    std::vector<std::string> words;
    bool continued = false;  // inside the parentheses of a Python import
    std::size_t start = 0;
    while (start < source.size()) {
        std::size_t end = source.find('\n', start);
        if (end == std::string_view::npos) end = source.size();
        const std::string_view line = source.substr(start, end - start);
        start = end + 1;
        if (continued) {
            addWords(line, words);
            continued = line.find(')') == std::string_view::npos;
            continue;
        }
        const std::size_t text = line.find_first_not_of(" \t");
        if (text == std::string_view::npos) continue;
        const std::string_view rest = line.substr(text);
        if (rest.starts_with("from ") || rest.starts_with("import ")) {
            addWords(rest, words);
            continued = rest.find('(') != std::string_view::npos && rest.find(')') == std::string_view::npos;
            continue;
        }
        const bool importing = line.find("import") != std::string_view::npos ||
                               line.find("require") != std::string_view::npos || line.find("from") != std::string_view::npos;
        for (std::size_t at = 0; at < line.size(); ++at) {
            const char quote = line[at];
            if (quote != '\'' && quote != '"' && quote != '`') continue;
            const std::size_t close = line.find(quote, at + 1);
            if (close == std::string_view::npos) break;
            const std::string_view literal = line.substr(at + 1, close - at - 1);
            const bool pathLike = literal.starts_with('.') || literal.starts_with('@') ||
                                  literal.find('/') != std::string_view::npos || at == text;
            if (importing || pathLike) addWords(literal, words);
            at = close;
        }
    }
    return words;
}

bool isFolderModule(const std::string& relPath) {
    std::string name = lastPathComponent(relPath);
    std::string stem = name.substr(0, name.find('.'));
    return stem == "index" || stem == "__init__" || stem == "__main__" || stem.empty();
}

// The words by which imports can name a file (see importWords): its stem, or for a folder's
// own module (index, __init__) the folder's name. Files inside that folder can also name
// it without a word ("." or ".."); the caller takes those by place.
std::vector<std::string> namingWords(const std::string& relPath) {
    std::vector<std::string> words;
    if (isFolderModule(relPath)) {
        addWords(lastPathComponent(deletingLastPathComponent(relPath)), words);
    } else {
        std::string name = lastPathComponent(relPath);
        addWords(name.substr(0, name.find('.')), words);
    }
    sortUnique(words);
    return words;
}

template <typename T>
bool intersects(const std::vector<T>& a, const std::vector<T>& b) {
    auto i = a.begin();
    auto j = b.begin();
    while (i != a.end() && j != b.end()) {
        if (*i < *j) ++i;
        else if (*j < *i) ++j;
        else return true;
    }
    return false;
}

// The ids a record gives the graph: a later symbol of one id replaces an earlier one.
std::map<std::string, const Symbol*> symbolsById(const CachedFileResult& record) {
    std::map<std::string, const Symbol*> byId;
    for (const auto& symbol : record.symbols) byId[symbol.id] = &symbol;
    return byId;
}

// The SHA-256 of a record's facts in the cache's encoding, read back once: the facts of a
// record read from the cache and of a fresh analysis are then compared alike.
std::string factsKeyOf(CachedFileResult& record) {
    CachedFileResult factsOnly;
    std::swap(factsOnly.facts, record.facts);
    std::string encoded = encodeFileRecord(factsOnly);
    std::swap(factsOnly.facts, record.facts);
    if (auto decoded = decodeFileRecord(encoded)) encoded = encodeFileRecord(*decoded);
    return sha256Hex(encoded);
}

FileState stateOf(const std::string& relPath, CachedFileResult& record, std::string_view source) {
    FileState state;
    state.relPath = relPath;
    state.hash = record.fileHash;
    for (const auto& [id, symbol] : symbolsById(record)) state.ids.push_back(id);
    state.diagnostics = record.diagnostics;
    for (const auto& call : record.calls) state.callees.push_back(call.calleeName);
    sortUnique(state.callees);
    state.words = importWords(record);
    auto written = sourceImportWords(source);
    state.words.insert(state.words.end(), written.begin(), written.end());
    sortUnique(state.words);
    if (!record.facts.empty()) state.factsKey = factsKeyOf(record);
    return state;
}

// A file an update reads afresh.
struct FreshFile {
    std::string rel;
    std::string bytes;
    std::string hash;
};

std::string_view nameOf(std::string_view id) {
    auto named = idNameAndFileLength(id);
    return named ? named->first : std::string_view();
}

}  // namespace

struct IncrementalScan::State {
    const SymbolScanner& scanner;
    std::string root;
    VantrelConfig config;
    std::int64_t permits;
    LinkingMode linking;
    ProjectCache cache;
    PluginList active;
    PluginByExt pluginByExt;
    PathGlobMatcher exclude;
    std::optional<TSConfigResolver> tsconfig;
    std::optional<ProjectPackages> packages;
    WorkerPool pool;

    ProjectIR ir;
    std::map<std::string, FileState> files;
    // Names mode: callee name -> the files calling it.
    std::unordered_map<std::string, std::vector<const FileState*>> callersOf;
    SymbolNameIndex index;  // borrows ir's keys; made again whenever the set of ids changes
    // Files met by the scan without a record to index (written meanwhile, or an unwritable
    // cache): analysed at the next update.
    std::set<std::string> pending;
    std::set<std::string> touched;  // of the update under way
    std::filesystem::file_time_type scanStarted{};
    bool trackTouched = true;       // off while every edge is made again
    // Precise linking: every file's facts and the linker over them, made at the full scan
    // and changed in place by updates (ProjectFacts::change).
    std::unique_ptr<detail::ProjectFacts> facts;
    std::unique_ptr<detail::PreciseLinker> linker;
    detail::SiteWriter siteWriter;  // the sites of files analysed by updates
    std::string siteScratch;
    // Precise linking: the numbers of paths and of names in the files' reads.
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    using Numbers = std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>>;
    Numbers pathNumbers, nameNumbers;
    std::string foldScratch;
    std::vector<std::string> numberedPaths;  // by number

    State(const SymbolScanner& s, std::string r, VantrelConfig c, std::int64_t p)
        : scanner(s),
          root(std::move(r)),
          config(std::move(c)),
          permits(std::max<std::int64_t>(1, p)),
          linking(config.linking.value_or(LinkingMode::names)),
          cache(s.cache().forLinking(linking)),
          active(activePlugins(s.plugins(), config.enabledLanguages)),
          pluginByExt(makeEnumerator(root, active).pluginByExt),
          exclude(config.exclude),
          pool(static_cast<std::size_t>(std::min<std::int64_t>(permits, 64))) {}

    FileAnalysisContext analysisContext() const {
        static const CancelCheck never;
        return FileAnalysisContext{root,   pluginByExt, tsconfig ? &*tsconfig : nullptr, cache, never, nullptr,
                                   linking, packages ? &*packages : nullptr};
    }

    void indexFile(FileState state) {
        auto [it, inserted] = files.insert_or_assign(state.relPath, std::move(state));
        for (const auto& name : it->second.callees) callersOf[name].push_back(&it->second);
    }

    void forgetFile(const std::string& relPath) {
        auto it = files.find(relPath);
        if (it == files.end()) return;
        for (const auto& name : it->second.callees) {
            auto callers = callersOf.find(name);
            if (callers == callersOf.end()) continue;
            std::erase(callers->second, &it->second);
            if (callers->second.empty()) callersOf.erase(callers);
        }
        files.erase(it);
    }

    bool includes(const std::string& rel, bool file) const {
        if (rel.empty()) return !file;
        std::string prefix;
        for (auto part : splitKeepingEmpty(rel, "/")) {
            if (part.empty() || part.front() == '.' || part == "node_modules") return false;
            if (!prefix.empty()) prefix.push_back('/');
            prefix.append(part);
            if (exclude.matches(prefix)) return false;
        }
        return !file || pluginByExt.count(lowercased(pathExtension(rel))) > 0;
    }

    EnumeratedFile enumerated(const std::string& rel) const {
        return EnumeratedFile{appendPathComponent(root, rel), rel, lowercased(pathExtension(rel))};
    }

    // Whether a known file other than those of `going` lies below `folder`.
    bool holdsOtherFiles(const std::string& folder, const std::set<std::string>& going) const {
        const std::string below = folder + "/";
        for (auto it = files.lower_bound(below); it != files.end() && it->first.starts_with(below); ++it)
            if (!going.count(it->first)) return true;
        return false;
    }

    // The known files whose imports may resolve otherwise now that `added` appeared and
    // `removed` went: their import words hold the stem of one of them (or, for a folder's
    // own module, the folder's name), or they lie inside such a folder, whose module `.`
    // and `..` name without a word.
    std::vector<std::string> dependentsOf(const std::vector<std::string>& added,
                                          const std::vector<std::string>& removed) const {
        std::vector<std::string> words;
        std::vector<std::string> folders;  // of folder modules: "" the root, else with a "/" after
        const std::set<std::string> going(removed.begin(), removed.end());
        for (const auto* list : {&added, &removed})
            for (const auto& rel : *list) {
                auto naming = namingWords(rel);
                words.insert(words.end(), naming.begin(), naming.end());
                // A folder that comes with its first file or goes with its last: Python
                // resolves a dotted module otherwise when a package folder of its name is there.
                for (std::string folder = rel;;) {
                    std::string up = deletingLastPathComponent(folder);
                    if (up.empty() || up == folder || holdsOtherFiles(up, going)) break;
                    addWords(lastPathComponent(up), words);
                    folder = std::move(up);
                }
                if (isFolderModule(rel)) {
                    std::string folder = deletingLastPathComponent(rel);
                    folders.push_back(folder.empty() || folder == rel ? std::string() : folder + "/");
                }
            }
        sortUnique(words);
        auto inFolder = [&](const std::string& rel) {
            return std::any_of(folders.begin(), folders.end(),
                               [&](const std::string& folder) { return rel.starts_with(folder); });
        };
        std::vector<std::string> dependents;
        for (const auto& [rel, state] : files)
            if (intersects(state.words, words) || inFolder(rel)) dependents.push_back(rel);
        return dependents;
    }

    // The files of the project as the live index last knew them, kept beside the records:
    // the next opening compares them with what it finds, since a warm scan keeps a record
    // whose bytes are the same even when its imports would now resolve otherwise.
    std::optional<std::string> fileListPath() const {
        auto dir = cache.projectDirURL(root);
        if (!dir) return std::nullopt;
        return appendPathComponent(*dir, "live-files");
    }
    void saveFileList() const {
        auto path = fileListPath();
        if (!path) return;
        std::string text;
        for (const auto& [rel, state] : files) text.append(rel).push_back('\n');
        for (const auto& rel : pending) text.append(rel).push_back('\n');
        writeFileAtomically(*path, text);
    }
    std::optional<std::vector<std::string>> loadFileList() const {
        auto path = fileListPath();
        std::string text;
        if (!path || !readWholeFileInto(*path, text)) return std::nullopt;
        std::vector<std::string> list;
        for (auto line : splitKeepingEmpty(text, "\n"))
            if (!line.empty()) list.emplace_back(line);
        std::sort(list.begin(), list.end());
        return list;
    }

    // The file's ids in the graph: from its state, or, for a file the index has not met,
    // from the graph itself.
    std::vector<std::string> idsOfFile(const std::string& rel) const {
        if (auto known = files.find(rel); known != files.end()) return known->second.ids;
        std::vector<std::string> ids;
        const std::string prefix = rel + ":";
        for (auto it = ir.symbols.lower_bound(prefix); it != ir.symbols.end() && it->first.starts_with(prefix); ++it)
            if (symbolFilePath(it->first) == std::optional<std::string_view>(rel)) ids.push_back(it->first);
        return ids;
    }

    void touch(std::string_view id) {
        if (trackTouched) touched.emplace(id);
    }

    // The graph's symbols of a file become `ids` (none: the file went): vanished ids go
    // with their edges, new ones come, kept ones take their new place in the file.
    void placeSymbols(const std::string& rel, const std::map<std::string, const Symbol*>* ids) {
        for (const auto& id : idsOfFile(rel))
            if (!ids || !ids->count(id)) eraseSymbol(id);
        if (!ids) return;
        for (const auto& [id, symbol] : *ids) {
            auto [it, inserted] = ir.symbols.try_emplace(id);
            if (inserted) it->second.id = id;
            if (inserted || it->second.kind != symbol->kind || it->second.range != symbol->range) touch(id);
            it->second.kind = symbol->kind;
            it->second.range = symbol->range;
        }
    }

    void unlinkOutgoing(const std::string& id) {
        auto it = ir.symbols.find(id);
        if (it == ir.symbols.end()) return;
        if (!it->second.refsOut.empty()) touch(id);
        for (const auto& callee : it->second.refsOut) {
            if (auto target = ir.symbols.find(callee); target != ir.symbols.end()) target->second.refsIn.erase(id);
            touch(callee);
        }
        it->second.refsOut.clear();
    }

    void eraseSymbol(const std::string& id) {
        auto it = ir.symbols.find(id);
        if (it == ir.symbols.end()) return;
        unlinkOutgoing(id);
        touch(id);
        for (const auto& caller : it->second.refsIn) {
            if (auto source = ir.symbols.find(caller); source != ir.symbols.end()) source->second.refsOut.erase(id);
            touch(caller);
        }
        ir.symbols.erase(it);
    }

    // A file's call sites wired as the link walk wires them.
    void wire(const std::vector<CachedCallSite>& calls, const std::map<std::string, std::string>& imports,
              const std::string& relPath) {
        for (const auto& call : calls) {
            auto caller = ir.symbols.find(call.callerId);
            if (caller == ir.symbols.end()) continue;
            std::string_view current = symbolFilePath(call.callerId).value_or(relPath);
            const NameCandidate* callee = resolveCallee(call.calleeName, imports, current, index);
            if (!callee || callee->id == caller->first) continue;
            caller->second.refsOut.insert(std::string(callee->id));
            callee->symbol->refsIn.insert(caller->first);
            touch(caller->first);
            touch(callee->id);
        }
    }

    // Looked up without a copy of the text; copied the first time only.
    static std::uint32_t number(Numbers& numbers, std::string_view text) {
        if (auto it = numbers.find(text); it != numbers.end()) return it->second;
        return numbers.emplace(std::string(text), static_cast<std::uint32_t>(numbers.size())).first->second;
    }
    static std::string folded(std::string_view name) {
        std::string out(name);
        for (char& c : out) c = asciiLower(c);
        return out;
    }
    // Names are compared without case, as the linker looks classes up both ways.
    std::uint32_t nameNumber(std::string_view name) {
        foldScratch.assign(name);
        for (char& c : foldScratch) c = asciiLower(c);
        return number(nameNumbers, foldScratch);
    }
    std::uint32_t pathNumber(std::string_view path) {
        const std::uint32_t n = number(pathNumbers, path);
        if (n == numberedPaths.size()) numberedPaths.emplace_back(path);
        return n;
    }

    Reads numbered(detail::LinkReads& reads) {
        sortUnique(reads.files);
        sortUnique(reads.names);
        Reads out;
        out.files.reserve(reads.files.size());
        for (const detail::FileEntry* file : reads.files) out.files.push_back(pathNumber(file->path));
        for (std::string_view name : reads.names) out.names.push_back(nameNumber(name));
        sortUnique(out.files);
        sortUnique(out.names);
        return out;
    }

    // The facts of every file, and the linker over them; each file's bases' reads noted.
    void makeLinker(std::vector<std::unique_ptr<detail::FileEntry>>& entries) {
        facts = std::make_unique<detail::ProjectFacts>();
        for (auto& entry : entries)
            if (entry) facts->add(std::move(entry));
        facts->finish();
        for (auto& [rel, state] : files) state.baseReads = {};
        linker = std::make_unique<detail::PreciseLinker>(*facts, index, baseReadsSink());
    }
    // Notes what resolving a file's bases read.
    detail::PreciseLinker::BaseReadsSink baseReadsSink() {
        return [this](const detail::FileEntry& file, const detail::LinkReads& reads) {
            auto state = files.find(std::string(file.path));
            if (state == files.end()) return;
            detail::LinkReads copy = reads;
            state->second.baseReads = numbered(copy);
        };
    }

    // A file's sites wired as the precise link walk wires them (or only resolved, for
    // their reads, when the graph has their edges already), their reads noted.
    void linkFile(FileState& state, bool addEdges = true) {
        const detail::FileEntry* file = linker->file(state.relPath);
        if (!file) {
            state.siteReads = {};
            return;
        }
        detail::LinkReads reads;
        linker->collectReads(&reads);
        SymbolMap::iterator caller = ir.symbols.end();
        detail::ClassRef self;
        state.sites.forEach(
            state.relPath,
            [&](std::string_view callerId, std::string_view klass) {
                caller = ir.symbols.find(callerId);
                self = detail::PreciseLinker::enclosingClass(*file, klass);
            },
            [&](CallForm form, std::string_view callee) {
                if (caller == ir.symbols.end()) return;
                const NameCandidate* target = linker->resolve(form, callee, *file, self);
                if (!addEdges || !target || target->id == caller->first) return;
                caller->second.refsOut.insert(std::string(target->id));
                target->symbol->refsIn.insert(caller->first);
                touch(caller->first);
                touch(target->id);
            });
        linker->collectReads(nullptr);
        state.siteReads = numbered(reads);
    }

    using NewIds = std::map<std::string, std::map<std::string, const Symbol*>>;  // file -> its ids now
    using NamesIds = std::map<std::string, std::set<std::string>, std::less<>>;
    // The index's groups of names whose ids an update changes are replaced, not the index
    // made again. First, while the graph still holds the old ids, each name's ids are
    // copied and its storage lent (see SymbolNameIndex::lendName) ...
    NamesIds lendNames(const std::set<std::string>& names) {
        NamesIds namesIds;
        for (const auto& name : names) {
            auto& ids = namesIds[name];
            for (const auto& candidate : index.candidates(name)) ids.emplace(candidate.id);
            index.lendName(name);
        }
        return namesIds;
    }
    // ... then, once the graph has the new ids, the groups are replaced.
    void replaceNames(NamesIds& namesIds, const NewIds& newIds) {
        for (const auto& [rel, ids] : newIds)
            for (const auto& [id, symbol] : ids)
                if (auto named = namesIds.find(nameOf(id)); named != namesIds.end()) named->second.insert(id);
        bool patched = true;
        for (const auto& [name, ids] : namesIds)
            if (!(patched = index.replaceName(name, std::vector<std::string>(ids.begin(), ids.end()), ir))) break;
        if (!patched) index = symbolNameIndex(ir);
    }

    // What a file declares to the project-wide look-ups, by name: its classes, each
    // class's methods (the sole declarer of a method), its symbols (the name index). A look-up's answer can change only with a
    // name whose entries came or went; one whose entries stayed leads to the same classes
    // and symbols, whose contents a resolution reads through their files.
    static std::vector<std::string> declarations(const detail::FileEntry* entry, const std::vector<std::string>& ids) {
        std::vector<std::string> out;
        if (entry)
            for (const auto& klass : entry->classes) {
                out.push_back("c " + std::string(klass.name));
                for (const auto& method : klass.methods)
                    out.push_back("m " + std::string(klass.name) + " " + std::string(method.name));
            }
        for (const auto& id : ids) out.push_back("s " + id);
        std::sort(out.begin(), out.end());
        return out;
    }
    // The numbers of the names whose declarations differ between `before` and `after`.
    void namesThatDiffer(const std::vector<std::string>& before, const std::vector<std::string>& after,
                         std::vector<std::uint32_t>& out) {
        std::vector<std::string> differing;
        std::set_symmetric_difference(before.begin(), before.end(), after.begin(), after.end(),
                                      std::back_inserter(differing));
        for (const auto& entry : differing) {
            std::string_view name(entry);
            name.remove_prefix(2);
            if (entry[0] == 'm') name.remove_prefix(name.find(' ') + 1);
            if (entry[0] == 's') name = nameOf(name);
            if (auto it = nameNumbers.find(folded(name)); it != nameNumbers.end()) out.push_back(it->second);
        }
    }

    // A save changed the facts or ids of files, or files came or went. A site resolves
    // otherwise only if it read a saved or removed file, a file whose bases or bindings
    // changed with them, or a name whose declarations changed (see declarations): only
    // those files' sites are linked again. Names no site has read have no number yet, and
    // need none. Returns how many files were linked again.
    std::size_t relinkAfterDeclarationsChanged(const std::vector<FreshFile>& fresh,
                                               const std::vector<std::string>& removed,
                                               std::vector<CachedFileResult>& records,
                                               std::vector<FileState>& states) {
        static const std::vector<std::string> noIds;
        auto idsBefore = [&](const std::string& rel) -> const std::vector<std::string>& {
            auto known = files.find(rel);
            return known == files.end() ? noIds : known->second.ids;
        };
        std::vector<std::unique_ptr<detail::FileEntry>> made(fresh.size());
        std::vector<std::uint32_t> names, paths;
        std::vector<std::string> cameOrWent(removed);
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            made[i] = detail::FileEntry::make(fresh[i].rel, records[i].facts);
            namesThatDiffer(declarations(facts->file(fresh[i].rel), idsBefore(fresh[i].rel)),
                            declarations(made[i].get(), states[i].ids), names);
            paths.push_back(pathNumber(fresh[i].rel));
            if (!files.count(fresh[i].rel)) cameOrWent.push_back(fresh[i].rel);
        }
        for (const auto& rel : removed) {
            namesThatDiffer(declarations(facts->file(rel), idsBefore(rel)), {}, names);
            paths.push_back(pathNumber(rel));
        }
        // A Python package offers its folder's modules by path: what its __init__ (and the
        // parent package's, for a package that came or went) stands for changes with them.
        for (const auto& rel : cameOrWent) {
            const std::string folder = deletingLastPathComponent(rel);
            paths.push_back(pathNumber(appendPathComponent(folder, "__init__.py")));
            if (lastPathComponent(rel) == "__init__.py" && !folder.empty())
                paths.push_back(pathNumber(appendPathComponent(deletingLastPathComponent(folder), "__init__.py")));
        }
        sortUnique(names);
        sortUnique(paths);

        // The symbols, and the index's groups of the names of ids that came or went.
        std::set<std::string> renamed;
        NewIds newIds;
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            const auto& before = idsBefore(fresh[i].rel);
            const auto& after = states[i].ids;
            std::vector<std::string> differing;
            std::set_symmetric_difference(before.begin(), before.end(), after.begin(), after.end(),
                                          std::back_inserter(differing));
            for (const auto& id : differing) renamed.emplace(nameOf(id));
            newIds[fresh[i].rel] = symbolsById(records[i]);
        }
        for (const auto& rel : removed)
            for (const auto& id : idsBefore(rel)) renamed.emplace(nameOf(id));
        NamesIds namesIds = lendNames(renamed);
        for (const auto& rel : removed) placeSymbols(rel, nullptr);
        for (const auto& [rel, ids] : newIds) placeSymbols(rel, &ids);
        replaceNames(namesIds, newIds);

        // The facts: the saved files' replaced, and the bases resolved again where they may
        // differ now: the saved files', those that named their classes, and, until none is
        // left, those whose resolution read a file among them or a name that changed.
        std::vector<std::uint32_t> changed = paths;
        const detail::FactsChange change = facts->change(std::move(made), removed);
        for (const auto* list : {&change.staleBases, &change.rebound})
            for (const detail::FileEntry* file : *list) changed.push_back(pathNumber(file->path));
        for (const auto& rel : removed) forgetFile(rel);
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            forgetFile(fresh[i].rel);
            indexFile(std::move(states[i]));
        }
        sortUnique(changed);
        for (bool grew = true; grew;) {
            grew = false;
            for (const auto& [rel, state] : files) {
                if (state.baseReads.files.empty() && state.baseReads.names.empty()) continue;
                if (!intersects(state.baseReads.files, changed) && !intersects(state.baseReads.names, names)) continue;
                const std::uint32_t number = pathNumber(rel);
                if (std::binary_search(changed.begin(), changed.end(), number)) continue;
                changed.insert(std::lower_bound(changed.begin(), changed.end(), number), number);
                grew = true;
            }
        }
        std::vector<detail::FileEntry*> rebase;
        for (std::uint32_t number : changed)
            if (detail::FileEntry* file = facts->mutableFile(numberedPaths[number])) rebase.push_back(file);
        linker->resolveBasesAgain(std::move(rebase), baseReadsSink());

        // The sites that read what changed.
        std::vector<std::string> relink;
        for (const auto& [rel, state] : files)
            if (intersects(state.siteReads.files, changed) || intersects(state.siteReads.names, names))
                relink.push_back(rel);
        for (const auto& f : fresh) relink.push_back(f.rel);
        sortUnique(relink);
        for (const auto& rel : relink)
            for (const auto& id : files.at(rel).ids) unlinkOutgoing(id);
        for (const auto& rel : relink) linkFile(files.at(rel));
        return relink.size();
    }

    void rebuildDiagnostics() {
        std::vector<ResolutionDiagnostic> all;
        for (const auto& [path, state] : files) all.insert(all.end(), state.diagnostics.begin(), state.diagnostics.end());
        ir.diagnostics = detail::sortedDiagnostics(std::move(all));
    }
};

IncrementalScan::IncrementalScan(const SymbolScanner& scanner, std::string root, VantrelConfig config,
                                 std::int64_t maxConcurrentParses)
    : s_(std::make_unique<State>(scanner, std::move(root), std::move(config), maxConcurrentParses)) {}

IncrementalScan::~IncrementalScan() = default;

ProjectIR& IncrementalScan::graph() { return s_->ir; }
const VantrelConfig& IncrementalScan::config() const { return s_->config; }
bool IncrementalScan::includesFolder(const std::string& relDir) const { return s_->includes(relDir, false); }
bool IncrementalScan::includesFile(const std::string& relPath) const { return s_->includes(relPath, true); }

void IncrementalScan::scanAll(const ProgressCallback& progress, const CancelCheck& isCancelled,
                              std::optional<std::int64_t> knownFileCount) {
    State& s = *s_;
    s.scanStarted = std::filesystem::file_time_type::clock::now();
    s.tsconfig = TSConfigResolver::loadIfPresent(s.root);
    if (s.linking == LinkingMode::precise) s.packages = ProjectPackages::load(s.root);
    ScanOptions options;
    options.root = s.root;
    options.config = s.config;
    options.maxConcurrentParses = s.permits;
    options.progress = progress;
    options.isCancelled = isCancelled;
    options.knownFileCount = knownFileCount;
    s.ir = s.scanner.scanProject(options);

    // Every file's record, read back in parallel into its place.
    const std::vector<std::string> paths = listSourceFiles(s.root, s.config, s.scanner.plugins(), isCancelled);
    std::vector<std::optional<FileState>> states(paths.size());
    std::vector<std::unique_ptr<detail::FileEntry>> entries(paths.size());
    const bool precise = s.linking == LinkingMode::precise;
    const std::size_t lanes = s.pool.threadCount() + 1;
    std::vector<detail::SiteWriter> writers(lanes);
    std::vector<std::string> scratch(lanes), sources(lanes);
    parallelFor(s.pool, paths.size(), lanes, [&](std::size_t i, std::size_t lane) {
        if (auto record = s.cache.loadFile(s.root, paths[i], RecordFields::all)) {
            // The source again, for the words its imports write (a file that cannot be read
            // now fails the update that reads it).
            if (!readWholeFileInto(appendPathComponent(s.root, paths[i]), sources[lane])) sources[lane].clear();
            states[i] = stateOf(paths[i], *record, sources[lane]);
            if (!precise) return;
            entries[i] = detail::FileEntry::make(paths[i], record->facts);
            states[i]->sites = detail::FileSites(record->sites, paths[i], scratch[lane], writers[lane]);
        }
    });
    s.files.clear();
    s.callersOf.clear();
    s.pending.clear();
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (states[i]) s.indexFile(std::move(*states[i]));
        else s.pending.insert(paths[i]);
    }
    s.index = symbolNameIndex(s.ir);
    s.linker.reset();
    s.facts.reset();
    if (precise) {
        s.makeLinker(entries);
        s.facts->prepareChanges();
        for (auto& [rel, state] : s.files) s.linkFile(state, false);
    }

    // Files that came or went since the index last saw the project: the records of the files
    // whose imports name them were kept for their bytes alone, so they are analysed again.
    if (auto before = s.loadFileList()) {
        std::vector<std::string> added, removed;
        std::set_difference(paths.begin(), paths.end(), before->begin(), before->end(), std::back_inserter(added));
        std::set_difference(before->begin(), before->end(), paths.begin(), paths.end(), std::back_inserter(removed));
        if (!added.empty() || !removed.empty())
            for (auto& rel : s.dependentsOf(added, removed)) s.pending.insert(std::move(rel));
    }
    if (!s.pending.empty()) update({});
    s.saveFileList();
}

std::vector<std::string> IncrementalScan::touchedSinceScan() const {
    const State& s = *s_;
    const auto since = s.scanStarted - std::chrono::seconds(2);
    std::vector<std::string> touched;
    const std::vector<std::string> now = listSourceFiles(s.root, s.config, s.scanner.plugins());
    for (const auto& rel : now) {
        std::error_code error;
        const auto modified = std::filesystem::last_write_time(appendPathComponent(s.root, rel), error);
        if (error || modified >= since || !s.files.count(rel)) touched.push_back(rel);
    }
    for (const auto& [rel, state] : s.files)
        if (!std::binary_search(now.begin(), now.end(), rel)) touched.push_back(rel);
    std::sort(touched.begin(), touched.end());
    return touched;
}

IncrementalChanges IncrementalScan::update(const std::vector<std::string>& requested) {
    State& s = *s_;
    IncrementalChanges out;

    // 1. Which files the paths stand for: known files at or below them, and source files
    // found there on disk.
    std::set<std::string> candidates(s.pending.begin(), s.pending.end());
    for (const auto& path : requested) {
        if (path.empty()) {
            for (const auto& [rel, state] : s.files) candidates.insert(rel);
            for (auto& rel : listSourceFiles(s.root, s.config, s.scanner.plugins())) candidates.insert(std::move(rel));
            continue;
        }
        const std::string below = path + "/";
        for (auto it = s.files.lower_bound(path); it != s.files.end(); ++it) {
            if (it->first != path && !it->first.starts_with(below)) break;
            candidates.insert(it->first);
        }
        const std::string absolute = appendPathComponent(s.root, path);
        if (isDirectory(absolute)) {
            if (!s.includes(path, false)) continue;
            auto walker = DirectoryWalker::open(absolute);
            while (walker) {
                auto entry = walker->next();
                if (!entry) break;
                if (auto file = shouldInclude(*entry, s.root, s.exclude, s.pluginByExt, *walker))
                    candidates.insert(file->relPath);
            }
        } else if (s.includes(path, true)) {
            candidates.insert(path);
        }
    }

    // 2. What happened to each: read and hashed; the same bytes are no change.
    std::vector<FreshFile> fresh;
    for (const auto& rel : candidates) {
        const bool known = s.files.count(rel) > 0;
        const std::string absolute = appendPathComponent(s.root, rel);
        // As the walk sees entries: a link is never followed, so a dangling one is a file
        // that cannot be read, which fails the update as it fails a scan.
        std::error_code error;
        const auto status = std::filesystem::symlink_status(absolute, error);
        const bool present = !error && std::filesystem::exists(status);
        if (!s.includes(rel, true) || !present || std::filesystem::is_directory(status)) {
            if (known) out.removed.push_back(rel);
            continue;
        }
        std::string bytes, readError;
        if (!readWholeFileInto(absolute, bytes, &readError)) throw ScanError(ScanError::Kind::readFailed, absolute, readError);
        std::string hash = sha256Hex(bytes);
        if (known && !s.pending.count(rel) && s.files.at(rel).hash == hash) continue;
        (known ? out.changed : out.added).push_back(rel);
        fresh.push_back({rel, std::move(bytes), std::move(hash)});
    }

    // Precise linking resolves imports of the project's own packages through entries found
    // at the full scan; a file that came or went may be one.
    if (s.packages && (!out.added.empty() || !out.removed.empty()) &&
        ProjectPackages::load(s.root).fingerprint() != s.packages->fingerprint()) {
        IncrementalChanges full;
        full.needsFullScan = true;
        return full;
    }

    // 3. Files whose imports may resolve otherwise now that files appeared or went.
    std::set<std::string> reanalyse;
    for (const auto& f : fresh) reanalyse.insert(f.rel);
    if (!out.added.empty() || !out.removed.empty()) {
        const std::set<std::string> gone(out.removed.begin(), out.removed.end());
        for (const auto& rel : s.dependentsOf(out.added, out.removed)) {
            if (gone.count(rel) || reanalyse.count(rel)) continue;
            std::string bytes, error;
            const std::string absolute = appendPathComponent(s.root, rel);
            if (!readWholeFileInto(absolute, bytes, &error)) throw ScanError(ScanError::Kind::readFailed, absolute, error);
            std::string hash = sha256Hex(bytes);
            fresh.push_back({rel, std::move(bytes), std::move(hash)});
            reanalyse.insert(rel);
        }
        s.saveFileList();
    }
    if (fresh.empty() && out.removed.empty()) {
        s.pending.clear();
        return out;
    }

    // 4. Analysed afresh, in parallel; nothing of the state has changed yet, so a failure
    // leaves it whole.
    std::vector<CachedFileResult> records(fresh.size());
    std::vector<std::exception_ptr> errors(fresh.size());
    const FileAnalysisContext context = s.analysisContext();
    parallelFor(s.pool, fresh.size(), s.pool.threadCount() + 1, [&](std::size_t i, std::size_t) {
        try {
            analyseAndStore(s.enumerated(fresh[i].rel), fresh[i].bytes, fresh[i].hash, context, records[i]);
        } catch (...) {
            errors[i] = std::current_exception();
        }
    });
    for (auto& error : errors)
        if (error) std::rethrow_exception(error);
    s.pending.clear();
    for (const auto& f : fresh) out.reanalysed.push_back(f.rel);
    std::sort(out.reanalysed.begin(), out.reanalysed.end());

    if (s.linking == LinkingMode::precise) {
        // A site's target depends on the facts of the whole project and on its ids. When a
        // save left both as they were (the common save: a body changed), only the saved
        // files' own sites can link otherwise.
        std::vector<FileState> states;
        for (std::size_t i = 0; i < fresh.size(); ++i)
            states.push_back(stateOf(fresh[i].rel, records[i], fresh[i].bytes));
        bool same = out.added.empty() && out.removed.empty();
        for (std::size_t i = 0; same && i < fresh.size(); ++i) {
            const FileState& before = s.files.at(fresh[i].rel);
            same = before.factsKey == states[i].factsKey && before.ids == states[i].ids;

        }
        for (std::size_t i = 0; i < fresh.size(); ++i)
            states[i].sites = detail::FileSites(records[i].sites, fresh[i].rel, s.siteScratch, s.siteWriter);
        bool diagnosticsTouched = !out.removed.empty();
        for (std::size_t i = 0; i < fresh.size(); ++i) {
            auto known = s.files.find(fresh[i].rel);
            diagnosticsTouched = diagnosticsTouched ||
                                 (known == s.files.end() ? !states[i].diagnostics.empty()
                                                         : known->second.diagnostics != states[i].diagnostics);
        }
        s.touched.clear();
        if (same) {
            for (std::size_t i = 0; i < fresh.size(); ++i) {
                for (const auto& id : states[i].ids) s.unlinkOutgoing(id);
                for (const auto& [id, symbol] : symbolsById(records[i])) {
                    Symbol& kept = s.ir.symbols.at(id);
                    if (kept.range != symbol->range) s.touch(id);
                    kept.range = symbol->range;
                }
                states[i].baseReads = s.files.at(fresh[i].rel).baseReads;  // its facts are the same
                s.forgetFile(fresh[i].rel);
                s.indexFile(std::move(states[i]));
            }
            for (const auto& f : fresh) s.linkFile(s.files.at(f.rel));
            out.relinkedFiles = fresh.size();
            out.touchedIds.assign(s.touched.begin(), s.touched.end());
        } else {
            out.relinkedFiles = s.relinkAfterDeclarationsChanged(fresh, out.removed, records, states);
            out.touchedIds.assign(s.touched.begin(), s.touched.end());
        }
        if (diagnosticsTouched) s.rebuildDiagnostics();
        out.diagnosticsChanged = diagnosticsTouched;
        s.touched.clear();
        s.ir.lastScan = referenceSecondsNow();
        return out;
    }

    // 5. Names mode. The names whose set of symbols changed, and the files calling them.
    s.touched.clear();
    std::set<std::string> touchedNames;
    State::NewIds newIds;
    for (std::size_t i = 0; i < fresh.size(); ++i) newIds[fresh[i].rel] = symbolsById(records[i]);
    std::set<std::string> relink;
    bool idsChanged = false;
    auto compareIds = [&](const std::string& rel, const std::map<std::string, const Symbol*>* now) {
        const std::vector<std::string> before = s.idsOfFile(rel);
        for (const auto& id : before)
            if (!now || !now->count(id)) {
                touchedNames.emplace(nameOf(id));
                idsChanged = true;
            }
        if (now)
            for (const auto& [id, symbol] : *now)
                if (!std::binary_search(before.begin(), before.end(), id)) {
                    touchedNames.emplace(nameOf(id));
                    idsChanged = true;
                }
    };
    for (const auto& [rel, ids] : newIds) compareIds(rel, &ids);
    for (const auto& rel : out.removed) compareIds(rel, nullptr);
    for (const auto& name : touchedNames)
        if (auto callers = s.callersOf.find(name); callers != s.callersOf.end())
            for (const FileState* caller : callers->second) relink.insert(caller->relPath);
    for (const auto& rel : out.removed) relink.erase(rel);
    for (const auto& f : fresh) relink.erase(f.rel);  // wired from their new records below

    // The index's groups of those names are replaced below, once the graph has its new
    // symbols.
    State::NamesIds namesIds;
    if (idsChanged) namesIds = s.lendNames(touchedNames);

    // 6. Old edges out of every file to be wired again, and out of removed files.
    auto unlinkFile = [&](const std::string& rel) {
        for (const auto& id : s.idsOfFile(rel)) s.unlinkOutgoing(id);
    };
    for (const auto& rel : relink) unlinkFile(rel);
    for (const auto& f : fresh) unlinkFile(f.rel);
    for (const auto& rel : out.removed) unlinkFile(rel);

    // 7. The symbols: removed files' and vanished ids go, new ids come, kept ids take
    // their new place in the file.
    for (const auto& rel : out.removed) s.placeSymbols(rel, nullptr);
    for (const auto& [rel, ids] : newIds) s.placeSymbols(rel, &ids);
    if (idsChanged) s.replaceNames(namesIds, newIds);

    // 8. The index of files, then the edges.
    bool diagnosticsTouched = false;
    for (const auto& rel : out.removed) {
        diagnosticsTouched = diagnosticsTouched || !s.files.at(rel).diagnostics.empty();
        s.forgetFile(rel);
    }
    for (std::size_t i = 0; i < fresh.size(); ++i) {
        if (auto known = s.files.find(fresh[i].rel); known != s.files.end()) {
            diagnosticsTouched = diagnosticsTouched || known->second.diagnostics != records[i].diagnostics;
            s.forgetFile(fresh[i].rel);
        } else {
            diagnosticsTouched = diagnosticsTouched || !records[i].diagnostics.empty();
        }
        s.indexFile(stateOf(fresh[i].rel, records[i], fresh[i].bytes));
    }
    for (std::size_t i = 0; i < fresh.size(); ++i) s.wire(records[i].calls, records[i].imports, fresh[i].rel);
    for (const auto& rel : relink) {
        if (auto record = s.cache.loadFile(s.root, rel, RecordFields::links)) s.wire(record->calls, record->imports, rel);
        else s.pending.insert(rel);
    }
    out.relinkedFiles = relink.size() + fresh.size();
    out.touchedIds.assign(s.touched.begin(), s.touched.end());
    s.touched.clear();
    if (diagnosticsTouched) s.rebuildDiagnostics();
    out.diagnosticsChanged = diagnosticsTouched;
    s.ir.lastScan = referenceSecondsNow();
    return out;
}

}  // namespace vantrel
