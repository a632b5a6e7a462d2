// Random sequences of edits, additions, deletions and renames applied to a generated
// project of JS, TS and Python files. After each step the live project is told the paths a
// watcher would name, and its graph must equal a full scan of the folder with an empty
// cache, in both linking modes. The projects are made to stress what an update can miss:
// few names shared by many files (a symbol appearing or going changes how other files'
// calls resolve), imports of files that do not exist yet, folder index files, Python
// packages, and types that flow from file to file, which precise linking follows: classes
// imported by name, by whole module, or through index and __init__ re-exports (named and
// `*`); bases declared in other files, so that a call on a subclass reaches a method two
// files away; fields, module-level values and function results holding instances; calls
// on receivers of unknown type, which link when one class alone declares the method.
// Most edits change declarations (a method, a base, a class's name, a result, an import),
// which can change how call sites in other files resolve; the rest change only what the
// bodies call.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/config/VantrelConfig.h"
#include "core/live/LiveProject.h"
#include "core/util/FileIO.h"
#include "tests/support/TempDir.h"

namespace vantrel {
namespace {

using testing::TempDir;
namespace fs = std::filesystem;

// Few names of each kind, so that many files declare and call the same ones.
const std::vector<std::string> kNames = {"load", "save", "render", "helper", "parse", "run", "make", "close"};
const std::vector<std::string> kClasses = {"Store", "View", "Base", "Model"};
// Some shared with the functions, some only methods; none a method of the languages' own
// types, which a receiver of unknown type never links to.
const std::vector<std::string> kMethods = {"load", "save", "render", "refresh", "validate", "draw"};
const std::vector<std::string> kValues = {"store", "view", "shared"};  // module-level values
const std::vector<std::string> kFields = {"store", "view", "model"};
// `store` and `view` are also the names of classes but for the case of a letter.
const std::vector<std::string> kParams = {"item", "store", "view"};
// Where files may live; each one may be there or not at any step.
const std::vector<std::string> kPaths = {
    "src/m0.ts",   "src/m1.ts",       "src/m2.js",        "src/m3.tsx",     "src/lib/index.ts",
    "src/lib/m4.ts", "src/lib/m5.js", "src/lib/deep/m6.ts", "pkg/__init__.py", "pkg/q0.py",
    "pkg/q1.py",   "pkg/sub/__init__.py", "pkg/sub/q2.py", "q3.py",          "src/m7.ts"};
// Modules a Python file can import whole, wherever it is.
const std::vector<std::string> kPyModules = {"pkg.q0", "pkg.q1", "pkg.sub.q2", "pkg", "pkg.sub", "q3"};

bool contains(const std::vector<std::string>& list, const std::string& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

// Plain modulo rather than a distribution: the same projects on every standard library.
class Rng {
public:
    explicit Rng(std::uint32_t seed) : rng_(seed) {}
    std::uint32_t next() { return rng_(); }
    std::size_t below(std::size_t n) { return n == 0 ? 0 : rng_() % n; }
    bool chance(unsigned percent) { return rng_() % 100 < percent; }
    const std::string& pick(const std::vector<std::string>& from) { return from[below(from.size())]; }
    const std::string& name() { return pick(kNames); }

private:
    std::mt19937 rng_;
};

// What a module-level value, a field or a result holds.
struct Value {
    enum class Kind { none, instance, result, self, field };
    Kind kind = Kind::none;
    std::string name;  // the class, the function, the field
};

struct Function {
    std::string name;
    std::string param;      // none when empty
    std::string paramType;  // a class, written where the language has annotations
    Value result;
    bool declared = false;  // an instance result also written as the declared result type
};

// How a field comes to hold an instance of `klass`: assigned in the constructor, set in
// the class body, declared with its type (TS, Python), or a typed constructor parameter.
struct Field {
    enum class Form { constructor, body, declared, parameter };
    std::string name;
    std::string klass;
    Form form = Form::constructor;
};

struct ClassModel {
    std::string name;
    std::string base;  // none when empty
    bool constructor = false;
    std::vector<Field> fields;
    std::vector<Function> methods;
};

// `from` picks among the modules the file's place can name, so that the same model
// written at another place imports what that place reaches.
struct Import {
    enum class Kind { named, module, reexport, reexportAll };
    Kind kind = Kind::named;
    std::string name;
    std::string alias;
    std::uint32_t from = 0;
    bool require = false;  // in a .js file, written as CommonJS
    std::string local() const { return alias.empty() ? name : alias; }
};

struct Variable {
    std::string name;
    Value value;
};

// A file as its declarations and a seed for what its bodies call. A save that draws a new
// body seed changes only the calls, which leaves the file's symbols and type facts as
// they were.
struct FileModel {
    std::vector<Import> imports;
    std::vector<ClassModel> classes;
    std::vector<Function> functions;
    std::vector<Variable> variables;
    bool external = false;  // an import of a package outside the project
    std::uint32_t body = 0;
    // Moved without rewriting: its imports were made for its old place, so the next save,
    // made for the new place, changes more than the bodies.
    bool moved = false;
};

using Files = std::map<std::string, FileModel>;

bool isFolderModule(const std::string& path) { return path.ends_with("/index.ts") || path.ends_with("__init__.py"); }

// The module paths a file at `path` can write, by every form of relative path; some
// name files that do not exist yet.
std::vector<std::string> jsModules(const std::string& path) {
    if (path.starts_with("src/lib/deep/")) return {"../m4", "../m5", "..", "../../m0", "../../m7"};
    if (path.starts_with("src/lib/")) return {"./m4", "./m5", "./deep/m6", "../m0", "../m1", "../m7", "."};
    return {"./m0", "./m1", "./m2", "./m3", "./lib", "./lib/m4", "./m7", "./lib/index"};
}

std::vector<std::string> pyFroms(const std::string& path) {
    if (path.starts_with("pkg/sub/")) return {"..q0", "..q1", ".q2", ".", "..", "pkg.q1"};
    if (path.starts_with("pkg/")) return {".q0", ".q1", ".sub.q2", ".sub", ".", "pkg.q0"};
    return {"pkg.q0", "pkg.q1", "pkg.sub.q2", "pkg", "pkg.sub"};
}

// The place among kPaths that a module written in the file at `path` names, or "": only
// to aim imports at files that declare what they import, not how the scanner resolves.
std::string placeOf(const std::string& path, const std::string& module, bool wholeModule) {
    std::string base;
    if (!path.ends_with(".py")) {
        base = (fs::path(path).parent_path() / module).lexically_normal().generic_string();
        if (base.ends_with('/')) base.pop_back();
    } else {
        std::string rest = module;
        if (!wholeModule && module.starts_with('.')) {
            const std::size_t dots = std::min(module.find_first_not_of('.'), module.size());
            fs::path folder = fs::path(path).parent_path();
            for (std::size_t i = 1; i < dots; ++i) folder = folder.parent_path();
            base = folder.generic_string();
            rest = module.substr(dots);
        }
        std::replace(rest.begin(), rest.end(), '.', '/');
        base = base.empty() ? rest : rest.empty() ? base : base + "/" + rest;
    }
    for (const char* ending : {".ts", ".tsx", ".js", "/index.ts", ".py", "/__init__.py"})
        if (contains(kPaths, base + ending)) return base + ending;
    return {};
}

const std::vector<std::string>& poolOf(const std::string& name) {
    return contains(kClasses, name) ? kClasses : contains(kNames, name) ? kNames : kValues;
}

Value randomResult(Rng& rng, bool method) {
    switch (rng.below(method ? 10 : 8)) {
        case 0:
        case 1:
        case 2: return {};
        case 3:
        case 4:
        case 5: return {Value::Kind::instance, rng.pick(kClasses)};
        case 6:
        case 7: return {Value::Kind::result, rng.name()};
        case 8: return {Value::Kind::self, {}};
        default: return {Value::Kind::field, rng.pick(kFields)};
    }
}

Function randomFunction(Rng& rng, const std::string& name, bool method) {
    Function function;
    function.name = name;
    if (rng.chance(50)) function.param = rng.pick(kParams);
    if (!function.param.empty() && rng.chance(40)) function.paramType = rng.pick(kClasses);
    function.result = randomResult(rng, method);
    function.declared = function.result.kind == Value::Kind::instance && rng.chance(30);
    return function;
}

Field randomField(Rng& rng) {
    return Field{rng.pick(kFields), rng.pick(kClasses), static_cast<Field::Form>(rng.below(4))};
}

// The classes a file's own code can name: its own and those it imports.
std::vector<std::string> classesIn(const FileModel& model, bool python) {
    std::vector<std::string> classes;
    for (const auto& import : model.imports)
        if ((import.kind == Import::Kind::named || (python && import.kind == Import::Kind::reexport)) &&
            contains(kClasses, import.local()))
            classes.push_back(import.local());
    for (const auto& klass : model.classes) classes.push_back(klass.name);
    return classes;
}

// Mostly a class the file names, so that bases lead to other files; now and then any.
std::string randomBase(Rng& rng, const FileModel& model, bool python) {
    const auto named = classesIn(model, python);
    return !named.empty() && rng.chance(70) ? rng.pick(named) : rng.pick(kClasses);
}

ClassModel randomClass(Rng& rng, const std::string& name, const FileModel& model, bool python) {
    ClassModel klass;
    klass.name = name;
    if (rng.chance(65)) klass.base = randomBase(rng, model, python);
    klass.constructor = rng.chance(35);
    for (std::size_t i = rng.below(3); i-- > 0;) klass.fields.push_back(randomField(rng));
    for (std::size_t i = rng.below(3) + 1; i-- > 0;)
        klass.methods.push_back(randomFunction(rng, rng.pick(kMethods), true));
    return klass;
}

// An import, mostly of a name another file of the language declares, from a module that
// names that file; the rest of anything from anywhere.
Import randomImport(Rng& rng, const std::string& path, const Files& files) {
    const bool python = path.ends_with(".py");
    Import import;
    using Kind = Import::Kind;
    // Folder modules mostly pass on what their folder's files declare.
    const std::size_t kind = rng.below(20);
    if (isFolderModule(path)) import.kind = kind < 3 ? Kind::named : kind < 12 ? Kind::reexport : Kind::reexportAll;
    else if (kind < 11) import.kind = Kind::named;
    else if (kind < 13) import.kind = Kind::module;
    else import.kind = kind < 17 ? Kind::reexport : Kind::reexportAll;
    import.from = rng.next();
    import.require = rng.chance(30);
    const bool wholeModule = import.kind == Kind::module;
    const std::vector<std::string> modules = !python ? jsModules(path) : wholeModule ? kPyModules : pyFroms(path);
    // What the other files of the language declare, with where.
    std::vector<std::pair<std::string, std::string>> declared;
    for (const auto& [other, model] : files) {
        if (other == path || other.ends_with(".py") != python) continue;
        for (const auto& klass : model.classes) declared.emplace_back(klass.name, other);
        for (const auto& function : model.functions) declared.emplace_back(function.name, other);
        for (const auto& variable : model.variables) declared.emplace_back(variable.name, other);
    }
    std::string target;
    if (!declared.empty() && rng.chance(70)) {
        const auto& [name, file] = declared[rng.below(declared.size())];
        import.name = name;
        target = file;
    } else {
        const std::size_t what = rng.below(10);
        import.name = rng.pick(what < 5 ? kClasses : what < 8 ? kNames : kValues);
    }
    if (!target.empty()) {
        std::vector<std::uint32_t> reaching;
        for (std::uint32_t i = 0; i < modules.size(); ++i)
            if (placeOf(path, modules[i], wholeModule) == target) reaching.push_back(i);
        if (!reaching.empty()) import.from = reaching[rng.below(reaching.size())];
    }
    if (import.kind == Kind::named || import.kind == Kind::reexport) {
        if (rng.chance(15)) {
            import.alias = rng.pick(poolOf(import.name));
            if (import.alias == import.name) import.alias.clear();
        }
    } else {
        import.name.clear();
    }
    return import;
}

Variable randomVariable(Rng& rng, const FileModel& model, bool python) {
    if (rng.chance(30)) return Variable{rng.pick(kValues), Value{Value::Kind::result, rng.name()}};
    const auto named = classesIn(model, python);
    return Variable{rng.pick(kValues), Value{Value::Kind::instance,
                                             !named.empty() && rng.chance(70) ? rng.pick(named) : rng.pick(kClasses)}};
}

// One declaration of each name, and no import of a name the file declares: the files
// stay valid code whatever the edits did.
void tidy(FileModel& model) {
    std::set<std::string> declared;
    auto firstOf = [](auto& list, auto&& key) {
        std::set<std::string> seen;
        std::erase_if(list, [&](const auto& item) { return !seen.insert(key(item)).second; });
    };
    firstOf(model.classes, [](const ClassModel& c) { return c.name; });
    firstOf(model.functions, [](const Function& f) { return f.name; });
    firstOf(model.variables, [](const Variable& v) { return v.name; });
    for (auto& klass : model.classes) {
        if (klass.base == klass.name) klass.base.clear();
        firstOf(klass.fields, [](const Field& f) { return f.name; });
        firstOf(klass.methods, [](const Function& f) { return f.name; });
        declared.insert(klass.name);
    }
    for (const auto& function : model.functions) declared.insert(function.name);
    for (const auto& variable : model.variables) declared.insert(variable.name);
    std::erase_if(model.imports, [&](const Import& import) {
        if (import.kind == Import::Kind::module || import.kind == Import::Kind::reexportAll) return false;
        return !declared.insert(import.local()).second;
    });
}

FileModel newModel(Rng& rng, const std::string& path, const Files& files) {
    const bool python = path.ends_with(".py");
    const bool folderModule = isFolderModule(path);
    FileModel model;
    for (std::size_t i = folderModule ? rng.below(3) + 1 : rng.below(4); i-- > 0;)
        model.imports.push_back(randomImport(rng, path, files));
    const std::size_t classes =
        folderModule ? (rng.chance(25) ? 1 : 0) : std::vector<std::size_t>{0, 0, 1, 1, 1, 2, 2}[rng.below(7)];
    for (std::size_t i = classes; i-- > 0;)
        model.classes.push_back(randomClass(rng, rng.pick(kClasses), model, python));
    std::set<std::string> chosen;
    for (std::size_t i = folderModule ? (rng.chance(30) ? 1 : 0) : rng.below(3) + 1; i-- > 0;)
        chosen.insert(rng.name());
    for (const auto& name : chosen) model.functions.push_back(randomFunction(rng, name, false));
    if (rng.chance(35)) model.variables.push_back(randomVariable(rng, model, python));
    model.external = rng.chance(20);
    model.body = rng.next();
    tidy(model);
    return model;
}

// A first project: each place taken or not, then the imports and bases drawn again once
// every file is known, so that the first files too import what others declare.
Files initialProject(Rng& rng) {
    Files files;
    for (const auto& path : kPaths)
        if (rng.chance(60)) files[path] = newModel(rng, path, files);
    for (auto& [path, model] : files) {
        for (auto& import : model.imports) import = randomImport(rng, path, files);
        for (auto& klass : model.classes)
            if (!klass.base.empty()) klass.base = randomBase(rng, model, path.ends_with(".py"));
        tidy(model);
    }
    return files;
}

// A change of declarations: a method, a base, a class's name, a result, a field, an
// import, a value; each can change where calls of other files lead.
void changeDeclarations(FileModel& model, Rng& rng, const std::string& path, const Files& files) {
    const bool python = path.ends_with(".py");
    auto anyClass = [&]() -> ClassModel& {
        if (model.classes.empty()) model.classes.push_back(randomClass(rng, rng.pick(kClasses), model, python));
        return model.classes[rng.below(model.classes.size())];
    };
    switch (rng.below(13)) {
        case 0: {  // a method more
            ClassModel& klass = anyClass();
            klass.methods.push_back(randomFunction(rng, rng.pick(kMethods), true));
            break;
        }
        case 1: {  // a method fewer
            ClassModel& klass = anyClass();
            if (!klass.methods.empty())
                klass.methods.erase(klass.methods.begin() + static_cast<long>(rng.below(klass.methods.size())));
            break;
        }
        case 2: {  // another base, or none
            ClassModel& klass = anyClass();
            klass.base = rng.chance(25) ? std::string() : randomBase(rng, model, python);
            break;
        }
        case 3: anyClass().name = rng.pick(kClasses); break;
        case 4:  // what a function returns
            if (model.functions.empty()) model.functions.push_back(randomFunction(rng, rng.name(), false));
            else {
                Function& function = model.functions[rng.below(model.functions.size())];
                function.result = randomResult(rng, false);
                function.declared = function.result.kind == Value::Kind::instance && rng.chance(30);
            }
            break;
        case 5: {  // what a method returns, or the type of its parameter
            ClassModel& klass = anyClass();
            if (klass.methods.empty()) break;
            Function& method = klass.methods[rng.below(klass.methods.size())];
            if (rng.chance(70)) method.result = randomResult(rng, true);
            else {
                if (method.param.empty()) method.param = rng.pick(kParams);
                method.paramType = rng.chance(25) ? std::string() : rng.pick(kClasses);
            }
            break;
        }
        case 6: {  // a field holds another class, comes or goes
            ClassModel& klass = anyClass();
            const std::size_t what = rng.below(3);
            if (what == 0 || klass.fields.empty()) klass.fields.push_back(randomField(rng));
            else if (what == 1) klass.fields[rng.below(klass.fields.size())].klass = rng.pick(kClasses);
            else klass.fields.erase(klass.fields.begin() + static_cast<long>(rng.below(klass.fields.size())));
            break;
        }
        case 7: {
            ClassModel& klass = anyClass();
            klass.constructor = !klass.constructor;
            break;
        }
        case 8: model.imports.push_back(randomImport(rng, path, files)); break;
        case 9:  // an import fewer, or from elsewhere
            if (model.imports.empty()) model.imports.push_back(randomImport(rng, path, files));
            else if (rng.chance(50))
                model.imports.erase(model.imports.begin() + static_cast<long>(rng.below(model.imports.size())));
            else model.imports[rng.below(model.imports.size())].from = rng.next();
            break;
        case 10:  // a class more or fewer
            if (!model.classes.empty() && rng.chance(50))
                model.classes.erase(model.classes.begin() + static_cast<long>(rng.below(model.classes.size())));
            else model.classes.push_back(randomClass(rng, rng.pick(kClasses), model, python));
            break;
        case 11:  // a module-level value comes, goes or holds something else
            if (!model.variables.empty() && rng.chance(40)) model.variables.clear();
            else if (model.variables.empty()) model.variables.push_back(randomVariable(rng, model, python));
            else model.variables.front().value = randomVariable(rng, model, python).value;
            break;
        default:  // a function more or fewer
            if (!model.functions.empty() && rng.chance(50))
                model.functions.erase(model.functions.begin() + static_cast<long>(rng.below(model.functions.size())));
            else model.functions.push_back(randomFunction(rng, rng.name(), false));
            break;
    }
    tidy(model);
}

// What the bodies of a file can name, beside the pools' names.
struct Known {
    std::vector<std::string> functions, classes, values, modules;
};

// The calls of bodies, drawn from the body seed only. They never assign a field, declare
// a module-level name or return, so that they leave the file's type facts alone.
class BodyWriter {
public:
    BodyWriter(bool python, const Known& known, std::uint32_t seed) : python_(python), known_(known), rng_(seed) {}

    // The statements of one body, each on its own line; gives how many. `klass` is the
    // enclosing class, `param` the function's parameter.
    std::size_t write(std::ostream& out, const std::string& indent, const ClassModel* klass, const std::string& param) {
        std::size_t lines = 0;
        for (std::size_t i = rng_.below(5); i-- > 0;) {
            for (const auto& statement : statements(klass, param)) {
                out << indent << statement << (python_ ? "\n" : ";\n");
                ++lines;
            }
        }
        return lines;
    }

private:
    std::string pickFrom(const std::vector<std::string>& known, const std::vector<std::string>& pool) {
        return !known.empty() && rng_.chance(75) ? rng_.pick(known) : rng_.pick(pool);
    }
    std::string klass() { return pickFrom(known_.classes, kClasses); }
    std::string function() { return pickFrom(known_.functions, kNames); }
    std::string method() { return rng_.chance(85) ? rng_.pick(kMethods) : rng_.name(); }
    std::string instance(const std::string& klass) { return python_ ? klass + "()" : "new " + klass + "()"; }
    std::string self() const { return python_ ? "self" : "this"; }

    // A receiver whose type comes from elsewhere.
    std::string receiver(const ClassModel* enclosing, const std::string& param) {
        switch (rng_.below(6)) {
            case 0: return instance(klass());
            case 1: return pickFrom(known_.values, kValues);
            case 2: return function() + "()";
            case 3:
                if (!param.empty()) return param;
                [[fallthrough]];
            default: return enclosing ? self() + "." + field(*enclosing) : instance(klass());
        }
    }

    // Mostly a field the class declares; now and then one it may inherit, or none.
    std::string field(const ClassModel& enclosing) {
        std::vector<std::string> fields;
        for (const auto& field : enclosing.fields) fields.push_back(field.name);
        return pickFrom(fields, kFields);
    }

    std::vector<std::string> statements(const ClassModel* enclosing, const std::string& param) {
        switch (rng_.below(enclosing ? 16 : 11)) {
            case 0:
            case 1: return {function() + "()"};
            case 2: return {instance(klass())};
            case 3: return {receiver(enclosing, param) + "." + method() + "()"};
            case 4: return {receiver(enclosing, param) + "." + method() + "()." + method() + "()"};
            case 5: {
                // A local holding an instance or a result.
                std::string local = "s" + std::to_string(locals_++);
                std::string value = rng_.chance(60) ? instance(klass()) : function() + "()";
                return {(python_ ? local + " = " : "const " + local + " = ") + value, local + "." + method() + "()"};
            }
            case 6:
                if (!param.empty()) return {param + "." + method() + "()"};
                return {pickFrom(known_.values, kValues) + "." + method() + "()"};
            case 7: return {function() + "()." + method() + "()"};
            case 8: {
                // What a module imported whole holds.
                if (known_.modules.empty()) return {instance(klass()) + "." + method() + "()"};
                const std::string module = rng_.pick(known_.modules);
                if (rng_.chance(50)) return {instance(module + "." + rng_.pick(kClasses)) + "." + method() + "()"};
                return {module + "." + rng_.name() + "()" + (rng_.chance(50) ? "." + method() + "()" : "")};
            }
            case 9: return {pickFrom(known_.values, kValues) + "." + method() + "()"};
            case 10: return {instance(klass()) + "." + method() + "()"};
            case 11:
            case 12: return {self() + "." + method() + "()"};
            case 13:
            case 14: return {self() + "." + field(*enclosing) + "." + method() + "()"};
            default: return {(python_ ? "super()." : "super.") + method() + "()"};
        }
    }

    bool python_;
    const Known& known_;
    Rng rng_;
    int locals_ = 0;
};

Known knownNames(const std::string& path, const FileModel& model) {
    const bool python = path.ends_with(".py");
    Known known;
    int namespaces = 0;
    for (const auto& import : model.imports) {
        if (import.kind == Import::Kind::module)
            known.modules.push_back(python ? kPyModules[import.from % kPyModules.size()]
                                           : "ns" + std::to_string(namespaces++));
        // A JS re-export binds nothing in the file; a Python one is an import.
        if (import.kind == Import::Kind::named || (python && import.kind == Import::Kind::reexport)) {
            const std::string local = import.local();
            if (contains(kClasses, local)) known.classes.push_back(local);
            else if (contains(kNames, local)) known.functions.push_back(local);
            else known.values.push_back(local);
        }
    }
    for (const auto& klass : model.classes) known.classes.push_back(klass.name);
    for (const auto& function : model.functions) known.functions.push_back(function.name);
    for (const auto& variable : model.variables) known.values.push_back(variable.name);
    return known;
}

bool declaresResult(const Function& function) {
    return function.declared && function.result.kind == Value::Kind::instance;
}

std::string valueText(const Value& value, bool python) {
    switch (value.kind) {
        case Value::Kind::instance: return python ? value.name + "()" : "new " + value.name + "()";
        case Value::Kind::result: return value.name + "()";
        case Value::Kind::self: return python ? "self" : "this";
        case Value::Kind::field: return (python ? "self." : "this.") + value.name;
        default: return {};
    }
}

std::string jsFile(const std::string& path, const FileModel& model) {
    const bool typed = !path.ends_with(".js");
    const bool commonJs = !typed;  // where `require` is written too
    const auto modules = jsModules(path);
    const Known known = knownNames(path, model);
    BodyWriter body(false, known, model.body);
    std::ostringstream out;
    int namespaces = 0;
    for (const auto& import : model.imports) {
        const std::string quoted = "'" + modules[import.from % modules.size()] + "'";
        const std::string renamed = import.alias.empty() ? import.name : import.name + " as " + import.alias;
        switch (import.kind) {
            case Import::Kind::named:
                if (commonJs && import.require)
                    out << "const { " << (import.alias.empty() ? import.name : import.name + ": " + import.alias)
                        << " } = require(" << quoted << ");\n";
                else out << "import { " << renamed << " } from " << quoted << ";\n";
                break;
            case Import::Kind::module: {
                const std::string local = "ns" + std::to_string(namespaces++);
                if (commonJs && import.require) out << "const " << local << " = require(" << quoted << ");\n";
                else out << "import * as " << local << " from " << quoted << ";\n";
                break;
            }
            case Import::Kind::reexport: out << "export { " << renamed << " } from " << quoted << ";\n"; break;
            case Import::Kind::reexportAll: out << "export * from " << quoted << ";\n"; break;
        }
    }
    if (model.external) out << "import React from 'react';\n";
    auto signature = [&](const Function& function) {
        std::string text = function.name + "(" + function.param;
        if (typed && !function.paramType.empty() && !function.param.empty()) text += ": " + function.paramType;
        text += ")";
        if (typed && declaresResult(function)) text += ": " + function.result.name;
        return text;
    };
    auto bodyOf = [&](const Function& function, const ClassModel* klass, const std::string& indent) {
        body.write(out, indent, klass, function.param);
        if (function.result.kind != Value::Kind::none)
            out << indent << "return " << valueText(function.result, false) << ";\n";
    };
    for (const auto& klass : model.classes) {
        out << "export class " << klass.name << (klass.base.empty() ? "" : " extends " + klass.base) << " {\n";
        std::vector<std::string> parameters, assigned;
        for (const auto& field : klass.fields) {
            const std::string value = "new " + field.klass + "()";
            switch (field.form) {
                case Field::Form::body: out << "  " << field.name << " = " << value << ";\n"; break;
                case Field::Form::declared:
                    if (typed) out << "  " << field.name << ": " << field.klass << ";\n";
                    else out << "  " << field.name << " = " << value << ";\n";
                    break;
                case Field::Form::parameter:
                    if (typed) {
                        parameters.push_back("private " + field.name + ": " + field.klass);
                        break;
                    }
                    [[fallthrough]];
                case Field::Form::constructor: assigned.push_back("this." + field.name + " = " + value); break;
            }
        }
        if (klass.constructor || !parameters.empty() || !assigned.empty()) {
            out << "  constructor(";
            for (std::size_t i = 0; i < parameters.size(); ++i) out << (i ? ", " : "") << parameters[i];
            out << ") {\n";
            if (!klass.base.empty()) out << "    super();\n";
            for (const auto& line : assigned) out << "    " << line << ";\n";
            body.write(out, "    ", &klass, {});
            out << "  }\n";
        }
        for (const auto& method : klass.methods) {
            out << "  " << signature(method) << " {\n";
            bodyOf(method, &klass, "    ");
            out << "  }\n";
        }
        out << "}\n";
    }
    for (const auto& function : model.functions) {
        out << "export function " << signature(function) << " {\n";
        bodyOf(function, nullptr, "  ");
        out << "}\n";
    }
    for (const auto& variable : model.variables)
        out << "export const " << variable.name << " = " << valueText(variable.value, false) << ";\n";
    return out.str();
}

std::string pyFile(const std::string& path, const FileModel& model) {
    const auto froms = pyFroms(path);
    const Known known = knownNames(path, model);
    BodyWriter body(true, known, model.body);
    std::ostringstream out;
    for (const auto& import : model.imports) {
        const std::string from = froms[import.from % froms.size()];
        switch (import.kind) {
            case Import::Kind::named:
            case Import::Kind::reexport:
                out << "from " << from << " import " << import.name
                    << (import.alias.empty() ? "" : " as " + import.alias) << "\n";
                break;
            case Import::Kind::module: out << "import " << kPyModules[import.from % kPyModules.size()] << "\n"; break;
            case Import::Kind::reexportAll: out << "from " << from << " import *\n"; break;
        }
    }
    if (model.external) out << "import os\n";
    auto signature = [&](const Function& function, bool method) {
        std::string text = "def " + function.name + "(" + (method ? "self" : "");
        if (!function.param.empty()) {
            text += (method ? ", " : "") + function.param;
            if (!function.paramType.empty()) text += ": " + function.paramType;
        }
        text += ")";
        if (declaresResult(function)) text += " -> " + function.result.name;
        return text + ":\n";
    };
    auto bodyOf = [&](const Function& function, const ClassModel* klass, const std::string& indent) {
        std::size_t lines = body.write(out, indent, klass, function.param);
        if (function.result.kind != Value::Kind::none) {
            out << indent << "return " << valueText(function.result, true) << "\n";
            ++lines;
        }
        if (lines == 0) out << indent << "pass\n";
    };
    for (const auto& klass : model.classes) {
        out << "class " << klass.name << (klass.base.empty() ? "" : "(" + klass.base + ")") << ":\n";
        std::size_t members = 0;
        std::vector<std::string> parameters, assigned;
        for (const auto& field : klass.fields) {
            switch (field.form) {
                case Field::Form::body: out << "    " << field.name << " = " << field.klass << "()\n"; break;
                case Field::Form::declared: out << "    " << field.name << ": " << field.klass << "\n"; break;
                case Field::Form::parameter:
                    parameters.push_back(field.name + ": " + field.klass);
                    assigned.push_back("self." + field.name + " = " + field.name);
                    break;
                case Field::Form::constructor:
                    assigned.push_back("self." + field.name + " = " + field.klass + "()");
                    break;
            }
            ++members;
        }
        if (klass.constructor || !assigned.empty()) {
            out << "    def __init__(self";
            for (const auto& parameter : parameters) out << ", " << parameter;
            out << "):\n";
            std::size_t lines = 0;
            if (!klass.base.empty()) {
                out << "        super().__init__()\n";
                ++lines;
            }
            for (const auto& line : assigned) {
                out << "        " << line << "\n";
                ++lines;
            }
            lines += body.write(out, "        ", &klass, {});
            if (lines == 0) out << "        pass\n";
            ++members;
        }
        for (const auto& method : klass.methods) {
            out << "    " << signature(method, true);
            bodyOf(method, &klass, "        ");
            ++members;
        }
        if (members == 0) out << "    pass\n";
    }
    for (const auto& function : model.functions) {
        out << signature(function, false);
        bodyOf(function, nullptr, "    ");
    }
    for (const auto& variable : model.variables)
        out << variable.name << " = " << valueText(variable.value, true) << "\n";
    return out.str();
}

std::string fileText(const std::string& path, const FileModel& model) {
    return path.ends_with(".py") ? pyFile(path, model) : jsFile(path, model);
}

struct Project {
    const TempDir& dir;
    Files files;

    void write(const std::string& path, const std::string& content) const { dir.write("project/" + path, content); }
    void remove(const std::string& path) const { fs::remove(dir.at("project/" + path)); }
    std::vector<std::string> absent() const {
        std::vector<std::string> out;
        for (const auto& path : kPaths)
            if (!files.count(path)) out.push_back(path);
        return out;
    }
};

ProjectIR fullScanWithoutCache(const std::string& root, LinkingMode linking) {
    TempDir support;
    SymbolScanner scanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path()));
    ScanOptions options;
    options.root = root;
    options.config.linking = linking;
    options.maxConcurrentParses = 2;
    return scanner.scanProject(options);
}

std::string firstDifference(const ProjectIR& live, const ProjectIR& full) {
    for (const auto& [id, symbol] : full.symbols) {
        auto it = live.symbols.find(id);
        if (it == live.symbols.end()) return "missing symbol " + id;
        if (it->second.refsOut != symbol.refsOut) return "other callees of " + id;
        if (it->second.refsIn != symbol.refsIn) return "other callers of " + id;
        if (!(it->second == symbol)) return "other range or kind of " + id;
    }
    for (const auto& [id, symbol] : live.symbols)
        if (!full.symbols.count(id)) return "extra symbol " + id;
    if (live.diagnostics != full.diagnostics)
        return "other diagnostics (" + std::to_string(live.diagnostics.size()) + " vs " +
               std::to_string(full.diagnostics.size()) + ")";
    return {};
}

// A live project of `root` in the given mode, its cache in `support`, not yet opened.
std::unique_ptr<LiveProject> liveProject(const std::string& root, const std::string& support, LinkingMode linking) {
    LiveProjectOptions options;
    options.root = root;
    options.loadConfig = [linking] {
        VantrelConfig config;
        config.linking = linking;
        return config;
    };
    options.maxConcurrentParses = 2;
    return std::make_unique<LiveProject>(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support)), options);
}

