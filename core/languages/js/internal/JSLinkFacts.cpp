#include "core/languages/js/internal/JSLinkFacts.h"

#include "core/languages/js/JSFamilyPlugin.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/model/ProjectIR.h"

namespace vantrel {

namespace {

// The grammar's numbers for the node types and fields the walk looks at.
struct Names {
    TSSymbol functionDeclaration, generatorFunctionDeclaration, functionExpression, arrowFunction, methodDefinition,
        classDeclaration, classExpression, abstractClassDeclaration, classHeritage, extendsClause, callExpression,
        newExpression, memberExpression, identifier, propertyIdentifier, thisNode, superNode, importNode,
        variableDeclarator, lexicalDeclaration, variableDeclaration, assignmentExpression, publicFieldDefinition,
        returnStatement, statementBlock, parenthesizedExpression, nonNullExpression, awaitExpression, asExpression,
        satisfiesExpression, typeAnnotation, typeIdentifier, nestedTypeIdentifier, genericType, unionType,
        parenthesizedType, typeArguments, requiredParameter, optionalParameter, assignmentPattern, restPattern,
        accessibilityModifier, importStatement, exportStatement, string, nestedIdentifier, objectPattern,
        shorthandPropertyIdentifierPattern, pairPattern;
    TSFieldId name, value, function, object, property, constructor, body, parameters, parameter, returnType, type,
        pattern, left, right, key, argumentsField;

