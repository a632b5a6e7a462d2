// Precise linking: a call site's callee expression is evaluated over the project's type
// facts to the symbol it reaches. `this`/`self`/`cls` stand for the enclosing class,
// `super` for its first base; a name is looked up in the caller's file (its classes,
// functions, values, then its imports, following aliases and re-exports to the original),
// then among the project's classes; a member of a class or an instance is its method
// (searched up the bases) or its field's value; a member of a module is what the module
// defines or exports; calling a function or method gives its result, calling a class an
// instance. A class called or constructed reaches its constructor (`constructor`,
// `__init__`, searched up the bases), else the class symbol where there is one.
//
// When the receiver's type stays unknown, a member call links only to the one class of
// the language that declares a method of that name; a plain name the file does not know
// falls back to the names mode's rule. Builtins, globals and modules outside the project
// link nowhere. Evaluation is bounded per site, so cycles (a class its own base, a value
// defined by itself) end without an edge. Never invents a symbol: every target is looked
// up in the graph.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/LinkFacts.h"
#include "core/scan/internal/ProjectFacts.h"
#include "core/scan/internal/SymbolNameIndex.h"

namespace vantrel::detail {

// What resolutions read: the files whose facts they looked into, and the names they looked
// up across the project (classes by name, with or without case, the sole declarer of a
// method, the symbols of a name). Evaluation is a function of these alone, so a resolution
// whose reads all stayed as they were gives what it gave before: live updates link again
// only the sites whose reads a save touched. The files of the project as a set are not
// recorded (what a binding's path names); a file added or removed is for the caller to see.
struct LinkReads {
    std::vector<const FileEntry*> files;
    std::vector<std::string_view> names;  // as looked up: views into the facts, the sites or constants
    void clear() {
        files.clear();
        names.clear();
    }
};

class PreciseLinker {
public:
    // Given for each file with bases the reads that resolved them (over the linker's life,
    // a file's bases depend on nothing else).
    using BaseReadsSink = std::function<void(const FileEntry& file, const LinkReads& reads)>;

    // Resolves every class's bases into `facts` (finished); single-threaded. Both must
    // outlive the linker, which is then read-only and shared by the link walk's lanes.
    PreciseLinker(ProjectFacts& facts, const SymbolNameIndex& index, const BaseReadsSink& baseReads = {});

    // From now on every resolution adds what it reads to `reads` (null: stop). While reads
    // are collected, the linker serves one thread.
    void collectReads(LinkReads* reads) { reads_ = reads; }
    // Resolves again the bases of `files` (in path order), as the constructor resolved
    // every file's: after ProjectFacts::replace, for the new files, the ones it returned,
    // and the ones whose bases read what changed.
    void resolveBasesAgain(std::vector<FileEntry*> files, const BaseReadsSink& baseReads);

    // The caller's file among the facts; null for a file without facts.
    [[nodiscard]] const FileEntry* file(std::string_view path) const { return facts_.file(path); }
    // The class of `file` that `this`/`self` of a call stands for (CallSite::enclosingClass).
    [[nodiscard]] static ClassRef enclosingClass(const FileEntry& file, std::string_view name);
    // The symbol the call reaches, or null; `file` is the caller's, `self` the call's
    // enclosing class there.
    [[nodiscard]] const NameCandidate* resolve(CallForm form, std::string_view callee, const FileEntry& file,
                                               ClassRef self) const;

    struct Value;

private:
    Value evaluate(std::string_view expression, const FileEntry& file, ClassRef self, int& budget) const;
    Value head(std::string_view head, const FileEntry& file, ClassRef self, int& budget) const;
    Value lookUp(const FileEntry& file, std::string_view name, int& budget) const;
    Value moduleMember(const FileEntry& module, std::string_view name, int& budget) const;
    Value member(const Value& value, std::string_view name, int& budget) const;
    Value call(const Value& value, int& budget) const;
    // A module used as a value (CommonJS `module.exports = X`) stands for X.
    Value unwrapModule(const Value& value, int& budget) const;
    BaseRef resolveBase(const FileEntry& file, std::string_view expression) const;

    struct Found;
    Found findMember(ClassRef klass, std::string_view name, bool methods, int& budget) const;
    void readFile(const FileEntry& file) const {
        if (reads_) reads_->files.push_back(&file);
    }
    void readName(std::string_view name) const {
        if (reads_) reads_->names.push_back(name);
    }

    const NameCandidate* target(const Value& value, int& budget) const;
    const NameCandidate* constructorOf(ClassRef klass, int& budget) const;
    const NameCandidate* symbolIn(const FileEntry& file, std::string_view name, bool method, bool klass) const;

    // The bases of a class as its file has them resolved so far. While the bases of a
    // file are resolved, those of files after it in path order count as not resolved yet,
    // as in the one pass over all files, whether or not they are.
    std::span<const BaseRef> basesOf(ClassRef klass) const;
    void resolveBasesOf(FileEntry& file, const BaseReadsSink& baseReads, LinkReads& reads);

    ProjectFacts& facts_;
    const SymbolNameIndex& index_;
    LinkReads* reads_ = nullptr;
    const FileEntry* resolving_ = nullptr;  // the file whose bases are being resolved
};

}  // namespace vantrel::detail