// `filesStay`: every step edits a file, none is added, deleted or renamed.
void runSequence(std::uint32_t seed, LinkingMode linking, int steps, bool filesStay = false) {
    TempDir dir;
    TempDir support;
    Rng gen(seed);
    Project project{dir, initialProject(gen)};
    for (const auto& [path, model] : project.files) project.write(path, fileText(path, model));
    const std::string root = dir.at("project");
    fs::create_directories(root);
    auto opened = liveProject(root, support.path(), linking);
    LiveProject& live = *opened;
    live.open();
    // A copy a reader holds must never change under it.
    std::shared_ptr<const ProjectIR> held;
    ProjectIR heldAsItWas;

    for (int step = 0; step < steps; ++step) {
        std::vector<std::string> touched;
        std::string what;
        bool bodyOnly = false;
        const std::size_t op = filesStay ? 0 : gen.below(20);
        auto absent = project.absent();
        if ((op < 10 || absent.empty()) && !project.files.empty()) {
            // An edit: most change declarations, some only what the bodies call, a few the
            // whole file.
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            const std::size_t kind = gen.below(20);
            if (kind < 6) {
                it->second.body = gen.next();
                bodyOnly = !it->second.moved;
                what = "body edit of ";
            } else if (kind < 17) {
                for (std::size_t i = gen.chance(40) ? 2 : 1; i-- > 0;)
                    changeDeclarations(it->second, gen, it->first, project.files);
                what = "declarations edit of ";
            } else {
                it->second = newModel(gen, it->first, project.files);
                what = "rewrite of ";
            }
            it->second.moved = false;
            project.write(it->first, fileText(it->first, it->second));
            touched.push_back(it->first);
            what += it->first;
        } else if (op < 14 && !absent.empty()) {
            std::string path = absent[gen.below(absent.size())];
            FileModel model = newModel(gen, path, project.files);
            project.write(path, fileText(path, model));
            project.files[path] = std::move(model);
            touched.push_back(path);
            what = "add " + path;
        } else if (op < 17 && !project.files.empty()) {
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            project.remove(it->first);
            touched.push_back(it->first);
            what = "delete " + it->first;
            project.files.erase(it);
        } else if (!project.files.empty() && !absent.empty()) {
            // A rename keeps the bytes; the new place may change what the imports reach.
            auto it = std::next(project.files.begin(), static_cast<long>(gen.below(project.files.size())));
            std::string to = absent[gen.below(absent.size())];
            if (it->first.ends_with(".py") != to.ends_with(".py")) {
                project.files[to] = it->second;
                project.write(to, fileText(to, it->second));
                project.remove(it->first);
            } else {
                fs::create_directories(fs::path(root + "/" + to).parent_path());
                fs::rename(root + "/" + it->first, root + "/" + to);
                project.files[to] = it->second;
                project.files[to].moved = true;
            }
            touched = {it->first, to};
            what = "rename " + it->first + " to " + to;
            project.files.erase(it);
        } else {
            continue;
        }
        // A watcher names a new or vanished folder rather than its files, now and then.
        if (gen.chance(20)) {
            std::string folder = fs::path(touched.front()).parent_path().string();
            touched.push_back(folder);
        }
        const LiveUpdate update = live.update(touched);
        if (bodyOnly && update.changed.size() == 1) {
            // Only what the bodies call changed: that file alone is analysed and linked again.
            EXPECT_EQ(update.reanalysed, update.changed) << "seed " << seed << ", step " << step << ": " << what;
            EXPECT_EQ(update.relinkedFiles, 1u) << "seed " << seed << ", step " << step << ": " << what;
        }
        const ProjectIR full = fullScanWithoutCache(root, linking);
        const std::string difference = firstDifference(live.graph(), full);
        ASSERT_EQ(difference, "") << "seed " << seed << ", step " << step << ": " << what;
        // Readers' copies, brought up to date from the symbols the update touched.
        auto snapshot = live.snapshot();
        ASSERT_EQ(firstDifference(*snapshot, full), "") << "snapshot, seed " << seed << ", step " << step;
        if (held) {
            ASSERT_EQ(firstDifference(*held, heldAsItWas), "") << "held copy changed at step " << step;
        }
        if (step % 5 == 0) {
            held = snapshot;
            heldAsItWas = *snapshot;
        }
    }
}