    static const Names& get() {
        static const Names names = [] {
            const TSLanguage* tsx = tree_sitter_tsx();
            auto s = [&](std::string_view type) { return namedSymbol(tsx, type); };
            auto f = [&](std::string_view field) { return fieldId(tsx, field); };
            Names n{};
            n.functionDeclaration = s("function_declaration");
            n.generatorFunctionDeclaration = s("generator_function_declaration");
            n.functionExpression = s("function_expression");
            n.arrowFunction = s("arrow_function");
            n.methodDefinition = s("method_definition");
            n.classDeclaration = s("class_declaration");
            n.classExpression = s("class");
            n.abstractClassDeclaration = s("abstract_class_declaration");
            n.classHeritage = s("class_heritage");
            n.extendsClause = s("extends_clause");
            n.callExpression = s("call_expression");
            n.newExpression = s("new_expression");
            n.memberExpression = s("member_expression");
            n.identifier = s("identifier");
            n.propertyIdentifier = s("property_identifier");
            n.thisNode = s("this");
            n.superNode = s("super");
            n.importNode = s("import");
            n.variableDeclarator = s("variable_declarator");
            n.lexicalDeclaration = s("lexical_declaration");
            n.variableDeclaration = s("variable_declaration");
            n.assignmentExpression = s("assignment_expression");
            n.publicFieldDefinition = s("public_field_definition");
            n.returnStatement = s("return_statement");
            n.statementBlock = s("statement_block");
            n.parenthesizedExpression = s("parenthesized_expression");
            n.nonNullExpression = s("non_null_expression");
            n.awaitExpression = s("await_expression");
            n.asExpression = s("as_expression");
            n.satisfiesExpression = s("satisfies_expression");
            n.typeAnnotation = s("type_annotation");
            n.typeIdentifier = s("type_identifier");
            n.nestedTypeIdentifier = s("nested_type_identifier");
            n.genericType = s("generic_type");
            n.unionType = s("union_type");
            n.parenthesizedType = s("parenthesized_type");
            n.typeArguments = s("type_arguments");
            n.requiredParameter = s("required_parameter");
            n.optionalParameter = s("optional_parameter");
            n.assignmentPattern = s("assignment_pattern");
            n.restPattern = s("rest_pattern");
            n.accessibilityModifier = s("accessibility_modifier");
            n.importStatement = s("import_statement");
            n.exportStatement = s("export_statement");
            n.string = s("string");
            n.nestedIdentifier = s("nested_identifier");
            n.objectPattern = s("object_pattern");
            n.shorthandPropertyIdentifierPattern = s("shorthand_property_identifier_pattern");
            n.pairPattern = s("pair_pattern");
            n.key = f("key");
            n.argumentsField = f("arguments");
            n.name = f("name");
            n.value = f("value");
            n.function = f("function");
            n.object = f("object");
            n.property = f("property");
            n.constructor = f("constructor");
            n.body = f("body");
            n.parameters = f("parameters");
            n.parameter = f("parameter");
            n.returnType = f("return_type");
            n.type = f("type");
            n.pattern = f("pattern");
            n.left = f("left");
            n.right = f("right");
            return n;
        }();
        return names;
    }
};

bool isNull(TSNode node) { return ts_node_is_null(node); }

bool isClassNode(const Names& n, TSSymbol symbol) {
    return symbol == n.classDeclaration || symbol == n.classExpression || symbol == n.abstractClassDeclaration;
}

}  // namespace

JSLinkFacts::JSLinkFacts(std::u16string_view source, std::string_view fileRelPath)
    : source_(source), fileRelPath_(fileRelPath), scopes_(facts) {}

std::string JSLinkFacts::text(TSNode node) const { return extractNodeText(node, source_); }

void JSLinkFacts::enter(TSNode node, TSSymbol symbol) {
    const Names& n = Names::get();
    scopes_.enterNode(node);
    if (symbol == n.functionDeclaration || symbol == n.generatorFunctionDeclaration || symbol == n.functionExpression ||
        symbol == n.arrowFunction || symbol == n.methodDefinition) {
        enterFunction(node, symbol);
    } else if (isClassNode(n, symbol)) {
        enterClass(node);
    } else if (symbol == n.callExpression) {
        enterCall(node);
    } else if (symbol == n.newExpression) {
        enterNew(node);
    } else if (symbol == n.variableDeclarator) {
        enterDeclarator(node);
    } else if (symbol == n.assignmentExpression) {
        enterAssignment(node);
    } else if (symbol == n.publicFieldDefinition) {
        enterField(node);
    } else if (symbol == n.returnStatement) {
        scopes_.setResult(expression(firstNamedChild(node)));
    } else if (symbol == n.importStatement) {
        importStatements.push_back(node);
    } else if (symbol == n.exportStatement) {
        enterExport(node);
    }
}

void JSLinkFacts::enterFunction(TSNode node, TSSymbol symbol) {
    const Names& n = Names::get();
    const bool topLevel = !scopes_.insideFunction();
    std::optional<std::string> owner;
    std::optional<std::string> thisClass;
    LinkFactsScopes::ResultSlot slot;
    bool isConstructor = false;
    if (symbol == n.functionDeclaration || symbol == n.generatorFunctionDeclaration) {
        thisClass = std::string();
        TSNode name = fieldChild(node, n.name);
        if (symbol == n.functionDeclaration && !isNull(name) && ts_node_symbol(name) == n.identifier) {
            std::string text = this->text(name);
            owner = makeSymbolId(fileRelPath_, text, classifyFunction(text));
            if (topLevel) {
                facts.functions.push_back(TypedName{std::move(text), {}});
                slot = {LinkFactsScopes::ResultSlot::Kind::function, 0, facts.functions.size() - 1};
            }
        }
    } else if (symbol == n.functionExpression) {
        thisClass = std::string();
    } else if (symbol == n.methodDefinition) {
        TSNode name = fieldChild(node, n.name);
        const auto inClass = scopes_.classDirectlyAbove();
        thisClass = inClass ? facts.classes[*inClass].name : std::string();
        if (!isNull(name) && ts_node_symbol(name) == n.propertyIdentifier) {
            std::string text = this->text(name);
            owner = makeSymbolId(fileRelPath_, text, SymbolKind::method);
            isConstructor = inClass && text == "constructor";
            if (inClass) {
                auto& methods = facts.classes[*inClass].methods;
                methods.push_back(TypedName{std::move(text), {}});
                slot = {LinkFactsScopes::ResultSlot::Kind::method, *inClass, methods.size() - 1};
            }
        }
    } else {  // an arrow: a symbol when a variable declarator binds it
        TSNode declarator = scopes_.above(1);
        TSNode statement = scopes_.above(2);
        if (!isNull(declarator) && ts_node_symbol(declarator) == n.variableDeclarator && !isNull(statement) &&
            (ts_node_symbol(statement) == n.lexicalDeclaration || ts_node_symbol(statement) == n.variableDeclaration)) {
            TSNode name = fieldChild(declarator, n.name);
            TSNode value = fieldChild(declarator, n.value);
            if (!isNull(name) && ts_node_symbol(name) == n.identifier && !isNull(value) &&
                ts_node_start_byte(value) == ts_node_start_byte(node)) {
                std::string text = this->text(name);
                owner = makeSymbolId(fileRelPath_, text, classifyFunction(text));
                if (topLevel) {
                    facts.functions.push_back(TypedName{std::move(text), {}});
                    slot = {LinkFactsScopes::ResultSlot::Kind::function, 0, facts.functions.size() - 1};
                }
            }
        }
    }
    scopes_.openFunction(std::move(owner), std::move(thisClass), slot);
    if (TSNode type = fieldChild(node, n.returnType); !isNull(type)) scopes_.setResult(typeExpression(type));
    if (symbol == n.arrowFunction) {
        if (TSNode body = fieldChild(node, n.body); !isNull(body) && ts_node_symbol(body) != n.statementBlock)
            scopes_.setResult(expression(body));
        if (TSNode parameter = fieldChild(node, n.parameter); !isNull(parameter))
            scopes_.declareLocal(text(parameter), {});
    }
    declareParameters(node, isConstructor);
}

void JSLinkFacts::declareParameters(TSNode function, bool isConstructor) {
    const Names& n = Names::get();
    TSNode parameters = fieldChild(function, n.parameters);
    if (isNull(parameters)) return;
    const std::uint32_t count = ts_node_named_child_count(parameters);
    for (std::uint32_t i = 0; i < count; ++i) {
        TSNode parameter = ts_node_named_child(parameters, i);
        const TSSymbol symbol = ts_node_symbol(parameter);
        if (symbol == n.identifier) {
            scopes_.declareLocal(text(parameter), {});
        } else if (symbol == n.requiredParameter || symbol == n.optionalParameter) {
            TSNode pattern = fieldChild(parameter, n.pattern);
            if (isNull(pattern)) continue;
            if (ts_node_symbol(pattern) == n.restPattern) pattern = firstNamedChild(pattern);
            if (isNull(pattern) || ts_node_symbol(pattern) != n.identifier) continue;
            std::string type;
            if (TSNode annotation = fieldChild(parameter, n.type); !isNull(annotation))
                type = typeExpression(annotation);
            else if (TSNode value = fieldChild(parameter, n.value); !isNull(value)) type = expression(value);
            std::string name = text(pattern);
            // `constructor(private svc: Service)` declares a field as well.
            bool property = false;
            for (std::uint32_t c = 0; c < ts_node_child_count(parameter) && !property; ++c)
                property = ts_node_symbol(ts_node_child(parameter, c)) == n.accessibilityModifier;
            if (property && isConstructor)
                if (ClassFacts* owner = scopes_.thisClassFacts()) owner->fields.push_back(TypedName{name, type});
            scopes_.declareLocal(std::move(name), std::move(type));
        } else if (symbol == n.assignmentPattern) {
            TSNode left = fieldChild(parameter, n.left);
            if (!isNull(left) && ts_node_symbol(left) == n.identifier)
                scopes_.declareLocal(text(left), expression(fieldChild(parameter, n.right)));
        } else if (symbol == n.restPattern) {
            TSNode inner = firstNamedChild(parameter);
            if (!isNull(inner) && ts_node_symbol(inner) == n.identifier) scopes_.declareLocal(text(inner), {});
        }
    }
}

void JSLinkFacts::enterClass(TSNode node) {
    const Names& n = Names::get();
    ClassFacts facts;
    if (TSNode name = fieldChild(node, n.name); !isNull(name)) {
        facts.name = text(name);
    } else if (TSNode declarator = scopes_.above(1);
               !isNull(declarator) && ts_node_symbol(declarator) == n.variableDeclarator) {
        if (TSNode name = fieldChild(declarator, n.name); !isNull(name) && ts_node_symbol(name) == n.identifier)
            facts.name = text(name);
    }
    const std::uint32_t count = ts_node_named_child_count(node);
    for (std::uint32_t i = 0; i < count; ++i) {
        TSNode heritage = ts_node_named_child(node, i);
        if (ts_node_symbol(heritage) != n.classHeritage) continue;
        const std::uint32_t clauses = ts_node_named_child_count(heritage);
        for (std::uint32_t c = 0; c < clauses; ++c) {
            TSNode clause = ts_node_named_child(heritage, c);
            if (ts_node_symbol(clause) != n.extendsClause) continue;
            if (TSNode value = fieldChild(clause, n.value); !isNull(value)) facts.bases.push_back(dotted(value));
        }
    }
    scopes_.openClass(std::move(facts));
}

void JSLinkFacts::enterCall(TSNode call) {
    const Names& n = Names::get();
    TSNode function = fieldChild(call, n.function);
    if (isNull(function)) return;
    const TSSymbol symbol = ts_node_symbol(function);
    if (symbol == n.superNode) {
        scopes_.addCall(sites, "super", CallForm::superCall, call);
        return;
    }
    if (symbol == n.identifier) {
        // `require('./m')` binds a module; the plugin resolves it.
        scopes_.addCall(sites, expression(function), CallForm::plain, call);
        return;
    }
    if (symbol != n.memberExpression) return;
    TSNode object = fieldChild(function, n.object);
    if (isNull(object)) return;
    const TSSymbol objectSymbol = ts_node_symbol(object);
    CallForm form = CallForm::resultMember;
    if (objectSymbol == n.thisNode) form = CallForm::selfMember;
    else if (objectSymbol == n.superNode) form = CallForm::superMember;
    else if (objectSymbol == n.identifier) form = CallForm::nameMember;
    else if (objectSymbol == n.memberExpression) form = CallForm::chainMember;
    scopes_.addCall(sites, expression(function), form, call);
}

void JSLinkFacts::enterNew(TSNode node) {
    TSNode constructor = fieldChild(node, Names::get().constructor);
    if (isNull(constructor)) return;
    scopes_.addCall(sites, dotted(constructor), CallForm::constructor, node);
}

void JSLinkFacts::enterDeclarator(TSNode declarator) {
    const Names& n = Names::get();
    TSNode name = fieldChild(declarator, n.name);
    if (isNull(name)) return;
    TSNode value = fieldChild(declarator, n.value);
    // `require('m')` with one string: the module, bound whole or destructured.
    TSNode required{};
    if (!isNull(value) && ts_node_symbol(value) == n.callExpression) {
        TSNode function = fieldChild(value, n.function);
        TSNode arguments = fieldChild(value, n.argumentsField);
        if (!isNull(function) && ts_node_symbol(function) == n.identifier && text(function) == "require" &&
            !isNull(arguments) && ts_node_named_child_count(arguments) == 1 &&
            ts_node_symbol(ts_node_named_child(arguments, 0)) == n.string)
            required = ts_node_named_child(arguments, 0);
    }
    if (!isNull(required) && scopes_.atModuleLevel()) {
        if (ts_node_symbol(name) == n.identifier) {
            requireCalls.push_back(Require{text(name), "*", required});
        } else if (ts_node_symbol(name) == n.objectPattern) {
            const std::uint32_t count = ts_node_named_child_count(name);
            for (std::uint32_t i = 0; i < count; ++i) {
                TSNode part = ts_node_named_child(name, i);
                if (ts_node_symbol(part) == n.shorthandPropertyIdentifierPattern) {
                    requireCalls.push_back(Require{text(part), text(part), required});
                } else if (ts_node_symbol(part) == n.pairPattern) {
                    TSNode key = fieldChild(part, n.key);
                    TSNode bound = fieldChild(part, n.value);
                    if (!isNull(key) && !isNull(bound) && ts_node_symbol(bound) == n.identifier)
                        requireCalls.push_back(Require{text(bound), text(key), required});
                }
            }
        }
        return;
    }
    if (ts_node_symbol(name) != n.identifier) return;
    // A declarator bound to a function is a symbol of its own, found by its name.
    if (!isNull(value) && (ts_node_symbol(value) == n.arrowFunction || ts_node_symbol(value) == n.functionExpression))
        return;
    std::string type;
    if (TSNode annotation = fieldChild(declarator, n.type); !isNull(annotation)) type = typeExpression(annotation);
    else if (!isNull(value)) type = expression(value);
    std::string local = text(name);
    if (scopes_.atModuleLevel()) {
        if (!type.empty()) facts.variables.push_back(TypedName{std::move(local), std::move(type)});
    } else {
        scopes_.declareLocal(std::move(local), std::move(type));
    }
}

void JSLinkFacts::enterAssignment(TSNode assignment) {
    const Names& n = Names::get();
    TSNode left = fieldChild(assignment, n.left);
    TSNode right = fieldChild(assignment, n.right);
    if (isNull(left) || isNull(right)) return;
    if (ts_node_symbol(left) == n.identifier) {
        if (!scopes_.atModuleLevel()) scopes_.assignLocal(text(left), expression(right));
        return;
    }
    if (ts_node_symbol(left) != n.memberExpression) return;
    TSNode object = fieldChild(left, n.object);
    TSNode property = fieldChild(left, n.property);
    if (isNull(object) || isNull(property)) return;
    // CommonJS: `module.exports = X`, `module.exports.name = X`, `exports.name = X`.
    if (std::string target = dotted(left);
        target == "module.exports" || target.starts_with("module.exports.") || target.starts_with("exports.")) {
        std::string name = target == "module.exports" ? target : text(property);
        std::string value = expression(right);
        if (!value.empty()) facts.variables.push_back(TypedName{std::move(name), std::move(value)});
        return;
    }
    if (ts_node_symbol(object) != n.thisNode) return;
    ClassFacts* owner = scopes_.thisClassFacts();
    if (!owner) return;
    std::string name = text(property);
    for (TypedName& existing : owner->fields) {
        if (existing.name != name) continue;
        if (existing.type.empty()) existing.type = expression(right);
        return;
    }
    owner->fields.push_back(TypedName{std::move(name), expression(right)});
}

void JSLinkFacts::enterField(TSNode definition) {
    const Names& n = Names::get();
    auto inClass = scopes_.classDirectlyAbove();
    TSNode name = fieldChild(definition, n.name);
    if (!inClass || isNull(name) || ts_node_symbol(name) != n.propertyIdentifier) return;
    std::string type;
    if (TSNode annotation = fieldChild(definition, n.type); !isNull(annotation)) {
        type = typeExpression(annotation);
    } else if (TSNode value = fieldChild(definition, n.value); !isNull(value)) {
        if (ts_node_symbol(value) == n.arrowFunction || ts_node_symbol(value) == n.functionExpression) return;
        type = expression(value);
    }
    facts.classes[*inClass].fields.push_back(TypedName{text(name), std::move(type)});
}

void JSLinkFacts::enterExport(TSNode statement) {
    const Names& n = Names::get();
    exportStatements.push_back(statement);
    // `export default new Store()` gives the module a value named "default".
    TSNode value = fieldChild(statement, n.value);
    if (!isNull(value) && ts_node_symbol(value) != n.identifier) {
        std::string type = expression(value);
        if (!type.empty()) facts.variables.push_back(TypedName{"default", std::move(type)});
    }
}

std::string JSLinkFacts::dotted(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    if (symbol == n.identifier || symbol == n.typeIdentifier) return text(node);
    if (symbol == n.memberExpression || symbol == n.nestedTypeIdentifier || symbol == n.nestedIdentifier) {
        TSNode object = symbol == n.memberExpression ? fieldChild(node, n.object) : firstNamedChild(node);
        TSNode property = symbol == n.memberExpression ? fieldChild(node, n.property)
                                                       : ts_node_named_child(node, ts_node_named_child_count(node) - 1);
        std::string head = dotted(object, depth + 1);
        if (head.empty() || isNull(property)) return {};
        return head + "." + text(property);
    }
    return {};
}

std::string JSLinkFacts::typeExpression(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    if (symbol == n.typeAnnotation || symbol == n.parenthesizedType)
        return typeExpression(firstNamedChild(node), depth + 1);
    if (symbol == n.typeIdentifier || symbol == n.nestedTypeIdentifier) {
        std::string name = dotted(node, depth + 1);
        return name.empty() ? std::string() : "new(" + name + ")";
    }
    if (symbol == n.genericType) {
        TSNode name = fieldChild(node, n.name);
        std::string text = dotted(name, depth + 1);
        // A promise's value is what awaiting it gives, and awaiting is how it is used.
        if (text == "Promise" || text == "PromiseLike") {
            TSNode arguments = ts_node_named_child(node, ts_node_named_child_count(node) - 1);
            if (!isNull(arguments) && ts_node_symbol(arguments) == n.typeArguments)
                return typeExpression(firstNamedChild(arguments), depth + 1);
            return {};
        }
        return text.empty() ? std::string() : "new(" + text + ")";
    }
    if (symbol == n.unionType) {
        // `C | null`, `C | undefined`: the class; any other union is no one class.
        std::string found;
        const std::uint32_t count = ts_node_named_child_count(node);
        for (std::uint32_t i = 0; i < count; ++i) {
            std::string member = typeExpression(ts_node_named_child(node, i), depth + 1);
            if (member.empty()) continue;
            if (!found.empty() && found != member) return {};
            found = std::move(member);
        }
        return found;
    }
    return {};
}

std::string JSLinkFacts::expression(TSNode node, int depth) const {
    const Names& n = Names::get();
    if (isNull(node) || depth > LinkFactsScopes::kMaxDepth) return {};
    const TSSymbol symbol = ts_node_symbol(node);
    std::string out;
    if (symbol == n.identifier) {
        std::string name = text(node);
        if (auto local = scopes_.local(name)) return *local;
        out = std::move(name);
    } else if (symbol == n.thisNode) {
        return "this";
    } else if (symbol == n.superNode) {
        return "super";
    } else if (symbol == n.memberExpression) {
        TSNode property = fieldChild(node, n.property);
        if (isNull(property)) return {};
        std::string object = expression(fieldChild(node, n.object), depth + 1);
        if (object.empty()) return {};
        out = object + "." + text(property);
    } else if (symbol == n.callExpression) {
        TSNode function = fieldChild(node, n.function);
        if (isNull(function) || ts_node_symbol(function) == n.superNode || ts_node_symbol(function) == n.importNode)
            return {};
        std::string callee = expression(function, depth + 1);
        if (callee.empty()) return {};
        out = callee + "()";
    } else if (symbol == n.newExpression) {
        std::string name = dotted(fieldChild(node, n.constructor), depth + 1);
        if (name.empty()) return {};
        out = "new(" + name + ")";
    } else if (symbol == n.parenthesizedExpression || symbol == n.nonNullExpression || symbol == n.awaitExpression ||
               symbol == n.satisfiesExpression) {
        return expression(firstNamedChild(node), depth + 1);
    } else if (isClassNode(n, symbol)) {
        TSNode name = fieldChild(node, n.name);
        return isNull(name) ? std::string() : text(name);
    } else if (symbol == n.asExpression) {
        const std::uint32_t count = ts_node_named_child_count(node);
        return count >= 2 ? typeExpression(ts_node_named_child(node, count - 1), depth + 1) : std::string();
    } else {
        return {};
    }
    return out.size() > LinkFactsScopes::kMaxExpression ? std::string() : out;
}

}  // namespace vantrel
