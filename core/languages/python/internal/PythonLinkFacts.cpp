#include "core/languages/python/internal/PythonLinkFacts.h"

#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

namespace {

struct Names {
    TSSymbol classDefinition, functionDefinition, decoratedDefinition, decorator, call, attribute, identifier,
        assignment, returnStatement, typedParameter, defaultParameter, typedDefaultParameter, type, subscript,
        binaryOperator, string, stringContent, parenthesizedExpression, await, keywordArgument, listSplatPattern,
        dictionarySplatPattern;
    TSFieldId name, superclasses, function, object, attributeField, left, right, typeField, returnType, value,
        parametersField, subscriptField;

    static const Names& get() {
        static const Names names = [] {
            const TSLanguage* python = tree_sitter_python();
            auto s = [&](std::string_view type) { return namedSymbol(python, type); };
            auto f = [&](std::string_view field) { return fieldId(python, field); };
            Names n{};
            n.classDefinition = s("class_definition");
            n.functionDefinition = s("function_definition");
            n.decoratedDefinition = s("decorated_definition");
            n.decorator = s("decorator");
            n.call = s("call");
            n.attribute = s("attribute");
            n.identifier = s("identifier");
            n.assignment = s("assignment");
            n.returnStatement = s("return_statement");
            n.typedParameter = s("typed_parameter");
            n.defaultParameter = s("default_parameter");
            n.typedDefaultParameter = s("typed_default_parameter");
            n.type = s("type");
            n.subscript = s("subscript");
            n.binaryOperator = s("binary_operator");
            n.string = s("string");
            n.stringContent = s("string_content");
            n.parenthesizedExpression = s("parenthesized_expression");
            n.await = s("await");
            n.keywordArgument = s("keyword_argument");
            n.listSplatPattern = s("list_splat_pattern");
            n.dictionarySplatPattern = s("dictionary_splat_pattern");
            n.name = f("name");
            n.superclasses = f("superclasses");
            n.function = f("function");
            n.object = f("object");
            n.attributeField = f("attribute");
            n.left = f("left");
            n.right = f("right");
            n.typeField = f("type");
            n.returnType = f("return_type");
            n.value = f("value");
            n.parametersField = f("parameters");
            n.subscriptField = f("subscript");
            return n;
        }();
        return names;
    }
};

bool isNull(TSNode node) { return ts_node_is_null(node); }

bool isDottedName(std::string_view text) {
    if (text.empty() || text.front() == '.' || text.back() == '.') return false;
    for (char c : text)
        if (!(c == '.' || c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
              static_cast<unsigned char>(c) >= 0x80))
            return false;
    return true;
}

}  // namespace

PythonLinkFacts::PythonLinkFacts(std::u16string_view source, std::string_view fileRelPath)
    : source_(source), fileRelPath_(fileRelPath), scopes_(facts) {}

std::string PythonLinkFacts::text(TSNode node) const { return extractNodeText(node, source_); }

void PythonLinkFacts::enter(TSNode node, TSSymbol symbol) {
    const Names& n = Names::get();
    scopes_.enterNode(node);
    if (symbol == n.functionDefinition) enterFunction(node);
    else if (symbol == n.classDefinition) enterClass(node);
    else if (symbol == n.call) enterCall(node);
    else if (symbol == n.assignment) enterAssignment(node);
    else if (symbol == n.returnStatement) scopes_.setResult(expression(firstNamedChild(node)));
}

void PythonLinkFacts::leave() {
    if (!classDepths_.empty() && classDepths_.back() == scopes_.depth()) classDepths_.pop_back();
    scopes_.leaveNode();
}

void PythonLinkFacts::enterClass(TSNode node) {
    const Names& n = Names::get();
    TSNode name = fieldChild(node, n.name);
    if (isNull(name)) return;
    ClassFacts facts;
    facts.name = text(name);
    if (TSNode bases = fieldChild(node, n.superclasses); !isNull(bases)) {
        const std::uint32_t count = ts_node_named_child_count(bases);
        for (std::uint32_t i = 0; i < count; ++i) {
            TSNode base = ts_node_named_child(bases, i);
            if (ts_node_symbol(base) == n.keywordArgument) continue;  // metaclass=...
            facts.bases.push_back(dotted(base));
        }
    }
    std::string id = makeSymbolId(fileRelPath_, facts.name, SymbolKind::classType);
    scopes_.openClass(std::move(facts), std::move(id));
    classDepths_.push_back(scopes_.depth());
}