// VANTREL_LIVE_SEEDS=N runs N sequences per mode instead, for a longer search by hand.
std::uint32_t sequences(std::uint32_t usual) {
    const char* asked = std::getenv("VANTREL_LIVE_SEEDS");
    return asked ? static_cast<std::uint32_t>(std::strtoul(asked, nullptr, 10)) : usual;
}

TEST(LiveProjectPropertyTest, NamesModeMatchesAFullScanAfterEveryStep) {
    for (std::uint32_t seed = 1; seed <= sequences(4); ++seed) runSequence(seed, LinkingMode::names, 40);
}

TEST(LiveProjectPropertyTest, PreciseModeMatchesAFullScanAfterEveryStep) {
    for (std::uint32_t seed = 1001; seed <= 1000 + sequences(3); ++seed) runSequence(seed, LinkingMode::precise, 30);
}

// Edits alone, with every import form: in precise linking nearly all of them change
// declarations, which re-link only the files whose resolutions read what changed.
TEST(LiveProjectPropertyTest, PreciseModeMatchesAFullScanAfterEveryEdit) {
    for (std::uint32_t seed = 2001; seed <= 2000 + sequences(3); ++seed)
        runSequence(seed, LinkingMode::precise, 30, true);
}

}  // namespace
}  // namespace vantrel

