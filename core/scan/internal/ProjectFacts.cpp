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

std::unique_ptr<FileEntry> FileEntry::make(std::string path, const FileFacts& facts) {
    auto file = std::make_unique<FileEntry>();
    file->python = path.ends_with(".py");
    file->path = std::move(path);
    // The buffer is sized first, so the views taken while it fills stay valid.
    std::size_t bytes = 0, baseCount = 0, memberCount = 0;
    auto count = [&](std::string_view text) { bytes += text.size(); };
    for (const auto& klass : facts.classes) {
        count(klass.name);
        for (const auto& base : klass.bases) count(base);
        for (const auto& m : klass.methods) count(m.name), count(m.type);
        for (const auto& f : klass.fields) count(f.name), count(f.type);
        baseCount += klass.bases.size();
        memberCount += klass.methods.size() + klass.fields.size();
    }
    for (const auto* list : {&facts.functions, &facts.variables})
        for (const auto& t : *list) count(t.name), count(t.type);
    for (const auto* list : {&facts.imports, &facts.exports})
        for (const auto& b : *list) count(b.local), count(b.path), count(b.name);
    file->text.reserve(bytes);
    auto keep = [&](const std::string& text) {
        const std::size_t at = file->text.size();
        file->text += text;
        return std::string_view(file->text).substr(at, text.size());
    };
    file->bases.reserve(baseCount);
    file->members.reserve(memberCount);
    file->classList.reserve(facts.classes.size());
    for (const auto& klass : facts.classes) {
        ClassInfo info;
        info.name = keep(klass.name);
        const std::size_t firstBase = file->bases.size();
        for (const auto& base : klass.bases) file->bases.push_back(keep(base));
        info.bases = std::span<const std::string_view>(file->bases).subspan(firstBase, klass.bases.size());
        const std::size_t firstMethod = file->members.size();
        for (const auto& m : klass.methods) file->members.push_back(TypedRef{keep(m.name), keep(m.type)});
        const std::size_t firstField = file->members.size();
        for (const auto& f : klass.fields) file->members.push_back(TypedRef{keep(f.name), keep(f.type)});
        info.methods = std::span<const TypedRef>(file->members).subspan(firstMethod, klass.methods.size());
        info.fields = std::span<const TypedRef>(file->members).subspan(firstField, klass.fields.size());
        file->classList.push_back(info);
    }
    auto typed = [&](const std::vector<TypedName>& from, std::vector<TypedRef>& to) {
        to.reserve(from.size());
        for (const auto& t : from) to.push_back(TypedRef{keep(t.name), keep(t.type)});
    };
    typed(facts.functions, file->functionList);
    typed(facts.variables, file->variableList);
    auto bound = [&](const std::vector<ImportBinding>& from, std::vector<BindingRef>& to) {
        to.reserve(from.size());
        for (const auto& b : from) to.push_back(BindingRef{keep(b.local), keep(b.path), keep(b.name)});
    };
    bound(facts.imports, file->importList);
    bound(facts.exports, file->exportList);
    return file;
}

void ProjectFacts::add(std::unique_ptr<FileEntry> file) { files_.push_back(std::move(file)); }

void ProjectFacts::finish() {
    // Path order, so that every list built below is in an order of its own.
    std::sort(files_.begin(), files_.end(), [](const auto& a, const auto& b) { return a->path < b->path; });
    std::unordered_map<std::string_view, std::vector<ClassRef>> declarers[2];
    for (const auto& owned : files_) {
        FileEntry& file = *owned;
        byPath_.emplace(file.path, &file);
        // The first definition of a name in a file counts, as for ids.
        for (const auto& klass : file.classList) {
            if (klass.name.empty()) continue;
            file.classes.add(klass.name, &klass);
            classesByName_[file.python][klass.name].push_back(ClassRef{&file, &klass});
            classesByFoldedName_[file.python][folded(klass.name)].push_back(ClassRef{&file, &klass});
            for (const auto& method : klass.methods) {
                auto& list = declarers[file.python][method.name];
                if (list.empty() || list.back().facts != &klass) list.push_back(ClassRef{&file, &klass});
            }
        }
        for (const auto& function : file.functionList) file.functions.add(function.name, &function);
        for (const auto& variable : file.variableList) file.variables.add(variable.name, &variable);
        for (const auto& binding : file.importList) {
            if (binding.local == "*") {
                file.starImports.push_back(&binding);
                continue;
            }
            file.imports.add(binding.local, &binding);
            if (binding.local.find('.') != std::string_view::npos) file.dottedImports = true;
        }
        for (const auto& binding : file.exportList) {
            if (binding.local == "*") file.starExports.push_back(&binding);
            else file.exports.add(binding.local, &binding);
        }
        file.classes.finish(false);
        file.functions.finish(false);
        file.variables.finish(false);
        file.imports.finish(true);
        file.exports.finish(false);
    }
    for (const auto& owned : files_) {
        FileEntry& file = *owned;
        auto moduleOf = [&](const BindingRef& binding) { return binding.path.empty() ? nullptr : this->file(binding.path); };
        file.importModules.reserve(file.importList.size());
        for (const auto& binding : file.importList) file.importModules.push_back(moduleOf(binding));
        file.exportModules.reserve(file.exportList.size());
        for (const auto& binding : file.exportList) file.exportModules.push_back(moduleOf(binding));
    }
    for (int python = 0; python < 2; ++python)
        for (auto& [name, classes] : declarers[python])
            soleDeclarers_[python].emplace(name, classes.size() == 1 ? std::optional<ClassRef>(classes.front())
                                                                     : std::nullopt);
}

std::vector<ClassRef> ProjectFacts::allClasses() const {
    std::vector<ClassRef> all;
    for (const auto& file : files_)
        for (const auto& klass : file->classList) all.push_back(ClassRef{file.get(), &klass});
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

const std::vector<BaseRef>& ProjectFacts::basesOf(const ClassInfo& facts) const {
    auto it = bases_.find(&facts);
    return it == bases_.end() ? noBases_ : it->second;
}

}  // namespace vantrel::detail
