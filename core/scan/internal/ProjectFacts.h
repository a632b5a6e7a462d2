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
#include <unordered_map>
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

struct FileEntry {
    // The compact copy of one file's facts; made on the worker that read them.
    static std::unique_ptr<FileEntry> make(std::string path, const FileFacts& facts);
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

    std::string path;
    bool python = false;
    bool dottedImports = false;  // some import binds a dotted name (Python's `import a.b`)
    std::string text;            // every string of the facts; the views below point into it
    std::vector<std::string_view> bases;
    std::vector<BaseRef> baseRefs;  // what each of `bases` stands for, once resolved
    std::vector<TypedRef> members;  // the classes' methods and fields
    // Each sorted by name (stably: the written order among equal names).
    std::vector<ClassInfo> classes;
    std::vector<TypedRef> functions, variables;
    std::vector<BindingRef> imports, exports;  // without the "*" ones
    std::vector<BindingRef> starImports, starExports;
};

class ProjectFacts {
public:
    // The facts of one file; one caller at a time, before `finish`.
    void add(std::unique_ptr<FileEntry> file);
    // Indexes what was added; once.
    void finish();
    // Resolves every base expression of every class once, with `resolve(file, expression)`.
    template <typename Resolve>
    void resolveBases(Resolve&& resolve) {
        for (auto& file : files_) {
            file->baseRefs.clear();
            file->baseRefs.reserve(file->bases.size());
            for (std::string_view base : file->bases) file->baseRefs.push_back(resolve(*file, base));
        }
    }

    [[nodiscard]] const FileEntry* file(std::string_view path) const;
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
    std::vector<std::unique_ptr<FileEntry>> files_;
    std::unordered_map<std::string_view, FileEntry*> byPath_;
    // Per language family [python], sorted arrays: a hash table per name costs a project
    // of 10,000 files megabytes more.
    std::vector<ClassRef> classesByName_[2];        // by name, then path
    std::vector<ClassRef> classesByFoldedName_[2];  // by name without case, then path
    std::vector<Declarer> declarers_[2];            // by method name, one each
};

}  // namespace vantrel::detail