namespace vantrel {
namespace {

// The work an update does, for changes whose reach is known by hand.
TEST(LiveProjectTest, UpdatesOnlyWhatAChangeCanReach) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/a.ts", "export function load() {}\n");
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() { load(); }\n");
    dir.write("p/c.ts", "export function other() { show(); }\n");
    LiveProjectOptions options;
    options.root = dir.at("p");
    LiveProject live(SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
    EXPECT_TRUE(live.open().fullScan);
    EXPECT_EQ(live.graph().symbols.at("a.ts:load:function").refsIn, IdSet{"b.ts:show:function"});

    // A save that changes only a body: that file alone is analysed and linked again.
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() {\n  load();\n  load();\n}\n");
    LiveUpdate body = live.update({"b.ts"});
    EXPECT_EQ(body.changed, std::vector<std::string>{"b.ts"});
    EXPECT_EQ(body.reanalysed, std::vector<std::string>{"b.ts"});
    EXPECT_EQ(body.relinkedFiles, 1u);
    EXPECT_EQ(live.graph().symbols.at("b.ts:show:function").range.endLine, 5);

    // The same bytes written again are no change at all.
    dir.write("p/b.ts", "import { load } from './a';\nexport function show() {\n  load();\n  load();\n}\n");
    EXPECT_TRUE(live.update({"b.ts"}).empty());

    // A second `show` makes c's bare call ambiguous: c is linked again and loses its edge,
    // b's import keeps its own; a.ts and its callers are left alone.
    dir.write("p/d.ts", "export function show() {}\n");
    LiveUpdate added = live.update({"d.ts"});
    EXPECT_EQ(added.added, std::vector<std::string>{"d.ts"});
    EXPECT_EQ(added.reanalysed, std::vector<std::string>{"d.ts"});
    EXPECT_EQ(added.relinkedFiles, 2u);  // d, and c which calls `show`
    EXPECT_TRUE(live.graph().symbols.at("c.ts:other:function").refsOut.empty());
    EXPECT_EQ(live.graph().symbols.at("a.ts:load:function").refsIn, IdSet{"b.ts:show:function"});

    // Deleting a.ts leaves b's import unresolved, which b's new analysis says.
    std::filesystem::remove(dir.at("p/a.ts"));
    LiveUpdate removed = live.update({"a.ts"});
    EXPECT_EQ(removed.removed, std::vector<std::string>{"a.ts"});
    EXPECT_EQ(removed.reanalysed, std::vector<std::string>{"b.ts"});
    // One diagnostic per match of the import: the statement's and its one name's.
    ASSERT_EQ(live.graph().diagnostics.size(), 2u);
    EXPECT_EQ(live.graph().diagnostics[0].importPath, "./a");
    EXPECT_EQ(live.graph().symbols.count("a.ts:load:function"), 0u);

    // A settings file calls for a full scan.
    dir.write("p/tsconfig.json", "{\"compilerOptions\": {}}\n");
    EXPECT_TRUE(live.update({"tsconfig.json"}).fullScan);
    // Paths no scan takes change nothing.
    dir.write("p/node_modules/x/index.js", "function load() {}\n");
    dir.write("p/notes.txt", "load()\n");
    EXPECT_TRUE(live.update({"node_modules/x/index.js", "notes.txt", ".git/HEAD"}).empty());
}

// Precise linking: a save that changes declarations links again only the files whose
// resolutions read what changed, worked out by hand here.
TEST(LiveProjectTest, PreciseDeclarationSavesRelinkOnlyTheFilesThatReadThem) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/base.ts", "export class Base {\n  greet() {}\n}\n");
    dir.write("p/shape.ts", "import { Base } from './base';\nexport class Shape extends Base {\n  area() { return 0; }\n}\n");
    dir.write("p/use.ts", "import { Shape } from './shape';\nexport function draw() {\n  new Shape().greet();\n}\n");
    dir.write("p/poke.ts", "export function poke(x: any) {\n  x.spin();\n}\n");
    dir.write("p/far.ts", "export function far() {\n  helper();\n}\nfunction helper() {}\n");
    dir.write("p/root.ts", "export function unrelated() {}\n");
    dir.write("p/kid.ts", "import { Root } from './root';\nexport class Kid extends Root {}\n");
    dir.write("p/call.ts", "import { Kid } from './kid';\nexport function call() {\n  new Kid().wave();\n}\n");
    auto opened = liveProject(dir.at("p"), support.path(), LinkingMode::precise);
    LiveProject& live = *opened;
    live.open();
    const auto& symbols = live.graph().symbols;
    EXPECT_EQ(symbols.at("use.ts:draw:function").refsOut, IdSet{"base.ts:greet:method"});
    EXPECT_TRUE(symbols.at("poke.ts:poke:function").refsOut.empty());

