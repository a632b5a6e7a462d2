// Small graphs for tests: symbols by id, and calls kept in both directions as the
// linker keeps them.
#pragma once

#include <string>

#include "core/model/ProjectIR.h"

namespace vantrel::testing {

class GraphBuilder {
public:
    GraphBuilder& symbol(const std::string& id, SymbolKind kind = SymbolKind::function) {
        auto& s = ir_.symbols[id];
        s.id = id;
        s.kind = kind;
        return *this;
    }

    // Records a call; either end may be an id without a symbol.
    GraphBuilder& call(const std::string& from, const std::string& to) {
        if (auto it = ir_.symbols.find(from); it != ir_.symbols.end()) it->second.refsOut.insert(to);
        if (auto it = ir_.symbols.find(to); it != ir_.symbols.end()) it->second.refsIn.insert(from);
        return *this;
    }

    ProjectIR build() const { return ir_; }

private:
    ProjectIR ir_{"42", 0.0, {}, {}};
};

}  // namespace vantrel::testing
