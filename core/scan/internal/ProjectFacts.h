// Every file's type facts for precise linking, gathered by the parse walk and indexed
// once before the link walk: per file its classes, functions, values, imports and
// re-exports by name, and across the project the classes by name and the method names
// that exactly one class declares. Each class's bases are resolved once, by the linker,
// before the link walk. Read-only from then on, so the link walk's lanes share it without
// locks.
//
// A file's facts are held compactly, since the whole project's are held at once: all its
// strings in one buffer and views into it, with no allocation per string.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/model/LinkFacts.h"

namespace vantrel::detail {

struct FileEntry;
struct ClassInfo;

// A class where it is declared.
struct ClassRef {
    const FileEntry* file = nullptr;
    const ClassInfo* facts = nullptr;
    explicit operator bool() const { return facts != nullptr; }
    bool operator==(const ClassRef&) const = default;
};

// What a base expression of a class stands for.
struct BaseRef {
    ClassRef klass;         // a class of the project
    bool external = false;  // a class outside the project (its methods are unknown)
};

// The compact forms of TypedName, ImportBinding and ClassFacts (core/model/LinkFacts.h).
struct TypedRef {
    std::string_view name, type;
};
struct BindingRef {
    std::string_view local, path, name;
    const FileEntry* module = nullptr;  // the project file of `path`, found by `finish`
};
struct ClassInfo {
    std::string_view name;
    std::span<const std::string_view> bases;
    std::span<const TypedRef> methods, fields;
    std::uint32_t firstBase = 0;  // where its bases start in the file's `bases`
};

// Memory for the call sites of many files, taken from the system in blocks of its own
// rather than from the heap. The link walk frees each block once it has wired every file
// in it, and the block goes back to the system at once: small heap blocks freed by one
// thread stayed in the lists of the allocating thread's arena, unused by the edges the
// walk adds (2 to 3 MB more at the peak of a warm scan of 10,000 files).
class SiteBlock {
public:
    explicit SiteBlock(std::size_t capacity);
    ~SiteBlock();
    SiteBlock(const SiteBlock&) = delete;
    SiteBlock& operator=(const SiteBlock&) = delete;

    // Copies `bytes` in when they fit; the view of the copy, else an empty view.
    std::string_view append(std::string_view bytes);

private:
    char* data_ = nullptr;
    std::size_t capacity_ = 0, used_ = 0;
};

// The blocks one parse lane fills, a file after another.
class SiteWriter {
public:
    // `bytes` copied into the current block, or into a new one when they do not fit.
    std::pair<std::shared_ptr<const SiteBlock>, std::string_view> write(std::string_view bytes);

private:
    static constexpr std::size_t kBlockBytes = std::size_t{256} << 10;
    std::shared_ptr<SiteBlock> block_;
};

// A file's call sites, carried from the parse walk to the link walk, so that precise
// linking reads each record once: per run of one caller and class, each site's form and
// callee. Lines and columns stay in the record; linking needs none. A caller's id is kept
// without the file's path in front, which every id of the file has.
class FileSites {
public:
    FileSites() = default;
    // The sites encoded into `scratch`, then copied into the writer's blocks.
    FileSites(const std::vector<CallSite>& sites, std::string_view path, std::string& scratch, SiteWriter& writer);

    // For each run in order `run(callerId, enclosingClass)`, then `site(form, callee)` for
    // each of its sites; `path` is the one the sites were made with.
    template <typename Run, typename Site>
    void forEach(std::string_view path, Run&& run, Site&& site) const {
        std::string caller;
        std::size_t at = 0;
        while (at < bytes_.size()) {
            const bool inFile = bytes_[at++] != 0;
            const std::string_view callerText = text(at);
            const std::string_view klass = text(at);
            const std::uint32_t count = number(at);
            caller.clear();
            if (inFile) caller.append(path).push_back(':');
            caller.append(callerText);
            run(std::string_view(caller), klass);
            for (std::uint32_t i = 0; i < count; ++i) {
                const auto form = static_cast<CallForm>(bytes_[at++]);
                site(form, text(at));
            }
        }
    }
    [[nodiscard]] bool empty() const { return bytes_.empty(); }

private:
    // Runs of: the in-file flag (a byte), the caller and the class (each a length, then its
    // text), the site count, then per site its form (a byte) and callee (a length, then
    // its text). Lengths and counts are written seven bits a byte, low bits first, the high
    // bit marking that more follow: nearly all take one byte.
    static void encode(const std::vector<CallSite>& sites, std::string_view path, std::string& out);
    std::uint32_t number(std::size_t& at) const {
        std::uint32_t value = 0;
        for (int shift = 0;; shift += 7) {
            const auto byte = static_cast<unsigned char>(bytes_[at++]);
            value |= static_cast<std::uint32_t>(byte & 0x7f) << shift;
            if (!(byte & 0x80)) return value;
        }
    }
    std::string_view text(std::size_t& at) const {
        const std::uint32_t size = number(at);
        const std::string_view view = bytes_.substr(at, size);
        at += size;
        return view;
    }
    std::shared_ptr<const SiteBlock> block_;
    std::string_view bytes_;  // in `block_`
};

struct FileEntry {
    // The compact copy of one file's facts and sites; made on the worker that read them.
    static std::unique_ptr<FileEntry> make(std::string_view path, const FileFacts& facts);
    // The same with the file's sites, through a lane's scratch text and writer.
    static std::unique_ptr<FileEntry> make(std::string_view path, const FileFacts& facts,
                                           const std::vector<CallSite>& sites, std::string& scratch,
                                           SiteWriter& writer);
    FileEntry() = default;
    FileEntry(const FileEntry&) = delete;
    FileEntry& operator=(const FileEntry&) = delete;