    // Base gains `spin`, now the one method of that name: base.ts itself, use.ts (Shape's
    // base is read through base.ts) and poke.ts (it asked who declares `spin`); not far.ts.
    dir.write("p/base.ts", "export class Base {\n  greet() {}\n  spin() {}\n}\n");
    LiveUpdate spin = live.update({"base.ts"});
    EXPECT_EQ(spin.reanalysed, std::vector<std::string>{"base.ts"});
    EXPECT_EQ(spin.relinkedFiles, 3u);
    EXPECT_FALSE(spin.allTouched);
    EXPECT_EQ(live.graph().symbols.at("poke.ts:poke:function").refsOut, IdSet{"base.ts:spin:method"});
    EXPECT_EQ(live.graph().symbols.at("use.ts:draw:function").refsOut, IdSet{"base.ts:greet:method"});
    EXPECT_EQ(live.graph().symbols.at("far.ts:far:function").refsOut, IdSet{"far.ts:helper:function"});

    // Shape overrides greet: shape.ts and use.ts, which reads it; draw now reaches Shape's.
    dir.write("p/shape.ts", "import { Base } from './base';\nexport class Shape extends Base {\n"
                            "  area() { return 0; }\n  greet() {}\n}\n");
    LiveUpdate greet = live.update({"shape.ts"});
    EXPECT_EQ(greet.relinkedFiles, 2u);
    EXPECT_EQ(live.graph().symbols.at("use.ts:draw:function").refsOut, IdSet{"shape.ts:greet:method"});
    EXPECT_TRUE(live.graph().symbols.at("base.ts:greet:method").refsIn.empty());

