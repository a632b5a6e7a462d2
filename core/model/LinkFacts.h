// What precise linking takes from one file, in plain values: how each call was written
// and where, and the file's type facts (its classes with their bases, methods and
// fields, its functions' results, its module-level values, its imports and re-exports).
// The language layer makes them, the cache stores them, the linker reads them.
//
// Values are written as small expressions over names, evaluated only when the graph is
// linked, because what a name stands for may live in another file:
//
//   expr  := head step*
//   head  := "this" | "super" | "cls" | "?" name | "new(" dotted ")" | name
//   step  := "." name | "()"
//
// "this" is an instance of the enclosing class (Python's `self` is written so too),
// "cls" the enclosing class itself, "super" its base, "?x" the local `x` of unknown type
// (a parameter without a type, say), and "new(a.B)" an instance of the class `a.B` (from a
// constructor call or a type annotation). A name is looked up in the file: a local of
// the calling function has already been replaced by what it holds, so only the file's
// own definitions and imports remain. An empty expression is unknown too.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel {

// How a call was written.
enum class CallForm : std::uint8_t {
    plain,         // f()
    selfMember,    // this.m(), self.m(), cls.m()
    superMember,   // super.m(), super().m()
    superCall,     // super(...)
    constructor,   // new C()
    nameMember,    // x.m(), ns.f(), C.m()
    chainMember,   // a.b.m(), this.a.m()
    resultMember,  // f().m(), new C().m()
};

// One call: where it stands and what it calls. `callee` is the called expression, a
// local already replaced by what it holds: "f", "this.m", "super.m", "super" (a
// constructor's `super(...)`), "a.b.m", "f().m", "new(C).m"; for `new C()` the class
// expression "C".
struct CallSite {
    std::string callerId;        // the nearest enclosing symbol
    std::string callee;          // an expression (see above)
    std::string enclosingClass;  // the class `this`/`self`/`super` refer to; empty outside classes
    std::int32_t line = 0;       // zero-based, of the call's start
    std::int32_t column = 0;     // zero-based, in UTF-16 units
    CallForm form = CallForm::plain;
    bool operator==(const CallSite&) const = default;
};

// A name with the expression of its value (a field's, a variable's) or of its result (a
// function's, a method's); the expression may be empty.
struct TypedName {
    std::string name;
    std::string type;
    bool operator==(const TypedName&) const = default;
};

struct ClassFacts {
    std::string name;
    std::vector<std::string> bases;  // expressions, in declaration order
    std::vector<TypedName> methods;  // with their result expressions
    std::vector<TypedName> fields;   // with their value expressions
    bool operator==(const ClassFacts&) const = default;
};

// A name the file takes from a module: `local` is bound to `name` of the module `path`
// (a project-relative file), or to the module itself when `name` is "*". An empty `path`
// is a module outside the project. A Python `import a.b` binds the dotted `local` "a.b".
// Re-exports use the same form: `local` is the exported name ("*" for all of a module's).
struct ImportBinding {
    std::string local;
    std::string path;
    std::string name;
    bool operator==(const ImportBinding&) const = default;
};

struct FileFacts {
    std::vector<ClassFacts> classes;
    std::vector<TypedName> functions;  // top level, with their result expressions
    std::vector<TypedName> variables;  // top level, with their value expressions
    std::vector<ImportBinding> imports;
    std::vector<ImportBinding> exports;  // re-exports and default exports
    bool empty() const {
        return classes.empty() && functions.empty() && variables.empty() && imports.empty() && exports.empty();
    }
    bool operator==(const FileFacts&) const = default;
};

}  // namespace vantrel
