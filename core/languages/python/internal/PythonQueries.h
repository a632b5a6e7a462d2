// The query texts that define what Python analysis matches. The plugin finds the same
// matches in the one walk it makes over the tree anyway (PythonSyntax.h); these texts
// stay the definition that the walk is checked against.
#pragma once

#include <string_view>

namespace vantrel::pyqueries {

// Pattern 0: classes; pattern 1: functions. Captures: name, decl.
inline constexpr std::string_view kDeclarations =
    "(class_definition name: (identifier) @name) @decl\n(function_definition name: (identifier) @name) @decl";

// A bare name, or the last attribute of a dotted call: `a.b.f()` calls `f`.
// Captures: callee, call.
inline constexpr std::string_view kCalls =
    "(call\n  function: [\n\t(identifier) @callee\n\t(attribute attribute: (identifier) @callee)\n  ]) @call";

}  // namespace vantrel::pyqueries