    // root.ts comes to declare Kid's base: call.ts read only kid.ts (whose base was not in
    // the project), but kid.ts's base is read through root.ts, so call.ts is linked again.
    EXPECT_TRUE(live.graph().symbols.at("call.ts:call:function").refsOut.empty());
    dir.write("p/root.ts", "export class Root {\n  wave() {}\n}\n");
    LiveUpdate root = live.update({"root.ts"});
    EXPECT_EQ(root.relinkedFiles, 2u);
    EXPECT_EQ(live.graph().symbols.at("call.ts:call:function").refsOut, IdSet{"root.ts:wave:method"});

    // A file that comes declaring a name no site looked up is linked alone; one that goes
    // that nobody's resolution read links nothing again.
    dir.write("p/extra.ts", "export function lone() {}\n");
    LiveUpdate extra = live.update({"extra.ts"});
    EXPECT_EQ(extra.added, std::vector<std::string>{"extra.ts"});
    EXPECT_EQ(extra.relinkedFiles, 1u);
    std::filesystem::remove(dir.at("p/far.ts"));
    LiveUpdate far = live.update({"far.ts"});
    EXPECT_EQ(far.removed, std::vector<std::string>{"far.ts"});
    EXPECT_EQ(far.relinkedFiles, 0u);
    EXPECT_EQ(live.graph().symbols.count("far.ts:far:function"), 0u);
    EXPECT_EQ(firstDifference(live.graph(), fullScanWithoutCache(dir.at("p"), LinkingMode::precise)), "");
}

// Imports that bind no name the analysis keeps (a whole module, a bare import, a
// re-export of a module not there yet) and a Python package folder that comes with its
// first file: the files they concern are found and analysed again.
TEST(LiveProjectTest, FilesComingAndGoingReachImportsThatNameNoSymbol) {
    testing::TempDir dir;
    testing::TempDir support;
    auto open = [&](const std::string& root, LinkingMode linking) {
        return liveProject(dir.at(root), support.path(), linking);
    };
    auto reports = [](const LiveProject& live, const std::string& importPath) {
        return std::count_if(live.graph().diagnostics.begin(), live.graph().diagnostics.end(),
                             [&](const ResolutionDiagnostic& d) { return d.importPath == importPath; });
    };

    dir.write("n/a.ts", "import * as ns from './b';\nexport function a() {\n  return ns.b();\n}\n");
    dir.write("n/b.ts", "export function b() {}\n");
    dir.write("n/c.ts", "import './d';\nexport function c() {}\n");
    dir.write("n/app.py", "from pkg.q0 import x\n\ndef main():\n    x()\n");
    auto names = open("n", LinkingMode::names);
    names->open();
    EXPECT_EQ(reports(*names, "./b"), 0);
    EXPECT_GT(reports(*names, "./d"), 0);
    const auto pythonBefore = names->graph().diagnostics;

    std::filesystem::remove(dir.at("n/b.ts"));
    dir.write("n/d.ts", "export function d() {}\n");
    LiveUpdate swapped = names->update({"b.ts", "d.ts"});
    EXPECT_EQ(swapped.reanalysed, (std::vector<std::string>{"a.ts", "c.ts", "d.ts"}));
    EXPECT_GT(reports(*names, "./b"), 0);
    EXPECT_EQ(reports(*names, "./d"), 0);
    EXPECT_EQ(firstDifference(names->graph(), fullScanWithoutCache(dir.at("n"), LinkingMode::names)), "");

    // pkg/ did not exist, so pkg.q0 was a module outside the project; now it is one of the
    // project that is not there.
    dir.write("n/pkg/sub/q2.py", "def y():\n    pass\n");
    LiveUpdate folder = names->update({"pkg"});
    EXPECT_EQ(folder.reanalysed, (std::vector<std::string>{"app.py", "pkg/sub/q2.py"}));
    EXPECT_NE(names->graph().diagnostics, pythonBefore);
    EXPECT_EQ(firstDifference(names->graph(), fullScanWithoutCache(dir.at("n"), LinkingMode::names)), "");

    dir.write("p/index.ts", "export * from './shapes';\n");
    dir.write("p/use.ts", "import { Circle } from './index';\nexport function draw() {\n  new Circle().area();\n}\n");
    dir.write("p/pkg/__init__.py", "");
    dir.write("p/app.py", "import pkg\n\ndef main():\n    pkg.q0.Store()\n");
    auto precise = open("p", LinkingMode::precise);
    precise->open();
    EXPECT_TRUE(precise->graph().symbols.at("use.ts:draw:function").refsOut.empty());
    dir.write("p/shapes.ts", "export class Circle {\n  area() {}\n}\n");
    LiveUpdate shapes = precise->update({"shapes.ts"});
    EXPECT_EQ(shapes.reanalysed, (std::vector<std::string>{"index.ts", "shapes.ts"}));
    EXPECT_EQ(precise->graph().symbols.at("use.ts:draw:function").refsOut, IdSet{"shapes.ts:area:method"});

    // A package's module that comes: app.py names it through the package, on no import line.
    EXPECT_TRUE(precise->graph().symbols.at("app.py:main:function").refsOut.empty());
    dir.write("p/pkg/q0.py", "class Store:\n    def __init__(self):\n        pass\n");
    precise->update({"pkg/q0.py"});
    EXPECT_EQ(precise->graph().symbols.at("app.py:main:function").refsOut, IdSet{"pkg/q0.py:__init__:method"});
    EXPECT_EQ(firstDifference(precise->graph(), fullScanWithoutCache(dir.at("p"), LinkingMode::precise)), "");
}

// A project opened live in precise linking; after each save the live graph is compared
// with a full scan of the folder with an empty cache.
class PreciseLiveProject {
public:
    explicit PreciseLiveProject(const std::map<std::string, std::string>& files) {
        for (const auto& [path, text] : files) dir_.write("p/" + path, text);
        live_ = liveProject(dir_.at("p"), support_.path(), LinkingMode::precise);
        live_->open();
    }
    // Writes the files and tells the live project of them, in one update.
    LiveUpdate save(const std::map<std::string, std::string>& files) {
        std::vector<std::string> paths;
        for (const auto& [path, text] : files) {
            dir_.write("p/" + path, text);
            paths.push_back(path);
        }
        return live_->update(paths);
    }
    std::string difference() const {
        return firstDifference(live_->graph(), fullScanWithoutCache(dir_.at("p"), LinkingMode::precise));
    }
    IdSet callees(const std::string& id) const { return live_->graph().symbols.at(id).refsOut; }

private:
    testing::TempDir dir_, support_;
    std::unique_ptr<LiveProject> live_;
};

// The one pass over the files resolves bases in path order, and a base that reads the
// bases of a class in a later file finds them unresolved (z.py comes after a.py, before
// zz.py). A save that resolves a.py's bases again must see them so too; a save of z.py
// that gives Z a field of its own changes what a.py's base reads.
TEST(LiveProjectTest, PreciseBasesResolvedAgainSeeLaterFilesUnresolved) {
    PreciseLiveProject project({{"a.py", "from z import Z\n\nclass A(Z.Inner):\n    pass\n\ndef f():\n    A().m()\n"},
                                {"z.py", "from foo import Foo\n\nclass Z(Foo):\n    pass\n"},
                                {"foo.py", "from bar import Bar\n\nclass Foo:\n    Inner = Bar\n"},
                                {"bar.py", "class Bar:\n    def m(self):\n        pass\n"},
                                {"zz.py", "from z import Z\n\nclass C(Z.Inner):\n    pass\n\ndef h():\n    C().m()\n"}});
    // A's base is not found (Inner is Foo's, through a base not resolved yet): taken as
    // outside the project. C's is Bar.
    const IdSet none;
    const IdSet cBar{"bar.py:m:method", "zz.py:C:class"};
    EXPECT_EQ(project.callees("a.py:f:function"), none);
    EXPECT_EQ(project.callees("zz.py:h:function"), cBar);

    project.save({{"a.py", "from z import Z\n\nclass A(Z.Inner):\n    def k(self):\n        pass\n\ndef f():\n    A().m()\n"}});
    EXPECT_EQ(project.callees("a.py:f:function"), none);
    EXPECT_EQ(project.callees("zz.py:h:function"), cBar);
    EXPECT_EQ(project.difference(), "");

    project.save({{"z.py", "from bar import Bar\n\nclass Z:\n    Inner = Bar\n"}});
    EXPECT_EQ(project.callees("a.py:f:function"), (IdSet{"bar.py:m:method", "a.py:A:class"}));
    EXPECT_EQ(project.callees("zz.py:h:function"), cBar);
    EXPECT_EQ(project.difference(), "");
}

// E1's base is found by its name alone (no import), F1's through E1's bases: a second
// class of that name in another file makes E1's base unknown, and with it F1's, though
// neither e.py nor f.py was saved.
TEST(LiveProjectTest, PreciseBasesResolvedAgainThroughANameAndAnotherFilesBases) {
    PreciseLiveProject project({{"e.py", "class E1(Foo):\n    pass\n"},
                                {"f.py", "from e import E1\n\nclass F1(E1.Inner):\n    pass\n\ndef f():\n    F1().m()\n"},
                                {"foo.py", "from bar import Bar\n\nclass Foo:\n    Inner = Bar\n"},
                                {"bar.py", "class Bar:\n    def m(self):\n        pass\n"},
                                {"z.py", "class Other:\n    pass\n"}});
    const IdSet reached{"bar.py:m:method", "f.py:F1:class"};
    EXPECT_EQ(project.callees("f.py:f:function"), reached);

    project.save({{"z.py", "class Foo:\n    pass\n"}});
    EXPECT_TRUE(project.callees("f.py:f:function").empty());
    EXPECT_EQ(project.difference(), "");

    project.save({{"z.py", "class Other:\n    pass\n"}});
    EXPECT_EQ(project.callees("f.py:f:function"), reached);
    EXPECT_EQ(project.difference(), "");
}

// Two classes of one name in a file: the first counts for the file's name, each is the
// sole declarer of its method. Swapping their bodies changes no name, so c.py, which
// asked only who declares `m` and `n`, keeps its edges; b.py and d.py read a.py.
TEST(LiveProjectTest, PreciseClassesOfOneNameSwapped) {
    PreciseLiveProject project(
        {{"a.py", "class K:\n    def m(self):\n        pass\n\nclass K:\n    def n(self):\n        pass\n"},
         {"b.py", "from a import K\n\ndef f():\n    K().m()\n    K().n()\n"},
         {"c.py", "def g(x):\n    x.m()\n    x.n()\n"},
         {"d.py", "from a import K\n\nclass D(K):\n    pass\n\ndef h():\n    D().m()\n    D().n()\n"}});
    EXPECT_EQ(project.callees("b.py:f:function"), (IdSet{"a.py:K:class", "a.py:m:method"}));
    EXPECT_EQ(project.callees("c.py:g:function"), (IdSet{"a.py:m:method", "a.py:n:method"}));
    EXPECT_EQ(project.callees("d.py:h:function"), (IdSet{"a.py:m:method", "d.py:D:class"}));

    const LiveUpdate swapped =
        project.save({{"a.py", "class K:\n    def n(self):\n        pass\n\nclass K:\n    def m(self):\n        pass\n"}});
    EXPECT_EQ(swapped.relinkedFiles, 3u);  // a, b, d
    EXPECT_EQ(project.callees("b.py:f:function"), (IdSet{"a.py:K:class", "a.py:n:method"}));
    EXPECT_EQ(project.callees("c.py:g:function"), (IdSet{"a.py:m:method", "a.py:n:method"}));
    EXPECT_EQ(project.callees("d.py:h:function"), (IdSet{"a.py:n:method", "d.py:D:class"}));
    EXPECT_EQ(project.difference(), "");
}

// An import whose module name stands on a line of its own (a namespace import leaves the
// analysis no word in the names mode): b.ts going still reaches a.ts.
TEST(LiveProjectTest, ModuleNameOnALineOfItsOwnGoes) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("n/a.ts", "import * as ns from\n  './b';\nexport function a() {\n  return ns.b();\n}\n");
    dir.write("n/b.ts", "export function b() {}\n");
    auto live = liveProject(dir.at("n"), support.path(), LinkingMode::names);
    live->open();
    ASSERT_EQ(firstDifference(live->graph(), fullScanWithoutCache(dir.at("n"), LinkingMode::names)), "");

