// The two compiled grammars.
#pragma once

#include <tree_sitter/api.h>

extern "C" {
const TSLanguage* tree_sitter_tsx(void);
const TSLanguage* tree_sitter_python(void);
}
