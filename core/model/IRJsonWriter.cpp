// Streaming writer of the graph's JSON form, in the document writer's exact layout:
// keys sorted, two-space indentation and ": " when pretty, no white space otherwise,
// and "[]" / "{}" for empty containers.
#include "model/IRJson.h"
#include "model/JsonWriter.h"

namespace vantrel {

namespace {

class Writer {
public:
    Writer(std::string& out, bool pretty) : out_(out), pretty_(pretty) {}

    // Opens a container whose first member follows on the next line when pretty.
    void open(char bracket, bool empty) {
        out_.push_back(bracket);
        if (empty) {
            out_.push_back(bracket == '{' ? '}' : ']');
            closedEmpty_ = true;
            return;
        }
        closedEmpty_ = false;
        ++depth_;
        first_ = true;
    }
    void close(char bracket) {
        if (closedEmpty_) {
            closedEmpty_ = false;
            return;
        }
        --depth_;
        newline();
        out_.push_back(bracket);
    }
    void key(std::string_view name) {
        separate();
        appendJsonString(out_, name);
        out_.append(pretty_ ? ": " : ":");
    }
    void element() { separate(); }
    void string(std::string_view text) { appendJsonString(out_, text); }
    void integer(std::int64_t value) { appendJsonInteger(out_, value); }
    void number(double value) { out_.append(nlohmann::json(value).dump()); }

private:
    void separate() {
        if (!first_) out_.push_back(',');
        first_ = false;
        newline();
    }
    void newline() {
        if (!pretty_) return;
        out_.push_back('\n');
        out_.append(static_cast<std::size_t>(depth_) * 2, ' ');
    }

    std::string& out_;
    bool pretty_;
    int depth_ = 0;
    bool first_ = true;
    bool closedEmpty_ = false;
};

void writeIds(Writer& w, const IdSet& ids) {
    w.open('[', ids.empty());
    for (const auto& id : ids) {
        w.element();
        w.string(id);
    }
    w.close(']');
}

void writeSymbol(Writer& w, const Symbol& s) {
    w.open('{', false);
    w.key("id");
    w.string(s.id);
    w.key("kind");
    w.string(rawValue(s.kind));
    w.key("range");
    w.open('{', false);
    w.key("endCol");
    w.integer(s.range.endCol);
    w.key("endLine");
    w.integer(s.range.endLine);
    w.key("startCol");
    w.integer(s.range.startCol);
    w.key("startLine");
    w.integer(s.range.startLine);
    w.close('}');
    w.key("refsIn");
    writeIds(w, s.refsIn);
    w.key("refsOut");
    writeIds(w, s.refsOut);
    w.close('}');
}

void writeDiagnostic(Writer& w, const ResolutionDiagnostic& d) {
    w.open('{', false);
    w.key("importPath");
    w.string(d.importPath);
    w.key("importerPath");
    w.string(d.importerPath);
    w.key("reason");
    w.string(rawValue(d.reason));
    if (d.suggestion) {
        w.key("suggestion");
        w.string(*d.suggestion);
    }
    w.close('}');
}

}  // namespace

std::string writeProjectIRJson(const ProjectIR& ir, bool pretty) {
    std::string out;
    out.reserve(256 + ir.symbols.size() * (pretty ? 420 : 220) + ir.diagnostics.size() * 200);
    Writer w(out, pretty);
    w.open('{', false);
    w.key("diagnostics");
    w.open('[', ir.diagnostics.empty());
    for (const auto& d : ir.diagnostics) {
        w.element();
        writeDiagnostic(w, d);
    }
    w.close(']');
    w.key("lastScan");
    w.number(ir.lastScan);
    w.key("projectId");
    w.string(ir.projectId);
    w.key("symbols");
    w.open('{', ir.symbols.empty());
    for (const auto& [id, symbol] : ir.symbols) {
        w.key(id);
        writeSymbol(w, symbol);
    }
    w.close('}');
    w.close('}');
    return out;
}

}  // namespace vantrel