    std::filesystem::remove(dir.at("n/b.ts"));
    const LiveUpdate removed = live->update({"b.ts"});
    EXPECT_EQ(removed.reanalysed, std::vector<std::string>{"a.ts"});
    EXPECT_EQ(firstDifference(live->graph(), fullScanWithoutCache(dir.at("n"), LinkingMode::names)), "");
}

// A workspace package's entry (src/index.ts) that appears changes how the project's own
// packages resolve, as an edit of a package.json does: the project is scanned again.
TEST(LiveProjectTest, WorkspacePackageEntryAppears) {
    const std::map<std::string, std::string> files{
        {"package.json", "{\"name\": \"root\", \"workspaces\": [\"packages/*\"]}\n"},
        {"packages/mylib/package.json", "{\"name\": \"mylib\"}\n"},
        {"packages/mylib/src/util.ts", "export function util() {}\n"},
        {"app.ts", "import { x } from 'mylib';\nexport function a() {\n  x();\n}\n"}};
    {
        PreciseLiveProject project(files);
        ASSERT_EQ(project.difference(), "");
        const LiveUpdate added = project.save({{"packages/mylib/src/index.ts", "export function x() {}\n"}});
        EXPECT_TRUE(added.fullScan);
        EXPECT_EQ(project.callees("app.ts:a:function"), IdSet{"packages/mylib/src/index.ts:x:function"});
        EXPECT_EQ(project.difference(), "");
        // Another file in the package leaves its entry as it was: no full scan.
        const LiveUpdate other = project.save({{"packages/mylib/src/more.ts", "export function more() {}\n"}});
        EXPECT_FALSE(other.fullScan);
        EXPECT_EQ(project.difference(), "");
    }
    {
        // With app.ts saved in the same update.
        PreciseLiveProject project(files);
        project.save({{"packages/mylib/src/index.ts", "export function x() {}\n"},
                      {"app.ts", "import { x } from 'mylib';\n\nexport function a() {\n  x();\n}\n"}});
        EXPECT_EQ(project.callees("app.ts:a:function"), IdSet{"packages/mylib/src/index.ts:x:function"});
        EXPECT_EQ(project.difference(), "");
    }
}