void PythonLinkFacts::enterFunction(TSNode node) {
    const Names& n = Names::get();
    TSNode name = fieldChild(node, n.name);
    const bool topLevel = !scopes_.insideFunction() && classDepths_.empty();
    const auto inClass = scopes_.classDirectlyAbove();
    std::optional<std::string> owner;
    LinkFactsScopes::ResultSlot slot;
    bool isStatic = false, isClassMethod = false, isProperty = false;
    if (TSNode decorated = scopes_.above(1); !isNull(decorated) && ts_node_symbol(decorated) == n.decoratedDefinition) {
        const std::uint32_t count = ts_node_named_child_count(decorated);
        for (std::uint32_t i = 0; i < count; ++i) {
            TSNode decorator = ts_node_named_child(decorated, i);
            if (ts_node_symbol(decorator) != n.decorator) continue;
            std::string what = text(decorator);
            isStatic = isStatic || what == "@staticmethod";
            isClassMethod = isClassMethod || what == "@classmethod";
            isProperty =
                isProperty || what == "@property" || what.ends_with(".cached_property") || what == "@cached_property";
        }
    }
    if (!isNull(name)) {
        std::string text = this->text(name);
        // A function with a class anywhere above it is a method, as in the names mode.
        owner = makeSymbolId(fileRelPath_, text, classDepths_.empty() ? SymbolKind::function : SymbolKind::method);
        if (inClass) {
            auto& klass = facts.classes[*inClass];
            // Reading a property calls it: its value is the method's result.
            if (isProperty) klass.fields.push_back(TypedName{text, "this." + text + "()"});
            klass.methods.push_back(TypedName{std::move(text), {}});
            slot = {LinkFactsScopes::ResultSlot::Kind::method, *inClass, klass.methods.size() - 1};
        } else if (topLevel) {
            facts.functions.push_back(TypedName{std::move(text), {}});
            slot = {LinkFactsScopes::ResultSlot::Kind::function, 0, facts.functions.size() - 1};
        }
    }
    // `self` stays the enclosing method's inside nested functions, which Python closes over.
    std::optional<std::string> thisClass;
    if (inClass) thisClass = facts.classes[*inClass].name;
    const bool nameless = isNull(name);
    scopes_.openFunction(std::move(owner), std::move(thisClass), slot);
    if (nameless) scopes_.clearOwner();
    if (TSNode type = fieldChild(node, n.returnType); !isNull(type)) scopes_.setResult(typeExpression(type));

    TSNode parameters = fieldChild(node, n.parametersField);
    if (isNull(parameters)) return;
    const std::uint32_t count = ts_node_named_child_count(parameters);
    for (std::uint32_t i = 0; i < count; ++i) {
        TSNode parameter = ts_node_named_child(parameters, i);
        const TSSymbol symbol = ts_node_symbol(parameter);
        std::string local, type;
        if (symbol == n.identifier) {
            local = text(parameter);
        } else if (symbol == n.typedParameter) {
            TSNode inner = firstNamedChild(parameter);
            if (isNull(inner) || ts_node_symbol(inner) != n.identifier) continue;
            local = text(inner);
            type = typeExpression(fieldChild(parameter, n.typeField));
        } else if (symbol == n.defaultParameter || symbol == n.typedDefaultParameter) {
            TSNode pname = fieldChild(parameter, n.name);
            if (isNull(pname) || ts_node_symbol(pname) != n.identifier) continue;
            local = text(pname);
            if (TSNode annotation = fieldChild(parameter, n.typeField); !isNull(annotation))
                type = typeExpression(annotation);
            else type = expression(fieldChild(parameter, n.value));
        } else if (symbol == n.listSplatPattern || symbol == n.dictionarySplatPattern) {
            TSNode inner = firstNamedChild(parameter);
            if (!isNull(inner) && ts_node_symbol(inner) == n.identifier) scopes_.declareLocal(text(inner), {});
            continue;
        } else {
            continue;
        }
        // A method's first parameter is the instance (the class in a classmethod).
        if (i == 0 && inClass && !isStatic) type = isClassMethod ? "cls" : "this";
        scopes_.declareLocal(std::move(local), std::move(type));
    }
}

void PythonLinkFacts::enterCall(TSNode call) {
    const Names& n = Names::get();
    TSNode function = fieldChild(call, n.function);
    if (isNull(function)) return;
    const TSSymbol symbol = ts_node_symbol(function);
    if (symbol == n.identifier) {
        scopes_.addCall(sites, expression(function), CallForm::plain, call);
        return;
    }
    if (symbol != n.attribute) return;
    TSNode object = fieldChild(function, n.object);
    if (isNull(object)) return;
    std::string callee = expression(function);
    CallForm form = CallForm::resultMember;
    const TSSymbol objectSymbol = ts_node_symbol(object);
    if (callee.starts_with("super.")) form = CallForm::superMember;
    else if (objectSymbol == n.identifier)
        form = callee.starts_with("this.") || callee.starts_with("cls.") ? CallForm::selfMember : CallForm::nameMember;
    else if (objectSymbol == n.attribute) form = CallForm::chainMember;
    scopes_.addCall(sites, std::move(callee), form, call);
}