    // Looked up by name in lists sorted by name: the first definition of a name counts,
    // as for ids, and the last import of it, as in the language.
    [[nodiscard]] const ClassInfo* klass(std::string_view name) const;
    [[nodiscard]] const TypedRef* function(std::string_view name) const;
    [[nodiscard]] const TypedRef* variable(std::string_view name) const;
    [[nodiscard]] const BindingRef* import(std::string_view name) const;
    [[nodiscard]] const BindingRef* exported(std::string_view name) const;

    std::string_view path;  // in `text`
    bool python = false;
    bool dottedImports = false;  // some import binds a dotted name (Python's `import a.b`)
    std::string text;            // the path and every string of the facts; the views point into it
    std::vector<std::string_view> bases;
    std::vector<BaseRef> baseRefs;  // what each of `bases` stands for, once resolved
    std::vector<TypedRef> members;  // the classes' methods and fields
    // Each sorted by name (stably: the written order among equal names).
    std::vector<ClassInfo> classes;
    std::vector<TypedRef> functions, variables;
    std::vector<BindingRef> imports, exports;  // without the "*" ones
    std::vector<BindingRef> starImports, starExports;
    // Until the link walk takes them (ProjectFacts::takeSites).
    FileSites sites;
};

// What a change of some files' facts did to the other files.
struct FactsChange {
    // Resolved bases named a class of a replaced or removed file: to resolve again.
    std::vector<FileEntry*> staleBases;
    // A binding's module came or went (its path names a file that appeared or was removed):
    // what the file's names stand for may differ.
    std::vector<FileEntry*> rebound;
};

class ProjectFacts {
public:
    // The facts of one file; one caller at a time, before `finish`.
    void add(std::unique_ptr<FileEntry> file);
    // Indexes what was added; once, unless `release` gives the files back first.
    void finish();
    // After `finish`: the facts of `files` come in (replacing those of the same path) and
    // those of `removed` go, every list as `finish` would have made it; the old facts are
    // destroyed. The new files' bases are unresolved. See FactsChange for what the caller
    // must do about the other files.
    [[nodiscard]] FactsChange change(std::vector<std::unique_ptr<FileEntry>> files,
                                     const std::vector<std::string>& removed);
    // Makes what `change` keeps besides the lists `finish` makes (every method's declarers),
    // so that the first change costs what the others do; `change` makes it otherwise.
    void prepareChanges();
    // The file at `path`, to resolve its bases again.
    [[nodiscard]] FileEntry* mutableFile(std::string_view path) const { return find(path); }
    // Resolves every base expression of every class once, with `resolve(file, expression)`.
    // `fileDone(file)` follows each file's bases, when given.
    template <typename Resolve>
    void resolveBases(Resolve&& resolve) {
        resolveBases(std::forward<Resolve>(resolve), [](const FileEntry&) {});
    }
    template <typename Resolve, typename FileDone>
    void resolveBases(Resolve&& resolve, FileDone&& fileDone) {
        for (auto& file : files_) {
            file->baseRefs.clear();
            file->baseRefs.reserve(file->bases.size());
            for (std::string_view base : file->bases) file->baseRefs.push_back(resolve(*file, base));
            fileDone(*file);
        }
    }

    [[nodiscard]] const FileEntry* file(std::string_view path) const;
    // Moves out the sites of the file at `path` (none for a file without facts). The link
    // walk's lanes call it at once for different files: it touches nothing but that file's
    // sites, which no other reader of the facts reads.
    [[nodiscard]] FileSites takeSites(std::string_view path);
    // The classes of this name in files of the same language family, in path order.
    [[nodiscard]] std::span<const ClassRef> classesNamed(std::string_view name, bool python) const;
    // The classes whose name is `name` but for the case of its letters (a variable
    // `subscriber` and the class `Subscriber`), in path order; empty for none.
    [[nodiscard]] std::span<const ClassRef> classesNamedLike(std::string_view name, bool python) const;
    // The one class of the language family that declares a method of this name.
    [[nodiscard]] std::optional<ClassRef> soleDeclarer(std::string_view method, bool python) const;
    // The bases of a class, resolved.
    [[nodiscard]] static std::span<const BaseRef> basesOf(ClassRef klass);

private:
    struct Declarer {
        std::string_view method;
        ClassRef klass;  // null when several classes declare the method
    };
    FileEntry* find(std::string_view path) const;
    std::vector<std::unique_ptr<FileEntry>> files_;  // in path order once finished
    // Per language family [python], sorted arrays: a hash table per name costs a project
    // of 10,000 files megabytes more.
    std::vector<ClassRef> classesByName_[2];        // by name, then path
    std::vector<ClassRef> classesByFoldedName_[2];  // by name without case, then path
    std::vector<Declarer> declarers_[2];            // by method name, one each
    // Every (method, class) pair, by method name: made by `prepareChanges` (or the first
    // `change`), which then keeps it, so that a method's declarers are found without a look
    // at every class.
    std::vector<Declarer> allDeclarers_[2];
    bool allDeclarersMade_ = false;
};

}  // namespace vantrel::detail
