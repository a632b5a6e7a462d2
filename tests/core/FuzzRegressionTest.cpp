// Replays the fuzz seeds and every input that once failed a fuzz target (fuzz/regressions)
// through the same target code, so a fixed finding stays fixed in every build.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/util/FileIO.h"
#include "fuzz/FuzzTargets.h"

namespace vantrel {
namespace {

namespace fs = std::filesystem;

TEST(FuzzRegression, SeedsAndFormerFindingsPassEveryTarget) {
    fuzz::setFixturesDir(VANTREL_FIXTURES_DIR);
    std::size_t replayed = 0;
    for (const auto& target : fuzz::allTargets()) {
        std::vector<fs::path> inputs;
        for (const char* kind : {"seeds", "regressions"}) {
            fs::path dir = fs::path(VANTREL_FUZZ_DIR) / kind / target.name;
            if (!fs::is_directory(dir)) continue;
            for (const auto& entry : fs::directory_iterator(dir)) inputs.push_back(entry.path());
        }
        std::sort(inputs.begin(), inputs.end());
        EXPECT_FALSE(inputs.empty()) << "no seeds for " << target.name;
        for (const auto& input : inputs) {
            auto bytes = readWholeFile(input.string());
            ASSERT_TRUE(bytes) << input;
            EXPECT_NO_THROW(target.run(*bytes)) << target.name << " on " << input;
            ++replayed;
        }
    }
    EXPECT_GT(replayed, 8u);
}

}  // namespace
}  // namespace vantrel
