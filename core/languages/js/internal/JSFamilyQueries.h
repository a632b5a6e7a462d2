// The four query sources of the JS family analysis, in pass order. They are matched
// against the tsx grammar for every JS family file; the texts are fixed, since cached
// results and their ids depend on what they match.
#pragma once

#include <string_view>

namespace vantrel::jsqueries {

// Pattern 0: function declarations; pattern 1: method definitions.
// Captures: name, decl.
inline constexpr std::string_view kDeclarations =
    "(\n"
    "  (function_declaration\n"
    "\tname: (identifier) @name) @decl\n"
    ")\n"
    "(\n"
    "  (method_definition\n"
    "\tname: (property_identifier) @name) @decl\n"
    ")";

// Arrow functions bound by const/let (pattern 0) or var (pattern 1).
// Captures: name, decl (the variable_declarator), value.
inline constexpr std::string_view kArrowFunctions =
    "(\n"
    "  (lexical_declaration\n"
    "\t(variable_declarator\n"
    "\t  name: (identifier) @name\n"
    "\t  value: (arrow_function) @value\n"
    "\t) @decl\n"
    "  )\n"
    ")\n"
    "(\n"
    "  (variable_declaration\n"
    "\t(variable_declarator\n"
    "\t  name: (identifier) @name\n"
    "\t  value: (arrow_function) @value\n"
    "\t) @decl\n"
    "  )\n"
    ")";

// Pattern 0: the statement with an optional default binding; pattern 1: one match per
// named specifier. Captures: import_default, import_name, import_alias, import_source, import_stmt.
inline constexpr std::string_view kImports =
    "(\n"
    "  (import_statement\n"
    "\t(import_clause\n"
    "\t  (identifier) @import_default\n"
    "\t)?\n"
    "\tsource: (string) @import_source) @import_stmt\n"
    ")\n"
    "(\n"
    "  (import_statement\n"
    "\t(import_clause\n"
    "\t  (named_imports\n"
    "\t\t(import_specifier name: (identifier) @import_name alias: (identifier)? @import_alias)\n"
    "\t  )\n"
    "\t)\n"
    "\t(string) @import_source) @import_stmt\n"
    ")";

// Calls of a plain identifier. Captures: callee, call.
inline constexpr std::string_view kCalls =
    "(\n"
    "  (call_expression\n"
    "\tfunction: (identifier) @callee) @call\n"
    ")";

}  // namespace vantrel::jsqueries