void PythonLinkFacts::enterAssignment(TSNode assignment) {
    const Names& n = Names::get();
    TSNode left = fieldChild(assignment, n.left);
    if (isNull(left)) return;
    TSNode right = fieldChild(assignment, n.right);
    TSNode annotation = fieldChild(assignment, n.typeField);
    // An annotation says what the name holds; else the first value it is given does.
    std::string type = !isNull(annotation) ? typeExpression(annotation) : std::string();
    if (type.empty() && !isNull(right)) type = expression(right);
    if (ts_node_symbol(left) == n.identifier) {
        std::string name = text(left);
        if (auto inClass = scopes_.classDirectlyAbove()) {
            auto& fields = facts.classes[*inClass].fields;
            for (TypedName& existing : fields)
                if (existing.name == name) {
                    if (!isNull(annotation) || existing.type.empty()) existing.type = std::move(type);
                    return;
                }
            fields.push_back(TypedName{std::move(name), std::move(type)});
        } else if (scopes_.atModuleLevel()) {
            if (!type.empty()) facts.variables.push_back(TypedName{std::move(name), std::move(type)});
        } else if (!scopes_.local(name)) {
            scopes_.declareLocal(std::move(name), std::move(type));
        } else {
            scopes_.assignLocal(name, std::move(type));
        }
        return;
    }
    if (ts_node_symbol(left) != n.attribute) return;
    TSNode object = fieldChild(left, n.object);
    TSNode attribute = fieldChild(left, n.attributeField);
    if (isNull(object) || isNull(attribute) || ts_node_symbol(object) != n.identifier) return;
    if (scopes_.local(text(object)) != std::optional<std::string>("this")) return;
    ClassFacts* owner = scopes_.thisClassFacts();
    if (!owner) return;
    std::string name = text(attribute);
    for (TypedName& existing : owner->fields)
        if (existing.name == name) {
            if (existing.type.empty()) existing.type = std::move(type);
            return;
        }
    owner->fields.push_back(TypedName{std::move(name), std::move(type)});
}

std::string PythonLinkFacts::dotted(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    if (symbol == n.identifier) return text(node);
    if (symbol == n.attribute) {
        std::string head = dotted(fieldChild(node, n.object), depth + 1);
        TSNode attribute = fieldChild(node, n.attributeField);
        if (head.empty() || isNull(attribute)) return {};
        return head + "." + text(attribute);
    }
    return {};
}

std::string PythonLinkFacts::typeExpression(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    if (symbol == n.type) return typeExpression(firstNamedChild(node), depth + 1);
    if (symbol == n.identifier || symbol == n.attribute) {
        std::string name = dotted(node, depth + 1);
        if (name.empty() || name == "None") return {};
        return "new(" + name + ")";
    }
    if (symbol == n.string) {
        // A forward reference: "Invoice".
        for (std::uint32_t i = 0; i < ts_node_named_child_count(node); ++i) {
            TSNode part = ts_node_named_child(node, i);
            if (ts_node_symbol(part) != n.stringContent) continue;
            std::string inner = text(part);
            return isDottedName(inner) ? "new(" + inner + ")" : std::string();
        }
        return {};
    }
    if (symbol == n.subscript) {
        // Optional[C] is C; any other generic is no one class of the project.
        std::string value = dotted(fieldChild(node, n.value), depth + 1);
        if (value == "Optional" || value == "typing.Optional" || value == "t.Optional")
            return typeExpression(fieldChild(node, n.subscriptField), depth + 1);
        return {};
    }
    if (symbol == n.binaryOperator) {
        // C | None
        std::string left = typeExpression(fieldChild(node, n.left), depth + 1);
        std::string right = typeExpression(fieldChild(node, n.right), depth + 1);
        if (left.empty()) return right;
        if (right.empty() || right == left) return left;
        return {};
    }
    return {};
}

std::string PythonLinkFacts::expression(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    std::string out;
    if (symbol == n.identifier) {
        std::string name = text(node);
        if (auto local = scopes_.local(name)) return *local;
        out = std::move(name);
    } else if (symbol == n.attribute) {
        TSNode attribute = fieldChild(node, n.attributeField);
        std::string object = expression(fieldChild(node, n.object), depth + 1);
        if (object.empty() || isNull(attribute)) return {};
        out = object + "." + text(attribute);
    } else if (symbol == n.call) {
        TSNode function = fieldChild(node, n.function);
        if (isNull(function)) return {};
        // super() stands for the enclosing class's base.
        if (ts_node_symbol(function) == n.identifier && text(function) == "super" && !scopes_.local("super"))
            return "super";
        std::string callee = expression(function, depth + 1);
        if (callee.empty()) return {};
        out = callee + "()";
    } else if (symbol == n.parenthesizedExpression || symbol == n.await) {
        return expression(firstNamedChild(node), depth + 1);
    } else {
        return {};
    }
    return out.size() > LinkFactsScopes::kMaxExpression ? std::string() : out;
}

}  // namespace vantrel
