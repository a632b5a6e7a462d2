#include "core/scan/internal/PreciseLinker.h"

#include <algorithm>
#include <array>

#include "core/scan/internal/Linker.h"

namespace vantrel::detail {

// What an expression stands for while it is evaluated.
struct PreciseLinker::Value {
    enum class Kind : std::uint8_t {
        unknown,   // nothing known: fallbacks may apply
        opaque,    // a local of unknown type: a plain call of it links nowhere
        external,  // outside the project: links nowhere
        module,
        klass,
        instance,
        function,
        method,
    };
    Kind kind = Kind::unknown;
    const FileEntry* file = nullptr;   // the module; the function's or the class's file
    const ClassInfo* klass = nullptr;  // the class, the instance's class, the method's class
    const TypedRef* entry = nullptr;   // the function or method, with its result

    static Value of(Kind kind) { return Value{kind, nullptr, nullptr, nullptr}; }
    static Value ofClass(Kind kind, ClassRef ref) { return Value{kind, ref.file, ref.facts, nullptr}; }
    ClassRef classRef() const { return ClassRef{file, klass}; }
};

namespace {

using Value = PreciseLinker::Value;
using Kind = Value::Kind;

// Work per call site: name lookups, members and calls each take one. Enough for long
// chains through imports and bases; cycles run out of it.
constexpr int kSiteBudget = 96;

// Names every Python module has without an import.
constexpr std::array<std::string_view, 73> kPythonBuiltins{
    "abs",        "aiter",      "all",       "anext", "any",         "ascii",   "bin",     "bool",       "breakpoint",
    "bytearray",  "bytes",      "callable",  "chr",   "classmethod", "compile", "complex", "delattr",    "dict",
    "dir",        "divmod",     "enumerate", "eval",  "exec",        "filter",  "float",   "format",     "frozenset",
    "getattr",    "globals",    "hasattr",   "hash",  "help",        "hex",     "id",      "input",      "int",
    "isinstance", "issubclass", "iter",      "len",   "list",        "locals",  "map",     "max",        "memoryview",
    "min",        "next",       "object",    "oct",   "open",        "ord",     "pow",     "print",      "property",
    "range",      "repr",       "reversed",  "round", "set",         "setattr", "slice",   "sorted",     "staticmethod",
    "str",        "sum",        "super",     "tuple", "type",        "vars",    "zip",     "__import__", "Exception",
    "ValueError"};

// Names every JS environment has without an import.
constexpr std::array<std::string_view, 38> kJSGlobals{
    "Array",   "ArrayBuffer", "Boolean",    "Buffer",       "console",        "Date",           "document", "Error",
    "eval",    "Function",    "globalThis", "isFinite",     "isNaN",          "JSON",           "Map",      "Math",
    "Number",  "Object",      "parseFloat", "parseInt",     "process",        "Promise",        "Proxy",    "Reflect",
    "RegExp",  "require",     "Set",        "setInterval",  "setTimeout",     "String",         "Symbol",   "TypeError",
    "WeakMap", "WeakSet",     "window",     "clearTimeout", "queueMicrotask", "structuredClone"};

bool isBuiltin(std::string_view name, bool python) {
    if (python) {
        if (name.ends_with("Error") || name.ends_with("Exception") || name.ends_with("Warning")) return true;
        return std::find(kPythonBuiltins.begin(), kPythonBuiltins.end(), name) != kPythonBuiltins.end();
    }
    return std::find(kJSGlobals.begin(), kJSGlobals.end(), name) != kJSGlobals.end();
}

// Methods of the languages' own types (lists, strings, maps, promises, files, events): a
// receiver of unknown type calling one of these is far more often such a value than the
// one project class that happens to declare the name, so the fallback leaves them alone.
constexpr std::array<std::string_view, 100> kJSBuiltinMethods{"add",
                                                              "addListener",
                                                              "apply",
                                                              "at",
                                                              "bind",
                                                              "call",
                                                              "catch",
                                                              "charAt",
                                                              "charCodeAt",
                                                              "clear",
                                                              "close",
                                                              "concat",
                                                              "delete",
                                                              "destroy",
                                                              "emit",
                                                              "end",
                                                              "endsWith",
                                                              "entries",
                                                              "every",
                                                              "exec",
                                                              "fill",
                                                              "filter",
                                                              "finally",
                                                              "find",
                                                              "findIndex",
                                                              "flat",
                                                              "flatMap",
                                                              "forEach",
                                                              "get",
                                                              "getTime",
                                                              "has",
                                                              "hasOwnProperty",
                                                              "includes",
                                                              "indexOf",
                                                              "join",
                                                              "keys",
                                                              "lastIndexOf",
                                                              "listeners",
                                                              "localeCompare",
                                                              "map",
                                                              "match",
                                                              "matchAll",
                                                              "next",
                                                              "normalize",
                                                              "off",
                                                              "on",
                                                              "once",
                                                              "padEnd",
                                                              "padStart",
                                                              "pipe",
                                                              "pop",
                                                              "push",
                                                              "read",
                                                              "reduce",
                                                              "reduceRight",
                                                              "removeAllListeners",
                                                              "removeListener",
                                                              "repeat",
                                                              "replace",
                                                              "replaceAll",
                                                              "resolve",
                                                              "reverse",
                                                              "search",
                                                              "set",
                                                              "shift",
                                                              "slice",
                                                              "some",
                                                              "sort",
                                                              "splice",
                                                              "split",
                                                              "startsWith",
                                                              "substr",
                                                              "substring",
                                                              "test",
                                                              "then",
                                                              "toFixed",
                                                              "toISOString",
                                                              "toJSON",
                                                              "toLowerCase",
                                                              "toString",
                                                              "toUpperCase",
                                                              "trim",
                                                              "trimEnd",
                                                              "trimStart",
                                                              "unshift",
                                                              "valueOf",
                                                              "values",
                                                              "write",
                                                              "reject",
                                                              "throw",
                                                              "return",
                                                              "toLocaleString",
                                                              "assign",
                                                              "create",
                                                              "freeze",
                                                              "isArray",
                                                              "from",
                                                              "of",
                                                              "stringify",
                                                              "parse"};
constexpr std::array<std::string_view, 84> kPythonBuiltinMethods{
    "add",          "append",     "capitalize", "casefold",   "center",
    "clear",        "close",      "copy",       "count",      "decode",
    "difference",   "discard",    "encode",     "endswith",   "expandtabs",
    "extend",       "find",       "findall",    "finditer",   "flush",
    "format",       "format_map", "fromkeys",   "fullmatch",  "get",
    "group",        "groupdict",  "groups",     "index",      "insert",
    "intersection", "isalnum",    "isalpha",    "isdigit",    "isdisjoint",
    "islower",      "isspace",    "issubset",   "issuperset", "istitle",
    "isupper",      "items",      "join",       "keys",       "ljust",
    "lower",        "lstrip",     "match",      "partition",  "pop",
    "popitem",      "read",       "readline",   "readlines",  "remove",
    "replace",      "reverse",    "rfind",      "rindex",     "rjust",
    "rpartition",   "rsplit",     "rstrip",     "search",     "seek",
    "setdefault",   "sort",       "span",       "split",      "splitlines",
    "startswith",   "strip",      "sub",        "swapcase",   "symmetric_difference",
    "tell",         "title",      "translate",  "union",      "update",
    "upper",        "values",     "write",      "zfill"};

bool isBuiltinMethod(std::string_view name, bool python) {
    if (python)
        return std::find(kPythonBuiltinMethods.begin(), kPythonBuiltinMethods.end(), name) !=
               kPythonBuiltinMethods.end();
    return std::find(kJSBuiltinMethods.begin(), kJSBuiltinMethods.end(), name) != kJSBuiltinMethods.end();
}

// An expression split into its head and the rest, which starts at a step ("." or "()").
std::pair<std::string_view, std::string_view> splitHead(std::string_view expression) {
    if (expression.starts_with("new(")) {
        auto close = expression.find(')');
        if (close == std::string_view::npos) return {expression, {}};
        return {expression.substr(0, close + 1), expression.substr(close + 1)};
    }
    auto end = expression.find_first_of(".(");
    if (end == std::string_view::npos) return {expression, {}};
    return {expression.substr(0, end), expression.substr(end)};
}

// The position of the last "." outside "new(...)", or npos.
std::size_t lastStep(std::string_view expression) {
    std::size_t skip = 0;
    if (expression.starts_with("new(")) {
        auto close = expression.find(')');
        skip = close == std::string_view::npos ? expression.size() : close;
    }
    auto dot = expression.rfind('.');
    return dot == std::string_view::npos || dot < skip ? std::string_view::npos : dot;
}

}  // namespace

struct PreciseLinker::Found {
    ClassRef owner;
    const TypedRef* entry = nullptr;
    bool external = false;  // the search met a base outside the project
};

PreciseLinker::PreciseLinker(ProjectFacts& facts, const SymbolNameIndex& index, const BaseReadsSink& baseReads)
    : facts_(facts), index_(index) {
    LinkReads reads;
    if (baseReads) reads_ = &reads;
    facts_.resolveBases(
        [&](const FileEntry& file, std::string_view base) {
            resolving_ = &file;
            return resolveBase(file, base);
        },
        [&](const FileEntry& file) {
            if (baseReads && !file.bases.empty()) baseReads(file, reads);
            reads.clear();
        });
    resolving_ = nullptr;
    reads_ = nullptr;
}

void PreciseLinker::resolveBasesAgain(std::vector<FileEntry*> files, const BaseReadsSink& baseReads) {
    std::sort(files.begin(), files.end(), [](const FileEntry* a, const FileEntry* b) { return a->path < b->path; });
    files.erase(std::unique(files.begin(), files.end()), files.end());
    LinkReads reads;
    LinkReads* outer = reads_;
    reads_ = &reads;
    for (FileEntry* file : files) resolveBasesOf(*file, baseReads, reads);
    resolving_ = nullptr;
    reads_ = outer;
}

void PreciseLinker::resolveBasesOf(FileEntry& file, const BaseReadsSink& baseReads, LinkReads& reads) {
    resolving_ = &file;
    file.baseRefs.clear();
    file.baseRefs.reserve(file.bases.size());
    for (std::string_view base : file.bases) file.baseRefs.push_back(resolveBase(file, base));
    if (baseReads && !file.bases.empty()) baseReads(file, reads);
    reads.clear();
}

std::span<const BaseRef> PreciseLinker::basesOf(ClassRef klass) const {
    if (resolving_ && resolving_->path < klass.file->path) return {};
    return ProjectFacts::basesOf(klass);
}

// `name` among the methods (or fields) of `klass` and then of its bases, depth first
// and left to right.
PreciseLinker::Found PreciseLinker::findMember(ClassRef klass, std::string_view name, bool methods,
                                               int& budget) const {
    Found found;
    if (!klass || --budget < 0) return found;
    readFile(*klass.file);
    const auto& list = methods ? klass.facts->methods : klass.facts->fields;
    for (const auto& entry : list)
        if (entry.name == name) return Found{klass, &entry, false};
    for (const BaseRef& base : basesOf(klass)) {
        if (base.external) {
            found.external = true;
            continue;
        }
        Found inBase = findMember(base.klass, name, methods, budget);
        if (inBase.entry) return inBase;
        found.external = found.external || inBase.external;
    }
    return found;
}

BaseRef PreciseLinker::resolveBase(const FileEntry& file, std::string_view expression) const {
    int budget = kSiteBudget;
    Value value = unwrapModule(evaluate(expression, file, ClassRef{}, budget), budget);
    if (value.kind == Kind::klass) return BaseRef{value.classRef(), false};
    // A base that is not found is taken as one outside the project: its methods are unknown.
    return BaseRef{ClassRef{}, true};
}

PreciseLinker::Value PreciseLinker::evaluate(std::string_view expression, const FileEntry& file, ClassRef self,
                                             int& budget) const {
    if (expression.empty()) return Value::of(Kind::unknown);
    readFile(file);
    auto [first, rest] = splitHead(expression);
    // A dotted import (`import a.b`) binds "a.b" itself: the longest bound prefix wins.
    if (file.dottedImports && !rest.empty() && rest.front() == '.') {
        std::string_view best;
        for (std::size_t end = expression.find('.'); end != std::string_view::npos;
             end = expression.find('.', end + 1)) {
            std::string_view prefix = expression.substr(0, end);
            if (prefix.find('(') != std::string_view::npos) break;
            if (file.import(prefix)) best = prefix;
        }
        if (std::string_view whole = expression.substr(0, expression.find('(')); file.import(whole)) best = whole;
        if (!best.empty()) {
            first = best;
            rest = expression.substr(best.size());
        }
    }
    Value value = head(first, file, self, budget);
    while (!rest.empty()) {
        if (--budget < 0) return Value::of(Kind::unknown);
        if (rest.starts_with("()")) {
            value = call(value, budget);
            rest.remove_prefix(2);
        } else if (rest.front() == '.') {
            rest.remove_prefix(1);
            auto end = rest.find_first_of(".(");
            std::string_view name = rest.substr(0, end);
            value = member(value, name, budget);
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
        } else {
            return Value::of(Kind::unknown);
        }
        if (value.kind == Kind::unknown || value.kind == Kind::external || value.kind == Kind::opaque) return value;
    }
    return value;
}

PreciseLinker::Value PreciseLinker::head(std::string_view head, const FileEntry& file, ClassRef self,
                                         int& budget) const {
    if (head == "this") return self ? Value::ofClass(Kind::instance, self) : Value::of(Kind::unknown);
    if (head == "cls") return self ? Value::ofClass(Kind::klass, self) : Value::of(Kind::unknown);
    if (head == "super") {
        if (!self) return Value::of(Kind::unknown);
        readFile(*self.file);
        const auto bases = basesOf(self);
        if (bases.empty()) return Value::of(Kind::external);  // `object`, or a base not written down
        if (bases.front().external) return Value::of(Kind::external);
        return Value::ofClass(Kind::instance, bases.front().klass);
    }
    if (head.starts_with('?')) return Value{Kind::opaque, nullptr, nullptr, nullptr};
    if (head.starts_with("new(") && head.ends_with(")")) {
        Value klass = unwrapModule(evaluate(head.substr(4, head.size() - 5), file, self, budget), budget);
        if (klass.kind == Kind::klass) return Value::ofClass(Kind::instance, klass.classRef());
        return Value::of(klass.kind == Kind::external ? Kind::external : Kind::unknown);
    }
    return lookUp(file, head, budget);
}

PreciseLinker::Value PreciseLinker::lookUp(const FileEntry& file, std::string_view name, int& budget) const {
    if (--budget < 0) return Value::of(Kind::unknown);
    readFile(file);
    if (const auto* found = file.klass(name)) return Value::ofClass(Kind::klass, ClassRef{&file, found});
    if (const auto* found = file.function(name)) return Value{Kind::function, &file, nullptr, found};
    if (const auto* found = file.import(name)) {
        const BindingRef& binding = *found;
        if (binding.path.empty()) return Value::of(Kind::external);
        const FileEntry* module = binding.module;
        if (!module) return Value::of(Kind::external);  // a file the scan leaves out
        if (binding.name == "*") return Value{Kind::module, module, nullptr, nullptr};
        return moduleMember(*module, binding.name, budget);
    }
    if (const auto* found = file.variable(name)) return evaluate(found->type, file, ClassRef{}, budget);
    for (const BindingRef& star : file.starImports) {
        const FileEntry* module = star.module;
        if (!module) continue;
        Value found = moduleMember(*module, name, budget);
        if (found.kind != Kind::unknown) return found;
    }
    if (isBuiltin(name, file.python)) return Value::of(Kind::external);
    // A class that no import names: in the project, when exactly one class has the name.
    readName(name);
    if (auto classes = facts_.classesNamed(name, file.python); classes.size() == 1)
        return Value::ofClass(Kind::klass, classes.front());
    return Value::of(Kind::unknown);
}

PreciseLinker::Value PreciseLinker::moduleMember(const FileEntry& module, std::string_view name, int& budget) const {
    if (--budget < 0) return Value::of(Kind::unknown);
    readFile(module);
    if (const auto* found = module.klass(name)) return Value::ofClass(Kind::klass, ClassRef{&module, found});
    if (const auto* found = module.function(name)) return Value{Kind::function, &module, nullptr, found};
    if (const auto* found = module.variable(name)) return evaluate(found->type, module, ClassRef{}, budget);
    if (const auto* found = module.exported(name)) {
        const BindingRef& exported = *found;
        const FileEntry* from = exported.module;
        if (!from) return Value::of(exported.path.empty() ? Kind::external : Kind::unknown);
        if (exported.name == "*") return Value{Kind::module, from, nullptr, nullptr};
        if (from == &module) return lookUp(module, exported.name, budget);
        return moduleMember(*from, exported.name, budget);
    }
    if (module.import(name)) return lookUp(module, name, budget);
    for (const BindingRef& star : module.starExports) {
        const FileEntry* from = star.module;
        if (!from || from == &module) continue;
        Value found = moduleMember(*from, name, budget);
        if (found.kind != Kind::unknown) return found;
    }
    // CommonJS: `module.exports = { ... }` or `exports.name = ...`.
    if (const auto* found = module.variable("module.exports")) {
        Value whole = evaluate(found->type, module, ClassRef{}, budget);
        if (whole.kind == Kind::klass || whole.kind == Kind::instance) return member(whole, name, budget);
    }
    // A package's submodule.
    if (module.python && module.path.ends_with("__init__.py")) {
        std::string folder(module.path.substr(0, module.path.size() - std::string_view("__init__.py").size()));
        std::string named(name);
        for (const std::string& candidate : {folder + named + ".py", folder + named + "/__init__.py"})
            if (const FileEntry* submodule = facts_.file(candidate))
                return Value{Kind::module, submodule, nullptr, nullptr};
    }
    return Value::of(Kind::unknown);
}

PreciseLinker::Value PreciseLinker::unwrapModule(const Value& value, int& budget) const {
    if (value.kind != Kind::module) return value;
    const FileEntry& module = *value.file;
    readFile(module);
    for (std::string_view whole : {std::string_view("module.exports"), std::string_view("default")}) {
        if (const auto* found = module.variable(whole)) return evaluate(found->type, module, ClassRef{}, budget);
        if (module.exported(whole)) return moduleMember(module, whole, budget);
    }
    return value;
}

PreciseLinker::Value PreciseLinker::member(const Value& value, std::string_view name, int& budget) const {
    switch (value.kind) {
        case Kind::module: {
            Value found = moduleMember(*value.file, name, budget);
            if (found.kind != Kind::unknown) return found;
            Value whole = unwrapModule(value, budget);
            return whole.kind == Kind::module ? found : member(whole, name, budget);
        }
        case Kind::klass:
        case Kind::instance: {
            Found method = findMember(value.classRef(), name, true, budget);
            if (method.entry) return Value{Kind::method, method.owner.file, method.owner.facts, method.entry};
            Found field = findMember(value.classRef(), name, false, budget);
            if (field.entry) {
                Value held = evaluate(field.entry->type, *field.owner.file, field.owner, budget);
                return held.kind == Kind::unknown && (method.external || field.external) ? Value::of(Kind::external)
                                                                                         : held;
            }
            // Inherited from a class outside the project, or set where no fact shows it.
            return Value::of(method.external ? Kind::external : Kind::unknown);
        }
        case Kind::external: return value;
        default: return Value::of(Kind::unknown);
    }
}

PreciseLinker::Value PreciseLinker::call(const Value& value, int& budget) const {
    switch (value.kind) {
        case Kind::function: return evaluate(value.entry->type, *value.file, ClassRef{}, budget);
        case Kind::method: return evaluate(value.entry->type, *value.file, value.classRef(), budget);
        case Kind::klass: return Value::ofClass(Kind::instance, value.classRef());
        case Kind::module: {
            Value whole = unwrapModule(value, budget);
            return whole.kind == Kind::module ? Value::of(Kind::unknown) : call(whole, budget);
        }
        case Kind::external: return value;
        default: return Value::of(Kind::unknown);
    }
}

// The candidates of a name come by file path, so the file's are found by halves.
const NameCandidate* PreciseLinker::symbolIn(const FileEntry& file, std::string_view name, bool method,
                                             bool klass) const {
    readName(name);
    std::span<const NameCandidate> candidates = index_.candidates(name);
    auto first = std::partition_point(candidates.begin(), candidates.end(),
                                      [&](const NameCandidate& c) { return c.filePath() < file.path; });
    for (auto it = first; it != candidates.end() && it->filePath() == file.path; ++it) {
        const SymbolKind kind = it->symbol->kind;
        if (klass    ? kind == SymbolKind::classType
            : method ? kind == SymbolKind::method
                     : (kind == SymbolKind::function || kind == SymbolKind::component))
            return &*it;
    }
    return nullptr;
}

const NameCandidate* PreciseLinker::constructorOf(ClassRef klass, int& budget) const {
    const std::string_view name = klass.file->python ? "__init__" : "constructor";
    Found found = findMember(klass, name, true, budget);
    if (found.entry) return symbolIn(*found.owner.file, name, true, false);
    if (found.external) return nullptr;  // built by a constructor outside the project
    return klass.file->python ? symbolIn(*klass.file, klass.facts->name, false, true) : nullptr;
}

const NameCandidate* PreciseLinker::target(const Value& value, int& budget) const {
    switch (value.kind) {
        case Kind::function: return symbolIn(*value.file, value.entry->name, false, false);
        case Kind::method: return symbolIn(*value.file, value.entry->name, true, false);
        case Kind::klass: return constructorOf(value.classRef(), budget);
        case Kind::module: {
            Value whole = unwrapModule(value, budget);
            return whole.kind == Kind::module ? nullptr : target(whole, budget);
        }
        default: return nullptr;
    }
}

ClassRef PreciseLinker::enclosingClass(const FileEntry& file, std::string_view name) {
    if (name.empty()) return {};
    const ClassInfo* found = file.klass(name);
    return found ? ClassRef{&file, found} : ClassRef{};
}

const NameCandidate* PreciseLinker::resolve(CallForm form, std::string_view callee, const FileEntry& caller,
                                            ClassRef self) const {
    const FileEntry* file = &caller;
    const std::string_view path = caller.path;
    int budget = kSiteBudget;
    readFile(caller);

    switch (form) {
        case CallForm::superCall: {
            if (!self) return nullptr;
            readFile(*self.file);
            const auto bases = basesOf(self);
            if (bases.empty() || bases.front().external) return nullptr;
            return constructorOf(bases.front().klass, budget);
        }
        case CallForm::constructor: {
            Value klass = unwrapModule(evaluate(callee, *file, self, budget), budget);
            return klass.kind == Kind::klass ? constructorOf(klass.classRef(), budget) : nullptr;
        }
        default: break;
    }

    const std::size_t dot = lastStep(callee);
    if (dot == std::string_view::npos) {
        Value value = evaluate(callee, *file, self, budget);
        if (value.kind == Kind::unknown && callee.find_first_of("().") == std::string_view::npos) {
            // A name the file does not know: the names mode's rule, which links unique names
            // across files (scripts that share globals) and the caller's own file. Its imports
            // step has nothing to add: an imported name is known to the file.
            static const std::map<std::string, std::string> noImports;
            readName(callee);
            return resolveCallee(std::string(callee), noImports, path, index_);
        }
        return target(value, budget);
    }
    const std::string_view name = callee.substr(dot + 1);
    const std::string_view receiverText = callee.substr(0, dot);
    Value receiver = evaluate(receiverText, *file, self, budget);
    if (receiver.kind == Kind::opaque && receiverText.size() > 1 &&
        receiverText.find_first_of(".(") == std::string_view::npos) {
        // A local of unknown type named after a class (`subscriber` and `Subscriber`): that
        // class, when it is the only one so named and has the method.
        readName(receiverText.substr(1));
        auto named = facts_.classesNamedLike(receiverText.substr(1), file->python);
        if (named.size() == 1) {
            Found method = findMember(named.front(), name, true, budget);
            if (method.entry) return symbolIn(*method.owner.file, name, true, false);
        }
    }
    if (receiver.kind == Kind::unknown || receiver.kind == Kind::opaque) {
        // The receiver's type is unknown: only a method name that one class declares links,
        // and none that the language's own types have.
        if (isBuiltinMethod(name, file->python)) return nullptr;
        readName(name);
        if (auto sole = facts_.soleDeclarer(name, file->python)) return symbolIn(*sole->file, name, true, false);
        return nullptr;
    }
    return target(member(receiver, name, budget), budget);
}

}  // namespace vantrel::detail
