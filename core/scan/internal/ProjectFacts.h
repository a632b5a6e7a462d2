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

#include <algorithm>
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

// The compact forms of TypedName, ImportBinding and ClassFacts (core/model/LinkFacts.h).
struct TypedRef {
    std::string_view name, type;
};
struct BindingRef {
    std::string_view local, path, name;
};
struct ClassInfo {
    std::string_view name;
    std::span<const std::string_view> bases;
    std::span<const TypedRef> methods, fields;
};

// A class where it is declared.
struct ClassRef {
    const FileEntry* file = nullptr;
    const ClassInfo* facts = nullptr;
    explicit operator bool() const { return facts != nullptr; }
    bool operator==(const ClassRef&) const = default;
};

// What a base expression of a class stands for.
struct BaseRef {
    ClassRef klass;          // a class of the project
    bool external = false;   // a class outside the project (its methods are unknown)
};

// Entries of one file by name: a sorted array searched by halves, which costs a file's
// few names less memory and time than a hash table of its own.
template <typename T>
class ByName {
public:
    void add(std::string_view name, const T* value) { entries_.emplace_back(name, value); }
    // Orders the entries; of equal names the first added stays, or the last with `lastWins`.
    void finish(bool lastWins) {
        std::stable_sort(entries_.begin(), entries_.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        std::vector<std::pair<std::string_view, const T*>> kept;
        kept.reserve(entries_.size());
        for (const auto& entry : entries_) {
            if (!kept.empty() && kept.back().first == entry.first) {
                if (lastWins) kept.back() = entry;
                continue;
            }
            kept.push_back(entry);
        }
        entries_.swap(kept);
    }
    [[nodiscard]] const T* find(std::string_view name) const {
        auto it = std::lower_bound(entries_.begin(), entries_.end(), name,
                                   [](const auto& entry, std::string_view key) { return entry.first < key; });
        return it != entries_.end() && it->first == name ? it->second : nullptr;
    }

private:
    std::vector<std::pair<std::string_view, const T*>> entries_;
};

struct FileEntry {
    // The compact copy of one file's facts; made on the worker that read them.
    static std::unique_ptr<FileEntry> make(std::string path, const FileFacts& facts);
    FileEntry() = default;
    FileEntry(const FileEntry&) = delete;
    FileEntry& operator=(const FileEntry&) = delete;

    std::string path;
    bool python = false;
    std::string text;  // every string of the facts; the views below point into it
    std::vector<std::string_view> bases;
    std::vector<TypedRef> members;  // the classes' methods and fields
    std::vector<ClassInfo> classList;
    std::vector<TypedRef> functionList, variableList;
    std::vector<BindingRef> importList, exportList;

    ByName<ClassInfo> classes;
    ByName<TypedRef> functions;
    ByName<TypedRef> variables;
    ByName<BindingRef> imports;  // a later binding wins
    ByName<BindingRef> exports;
    std::vector<const BindingRef*> starImports, starExports;
    // The project file of each import and export, in their order; null for a module
    // outside the project or left out of the scan. Found once, by `finish`.
    std::vector<const FileEntry*> importModules, exportModules;
    [[nodiscard]] const FileEntry* moduleOf(const BindingRef& binding) const {
        if (!importList.empty() && &binding >= &importList.front() && &binding <= &importList.back())
            return importModules[static_cast<std::size_t>(&binding - importList.data())];
        return exportModules[static_cast<std::size_t>(&binding - exportList.data())];
    }
    bool dottedImports = false;  // some import binds a dotted name (Python's `import a.b`)
};

class ProjectFacts {
public:
    // The facts of one file; one caller at a time, before `finish`.
    void add(std::unique_ptr<FileEntry> file);
    // Indexes what was added; once.
    void finish();
    // Every class of the project, for resolving their bases once, and the place for them.
    [[nodiscard]] std::vector<ClassRef> allClasses() const;
    void setBases(const ClassInfo& facts, std::vector<BaseRef> bases) { bases_[&facts] = std::move(bases); }

    [[nodiscard]] const FileEntry* file(std::string_view path) const;
    // The classes of this name in files of the same language family, in path order.
    [[nodiscard]] const std::vector<ClassRef>* classesNamed(std::string_view name, bool python) const;
    // The classes whose name is `name` but for the case of its letters (a variable
    // `subscriber` and the class `Subscriber`), in path order; empty for none.
    [[nodiscard]] std::span<const ClassRef> classesNamedLike(std::string_view name, bool python) const;
    // The one class of the language family that declares a method of this name.
    [[nodiscard]] std::optional<ClassRef> soleDeclarer(std::string_view method, bool python) const;
    // The bases of a class, resolved.
    [[nodiscard]] const std::vector<BaseRef>& basesOf(const ClassInfo& facts) const;

private:
    std::vector<std::unique_ptr<FileEntry>> files_;
    std::unordered_map<std::string_view, const FileEntry*> byPath_;
    std::unordered_map<std::string_view, std::vector<ClassRef>> classesByName_[2];  // [python]
    std::unordered_map<std::string_view, std::optional<ClassRef>> soleDeclarers_[2];
    std::unordered_map<std::string, std::vector<ClassRef>> classesByFoldedName_[2];
    std::unordered_map<const ClassInfo*, std::vector<BaseRef>> bases_;
    std::vector<BaseRef> noBases_;
};

}  // namespace vantrel::detail
