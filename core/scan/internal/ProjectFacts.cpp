#include "core/scan/internal/ProjectFacts.h"

#include <algorithm>
#include <cassert>
#include <cctype>

namespace vantrel::detail {

namespace {
std::string folded(std::string_view name) {
    std::string out(name);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}
}  // namespace

void ProjectFacts::add(std::string path, FileFacts facts) {
    auto entry = std::make_unique<FileEntry>();
    entry->python = path.ends_with(".py");
    entry->path = std::move(path);
    entry->facts = std::move(facts);
    files_.push_back(std::move(entry));
}

void ProjectFacts::finish() {
    // Path order, so that every list built below is in an order of its own.
    std::sort(files_.begin(), files_.end(), [](const auto& a, const auto& b) { return a->path < b->path; });
    std::unordered_map<std::string_view, std::vector<ClassRef>> declarers[2];
    for (const auto& owned : files_) {
        FileEntry& file = *owned;
        byPath_.emplace(file.path, &file);
        const FileFacts& facts = file.facts;
        // The first definition of a name in a file counts, as for ids.
        for (const auto& klass : facts.classes) {
            if (klass.name.empty()) continue;
            file.classes.add(klass.name, &klass);
            classesByName_[file.python][klass.name].push_back(ClassRef{&file, &klass});
            classesByFoldedName_[file.python][folded(klass.name)].push_back(ClassRef{&file, &klass});
            for (const auto& method : klass.methods) {
                auto& list = declarers[file.python][method.name];
                if (list.empty() || list.back().facts != &klass) list.push_back(ClassRef{&file, &klass});
            }
        }
        for (const auto& function : facts.functions) file.functions.add(function.name, &function);
        for (const auto& variable : facts.variables) file.variables.add(variable.name, &variable);
        for (const auto& binding : facts.imports) {
            if (binding.local == "*") {
                file.starImports.push_back(&binding);
                continue;
            }
            file.imports.add(binding.local, &binding);
            if (binding.local.find('.') != std::string::npos) file.dottedImports = true;
        }
        for (const auto& binding : facts.exports) {
            if (binding.local == "*") file.starExports.push_back(&binding);
            else file.exports.add(binding.local, &binding);
        }
        file.classes.finish(false);
        file.functions.finish(false);
        file.variables.finish(false);
        file.imports.finish(true);
        file.exports.finish(false);
        file.facts.classes.shrink_to_fit();
    }
    for (int python = 0; python < 2; ++python)
        for (auto& [name, classes] : declarers[python])
            soleDeclarers_[python].emplace(name, classes.size() == 1 ? std::optional<ClassRef>(classes.front())
                                                                     : std::nullopt);
}

std::vector<ClassRef> ProjectFacts::allClasses() const {
    std::vector<ClassRef> all;
    for (const auto& file : files_)
        for (const auto& klass : file->facts.classes) all.push_back(ClassRef{file.get(), &klass});
    return all;
}

const FileEntry* ProjectFacts::file(std::string_view path) const {
    auto it = byPath_.find(path);
    return it == byPath_.end() ? nullptr : it->second;
}

const std::vector<ClassRef>* ProjectFacts::classesNamed(std::string_view name, bool python) const {
    auto it = classesByName_[python].find(name);
    return it == classesByName_[python].end() ? nullptr : &it->second;
}

std::span<const ClassRef> ProjectFacts::classesNamedLike(std::string_view name, bool python) const {
    auto it = classesByFoldedName_[python].find(folded(name));
    if (it == classesByFoldedName_[python].end()) return {};
    return it->second;
}

std::optional<ClassRef> ProjectFacts::soleDeclarer(std::string_view method, bool python) const {
    auto it = soleDeclarers_[python].find(method);
    return it == soleDeclarers_[python].end() ? std::nullopt : it->second;
}

const std::vector<BaseRef>& ProjectFacts::basesOf(const ClassFacts& facts) const {
    auto it = bases_.find(&facts);
    return it == bases_.end() ? noBases_ : it->second;
}

}  // namespace vantrel::detail
