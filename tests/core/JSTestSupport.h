// Helpers shared by the JS family tests: parsing fixture text the way the scan does,
// and fresh temporary project folders.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>

#include <unistd.h>

#include "core/languages/js/JSFamilyPlugin.h"
#include "core/languages/syntax/Grammars.h"
#include "core/languages/syntax/SyntaxTree.h"
#include "core/util/FileIO.h"
#include "core/util/Paths.h"
#include "core/util/Text.h"

namespace vantrel::jstest {

inline std::string fixturePath(std::string_view relative) {
    return appendPathComponent(VANTREL_FIXTURES_DIR, relative);
}

// UTF-16 text, tree and result of one analysis; the text and tree outlive the result's use.
struct Analysis {
    std::u16string text;
    std::optional<SyntaxTree> tree;
    FileAnalysisResult result;
};

inline Analysis analyzeUtf16(std::u16string text, std::string_view fileRelPath = "src/a.ts",
                             std::string_view rootPath = "/project", const TSConfigResolver* tsconfig = nullptr) {
    Analysis analysis{std::move(text), std::nullopt, {}};
    analysis.tree = SyntaxTree::parse(tree_sitter_tsx(), analysis.text);
    if (!analysis.tree) {
        ADD_FAILURE() << "the parser gave no tree";
        return analysis;
    }
    AnalysisInput input{appendPathComponent(rootPath, fileRelPath),
                        std::string(fileRelPath),
                        std::string(rootPath),
                        analysis.text,
                        analysis.tree->root(),
                        tsconfig};
    analysis.result = JSFamilyPlugin().analyzeFile(input);
    return analysis;
}

inline Analysis analyze(std::string_view utf8, std::string_view fileRelPath = "src/a.ts",
                        std::string_view rootPath = "/project", const TSConfigResolver* tsconfig = nullptr) {
    auto text = utf8ToUtf16(utf8);
    if (!text) ADD_FAILURE() << "fixture text is not UTF-8";
    return analyzeUtf16(text.value_or(u""), fileRelPath, rootPath, tsconfig);
}

// A fresh folder under the system's temporary directory, removed again at the end.
class TempProject {
public:
    TempProject() {
        static std::atomic<unsigned> counter{0};
        auto name = "vantrel-js-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1));
        root_ = standardizePath((std::filesystem::temp_directory_path() / name).string());
        removeTree(root_);
        createDirectories(root_);
    }
    ~TempProject() { removeTree(root_); }
    TempProject(const TempProject&) = delete;
    TempProject& operator=(const TempProject&) = delete;

    const std::string& root() const { return root_; }
    std::string path(std::string_view relative) const { return appendPathComponent(root_, relative); }

    // Writes a file, creating its folders.
    void write(std::string_view relative, std::string_view content) const {
        std::string target = path(relative);
        createDirectories(deletingLastPathComponent(target));
        ASSERT_TRUE(writeFileAtomically(target, content)) << target;
    }
    void mkdir(std::string_view relative) const { createDirectories(path(relative)); }

private:
    std::string root_;
};

}  // namespace vantrel::jstest