// Files added and removed while nothing watched: the records of the files importing them
// were kept for their bytes, so opening the project again must analyse those afresh.
TEST(LiveProjectTest, OpeningAgainCatchesUpWithFilesThatCameOrWentMeanwhile) {
    testing::TempDir dir;
    testing::TempDir support;
    dir.write("p/a.ts", "import { b } from './b';\nexport function a() { return b(); }\n");
    dir.write("p/c.ts", "export function b() { return 0; }\n");
    LiveProjectOptions options;
    options.root = dir.at("p");
    auto open = [&] {
        auto live = std::make_unique<LiveProject>(
            SymbolScanner(SymbolScanner::defaultPlugins(), ProjectCache(support.path())), options);
        live->open();
        return live;
    };
    {
        auto live = open();
        // './b' does not exist: two diagnostics (the statement's match and its name's), and
        // the call links by its unique name to c.ts.
        EXPECT_EQ(live->graph().diagnostics.size(), 2u);
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"c.ts:b:function"});
    }
    dir.write("p/b.ts", "export function b() { return 1; }\n");
    {
        // Now './b' resolves and the name is no longer unique: the import decides.
        auto live = open();
        EXPECT_TRUE(live->graph().diagnostics.empty());
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"b.ts:b:function"});
        EXPECT_EQ(firstDifference(live->graph(), fullScanWithoutCache(dir.at("p"), LinkingMode::names)), "");
    }
    std::filesystem::remove(dir.at("p/b.ts"));
    {
        auto live = open();
        EXPECT_EQ(live->graph().diagnostics.size(), 2u);
        EXPECT_EQ(live->graph().symbols.at("a.ts:a:function").refsOut, IdSet{"c.ts:b:function"});
    }
}

}  // namespace
}  // namespace vantrel
